// SPDX-License-Identifier: MIT
#include "base/files.h"

#include "filecontents.h"
#include "support/callwatch.h"
#include "support/scratchfile.h"
#include "support/withoutstandardinput.h"

#include <QFileInfo>
#include <QTest>

#include <fstream>
#include <iterator>
#include <sys/socket.h>
#include <sys/un.h>

using namespace Qt::StringLiterals;
using base::FileVersion;
using base::WholeFile;
using support::CallWatch;
using support::ScratchFile;

namespace
{

/// Makes something at the path.
using Maker = void (*)(const ScratchFile &file, const QString &path);

void makePipe(const ScratchFile &, const QString &path)
{
    QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
}

void makeSocket(const ScratchFile &, const QString &path)
{
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    QVERIFY(size_t(path.size()) < sizeof address.sun_path);
    std::strcpy(address.sun_path, QFile::encodeName(path).constData());
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    QCOMPARE(::bind(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ::close(descriptor);
}

/// The content of a file of the kernel's, as a plain reader gets it.
QByteArray readPlainly(const char *path)
{
    std::ifstream in(path, std::ios::binary);
    return QByteArray::fromStdString({std::istreambuf_iterator<char>(in), {}});
}

void makeSparseFile(const QString &path, qint64 size)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(size));
}

void setTime(const QString &path, time_t seconds)
{
    const timespec times[] = {{seconds, 0}, {seconds, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
}

} // namespace

Q_DECLARE_METATYPE(Maker)

class TestFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyByteIsRead_data() { addContents(); }
    void everyByteIsRead()
    {
        QFETCH(const QByteArray, content);
        const ScratchFile file(content);
        const std::optional<QByteArray> read = base::readFile(file.path());
        QVERIFY(read.has_value());
        QVERIFY(*read == content);
        const std::optional<WholeFile> whole = base::readWholeFile(file.path());
        QVERIFY(whole.has_value());
        QVERIFY(whole->bytes == content);
    }

    void linksAreFollowed()
    {
        const ScratchFile file("content");
        QVERIFY(QFile::link(u"localconfig.vdf"_s, file.beside(u"inner"_s)));
        QVERIFY(QFile::link(u"inner"_s, file.beside(u"outer"_s)));
        QCOMPARE(base::readFile(file.beside(u"outer"_s)), QByteArray("content"));
        QVERIFY(base::readWholeFile(file.beside(u"outer"_s)).has_value());
    }

    void aTextIsDecodedFromUtf8()
    {
        const ScratchFile file("na\xc3\xafve \xf0\x9f\x8e\xae");
        QCOMPARE(base::readText(file.path()), u"naïve 🎮"_s);
        QCOMPARE(base::readText(file.beside(u"missing"_s)), QString());
    }

    /// The size that the kernel reports is wrong for these.
    void aFileOfTheKernelIsReadToItsEnd_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<qint64>("told");
        QTest::newRow("sysfs") << QByteArray("/sys/devices/system/cpu/possible")
                               << qint64(::getpagesize());
        QTest::newRow("procfs") << QByteArray("/proc/version") << qint64(0);
    }
    void aFileOfTheKernelIsReadToItsEnd()
    {
        QFETCH(const QByteArray, path);
        QFETCH(const qint64, told);
        const QByteArray content = readPlainly(path.constData());
        QCOMPARE(QFileInfo(QFile::decodeName(path)).size(), told);
        QVERIFY(!content.isEmpty() && content.size() != told);

        QCOMPARE(base::readFile(QFile::decodeName(path)), content);
        QCOMPARE(base::readText(QFile::decodeName(path)), QString::fromLatin1(content));
        // It is no file on a disk.
        QVERIFY(!base::readWholeFile(QFile::decodeName(path)).has_value());
    }

    /// A reader that waits for ever fails by the test's time limit.
    void onlyRegularFilesAreRead_data()
    {
        QTest::addColumn<Maker>("make");
        const auto row = [](const char *name, Maker make) { QTest::newRow(name) << make; };
        row("nothing", [](const ScratchFile &, const QString &) {});
        row("a folder", [](const ScratchFile &, const QString &path) { QDir().mkdir(path); });
        row("a pipe", makePipe);
        row("a link to a pipe", [](const ScratchFile &file, const QString &path) {
            makePipe(file, file.beside(u"pipe"_s));
            QVERIFY(QFile::link(u"pipe"_s, path));
        });
        row("a socket", makeSocket);
        row("an endless device", [](const ScratchFile &, const QString &path) {
            QVERIFY(QFile::link(u"/dev/zero"_s, path));
        });
        row("an empty device", [](const ScratchFile &, const QString &path) {
            QVERIFY(QFile::link(u"/dev/null"_s, path));
        });
        row("a link that leads nowhere", [](const ScratchFile &, const QString &path) {
            QVERIFY(QFile::link(u"nowhere"_s, path));
        });
        row("a link to itself",
            [](const ScratchFile &, const QString &path) { QVERIFY(QFile::link(path, path)); });
    }
    void onlyRegularFilesAreRead()
    {
        QFETCH(const Maker, make);
        const ScratchFile file("content");
        const QString path = file.beside(u"other"_s);
        make(file, path);
        bool isOpened = false; // opening alone can block, or have an effect
        CallWatch watch;
        watch.before("read other", [&isOpened] { isOpened = true; });
        QVERIFY(!base::readFile(path).has_value());
        QVERIFY(!base::readWholeFile(path).has_value());
        QCOMPARE(base::readText(path), QString());
        QVERIFY(!isOpened);
    }

