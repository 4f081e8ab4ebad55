// SPDX-License-Identifier: MIT
// What an Apply does to Steam's file and to the store, without a window.
#include "app/applychanges.h"

#include "launch/settingsstore.h"
#include "steam/keyvalues.h"
#include "support/callwatch.h"
#include "support/lockholder.h"
#include "support/scratchfile.h"

#include <QSettings>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using support::CallWatch;
using support::LockHolder;
using support::ScratchFile;
using Changes = QList<steam::LaunchOptionsChange>;
using Texts = QMap<QString, QString>; ///< by app id

namespace
{

const auto program = u"MARROWPULSE=1 gamescope -- %command% "_s;
const QMap<QString, launch::GameSettings> records{{u"10"_s, {}}, {u"20"_s, {}}};

/// A block as Steam writes it: with blocks in it, and other values.
QByteArray gameBlock(const QByteArray &appid, const QByteArray &options)
{
    return "\t\t\"" + appid +
           "\"\n\t\t{\n\t\t\t\"LastPlayed\"\t\t\"1700000000\"\n\t\t\t\"cloud\"\n\t\t\t{\n"
           "\t\t\t\t\"last_sync_state\"\t\t\"synchronized\"\n\t\t\t}\n\t\t\t\"" +
           appid + "_eula_0\"\t\t\"1\"\n\t\t\t\"LaunchOptions\"\t\t\"" + options + "\"\n\t\t}\n";
}

/// A file with a second "apps" section, where Steam keeps its switches for the overlay.
QByteArray localConfig(const QByteArray &blocks)
{
    return "\"UserLocalConfigStore\"\n{\n\t\"apps\"\n\t{\n" + blocks +
           "\t}\n\t\"WebStorage\"\n\t{\n\t\t\"apps\"\n\t\t{\n\t\t\t\"10\"\n\t\t\t{\n"
           "\t\t\t\t\"OverlayAppEnable\"\t\t\"1\"\n\t\t\t}\n\t\t}\n\t}\n}\n";
}

QByteArray twoGames(const QByteArray &ten, const QByteArray &twenty)
{
    return localConfig(gameBlock("10", ten) + gameBlock("20", twenty));
}

} // namespace

