// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QHash>
#include <QList>
#include <QString>

// Positions in Steam's KeyValues text (quoted keys, quoted values, blocks in braces): in the file's
// bytes, UTF-8 or not. The text is not parsed into a tree, so that it can be changed in place:
// braces and keys count wherever they stand, inside quotes too, and escapes are not decoded.
// Nothing found is the empty span or text. Whatever the text holds, every operation takes a time in
// proportion to its length.
namespace steam
{

/// A pair of positions: of "{" and of the "}" that closes it, or of the two quotes of a value.
struct BraceSpan {
    qsizetype open = -1;
    qsizetype close = -1;

    bool isValid() const { return open >= 0; }
    bool operator==(const BraceSpan &) const = default;
};

/// The position of the brace that closes the one at `start`; -1 when there is none.
qsizetype matchingBrace(QByteArrayView text, qsizetype start);

/// The block with the key "apps" that has the most UTF-16 units (the first of equals). Steam keeps
/// the settings of all games there.
BraceSpan findAppsSection(QByteArrayView text);

/// The blocks and the launch options in an "apps" section, found once for whoever asks for many
/// games. The text has to stay as it is for as long as it is asked.
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
    struct Value {
        qsizetype key; ///< where the key's first quote stands
        BraceSpan quotes;
    };

    QByteArrayView utf8;
    BraceSpan section;
    QHash<QByteArrayView, BraceSpan> blocks; ///< the first of each key that can be an app id
    QList<Value> candidates;                 ///< in the text's order; two can share a quote
};

/// True if a reader who knows quotes and escapes sees what the operations here see, which count
/// braces and keys inside quotes, too: that `block` ends at its closing brace; that each of
/// `values` is in it the value of a key "LaunchOptions", and no key of a block; that `place` (-1
/// for none) is not in quotes. The block's opening brace is taken to stand outside quotes.
bool isSeenAlike(QByteArrayView text, BraceSpan block, const QList<BraceSpan> &values = {},
                 qsizetype place = -1);

/// The first block with the key `appid` (decimal digits) that opens and closes inside `apps`.
inline BraceSpan findAppBlock(QByteArrayView text, BraceSpan apps, const QString &appid)
{
    return AppsSection(text, apps).block(appid);
}

/// The raw launch options of the game: the first value with the key "LaunchOptions" in its block;
/// empty also when there is no such value, block or section.
inline QString readLaunchOptions(QByteArrayView text, const QString &appid)
{
    return AppsSection(text).launchOptions(appid);
}

} // namespace steam
