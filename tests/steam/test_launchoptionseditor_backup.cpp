// SPDX-License-Identifier: MIT
#include "steam/localconfigfile.h"

#include "support/scratchfile.h"

#include <QDateTime>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;
using support::ScratchFile;

namespace
{

const QString infix = u"localconfig.vdf.bak-marrow-"_s;

/// Takes the names of this second and of the next ones, with `ends` behind them.
void takeNames(const ScratchFile &file, const QStringList &ends)
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    for (qint64 second = now; second < now + 30; ++second) {
        for (const QString &end : ends)
            ScratchFile::writeTo(file.beside(infix + QString::number(second) + end), "taken");
    }
}

} // namespace

class TestLaunchOptionsEditorBackup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nameHoldsTheSecond()
    {
        const ScratchFile file("content");
        const qint64 before = QDateTime::currentSecsSinceEpoch();
        const QString backup = steam::writeBackup(file.path());
        const qint64 after = QDateTime::currentSecsSinceEpoch();
        QVERIFY(backup.startsWith(file.folder() + u'/' + infix));
        const QString second = backup.mid((file.folder() + u'/' + infix).size());
        QCOMPARE(second, QString::number(second.toLongLong()));
        QVERIFY(second.toLongLong() >= before && second.toLongLong() <= after);
    }

    void nameTakenInTheSameSecond_data()
    {
        QTest::addColumn<QStringList>("taken");
        QTest::addColumn<QString>("end");
        QTest::newRow("once") << QStringList{u""_s} << u"-1"_s;
        QTest::newRow("twice") << QStringList{u""_s, u"-1"_s} << u"-2"_s;
        QTest::newRow("ten times") << QStringList{u""_s,   u"-1"_s, u"-2"_s, u"-3"_s, u"-4"_s,
                                                  u"-5"_s, u"-6"_s, u"-7"_s, u"-8"_s, u"-9"_s}
                                   << u"-10"_s;
        QTest::newRow("with a gap") << QStringList{u""_s, u"-2"_s} << u"-1"_s;
        QTest::newRow("a later one alone") << QStringList{u"-1"_s} << u""_s;
    }
    void nameTakenInTheSameSecond()
    {
        QFETCH(QStringList, taken);
        QFETCH(QString, end);
        const ScratchFile file("content");
        takeNames(file, taken);
        const QStringList before = file.listing();
        const qint64 first = QDateTime::currentSecsSinceEpoch();
        const QString backup = steam::writeBackup(file.path());
        const qint64 last = QDateTime::currentSecsSinceEpoch();
        QStringList possible;
        for (qint64 second = first; second <= last; ++second)
            possible.append(file.beside(infix + QString::number(second) + end));
        QVERIFY2(possible.contains(backup), qPrintable(backup));
        QCOMPARE(ScratchFile::readFrom(backup), QByteArray("content"));
        for (const QString &name : before) {
            if (name != "localconfig.vdf"_L1)
                QCOMPARE(ScratchFile::readFrom(file.beside(name)), QByteArray("taken"));
        }
    }

    void backupsPileUp()
    {
        const ScratchFile file("first");
        const QString first = steam::writeBackup(file.path());
        file.write("second");
        const QString second = steam::writeBackup(file.path());
        QVERIFY(first != second);
        QCOMPARE(ScratchFile::readFrom(first), QByteArray("first"));
        QCOMPARE(ScratchFile::readFrom(second), QByteArray("second"));
        QCOMPARE(file.listing().size(), 3);
    }

    void backupOfALinkIsAFile()
    {
        const ScratchFile file("content");
        const ScratchFile other("");
        const QString link = other.beside(u"link.vdf"_s);
        QVERIFY(QFile::link(file.path(), link));
        const QString backup = steam::writeBackup(link);
        QVERIFY(backup.startsWith(link + ".bak-marrow-"_L1));
        QVERIFY(!QFileInfo(backup).isSymLink());
        QCOMPARE(ScratchFile::readFrom(backup), QByteArray("content"));
    }

    void noBackupOfNoFile()
    {
        const ScratchFile file("content");
        QCOMPARE(steam::writeBackup(file.beside(u"missing.vdf"_s)), u""_s);
        QCOMPARE(steam::writeBackup(file.folder()), u""_s);
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void editWithABackup()
    {
        const ScratchFile file("\"apps\" { \"620\" { \"LaunchOptions\" \"old\" } }");
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, true, nullptr));
        QCOMPARE(file.read(), QByteArray("\"apps\" { \"620\" { \"LaunchOptions\" \"new\" } }"));
        const QStringList files = file.listing();
        QCOMPARE(files.size(), 2);
        QVERIFY(files[1].startsWith(infix));
        QCOMPARE(ScratchFile::readFrom(file.beside(files[1])),
                 QByteArray("\"apps\" { \"620\" { \"LaunchOptions\" \"old\" } }"));
    }

    void editWithoutABackup()
    {
        const ScratchFile file("\"apps\" { \"620\" { \"LaunchOptions\" \"old\" } }");
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditorBackup)
#include "test_launchoptionseditor_backup.moc"
