// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QLineEdit>
#include <QTest>

#include <cmath>
#include <functional>

using namespace Qt::StringLiterals;

namespace
{

/// The sizes in the preview: the part from "-w" to the output height.
QString sizes(const WindowUser &user)
{
    const QString preview = user.previewLabel->text();
    const auto from = preview.indexOf("-w "_L1);
    return preview.mid(from, preview.indexOf(" -F fsr"_L1) - from);
}

/// WCAG 2's contrast ratio.
double contrast(const QColor &one, const QColor &other)
{
    const auto luminance = [](const QColor &colour) {
        const auto part = [](int value) {
            const double c = value / 255.0;
            return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * part(colour.red()) + 0.7152 * part(colour.green()) +
               0.0722 * part(colour.blue());
    };
    const double a = luminance(one) + 0.05;
    const double b = luminance(other) + 0.05;
    return a > b ? a / b : b / a;
}

QColor textColour(const QComboBox *combo)
{
    return combo->lineEdit()->palette().color(QPalette::Text);
}

} // namespace

/// Typing and stepping in the resolution boxes.
class TestMainWindowResolutions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTypedSizeCountsIfItIsAllowedAndIsRedOtherwise_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("options");
        QTest::addColumn<bool>("isRefused");
        const auto taken = [](const char *name, const QString &typed, const QString &options) {
            QTest::newRow(name) << typed << options << false;
        };
        const auto refused = [](const char *name, const QString &typed,
                                const QString &options = u"-w 1280 -h 720 -W 1920 -H 1080"_s) {
            QTest::newRow(name) << typed << options << true;
        };
        taken("one of the list", u"2560x1440"_s, u"-w 2560 -h 1440 -W 1920 -H 1080"_s);
        taken("any other", u"1000x600"_s, u"-w 1000 -h 600 -W 1920 -H 1080"_s);
        taken("blanks around", u"  1000x600 "_s, u"-w 1000 -h 600 -W 1920 -H 1080"_s);
        taken("smallest", u"320x200"_s, u"-w 320 -h 200 -W 1920 -H 1080"_s);
        taken("largest", u"7680x4320"_s, u"-w 7680 -h 4320 -W 1920 -H 1080"_s);
        taken("leading zeros", u"01000x0600"_s, u"-w 1000 -h 600 -W 1920 -H 1080"_s);
        refused("nothing", QString());
        refused("a digit", u"2"_s);
        refused("width only", u"2560x"_s);
        refused("height only", u"x1440"_s);
        refused("capital X", u"2560X1440"_s);
        refused("three parts, valid on the way", u"2560x1440x"_s,
                u"-w 2560 -h 1440 -W 1920 -H 1080"_s);
        refused("three parts from the start", u"x640x480"_s);
        refused("width below 320", u"300x200"_s);
        refused("width just below 320", u"319x200"_s);
        refused("width above 7680", u"7681x4320"_s);
        refused("height above 4320", u"1000x4321"_s,
                u"-w 1000 -h 432 -W 1920 -H 1080"_s); // the last valid on the way
        refused("height below 200", u"320x199"_s);
        refused("no numbers", u"widexhigh"_s);
        refused("hexadecimal", u"0x500x480"_s);
        refused("fraction", u"1280.5x720"_s);
        refused("negative", u"-1280x720"_s);
        refused("multiplication sign", u"1000\u00d7600"_s);
    }
    void aTypedSizeCountsIfItIsAllowedAndIsRedOtherwise()
    {
        QFETCH(const QString, typed);
        QFETCH(const QString, options);
        QFETCH(const bool, isRefused);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        const QColor plain = textColour(user.renderResCombo);
        user.type(user.renderResCombo, typed);
        QCOMPARE(user.renderResCombo->currentText(), typed);
        QCOMPARE(sizes(user), options);
        QCOMPARE(textColour(user.renderResCombo) != plain, isRefused);
    }

    void theRedOfARefusedSizeIsLegible_data()
    {
        QTest::addColumn<bool>("isDark");
        QTest::addColumn<QString>("box");
        for (const char *box : {"renderResCombo", "outputResCombo"}) {
            QTest::addRow("light, %s", box) << false << QString::fromLatin1(box);
            QTest::addRow("dark, %s", box) << true << QString::fromLatin1(box);
        }
    }
    void theRedOfARefusedSizeIsLegible()
    {
        QFETCH(const bool, isDark);
        QFETCH(const QString, box);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        auto *combo = user.window.findChild<QComboBox *>(box);
        QPalette palette = user.window.palette();
        if (isDark) {
            palette.setColor(QPalette::Base, QColor(35, 35, 35));
            palette.setColor(QPalette::Text, Qt::white);
            user.window.setPalette(palette);
        }
        const QColor plain = textColour(combo);
        user.type(combo, u"2560x144"_s); // too low
        const QColor red = textColour(combo);
        QVERIFY2(red.red() > 2 * red.green() - 128 && red.redF() > red.blueF() &&
                     contrast(red, combo->lineEdit()->palette().color(QPalette::Base)) >= 4.5,
                 qPrintable(red.name()));
        QTest::keyClicks(combo->lineEdit(), u"0"_s);
        QCOMPARE(textColour(combo), plain);
    }

    void aRefusedSizeIsExplainedInWords()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        const auto told = [&user] {
            const QComboBox *box = user.renderResCombo;
            return QStringList{box->toolTip(), box->accessibleDescription(),
                               box->lineEdit()->accessibleDescription()};
        };
        const QStringList nothing{QString(), QString(), QString()};
        QCOMPARE(told(), nothing);
        user.type(user.renderResCombo, u"300x20"_s);
        const auto reason =
            u"Not accepted: widths from 320 to 7680, heights from 200 to 4320, such as 1706x960. 1280x720 stays in force."_s;
        QCOMPARE(told(), (QStringList{reason, reason, reason}));
        QCOMPARE(user.outputResCombo->toolTip(), QString());
        user.type(user.renderResCombo, u"1706x960"_s);
        QCOMPARE(told(), nothing);
        user.type(user.renderResCombo, u"7681x960"_s);
        QCOMPARE(told().first(), QString(reason).replace("1280x720"_L1, "1706x960"_L1));
    }

    void theRedGoesWithTheRefusedSize_data()
    {
        using Step = std::function<void(WindowUser &)>;
        QTest::addColumn<Step>("step");
        QTest::newRow("a key steps on")
            << Step([](WindowUser &user) { QTest::keyClick(user.renderResCombo, Qt::Key_Down); });
        QTest::newRow("an item is chosen")
            << Step([](WindowUser &user) { user.choose(user.renderResCombo, 3); });
        QTest::newRow("another game is selected")
            << Step([](WindowUser &user) { user.select(u"Beta"_s); });
    }
    void theRedGoesWithTheRefusedSize()
    {
        QFETCH(const std::function<void(WindowUser &)>, step);
        const PlayersMachine machine(
            {{u"100"_s, u"Alpha"_s, defaultOptions}, {u"200"_s, u"Beta"_s, defaultOptions}});
        WindowUser user;
        const QColor plain = textColour(user.renderResCombo);
        user.type(user.renderResCombo, u"2560x"_s);
        QVERIFY(textColour(user.renderResCombo) != plain);
        step(user);
        QCOMPARE(textColour(user.renderResCombo), plain);
    }

    void aStoredSizeOutsideTheLimitsIsNotRed()
    {
        const PlayersMachine machine;
        machine.write(machine.storePath(), "[config]\n100\\framegen=true\n"); // no size: 0x0
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.outputResCombo->currentText(), u"0x0"_s);
        user.click(user.framegenCheck);
        QCOMPARE(textColour(user.outputResCombo),
                 user.holdbackCombo->palette().color(QPalette::Active, QPalette::Text));
    }

    void anOutputSizeCountsOnceItIsComplete()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.type(user.outputResCombo, u"2560x"_s);
        QCOMPARE(sizes(user), u"-w 1280 -h 720 -W 1920 -H 1080"_s);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        QTest::keyClicks(user.outputResCombo->lineEdit(), u"1440"_s);
        QCOMPARE(sizes(user), u"-w 1280 -h 720 -W 2560 -H 1440"_s);
        QCOMPARE(user.statusLabel->text(), pendingStatus(1));
    }

    void noSizeIsCompletedAndASteppedSizeCounts()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.type(user.renderResCombo, u"2"_s);
        QCOMPARE(user.renderResCombo->currentText(), u"2"_s);
        QTest::keyClick(user.renderResCombo, Qt::Key_Tab);
        QCOMPARE(user.renderResCombo->currentText(), u"2"_s);
        QCOMPARE(sizes(user), u"-w 1280 -h 720 -W 1920 -H 1080"_s);
        user.renderResCombo->setFocus();
        QTest::keyClick(user.renderResCombo, Qt::Key_Up);
        QCOMPARE(sizes(user), u"-w 854 -h 480 -W 1920 -H 1080"_s);
    }
};

QTEST_MAIN(TestMainWindowResolutions)
#include "test_mainwindow_resolutions.moc"
