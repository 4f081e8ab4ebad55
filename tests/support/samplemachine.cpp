// SPDX-License-Identifier: MIT
// Builds the sample machine in the folder that is the first argument: two libraries, games with
// pictures, one account with launch options of its own, two GPUs, and a Steam client that runs
// whenever something is run on the machine.
#include "support/pretendmachine.h"
#include "support/samplesteam.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>

#include <optional>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

struct SampleGame {
    QString appid;
    QString name;
    QString picture; ///< in Steam's cache, behind the app id; empty without one
    bool inSecondLibrary;
    bool hasBlock;
    std::optional<QString> launchOptions{};
};

const QString icon = u"_icon.jpg"_s;
const QString hashed = "/"_L1 + u"100101"_s.repeated(7).left(40) + ".png"_L1;
const QString header = u"/header.jpg"_s;

const QList<SampleGame> &sampleGames()
{
    static const QList<SampleGame> games{
        {u"1001010"_s, u"Amber Tides"_s, icon, false, true, u"mangohud %command%"_s},
        {u"1001020"_s, u"Basalt & Brine"_s, hashed, false, true, u""_s},
        {u"1001030"_s, u"Cinder Rally 4"_s, header, true, true, u"-novid -high"_s},
        {u"1001040"_s, u"Drift Between Stars"_s, icon, false, true},
        {u"1001050"_s, u"Échos du Nord"_s, hashed, false, true},
        {u"1001060"_s, u"Fathom"_s, icon, true, true},
        {u"1001070"_s, u"Gears of the Old City"_s, header, false, true},
        {u"1001080"_s, u"Hollow Orchard"_s, {}, false, false},
        {u"1001090"_s, u"Iron Lantern"_s, icon, false, true, u"DXVK_ASYNC=1 %command%"_s},
        {u"1001100"_s, u"Juniper Station"_s, hashed, true, true},
        {u"1001110"_s, u"Kestrel"_s, icon, false, true},
        {u"1001120"_s, u"Lowlands: Harvest"_s, hashed, true, true},
        {u"1001130"_s, u"Marrow of the Mountain"_s, icon, false, true},
        {u"1001140"_s, u"Ночной Трамвай"_s, icon, false, true},
    };
    return games;
}

/// A picture as Steam's cache has them: icons are small squares, headers wide.
void paint(const QString &path, int hue)
{
    const QSize size = path.endsWith(header)   ? QSize(460, 215)
                       : path.endsWith(hashed) ? QSize(64, 64)
                                               : QSize(32, 32);
    QDir().mkpath(QFileInfo(path).path());
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, QColor::fromHsv(hue, 200, 230));
    gradient.setColorAt(1, QColor::fromHsv((hue + 60) % 360, 220, 90));
    painter.fillRect(image.rect(), gradient);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 150));
    const int side = size.height();
    painter.drawEllipse(QRect(side / 4, side / 4, side / 2, side / 2));
    painter.end();
    if (!image.save(path)) // in the format that the name says
        qFatal("cannot write %s", qPrintable(path));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        qFatal("usage: sample-machine FOLDER");
    PretendMachine machine(QDir(QString::fromLocal8Bit(argv[1])).absolutePath());
    machine.installSteam();
    const QString second = machine.addLibrary(u"games-drive"_s);
    const QString cache = machine.steamRoot() + "/appcache/librarycache/"_L1;
    QList<support::SampleApp> apps;
    int hue = 10;
    for (const SampleGame &game : sampleGames()) {
        machine.addGame(game.appid, game.name, game.inSecondLibrary ? second : QString());
        if (!game.picture.isEmpty())
            paint(cache + game.appid + game.picture, hue);
        hue = (hue + 47) % 360;
        if (game.hasBlock)
            apps.append({game.appid, game.launchOptions});
    }
    // One game in both libraries, and what Steam installs for itself.
    machine.addGame(u"1001110"_s, u"Kestrel"_s, second);
    machine.addGame(u"1493710"_s, u"Proton Experimental"_s);
    machine.addGame(u"1628350"_s, u"Steam Linux Runtime 3.0 (sniper)"_s);
    machine.addGame(u"228980"_s, u"Steamworks Common Redistributables"_s);
    machine.installLosslessScaling(second);
    machine.writeLocalConfig(support::sampleLocalConfig(apps));

    machine.addGpu(
        {.card = u"card0"_s,
         .address = u"0000:0e:00.0"_s,
         .vendor = u"0x1002"_s,
         .device = u"0x164e"_s,
         .bootVga = u"1"_s,
         .currentLinkWidth = u"8"_s,
         .maxLinkSpeed = u"8.0 GT/s PCIe"_s,
         .connectors = {{u"DP-1"_s, u"connected"_s}, {u"HDMI-A-1"_s, u"disconnected"_s}}});
    machine.addGpu({.card = u"card1"_s,
                    .address = u"0000:03:00.0"_s,
                    .vendor = u"0x10de"_s,
                    .device = u"0x2684"_s,
                    .currentLinkWidth = u"16"_s,
                    .maxLinkSpeed = u"16.0 GT/s PCIe"_s,
                    .connectors = {{u"DP-2"_s, u"disconnected"_s}}});
    machine.writePciIds("1002  Advanced Micro Devices, Inc. [AMD/ATI]\n"
                        "\t164e  Raphael\n"
                        "10de  NVIDIA Corporation\n"
                        "\t2684  AD102 [GeForce RTX 4090]\n");
    machine.addSteamCommand();
    machine.write(u"steam-runs"_s, {});
    return 0;
}
