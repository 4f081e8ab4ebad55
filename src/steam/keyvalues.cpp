// SPDX-License-Identifier: MIT
#include "steam/keyvalues.h"

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace steam
{
namespace
{

// Every rule is told once, as a template for both kinds of text; the public functions come last.

const char16_t *unitsOf(QStringView text)
{
    return text.utf16();
}

const uchar *unitsOf(QByteArrayView utf8)
{
    return reinterpret_cast<const uchar *>(utf8.data());
}

QString decoded(QStringView text)
{
    return text.toString();
}

QString decoded(QByteArrayView utf8)
{
    return QString::fromUtf8(utf8);
}

/// How many units the text has when it is decoded.
qsizetype decodedSize(QStringView text)
{
    return text.size();
}

qsizetype decodedSize(QByteArrayView utf8)
{
    return decoded(utf8).size();
}

bool isSpace(char16_t unit)
{
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
}

/// The position of the first unit at or after `from` that is no white space.
template <typename Text>
qsizetype skipSpace(Text text, qsizetype from)
{
    while (from < text.size() && isSpace(unitsOf(text)[from]))
        ++from;
    return from;
}

// The two loops that read every unit are compiled twice for each kind of text, and the machine's
// own instructions choose.
#if defined(__x86_64__) && defined(__linux__)
#define MARROW_VECTORISED __attribute__((target_clones("avx2", "default")))
#else
#define MARROW_VECTORISED
#endif

/// How many units the loops below take at once: they compile to vector instructions, and what they
/// find in a stretch decides whether it must be walked unit by unit. A unit can count to it.
constexpr qsizetype stretch = 128;

template <typename Unit>
[[gnu::always_inline]] inline qsizetype indexOfKeyIn(const Unit *units, qsizetype size,
                                                     QLatin1StringView key, qsizetype from)
{
    const qsizetype middle = key.size() / 2;
    const qsizetype last = key.size() - 1;
    const auto second = static_cast<Unit>(key[1].unicode());
    const auto halfway = static_cast<Unit>(key[middle].unicode());
    const auto final = static_cast<Unit>(key[last].unicode());
    const qsizetype behind = size - last; // no key begins here or later
    for (qsizetype begin = from; begin < behind; begin += stretch) {
        const qsizetype end = std::min(begin + stretch, behind);
        Unit least = std::numeric_limits<Unit>::max();
        for (qsizetype i = begin; i < end; ++i) {
            const auto difference =
                static_cast<Unit>((units[i + 1] ^ second) | (units[i + middle] ^ halfway) |
                                  (units[i + last] ^ final));
            least = std::min(least, difference);
        }
        for (qsizetype i = begin; least == 0 && i < end; ++i) {
            if (units[i + 1] == second && units[i + last] == final &&
                std::equal(key.begin(), key.end(), units + i))
                return i;
        }
    }
    return -1;
}

/// The first position of `key`, which is at least two units long, at or after `from`; -1 for none.
/// Only a stretch in which three of its units fit somewhere is walked.
MARROW_VECTORISED
qsizetype indexOfKey(QStringView text, QLatin1StringView key, qsizetype from)
{
    return indexOfKeyIn(unitsOf(text), text.size(), key, from);
}

MARROW_VECTORISED
qsizetype indexOfKey(QByteArrayView utf8, QLatin1StringView key, qsizetype from)
{
    return indexOfKeyIn(unitsOf(utf8), utf8.size(), key, from);
}

template <typename Unit>
[[gnu::always_inline]] inline qsizetype matchingBraceIn(const Unit *units, qsizetype size,
                                                        qsizetype start)
{
    qsizetype depth = 0;
    for (qsizetype begin = start; begin < size; begin += stretch) {
        const qsizetype end = std::min(begin + stretch, size);
        Unit opening = 0;
        Unit closing = 0;
        for (qsizetype i = begin; i < end; ++i) {
            opening = static_cast<Unit>(opening + (units[i] == u'{' ? 1 : 0));
            closing = static_cast<Unit>(closing + (units[i] == u'}' ? 1 : 0));
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

/// The next place, at or after `from`, where `quotedKey` stands with `next` behind it, white space
/// between them allowed: the positions of the key's first quote and of `next`.
template <typename Text>
BraceSpan findKey(Text text, QLatin1StringView quotedKey, char16_t next, qsizetype from)
{
    while ((from = indexOfKey(text, quotedKey, from)) >= 0) {
        const qsizetype behind = skipSpace(text, from + quotedKey.size());
        if (behind < text.size() && unitsOf(text)[behind] == next)
            return {from, behind};
        ++from;
    }
    return {};
}

template <typename Text>
BraceSpan findSection(Text text)
{
    BraceSpan largest;
    qsizetype largestSize = 0;
    for (qsizetype from = 0;;) {
        const qsizetype open = findKey(text, "\"apps\""_L1, u'{', from).close;
        if (open < 0)
            return largest;
        const qsizetype close = matchingBrace(text, open);
        const qsizetype size = close < 0 ? 0 : decodedSize(text.sliced(open, close - open));
        if (size > largestSize) {
            largest = {open, close};
            largestSize = size;
        }
        from = std::max(open, close); // what opens inside a section closes there, and is smaller
    }
}

template <typename Text>
BraceSpan findBlock(Text text, BraceSpan apps, QStringView appid)
{
    const QByteArray quotedId = '"' + appid.toLatin1() + '"';
    // Neither a key outside the section counts nor a block that ends outside it.
    const Text section = text.first(apps.close + 1);
    for (qsizetype from = apps.open;;) {
        const qsizetype open = findKey(section, QLatin1StringView(quotedId), u'{', from).close;
        if (open < 0)
            return {};
        const BraceSpan block{open, matchingBrace(section, open)};
        if (block.close >= 0)
            return block;
        from = open;
    }
}

template <typename Text>
BraceSpan findValue(Text text, qsizetype from, qsizetype to)
{
    const qsizetype open = findKey(text.first(to), "\"LaunchOptions\""_L1, u'"', from).close;
    if (open < 0)
        return {};
    const auto *const units = unitsOf(text);
    const qsizetype close = std::find(units + open + 1, units + to, u'"') - units;
    return close < to ? BraceSpan{open, close} : BraceSpan{};
}

template <typename Text>
QString readValue(Text text, BraceSpan apps, QStringView appid)
{
    const BraceSpan block = findBlock(text, apps, appid);
    if (!block.isValid())
        return {};
    const BraceSpan value = findValue(text, block.open, block.close);
    if (!value.isValid())
        return {};
    // Decoded with its quote: what stands at the very start of a text could be a byte-order mark.
    return decoded(text.sliced(value.open, value.close - value.open)).remove(0, 1);
}

} // namespace

MARROW_VECTORISED
qsizetype matchingBrace(QStringView text, qsizetype start)
{
    return matchingBraceIn(unitsOf(text), text.size(), start);
}

MARROW_VECTORISED
qsizetype matchingBrace(QByteArrayView utf8, qsizetype start)
{
    return matchingBraceIn(unitsOf(utf8), utf8.size(), start);
}

BraceSpan findAppsSection(QStringView text)
{
    return findSection(text);
}

BraceSpan findAppsSection(QByteArrayView utf8)
{
    return findSection(utf8);
}

AppsSection cutAppsSection(QByteArrayView utf8)
{
    const BraceSpan apps = findAppsSection(utf8);
    return {apps.isValid() ? utf8.sliced(apps.open, apps.close + 1 - apps.open) : QByteArrayView()};
}

BraceSpan findAppBlock(QStringView text, BraceSpan apps, QStringView appid)
{
    return findBlock(text, apps, appid);
}

BraceSpan findAppBlock(QByteArrayView utf8, BraceSpan apps, QStringView appid)
{
    return findBlock(utf8, apps, appid);
}

BraceSpan findLaunchOptionsValue(QStringView text, qsizetype from, qsizetype to)
{
    return findValue(text, from, to);
}

QString readLaunchOptions(QStringView text, QStringView appid)
{
    return readValue(text, findAppsSection(text), appid);
}

QString readLaunchOptions(AppsSection section, QStringView appid)
{
    return readValue(section.utf8, {0, section.utf8.size() - 1}, appid);
}

} // namespace steam
