// SPDX-License-Identifier: MIT
// Edits of real files with made-up texts: against the rules told a second time, and against texts
// whose one place to change is known.
#include "steam/launchoptionseditor.h"

#include "model/steammodel.h"
#include "steam/keyvalues.h"
#include "support/keyvaluestexts.h"
#include "support/properties.h"
#include "support/scratchfile.h"

#include <QTest>

#include <map>

using namespace Qt::StringLiterals;
using support::ScratchFile;
using support::Text;

class TestLaunchOptionsEditorProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        support::preparePropertyCases();
        // Each edit syncs its file and folder: thousands of them want a file system in memory.
        qputenv("TMPDIR", "/dev/shm");
    }
    void editIsTheModels();
    void aListIsEditedLikeOneChangeAfterTheOther();
    void onlyTheValueChanges();
    void onlyALineOrABlockIsAdded();
};

namespace
{

/// A run of harmless bytes, not always UTF-8: no quote, brace or backslash.
rc::Gen<std::string> anyBytes()
{
    return rc::gen::map(
        rc::gen::resize(20,
                        rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
                            "a", " ", "\n", "\t", "\r\n", "\xff", "\xc3", "\xef\xbb\xbf",
                            "\xe2\x80\xa8", std::string(1, '\0'), "10", "apps"))),
        [](const std::vector<std::string> &parts) {
            std::string bytes;
            for (const std::string &part : parts)
                bytes += part;
            return bytes;
        });
}

rc::Gen<std::string> anyBlanks()
{
    return rc::gen::element<std::string>("", " ", "\t\t", "\n", "\r\n\t", "\v", "\f", " \t\n");
}

/// Options that can be written anywhere, as UTF-8.
rc::Gen<std::string> harmlessOptions()
{
    return rc::gen::map(
        rc::gen::resize(20,
                        rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
                            "%command%", " ", "A='1 2'", "\xc3\xa4", "\xef\xbb\xbf", "\n",
                            "\xf0\x9f\x8e\xae", std::string(1, '\0'), "\xe2\x80\xa8"))),
        [](const std::vector<std::string> &parts) {
            std::string options;
            for (const std::string &part : parts)
                options += part;
            return options;
        });
}

bool edit(const ScratchFile &file, const std::string &options)
{
    // Decoding takes U+FEFF at the start for a mark and drops it, so something stands before.
    const QString text = QString::fromUtf8("x" + QByteArray::fromStdString(options)).mid(1);
    return steam::setLaunchOptions(file.path(), u"10"_s, text, false, nullptr);
}

QString readBack(const ScratchFile &file)
{
    return steam::readLaunchOptions(file.read(), u"10"_s);
}

} // namespace

void TestLaunchOptionsEditorProperties::editIsTheModels()
{
    const ScratchFile file("");
    std::map<std::string, int> outcomes;
    int lines = 0;
    QVERIFY(rc::check("result, message and bytes equal the model's", [&] {
        const std::string before = *rc::gen::map(support::anyText(), support::toFileBytes);
        const Text appid = *support::anyAppid();
        const Text options = *support::anyOptions();
        const std::string id(appid.begin(), appid.end());
        RC_LOG() << support::escaped(options);
        const model::Edit expected = model::setLaunchOptions(before, id, options);

        file.write(QByteArray::fromStdString(before));
        QString error;
        const bool done = steam::setLaunchOptions(file.path(), QString::fromStdU16String(appid),
                                                  QStringView(options).toString(), false, &error);
        ++outcomes[expected.message.substr(0, expected.message.find(" for "))];
        lines += expected.done && expected.bytes != before ? 1 : 0;
        RC_ASSERT(done == expected.done);
        RC_ASSERT(error.toStdString() == expected.message);
        RC_ASSERT(file.read().toStdString() == expected.bytes);
        RC_ASSERT(file.listing() == QStringList{u"localconfig.vdf"_s});
    }));
    // Every outcome came up, and real edits often.
    QCOMPARE(outcomes.size(), std::size_t(6));
    int all = 0;
    for (const auto &[message, times] : outcomes)
        all += times;
    QVERIFY(lines * 10 > all);
}