    void aPathIsMissingOnlyIfItCertainlyDoesNotExist()
    {
        const ScratchFile file("content");
        QVERIFY(QFile::link(u"nowhere"_s, file.beside(u"link to nowhere"_s)));
        QVERIFY(QFile::link(u"link to itself"_s, file.beside(u"link to itself"_s)));
        QVERIFY(base::isMissing(file.beside(u"nothing"_s)));
        QVERIFY(base::isMissing(file.path() + "/below a file"_L1));
        QVERIFY(base::isMissing(file.beside(u"link to nowhere"_s)));
        QVERIFY(!base::isMissing(file.beside(u"link to itself"_s)));
        QVERIFY(!base::isMissing(file.path()));
        QVERIFY(!base::isMissing(file.folder()));
    }

    void aPipeThatTakesTheFilesPlaceDoesNotBlock()
    {
        const ScratchFile file("content");
        CallWatch watch;
        watch.before("read localconfig.vdf", [&file] {
            QFile::remove(file.path());
            makePipe(file, file.path());
        });
        QVERIFY(!base::readFile(file.path()).has_value());
        QCOMPARE(QFileInfo(file.path()).isFile(), false); // it did take the place
    }

    void aFileIsReadUpToTheLimit_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<bool>("readable");
        QTest::newRow("at the limit") << base::largestFile << true;
        QTest::newRow("one byte more") << base::largestFile + 1 << false;
        QTest::newRow("more than any memory") << base::largestFile * 65536 << false;
    }
    void aFileIsReadUpToTheLimit()
    {
        QFETCH(const qint64, size);
        QFETCH(const bool, readable);
        const ScratchFile file("");
        makeSparseFile(file.path(), size);
        const std::optional<QByteArray> read = base::readFile(file.path());
        QCOMPARE(read.has_value(), readable);
        QCOMPARE(base::readWholeFile(file.path()).has_value(), readable);
        if (readable)
            QCOMPARE(read->size(), size);
    }

    void aFileThatFailsWhileItIsReadIsNotRead()
    {
        // The kernel opens this file, but reading at its beginning fails.
        QVERIFY(!base::readFile(u"/proc/self/mem"_s).has_value());
    }

    void aSignalDoesNotStopTheReading()
    {
        const ScratchFile file("content");
        CallWatch watch;
        watch.fail("read localconfig.vdf", EINTR, 2);
        QCOMPARE(base::readFile(file.path()), QByteArray("content"));
    }

    void aFileIsReadWithoutAStandardInput()
    {
        const ScratchFile file("content");
        const support::WithoutStandardInput without;
        QCOMPARE(base::readFile(file.path()), QByteArray("content"));
    }

    void noDescriptorStaysOpen()
    {
        const ScratchFile file("content");
        const int before = nextDescriptor();
        QVERIFY(base::readFile(file.path()).has_value());
        QVERIFY(!base::readFile(file.folder()).has_value());
        QVERIFY(!base::readFile(u"/proc/self/mem"_s).has_value());
        QCOMPARE(nextDescriptor(), before);
    }

    void theVersionIsThatOfTheFileThatWasRead()
    {
        const ScratchFile file("content");
        QVERIFY(QFile::link(u"localconfig.vdf"_s, file.beside(u"link"_s)));
        const std::optional<FileVersion> version = base::fileVersion(file.path());
        QVERIFY(version.has_value());
        QCOMPARE(version->size, 7);
        QVERIFY(base::readWholeFile(file.path())->version == version);
        QVERIFY(base::fileVersion(file.beside(u"link"_s)) == version);
        QVERIFY(!base::fileVersion(file.beside(u"missing"_s)).has_value());
    }

    void aChangedFileHasAnotherVersion_data()
    {
        QTest::addColumn<Maker>("change");
        const auto row = [](const char *name, Maker change) { QTest::newRow(name) << change; };
        row("another size", [](const ScratchFile &, const QString &path) {
            ScratchFile::writeTo(path, "more content");
            setTime(path, 1'700'000'000);
        });
        row("another time", [](const ScratchFile &, const QString &path) {
            ScratchFile::writeTo(path, "CONTENT");
            setTime(path, 1'700'000'001);
        });
        row("a time that differs by a nanosecond", [](const ScratchFile &, const QString &path) {
            const timespec times[] = {{1'700'000'000, 0}, {1'700'000'000, 1}};
            ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
        });
        row("another file", [](const ScratchFile &file, const QString &path) {
            const QString other = file.beside(u"other"_s);
            ScratchFile::writeTo(other, "CONTENT");
            setTime(other, 1'700'000'000);
            QFile::remove(path);
            QVERIFY(QFile::rename(other, path));
        });
    }
    void aChangedFileHasAnotherVersion()
    {
        QFETCH(const Maker, change);
        const ScratchFile file("content");
        setTime(file.path(), 1'700'000'000);
        const std::optional<FileVersion> before = base::fileVersion(file.path());
        change(file, file.path());
        QVERIFY(base::fileVersion(file.path()).has_value());
        QVERIFY(base::fileVersion(file.path()) != before);
    }
};

QTEST_GUILESS_MAIN(TestFiles)
#include "test_files.moc"
