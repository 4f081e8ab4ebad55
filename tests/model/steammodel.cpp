// SPDX-License-Identifier: MIT
#include "model/steammodel.h"

#include <algorithm>

namespace model
{
namespace
{

using Text = std::string;

/// From `from` (included) to `to` (excluded).
Text part(const Text &text, std::size_t from, std::size_t to)
{
    return text.substr(from, to - from);
}

/// The position after all of `these` characters that stand at `i`. As below, `nowhere` gives
/// `nowhere`, so that calls can be chained.
std::size_t many(const Text &text, std::size_t i, const Text &these)
{
    return i == nowhere ? nowhere : std::min(text.find_first_not_of(these, i), text.size());
}

std::size_t blanks(const Text &text, std::size_t i)
{
    return many(text, i, " \t\n\v\f\r");
}

/// The position after `literal` if it stands at `i`.
std::size_t literally(const Text &text, std::size_t i, const Text &literal)
{
    const bool stands = i != nowhere && text.compare(i, literal.size(), literal) == 0;
    return stands ? i + literal.size() : nowhere;
}

/// The blocks of the pattern: "key" blanks {. The closing brace may be `nowhere`.
std::vector<Block> blocksOf(const Text &text, const Text &key)
{
    std::vector<Block> blocks;
    const Text quoted = '"' + key + '"';
    for (std::size_t i = text.find(quoted); i != nowhere; i = text.find(quoted, i + 1)) {
        const std::size_t behind = literally(text, blanks(text, i + quoted.size()), "{");
        if (behind != nowhere)
            blocks.push_back({behind - 1, matchingBrace(text, behind - 1)});
    }
    return blocks;
}

/// The quotes of the values in a block, by the pattern: "LaunchOptions" blanks "value".
std::vector<Block> valuesIn(const Text &text, Block block)
{
    std::vector<Block> values;
    const Text key = "\"LaunchOptions\"";
    std::size_t i = text.find(key, block.open);
    while (i < block.close) {
        const std::size_t value = literally(text, blanks(text, i + key.size()), "\"");
        const std::size_t end = value == nowhere ? nowhere : text.find('"', value);
        if (end < block.close)
            values.push_back({value - 1, end});
        i = text.find(key, end < block.close ? end + 1 : i + 1);
    }
    return values;
}

/// A position, and the white space there.
struct Indentation {
    std::size_t at = nowhere;
    Text text;
};

/// The blanks of the block's first match of the pattern: { line feed blanks quote.
Indentation lineIndentation(const Text &text, Block block)
{
    for (std::size_t i = block.open; i < block.close; ++i) {
        const std::size_t from = literally(text, i, "{\n");
        const std::size_t to = blanks(text, from);
        if (literally(text, to, "\"") <= block.close)
            return {from, part(text, from, to)};
    }
    return {};
}

/// The tabs of the section's first match of the pattern: line feed tabs "digits".
Text appIndentation(const Text &text, Block apps)
{
    for (std::size_t i = apps.open; i < apps.close; ++i) {
        const std::size_t from = literally(text, i, "\n");
        const std::size_t to = many(text, from, "\t");
        const std::size_t digits = literally(text, to, "\"");
        const std::size_t behind = many(text, digits, "0123456789");
        if (to != from && behind != digits && literally(text, behind, "\"") <= apps.close)
            return part(text, from, to);
    }
    return "\t\t\t\t\t";
}

unsigned at(const Text &text, std::size_t i)
{
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
}

/// How many bytes form the UTF-8 character at `i`; 1 also when they form none.
std::size_t characterSize(const Text &text, std::size_t i)
{
    const unsigned lead = at(text, i);
    const unsigned second = at(text, i + 1);
    const std::size_t size = lead < 0xc2   ? 1
                             : lead < 0xe0 ? 2
                             : lead < 0xf0 ? 3
                             : lead < 0xf5 ? 4
                                           : 1;
    for (std::size_t next = i + 1; next < i + size; ++next) {
        if ((at(text, next) & 0xc0u) != 0x80)
            return 1;
    }
    const bool isTooLong = (lead == 0xe0 && second < 0xa0) || (lead == 0xf0 && second < 0x90);
    const bool isNone = (lead == 0xed && second > 0x9f) || (lead == 0xf4 && second > 0x8f);
    return isTooLong || isNone ? 1 : size;
}

/// UTF-16 of bytes.
std::u16string decode(const Text &text)
{
    std::u16string units;
    for (std::size_t i = 0; i < text.size(); i += characterSize(text, i)) {
        const std::size_t size = characterSize(text, i);
        unsigned code = size == 1 ? at(text, i) : at(text, i) & (0x7fu >> size);
        for (std::size_t next = i + 1; next < i + size; ++next)
            code = code << 6 | (at(text, next) & 0x3fu);
        if (size == 1 && code >= 0x80)
            code = 0xfffd;
        if (code >= 0x10000)
            units += static_cast<char16_t>(0xd7c0 + (code >> 10));
        units += static_cast<char16_t>(code < 0x10000 ? code : 0xdc00 | (code & 0x3ff));
    }
    return units;
}

bool isUtf8(const Text &text)
{
    std::size_t i = 0;
    while (i < text.size() && (at(text, i) < 0x80 || characterSize(text, i) > 1))
        i += characterSize(text, i);
    return i == text.size();
}

/// UTF-8 of UTF-16. Half of a surrogate pair becomes "?", which does not read back.
Text encode(const std::u16string &units)
{
    Text text;
    for (std::size_t i = 0; i < units.size(); ++i) {
        unsigned code = units[i];
        if ((code & 0xfc00) == 0xd800 && i + 1 < units.size() && (units[i + 1] & 0xfc00) == 0xdc00)
            code = ((code - 0xd7c0) << 10) | (units[++i] & 0x3ffu);
        else if ((code & 0xf800) == 0xd800)
            code = '?';
        const unsigned more = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        text +=
            static_cast<char>(more == 0 ? code : (0xf0u << (3 - more) & 0xf0u) | code >> 6 * more);
        for (unsigned left = more; left-- > 0;)
            text += static_cast<char>(0x80u | (code >> 6 * left & 0x3fu));
    }
    return text;
}

/// The strings and braces of a block, as a reader finds them who knows quotes and escapes. A string
/// that does not end closes `nowhere`.
std::vector<Block> tokensIn(const Text &text, Block block)
{
    std::vector<Block> tokens;
    for (std::size_t i = block.open; i <= block.close; ++i) {
        const std::size_t open = i;
        if (text[i] == '"') {
            for (++i; at(text, i) != '"' && i < text.size(); ++i)
                i += text[i] == '\\';
            tokens.push_back({open, i < text.size() ? i : nowhere});
        } else if (text[i] == '{' || text[i] == '}') {
            tokens.push_back({open, open});
        }
    }
    return tokens;
}

/// The brace that closes the first token's block for that reader.
std::size_t closingToken(const Text &text, const std::vector<Block> &tokens)
{
    int depth = 0;
    for (const Block &token : tokens) {
        depth += text[token.open] == '{' ? 1 : text[token.open] == '}' ? -1 : 0;
        if (depth == 0)
            return token.close;
    }
    return nowhere;
}

/// True if that reader takes it for the value of a key "LaunchOptions", and no block follows it.
/// Keys and values take turns; after a brace comes a key.
bool isValueOfKey(const Text &text, const std::vector<Block> &tokens, Block value)
{
    bool isKey = true;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const bool isString = text[tokens[i].open] == '"';
        if (isString && !isKey && tokens[i] == value)
            return part(text, tokens[i - 1].open, tokens[i - 1].close) == "\"LaunchOptions" &&
                   literally(text, blanks(text, value.close + 1), "{") == nowhere;
        isKey = !isString || !isKey;
    }
    return false;
}

/// True if every brace has its partner in the text.
bool arePaired(const Text &text)
{
    int depth = 0;
    for (const char byte : text) {
        depth += byte == '{' ? 1 : byte == '}' ? -1 : 0;
        if (depth < 0)
            return false;
    }
    return depth == 0;
}

/// One change of the text, or why it is refused.
struct Decision {
    Change change;
    Refusal refusal;
    Block block; ///< of the app; `nowhere` if it gets a new one
    std::size_t from = 0, to = 0;
    Text bytes{};
};

Decision decide(const Text &text, const Change &change)
{
    const Text value = encode(change.options);
    const Block apps = findAppsSection(text);
    Decision decision{change, {}, findAppBlock(text, apps, change.appid)};
    const Block block = decision.block;
    const auto refuse = [&](const Text &message, const Text &reason) {
        decision.refusal = {message, reason};
        return decision;
    };
    if (value.find_first_of("\"\\") != nowhere)
        return refuse("options contain characters VDF cannot store unescaped", "characters");
    if (apps.open == nowhere)
        return refuse("no apps section found", "no section");

    Text doubt;
    if (closingToken(text, tokensIn(text, apps)) != apps.close)
        doubt = "the section ends elsewhere";
    const Text line = "\"LaunchOptions\"\t\t\"" + value + '"';
    if (block.open == nowhere) {
        const Text indent = appIndentation(text, apps);
        decision.from = decision.to = apps.open + 1;
        decision.bytes = '\n' + indent + '"' + change.appid + "\"\n" + indent + "{\n" + indent +
                         '\t' + line + '\n' + indent + '}';
    } else {
        const std::vector<Block> tokens = tokensIn(text, block);
        const std::vector<Block> values = valuesIn(text, block);
        if (closingToken(text, tokens) != block.close)
            doubt = "the block ends elsewhere";
        if (values.empty()) {
            const Indentation indent = lineIndentation(text, block);
            if (indent.at == nowhere)
                return refuse("cannot determine indentation for " + change.appid, "indentation");
            decision.from = decision.to = indent.at;
            decision.bytes = indent.text + line + '\n';
            for (const Block &token : tokens) {
                if (text[token.open] == '"' && token.open < indent.at && indent.at <= token.close)
                    doubt = "the new line lies in quotes";
            }
        } else {
            decision.from = decision.to = values.front().open;
            for (const Block &old : values) {
                decision.bytes += part(text, decision.to, old.open) + '"' + value + '"';
                decision.to = old.close + 1;
                if (!isUtf8(part(text, old.open, old.close)))
                    doubt = "an old value is no UTF-8";
                if (!isValueOfKey(text, tokens, old))
                    doubt = "an old value is none to a reader of quotes";
            }
        }
        const Text replaced = part(text, decision.from, decision.to);
        for (const char brace : {'{', '}'}) {
            if (std::count(replaced.begin(), replaced.end(), brace) !=
                std::count(decision.bytes.begin(), decision.bytes.end(), brace))
                return refuse("brace count changed; refusing to write", "brace count");
        }
    }
    if (!arePaired(value))
        doubt = "braces in the options do not pair up";
    return doubt.empty() ? decision
                         : refuse("post-edit verification failed for " + change.appid, doubt);
}

} // namespace

