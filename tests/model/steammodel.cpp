// SPDX-License-Identifier: MIT
#include "model/steammodel.h"

#include <algorithm>
#include <optional>

namespace model
{
namespace
{

using Text = std::u16string;

constexpr std::int64_t nowhere = -1;

std::int64_t length(const Text &text)
{
    return static_cast<std::int64_t>(text.size());
}

char16_t at(const Text &text, std::int64_t i)
{
    return text[static_cast<std::size_t>(i)];
}

/// From `from` (included) to `to` (excluded).
Text part(const Text &text, std::int64_t from, std::int64_t to)
{
    return text.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from));
}

bool isBlank(char16_t unit)
{
    return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\v' || unit == u'\f' ||
           unit == u'\r';
}

bool isDigit(char16_t unit)
{
    return unit >= u'0' && unit <= u'9';
}

/// The end of `literal` when it stands at `i`, else nowhere; nowhere leads to nowhere, so that the
/// steps of a pattern can be chained.
std::int64_t literally(const Text &text, std::int64_t i, const Text &literal)
{
    if (i == nowhere || text.compare(static_cast<std::size_t>(i), literal.size(), literal) != 0)
        return nowhere;
    return i + static_cast<std::int64_t>(literal.size());
}

/// The end of as many blanks as stand at `i`.
std::int64_t blanks(const Text &text, std::int64_t i)
{
    while (i != nowhere && i < length(text) && isBlank(at(text, i)))
        ++i;
    return i;
}

/// The end of a quoted value that starts at `i`.
std::int64_t quoted(const Text &text, std::int64_t i)
{
    i = literally(text, i, u"\"");
    while (i != nowhere && i < length(text) && at(text, i) != u'"')
        ++i;
    return literally(text, i == length(text) ? nowhere : i, u"\"");
}

/// One place where a pattern stands. The group is the part of it that the rule speaks of.
struct Match {
    std::int64_t start, groupStart, groupEnd, end;
};

/// "key" blanks {
std::optional<Match> blockKey(const Text &text, std::int64_t i, const Text &key)
{
    const std::int64_t end =
        literally(text, blanks(text, literally(text, i, u'"' + key + u'"')), u"{");
    if (end == nowhere)
        return {};
    return Match{i, end - 1, end, end};
}

/// "LaunchOptions" blanks "value"; the group is the value between its quotes.
std::optional<Match> valueEntry(const Text &text, std::int64_t i)
{
    const std::int64_t value = blanks(text, literally(text, i, u"\"LaunchOptions\""));
    const std::int64_t end = quoted(text, value);
    if (end == nowhere)
        return {};
    return Match{i, value + 1, end - 1, end};
}

/// { line feed, blanks, quote; the group is the blanks.
std::optional<Match> firstKeyLine(const Text &text, std::int64_t i)
{
    const std::int64_t indent = literally(text, i, u"{\n");
    const std::int64_t key = blanks(text, indent);
    const std::int64_t end = literally(text, key, u"\"");
    if (end == nowhere)
        return {};
    return Match{i, indent, key, end};
}

/// line feed, tabs, "digits"; the group is the tabs.
std::optional<Match> appKeyLine(const Text &text, std::int64_t i)
{
    const std::int64_t indent = literally(text, i, u"\n");
    std::int64_t key = indent;
    while (key != nowhere && key < length(text) && at(text, key) == u'\t')
        ++key;
    const std::int64_t digits = literally(text, key == indent ? nowhere : key, u"\"");
    std::int64_t behind = digits;
    while (behind != nowhere && behind < length(text) && isDigit(at(text, behind)))
        ++behind;
    const std::int64_t end = literally(text, behind == digits ? nowhere : behind, u"\"");
    if (end == nowhere)
        return {};
    return Match{i, indent, key, end};
}

