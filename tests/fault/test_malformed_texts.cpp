// SPDX-License-Identifier: MIT
// Texts that Steam would not have written: each is refused before anything is opened for writing,
// or edited so that nothing but the value differs.
#include "model/steammodel.h"
#include "onlythevalue.h"
#include "steam/keyvalues.h"
#include "steam/localconfigfile.h"
#include "support/samplesteam.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/inotify.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

const QString appid = u"1002"_s;
const QString options = u"-edited %command%"_s;

QByteArray sample()
{
    return support::sampleLocalConfig(
        {{u"1001"_s, u"-first"_s}, {appid, u"-old"_s}, {u"1003"_s, std::nullopt}}, 2);
}

/// Notes everything that is written, made, renamed or removed in one folder.
class Watch
{
public:
    explicit Watch(const QString &folder) : descriptor(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        ::inotify_add_watch(descriptor, QFile::encodeName(folder).constData(),
                            IN_CREATE | IN_MODIFY | IN_MOVE | IN_DELETE | IN_CLOSE_WRITE |
                                IN_ATTRIB);
    }
    ~Watch() { ::close(descriptor); }
    Q_DISABLE_COPY_MOVE(Watch)

    /// Whether anything happened since this was asked last.
    bool sawAnything() const
    {
        bool saw = false;
        char events[4096];
        while (::read(descriptor, events, sizeof events) > 0)
            saw = true;
        return saw;
    }

private:
    int descriptor;
};

struct Tally {
    int refused = 0;
    int edited = 0;
};

} // namespace

class TestMalformedTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writingIsSeenByTheWatch()
    {
        const QString path = folder.filePath(u"localconfig.vdf"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(sample());
        file.close();
        QVERIFY(watch.sawAnything());
        QVERIFY(!watch.sawAnything());
        QVERIFY(steam::setLaunchOptions(path, appid, options, false, nullptr));
        QVERIFY(watch.sawAnything());
    }

    void cutAtEveryByte()
    {
        const QByteArray whole = sample();
        QVERIFY(whole.size() > 1000);
        for (qsizetype length = 0; length <= whole.size(); ++length) {
            judge(whole.first(length), u"cut to %1 bytes"_s.arg(length));
            if (QTest::currentTestFailed())
                return;
        }
    }

    void oneByteRemoved()
    {
        const QByteArray whole = sample();
        for (qsizetype at = 0; at < whole.size(); ++at) {
            judge(QByteArray(whole).remove(at, 1), u"without byte %1"_s.arg(at));
            if (QTest::currentTestFailed())
                return;
        }
    }

    void severalValues()
    {
        const QByteArrayList pieces{
            "\"LaunchOptions\"\t\t\"-old\"\n",
            "\"LaunchOptions\"\t\t\"-x \\\"a b\\\"\"\n", // goes on behind its second quote
            "\"cloud\"\n{\n\"LaunchOptions\"\t\t\"-nested\"\n}\n",
            "\"LaunchOptions\"\n",
            "\"LastPlayed\"\t\t\"5\"\n",
        };
        QByteArrayList blocks = pieces; // then every row of two, three and four of them
        for (qsizetype i = 0; blocks.size() < 5 + 25 + 125 + 625; ++i) {
            for (const QByteArray &piece : pieces)
                blocks.append(blocks[i] + piece);
        }
        for (const QByteArray &block : blocks) {
            judge("\"apps\"\n{\n\"1002\"\n{\n" + block +
                      "}\n\"1003\"\n{\n\"LaunchOptions\"\t\t\"-other\"\n}\n}\n",
                  QString::fromLatin1(block));
            if (QTest::currentTestFailed())
                return;
        }
    }

    void deepNesting()
    {
        const QByteArray value = "\"LaunchOptions\"\t\t\"-old\"\n";
        for (int depth = 1; depth <= 100'000; depth *= 10) {
            const QByteArray open = QByteArray("\"x\"{\n").repeated(depth);
            const QByteArray close = QByteArray("}\n").repeated(depth);
            const QByteArray app = "\"1002\"\n{\n" + value + "}\n";
            judge("\"apps\"{\n" + open + app + close + "}\n", u"game below %1 blocks"_s.arg(depth));
            judge(open + "\"apps\"{\n" + app + "}\n" + close, u"section in %1 blocks"_s.arg(depth));
            judge("\"apps\"{\n\"1002\"{\n" + open + value + close + "}\n}\n",
                  u"value below %1 blocks"_s.arg(depth));
            judge("\"apps\"{\n" + open + app, u"%1 blocks that never close"_s.arg(depth));
            if (QTest::currentTestFailed())
                return;
        }
    }

    void cleanupTestCase()
    {
        qInfo("%d texts refused, %d edited", tally.refused, tally.edited);
        QVERIFY(tally.refused > 500);
        QVERIFY(tally.edited > 500);
    }

private:
    /// Edits a file with this text and looks at what happened: what the rules told a second time
    /// say, and what can be seen without them.
    void judge(const QByteArray &text, const QString &what)
    {
        const QString path = folder.filePath(u"localconfig.vdf"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(text);
        file.close();

        watch.sawAnything();
        QString error;
        const bool done = steam::setLaunchOptions(path, appid, options, false, &error);
        const bool touched = watch.sawAnything();
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray after = file.readAll();
        file.close();

        const model::Edited told =
            model::edit(text.toStdString(), {{appid.toStdString(), options.toStdU16String()}});
        QVERIFY2(done == told.refusals.empty(), qPrintable(what));
        QVERIFY2(after.toStdString() == told.text, qPrintable(what));
        if (done) {
            ++tally.edited;
            QVERIFY2(
                fault::isOnlyTheValueChanged(text, after, appid.toLatin1(), options.toLatin1()),
                qPrintable(what));
            QCOMPARE(steam::readLaunchOptions(after, appid), options);
        } else {
            ++tally.refused;
            QVERIFY2(!touched, qPrintable(what));
            QVERIFY2(after == text, qPrintable(what));
            QVERIFY2(!error.isEmpty(), qPrintable(what));
        }
    }

    Tally tally;
    // In memory where that can be had: thousands of files need no disk to be synced.
    QTemporaryDir folder{QDir(u"/dev/shm"_s).exists() ? u"/dev/shm/marrowpulse-XXXXXX"_s
                                                      : QDir::temp().filePath(u"XXXXXX"_s)};
    Watch watch{folder.path()};
};

QTEST_GUILESS_MAIN(TestMalformedTexts)
#include "test_malformed_texts.moc"