class TestApplyChanges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        file = std::make_unique<ScratchFile>(twoGames("-own", ""));
        storeFile = std::make_unique<ScratchFile>("", u"other"_s);
        QVERIFY(QFile::remove(storeFile->path()));
    }

    void ownOptionsAreSavedBeforeTheyAreReplaced()
    {
        const AppliedChanges applied =
            apply({{u"10"_s, program}, {u"20"_s, program}, {u"10"_s, program}}); // two libraries
        QCOMPARE(applied.failures, Texts());
        QCOMPARE(applied.launchOptions, (Texts{{u"10"_s, program}, {u"20"_s, program}}));
        QCOMPARE(file->read(), twoGames(program.toUtf8(), program.toUtf8()));
        QCOMPARE(kept(u"10"_s), u"-own"_s);
        QCOMPARE(kept(u"20"_s), QString());
        QVERIFY(storedBytes().contains("[config]\n10\\caphz=0\n"));
        QVERIFY(storedBytes().contains("\n20\\upscaling=true\n"));
    }

    void onlyTheFirstOptionsAreSavedAndNeverTheProgramsOwn()
    {
        file->write(twoGames("-second", program.toUtf8()));
        writeStore("[original]\n10=-first\n");
        const QString other = "MARROWPULSE=1 X=1 "_L1 + program;
        QCOMPARE(apply({{u"10"_s, program}, {u"20"_s, other}}).failures, Texts());
        QCOMPARE(file->read(), twoGames(program.toUtf8(), other.toUtf8()));
        QCOMPARE(kept(u"10"_s), u"-first"_s);
        QCOMPARE(kept(u"20"_s), QString());
    }

    void anEditThatIsRefusedChangesAndSavesNothing_data()
    {
        const QString failed = u"post-edit verification failed for 10"_s;
        QTest::addColumn<QByteArray>("own");
        QTest::addColumn<QString>("message");
        QTest::newRow("an escaped quote") << QByteArray("-name \\\"x\\\"") << failed;
        QTest::newRow("braces") << QByteArray("A={x} %command%")
                                << u"brace count changed; refusing to write"_s;
        QTest::newRow("a lone brace") << QByteArray("say :} %command%") << failed;
        QTest::newRow("no UTF-8") << QByteArray("-name J\xf6rg") << failed;
    }
    void anEditThatIsRefusedChangesAndSavesNothing()
    {
        QFETCH(const QByteArray, own);
        QFETCH(const QString, message);
        const QByteArray before = localConfig(gameBlock("20", "-mine") + gameBlock("10", own));
        file->write(before);
        const AppliedChanges applied = apply({{u"10"_s, program}});
        QCOMPARE(applied.failures, (Texts{{u"10"_s, message}}));
        QCOMPARE(applied.launchOptions, Texts());
        QCOMPARE(file->read(), before);
        QVERIFY(storedBytes().contains("[config]")); // settings are saved all the same
        QVERIFY(!storedBytes().contains("[original]"));
    }

    void anUntickedGameGetsItsFirstOptionsBack()
    {
        file->write(twoGames(program.toUtf8(), program.toUtf8()));
        writeStore("[original]\n10=-first\n");
        const AppliedChanges applied = apply({{u"10"_s, u"-first"_s}, {u"20"_s, u""_s}});
        QCOMPARE(applied.failures, Texts());
        QCOMPARE(file->read(), twoGames("-first", ""));
        QCOMPARE(kept(u"10"_s), u"-first"_s);
    }

    void optionsTypedInSteamMeanwhileStay()
    {
        file->write(twoGames("-typed", program.toUtf8()));
        const AppliedChanges applied = apply({{u"10"_s, u""_s}, {u"20"_s, u""_s}});
        QCOMPARE(applied.failures, Texts());
        QCOMPARE(applied.launchOptions, (Texts{{u"10"_s, u"-typed"_s}, {u"20"_s, u""_s}}));
        QCOMPARE(file->read(), twoGames("-typed", ""));
    }

    void anUntickedGameIsLeftIfTheStoreHasOtherFirstOptions_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("staged");
        QTest::newRow("some where there were none") << QByteArray("10=-first\n") << u""_s;
        QTest::newRow("other ones") << QByteArray("10=-first\n") << u"-other"_s;
        QTest::newRow("none any more") << QByteArray("30=-x\n") << u"-first"_s;
    }
    void anUntickedGameIsLeftIfTheStoreHasOtherFirstOptions()
    {
        QFETCH(const QByteArray, stored);
        QFETCH(const QString, staged);
        file->write(twoGames(program.toUtf8(), program.toUtf8()));
        writeStore("[original]\n" + stored);
        const AppliedChanges applied = apply({{u"10"_s, staged}, {u"20"_s, u""_s}});
        QCOMPARE(applied.failures, (Texts{{u"10"_s, cannotKeep()}}));
        QCOMPARE(applied.launchOptions, (Texts{{u"20"_s, u""_s}}));
        QCOMPARE(file->read(), twoGames(program.toUtf8(), ""));
    }

    /// QSettings does not look again at a file whose size and time are the same.
    void aStoreThatCouldNotBeReadAtFirstIsReadAgain()
    {
        file->write(twoGames(program.toUtf8(), ""));
        writeStore("[original]\n10=-first\n");
        std::unique_ptr<QSettings> store;
        {
            CallWatch watch;
            watch.fail("read store.conf", EIO);
            store = std::make_unique<QSettings>(storePath(), QSettings::NativeFormat);
            QCOMPARE(launch::originalLaunchOptions(*store, u"10"_s), QString());
        }
        const AppliedChanges applied =
            applyChanges(file->path(), {{u"10"_s, u""_s}}, *store, records);
        QCOMPARE(applied.failures, (Texts{{u"10"_s, cannotKeep()}}));
        QCOMPARE(file->read(), twoGames(program.toUtf8(), ""));
        QCOMPARE(kept(u"10"_s), u"-first"_s);
        QCOMPARE(launch::originalLaunchOptions(*store, u"10"_s), u"-first"_s);
    }

    void aStoreThatCannotBeReadLosesNobodysOptions_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<int>("error");
        QTest::newRow("a read error") << QByteArray("read store.conf") << EIO;
        QTest::newRow("no right to read it") << QByteArray("read store.conf") << EACCES;
        QTest::newRow("no copy of it") << QByteArray("write copy.conf") << EACCES;
    }
    void aStoreThatCannotBeReadLosesNobodysOptions()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const int, error);
        file->write(localConfig(gameBlock("10", "-own") + gameBlock("20", "") +
                                gameBlock("30", program.toUtf8())));
        const QByteArray stored = "[original]\n30=-first\n";
        writeStore(stored);
        QSettings store(storePath(), QSettings::NativeFormat);
        AppliedChanges applied;
        {
            CallWatch watch;
            watch.fail(call, error);
            applied = applyChanges(file->path(),
                                   {{u"10"_s, program}, {u"20"_s, program}, {u"30"_s, u"-first"_s}},
                                   store, records);
        }
        // Nothing of the user's own is replaced, and nothing is given back that may be wrong.
        QCOMPARE(applied.failures[u"10"_s], cannotKeep());
        QCOMPARE(applied.failures[u"30"_s], cannotKeep());
        QCOMPARE(applied.launchOptions, (Texts{{u"20"_s, program}}));
        QCOMPARE(file->read(),
                 localConfig(gameBlock("10", "-own") + gameBlock("20", program.toUtf8()) +
                             gameBlock("30", program.toUtf8())));
        QCOMPARE(storedBytes(), stored);
    }

    void aStoreThatCannotBeOpenedLosesNobodysOptions_data()
    {
        QTest::addColumn<bool>("isLocked");
        QTest::newRow("another window holds it") << true;
        QTest::newRow("a folder is in its place") << false;
    }
    void aStoreThatCannotBeOpenedLosesNobodysOptions()
    {
        QFETCH(const bool, isLocked);
        file->write(localConfig(gameBlock("10", "-own") + gameBlock("20", program.toUtf8()) +
                                gameBlock("30", "")));
        std::optional<LockHolder> otherWindow;
        if (isLocked) {
            writeStore("[original]\n20=-first\n");
            otherWindow.emplace(QFileInfo(storePath()).path());
        } else {
            QVERIFY(QDir().mkpath(storePath()));
        }
        const AppliedChanges applied =
            apply({{u"10"_s, program}, {u"20"_s, u"-first"_s}, {u"30"_s, program}});
        QCOMPARE(applied.failures, (Texts{{u"10"_s, cannotKeep()}, {u"20"_s, cannotKeep()}}));
        QCOMPARE(file->read(),
                 localConfig(gameBlock("10", "-own") + gameBlock("20", program.toUtf8()) +
                             gameBlock("30", program.toUtf8())));
    }

    void optionsThatCannotBeSavedAreNotReplaced()
    {
        const QByteArray own = "-x \xef\xbb\xbf-y";
        file->write(twoGames(own, "-mine"));
        const AppliedChanges applied = apply({{u"10"_s, program}, {u"20"_s, program}});
        QCOMPARE(applied.failures, (Texts{{u"10"_s, cannotKeep()}}));
        QCOMPARE(file->read(), twoGames(own, program.toUtf8()));
        QCOMPARE(kept(u"20"_s), u"-mine"_s);
    }

    void onAFullDiskOnlyGamesWithSavedOptionsAreChanged()
    {
        file->write(twoGames("-kept", "-mine"));
        const QByteArray stored = "[original]\n10=-kept\n";
        writeStore(stored);
        QSettings store(storePath(), QSettings::NativeFormat);
        AppliedChanges applied;
        {
            CallWatch watch;
            watch.fail("rename", ENOSPC, 1); // the first is in the store's scratch folder
            applied = applyChanges(file->path(), {{u"10"_s, program}, {u"20"_s, program}}, store,
                                   records);
        }
        QCOMPARE(applied.failures, (Texts{{u"20"_s, cannotKeep()}}));
        QCOMPARE(applied.launchOptions, (Texts{{u"10"_s, program}}));
        QCOMPARE(file->read(), twoGames(program.toUtf8(), "-mine"));
        QCOMPARE(storedBytes(), stored);
    }

    /// The game 20 was refused for the game 10, which is then left out itself.
    void aRefusedEditIsNotMadeAfterAll()
    {
        const QByteArray own = "-x \xef\xbb\xbf-y";
        const QByteArray before =
            "\"apps\" { \"10\" { \"LaunchOptions\" \"" + own +
            "\" \"20\" { \"k\" \"v\" } } \"30\" { \"LaunchOptions\" \"a\" } }";
        file->write(QByteArray(before).replace("\"20\" {", "\"20\" {\n"));
        QSettings store(storePath(), QSettings::NativeFormat);
        const AppliedChanges applied = applyChanges(
            file->path(), {{u"10"_s, program}, {u"20"_s, program}, {u"30"_s, program}}, store, {});
        QCOMPARE(applied.failures, (Texts{{u"10"_s, cannotKeep()},
                                          {u"20"_s, u"post-edit verification failed for 20"_s}}));
        QCOMPARE(file->read(), QByteArray(before)
                                   .replace("\"20\" {", "\"20\" {\n")
                                   .replace("\"a\"", '"' + program.toUtf8() + '"'));
    }

    void whatAnotherWindowWritesMeanwhileStays()
    {
        const QByteArray theirs = twoGames("-own", "-theirs");
        QSettings store(storePath(), QSettings::NativeFormat);
        AppliedChanges applied;
        {
            CallWatch watch;
            watch.before("read proof.conf", [&] { file->write(theirs); });
            applied = applyChanges(file->path(), {{u"10"_s, program}}, store, records);
        }
        QCOMPARE(applied.failures, (Texts{{u"10"_s, "commit failed for "_L1 + file->path()}}));
        QCOMPARE(applied.launchOptions, Texts());
        QCOMPARE(file->read(), theirs);
        QCOMPARE(kept(u"10"_s), u"-own"_s); // nothing is ever removed from the store
    }

    void whileAnotherWindowHoldsTheFolderNothingIsWritten()
    {
        const QByteArray before = file->read();
        const LockHolder otherWindow(file->folder());
        const AppliedChanges applied = apply({{u"10"_s, program}, {u"20"_s, program}});
        const QString failed = "commit failed for "_L1 + file->path();
        QCOMPARE(applied.failures, (Texts{{u"10"_s, failed}, {u"20"_s, failed}}));
        QCOMPARE(file->read(), before);
    }

    void withoutSteamsFileTheSettingsAreSavedAllTheSame()
    {
        QVERIFY(QFile::remove(file->path()));
        const AppliedChanges applied =
            apply({{u"10"_s, program}, {u"20"_s, "C:\\"_L1 + program}, {u"30"_s, {}}});
        const QString cannotOpen = "cannot open "_L1 + file->path();
        QCOMPARE(applied.failures,
                 (Texts{{u"10"_s, cannotOpen},
                        {u"20"_s, u"options contain characters VDF cannot store unescaped"_s},
                        {u"30"_s, cannotOpen}}));
        QCOMPARE(applied.launchOptions, Texts());
        QVERIFY(!QFile::exists(file->path()));
        QVERIFY(storedBytes().contains("[config]\n10\\caphz=0\n"));
    }

private:
    AppliedChanges apply(const Changes &changes) const
    {
        QSettings store(storePath(), QSettings::NativeFormat);
        return applyChanges(file->path(), changes, store, records);
    }

    QString storePath() const { return storeFile->beside(u"config/store.conf"_s); }
    QByteArray storedBytes() const { return ScratchFile::readFrom(storePath()); }
    QString cannotKeep() const { return "could not write backup for "_L1 + storePath(); }

    void writeStore(const QByteArray &content) const
    {
        QVERIFY(QDir().mkpath(QFileInfo(storePath()).path()));
        ScratchFile::writeTo(storePath(), content);
    }

    /// What another run of the program finds kept for the game.
    QString kept(const QString &appid) const
    {
        static int copies = 0;
        const QString copy = storeFile->beside(u"copy %1"_s.arg(++copies));
        ScratchFile::writeTo(copy, storedBytes());
        return launch::originalLaunchOptions(QSettings(copy, QSettings::NativeFormat), appid);
    }

    std::unique_ptr<ScratchFile> file;
    std::unique_ptr<ScratchFile> storeFile;
};

QTEST_GUILESS_MAIN(TestApplyChanges)
#include "test_applychanges.moc"