/// All places where the pattern stands, from left to right, none inside the one before.
template <typename Pattern>
std::vector<Match> allMatches(const Text &text, const Pattern &pattern)
{
    std::vector<Match> matches;
    for (std::int64_t i = 0; i < length(text);) {
        if (const std::optional<Match> match = pattern(text, i)) {
            matches.push_back(*match);
            i = match->end;
        } else {
            ++i;
        }
    }
    return matches;
}

std::vector<Match> blockKeys(const Text &text, const Text &key)
{
    return allMatches(text, [&](const Text &t, std::int64_t i) { return blockKey(t, i, key); });
}

bool isHigh(char16_t unit)
{
    return unit >= 0xd800 && unit <= 0xdbff;
}

bool isLow(char16_t unit)
{
    return unit >= 0xdc00 && unit <= 0xdfff;
}

/// UTF-8 of UTF-16; a unit that is no character becomes "?" and takes `wellFormed` away.
std::string encode(const Text &text, bool &wellFormed)
{
    wellFormed = true;
    std::string bytes;
    const auto byte = [&bytes](unsigned value) { bytes += static_cast<char>(value); };
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned code = text[i];
        if (isHigh(text[i]) && i + 1 < text.size() && isLow(text[i + 1]))
            code = 0x10000 + ((code - 0xd800) << 10) + (text[++i] - 0xdc00u);
        else if (isHigh(text[i]) || isLow(text[i]))
            code = '?';
        wellFormed = wellFormed && (code != '?' || text[i] == u'?');
        if (code < 0x80) {
            byte(code);
        } else if (code < 0x800) {
            byte(0xc0 | code >> 6);
            byte(0x80 | (code & 0x3f));
        } else if (code < 0x10000) {
            byte(0xe0 | code >> 12);
            byte(0x80 | (code >> 6 & 0x3f));
            byte(0x80 | (code & 0x3f));
        } else {
            byte(0xf0 | code >> 18);
            byte(0x80 | (code >> 12 & 0x3f));
            byte(0x80 | (code >> 6 & 0x3f));
            byte(0x80 | (code & 0x3f));
        }
    }
    return bytes;
}

/// One unit a byte, so that positions are those of the file.
Text widen(const std::string &bytes)
{
    Text text;
    for (const char byte : bytes)
        text += static_cast<char16_t>(static_cast<unsigned char>(byte));
    return text;
}

std::string narrow(const Text &text)
{
    std::string bytes;
    for (const char16_t unit : text)
        bytes += static_cast<char>(static_cast<unsigned char>(unit));
    return bytes;
}

/// How many bytes, one a unit, form the UTF-8 character at `i`; 1 also when they form none.
std::int64_t characterSize(const Text &bytes, std::int64_t i)
{
    const char16_t lead = at(bytes, i);
    std::int64_t size = 1;
    if (lead >= 0xc2 && lead <= 0xdf)
        size = 2;
    if (lead >= 0xe0 && lead <= 0xef)
        size = 3;
    if (lead >= 0xf0 && lead <= 0xf4)
        size = 4;
    if (size == 1 || i + size > length(bytes))
        return 1;
    for (std::int64_t next = i + 1; next < i + size; ++next) {
        if (at(bytes, next) < 0x80 || at(bytes, next) > 0xbf)
            return 1;
    }
    const char16_t second = at(bytes, i + 1);
    const bool isTooLong = (lead == 0xe0 && second < 0xa0) || (lead == 0xf0 && second < 0x90);
    const bool isNone = (lead == 0xed && second > 0x9f) || (lead == 0xf4 && second > 0x8f);
    return isTooLong || isNone ? 1 : size;
}