void TestLaunchOptionsEditorProperties::aListIsEditedLikeOneChangeAfterTheOther()
{
    int several = 0;
    int newBlocks = 0;
    int refused = 0;
    QVERIFY(rc::check("bytes and outcomes equal those of the model's edits one by one", [&] {
        const std::string before = *rc::gen::map(
            rc::gen::weightedOneOf<Text>({{2, support::anyText()}, {3, support::appsBlock()}}),
            support::toFileBytes);
        const auto appids = *rc::gen::resize(
            5, rc::gen::container<std::vector<Text>>(rc::gen::weightedOneOf<Text>(
                   {{3, support::anyAppid()}, {1, rc::gen::element<Text>(u"20", u"21", u"22")}})));
        QList<steam::LaunchOptionsChange> changes;
        std::vector<model::Edit> expected;
        std::string bytes = before;
        for (const Text &appid : appids) {
            const Text options = *rc::gen::weightedOneOf<Text>(
                {{3, rc::gen::element<Text>(u"%command%", u"570", u"", u"ä")},
                 {1, support::anyOptions()}});
            changes.append({QString::fromStdU16String(appid), QStringView(options).toString()});
            const std::string id(appid.begin(), appid.end());
            newBlocks += model::findAppBlock(bytes, model::findAppsSection(bytes), id).open < 0;
            expected.push_back(model::setLaunchOptions(bytes, id, options));
            bytes = expected.back().bytes;
            refused += expected.back().done ? 0 : 1;
        }
        several += appids.size() > 1 && bytes != before ? 1 : 0;

        const steam::EditedText edited =
            steam::editLaunchOptions(QByteArray::fromStdString(before), changes);
        RC_ASSERT(edited.bytes.toStdString() == bytes);
        RC_ASSERT(edited.outcomes.size() == changes.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const steam::EditOutcome &outcome = edited.outcomes[static_cast<qsizetype>(i)];
            RC_ASSERT(outcome.message.toStdString() == expected[i].message);
            RC_ASSERT(outcome.isOldTextDoubtful == expected[i].isOldTextDoubtful);
        }
    }));
    QVERIFY(several > 50);
    QVERIFY(newBlocks > 50);
    QVERIFY(refused > 50);
}

void TestLaunchOptionsEditorProperties::onlyTheValueChanges()
{
    const ScratchFile file("");
    QVERIFY(rc::check(
        "all bytes outside the value are the old ones; twice changes nothing; it reads "
        "back",
        [&file] {
            const std::string before = *anyBytes() + "\"Steam\"" + *anyBlanks() + "{" +
                                       *anyBytes() + "\"apps\"" + *anyBlanks() + "{" + *anyBytes() +
                                       "\"100\" { \"LaunchOptions\" \"" + *anyBytes() + "\" }" +
                                       *anyBytes() + "\"10\"" + *anyBlanks() + "{" + *anyBytes() +
                                       "\"LastPlayed\" \"" + *anyBytes() + "\"" + *anyBytes() +
                                       "\"LaunchOptions\"" + *anyBlanks() + "\"";
            const std::string oldValue = *harmlessOptions();
            // No literal comes first: in front of a temporary, g++ 12 with -O3 warns of an overlap.
            const std::string behind = std::string("\"") + *anyBytes() + "}" + *anyBytes() +
                                       "\"1\" { \"LaunchOptions\" \"other\" } }" + *anyBytes() +
                                       "}" + *anyBytes();
            const std::string options = *harmlessOptions();

            file.write(QByteArray::fromStdString(before + oldValue + behind));
            RC_ASSERT(edit(file, options));
            RC_ASSERT(file.read().toStdString() == before + options + behind);
            RC_ASSERT(readBack(file).toUtf8().toStdString() == options);
            RC_ASSERT(edit(file, options));
            RC_ASSERT(file.read().toStdString() == before + options + behind);
        }));
}

void TestLaunchOptionsEditorProperties::onlyALineOrABlockIsAdded()
{
    const ScratchFile file("");
    QVERIFY(rc::check("a line is added to a block without a value", [&file] {
        const std::string before =
            *anyBytes() + "\"apps\" {" + *anyBytes() + "\"10\"" + *anyBlanks() + "{\n";
        const std::string indent = *anyBlanks();
        const std::string behind =
            indent + "\"LastPlayed\" \"" + *anyBytes() + "\"" + *anyBytes() + "} }" + *anyBytes();
        const std::string options = *harmlessOptions();
        const std::string after =
            before + indent + "\"LaunchOptions\"\t\t\"" + options + "\"\n" + behind;

        file.write(QByteArray::fromStdString(before + behind));
        RC_ASSERT(edit(file, options));
        RC_ASSERT(file.read().toStdString() == after);
        RC_ASSERT(readBack(file).toUtf8().toStdString() == options);
        RC_ASSERT(edit(file, options));
        RC_ASSERT(file.read().toStdString() == after);
    }));
    QVERIFY(rc::check("a block is added to a section without the app", [&file] {
        const std::string before = *anyBytes() + "\"apps\"" + *anyBlanks() + "{";
        const std::string tabs = *rc::gen::element<std::string>("\t", "\t\t\t", "\t\t\t\t\t");
        const std::string behind = "\n" + tabs + "\"100\"" + *anyBlanks() + "{" + *anyBytes() +
                                   "}" + *anyBytes() + "}" + *anyBytes();
        const std::string options = *harmlessOptions();
        const std::string after = before + "\n" + tabs + "\"10\"\n" + tabs + "{\n" + tabs +
                                  "\t\"LaunchOptions\"\t\t\"" + options + "\"\n" + tabs + "}" +
                                  behind;

        file.write(QByteArray::fromStdString(before + behind));
        RC_ASSERT(edit(file, options));
        RC_ASSERT(file.read().toStdString() == after);
        RC_ASSERT(readBack(file).toUtf8().toStdString() == options);
        RC_ASSERT(edit(file, options));
        RC_ASSERT(file.read().toStdString() == after);
    }));
}

QTEST_GUILESS_MAIN(TestLaunchOptionsEditorProperties)
#include "test_launchoptionseditor_properties.moc"
