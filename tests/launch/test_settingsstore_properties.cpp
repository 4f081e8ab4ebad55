// SPDX-License-Identifier: MIT
#include "launch/settingsstore.h"
#include "support/properties.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <rapidcheck.h>

using namespace Qt::StringLiterals;

namespace
{

/// Any character, those with a meaning to the file format more often. No half of a surrogate pair.
rc::Gen<char32_t> characters()
{
    return rc::gen::weightedOneOf<char32_t>(
        {{6, rc::gen::elementOf(std::u32string(U"\\\"'@%,;=#[]{}() \t\n\r0aB\u00e4\u2028"))},
         {3, rc::gen::inRange<char32_t>(0, 0x80)},
         {2, rc::gen::inRange<char32_t>(0x80, 0xd800)},
         {1, rc::gen::inRange<char32_t>(0xe000, 0x110000)},
         {1, rc::gen::elementOf(std::u32string(U"\ufeff\ufffe\uffff\ufffd"))}});
}

} // namespace

class TestSettingsStoreProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { support::preparePropertyCases(); }
    void allOptionsWithoutAByteOrderMarkComeBack()
    {
        const QTemporaryDir folder;
        int cases = 0;
        int refused = 0;
        QVERIFY(rc::check("all text without a byte-order mark comes back from the store", [&] {
            const auto text = *rc::gen::nonEmpty(rc::gen::container<std::u32string>(characters()));
            QString options; // QString::fromUcs4() would drop a U+FFFE at the start
            for (const char32_t character : text)
                options += QChar::fromUcs4(character);
            const QString path = folder.filePath(u"%1.conf"_s.arg(++cases));
            QSettings store(path, QSettings::NativeFormat);
            launch::StoreEdit edit(store);
            if (!edit.canKeep(u"9"_s, options)) {
                ++refused;
                RC_ASSERT(options.contains(u'\ufeff'));
                return;
            }
            RC_ASSERT(edit.save({}, {{u"9"_s, options}}));
            const QString copy = folder.filePath(u"%1 as another run reads it"_s.arg(cases));
            RC_ASSERT(QFile::copy(path, copy));
            const QSettings read(copy, QSettings::NativeFormat);
            RC_ASSERT(launch::originalLaunchOptions(read, u"9"_s) == options);
        }));
        QVERIFY(refused > cases / 100);
    }
};

QTEST_GUILESS_MAIN(TestSettingsStoreProperties)
#include "test_settingsstore_properties.moc"
