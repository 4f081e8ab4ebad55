// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace support
{

/// A game's block in a sample localconfig.vdf.
struct SampleApp {
    QString appid;
    std::optional<QString> launchOptions; ///< no value: the block has no such line
};

/// A localconfig.vdf as Steam writes it: friends, then Software/Valve/Steam with the "apps"
/// section, then further sections, two of them with smaller "apps" sections of their own. Games'
/// blocks hold blocks. The same arguments give the same text.
QByteArray sampleLocalConfig(const QList<SampleApp> &apps, int friends = 12);

} // namespace support
