// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

// Positions in Steam's KeyValues text (quoted keys, quoted values, blocks in braces). The text is
// not parsed into a tree, so that it can be changed in place; braces and keys count wherever they
// stand, inside quotes too, and escape sequences are not decoded. Nothing found is the empty span
// or text.
//
// A text is taken decoded, and positions are then indices of UTF-16 units, or as the UTF-8 bytes
// that it decodes from, and they are indices of bytes: keys, quotes and braces are ASCII, which
// decodes to itself and comes from nothing else. Searching takes any text, well-formed or not.
// White space is that of a regular expression's \s: blank, tab, line feed, vertical tab, form feed
// and carriage return.
namespace steam
{

/// A pair of positions: of "{" and of the "}" that closes it, or of the two quotes of a value.
struct BraceSpan {
    qsizetype open = -1;
    qsizetype close = -1;

    bool isValid() const { return open >= 0; }
};

/// The position of the brace that closes the one at `start`; -1 when there is none.
qsizetype matchingBrace(QStringView text, qsizetype start);
qsizetype matchingBrace(QByteArrayView utf8, qsizetype start);

/// The block with the key "apps" that has the most UTF-16 units (the first of equals). Steam keeps
/// the settings of all games there.
BraceSpan findAppsSection(QStringView text);
BraceSpan findAppsSection(QByteArrayView utf8);

/// The "apps" section's own bytes, from its "{" to its "}"; empty when there is none. They are
/// those of the text that it was cut out of, not a copy.
struct AppsSection {
    QByteArrayView utf8;
};

/// The section that findAppsSection() finds. Whoever asks for many games cuts it out once.
AppsSection cutAppsSection(QByteArrayView utf8);

/// The first block with the key `appid` (decimal digits) that opens and closes inside `apps`.
BraceSpan findAppBlock(QStringView text, BraceSpan apps, QStringView appid);
BraceSpan findAppBlock(QByteArrayView utf8, BraceSpan apps, QStringView appid);

/// The quotes around the first value with the key "LaunchOptions" that stands, key and quotes,
/// between `from` (included) and `to` (excluded).
BraceSpan findLaunchOptionsValue(QStringView text, qsizetype from, qsizetype to);

/// The raw launch options of the game: the first value with the key "LaunchOptions" in its block;
/// empty also when there is no such value, block or section. The section's own bytes give the same
/// results as the whole text.
QString readLaunchOptions(QStringView text, QStringView appid);
QString readLaunchOptions(AppsSection section, QStringView appid);

} // namespace steam
