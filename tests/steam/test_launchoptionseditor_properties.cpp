// SPDX-License-Identifier: MIT
// Edits of made-up texts: against the rules told a second time, and against texts whose one place
// to change is known.
#include "steam/launchoptionseditor.h"

#include "model/steammodel.h"
#include "steam/keyvalues.h"
#include "support/keyvaluestexts.h"
#include "support/properties.h"
#include "support/samplesteam.h"

#include <QTest>

#include <map>
#include <set>

using namespace Qt::StringLiterals;
using support::Text;

namespace
{

using Counts = std::map<std::string, int>;

void report(const char *title, const Counts &counts)
{
    for (const auto &[kind, count] : counts)
        qInfo("%s: %d %s", title, count, kind.c_str());
}

std::string idOf(const Text &appid)
{
    return {appid.begin(), appid.end()};
}

/// Changes of different apps.
std::vector<model::Change> changesOf(const rc::Gen<Text> &appid, int most)
{
    std::vector<model::Change> changes;
    const auto appids = *rc::gen::resize(
        most, rc::gen::uniqueBy<std::vector<Text>>(appid, [](const Text &id) { return id; }));
    for (const Text &id : appids) {
        const Text options = *rc::gen::weightedOneOf<Text>(
            {{3, rc::gen::element<Text>(u"%command%", u"570", u"", u"ä")},
             {1, support::anyOptions()}});
        changes.push_back({idOf(id), options});
    }
    return changes;
}

/// Requires that the program edits the text as the model does, and returns what that tells.
model::Edited requireTheModels(const std::string &before, const std::vector<model::Change> &changes)
{
    const model::Edited expected = model::edit(before, changes);
    std::map<std::string, std::string> messages;
    for (const auto &[appid, refusal] : expected.refusals)
        messages[appid] = refusal.message;

    QList<steam::LaunchOptionsChange> list;
    for (const model::Change &change : changes) {
        RC_LOG() << change.appid << ": " << support::escaped(change.options) << '\n';
        list.append({QString::fromStdString(change.appid), QStringView(change.options).toString()});
    }
    const steam::EditedText edited =
        steam::editLaunchOptions(QByteArray::fromStdString(before), list);
    std::map<std::string, std::string> told;
    for (const QString &appid : edited.refusals.keys())
        told[appid.toStdString()] = edited.refusals[appid].toStdString();
    RC_ASSERT(told == messages);
    RC_ASSERT(edited.bytes.toStdString() == expected.text);
    return expected;
}

/// Which of the "apps" sections is edited, counted from 0.
std::ptrdiff_t editedSection(const std::string &text)
{
    std::ptrdiff_t number = 0;
    for (std::size_t i = text.find("\"apps\""); i < model::findAppsSection(text).open;
         i = text.find("\"apps\"", i + 1))
        ++number;
    return number;
}

std::string withoutTabs(std::string text)
{
    std::erase(text, '\t');
    return text;
}

/// Without a message for a change that was made.
model::Refusal refusalOf(const model::Change &change, const model::Edited &edited)
{
    const auto refusal = edited.refusals.find(change.appid);
    return refusal == edited.refusals.end() ? model::Refusal() : refusal->second;
}

/// Changes made one after the other, each on what the one before left.
struct OneByOne : model::Edited {
    bool isInOneSection = true; ///< the one that is edited first

