// SPDX-License-Identifier: MIT
// Edits of generated texts. The model, or a text that is put together around the place of the
// change, tells what must come of them.
#include "steam/launchoptionseditor.h"

#include "model/steammodel.h"
#include "steam/keyvalues.h"
#include "support/keyvaluestexts.h"
#include "support/properties.h"
#include "support/samplesteam.h"

#include <QTest>

#include <map>

using namespace Qt::StringLiterals;
using support::Text;

namespace
{

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
        changes.push_back({{id.begin(), id.end()}, options});
    }
    return changes;
}

/// Requires that the program edits the text as the model does. Returns what the model made of it.
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
        steam::editLaunchOptions(steam::AppsSection(QByteArray::fromStdString(before)), list);
    std::map<std::string, std::string> told;
    for (const QString &appid : edited.refusals.keys())
        told[appid.toStdString()] = edited.refusals[appid].toStdString();
    RC_ASSERT(told == messages);
    RC_ASSERT(edited.bytes.toStdString() == expected.text);
    return expected;
}

/// The changes made one after the other, each on the text that the one before left.
model::Edited editOneByOne(const std::string &before, const std::vector<model::Change> &changes)
{
    model::Edited edited{before, {}};
    for (const model::Change &change : changes) {
        model::Edited next = model::edit(edited.text, {change});
        edited.text = next.text;
        edited.refusals.merge(next.refusals);
    }
    return edited;
}

/// Every byte that means nothing to the format.
std::string allOtherBytes()
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        if (!QByteArrayView("{}\"\\").contains(static_cast<char>(byte)))
            bytes += static_cast<char>(byte);
    }
    return bytes;
}

/// A run of harmless bytes, not always UTF-8: no quote, brace or backslash.
rc::Gen<std::string> anyBytes()
{
    return support::joined<std::string>(
        rc::gen::element<std::string>("a", " ", "\n", "\t", "\r\n", "\xff", "\xc3", "\xef\xbb\xbf",
                                      "\xe2\x80\xa8", allOtherBytes(), "10", "apps"),
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

/// Requires, twice, that the app 10 gets the options, that they read back, and that every other
/// byte stays.
void requireTheEdit(const std::string &before, const std::string &options, const std::string &after)
{
    // Decoded with a letter before it: at the start of a text, Qt drops U+FEFF.
    const QString text = QString::fromUtf8("x" + QByteArray::fromStdString(options)).mid(1);
    QByteArray bytes = QByteArray::fromStdString(before);
    for (int time = 0; time < 2; ++time) {
        const steam::EditedText edited =
            steam::editLaunchOptions(steam::AppsSection(bytes), {{u"10"_s, text}});
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

    void oddTextsAreEditedAsTheModelEditsThem()
    {
        std::map<std::string, int> reasons;
        int changed = 0;
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
                ++reasons[refusal.reason];
            changed += expected.text == before ? 0 : 1;
        }));
        for (const auto &[reason, count] : reasons)
            qInfo("refused %d times: %s", count, reason.c_str());
        QCOMPARE(reasons.size(), std::size_t(12)); // all that the model knows
        QVERIFY(changed > 100);
    }

    void severalChangesAtOnceMakeWhatTheyMakeOneByOne()
    {
        QVERIFY(rc::check("real texts: bytes and messages equal the model's one by one", [] {
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
            RC_ASSERT(requireTheModels(before, changes) == editOneByOne(before, changes));
        }));
    }

    void everyGameOfALargeLibraryIsEdited()
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
        const steam::EditedText edited = steam::editLaunchOptions(
            steam::AppsSection(support::sampleLocalConfig(before)), changes);
        QVERIFY(edited.bytes == support::sampleLocalConfig(after));
        QCOMPARE(edited.refusals.size(), refused.size());
        for (const QString &appid : refused)
            QCOMPARE(edited.refusals[appid], "post-edit verification failed for "_L1 + appid);
    }

    void everyByteOutsideTheValueStays()
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

    void everyByteStaysWhereALineOrABlockIsAdded()
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
