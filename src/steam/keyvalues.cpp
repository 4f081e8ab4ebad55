// SPDX-License-Identifier: MIT
#include "steam/keyvalues.h"

#include <QByteArrayMatcher>

#include <algorithm>
#include <cctype>
#include <vector>

namespace steam
{
namespace
{

/// Calls `visit` with each block of `text` that opens at or after `from`, as it closes.
template <typename Visit>
void forEachBlock(QByteArrayView text, qsizetype from, Visit visit)
{
    const auto isBrace = [](char byte) { return byte == '{' || byte == '}'; };
    std::vector<qsizetype> open;
    for (auto at = text.begin() + std::max(from, qsizetype(0));; ++at) {
        at = std::find_if(at, text.end(), isBrace);
        if (at == text.end())
            return;
        if (*at == '{') {
            open.push_back(at - text.begin());
        } else if (!open.empty()) {
            visit(BraceSpan{open.back(), at - text.begin()});
            open.pop_back();
        }
    }
}

/// What stands at or after `from` and before the brace at `open`, without white space at its end.
QByteArrayView textBefore(QByteArrayView text, qsizetype from, qsizetype open)
{
    while (open > from && isSpace(text[open - 1]))
        --open;
    return text.sliced(from, open - from);
}

/// What stands in quotes, at or after `from`, before the brace at `open`, white space between them
/// allowed; null when there is nothing.
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
    QList<BraceSpan> sections; // that lie in no other one, which is larger
    forEachBlock(text, 0, [&](BraceSpan block) {
        if (!textBefore(text, 0, block.open).endsWith("\"apps\""))
            return;
        while (!sections.isEmpty() && sections.last().open > block.open)
            sections.removeLast();
        sections.append(block);
    });
    if (sections.size() < 2)
        return sections.value(0);
    QList<qsizetype> sizes;
    for (const BraceSpan &section : sections)
        sizes += QString::fromUtf8(text.sliced(section.open, section.close - section.open)).size();
    return sections[std::max_element(sizes.cbegin(), sizes.cend()) - sizes.cbegin()];
}

AppsSection::AppsSection(QByteArrayView text, BraceSpan apps) : utf8(text), section(apps)
{
    const QByteArrayView inside = utf8.first(section.close + 1);
    forEachBlock(inside, section.open, [&](BraceSpan block) {
        const QByteArrayView key = keyOf(inside, section.open, block.open);
        if (!key.isEmpty() && std::isdigit(static_cast<unsigned char>(key[0])))
            blocks.insert(key, block);
    });
    static const QByteArrayMatcher launchOptionsKey("\"LaunchOptions\"");
    for (qsizetype key = launchOptionsKey.indexIn(inside, section.open); key >= 0;
         key = launchOptionsKey.indexIn(inside, key + 1)) {
        qsizetype open = key + launchOptionsKey.pattern().size();
        while (open < inside.size() && isSpace(inside[open]))
            ++open;
        if (open < inside.size() && inside[open] == '"')
            values.append({open, inside.indexOf('"', open + 1)});
    }
}

BraceSpan AppsSection::block(const QString &appid) const
{
    const QByteArray key = appid.toUtf8();
    const auto [from, to] = blocks.equal_range(key);
    const auto first = std::min_element(
        from, to, [](const BraceSpan &a, const BraceSpan &b) { return a.open < b.open; });
    return first == to ? BraceSpan() : *first;
}

QString AppsSection::launchOptions(const QString &appid) const
{
    const BraceSpan game = block(appid);
    // The first value that begins in the block; those after it end no earlier.
    const auto value =
        std::lower_bound(values.cbegin(), values.cend(), game.open,
                         [](const BraceSpan &a, qsizetype from) { return a.open < from; });
    if (!game.isValid() || value == values.cend() || value->close < 0 || value->close > game.close)
        return {};
    // Decoded with its quote: what stands at the very start of a text could be a byte-order mark.
    return QString::fromUtf8(utf8.sliced(value->open, value->close - value->open)).mid(1);
}

} // namespace steam
