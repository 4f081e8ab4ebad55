// SPDX-License-Identifier: MIT
// Generated files: the program must find what the model finds.
#include "steam/keyvalues.h"

#include "model/steammodel.h"
#include "support/keyvaluestexts.h"
#include "support/properties.h"

#include <QTest>

using steam::BraceSpan;
using support::Text;

namespace
{

/// How many cases of a property had what it is about. Without any it would prove nothing.
struct Seen {
    int found = 0;
    int missing = 0;
    int longTexts = 0;
    int wideTexts = 0;

    void note(bool isFound, const std::string &text)
    {
        ++(isFound ? found : missing);
        longTexts += text.size() > 600 ? 1 : 0;
        wideTexts += text.find_first_of("\xc3\xe2\xf0\xff") == std::string::npos ? 0 : 1;
    }
    bool enough() const
    {
        const int all = found + missing;
        return found * 20 > all && missing * 20 > all && longTexts * 10 > all &&
               wideTexts * 20 > all;
    }
};

/// A position for the model: its `nowhere` is -1 here.
std::size_t place(qsizetype position)
{
    return static_cast<std::size_t>(position);
}

model::Block asBlock(BraceSpan span)
{
    return {place(span.open), place(span.close)};
}

/// Bytes above 0x7f that toFileBytes() writes as they are.
Text raw(const std::string &bytes)
{
    Text text;
    for (const char byte : bytes)
        text += static_cast<char16_t>(0xdc00 | static_cast<unsigned char>(byte));
    return text;
}

/// The bytes of any text, or of a few sections in a row, of nearly as many letters and bytes. Some
/// letters have the first or the last number of their length in UTF-8, or one beyond.
rc::Gen<std::string> anyFile()
{
    const rc::Gen<Text> letters = support::joined(
        rc::gen::element<Text>(u"a", u"\u00e4", u"\u20ac", u"{}", raw("\x80"), u"\u0800",
                               raw("\xe0\x80\x80"), u"\ud7ff", raw("\xf0\x90\x80\x80"),
                               raw("\xf0\x80\x80\x80"), raw("\xf4\x8f\xbf\xbf"),
                               raw("\xf4\x90\x80\x80"), raw("\xff\xbf")),
        6);
    const rc::Gen<Text> section =
        rc::gen::map(rc::gen::tuple(letters, support::appBlock(), letters),
                     [](const std::tuple<Text, Text, Text> &parts) {
                         const auto &[before, block, after] = parts;
                         return u"\"apps\"{" + before + block + after + u'}';
                     });
    return rc::gen::map(
        rc::gen::weightedOneOf<Text>({{3, support::anyText()}, {1, support::joined(section, 4)}}),
        support::toFileBytes);
}

std::string anyId()
{
    const Text appid = *support::anyAppid();
    return {appid.begin(), appid.end()};
}

} // namespace

class TestKeyValuesProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { support::preparePropertyCases(); }
    void theModelFindsTheSameClosingBrace()
    {
        Seen seen;
        QVERIFY(rc::check("matchingBrace equals the model from any start", [&seen] {
            const std::string text = *anyFile();
            const auto start =
                *rc::gen::inRange<qsizetype>(0, static_cast<qsizetype>(text.size()) + 3);
            const std::size_t expected = model::matchingBrace(text, place(start));
            seen.note(expected != model::nowhere, text);
            RC_ASSERT(place(steam::matchingBrace(text, start)) == expected);
        }));
        QVERIFY(seen.enough());
    }

    void theModelFindsTheSameSection()
    {
        Seen seen;
        QVERIFY(rc::check("findAppsSection equals the model", [&seen] {
            const std::string text = *anyFile();
            const model::Block expected = model::findAppsSection(text);
            seen.note(expected.open != model::nowhere, text);
            RC_ASSERT(asBlock(steam::findAppsSection(text)) == expected);
        }));
        QVERIFY(seen.enough());
    }

    void theModelFindsTheSameBlockBetweenAnyPositions()
    {
        // Within a real section every block ends. Between any two positions not every block does.
        Seen seen;
        QVERIFY(rc::check(
            "findAppBlock equals the model in the section and between any positions", [&] {
                const std::string text = *rc::gen::nonEmpty(anyFile());
                const std::string appid = anyId();
                const auto open = *rc::gen::inRange<std::size_t>(0, text.size());
                const auto close = *rc::gen::inRange(open, text.size());
                for (const model::Block apps :
                     {model::Block{open, close}, model::findAppsSection(text)}) {
                    const model::Block expected = model::findAppBlock(text, apps, appid);
                    seen.note(expected.open != model::nowhere, text);
                    const BraceSpan span{static_cast<qsizetype>(apps.open),
                                         static_cast<qsizetype>(apps.close)};
                    const BraceSpan found =
                        steam::findAppBlock(text, span, QString::fromStdString(appid));
                    RC_ASSERT(asBlock(found) == expected);
                }
            }));
        QVERIFY(seen.enough());
    }

    void theModelReadsTheSameLaunchOptions()
    {
        Seen seen;
        QVERIFY(rc::check("readLaunchOptions equals the model", [&seen] {
            const std::string text = *anyFile();
            const std::string appid = anyId();
            const Text expected = model::readLaunchOptions(text, appid);
            seen.note(!expected.empty(), text);
            const QString options = steam::readLaunchOptions(text, QString::fromStdString(appid));
            RC_ASSERT(options.toStdU16String() == expected);
        }));
        QVERIFY(seen.enough());
    }
};

QTEST_GUILESS_MAIN(TestKeyValuesProperties)
#include "test_keyvalues_properties.moc"
