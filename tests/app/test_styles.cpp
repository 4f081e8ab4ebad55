// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include "app/advanceddialog.h"

#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QFont>
#include <QImage>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QStyleFactory>
#include <QTest>

using namespace Qt::StringLiterals;

// What must hold in every style. Each run has one style and one screen; the rows are the fonts and
// looks that are tried there.

namespace
{

enum class Look { Light, Dark, RightToLeft };

QPalette darkPalette()
{
    const QColor ground(45, 45, 45);
    QPalette palette(ground, ground);
    palette.setColor(QPalette::Disabled, QPalette::Text, Qt::gray);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::gray);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, Qt::gray);
    return palette;
}

/// Puts the font and the look of the test's row in force until it goes.
class Appearance
{
public:
    Appearance()
    {
        QFETCH(const int, points);
        QFETCH(const Look, look);
        if (look == Look::Dark && style.startsWith("adwaita"_L1)) // it takes no other palette
            QApplication::setStyle(u"adwaita-dark"_s);
        else if (look == Look::Dark)
            QApplication::setPalette(darkPalette());
        if (look == Look::RightToLeft)
            QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        QApplication::setFont(QFont(u"DejaVu Sans"_s, points));
    }
    ~Appearance()
    {
        QApplication::setFont(font);
        QApplication::setPalette(QPalette());
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
        if (QApplication::style()->name() != style)
            QApplication::setStyle(style);
    }
    Q_DISABLE_COPY_MOVE(Appearance)

private:
    const QString style = QApplication::style()->name();
    const QFont font = QApplication::font();
};

/// 14 games, of which every other one has options of its own, and one with a name longer than any
/// row.
void installGames(const PlayersMachine &machine)
{
    QList<InstalledGame> games;
    const auto add = [&games](const QString &name, const std::optional<QString> &options) {
        games.append({QString::number(100 + games.size()), name, options});
    };
    add(u"Game 3"_s, u"-windowed"_s);
    add(u"Game 3"_s, std::nullopt);
    for (int i = 10; i < 21; ++i)
        add(u"Game %1"_s.arg(i), i % 2 ? std::optional(u"mangohud %command%"_s) : std::nullopt);
    add(u"-"_s, std::nullopt);
    add(u"The Very Long Name of a Game "_s.repeated(5).left(120), u"-novid"_s);
    machine.installGames(games);
}

/// Whether a scrolled area shows as much of the widget as its player wants to see.
bool isScrolled(const QWidget *widget)
{
    for (const QWidget *parent = widget->parentWidget(); parent; parent = parent->parentWidget()) {
        if (parent->isWindow())
            return false;
        const auto *area = qobject_cast<const QAbstractScrollArea *>(parent->parentWidget());
        if (area && area->viewport() == parent)
            return true;
    }
    return false;
}

/// What a player would have to complain of in a window as it stands: it leaves the screen, a part
/// of it leaves the part that it is in, or a text is cut.
QString faultsOf(const QWidget &window)
{
    QStringList faults;
    const auto note = [&faults](const QWidget *widget, const QString &fault) {
        faults.append(QDebug::toString(widget) + QDebug::toString(widget->geometry()) + fault);
    };
    if (!window.screen()->availableGeometry().contains(window.frameGeometry()))
        note(&window, u" leaves the screen"_s);
    for (const QWidget *widget : window.findChildren<QWidget *>()) {
        if (!widget->isVisibleTo(&window) || widget->isWindow() || widget->window() != &window ||
            widget->size().isEmpty())
            continue;
        // By a pixel, as a splitter does from right to left, is nothing to see.
        const QRect around = widget->parentWidget()->rect().adjusted(-1, -1, 1, 1);
        if (!isScrolled(widget) && !around.contains(widget->geometry()))
            note(widget, u" leaves the part that it is in"_s);
        const auto *label = qobject_cast<const QLabel *>(widget);
        const auto *button = qobject_cast<const QAbstractButton *>(widget);
        if (label && label->wordWrap()) {
            if (label->height() < label->heightForWidth(label->width()))
                note(label, u" is too low for its text"_s);
        } else if ((label || button) && widget->width() < widget->sizeHint().width()) {
            note(widget, u" is too narrow for its text"_s);
        }
    }
    return faults.join(u'\n');
}

/// The places of all that a player uses, by name.
QMap<QString, QRect> placesIn(const MainWindow &window)
{
    QMap<QString, QRect> places{{u"window"_s, window.geometry()}};
    for (const char *name :
         {"gameList", "settingsGroup", "renderGpuCombo", "upscalingCheck", "renderResCombo",
          "outputResCombo", "framegenCheck", "methodCombo", "holdbackCombo", "frameCapCheck",
          "advancedButton", "statusLabel", "refreshButton", "applyButton"}) {
        const auto *widget = window.findChild<QWidget *>(QString::fromLatin1(name));
        places.insert(widget->objectName(),
                      QRect(widget->mapTo(&window, QPoint()), widget->size()));
    }
    return places;
}