std::size_t matchingBrace(const Text &text, std::size_t start)
{
    int depth = 0;
    for (std::size_t i = start; i < text.size(); ++i) {
        depth += text[i] == '{' ? 1 : text[i] == '}' ? -1 : 0;
        if (text[i] == '}' && depth == 0)
            return i;
    }
    return nowhere;
}

Block findAppsSection(const Text &text)
{
    Block kept;
    std::size_t keptSize = 0;
    for (const Block &found : blocksOf(text, "apps")) {
        if (found.close == nowhere)
            continue;
        const std::size_t size = decode(part(text, found.open, found.close)).size();
        if (kept.open == nowhere || size > keptSize) {
            kept = found;
            keptSize = size;
        }
    }
    return kept;
}

Block findAppBlock(const Text &text, Block apps, const Text &appid)
{
    for (const Block &found : blocksOf(text, appid)) {
        const std::size_t key = text.rfind('"' + appid + '"', found.open);
        if (key >= apps.open && key <= apps.close && found.close <= apps.close)
            return found;
    }
    return {};
}

std::u16string readLaunchOptions(const Text &text, const Text &appid)
{
    const Block block = findAppBlock(text, findAppsSection(text), appid);
    const std::vector<Block> values = valuesIn(text, block);
    return block.open == nowhere || values.empty()
               ? std::u16string()
               : decode(part(text, values.front().open + 1, values.front().close));
}

