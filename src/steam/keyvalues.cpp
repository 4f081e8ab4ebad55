// SPDX-License-Identifier: MIT
#include "steam/keyvalues.h"

#include <QByteArrayMatcher>

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

namespace steam
{
namespace
{

constexpr QByteArrayView launchOptionsKey("\"LaunchOptions\"");

/// Calls `visit` with each block of `text` that opens at or after `from`, in the order of the
/// closing braces.
template <typename Visit>
void forEachBlock(QByteArrayView text, qsizetype from, Visit visit)
{
    from = std::max(from, qsizetype(0));
    std::vector<qsizetype> open;
    qsizetype opening = text.indexOf('{', from);
    for (qsizetype closing = text.indexOf('}', from); closing >= 0;
         closing = text.indexOf('}', closing + 1)) {
        for (; opening >= 0 && opening < closing; opening = text.indexOf('{', opening + 1))
            open.push_back(opening);
        if (!open.empty()) {
            visit(BraceSpan{open.back(), closing});
            open.pop_back();
        }
    }
}

/// True for ASCII white space, line ends included.
bool isSpace(char byte)
{
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

qsizetype skipSpace(QByteArrayView text, qsizetype from)
{
    while (from < text.size() && isSpace(text[from]))
        ++from;
    return from;
}

/// The text of a block or value, with its braces or quotes.
QByteArrayView part(QByteArrayView text, BraceSpan span)
{
    return text.sliced(span.open, span.close + 1 - span.open);
}

/// The quote that closes the one at `open`; escaped quotes do not. The text's end without one.
qsizetype closingQuote(QByteArrayView text, qsizetype open)
{
    qsizetype i = open + 1;
    while (i < text.size() && text[i] != '"')
        i += text[i] == '\\' ? 2 : 1;
    return i;
}

/// The text from `from` to the brace at `open`, without white space at its end.
QByteArrayView textBefore(QByteArrayView text, qsizetype from, qsizetype open)
{
    while (open > from && isSpace(text[open - 1]))
        --open;
    return text.sliced(from, open - from);
}

/// The quoted key before the brace at `open`, without its quotes; null if there is none at or after
/// `from`. White space may stand between key and brace.
QByteArrayView keyOf(QByteArrayView text, qsizetype from, qsizetype open)
{
    const QByteArrayView before = textBefore(text, from, open);
    if (!before.endsWith('"'))
        return {};
    const QByteArrayView key = before.chopped(1);
    const qsizetype quote = key.lastIndexOf('"');
    return quote < 0 ? QByteArrayView() : key.sliced(quote + 1);
}

} // namespace

qsizetype matchingBrace(QByteArrayView text, qsizetype start)
{
    qsizetype depth = 0;
    for (qsizetype i = start; i < text.size(); ++i) {
        if (text[i] == '{')
            ++depth;
        else if (text[i] == '}' && --depth == 0)
            return i;
    }
    return -1;
}

BraceSpan findAppsSection(QByteArrayView text)
{
    QList<BraceSpan> sections; // outermost ones only: they are larger than those within them
    forEachBlock(text, 0, [&](BraceSpan block) {
        if (!textBefore(text, 0, block.open).endsWith("\"apps\""))
            return;
        while (!sections.isEmpty() && sections.last().open > block.open)
            sections.removeLast();
        sections.append(block);
    });
    // A UTF-16 unit takes one byte to three: few sections need to be decoded.
    const auto isSmaller = [text](BraceSpan one, BraceSpan other) {
        const auto [a, b] = std::pair(part(text, one), part(text, other));
        return 3 * a.size() < b.size() ||
               (a.size() <= 3 * b.size() &&
                QString::fromUtf8(a).size() < QString::fromUtf8(b).size());
    };
    const auto largest = std::max_element(sections.cbegin(), sections.cend(), isSmaller);
    return largest == sections.cend() ? BraceSpan() : *largest;
}

AppsSection::AppsSection(QByteArrayView text, BraceSpan apps) : utf8(text), section(apps)
{
    const QByteArrayView inside = utf8.first(section.close + 1);
    forEachBlock(inside, section.open, [&](BraceSpan block) {
        const QByteArrayView key = keyOf(inside, section.open, block.open);
        if (key.isEmpty() || !std::isdigit(static_cast<unsigned char>(key[0])))
            return;
        BraceSpan &first = blocks[key];
        if (!first.isValid() || block.open < first.open)
            first = block;
    });
}

BraceSpan AppsSection::block(const QString &appid) const
{
    return blocks.value(appid.toUtf8());
}

QList<BraceSpan> AppsSection::values(BraceSpan block) const
{
    static const QByteArrayMatcher matcher(launchOptionsKey);
    const QByteArrayView inside = utf8.first(block.close + 1);
    QList<BraceSpan> values;
    qsizetype key = matcher.indexIn(inside, block.open);
    while (key >= 0) {
        const qsizetype open = skipSpace(inside, key + launchOptionsKey.size());
        const qsizetype close =
            open < inside.size() && inside[open] == '"' ? inside.indexOf('"', open + 1) : -1;
        if (close >= 0)
            values.append({open, close});
        key = matcher.indexIn(inside, std::max(key, close) + 1);
    }
    return values;
}

QString AppsSection::launchOptions(const QString &appid) const
{
    const QList<BraceSpan> found = values(block(appid));
    if (found.isEmpty())
        return {};
    // Decoded with its quotes: at the very start of a text, a byte-order mark would be dropped.
    return QString::fromUtf8(part(utf8, found.first())).chopped(1).mid(1);
}

bool isSeenAlike(QByteArrayView text, BraceSpan block, const QList<BraceSpan> &values,
                 qsizetype place)
{
    qsizetype depth = 0;
    BraceSpan key; // read, and its value or block not yet
    auto value = values.cbegin();
    for (qsizetype i = block.open; i <= block.close; ++i) {
        if (text[i] == '"') {
            const BraceSpan quotes{i, closingQuote(text, i)};
            if (place > quotes.open && place <= quotes.close)
                return false;
            i = quotes.close;
            if (!key.isValid()) {
                key = quotes;
                continue;
            }
            if (value != values.cend() && *value == quotes && part(text, key) == launchOptionsKey) {
                const qsizetype next = skipSpace(text, quotes.close + 1);
                if (next < text.size() && text[next] == '{')
                    return false;
                ++value;
            }
            key = {};
        } else if (text[i] == '{') {
            ++depth;
            key = {};
        } else if (text[i] == '}') {
            key = {};
            if (--depth == 0)
                return i == block.close && value == values.cend();
        }
    }
    return false;
}

} // namespace steam
