// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// The wheel over a closed box, which the pointer may only pass.
class TestMainWindowWheel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itChangesNoBoxWithoutTheFocus_data()
    {
        QTest::addColumn<QString>("box");
        for (const char *box :
             {"renderGpuCombo", "renderResCombo", "outputResCombo", "methodCombo", "holdbackCombo"})
            QTest::newRow(box) << QString::fromLatin1(box);
    }
    void itChangesNoBoxWithoutTheFocus()
    {
        QFETCH(const QString, box);
        const PlayersMachine machine;
        machine.installLosslessScaling();
        machine.addSecondGpu();
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        auto *combo = user.window.findChild<QComboBox *>(box);
        if (combo == user.renderGpuCombo) // a notch leads on from the first
            user.choose(combo, 0);
        user.gameList->setFocus();
        const QString shown = combo->currentText();
        const QString preview = user.previewLabel->text();
        const QString status = user.statusLabel->text();
        turnWheelOver(combo);
        QCOMPARE(combo->currentText(), shown);
        QCOMPARE(user.previewLabel->text(), preview);
        QCOMPARE(user.statusLabel->text(), status);
        QCOMPARE(QApplication::focusWidget(), user.gameList);

        combo->setFocus();
        turnWheelOver(combo);
        QVERIFY(combo->currentText() != shown); // else nothing is shown here
    }
};

QTEST_MAIN(TestMainWindowWheel)
#include "test_mainwindow_wheel.moc"
