// SPDX-License-Identifier: MIT
#include "launch/libraryprefix.h"
#include "support/pretendmachine.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

constexpr const char *variable = "MARROWPULSE_GAMESCOPE_PREFIX";

QString prefixFile(const PretendMachine &machine)
{
    return machine.home() + "/.config/marrowpulse/gamescope-prefix"_L1;
}

} // namespace

class TestLibraryPrefix : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { qunsetenv(variable); }
    void cleanupTestCase() { qunsetenv(variable); }

    void fromTheVariableAsItIs()
    {
        const PretendMachine machine;
        machine.write(prefixFile(machine), "/from/file\n");
        qputenv(variable, "  /opt/caf\xC3\xA9 ");
        QCOMPARE(launch::readLibraryPrefix(), u"  /opt/café "_s);
        qputenv(variable, " ");
        QCOMPARE(launch::readLibraryPrefix(), u" "_s);
        qputenv(variable, "");
        QCOMPARE(launch::readLibraryPrefix(), u"/from/file"_s);
    }

    void fromTheFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("prefix");
        QTest::newRow("white space around it goes")
            << QByteArray("\n\t /x/lib \r\n\n") << u"/x/lib"_s;
        QTest::newRow("the whole file, not only its first line")
            << QByteArray("/x y/lib\n/z/lib\n") << u"/x y/lib\n/z/lib"_s;
        QTest::newRow("UTF-8") << QByteArray("/opt/caf\xC3\xA9\n") << u"/opt/café"_s;
        QTest::newRow("only white space") << QByteArray(" \n\n") << u""_s;
    }
    void fromTheFile()
    {
        QFETCH(const QByteArray, content);
        const PretendMachine machine;
        machine.write(prefixFile(machine), content);
        QTEST(launch::readLibraryPrefix(), "prefix");
    }

    void emptyWithoutVariableAndFile()
    {
        const PretendMachine machine;
        QCOMPARE(launch::readLibraryPrefix(), u""_s);
        QVERIFY(QDir().mkpath(prefixFile(machine))); // a folder cannot be read
        QCOMPARE(launch::readLibraryPrefix(), u""_s);
    }
};

QTEST_GUILESS_MAIN(TestLibraryPrefix)
#include "test_libraryprefix.moc"
