// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QAccessible>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QImage>
#include <QMenu>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace
{

QStringList names(const WindowUser &user)
{
    QStringList texts;
    for (int row = 0; row < user.gameList->count(); ++row)
        texts.append(user.gameList->item(row)->text());
    return texts;
}

void addPicture(const PlayersMachine &machine, const QString &appid, QSize size)
{
    const QString path =
        machine.steamRoot() + "/appcache/librarycache/"_L1 + appid + "_icon.jpg"_L1;
    machine.write(path, {});
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QVERIFY(picture.save(path, "PNG"));
}

} // namespace

class TestMainWindowList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anItemIsAGameThatCanBeTicked()
    {
        const PlayersMachine machine;
        addPicture(machine, u"100"_s, {32, 32});
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s, defaultOptions}});
        const WindowUser user;
        const QListWidgetItem *alpha = user.item(u"Alpha"_s);
        QCOMPARE(alpha->data(Qt::UserRole), QVariant(u"100"_s));
        QCOMPARE(alpha->flags(), QListWidgetItem().flags() | Qt::ItemIsUserCheckable);
        QCOMPARE(alpha->checkState(), Qt::Unchecked);
        QVERIFY(alpha->data(Qt::DecorationRole)
                    .value<QIcon>()
                    .pixmap(32, 32)
                    .toImage()
                    .pixelColor(16, 16) == Qt::red);

        const QListWidgetItem *beta = user.item(u"Beta"_s);
        QCOMPARE(beta->data(Qt::UserRole), QVariant(u"200"_s));
        QCOMPARE(beta->checkState(), Qt::Checked);
        QVERIFY(!beta->data(Qt::DecorationRole).isValid());
    }

    void rowsHaveOneHeightAndRoomForThePicture()
    {
        const PlayersMachine machine;
        addPicture(machine, u"100"_s, {32, 32});
        addPicture(machine, u"200"_s, {460, 215});
        machine.installGames(
            {{u"100"_s, u"Square"_s}, {u"200"_s, u"Wide"_s}, {u"300"_s, u"None"_s}});
        const WindowUser user;
        const auto height = [&](const QString &name) {
            return user.gameList->visualItemRect(user.item(name)).height();
        };
        QVERIFY(height(u"Square"_s) > 32); // pictures do not touch
        QCOMPARE(height(u"Wide"_s), height(u"Square"_s));
        QCOMPARE(height(u"None"_s), height(u"Square"_s));
    }

    void firstGameIsSelectedAtStart()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Beta"_s}, {u"200"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(user.gameList->currentRow(), 0);
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Alpha"_s);
        QVERIFY(!user.settingsGroup->isEnabled());
    }

    void anEmptyListLeavesTheSettingsWithoutAGame_data()
    {
        QTest::addColumn<bool>("withSteam");
        QTest::newRow("no Steam") << false;
        QTest::newRow("no games") << true;
    }
    void anEmptyListLeavesTheSettingsWithoutAGame()
    {
        QFETCH(const bool, withSteam);
        support::PretendMachine machine;
        machine.addGpu({.card = u"card0"_s, .address = u"0000:03:00.0"_s});
        if (withSteam)
            machine.installSteam();
        WindowUser user;
        QCOMPARE(user.gameList->count(), 0);
        const auto *label = user.window.findChild<QLabel *>(u"emptyLabel"_s);
        QVERIFY(label->isVisible() && user.gameList->isAncestorOf(label));
        for (const QString &word : {u"No installed games"_s, u"Flatpak"_s, u"Snap"_s}) {
            QVERIFY(label->text().contains(word));
            QVERIFY(user.gameList->accessibleDescription().contains(word));
        }
        QVERIFY(label->height() >= label->heightForWidth(label->width()));
        QCOMPARE(user.settingsGroup->title(), u"Game settings"_s);
        QVERIFY(!user.settingsGroup->isEnabled());
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        QVERIFY(!user.applyButton->isEnabled());
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->count(), 0);
    }

    void aListWithGamesSaysNothingOfAnEmptyOne()
    {
        const PlayersMachine machine;
        WindowUser user;
        const auto *label = user.window.findChild<QLabel *>(u"emptyLabel"_s);
        QVERIFY(label->isVisible());
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        user.click(user.refreshButton);
        QVERIFY(!label->isVisible());
        QCOMPARE(user.gameList->accessibleDescription(), QString());
    }

    void theLaunchOptionsOfTheCurrentGameAreCopied_data()
    {
        QTest::addColumn<bool>("byKeyboard");
        QTest::newRow("by the keyboard") << true;
        QTest::newRow("by the menu") << false;
    }
    void theLaunchOptionsOfTheCurrentGameAreCopied()
    {
        QFETCH(const bool, byKeyboard);
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, u"-own <b> options"_s}, {u"200"_s, u"Beta"_s, defaultOptions}});
        WindowUser user;
        for (int row = 0; row < 2; ++row) {
            QGuiApplication::clipboard()->setText(u"before"_s);
            user.selectRow(row);
            if (byKeyboard) {
                QTest::keyClick(user.gameList, Qt::Key_C, Qt::ControlModifier);
            } else {
                QTimer::singleShot(0, user.gameList, [] {
                    auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
                    QCOMPARE(menu->actions().size(), 1);
                    QCOMPARE(menu->actions().first()->text(), u"Copy launch options"_s);
                    QTest::keyClick(menu, Qt::Key_Down);
                    QTest::keyClick(menu, Qt::Key_Return);
                });
                QContextMenuEvent event(QContextMenuEvent::Keyboard, {5, 5},
                                        user.gameList->mapToGlobal(QPoint(5, 5)));
                QApplication::sendEvent(user.gameList, &event);
            }
            QCOMPARE(QGuiApplication::clipboard()->text(), user.previewLabel->text());
            QVERIFY(user.previewLabel->text() != u"before"_s);
        }
    }

    void anUntickedGamesSettingsSayWhatToDo()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        QVERIFY(user.settingsGroup->toolTip().contains("Tick"_L1));
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.settingsGroup->toolTip(), QString());
        machine.removeGame(u"100"_s);
        user.click(user.refreshButton);
        QCOMPARE(user.settingsGroup->toolTip(), QString()); // there is no game to tick
    }

    void toolTipsAreBrokenIntoLinesAndShownAsTheyAre_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("words") << u"--an-option value "_s.repeated(50).trimmed();
        QTest::newRow("without a blank") << QString(900, u'x');
        QTest::newRow("markup") << u"<b>bold</b> &amp; <br>"_s;
    }
    void toolTipsAreBrokenIntoLinesAndShownAsTheyAre()
    {
        QFETCH(const QString, options);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, options}});
        const WindowUser user;
        // In the list, and on a widget.
        int widest = 0;
        const auto shown = [&widest](QWidget *widget, QPoint place) {
            QHelpEvent hover(QEvent::ToolTip, place, widget->mapToGlobal(place));
            QApplication::sendEvent(widget, &hover);
            for (const QWidget *window : QApplication::topLevelWidgets()) {
                if (window->windowType() == Qt::ToolTip)
                    widest = qMax(widest, window->width());
            }
            QString words = QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText();
            return words.remove(u'\u200b'); // places to break
        };
        const QPoint place = user.gameList->visualItemRect(user.gameList->item(0)).center();
        QCOMPARE(shown(user.gameList->viewport(), place), user.gameList->item(0)->toolTip());
        QCOMPARE(shown(user.frameCapCheck, {5, 5}), user.frameCapCheck->toolTip());
        QVERIFY2(widest > 0 && widest < 1000, QByteArray::number(widest));
        QToolTip::hideText();
    }

    void tickingAGameSelectsItAndUnlocksItsSettings()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        user.toggle(u"Beta"_s);
        QCOMPARE(user.gameList->currentItem(), user.item(u"Beta"_s));
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Beta"_s);
        QVERIFY(user.settingsGroup->isEnabled());
        user.select(u"Alpha"_s);
        QVERIFY(!user.isTicked(u"Alpha"_s));
        QVERIFY(!user.settingsGroup->isEnabled());
        user.toggle(u"Beta"_s);
        QVERIFY(!user.isTicked(u"Beta"_s));
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Beta"_s);
        QVERIFY(!user.settingsGroup->isEnabled());
    }

    void spaceTicksTheCurrentGame()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        user.gameList->setFocus();
        QTest::keyClick(user.gameList, Qt::Key_Down);
        QTest::keyClick(user.gameList, Qt::Key_Space);
        QVERIFY(user.isTicked(u"Beta"_s));
        QVERIFY(!user.isTicked(u"Alpha"_s));
        QVERIFY(user.settingsGroup->isEnabled());
    }

    void aBlankWithinATypedNameTicksNothing()
    {
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Iron Harvest"_s}, {u"300"_s, u"Iron Lantern"_s}});
        WindowUser user;
        user.gameList->setFocus();
        const int usual = QApplication::keyboardInputInterval();
        const auto back = qScopeGuard([usual] { QApplication::setKeyboardInputInterval(usual); });
        QApplication::setKeyboardInputInterval(60000); // however slow the machine is
        QTest::keyClicks(user.gameList, u"iron lan"_s);
        QCOMPARE(user.gameList->currentItem(), user.item(u"Iron Lantern"_s));
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        // After a pause a blank ticks again, and so does the next.
        QApplication::setKeyboardInputInterval(0);
        const auto press = [&user] {
            QTest::keyClick(user.gameList, Qt::Key_Space);
            return user.isTicked(u"Iron Lantern"_s);
        };
        QVERIFY(QTest::qWaitFor(press));
        QVERIFY(!press());
        QCOMPARE(user.gameList->currentItem(), user.item(u"Iron Lantern"_s));
    }

    void theRowThatAScreenReaderSelectsIsTheCurrentOne()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        QAccessibleInterface *list = QAccessible::queryAccessibleInterface(user.gameList);
        const auto toggle = [list](int row) {
            list->child(row)->actionInterface()->doAction(
                QAccessibleActionInterface::toggleAction());
        };
        // What is selected is deselected by the same action, but never without another in its
        // place.
        for (int i = 0; i < 2; ++i) {
            toggle(1);
            QCOMPARE(user.gameList->currentRow(), 1);
            QCOMPARE(user.gameList->selectedItems(), {user.item(u"Beta"_s)});
            QCOMPARE(user.settingsGroup->title(), u"Game settings: Beta"_s);
        }
        QTest::keyClick(user.gameList, Qt::Key_Space);
        QVERIFY(user.isTicked(u"Beta"_s));
        QVERIFY(!user.isTicked(u"Alpha"_s));
    }

    void theListCannotBeDraggedAway()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        user.splitter->setSizes({0, 1000});
        QVERIFY(user.gameList->width() >= user.gameList->minimumSizeHint().width());
        user.splitter->setSizes({1000, 0});
        QVERIFY(user.settingsGroup->width() >= user.settingsGroup->minimumSizeHint().width());
    }

    void refreshKeepsThePlaceInTheList_data()
    {
        QTest::addColumn<int>("selected");
        QTest::newRow("the selected game is in view") << 30;
        QTest::newRow("the selected game is not in view") << 0;
    }
    void refreshKeepsThePlaceInTheList()
    {
        QFETCH(const int, selected);
        const PlayersMachine machine;
        QList<InstalledGame> games;
        for (int i = 100; i < 160; ++i)
            games.append({QString::number(i), u"Game %1"_s.arg(i)});
        machine.installGames(games);
        WindowUser user;
        user.selectRow(selected);
        QScrollBar *bar = user.gameList->verticalScrollBar();
        bar->setValue(bar->maximum() / 2);
        const QRect before = user.gameList->visualItemRect(user.gameList->item(selected));
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->currentRow(), selected);
        QCOMPARE(user.gameList->visualItemRect(user.gameList->item(selected)), before);
    }

    void refreshKeepsEditsAndMarks()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s},
                              {u"200"_s, u"Beta"_s, defaultOptions},
                              {u"300"_s, u"Gamma"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        user.choose(user.outputResCombo, 1);
        user.toggle(u"Beta"_s);
        QCOMPARE(user.statusLabel->text(),
                 u"2 game(s) with pending changes. Steam must close briefly to apply."_s);
        user.click(user.refreshButton);
        QVERIFY(user.isTicked(u"Alpha"_s));
        QVERIFY(!user.isTicked(u"Beta"_s));
        QVERIFY(!user.isTicked(u"Gamma"_s));
        QCOMPARE(user.statusLabel->text(),
                 u"2 game(s) with pending changes. Steam must close briefly to apply."_s);
        user.select(u"Alpha"_s);
        QCOMPARE(user.outputResCombo->currentText(), u"2560x1440"_s);
    }

    void refreshBringsNewGamesWithStoredOrDefaultSettings()
    {
        const PlayersMachine machine;
        machine.storeValues({{u"config/200/framegen"_s, u"true"_s},
                             {u"config/200/outputW"_s, u"3840"_s},
                             {u"config/200/outputH"_s, u"2160"_s}});
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        machine.addGame(u"200"_s, u"Beta"_s);
        machine.addGame(u"300"_s, u"Gamma"_s);
        user.click(user.refreshButton);
        QCOMPARE(names(user), (QStringList{u"Alpha"_s, u"Beta"_s, u"Gamma"_s}));
        user.select(u"Beta"_s);
        QCOMPARE(user.outputResCombo->currentText(), u"3840x2160"_s);
        user.select(u"Gamma"_s);
        QCOMPARE(user.outputResCombo->currentText(), u"1920x1080"_s);
    }

    void refreshKeepsTheSelectedGame()
    {
        const PlayersMachine machine;
        machine.installGames({{u"200"_s, u"Beta"_s}, {u"300"_s, u"Gamma"_s}});
        WindowUser user;
        user.select(u"Gamma"_s);
        machine.addGame(u"100"_s, u"Alpha"_s);
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->currentRow(), 2);
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Gamma"_s);
    }

    void refreshSelectsTheFirstGameWhenTheSelectedOneIsGone()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        user.select(u"Beta"_s);
        machine.removeGame(u"200"_s);
        user.click(user.refreshButton);
        QCOMPARE(names(user), QStringList{u"Alpha"_s});
        QCOMPARE(user.gameList->currentRow(), 0);
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Alpha"_s);
    }

    void refreshAfterTheLastGameIsGoneLeavesNone()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        QVERIFY(user.settingsGroup->isEnabled());
        machine.removeGame(u"100"_s);
        user.click(user.refreshButton);
        QCOMPARE(user.settingsGroup->title(), u"Game settings"_s);
        QVERIFY(!user.settingsGroup->isEnabled());
        QCOMPARE(user.previewLabel->text(), QString());
    }

    void aGameThatComesBackHasItsUnsavedChanges()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        user.toggle(u"Beta"_s);
        user.click(user.framegenCheck);
        machine.removeGame(u"200"_s);
        user.click(user.refreshButton);
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        machine.addGame(u"200"_s, u"Beta"_s);
        user.click(user.refreshButton);
        QVERIFY(user.isTicked(u"Beta"_s));
        user.select(u"Beta"_s);
        QVERIFY(!user.framegenCheck->isChecked());
    }

    void refreshReadsLaunchOptionsAgain()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, u"-old"_s}});
        WindowUser user;
        machine.installGames({{u"100"_s, u"Alpha"_s, u"-new"_s}});
        user.click(user.refreshButton);
        QCOMPARE(user.previewLabel->text(), u"-new"_s);
        QVERIFY(user.item(u"Alpha"_s)->toolTip().endsWith("\n-new"_L1));
    }

    void waitCursorShowsDuringARefreshOnly()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        QList<Qt::CursorShape> shapes;
        connect(user.gameList->model(), &QAbstractItemModel::rowsInserted, this, [&] {
            const QCursor *cursor = QGuiApplication::overrideCursor();
            shapes.append(cursor ? cursor->shape() : Qt::ArrowCursor);
        });
        user.click(user.refreshButton);
        QCOMPARE(shapes, QList<Qt::CursorShape>{Qt::WaitCursor});
        QVERIFY(!QGuiApplication::overrideCursor());
    }

    void bothRowsOfAGameInTwoLibrariesHaveItsTick_data()
    {
        QTest::addColumn<int>("clicked");
        QTest::newRow("the first is clicked") << 0;
        QTest::newRow("the second is clicked") << 1;
    }
    void bothRowsOfAGameInTwoLibrariesHaveItsTick()
    {
        QFETCH(const int, clicked);
        PlayersMachine machine;
        const QString second = machine.addLibrary(u"Games"_s);
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        machine.addGame(u"100"_s, u"Alpha"_s, second);
        WindowUser user;
        user.selectRow(2);
        for (const Qt::CheckState state : {Qt::Checked, Qt::Unchecked}) {
            user.toggleRow(clicked);
            QCOMPARE(user.gameList->item(0)->checkState(), state);
            QCOMPARE(user.gameList->item(1)->checkState(), state);
            QCOMPARE(user.gameList->item(2)->checkState(), Qt::Unchecked);
            QCOMPARE(user.gameList->currentRow(), clicked);
            QCOMPARE(user.settingsGroup->isEnabled(), state == Qt::Checked);
            // By the keyboard from here on.
            QTest::keyClick(user.gameList, Qt::Key_Space);
            QCOMPARE(user.gameList->item(1 - clicked)->checkState(),
                     state == Qt::Checked ? Qt::Unchecked : Qt::Checked);
            QTest::keyClick(user.gameList, Qt::Key_Space);
        }
    }
};

QTEST_MAIN(TestMainWindowList)
#include "test_mainwindow_list.moc"
