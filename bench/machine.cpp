// SPDX-License-Identifier: MIT
// Builds a machine to measure on: bench_machine FOLDER GAMES FRIENDS. All games are set up to run
// under the program already, with pictures; the same arguments give the same machine.
#include "hw/gpuenumeration.h"
#include "launch/launchoptions.h"
#include "support/pretendmachine.h"
#include "support/samplesteam.h"

#include <QDir>
#include <QFile>

#include <random>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    if (argc != 4)
        qFatal("usage: bench_machine FOLDER GAMES FRIENDS");
    const int games = QByteArray(argv[2]).toInt();
    support::PretendMachine machine(QDir(QFile::decodeName(argv[1])).absolutePath());
    machine.installSteam();
    const support::PretendGpu display{.card = u"card0"_s,
                                      .address = u"0000:0e:00.0"_s,
                                      .device = u"0x164e"_s,
                                      .connectors = {{u"DP-1"_s, u"connected"_s}}};
    machine.addGpu(display);
    machine.addGpu({.card = u"card1"_s, .address = u"0000:03:00.0"_s});
    // The database of the machine that is measured on, since its size matters.
    machine.writePciIds(machine.read(u"/usr/share/misc/pci.ids"_s));
    const QList<hw::GpuInfo> gpus = hw::enumerateGpus(machine.drm());

    // A 1 x 1 PNG, which is enough of a picture: only the ones in view are decoded.
    const QByteArray picture = QByteArray::fromBase64(
        "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGA"
        "WjR9awAAAABJRU5ErkJggg==");
    std::mt19937 random(20261121);
    QList<support::SampleApp> apps;
    for (int i = 0; i < games; ++i) {
        const QString appid = QString::number(10'000 + i * 1'370 + int(random() % 1'000));
        machine.addGame(appid, u"Game %1 of the Shelf"_s.arg(random() % 100'000));
        machine.write(machine.steamRoot() + "/appcache/librarycache/"_L1 + appid + "_icon.jpg"_L1,
                      picture);
        launch::GameSettings settings;
        settings.caphz = 30 + int(random() % 200);
        apps.append({appid, launch::composeLaunchOptions(settings, gpus[0], gpus[1], {}, {}, 0)});
    }
    machine.writeLocalConfig(support::sampleLocalConfig(apps, QByteArray(argv[3]).toInt()));
    return 0;
}
