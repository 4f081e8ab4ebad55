// SPDX-License-Identifier: MIT
// Input: what xrandr prints. The rate is that of the first number with a fraction that has a star
// behind it, when it is a possible one; what stands before without a star, and behind, changes
// nothing.
#include "hw/refreshrate.h"
#include "require.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

/// The start of the number with a fraction that ends before `star`; -1 when there is none.
qsizetype numberBefore(const QString &text, qsizetype star)
{
    qsizetype point = star;
    while (point > 0 && isDigit(text[point - 1]))
        --point;
    if (point == star || --point < 0 || text[point] != u'.')
        return -1;
    qsizetype start = point;
    while (start > 0 && isDigit(text[start - 1]))
        --start;
    return start == point ? -1 : start;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const int rate = hw::parseRefreshRate(text);
    int expected = 0;
    for (qsizetype star = text.indexOf(u'*'); star >= 0; star = text.indexOf(u'*', star + 1)) {
        const qsizetype start = numberBefore(text, star);
        if (start < 0)
            continue;
        const double number = std::round(text.sliced(start, star - start).toDouble());
        expected = number >= 24 && number <= 480 ? static_cast<int>(number) : 0;
        break;
    }
    fuzz::require(rate == expected, "the rate of the first current mode");
    fuzz::require(
        hw::parseRefreshRate("Screen 0: minimum 320 x 200\n  800x600 60.32 +\n"_L1 + text) == rate,
        "other modes before change nothing");
    if (rate != 0)
        fuzz::require(hw::parseRefreshRate(text + "\n  1920x1080  99.00*+\n"_L1) == rate,
                      "later modes change nothing");
    return 0;
}
