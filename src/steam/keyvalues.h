// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QHash>
#include <QList>
#include <QString>

// Finds positions in Steam's KeyValues text (quoted keys, quoted values, blocks in braces). They
// are positions in the file's bytes, UTF-8 or not. The text is not parsed into a tree, so that it
// can be changed in place: braces and keys also count inside quotes, and escapes are not decoded.
// If nothing is found, the result is the empty span or text. Every operation takes time in
// proportion to the text's length, whatever the text holds.
namespace steam
{

/// Two positions: of "{" and of the "}" that closes it, or of the two quotes of a value.
struct BraceSpan {
    qsizetype open = -1;
    qsizetype close = -1;

    bool isValid() const { return open >= 0; }
    bool operator==(const BraceSpan &) const = default;
};

/// The position of the brace that closes the one at `start`; -1 if there is none.
qsizetype matchingBrace(QByteArrayView text, qsizetype start);

/// The block with the key "apps" that has the most UTF-16 units (the first of equals). Steam keeps
/// the games' settings there; other blocks "apps" hold switches of its own.
BraceSpan findAppsSection(QByteArrayView text);

/// Finds all blocks and launch options in an "apps" section once, for callers that need those of
/// many games. The text must not change as long as the object is used.
class AppsSection
{
public:
    explicit AppsSection(QByteArrayView text) : AppsSection(text, findAppsSection(text)) {}
    AppsSection(QByteArrayView text, BraceSpan apps);

    QByteArrayView text() const { return utf8; }
    BraceSpan span() const { return section; }
    BraceSpan block(const QString &appid) const;       ///< as findAppBlock()
    QString launchOptions(const QString &appid) const; ///< as readLaunchOptions()

    /// The quotes of every value with the key "LaunchOptions" in the block and in the blocks within
    /// it, in the text's order. The first is the one that is read.
    QList<BraceSpan> values(BraceSpan block) const;

private:
    QByteArrayView utf8;
    BraceSpan section;
    QHash<QByteArrayView, BraceSpan> blocks; ///< for each key that can be an app id, the first
};

/// Compares the operations here, which count braces and keys inside quotes, with a reader who knows
/// quotes and escapes. True if that reader agrees that `block` ends at its closing brace, that each
/// of `values` is the value of a key "LaunchOptions" in it and not the key of a block, and that
/// `place` (-1 for none) is not in quotes. Assumes that the block's opening brace is not in quotes.
bool isSeenAlike(QByteArrayView text, BraceSpan block, const QList<BraceSpan> &values = {},
                 qsizetype place = -1);

/// The first block with the key `appid` (decimal digits) that opens and closes inside `apps`.
inline BraceSpan findAppBlock(QByteArrayView text, BraceSpan apps, const QString &appid)
{
    return AppsSection(text, apps).block(appid);
}

/// The raw launch options of the game: the first value with the key "LaunchOptions" in its block;
/// empty also if there is no such value, block or section.
inline QString readLaunchOptions(QByteArrayView text, const QString &appid)
{
    return AppsSection(text).launchOptions(appid);
}

} // namespace steam