void tickGames(const WindowUser &user, int count)
{
    user.gameList->setFocus();
    for (int i = 0; i < count; ++i) {
        QTest::keyClick(user.gameList, Qt::Key_Space);
        QTest::keyClick(user.gameList, Qt::Key_Down);
    }
    // The layout follows, then the layout around it.
    for (int round = 0; round < 4; ++round)
        QCoreApplication::processEvents();
}

/// How much of the part of a picture is found again at the same height of another, from 0 to 1.
double foundAgain(const QImage &picture, const QRect &part, const QImage &other)
{
    const auto differs = [](QRgb a, QRgb b) { return qAbs(qGray(a) - qGray(b)) > 48; };
    const QRgb ground = picture.pixel(part.left(), part.top());
    int best = 0;
    int ink = 0;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x)
            ink += differs(picture.pixel(x, y), ground) ? 1 : 0;
    }
    for (int shift = -part.left(); part.right() + shift < other.width(); ++shift) {
        int found = 0;
        for (int y = part.top(); y <= part.bottom(); ++y) {
            for (int x = part.left(); x <= part.right(); ++x) {
                const QRgb pixel = picture.pixel(x, y);
                if (differs(pixel, ground) && !differs(pixel, other.pixel(x + shift, y)))
                    ++found;
            }
        }
        best = qMax(best, found);
    }
    return ink == 0 ? 0 : double(best) / ink;
}

QRect screenInPixels()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return {QPoint(), screen->size() * screen->devicePixelRatio()};
}

} // namespace

