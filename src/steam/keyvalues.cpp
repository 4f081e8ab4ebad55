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

// The two loops that read every unit are compiled twice, and the machine's own instructions choose.
#if defined(__x86_64__) && defined(__linux__)
#define MARROW_VECTORISED __attribute__((target_clones("avx2", "default")))
#else
#define MARROW_VECTORISED
#endif

/// How many units the loops below take at once: they compile to vector instructions, and what they
/// find in a stretch decides whether it must be walked unit by unit.
constexpr qsizetype stretch = 128;

/// The first position of `key`, which is at least two units long, at or after `from`; -1 for none.
/// Only a stretch in which three of its units fit somewhere is walked.
MARROW_VECTORISED
qsizetype indexOfKey(QStringView text, QStringView key, qsizetype from)
{
    const char16_t *const units = text.utf16();
    const qsizetype middle = key.size() / 2;
    const qsizetype last = key.size() - 1;
    const char16_t second = key.utf16()[1];
    const char16_t halfway = key.utf16()[middle];
    const char16_t final = key.utf16()[last];
    const qsizetype behind = text.size() - last; // no key begins here or later
    for (qsizetype begin = from; begin < behind; begin += stretch) {
        const qsizetype end = std::min(begin + stretch, behind);
        quint16 hits = 0;
        for (qsizetype i = begin; i < end; ++i) {
            const auto difference =
                static_cast<quint16>((units[i + 1] ^ second) | (units[i + middle] ^ halfway) |
                                     (units[i + last] ^ final));
            hits = static_cast<quint16>(hits | (difference == 0 ? 0xFFFF : 0));
        }
        for (qsizetype i = begin; hits != 0 && i < end; ++i) {
            if (units[i + 1] == second && units[i + last] == final &&
                text.sliced(i).startsWith(key))
                return i;
        }
    }
    return -1;
}

/// The next place, at or after `from`, where `quotedKey` stands with `next` behind it, white space
/// between them allowed: the positions of the key's first quote and of `next`.
BraceSpan findKey(QStringView text, QStringView quotedKey, QChar next, qsizetype from)
{
    while ((from = indexOfKey(text, quotedKey, from)) >= 0) {
        const qsizetype behind = skipSpace(text, from + quotedKey.size());
        if (behind < text.size() && text[behind] == next)
            return {from, behind};
        ++from;
    }
    return {};
}

} // namespace

MARROW_VECTORISED
qsizetype matchingBrace(QStringView text, qsizetype start)
{
    const char16_t *const units = text.utf16();
    qsizetype depth = 0;
    for (qsizetype begin = start; begin < text.size(); begin += stretch) {
        const qsizetype end = std::min(begin + stretch, text.size());
        quint16 opening = 0;
        quint16 closing = 0;
        for (qsizetype i = begin; i < end; ++i) {
            opening = static_cast<quint16>(opening + (units[i] == u'{'));
            closing = static_cast<quint16>(closing + (units[i] == u'}'));
        }
        // Walked only when one of its closing braces can bring the depth to zero.
        if (depth + opening < 1 || depth > closing) {
            depth += opening - closing;
            continue;
        }
        for (qsizetype i = begin; i < end; ++i) {
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
    // The search ends where what is left of the text has no room for a larger section.
    for (qsizetype from = 0; text.size() - 1 - from > largest.close - largest.open;) {
        const qsizetype open = findKey(text, u"\"apps\"", u'{', from).close;
        if (open < 0)
            break;
        const BraceSpan section{open, matchingBrace(text, open)};
        if (section.close - section.open > largest.close - largest.open)
            largest = section;
        from = open;
    }
    return largest;
}

AppsSection cutAppsSection(QStringView text)
{
    const BraceSpan apps = findAppsSection(text);
    return {apps.isValid() ? text.sliced(apps.open, apps.close + 1 - apps.open) : QStringView()};
}

BraceSpan findAppBlock(QStringView text, BraceSpan apps, QStringView appid)
{
    const QString quotedId = u'"' % appid % u'"';
    // Neither a key outside the section counts nor a block that ends outside it.
    const QStringView section = text.first(apps.close + 1);
    for (BraceSpan key = findKey(section, quotedId, u'{', apps.open); key.isValid();
         key = findKey(section, quotedId, u'{', key.close)) {
        const BraceSpan block{key.close, matchingBrace(section, key.close)};
        if (block.close != -1)
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

QString readLaunchOptions(AppsSection section, QStringView appid)
{
    const QStringView text = section.text;
    const BraceSpan block = findAppBlock(text, {0, text.size() - 1}, appid);
    if (!block.isValid())
        return {};
    const BraceSpan value = findLaunchOptionsValue(text, block.open, block.close);
    if (!value.isValid())
        return {};
    return text.sliced(value.open + 1, value.close - value.open - 1).toString();
}

QString readLaunchOptions(QStringView text, QStringView appid)
{
    return readLaunchOptions(cutAppsSection(text), appid);
}

} // namespace steam
