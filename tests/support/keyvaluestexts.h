// SPDX-License-Identifier: MIT
#pragma once

#include <QDebug>

#include <rapidcheck.h>

#include <string>
#include <vector>

// RapidCheck generators of texts that are, or nearly are, Steam's KeyValues. A text is a sequence
// of pieces, so that a failing one shrinks piece by piece.
namespace support
{

using Text = std::u16string;

/// At most `most` pieces in a row.
template <typename String = Text>
rc::Gen<String> joined(const rc::Gen<String> &piece, int most)
{
    return rc::gen::map(rc::gen::resize(most, rc::gen::container<std::vector<String>>(piece)),
                        [](const std::vector<String> &pieces) {
                            String text;
                            for (const String &one : pieces)
                                text += one;
                            return text;
                        });
}

/// The app ids of the texts: prefixes of one another, so that they could be confused.
inline rc::Gen<Text> anyAppid()
{
    return rc::gen::element<Text>(u"10", u"100", u"1");
}

/// Stands between a key and its value or brace: mostly the six blanks, now and then another
/// character.
inline rc::Gen<Text> anySpace()
{
    return rc::gen::weightedOneOf<Text>(
        {{6, rc::gen::element<Text>(u"", u" ", u"\t\t", u"\n", u"\n\t", u"\r\n\t")},
         {2, rc::gen::element<Text>(u"\v", u"\f", u"\r", u" \t\n\v\f\r", u"\n\n\t\n")},
         {1, rc::gen::element<Text>(u"\u00a0", u"\u0085", u"\u2028", u"\u2003", u"\u200b",
                                    Text(1, u'\0'), u"\x1c")}});
}

/// Up to 700 times the same piece.
inline rc::Gen<Text> anyFiller()
{
    return rc::gen::map(rc::gen::pair(rc::gen::resize(100, rc::gen::inRange(1, 700)),
                                      rc::gen::element<Text>(u"x", u" ", u"{}", u"}{", u"{", u"}",
                                                             u"\"k\" \"v\"\n")),
                        [](const std::pair<int, Text> &filler) {
                            // Hundreds of lone braces would hide all else.
                            const bool lone = filler.second == u"{" || filler.second == u"}";
                            Text text;
                            for (int i = 0; i < (lone ? 1 + filler.first % 3 : filler.first); ++i)
                                text += filler.second;
                            return text;
                        });
}

/// Inside a value, not always well-formed Unicode.
inline rc::Gen<Text> anyValuePiece()
{
    return rc::gen::weightedOneOf<Text>(
        {{12, rc::gen::element<Text>(u"mangohud %command%", u"-novid", u" ", u"A=1", u"", u"x")},
         {2, rc::gen::element<Text>(u"ä", u"\ufeff", u"\u2028", u"\U0001f3ae", u"\n", u"\t",
                                    Text(1, u'\0'), u"\\\\")},
         {1, rc::gen::element<Text>(u"{", u"}", u"{}", u"\\", u"\\\"", Text(1, char16_t(0xd83c)),
                                    Text(1, char16_t(0xdcff)))}});
}

inline rc::Gen<Text> quotedKey()
{
    return rc::gen::weightedOneOf<Text>(
        {{4, rc::gen::just<Text>(u"\"apps\"")},
         {4, rc::gen::map(anyAppid(), [](const Text &id) { return u'"' + id + u'"'; })},
         {5, rc::gen::just<Text>(u"\"LaunchOptions\"")},
         {2, rc::gen::element<Text>(u"\"Apps\"", u"\"launchoptions\"", u"\"cloud\"", u"\"apps",
                                    u"LaunchOptions\"", u"\"1000\"")}});
}

inline rc::Gen<Text> valueEntry()
{
    return rc::gen::map(rc::gen::tuple(rc::gen::weightedElement<Text>(
                                           {{5, u"\"LaunchOptions\""}, {1, u"\"LastPlayed\""}}),
                                       anySpace(), joined(anyValuePiece(), 5), anySpace()),
                        [](const std::tuple<Text, Text, Text, Text> &entry) {
                            const auto &[key, space, value, behind] = entry;
                            return key + space + u'"' + value + u'"' + behind;
                        });
}

inline rc::Gen<Text> blockOf(const rc::Gen<Text> &key, const rc::Gen<Text> &content)
{
    return rc::gen::map(rc::gen::tuple(key, anySpace(), anySpace(), joined(content, 4)),
                        [](const std::tuple<Text, Text, Text, Text> &block) {
                            const auto &[name, space, first, inside] = block;
                            return name + space + u'{' + first + inside + u"}\n";
                        });
}

/// An entry at which a reader could mistake where a value, a line or a block is.
inline rc::Gen<Text> misleadingEntry()
{
    return rc::gen::element<Text>(u"\"Playtime\"\t\"55\"\n", u"\"mode\"\t\"LaunchOptions\"\n",
                                  u"\"LaunchOptions\"\t\"LaunchOptions\"\n",
                                  u"\"a\\\"LaunchOptions\"\t\"b\"\n", u"\"note\"\t\"a{\n\t\"\n",
                                  u"\"path\"\t\"\\\\x \\\"y\\\"\"\n", u"\n\t\"10\"",
                                  u"\"note\"\t\"a{\n\t\"\n\"more\"\t\"}\"\n");
}

/// What stands in a game's block, `depth` blocks in one another at most.
inline rc::Gen<Text> appContent(int depth)
{
    const rc::Gen<Text> key = rc::gen::weightedOneOf<Text>({{3, quotedKey()}, {1, valueEntry()}});
    return rc::gen::weightedOneOf<Text>(
        {{6, valueEntry()},
         {2, depth == 0 ? valueEntry() : blockOf(key, appContent(depth - 1))},
         {1, misleadingEntry()},
         {1, anySpace()}});
}

inline rc::Gen<Text> appBlock(const rc::Gen<Text> &content = appContent(2))
{
    return blockOf(rc::gen::map(anyAppid(), [](const Text &id) { return u'"' + id + u'"'; }),
                   content);
}

inline rc::Gen<Text> appsBlock()
{
    return blockOf(rc::gen::just<Text>(u"\"apps\""),
                   rc::gen::weightedOneOf<Text>({{12, appBlock()},
                                                 {2, appBlock(appBlock())},
                                                 {1, appBlock(misleadingEntry())},
                                                 {2, valueEntry()},
                                                 {2, anySpace()},
                                                 {1, misleadingEntry()}}));
}

/// A text of Steam's own shape, of loose braces and quotes, or in between; some are cut.
inline rc::Gen<Text> anyText()
{
    const rc::Gen<Text> text =
        joined(rc::gen::weightedOneOf<Text>(
                   {{5, appsBlock()},
                    {3, appBlock()},
                    {3, valueEntry()},
                    {3, quotedKey()},
                    {2, anySpace()},
                    {2, anyFiller()},
                    {2, rc::gen::element<Text>(u"{", u"}", u"\"")},
                    {1, anyValuePiece()},
                    {1, blockOf(rc::gen::just<Text>(u"\"Steam\""), appsBlock())}}),
               12);
    const rc::Gen<Text> cut = rc::gen::map(
        rc::gen::pair(text, rc::gen::resize(100, rc::gen::inRange(0, 1000))),
        [](std::pair<Text, int> both) {
            both.first.resize(both.first.size() * static_cast<std::size_t>(both.second) / 1000);
            return both.first;
        });
    return rc::gen::weightedOneOf<Text>({{4, text}, {1, cut}});
}

/// New options: most can be written, some hold what the program refuses.
inline rc::Gen<Text> anyOptions()
{
    return joined(
        rc::gen::weightedOneOf<Text>(
            {{8, rc::gen::element<Text>(u"MARROWPULSE=1 ", u"%command%", u" ", u"A='x y'", u"ä",
                                        u"?", u"\ufeff", u"\U0001f3ae", u"\u2028", u"\n")},
             {1, rc::gen::element<Text>(u"{}", u"{", u"}", u"\"", u"\\", Text(1, char16_t(0xd83c)),
                                        Text(1, char16_t(0xdc80)))}}),
        6);
}

/// The bytes of a file: UTF-8, but a unit from 0xdc80 to 0xdcff is the one byte 0x80 to 0xff and
/// any other surrogate is encoded by itself, so that not all files are valid UTF-8.
inline std::string toFileBytes(const Text &text)
{
    std::string bytes;
    const auto byte = [&bytes](unsigned value) { bytes += static_cast<char>(value & 0xffU); };
    for (const char16_t unit : text) {
        if (unit < 0x80 || (unit >= 0xdc80 && unit <= 0xdcff)) {
            byte(unit);
        } else if (unit < 0x800) {
            byte(0xc0U | unit >> 6U);
            byte(0x80U | (unit & 0x3fU));
        } else {
            byte(0xe0U | unit >> 12U);
            byte(0x80U | (unit >> 6U & 0x3fU));
            byte(0x80U | (unit & 0x3fU));
        }
    }
    return bytes;
}

/// A text to be shown when a property fails.
inline std::string escaped(const Text &text)
{
    QString shown;
    QDebug(&shown) << QStringView(text);
    return shown.toStdString();
}

} // namespace support