/// The UTF-16 units of bytes, one a unit.
Text decode(const Text &bytes)
{
    Text text;
    for (std::int64_t i = 0; i < length(bytes);) {
        const std::int64_t size = characterSize(bytes, i);
        if (size == 1) {
            text += at(bytes, i) < 0x80 ? at(bytes, i) : u'\ufffd';
        } else {
            unsigned code = at(bytes, i) & (0x7fu >> size);
            for (std::int64_t next = i + 1; next < i + size; ++next)
                code = code << 6 | (at(bytes, next) & 0x3fu);
            if (code >= 0x10000)
                text += static_cast<char16_t>(0xd800 + ((code - 0x10000) >> 10));
            text +=
                static_cast<char16_t>(code < 0x10000 ? code : 0xdc00 + ((code - 0x10000) & 0x3ff));
        }
        i += size;
    }
    return text;
}

bool isUtf8(const Text &bytes)
{
    for (std::int64_t i = 0; i < length(bytes);) {
        const std::int64_t size = characterSize(bytes, i);
        if (size == 1 && at(bytes, i) >= 0x80)
            return false;
        i += size;
    }
    return true;
}

std::int64_t closingBrace(const Text &text, std::int64_t start)
{
    std::int64_t depth = 0;
    for (std::int64_t i = start; i < length(text); ++i) {
        if (at(text, i) == u'{')
            ++depth;
        if (at(text, i) == u'}') {
            --depth;
            if (depth == 0)
                return i;
        }
    }
    return nowhere;
}

/// The same for a reader who knows that braces in quotes are none, and what a backslash does there.
std::int64_t closingBraceOutsideQuotes(const Text &text, std::int64_t start)
{
    Text unquoted = text;
    bool inQuotes = false;
    for (std::int64_t i = start; i < length(text); ++i) {
        char16_t &unit = unquoted[static_cast<std::size_t>(i)];
        if (unit == u'"') {
            inQuotes = !inQuotes;
        } else if (inQuotes) {
            const bool escapes = unit == u'\\';
            unit = u'.';
            if (escapes && i + 1 < length(text))
                unquoted[static_cast<std::size_t>(++i)] = u'.';
        }
    }
    return closingBrace(unquoted, start);
}

Block appsSection(const Text &text)
{
    Block kept;
    std::int64_t keptSize = 0;
    for (const Match &match : blockKeys(text, u"apps")) {
        const Block found{match.end - 1, closingBrace(text, match.end - 1)};
        if (found.close <= 0)
            continue;
        const std::int64_t foundSize = length(decode(part(text, found.open, found.close)));
        if (kept.open < 0 || foundSize > keptSize) {
            kept = found;
            keptSize = foundSize;
        }
    }
    return kept;
}

Block appBlock(const Text &text, Block apps, const Text &appid)
{
    for (const Match &match : blockKeys(text, appid)) {
        if (match.start < apps.open || match.start > apps.close)
            continue;
        const Block found{match.end - 1, closingBrace(text, match.end - 1)};
        if (found.close >= 1 && found.close <= apps.close)
            return found;
    }
    return {};
}

/// One unit a byte.
Text optionsOf(const Text &text, const Text &appid)
{
    const Block apps = appsSection(text);
    if (apps.open < 0)
        return {};
    const Block block = appBlock(text, apps, appid);
    if (block.open < 0)
        return {};
    const Text content = part(text, block.open, block.close);
    const std::vector<Match> values = allMatches(content, valueEntry);
    return values.empty() ? Text()
                          : part(content, values.front().groupStart, values.front().groupEnd);
}

} // namespace

std::int64_t matchingBrace(const std::string &bytes, std::int64_t start)
{
    return closingBrace(widen(bytes), start);
}

Block findAppsSection(const std::string &bytes)
{
    return appsSection(widen(bytes));
}

Block findAppBlock(const std::string &bytes, Block apps, const std::string &appid)
{
    return appBlock(widen(bytes), apps, widen(appid));
}

std::u16string readLaunchOptions(const std::string &bytes, const std::string &appid)
{
    return decode(optionsOf(widen(bytes), widen(appid)));
}

std::string rawLaunchOptions(const std::string &bytes, const std::string &appid)
{
    return narrow(optionsOf(widen(bytes), widen(appid)));
}

