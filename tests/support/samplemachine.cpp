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
    enum Picture { None, Icon, Hashed, Header } picture;
    bool inSecondLibrary;
    bool hasBlock;
    std::optional<QString> launchOptions;
};

const QList<SampleGame> &sampleGames()
{
    using P = SampleGame::Picture;
    static const QList<SampleGame> games{
        {u"1001010"_s, u"Amber Tides"_s, P::Icon, false, true, u"mangohud %command%"_s},
        {u"1001020"_s, u"Basalt & Brine"_s, P::Hashed, false, true, u""_s},
        {u"1001030"_s, u"Cinder Rally 4"_s, P::Header, true, true, u"-novid -high"_s},
        {u"1001040"_s, u"Drift Between Stars"_s, P::Icon, false, true, std::nullopt},
        {u"1001050"_s, u"Échos du Nord"_s, P::Hashed, false, true, std::nullopt},
        {u"1001060"_s, u"Fathom"_s, P::Icon, true, true, std::nullopt},
        {u"1001070"_s, u"Gears of the Old City"_s, P::Header, false, true, std::nullopt},
        {u"1001080"_s, u"Hollow Orchard"_s, P::None, false, false, std::nullopt},
        {u"1001090"_s, u"Iron Lantern"_s, P::Icon, false, true, u"DXVK_ASYNC=1 %command%"_s},
        {u"1001100"_s, u"Juniper Station"_s, P::Hashed, true, true, std::nullopt},
        {u"1001110"_s, u"Kestrel"_s, P::Icon, false, true, std::nullopt},
        {u"1001120"_s, u"Lowlands: Harvest"_s, P::Hashed, true, true, std::nullopt},
        {u"1001130"_s, u"Marrow of the Mountain"_s, P::Icon, false, true, std::nullopt},
        {u"1001140"_s, u"Ночной Трамвай"_s, P::Icon, false, true, std::nullopt},
    };
    return games;
}

/// A picture as Steam's cache has them: icons are small squares, headers wide.
void paint(const QString &path, QSize size, int hue, const char *format)
{
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
    if (!image.save(path, format))
        qFatal("cannot write %s", qPrintable(path));
}

void addPicture(const PretendMachine &machine, const SampleGame &game, int hue)
{
    const QString cache = machine.steamRoot() + "/appcache/librarycache/"_L1 + game.appid;
    switch (game.picture) {
    case SampleGame::None:
        break;
    case SampleGame::Icon:
        paint(cache + "_icon.jpg"_L1, {32, 32}, hue, "jpg");
        break;
    case SampleGame::Hashed:
        paint(cache + u'/' + game.appid.repeated(6).left(40) + ".png"_L1, {64, 64}, hue, "png");
        break;
    case SampleGame::Header:
        paint(cache + "/header.jpg"_L1, {460, 215}, hue, "jpg");
        break;
    }
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
    QList<support::SampleApp> apps;
    int hue = 10;
    for (const SampleGame &game : sampleGames()) {
        machine.addGame(game.appid, game.name, game.inSecondLibrary ? second : QString());
        addPicture(machine, game, hue);
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
