// SPDX-License-Identifier: MIT
#include "steam/keyvalues.h"

#include <QStringBuilder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace steam
{
namespace
{

bool isSpace(QChar c)
{
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}

/// The position of the first unit at or after `from` that is no white space.
qsizetype skipSpace(QStringView text, qsizetype from)
{
    while (from < text.size() && isSpace(text[from]))
        ++from;
    return from;
}

/// The next place, at or after `from`, where `quotedKey` stands with `next` behind it, white space
/// between them allowed: the positions of the key's first quote and of `next`.
BraceSpan findKey(QStringView text, QStringView quotedKey, QChar next, qsizetype from)
{
    while ((from = text.indexOf(quotedKey, from)) >= 0) {
        const qsizetype behind = skipSpace(text, from + quotedKey.size());
        if (behind < text.size() && text[behind] == next)
            return {from, behind};
        ++from;
    }
    return {};
}

} // namespace

qsizetype matchingBrace(QStringView text, qsizetype start)
{
    constexpr qsizetype blockSize = 256;
    const char16_t *const units = text.utf16();
    qsizetype depth = 0;
    for (qsizetype block = start; block < text.size(); block += blockSize) {
        const qsizetype end = std::min(block + blockSize, text.size());
        // Both counts in a plain loop that compiles to vector instructions; only a block in which
        // a closing brace could bring the depth to zero is walked.
        quint16 opening = 0;
        quint16 closing = 0;
        for (qsizetype i = block; i < end; ++i) {
            opening = static_cast<quint16>(opening + (units[i] == u'{'));
            closing = static_cast<quint16>(closing + (units[i] == u'}'));
        }
        if (depth + opening < 1 || depth > closing) {
            depth += opening - closing;
            continue;
        }
        for (qsizetype i = block; i < end; ++i) {
            if (units[i] == u'{')
                ++depth;
            else if (units[i] == u'}' && --depth == 0)
                return i;
        }
    }
    return -1;
}

BraceSpan findAppsSection(QStringView text)
{
    BraceSpan largest;
    for (BraceSpan key = findKey(text, u"\"apps\"", u'{', 0); key.isValid();
         key = findKey(text, u"\"apps\"", u'{', key.close)) {
        const BraceSpan section{key.close, matchingBrace(text, key.close)};
        if (section.close > 0 &&
            (!largest.isValid() || section.close - section.open > largest.close - largest.open))
            largest = section;
    }
    return largest;
}

BraceSpan findAppBlock(QStringView text, BraceSpan apps, QStringView appid)
{
    const QString quotedId = u'"' % appid % u'"';
    // Neither a key outside the section counts nor a block that ends outside it.
    const QStringView section = text.first(apps.close + 1);
    for (BraceSpan key = findKey(section, quotedId, u'{', apps.open); key.isValid();
         key = findKey(section, quotedId, u'{', key.close)) {
        const BraceSpan block{key.close, matchingBrace(section, key.close)};
        if (block.close >= 1)
            return block;
    }
    return {};
}

BraceSpan findLaunchOptionsValue(QStringView text, qsizetype from, qsizetype to)
{
    const QStringView range = text.first(to);
    const qsizetype open = findKey(range, u"\"LaunchOptions\"", u'"', from).close;
    const qsizetype close = open < 0 ? -1 : range.indexOf(u'"', open + 1);
    return close < 0 ? BraceSpan{} : BraceSpan{open, close};
}

QString readLaunchOptions(QStringView text, QStringView appid)
{
    const BraceSpan apps = findAppsSection(text);
    if (!apps.isValid())
        return {};
    const BraceSpan block = findAppBlock(text, apps, appid);
    if (!block.isValid())
        return {};
    const BraceSpan value = findLaunchOptionsValue(text, block.open, block.close);
    if (!value.isValid())
        return {};
    return text.sliced(value.open + 1, value.close - value.open - 1).toString();
}

} // namespace steam
