// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>

// Positions in Steam's KeyValues text (quoted keys, quoted values, blocks in braces). The text is
// not parsed into a tree, so that it can be changed in place; braces and keys count wherever they
// stand, inside quotes too, and escape sequences are not decoded. Nothing found is the empty span
// or text.
//
// Positions are indices of UTF-16 units; searching takes any text, well-formed or not. White space
// is that of a regular expression's \s: blank, tab, line feed, vertical tab, form feed and carriage
// return.
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

/// The largest block with the key "apps" (the first of equals). Steam keeps the settings of all
/// games there.
BraceSpan findAppsSection(QStringView text);

/// The "apps" section's own text, from its "{" to its "}"; empty when there is none. It shares the
/// text that it was cut out of.
struct AppsSection {
    QStringView text;
};

/// The section that findAppsSection() finds. Whoever asks for many games cuts it out once.
AppsSection cutAppsSection(QStringView text);

/// The first block with the key `appid` (decimal digits) that opens and closes inside `apps`.
BraceSpan findAppBlock(QStringView text, BraceSpan apps, QStringView appid);

/// The quotes around the first value with the key "LaunchOptions" that stands, key and quotes,
/// between `from` (included) and `to` (excluded).
BraceSpan findLaunchOptionsValue(QStringView text, qsizetype from, qsizetype to);

/// The raw launch options of the game: the first value with the key "LaunchOptions" in its block;
/// empty also when there is no such value, block or section. The section's own text gives the same
/// results as the whole.
QString readLaunchOptions(QStringView text, QStringView appid);
QString readLaunchOptions(AppsSection section, QStringView appid);

} // namespace steam