Edit setLaunchOptions(const std::string &bytes, const std::string &appid,
                      const std::u16string &options)
{
    const Text text = widen(bytes);
    const Text id = widen(appid);
    bool wellFormed = true; // if not, refused at the end: it could not read back
    const Text value = widen(encode(options, wellFormed));
    const Block apps = appsSection(text);
    const Block block = apps.open < 0 ? Block() : appBlock(text, apps, id);
    const Text content = block.open < 0 ? Text() : part(text, block.open, block.close + 1);
    const std::vector<Match> values = allMatches(content, valueEntry);

    // What the file holds for the game is in doubt.
    bool doubtful = false;
    for (const Block &found : {apps, block}) {
        if (found.open >= 0 && closingBraceOutsideQuotes(text, found.open) != found.close)
            doubtful = true;
    }
    bool oldBraces = false;
    for (const Match &match : values) {
        const Text old = part(content, match.groupStart, match.groupEnd);
        std::int64_t backslashes = 0;
        while (at(content, match.groupEnd - 1 - backslashes) == u'\\')
            ++backslashes;
        doubtful = doubtful || backslashes % 2 == 1 || !isUtf8(old);
        oldBraces = oldBraces || old.find_first_of(u"{}") != Text::npos;
    }
    const auto refuse = [&bytes](const std::string &message, bool forOldText) {
        return Edit{false, message, bytes, forOldText};
    };

    for (const char16_t unit : options) {
        if (unit == u'"' || unit == u'\\')
            return refuse("options contain characters VDF cannot store unescaped", doubtful);
    }
    if (apps.open < 0)
        return refuse("no apps section found", doubtful);
    Text edited;
    if (block.open >= 0) {
        Text newContent;
        if (!values.empty()) {
            std::int64_t copied = 0;
            for (const Match &match : values) {
                newContent += part(content, copied, match.groupStart) + value;
                copied = match.groupEnd;
            }
            newContent += part(content, copied, length(content));
        } else {
            const std::vector<Match> lines = allMatches(content, firstKeyLine);
            if (lines.empty())
                return refuse("cannot determine indentation for " + appid, doubtful);
            const Match line = lines.front();
            newContent = part(content, 0, line.groupStart) +
                         part(content, line.groupStart, line.groupEnd) +
                         u"\"LaunchOptions\"\t\t\"" + value + u"\"\n" +
                         part(content, line.groupStart, length(content));
        }
        edited = part(text, 0, block.open) + newContent + part(text, block.close + 1, length(text));
        for (const char16_t brace : {u'}', u'{'}) {
            if (std::count(edited.begin(), edited.end(), brace) !=
                std::count(text.begin(), text.end(), brace))
                return refuse("brace count changed; refusing to write", doubtful || oldBraces);
        }
    } else {
        const std::vector<Match> lines = allMatches(part(text, apps.open, apps.close), appKeyLine);
        Text indent = u"\t\t\t\t\t";
        if (!lines.empty()) {
            const Match line = lines.front();
            indent = part(text, apps.open + line.groupStart, apps.open + line.groupEnd);
        }
        edited = part(text, 0, apps.open + 1) + u"\n" + indent + u"\"" + id + u"\"\n" + indent +
                 u"{\n" + indent + u"\t\"LaunchOptions\"\t\t\"" + value + u"\"\n" + indent + u"}" +
                 part(text, apps.open + 1, length(text));
    }
    if (!wellFormed || doubtful || optionsOf(edited, id) != value)
        return refuse("post-edit verification failed for " + appid, doubtful);
    return {true, "", narrow(edited), false};
}

std::string chooseLocalConfig(const std::vector<AccountFile> &listed)
{
    if (listed.empty())
        return {};
    AccountFile best = listed.front();
    for (const AccountFile &file : listed) {
        if (file.modified > best.modified)
            best = file;
    }
    return best.path;
}

} // namespace model
