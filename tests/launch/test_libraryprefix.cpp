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
    void neitherVariableNorFile()
    {
        const PretendMachine machine;
        QCOMPARE(launch::readLibraryPrefix(), u""_s);
    }

    void fromVariable_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("prefix");

        QTest::newRow("a folder") << QByteArray("/opt/gs/lib") << u"/opt/gs/lib"_s;
        QTest::newRow("blanks around it stay")
            << QByteArray("  /opt/gs/lib ") << u"  /opt/gs/lib "_s;
        QTest::newRow("a blank is not empty") << QByteArray(" ") << u" "_s;
        QTest::newRow("UTF-8") << QByteArray("/opt/caf\xC3\xA9") << u"/opt/café"_s;
    }
    void fromVariable()
    {
        QFETCH(const QByteArray, value);
        const PretendMachine machine;
        qputenv(variable, value);
        QTEST(launch::readLibraryPrefix(), "prefix");
    }

    void fromFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("prefix");

        QTest::newRow("two blanks, the folder and a line break")
            << QByteArray("  /x/lib\n") << u"/x/lib"_s;
        QTest::newRow("all white space around it goes")
            << QByteArray("\n\t/x/lib \r\n\n") << u"/x/lib"_s;
        QTest::newRow("the whole file, not only its first line")
            << QByteArray("/x/lib\n/y/lib\n") << u"/x/lib\n/y/lib"_s;
        QTest::newRow("blanks inside stay") << QByteArray("/x y/lib\n") << u"/x y/lib"_s;
        QTest::newRow("UTF-8") << QByteArray("/opt/caf\xC3\xA9\n") << u"/opt/café"_s;
        QTest::newRow("empty") << QByteArray("") << u""_s;
        QTest::newRow("only white space") << QByteArray(" \n\n") << u""_s;
    }
    void fromFile()
    {
        QFETCH(const QByteArray, content);
        const PretendMachine machine;
        machine.write(prefixFile(machine), content);
        QTEST(launch::readLibraryPrefix(), "prefix");
    }

    void variableGoesBeforeFile()
    {
        const PretendMachine machine;
        machine.write(prefixFile(machine), "/from/file\n");
        qputenv(variable, "/from/variable");
        QCOMPARE(launch::readLibraryPrefix(), u"/from/variable"_s);
    }

    void emptyVariableLeavesItToTheFile()
    {
        const PretendMachine machine;
        machine.write(prefixFile(machine), "/from/file\n");
        qputenv(variable, "");
        QCOMPARE(launch::readLibraryPrefix(), u"/from/file"_s);
    }

    void folderInPlaceOfTheFile()
    {
        const PretendMachine machine;
        QVERIFY(QDir().mkpath(prefixFile(machine)));
        QCOMPARE(launch::readLibraryPrefix(), u""_s);
    }
};

QTEST_GUILESS_MAIN(TestLibraryPrefix)
#include "test_libraryprefix.moc"
