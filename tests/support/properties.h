// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

namespace support
{

/// Call it before the first rc::check(). It gives every property MARROWPULSE_CASES cases (500 if
/// that is not set) from a fixed seed, so that runs can be repeated. RC_PARAMS overrides both; a
/// failing property prints the RC_PARAMS that reproduce it.
inline void preparePropertyCases()
{
    QByteArray parameters = qgetenv("RC_PARAMS");
    if (!parameters.contains("max_success="))
        parameters += " max_success=" + qgetenv("MARROWPULSE_CASES").trimmed();
    if (parameters.endsWith('='))
        parameters += "500";
    if (!parameters.contains("seed="))
        parameters += " seed=1993";
    qputenv("RC_PARAMS", parameters);
}

} // namespace support