Edited edit(const Text &text, const std::vector<Change> &changes)
{
    Edited edited;
    const auto refuse = [&edited](const Decision &decision, const Text &reason) {
        edited.refusals[decision.change.appid] = {
            "post-edit verification failed for " + decision.change.appid, reason};
    };
    std::vector<Decision> accepted;
    for (const Change &change : changes) {
        const Decision next = decide(text, change);
        const auto isInOrAround = [block = next.block](const Decision &other) {
            return block.open != nowhere && other.block.open != nowhere &&
                   block.open < other.block.close && other.block.open < block.close;
        };
        if (!next.refusal.message.empty())
            edited.refusals[change.appid] = next.refusal;
        else if (std::any_of(accepted.begin(), accepted.end(), isInOrAround))
            refuse(next, "in or around another one's block");
        else
            accepted.push_back(next);
    }
    // Changes go in from the text's end to its start. New blocks have one place: the later stands
    // first.
    std::stable_sort(accepted.begin(), accepted.end(),
                     [](const Decision &a, const Decision &b) { return a.from > b.from; });
    for (std::size_t before = nowhere; before != accepted.size();) {
        before = accepted.size();
        edited.text = text;
        for (const Decision &one : accepted)
            edited.text.replace(one.from, one.to - one.from, one.bytes);
        std::erase_if(accepted, [&](const Decision &one) {
            const bool reads =
                readLaunchOptions(edited.text, one.change.appid) == one.change.options;
            if (!reads)
                refuse(one, "does not read back");
            return !reads;
        });
    }
    return edited;
}

} // namespace model
