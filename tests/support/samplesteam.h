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
    std::optional<QString> launchOptions; ///< none: the block has no such line
};

/// A localconfig.vdf of the shape that Steam writes: friends, then Software/Valve/Steam with the
/// "apps" section, then further sections, two of them with smaller "apps" sections of their own.
/// Games have blocks in their blocks. The same arguments give the same text.
QByteArray sampleLocalConfig(const QList<SampleApp> &apps, int friends = 12);

} // namespace support
