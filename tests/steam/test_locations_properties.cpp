// SPDX-License-Identifier: MIT
// Which localconfig.vdf is edited, against the same rule told a second time.
#include "steam/locations.h"

#include "model/steammodel.h"
#include "support/pretendmachine.h"
#include "support/properties.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

#include <rapidcheck.h>

using namespace Qt::StringLiterals;

class TestLocationsProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { support::preparePropertyCases(); }
    void theFileIsTheModels()
    {
        support::PretendMachine machine;
        machine.installSteam();
        const QString userdata = machine.steamRoot() + "/userdata"_L1;
        QVERIFY(rc::check("the file that is edited is the one the model chooses", [&] {
            QDir(userdata).removeRecursively();
            std::vector<model::AccountFile> listed;
            // Folders are listed by name. Few times, so that some files are of one.
            for (const QString &account : {u"100"_s, u"200"_s, u"300"_s, u"70001"_s}) {
                const QString path = userdata + u'/' + account + "/config/localconfig.vdf"_L1;
                const int milliseconds = *rc::gen::element(-1, -1, 0, 1, 1000, 90'000'000);
                if (milliseconds < 0)
                    continue;
                machine.write(path, "x");
                QFile file(path);
                RC_ASSERT(file.open(QIODevice::ReadWrite));
                RC_ASSERT(file.setFileTime(
                    QDateTime::fromMSecsSinceEpoch(1'700'000'000'000 + milliseconds),
                    QFileDevice::FileModificationTime));
                listed.push_back({path.toStdString(), milliseconds});
            }
            RC_ASSERT(steam::localConfigPath().toStdString() == model::chooseLocalConfig(listed));
        }));
    }
};

QTEST_GUILESS_MAIN(TestLocationsProperties)
#include "test_locations_properties.moc"
