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
    QVERIFY(
        rc::check("the whole text and its section cut out both give what the model does", [&seen] {
            const Text text = *support::anyText();
            const Text appid = *support::anyAppid();
            const Text expected = model::readLaunchOptions(text, appid);
            RC_LOG() << support::escaped(text);
            seen.note(!expected.empty(), text);
            RC_ASSERT(steam::readLaunchOptions(text, appid).toStdU16String() == expected);
            const steam::AppsSection section = steam::cutAppsSection(text);
            RC_ASSERT(steam::readLaunchOptions(section, appid).toStdU16String() == expected);
        }));
    QVERIFY(seen.enough());
}

QTEST_GUILESS_MAIN(TestKeyValuesProperties)
#include "test_keyvalues_properties.moc"
