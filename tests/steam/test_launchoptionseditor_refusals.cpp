// SPDX-License-Identifier: MIT
// Every refusal of an edit: its message in full, and the file and its folder as they were.
#include "steam/localconfigfile.h"

#include "support/filesizelimit.h"
#include "support/scratchfile.h"

#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using support::FileSizeLimit;
using support::ScratchFile;

namespace
{

/// While it lives, a process of root's is one of nobody's: root passes every check of modes.
class OrdinaryUser
{
public:
    OrdinaryUser()
    {
        if (root && ::setresuid(nobody, nobody, 0) != 0)
            qFatal("cannot become an ordinary user");
    }
    ~OrdinaryUser()
    {
        if (root && ::setresuid(0, 0, 0) != 0)
            qFatal("cannot become root again");
    }
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

private:
    static constexpr uid_t nobody = 65534;
    const bool root = ::geteuid() == 0;
};

} // namespace

class TestLaunchOptionsEditorRefusals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusal_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("options"); // of the app 620
        QTest::addColumn<QString>("message");
        const auto row = [](const char *name, const QByteArray &content, const QString &options,
                            const QString &message) {
            QTest::newRow(name) << content << options << message;
        };
        // The messages, in the order of the checks.
        const QString characters = u"options contain characters VDF cannot store unescaped"_s;
        const QString section = u"no apps section found"_s;
        const QString indentation = u"cannot determine indentation for 620"_s;
        const QString braces = u"brace count changed; refusing to write"_s;
        const QString verification = u"post-edit verification failed for 620"_s;

        const QByteArray value =
            "\"apps\"\n{\n\t\"620\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"old\"\n\t}\n}\n";
        const QByteArray noValue =
            "\"apps\"\n{\n\t\"620\"\n\t{\n\t\t\"LastPlayed\"\t\t\"1\"\n\t}\n}\n";
        const QByteArray noBlock = "\"apps\"\n{\n}\n";
        const QString loneHigh{QChar(0xd83c)};
        const QString loneLow{QChar(0xdfae)};

        row("double quote", value, u"a \"b\" %command%"_s, characters);
        row("backslash", value, u"C:\\x"_s, characters);
        row("double quote alone", value, u"\""_s, characters);
        row("backslash at the end", value, u"a\\"_s, characters);
        row("double quote for no section", "", u"\""_s, characters);

        row("empty file", "", u"new"_s, section);
        row("no apps section", "\"Steam\"\n{\n\t\"620\"\n\t{\n\t}\n}\n", u"new"_s, section);
        row("Apps", "\"Apps\"\n{\n}\n", u"new"_s, section);
        row("section that does not close", value.chopped(2), u"new"_s, section);
        row("no section, braces in the options", "\"x\"", u"{"_s, section);
        row("no section, options that are no Unicode", "\"x\"", loneHigh, section);

        row("empty block", "\"apps\" { \"620\" { } }", u"new"_s, indentation);
        row("empty block over lines", "\"apps\"\n{\n\t\"620\"\n\t{\n\t}\n}\n", u"new"_s,
            indentation);
        row("empty block, empty options", "\"apps\" { \"620\" { } }", u""_s, indentation);
        row("block in one line", "\"apps\" { \"620\" { \"LastPlayed\" \"1\" } }", u"new"_s,
            indentation);
        row("CR LF without a value",
            "\"apps\"\r\n{\r\n\t\"620\"\r\n\t{\r\n\t\t\"LastPlayed\"\t\t\"1\"\r\n\t}\r\n}\r\n",
            u"new"_s, indentation);
        row("blank behind the brace", "\"apps\" { \"620\" { \n\t\"LastPlayed\" \"1\"\n } }",
            u"new"_s, indentation);
        row("no-break space as indentation",
            "\"apps\" { \"620\" {\n\xc2\xa0\"LastPlayed\" \"1\"\n } }", u"new"_s, indentation);
        row("value in another letter case only", "\"apps\" { \"620\" { \"launchoptions\" \"1\" } }",
            u"new"_s, indentation);
        row("no indentation, braces in the options", "\"apps\" { \"620\" { } }", u"{}"_s,
            indentation);
        row("no indentation, options that are no Unicode", "\"apps\" { \"620\" { } }", loneHigh,
            indentation);

        row("balanced braces for a value", value, u"A={x} %command%"_s, braces);
        row("balanced braces for a new line", noValue, u"A={x} %command%"_s, braces);
        row("opening brace", value, u"{"_s, braces);
        row("closing brace", value, u"}"_s, braces);
        row("old value had braces",
            "\"apps\"\n{\n\t\"620\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"{}\"\n\t}\n}\n", u"new"_s,
            braces);
        row("opening brace for a closing one", "\"apps\" { \"620\" { \"LaunchOptions\" \"{ }\" } }",
            u"{ {"_s, braces);
        row("two values, a brace more for each",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a\" \"LaunchOptions\" \"b\" } }", u"{}"_s,
            braces);
        row("braces and an old value that goes on",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a \\\"b\\\"\" } }", u"{}"_s, braces);
        row("brace and options that are no Unicode", value, loneHigh + u'}', braces);

        row("lone closing brace in a new block", noBlock, u"}"_s, verification);
        row("closing before opening in a new block", noBlock, u"}{"_s, verification);
        row("opening brace in a new block of an outermost section", noBlock, u"{"_s, verification);
        // It would read back, and put every later edit in doubt.
        row("opening brace in a new block of an inner section", "\"s\"\n{\n" + noBlock + "}\n",
            u"LD_LIBRARY_PATH=/opt/a{b %command%"_s, verification);
        row("braces in the wrong order for others in the right one",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"{}\" } }", u"}{"_s, verification);
        row("high surrogate alone", value, u"a"_s + loneHigh, verification);
        row("low surrogate alone", value, loneLow + u"a"_s, verification);
        row("surrogates the wrong way round", value, loneLow + loneHigh, verification);
        row("high surrogate alone in a new line", noValue, loneHigh, verification);
        row("high surrogate alone in a new block", noBlock, loneHigh, verification);
        row("value ends at an escaped quote",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a \\\"b\\\" c\" } }", u"new"_s, verification);
        row("value of one escaped quote", "\"apps\" { \"620\" { \"LaunchOptions\" \"\\\"\" } }",
            u""_s, verification);
        row("three backslashes before the quote",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a\\\\\\\"b\" } }", u"new"_s, verification);
        row("second value ends at an escaped quote",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a\" \"LaunchOptions\" \"b\\\"\" } }",
            u"new"_s, verification);
        row("the second of three values ends at an escaped quote",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a\" \"LaunchOptions\" \"b\\\"\" "
            "\"LaunchOptions\" \"c\" } }",
            u"new"_s, verification);
        row("first value ends at an escaped quote",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"b\\\"\" \"LaunchOptions\" \"a\" } }",
            u"new"_s, verification);

        row("old value is no UTF-8", "\"apps\" { \"620\" { \"LaunchOptions\" \"J\xf6rg\" } }",
            u"new"_s, verification);
        row("second old value is no UTF-8",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a\" \"LaunchOptions\" \"\xc3\" } }", u"new"_s,
            verification);

        // Braces in quotes, by which the program sees a block end elsewhere than Steam does.
        row("a closing brace in the game's own options",
            "\"apps\" {\n\"620\" {\n\"LaunchOptions\" \"say :} %command%\"\n}\n}", u"new"_s,
            verification);
        row("a closing brace in another game's options, before",
            "\"apps\" { \"10\" { \"LaunchOptions\" \":}\" } \"620\" { \"LaunchOptions\" \"a\" } }",
            u"new"_s, verification);
        row("a closing brace in another game's options, after",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"a\" } \"700\" { \"LaunchOptions\" \":}\" } }",
            u"new"_s, verification);
        row("an opening brace that leads to another game's options",
            "\"apps\" { \"620\" { \"note\" \":{\" } \"700\" { \"LaunchOptions\" \"a\" } } }",
            u"new"_s, verification);
        row("a closing brace in quotes before a new block",
            "\"apps\" { \"10\" { \"note\" \"}\" } }", u"new"_s, verification);
        row("a brace in quotes, and in a block of the section only",
            "\"apps\" { \"620\" { \"a\" \"{\" \"LaunchOptions\" \"x\" } \"b\" \"}\" } } }",
            u"new"_s, verification);

        // Keys and values that a reader who knows quotes sees otherwise.
        row("a value that says LaunchOptions, before another key",
            "\"apps\" { \"620\" {\n\"mode\" \"LaunchOptions\"\n\"Playtime\" \"55\"\n} }", u"new"_s,
            verification);
        row("the same beside a value",
            "\"apps\" { \"620\" {\n\"LaunchOptions\" \"old\"\n\"mode\" \"LaunchOptions\"\n"
            "\"Playtime\" \"55\"\n} }",
            u"new"_s, verification);
        row("a new line that would stand in a note",
            "\"apps\" { \"620\" {\r\n\"note\" \"a{\n\"\r\n\"b\" \"}\" } }", u"new"_s, verification);
        row("a value that is the key of a block",
            "\"apps\" { \"620\" { \"LaunchOptions\" \"x\" { \"k\" \"v\" } } }", u"new"_s,
            verification);
        row("a key in a value", "\"apps\" { \"620\" { \"note\" \"a \\\"LaunchOptions\\\" \" } }",
            u"new"_s, indentation);
        row("a quote that does not end", "\"apps\" { \"620\" { \"LaunchOptions\" \"x\" \"k } }",
            u"new"_s, verification);
    }
    void refusal()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, options);
        const ScratchFile file(content);
        // A backup is made of no edit that is refused.
        for (const bool makeBackup : {false, true}) {
            QString error = u"as before"_s;
            QVERIFY(!steam::setLaunchOptions(file.path(), u"620"_s, options, makeBackup, &error));
            QTEST(error, "message");
            QCOMPARE(file.read(), content);
            QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
        }
        // The text of an error may be left out.
        QVERIFY(!steam::setLaunchOptions(file.path(), u"620"_s, options, false, nullptr));
        QCOMPARE(file.read(), content);
    }

    void charactersAreRefusedBeforeTheFileIsOpened()
    {
        QString error;
        QVERIFY(!steam::setLaunchOptions(u"/nowhere/localconfig.vdf"_s, u"620"_s, u"a\"b"_s, true,
                                         &error));
        QCOMPARE(error, u"options contain characters VDF cannot store unescaped"_s);
    }

    void whatCannotBeOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("no file") << u"missing"_s;
        QTest::newRow("a folder") << u"folder"_s;
        QTest::newRow("a link to nothing") << u"dangling"_s;
        QTest::newRow("a link to itself") << u"circle"_s;
        QTest::newRow("a file that may not be read") << u"secret"_s;
    }
    void whatCannotBeOpened()
    {
        QFETCH(QString, name);
        const ScratchFile file("\"apps\" { }", u"secret"_s);
        ScratchFile::setMode(file.path(), 0200);
        QVERIFY(QDir(file.folder()).mkdir(u"folder"_s));
        QVERIFY(QFile::link(u"nothing"_s, file.beside(u"dangling"_s)));
        QVERIFY(QFile::link(u"circle"_s, file.beside(u"circle"_s)));
        ScratchFile::setMode(file.folder(), 0777);
        const QStringList before = file.listing();
        QString error;
        bool done = true;
        {
            const OrdinaryUser user;
            done = steam::setLaunchOptions(file.beside(name), u"620"_s, u"new"_s, true, &error);
        }
        QVERIFY(!done);
        QCOMPARE(error, "cannot open "_L1 + file.beside(name));
        QCOMPARE(file.listing(), before);
    }

    void aBackupThatFailsStopsTheEdit()
    {
        // A name may have 255 bytes: the backup's is too long, that of the new file is not.
        const QString name(240, u'n');
        const ScratchFile file("\"apps\" { }", name);
        QString error;
        QVERIFY(!steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, true, &error));
        QCOMPARE(error, "could not write backup for "_L1 + file.path());
        QCOMPARE(file.read(), QByteArray("\"apps\" { }"));
        QCOMPARE(file.listing(), QStringList{name});
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, &error));
    }

    void aFileThatCannotBeReplaced_data()
    {
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<int>("fileMode");
        QTest::addColumn<bool>("makeBackup");
        QTest::addColumn<QString>("message"); // before the path
        QTest::newRow("read-only folder") << 0555 << 0666 << false << u"cannot write "_s;
        QTest::newRow("read-only file") << 0777 << 0444 << false << u"cannot write "_s;
        QTest::newRow("the backup is tried first")
            << 0555 << 0666 << true << u"could not write backup for "_s;
    }
    void aFileThatCannotBeReplaced()
    {
        QFETCH(int, folderMode);
        QFETCH(int, fileMode);
        QFETCH(bool, makeBackup);
        QFETCH(QString, message);
        const ScratchFile file("\"apps\" { }");
        ScratchFile::setMode(file.path(), static_cast<unsigned>(fileMode));
        ScratchFile::setMode(file.folder(), static_cast<unsigned>(folderMode));
        QString error;
        bool done = true;
        {
            const OrdinaryUser user;
            done = steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, makeBackup, &error);
        }
        ScratchFile::setMode(file.folder(), 0700);
        QVERIFY(!done);
        QCOMPARE(error, message + file.path());
        QCOMPARE(file.read(), QByteArray("\"apps\" { }"));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void aFullDiskFailsTheCommitAndTheBackupStays()
    {
        const ScratchFile file("\"apps\" { }");
        QString error;
        bool done = true;
        {
            const FileSizeLimit limit(10);
            done = steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, true, &error);
        }
        QVERIFY(!done);
        QCOMPARE(error, "commit failed for "_L1 + file.path());
        QCOMPARE(file.read(), QByteArray("\"apps\" { }"));
        const QStringList files = file.listing();
        QCOMPARE(files.size(), 2);
        QVERIFY(files[1].startsWith("localconfig.vdf.bak-marrow-"_L1));
        QCOMPARE(ScratchFile::readFrom(file.beside(files[1])), QByteArray("\"apps\" { }"));
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditorRefusals)
#include "test_launchoptionseditor_refusals.moc"
