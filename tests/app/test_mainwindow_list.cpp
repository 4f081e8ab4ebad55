// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QAccessible>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTest>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QToolTip>

using namespace Qt::StringLiterals;

class TestMainWindowList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theListOffersEachGameForATickAndBeginsAtTheFirst()
    {
        const PlayersMachine machine(
            {{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s, defaultOptions}});
        machine.addPicture(u"100"_s, {32, 32});
        const WindowUser user;
        const QListWidgetItem *alpha = user.item(u"Alpha"_s);
        QCOMPARE(alpha->data(Qt::UserRole), QVariant(u"100"_s));
        QCOMPARE(alpha->flags(), QListWidgetItem().flags() | Qt::ItemIsUserCheckable);
        QCOMPARE(alpha->checkState(), Qt::Unchecked);
        const QIcon picture = alpha->data(Qt::DecorationRole).value<QIcon>();
        QVERIFY(picture.pixmap(32, 32).toImage().pixelColor(16, 16) == Qt::red);

        const QListWidgetItem *beta = user.item(u"Beta"_s);
        QCOMPARE(beta->data(Qt::UserRole), QVariant(u"200"_s));
        QCOMPARE(beta->checkState(), Qt::Checked);
        QVERIFY(!beta->data(Qt::DecorationRole).isValid());

        QCOMPARE(user.gameList->currentRow(), 0);
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Alpha"_s);
        QVERIFY(!user.settingsGroup->isEnabled());
    }

    void allRowsAreAsHighAsOneWithAPicture()
    {
        const PlayersMachine machine(
            {{u"100"_s, u"Square"_s}, {u"200"_s, u"Wide"_s}, {u"300"_s, u"None"_s}});
        machine.addPicture(u"100"_s, {32, 32});
        machine.addPicture(u"200"_s, {460, 215});
        const WindowUser user;
        const auto height = [&](const QString &name) {
            return user.gameList->visualItemRect(user.item(name)).height();
        };
        QVERIFY(height(u"Square"_s) > 32); // pictures do not touch
        QCOMPARE(height(u"Wide"_s), height(u"Square"_s));
        QCOMPARE(height(u"None"_s), height(u"Square"_s));
    }

    void anEmptyListSaysThatNoGamesWereFound_data()
    {
        QTest::addColumn<bool>("withSteam");
        QTest::newRow("no Steam") << false;
        QTest::newRow("Steam without games") << true;
    }
    void anEmptyListSaysThatNoGamesWereFound()
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
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        QVERIFY(!user.applyButton->isEnabled());
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->count(), 0);
    }

    void anEmptiedListSaysSoAndLeavesNoSettings()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        const auto *label = user.window.findChild<QLabel *>(u"emptyLabel"_s);
        QVERIFY(!label->isVisible());
        QCOMPARE(user.gameList->accessibleDescription(), QString());
        QVERIFY(user.settingsGroup->isEnabled());
        machine.removeGame(u"100"_s);
        user.click(user.refreshButton);
        QVERIFY(label->isVisible());
        QCOMPARE(user.settingsGroup->title(), u"Game settings"_s);
        QVERIFY(!user.settingsGroup->isEnabled());
        QCOMPARE(user.settingsGroup->toolTip(), QString()); // there is no game to tick
        QCOMPARE(user.previewLabel->text(), QString());
    }

    void theLaunchOptionsOfTheSelectedGameCanBeCopied_data()
    {
        QTest::addColumn<bool>("byKeyboard");
        QTest::newRow("by the keyboard") << true;
        QTest::newRow("by the menu") << false;
    }
    void theLaunchOptionsOfTheSelectedGameCanBeCopied()
    {
        QFETCH(const bool, byKeyboard);
        const PlayersMachine machine(
            {{u"100"_s, u"Alpha"_s, u"-own <b> options"_s}, {u"200"_s, u"Beta"_s, u"-x"_s}});
        WindowUser user;
        user.toggle(u"Beta"_s);
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

    void longToolTipsAreBrokenIntoLinesAndMarkupIsShownAsText_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("words") << u"--an-option value "_s.repeated(50).trimmed();
        QTest::newRow("without a blank") << QString(900, u'x');
        QTest::newRow("markup") << u"<b>bold</b> &amp; <br>"_s;
    }
    void longToolTipsAreBrokenIntoLinesAndMarkupIsShownAsText()
    {
        QFETCH(const QString, options);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, options}});
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

    void aTickSelectsTheGameAndUnlocksItsSettings()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        QVERIFY(user.settingsGroup->toolTip().contains("Tick"_L1)); // says what to do
        user.toggle(u"Beta"_s);
        QCOMPARE(user.gameList->currentItem(), user.item(u"Beta"_s));
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Beta"_s);
        QVERIFY(user.settingsGroup->isEnabled());
        QCOMPARE(user.settingsGroup->toolTip(), QString());
        user.select(u"Alpha"_s);
        QVERIFY(!user.isTicked(u"Alpha"_s));
        QVERIFY(!user.settingsGroup->isEnabled());
        QTest::keyClick(user.gameList, Qt::Key_Space);
        QVERIFY(user.isTicked(u"Alpha"_s));
        QVERIFY(user.settingsGroup->isEnabled());
        user.toggle(u"Beta"_s);
        QVERIFY(!user.isTicked(u"Beta"_s));
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Beta"_s);
        QVERIFY(!user.settingsGroup->isEnabled());
    }

    void aBlankInATypedNameTicksNothing()
    {
        const PlayersMachine machine(
            {{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Iron Harvest"_s}, {u"300"_s, u"Iron Lantern"_s}});
        WindowUser user;
        user.gameList->setFocus();
        const int usual = QApplication::keyboardInputInterval();
        const auto back = qScopeGuard([usual] { QApplication::setKeyboardInputInterval(usual); });
        QApplication::setKeyboardInputInterval(60000); // however slow the machine is
        QTest::keyClicks(user.gameList, u"iron lan"_s);
        QCOMPARE(user.gameList->currentItem(), user.item(u"Iron Lantern"_s));
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        // After a pause a blank ticks again, and so does the next.
        QApplication::setKeyboardInputInterval(200);
        const auto press = [&user] {
            QTest::keyClick(user.gameList, Qt::Key_Space);
            return user.isTicked(u"Iron Lantern"_s);
        };
        QVERIFY(QTest::qWaitFor(press));
        QVERIFY(!press());
        QCOMPARE(user.gameList->currentItem(), user.item(u"Iron Lantern"_s));
    }

    void aRowSelectedByAScreenReaderIsTheCurrentGame()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
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

    void neitherTheListNorTheSettingsCanBeDraggedAway()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        user.splitter->setSizes({0, 1000});
        QVERIFY(user.gameList->width() >= user.gameList->minimumSizeHint().width());
        user.splitter->setSizes({1000, 0});
        QVERIFY(user.settingsGroup->width() >= user.settingsGroup->minimumSizeHint().width());
    }

    void refreshDoesNotScrollTheList_data()
    {
        QTest::addColumn<int>("selected");
        QTest::newRow("the selected game is in view") << 30;
        QTest::newRow("the selected game is not in view") << 0;
    }
    void refreshDoesNotScrollTheList()
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

    void refreshKeepsTicksAndEditsEvenOfAGameThatWasAway()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s},
                                      {u"200"_s, u"Beta"_s, defaultOptions},
                                      {u"300"_s, u"Gamma"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        user.choose(user.outputResCombo, 1);
        user.toggle(u"Beta"_s);
        machine.removeGame(u"100"_s);
        user.click(user.refreshButton);
        QCOMPARE(user.statusLabel->text(), pendingStatus(1));
        machine.addGame(u"100"_s, u"Alpha"_s);
        user.click(user.refreshButton);
        QVERIFY(user.isTicked(u"Alpha"_s));
        QVERIFY(!user.isTicked(u"Beta"_s));
        QVERIFY(!user.isTicked(u"Gamma"_s));
        QCOMPARE(user.statusLabel->text(), pendingStatus(2));
        user.select(u"Alpha"_s);
        QCOMPARE(user.outputResCombo->currentText(), u"2560x1440"_s);
    }

    void refreshShowsNewGamesAndNewLaunchOptions()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-old"_s}});
        machine.write(machine.storePath(), "[config]\n200\\framegen=true\n"
                                           "200\\outputW=3840\n200\\outputH=2160\n");
        WindowUser user;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, u"-new"_s}, {u"200"_s, u"Beta"_s}, {u"300"_s, u"Gamma"_s}});
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->count(), 3);
        QCOMPARE(user.previewLabel->text(), u"-new"_s);
        QVERIFY(user.item(u"Alpha"_s)->toolTip().endsWith("\n-new"_L1));
        user.select(u"Beta"_s);
        QCOMPARE(user.outputResCombo->currentText(), u"3840x2160"_s); // as stored
        user.select(u"Gamma"_s);
        QCOMPARE(user.outputResCombo->currentText(), u"1920x1080"_s); // the default
    }

    void refreshKeepsTheSelectedGameOrElseSelectsTheFirst()
    {
        const PlayersMachine machine({{u"200"_s, u"Beta"_s}, {u"300"_s, u"Gamma"_s}});
        WindowUser user;
        user.select(u"Gamma"_s);
        machine.addGame(u"100"_s, u"Alpha"_s);
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->currentRow(), 2);
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Gamma"_s);
        machine.removeGame(u"300"_s);
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->count(), 2);
        QCOMPARE(user.gameList->currentRow(), 0);
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Alpha"_s);
    }

    void theWaitCursorIsShownDuringARefreshOnly()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
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

    void aTickIsSetInBothRowsOfAGameInTwoLibraries_data()
    {
        QTest::addColumn<int>("clicked");
        QTest::newRow("the first is clicked") << 0;
        QTest::newRow("the second is clicked") << 1;
    }
    void aTickIsSetInBothRowsOfAGameInTwoLibraries()
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
        }
    }
};

QTEST_MAIN(TestMainWindowList)
#include "test_mainwindow_list.moc"
