// SPDX-License-Identifier: MIT
#pragma once

#include <QRegularExpression>
#include <QString>

namespace base
{

/// The first match of `pattern` in a text that is well-formed UTF-16, as all is that was decoded
/// from UTF-8 or Latin-1. Such a text need not be looked through for what is no character, which
/// takes longer than the search.
inline QRegularExpressionMatch firstMatch(const QString &wellFormedText,
                                          const QRegularExpression &pattern)
{
    return pattern.match(wellFormedText, 0, QRegularExpression::NormalMatch,
                         QRegularExpression::DontCheckSubjectStringMatchOption);
}

} // namespace base