    OneByOne(const std::string &before, const std::vector<model::Change> &changes)
    {
        text = before;
        for (const model::Change &change : changes) {
            model::Edited next = model::edit(text, {change});
            isInOneSection = isInOneSection && editedSection(text) == editedSection(before);
            text = next.text;
            refusals.merge(next.refusals);
        }
    }
};

/// Why a list comes to something else than its changes one by one. None when it comes to the same.
std::set<std::string> differences(const std::string &before,
                                  const std::vector<model::Change> &changes,
                                  const model::Edited &list)
{
    const OneByOne all(before, changes);
    if (all == list)
        return {};
    std::set<std::string> kinds;
    std::vector<model::Change> rest;
    for (const model::Change &change : changes) {
        const std::string reason = refusalOf(change, list).reason;
        const bool isRefusedForOthers = reason.starts_with("in or") || reason.starts_with("does");
        if (!isRefusedForOthers)
            rest.push_back(change);
        else if (refusalOf(change, all).message.empty())
            kinds.insert(reason);
    }
    const OneByOne others(before, rest);
    for (const model::Change &change : rest) {
        if (refusalOf(change, others).reason == "does not read back")
            kinds.insert("reads back when others are made, too");
        else if (others.isInOneSection && refusalOf(change, others) != refusalOf(change, list))
            kinds.insert("not explained: a refusal");
    }
    if (!all.isInOneSection || !others.isInOneSection)
        kinds.insert("another section became the largest");
    else if (others.text != list.text && withoutTabs(others.text) == withoutTabs(list.text))
        kinds.insert("new blocks are indented as the section shows it when read");
    else if (others.text != list.text && kinds.empty())
        kinds.insert("not explained: the bytes");
    if (kinds.empty())
        kinds.insert("not explained");
    return kinds;
}

/// A run of harmless bytes, not always UTF-8: no quote, brace or backslash.
rc::Gen<std::string> anyBytes()
{
    return support::joined<std::string>(
        rc::gen::element<std::string>("a", " ", "\n", "\t", "\r\n", "\xff", "\xc3", "\xef\xbb\xbf",
                                      "\xe2\x80\xa8", std::string(1, '\0'), "10", "apps"),
        20);
}

rc::Gen<std::string> anyBlanks()
{
    return rc::gen::element<std::string>("", " ", "\t\t", "\n", "\r\n\t", "\v", "\f", " \t\n");
}

/// Options that can be written anywhere, as UTF-8.
rc::Gen<std::string> harmlessOptions()
{
    return support::joined<std::string>(
        rc::gen::element<std::string>("%command%", " ", "A='1 2'", "\xc3\xa4", "\xef\xbb\xbf", "\n",
                                      "\xf0\x9f\x8e\xae", std::string(1, '\0'), "\xe2\x80\xa8"),
        20);
}

/// Requires that app 10 can be given the options, that nothing but that happens, and that they read
/// back; and the same once more.
void requireTheEdit(const std::string &before, const std::string &options, const std::string &after)
{
    // Decoding takes U+FEFF at the start for a mark and drops it, so something stands before.
    const QString text = QString::fromUtf8("x" + QByteArray::fromStdString(options)).mid(1);
    QByteArray bytes = QByteArray::fromStdString(before);
    for (int time = 0; time < 2; ++time) {
        const steam::EditedText edited = steam::editLaunchOptions(bytes, {{u"10"_s, text}});
        RC_ASSERT(edited.refusals.isEmpty());
        RC_ASSERT(edited.bytes.toStdString() == after);
        RC_ASSERT(steam::readLaunchOptions(edited.bytes, u"10"_s) == text);
        bytes = edited.bytes;
    }
}

} // namespace

class TestLaunchOptionsEditorProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { support::preparePropertyCases(); }

    void oddTextsAreEditedAsTheRulesSay()
    {
        Counts refusals;
        Counts different;
        QVERIFY(rc::check("odd texts: bytes and messages equal the model's", [&] {
            const std::string before = *rc::gen::map(
                rc::gen::weightedOneOf<Text>(
                    {{1, support::anyText()}, {4, support::joined(support::appsBlock(), 3)}}),
                support::toFileBytes);
            const std::vector<model::Change> changes = changesOf(
                rc::gen::weightedOneOf<Text>(
                    {{3, support::anyAppid()}, {1, rc::gen::element<Text>(u"20", u"21", u"22")}}),
                5);
            const model::Edited expected = requireTheModels(before, changes);
            for (const auto &[appid, refusal] : expected.refusals)
                ++refusals[refusal.reason];
            for (const std::string &kind : differences(before, changes, expected)) {
                ++different[kind];
                RC_ASSERT(!kind.starts_with("not explained"));
            }
            ++refusals[expected.text == before ? "(nothing changed)" : "(changed)"];
        }));
        report("refused", refusals);
        report("other than one by one", different);
        QCOMPARE(refusals.size(), std::size_t(14)); // each came up
        QVERIFY(refusals["(changed)"] > 100);
    }

    void realTextsAreEditedAsOneByOne()
    {
        Counts games;
        QVERIFY(rc::check("real texts: bytes and messages equal the model's one by one", [&] {
            // Seldom as many as the largest library that was ever looked at.
            const int count = *rc::gen::weightedElement<int>(
                {{100, 1}, {100, 2}, {100, 5}, {50, 20}, {5, 200}, {1, 1645}});
            const auto options = *rc::gen::container<std::vector<QString>>(
                std::size_t(count),
                rc::gen::element<QString>({}, u""_s, u"%command%"_s, u"-novid"_s,
                                          u"A=\\\"x y\\\" %command%"_s, u"Ä {x} %command%"_s));
            QList<support::SampleApp> apps;
            for (const QString &one : options)
                apps.append({QString::number(10 * (apps.size() + 1)),
                             one.isNull() ? std::nullopt : std::optional(one)});
            const std::string before = support::sampleLocalConfig(apps, 2).toStdString();
            const auto appid = rc::gen::map(rc::gen::inRange(1, count + 3), [](int number) {
                const std::string id = std::to_string(10 * number);
                return Text(id.begin(), id.end());
            });
            const std::vector<model::Change> changes = changesOf(appid, 5);
            const model::Edited expected = requireTheModels(before, changes);
            RC_ASSERT(expected.text == OneByOne(before, changes).text);
            RC_ASSERT(differences(before, changes, expected).empty());
            ++games[std::to_string(count) + (expected.text == before ? " unchanged" : " changed")];
        }));
        report("games", games);
    }

    void aLargeLibraryIsEditedAtOnce()
    {
        QList<support::SampleApp> before;
        QList<support::SampleApp> after;
        QList<steam::LaunchOptionsChange> changes;
        QStringList refused;
        for (int game = 1; game <= 1645; ++game) {
            const QString appid = QString::number(10 * game);
            const bool hasEscapes = game % 100 == 0;
            const QString options = hasEscapes ? u"NAME=\\\"a b\\\""_s : "-novid "_L1 + appid;
            changes.append({appid, "-new %command% "_L1 + appid});
            before.append({appid, options});
            after.append({appid, hasEscapes ? options : changes.last().launchOptions});
            if (hasEscapes)
                refused.append(appid);
        }
        const steam::EditedText edited =
            steam::editLaunchOptions(support::sampleLocalConfig(before), changes);
        QVERIFY(edited.bytes == support::sampleLocalConfig(after));
        QCOMPARE(edited.refusals.size(), refused.size());
        for (const QString &appid : refused)
            QCOMPARE(edited.refusals[appid], "post-edit verification failed for "_L1 + appid);
    }

    void onlyTheValueChanges()
    {
        QVERIFY(rc::check("all bytes outside the value are the old ones", [] {
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
            requireTheEdit(before + oldValue + behind, options, before + options + behind);
        }));
    }

    void onlyALineOrABlockIsAdded()
    {
        QVERIFY(rc::check("a line is added to a block without a value", [] {
            const std::string before =
                *anyBytes() + "\"apps\" {" + *anyBytes() + "\"10\"" + *anyBlanks() + "{\n";
            const std::string indent = *anyBlanks();
            const std::string behind = indent + "\"LastPlayed\" \"" + *anyBytes() + "\"" +
                                       *anyBytes() + "} }" + *anyBytes();
            const std::string options = *harmlessOptions();
            requireTheEdit(before + behind, options,
                           before + indent + "\"LaunchOptions\"\t\t\"" + options + "\"\n" + behind);
        }));
        QVERIFY(rc::check("a block is added to a section without the app", [] {
            const std::string before = *anyBytes() + "\"apps\"" + *anyBlanks() + "{";
            const std::string tabs = *rc::gen::element<std::string>("\t", "\t\t\t", "\t\t\t\t\t");
            const std::string behind = "\n" + tabs + "\"100\"" + *anyBlanks() + "{" + *anyBytes() +
                                       "}" + *anyBytes() + "}" + *anyBytes();
            const std::string options = *harmlessOptions();
            requireTheEdit(before + behind, options,
                           before + "\n" + tabs + "\"10\"\n" + tabs + "{\n" + tabs +
                               "\t\"LaunchOptions\"\t\t\"" + options + "\"\n" + tabs + "}" +
                               behind);
        }));
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditorProperties)
#include "test_launchoptionseditor_properties.moc"
