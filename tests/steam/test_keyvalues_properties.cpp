// SPDX-License-Identifier: MIT
// The locators and the reader against the same rules told a second time.
#include "steam/keyvalues.h"

#include "model/steammodel.h"
#include "support/keyvaluestexts.h"
#include "support/properties.h"

#include <QTest>

using steam::BraceSpan;
using support::Text;

class TestKeyValuesProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { support::preparePropertyCases(); }
    void matchingBraceIsTheModels();
    void appsSectionIsTheModels();
    void appBlockIsTheModels();
    void appBlockInAnySpanIsTheModels();
    void launchOptionsAreTheModels();
    void launchOptionsInBytesAreTheModels();
};

namespace
{

// How often a property saw what it is about; a generator that never makes it proves nothing.
struct Seen {
    int found = 0;
    int missing = 0;
    int longTexts = 0;

    void note(bool isFound, const Text &text)
    {
        ++(isFound ? found : missing);
        longTexts += text.size() > 600 ? 1 : 0;
    }
    bool enough() const
    {
        const int all = found + missing;
        return found * 20 > all && missing * 20 > all && longTexts * 10 > all;
    }
};

model::Block asBlock(BraceSpan span)
{
    return {span.open, span.close};
}

/// Any text, or a few sections, one after the other, whose sizes are close in letters and in bytes.
rc::Gen<Text> anySections()
{
    const rc::Gen<Text> letters = support::joined(
        rc::gen::element<Text>(u"a", u"\u00e4", u"\u20ac", u"{}", Text(1, 0xdc80)), 6);
    const rc::Gen<Text> section =
        rc::gen::map(rc::gen::tuple(letters, support::appBlock(), letters),
                     [](const std::tuple<Text, Text, Text> &parts) {
                         const auto &[before, block, behind] = parts;
                         return u"\"apps\"{" + before + block + behind + u'}';
                     });
    return rc::gen::oneOf(support::anyText(), support::joined(section, 4));
}

BraceSpan asSpan(model::Block block)
{
    return {static_cast<qsizetype>(block.open), static_cast<qsizetype>(block.close)};
}

} // namespace

void TestKeyValuesProperties::matchingBraceIsTheModels()
{
    Seen seen;
    QVERIFY(rc::check("matchingBrace equals the model from any start", [&seen] {
        const Text text = *support::anyText();
        const auto start = *rc::gen::inRange<qsizetype>(0, static_cast<qsizetype>(text.size()) + 3);
        const std::int64_t expected = model::matchingBrace(text, start);
        RC_LOG() << support::escaped(text);
        seen.note(expected >= 0, text);
        RC_ASSERT(steam::matchingBrace(text, start) == expected);
    }));
    QVERIFY(seen.enough());
}

void TestKeyValuesProperties::appsSectionIsTheModels()
{
    Seen seen;
    QVERIFY(rc::check("findAppsSection equals the model", [&seen] {
        const Text text = *support::anyText();
        const model::Block expected = model::findAppsSection(text);
        RC_LOG() << support::escaped(text);
        seen.note(expected.open >= 0, text);
        RC_ASSERT(asBlock(steam::findAppsSection(text)) == expected);
    }));
    QVERIFY(seen.enough());
}

void TestKeyValuesProperties::appBlockIsTheModels()
{
    Seen seen;
    QVERIFY(rc::check("findAppBlock equals the model in the section that the model finds", [&seen] {
        const Text text = *support::anyText();
        const Text appid = *support::anyAppid();
        const model::Block apps = model::findAppsSection(text);
        const model::Block expected = model::findAppBlock(text, apps, appid);
        RC_LOG() << support::escaped(text);
        seen.note(expected.open >= 0, text);
        RC_ASSERT(asBlock(steam::findAppBlock(text, asSpan(apps), appid)) == expected);
    }));
    QVERIFY(seen.enough());
}

void TestKeyValuesProperties::appBlockInAnySpanIsTheModels()
{
    // In a section whose braces match, every block that opens also closes; so this takes any span.
    Seen seen;
    QVERIFY(rc::check("findAppBlock equals the model between any two positions", [&seen] {
        const Text text = *rc::gen::nonEmpty(support::anyText());
        const Text appid = *support::anyAppid();
        const auto size = static_cast<std::int64_t>(text.size());
        const auto open = *rc::gen::inRange<std::int64_t>(0, size);
        const auto close = *rc::gen::inRange<std::int64_t>(open, size);
        const model::Block expected = model::findAppBlock(text, {open, close}, appid);
        RC_LOG() << support::escaped(text);
        seen.note(expected.open >= 0, text);
        RC_ASSERT(asBlock(steam::findAppBlock(text, asSpan({open, close}), appid)) == expected);
    }));
    QVERIFY(seen.enough());
}

void TestKeyValuesProperties::launchOptionsAreTheModels()
{
    Seen seen;
    QVERIFY(rc::check("readLaunchOptions equals the model", [&seen] {
        const Text text = *support::anyText();
        const Text appid = *support::anyAppid();
        const Text expected = model::readLaunchOptions(text, appid);
        RC_LOG() << support::escaped(text);
        seen.note(!expected.empty(), text);
        RC_ASSERT(steam::readLaunchOptions(text, appid).toStdU16String() == expected);
    }));
    QVERIFY(seen.enough());
}

void TestKeyValuesProperties::launchOptionsInBytesAreTheModels()
{
    Seen seen;
    int compared = 0;
    QVERIFY(
        rc::check("the section cut out of a file gives what the model does with all of it", [&] {
            const std::string file = *rc::gen::map(anySections(), support::toFileBytes);
            const Text appid = *support::anyAppid();
            const Text text = QString::fromStdString(file).toStdU16String();
            const Text expected = model::readLaunchOptions(text, appid);
            RC_LOG() << support::escaped(text);
            seen.note(!expected.empty(), text);
            compared += text.size() < file.size() && model::findAppsSection(text).open >= 0 ? 1 : 0;
            const steam::AppsSection section = steam::cutAppsSection(file);
            RC_ASSERT(steam::readLaunchOptions(section, appid).toStdU16String() == expected);
        }));
    QVERIFY(seen.enough());
    QVERIFY(compared > 0);
}

QTEST_GUILESS_MAIN(TestKeyValuesProperties)
#include "test_keyvalues_properties.moc"