class TestStyles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString asked = qEnvironmentVariable("QT_STYLE_OVERRIDE").toLower();
        QCOMPARE(QApplication::style()->name(), asked);
    }

    void windowAndDialogsAreWholeOnTheScreen_data() { addRows(); }
    void windowAndDialogsAreWholeOnTheScreen()
    {
        const Appearance appearance;
        PlayersMachine machine;
        installGames(machine);
        WindowUser user;
        user.window.grab();
        QCOMPARE(faultsOf(user.window), QString());

        tickGames(user, 14);
        QCOMPARE(user.statusLabel->text(), pendingStatus(14));
        QCOMPARE(faultsOf(user.window), QString());

        QString faults = u"the dialog did not come"_s;
        const DialogVisit<AdvancedDialog> visit([&faults](AdvancedDialog *dialog) {
            faults = faultsOf(*dialog);
            const int spare = dialog->screen()->availableSize().height() - dialog->height();
            if (spare > 60 &&
                dialog->findChild<QScrollArea *>()->verticalScrollBar()->maximum() > 0)
                faults += u"the dialog is scrolled with %1 pixels to spare"_s.arg(spare);
        });
        QTest::keyClick(user.gameList, Qt::Key_Up); // to one that is ticked
        user.click(user.advancedButton);
        QCOMPARE(faults, QString());

        machine.writeLocalConfig("\n"); // every game will fail
        MessageBoxAnswers boxes({QMessageBox::Ok, QMessageBox::No});
        boxes.whileShown = [&faults](qsizetype) {
            faults += faultsOf(*QApplication::activeModalWidget());
        };
        user.click(user.applyButton);
        QCOMPARE(boxes.shown().size(), 2);
        QCOMPARE(faults, QString());
    }

    void nothingMovesWhenGamesAreTicked_data()
    {
        addRows();
        addRow("24 points", QSize(1280, 800), 1, 24);
        addRow("18 points", QSize(1024, 600), 1, 18);
    }
    void nothingMovesWhenGamesAreTicked()
    {
        const Appearance appearance;
        const PlayersMachine machine;
        installGames(machine);
        const WindowUser user;
        const QMap<QString, QRect> before = placesIn(user.window);
        tickGames(user, 14);
        const QMap<QString, QRect> after = placesIn(user.window);
        for (const QString &name : before.keys())
            QVERIFY2(after[name] == before[name], qPrintable(name));
        const QRect room = user.window.screen()->availableGeometry();
        const int right = user.applyButton->mapToGlobal(QPoint(user.applyButton->width(), 0)).x();
        QVERIFY2(right <= room.right() + 1, qPrintable(QString::number(right)));
    }

    void aMarkHidesNothingOfAName_data() { addRows(); }
    void aMarkHidesNothingOfAName()
    {
        const Appearance appearance;
        const PlayersMachine machine;
        installGames(machine);
        const WindowUser user;
        const int last = user.gameList->count() - 1;
        user.gameList->setCurrentRow(last); // a selected row has other colours
        const auto picture = [&user](const QString &name, bool isMarked) {
            return user.pictureOfRow(rowOf(user, name, isMarked));
        };
        const QImage plain = picture(u"Game 3"_s, false);
        const QImage marked = picture(u"Game 3"_s, true);
        QCOMPARE(marked.size(), plain.size());
        QVERIFY(marked != plain); // there is a mark
        const QRect name = differenceOf(plain, picture(u"-"_s, false));
        const double found = foundAgain(plain, name, marked);
        QVERIFY2(found > 0.98, qPrintable(QString::number(found)));
    }

    void aLongGroupTitleEndsWithinTheGroup_data() { addRows(); }
    void aLongGroupTitleEndsWithinTheGroup()
    {
        const Appearance appearance;
        const PlayersMachine machine(
            {{u"100"_s, QString(120, u'W')}, {u"200"_s, QString(120, u'i')}});
        const WindowUser user;
        const auto pictureOfTitle = [&user](int row) {
            user.gameList->setCurrentRow(row);
            const QSize size(user.settingsGroup->width(),
                             user.settingsGroup->fontMetrics().height());
            return user.settingsGroup->grab(QRect(QPoint(), size)).toImage();
        };
        const QImage wide = pictureOfTitle(0);
        const QRect title = differenceOf(wide, pictureOfTitle(1));
        QVERIFY(!title.isEmpty());
        // What is cut off reaches the last column.
        QVERIFY2(QGuiApplication::isRightToLeft() ? title.left() > 0
                                                  : title.right() < wide.width() - 1,
                 qPrintable(QDebug::toString(title)));
    }

    void theOpenListOfAHoldBackIsWholeOnTheScreen_data() { addRows(); }
    void theOpenListOfAHoldBackIsWholeOnTheScreen()
    {
        const Appearance appearance;
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        const WindowUser user;
        user.holdbackCombo->showPopup();
        const QAbstractItemView *list = user.holdbackCombo->view();
        QTRY_VERIFY(list->isVisible());
        const QRect popup = list->window()->frameGeometry();
        const QRect room = user.window.screen()->availableGeometry();
        QVERIFY2(room.contains(popup), qPrintable(QDebug::toString(popup)));
        const int needed = list->sizeHintForColumn(0);
        QVERIFY(list->viewport()->width() >= needed);
        user.holdbackCombo->hidePopup();
    }

    void theWordsInAnEmptyListAreWhole_data() { addRows(); }
    void theWordsInAnEmptyListAreWhole()
    {
        const Appearance appearance;
        const PlayersMachine machine;
        WindowUser user;
        user.window.grab();
        QCOMPARE(faultsOf(user.window), QString());
    }

    void theWindowCanBeMadeLow_data()
    {
        QTest::addColumn<int>("points");
        QTest::addColumn<Look>("look");
        addRow("9 points", QSize(1024, 600), 1, 9);
        addRow("10 points", QSize(1024, 600), 1, 10);
    }
    void theWindowCanBeMadeLow()
    {
        if (screenInPixels().width() != 1024)
            return;
        const Appearance appearance;
        const PlayersMachine machine;
        installGames(machine);
        WindowUser user;
        tickGames(user, 14);
        user.window.resize(900, 100);
        const int least = QApplication::style()->name() == "fusion"_L1 ? 440 : 480;
        QTRY_VERIFY2(user.window.height() <= least,
                     qPrintable(QString::number(user.window.height())));
        QCOMPARE(user.window.width(), 900);
    }

private:
    /// A row on the screen of that size in pixels and that scale, when it is the screen of this
    /// run.
    static void addRow(const char *name, QSize screen, int scale, int points,
                       Look look = Look::Light)
    {
        if (QGuiApplication::primaryScreen()->devicePixelRatio() == scale &&
            screenInPixels().size() == screen)
            QTest::newRow(name) << points << look;
    }
    static void addRows()
    {
        QTest::addColumn<int>("points");
        QTest::addColumn<Look>("look");
        addRow("9 points", QSize(1024, 600), 1, 9);
        addRow("10 points", QSize(1024, 600), 1, 10);
        addRow("10 points, dark", QSize(1024, 600), 1, 10, Look::Dark);
        addRow("10 points, right to left", QSize(1024, 600), 1, 10, Look::RightToLeft);
        addRow("14 points", QSize(1280, 800), 1, 14);
        addRow("24 points", QSize(1920, 1080), 1, 24);
        addRow("10 points", QSize(1920, 1080), 2, 10);
        addRow("14 points", QSize(1920, 1080), 2, 14);
    }
    /// The row of the game of that name that has a mark or none.
    static int rowOf(const WindowUser &user, const QString &name, bool marked)
    {
        for (int row = 0; row < user.gameList->count(); ++row) {
            const QListWidgetItem *item = user.gameList->item(row);
            if (item->text() == name && item->toolTip().isEmpty() != marked)
                return row;
        }
        qFatal("no such row");
    }
};

QTEST_MAIN(TestStyles)
#include "test_styles.moc"
