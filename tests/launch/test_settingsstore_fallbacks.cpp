// SPDX-License-Identifier: MIT
// A system or a user may have defaults for all programs of this name in further files, which
// QSettings reads along with the store's own.
#include "launch/settingsstore.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSettingsStoreFallbacks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Before QSettings looks for its folders, once a process.
        qputenv("HOME", QFile::encodeName(home.path()));
        qunsetenv("XDG_CONFIG_HOME");
        QVERIFY(QDir(home.path()).mkpath(u".config"_s));
        QFile defaults(home.filePath(u".config/Marrowpulse.conf"_s));
        QVERIFY(defaults.open(QIODevice::WriteOnly));
        defaults.write("[General]\nx=1\n\n[config]\n571\\caphz=40\n\n[original]\n572=-x\n");
    }

    void aFurtherFileDoesNotKeepTheStoreFromBeingSaved()
    {
        QSettings store(u"Marrowpulse"_s, u"Marrowpulse"_s);
        QCOMPARE(store.value(u"x"_s).toString(), u"1"_s);
        QCOMPARE(store.value(u"config/571/caphz"_s).toString(), u"40"_s);
        QVERIFY(launch::changeStore(store, [](QSettings &scratch) {
            launch::rememberOriginalLaunchOptions(scratch, u"570"_s, u"-novid"_s);
        }));
        QFile file(store.fileName());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "[original]\n570=-novid\n");
        QCOMPARE(store.value(u"x"_s).toString(), u"1"_s);
        QCOMPARE(store.value(u"config/571/caphz"_s).toString(), u"40"_s);
    }

private:
    QTemporaryDir home;
};

QTEST_GUILESS_MAIN(TestSettingsStoreFallbacks)
#include "test_settingsstore_fallbacks.moc"
