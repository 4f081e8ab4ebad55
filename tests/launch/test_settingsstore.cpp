// SPDX-License-Identifier: MIT
#include "launch/settingsstore.h"
#include "sampleoptions.h"
#include "support/pretendmachine.h"

#include <QFile>
#include <QSettings>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using launch::GameSettings;
using support::PretendMachine;

namespace
{

const QByteArray defaultLines = "9\\upscaling=true\n"
                                "9\\renderW=1280\n"
                                "9\\renderH=720\n"
                                "9\\outputW=1920\n"
                                "9\\outputH=1080\n"
                                "9\\framegen=true\n"
                                "9\\fgbackend=0\n"
                                "9\\holdback=1\n"
                                "9\\framecap=true\n"
                                "9\\caphz=0\n"
                                "9\\renderres=true\n"
                                "9\\pacing=0\n"
                                "9\\debugoverlay=false\n";

/// A file's lines, sorted: the order in a section is QSettings' own affair.
QByteArrayList sortedLines(const QByteArray &text)
{
    QByteArrayList lines = text.split('\n');
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace

class TestSettingsStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void everyKeyOfEveryRecord();
    void valuesHaveTheirFieldsType();
    void savedRecordsAreLoadedAgain();
    void savingNothingWritesNothing();
    void savingRemovesNothing();
    void savingTwiceChangesNothing();

    void rememberOriginal_data();
    void rememberOriginal();
    void firstOriginalIsKeptForGood();
    void originalsOfTwoGames();

private:
    QByteArray text() const { return machine->read(machine->storePath()); }

    std::unique_ptr<PretendMachine> machine;
    std::unique_ptr<QSettings> store;
};

void TestSettingsStore::init()
{
    machine = std::make_unique<PretendMachine>();
    store = std::make_unique<QSettings>(machine->storePath(), QSettings::IniFormat);
}

void TestSettingsStore::cleanup()
{
    store.reset();
    machine.reset();
}

void TestSettingsStore::everyKeyOfEveryRecord()
{
    launch::saveAllGameSettings(*store, {{u"10"_s, everythingChanged}, {u"9"_s, GameSettings()}});
    QCOMPARE(sortedLines(text()),
             sortedLines("[config]\n" + defaultLines + everythingChangedLines));
}

void TestSettingsStore::valuesHaveTheirFieldsType()
{
    launch::saveAllGameSettings(*store, {{u"10"_s, everythingChanged}});
    for (const QString &flag :
         {u"upscaling"_s, u"framegen"_s, u"framecap"_s, u"renderres"_s, u"debugoverlay"_s})
        QCOMPARE(store->value("config/10/"_L1 + flag).typeId(), int(QMetaType::Bool));
    for (const QString &number : {u"renderW"_s, u"renderH"_s, u"outputW"_s, u"outputH"_s,
                                  u"fgbackend"_s, u"holdback"_s, u"caphz"_s, u"pacing"_s})
        QCOMPARE(store->value("config/10/"_L1 + number).typeId(), int(QMetaType::Int));
}

void TestSettingsStore::savedRecordsAreLoadedAgain()
{
    launch::saveAllGameSettings(*store, {{u"10"_s, everythingChanged}, {u"9"_s, GameSettings()}});
    const QString copy = machine->root() + "/copy.conf"_L1;
    machine->write(copy, text());
    const QSettings nextRun(copy, QSettings::IniFormat);
    QCOMPARE(launch::loadGameSettings(nextRun, u"10"_s, {}).settings, everythingChanged);
    QCOMPARE(launch::loadGameSettings(nextRun, u"9"_s, {}).settings, GameSettings());
    QCOMPARE(launch::loadGameSettings(nextRun, u"10"_s, {}).enabled, false);
}

void TestSettingsStore::savingNothingWritesNothing()
{
    launch::saveAllGameSettings(*store, {});
    QVERIFY(!QFile::exists(machine->storePath()));
}

void TestSettingsStore::savingRemovesNothing()
{
    machine->write(machine->storePath(),
                   "[config]\n10\\holdback=1\n10\\later=7\n11\\framegen=true\n\n"
                   "[original]\n10=-novid\n");
    launch::saveAllGameSettings(*store, {{u"10"_s, everythingChanged}});
    QCOMPARE(sortedLines(text()),
             sortedLines("[config]\n" + everythingChangedLines +
                         "10\\later=7\n11\\framegen=true\n\n[original]\n10=-novid\n"));
}

void TestSettingsStore::savingTwiceChangesNothing()
{
    launch::saveAllGameSettings(*store, {{u"10"_s, everythingChanged}});
    launch::saveAllGameSettings(*store, {{u"10"_s, everythingChanged}});
    QCOMPARE(sortedLines(text()), sortedLines("[config]\n" + everythingChangedLines));
}

void TestSettingsStore::rememberOriginal_data()
{
    QTest::addColumn<QString>("current");
    QTest::addColumn<bool>("kept");

    QTest::newRow("a user's own") << u"mangohud %command%"_s << true;
    QTest::newRow("a blank") << u" "_s << true;
    QTest::newRow("marker without the command") << u"MARROWPULSE=1"_s << true;
    QTest::newRow("none") << u""_s << false;
    QTest::newRow("the program's")
        << u"MARROWPULSE=1 marrowpulse-gamescope -- %command%"_s << false;
    QTest::newRow("an earlier version's")
        << u"GAMESCOPE_FRAMEGEN=auto gamescope -- %command%"_s << false;
}

void TestSettingsStore::rememberOriginal()
{
    QFETCH(const QString, current);
    QFETCH(const bool, kept);
    launch::rememberOriginalLaunchOptions(*store, u"9"_s, current);
    QCOMPARE(store->allKeys(), kept ? QStringList{u"original/9"_s} : QStringList());
    QCOMPARE(launch::originalLaunchOptions(*store, u"9"_s), kept ? current : QString());
}

void TestSettingsStore::firstOriginalIsKeptForGood()
{
    launch::rememberOriginalLaunchOptions(*store, u"9"_s, u"-novid"_s);
    launch::rememberOriginalLaunchOptions(*store, u"9"_s, u"-high"_s);
    QCOMPARE(launch::originalLaunchOptions(*store, u"9"_s), u"-novid"_s);

    // Kept by an earlier run, and even an empty one counts.
    machine->write(machine->storePath(), "[original]\n11=-windowed\n12=\n");
    store = std::make_unique<QSettings>(machine->storePath(), QSettings::IniFormat);
    launch::rememberOriginalLaunchOptions(*store, u"11"_s, u"-high"_s);
    launch::rememberOriginalLaunchOptions(*store, u"12"_s, u"-high"_s);
    QCOMPARE(launch::originalLaunchOptions(*store, u"11"_s), u"-windowed"_s);
    QCOMPARE(launch::originalLaunchOptions(*store, u"12"_s), u""_s);
}

void TestSettingsStore::originalsOfTwoGames()
{
    launch::rememberOriginalLaunchOptions(*store, u"9"_s, u"-novid"_s);
    launch::rememberOriginalLaunchOptions(*store, u"10"_s, u"-high"_s);
    QCOMPARE(launch::originalLaunchOptions(*store, u"9"_s), u"-novid"_s);
    QCOMPARE(launch::originalLaunchOptions(*store, u"10"_s), u"-high"_s);
    QCOMPARE(launch::originalLaunchOptions(*store, u"11"_s), u""_s);
}

QTEST_GUILESS_MAIN(TestSettingsStore)
#include "test_settingsstore.moc"
