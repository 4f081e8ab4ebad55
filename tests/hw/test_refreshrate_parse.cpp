// SPDX-License-Identifier: MIT
#include "hw/refreshrate.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// Recorded on a laptop with its own panel and one monitor.
const QString laptopAndMonitor =
    u"Screen 0: minimum 320 x 200, current 4480 x 1440, maximum 16384 x 16384\n"
    "eDP-1 connected 1920x1080+2560+360 (normal left inverted right x axis y axis) 344mm x 194mm\n"
    "   1920x1080     60.02*+  60.01    59.97    59.96    59.93    48.01  \n"
    "   1680x1050     59.95    59.88  \n"
    "   1400x1050     59.98  \n"
    "DP-1 disconnected (normal left inverted right x axis y axis)\n"
    "HDMI-1 disconnected (normal left inverted right x axis y axis)\n"
    "DP-2 connected primary 2560x1440+0+0 (normal left inverted right x axis y axis) 597mm x "
    "336mm\n"
    "   2560x1440     59.95 + 143.86*  120.00    99.95  \n"
    "   1920x1080     60.00    60.00    50.00    59.94  \n"
    "   640x480       75.00    72.81    66.67    60.00    59.94  \n"_s;

/// Recorded on a desktop computer whose television runs at a film's rate.
const QString television =
    u"Screen 0: minimum 8 x 8, current 3840 x 2160, maximum 32767 x 32767\n"
    "HDMI-0 connected primary 3840x2160+0+0 (normal left inverted right x axis y axis) 1210mm x "
    "680mm\n"
    "   3840x2160     59.94 +  50.00    29.97    25.00    23.98* \n"
    "   1920x1080     60.00    59.94    50.00    23.98  \n"
    "DP-0 disconnected (normal left inverted right x axis y axis)\n"_s;

/// Recorded with the only monitor switched off.
const QString noCurrentMode =
    u"Screen 0: minimum 320 x 200, current 320 x 200, maximum 16384 x 16384\n"
    "DP-1 connected (normal left inverted right x axis y axis)\n"
    "   2560x1440     59.95 + 143.86    120.00  \n"
    "   1920x1080     60.00    50.00  \n"_s;

} // namespace

class TestRefreshRateParse : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parseRefreshRate_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<int>("hertz");

        QTest::newRow("recorded: the first output's current mode, primary or not")
            << laptopAndMonitor << 60;
        QTest::newRow("recorded: current mode is not the preferred one") << television << 24;
        QTest::newRow("recorded: no current mode") << noCurrentMode << 0;

        QTest::newRow("two outputs, 60 before 144")
            << u"A connected\n 1920x1080 60.00*+\nB connected primary\n 2560x1440 144.00*\n"_s
            << 60;
        QTest::newRow("first output without a current mode")
            << u"A connected\n 1920x1080 60.00 +\nB connected\n 2560x1440 144.00*\n"_s << 144;
        QTest::newRow("without an asterisk") << u"   1920x1080     60.00 +  59.94  \n"_s << 0;
        QTest::newRow("blank before the asterisk") << u"   1920x1080     60.00 *\n"_s << 0;
        QTest::newRow("whole number") << u"   1920x1080     60*\n"_s << 0;
        QTest::newRow("decimal comma") << u"   1920x1080     59,94*\n"_s << 0;
        QTest::newRow("no digit before the point") << u"   1920x1080     .94*\n"_s << 0;
        QTest::newRow("empty output") << u""_s << 0;

        QTest::newRow("59.94") << u"59.94*"_s << 60;
        QTest::newRow("143.86") << u"143.86*"_s << 144;
        QTest::newRow("a half goes up: 74.5") << u"74.5*"_s << 75;
        QTest::newRow("a half goes up from an even number too: 60.5") << u"60.5*"_s << 61;
        QTest::newRow("below a half: 74.49") << u"74.49*"_s << 74;
        QTest::newRow("23.98 rounds up into the range") << u"23.98*"_s << 24;
        QTest::newRow("23.5 is the least") << u"23.5*"_s << 24;
        QTest::newRow("23.49 is too slow") << u"23.49*"_s << 0;
        QTest::newRow("0.00") << u"0.00*"_s << 0;
        QTest::newRow("480.00 is the most") << u"480.00*"_s << 480;
        QTest::newRow("480.49 rounds down into the range") << u"480.49*"_s << 480;
        QTest::newRow("480.50 is too fast") << u"480.50*"_s << 0;
        QTest::newRow("500.00") << u"500.00*"_s << 0;
        QTest::newRow("an implausible first rate is not passed over")
            << u"A\n 1x1 500.00*\nB\n 1x1 60.00*\n"_s << 0;
        QTest::newRow("more digits than any number has") << QString(400, u'9') + ".0*"_L1 << 0;
    }
    void parseRefreshRate()
    {
        QFETCH(const QString, output);
        QTEST(hw::parseRefreshRate(output), "hertz");
    }
};

QTEST_GUILESS_MAIN(TestRefreshRateParse)
#include "test_refreshrate_parse.moc"
