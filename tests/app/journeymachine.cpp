// SPDX-License-Identifier: MIT
#include "journey.h"

#include "support/samplesteam.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;

// The machine on which a journey takes place, and what changes there beside the window.

namespace
{

const std::vector<model::Installation> offered{
    {"100", "Alpha"},   {"1000", "Beta & Co"},   {"200", "Gamma"}, {"210", "Delta <b>x</b>"},
    {"300", "Epsilon"}, {"310", "Zeta"},         {"320", "Eta"},   {"400", "Iota", 0},
    {"400", "Iota", 1}, {"410", "Kappa \u2605"},
};

QString textOf(const std::string &text)
{
    return QString::fromStdString(text);
}

} // namespace

int Journey::pick(int count)
{
    return static_cast<int>(random() % static_cast<unsigned>(count));
}

void Journey::setUpGpus()
{
    gpuTexts = {
        u"Navi 21 [Radeon RX 6800] (1002:73bf), PCIe x16 @ 16.0 GT/s (~31.50 GB/s)  [same as compositing GPU]"_s,
        u"AD102 [GeForce RTX 4090] (10de:2684), PCIe x8 @ 8.0 GT/s (~7.88 GB/s)"_s,
        u"Navi 21 [Radeon RX 6800] (1002:73bf), PCIe x4 @ 16.0 GT/s (~7.88 GB/s)"_s};
    computer.gpus = {{"0000:03:00.0", "pci-0000_03_00_0", "1002:73bf"},
                     {"0000:01:00.0", "pci-0000_01_00_0", "10de:2684"},
                     {"0000:0a:00.0", "pci-0000_0a_00_0", "1002:73bf"}};
    const int count = oneIn(8) ? 0 : oneIn(6) ? 1 : 3;
    if (count == 0)
        QDir(machine.drm()).removeRecursively();
    if (count == 3) {
        machine.addSecondGpu();
        machine.addGpu(
            {.card = u"card2"_s, .address = u"0000:0a:00.0"_s, .currentLinkWidth = u"4"_s});
    }
    gpuTexts.resize(count);
    computer.gpus.resize(static_cast<std::size_t>(count));
    computer.defaultRenderGpu = count == 3 ? 1 : 0;
    note(u"A machine with %1 GPUs"_s.arg(count));
}

void Journey::setUpSteam()
{
    secondLibrary = machine.addLibrary(u"games"_s);
    machine.addSteamCommand();
    const bool anyGames = !oneIn(6);
    for (const model::Installation &game : offered) {
        if (anyGames && (game.appid == "400" || pick(3) > 0))
            install(game);
    }
    std::string blocks;
    std::string last;
    for (const model::Installation &game : offered) {
        if (game.appid != last)
            blocks += randomBlock(game.appid);
        last = game.appid;
    }
    std::string file = support::sampleLocalConfig({}, 2).toStdString();
    const std::string apps = "\"apps\"\n\t\t\t\t{\n";
    file.insert(file.find(apps) + apps.size(), blocks);
    computer.steamFile = file;
    writeSteamFile();
    note("Steam's file:\n"_L1 + textOf(blocks));
}

void Journey::writeSteamFile()
{
    machine.writeLocalConfig(QByteArray::fromStdString(*computer.steamFile));
}

/// Launch options that the program, or an earlier version of it, wrote.
std::string Journey::randomOwnOptions()
{
    if (oneIn(4))
        return "GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=2 gamescope -w 960 -h 540 -W "
               "2560 -H 1440 -F fsr -r 48 -f -- %command%";
    model::LaunchSettings settings;
    settings.upscaling = !oneIn(4);
    settings.renderW = pickFrom<int>({960, 1280, 1920});
    settings.renderH = pickFrom<int>({540, 720, 1080});
    settings.framegen = !oneIn(4);
    settings.fgbackend = pick(2);
    settings.holdback = pickFrom<int>({1, 2, 5});
    settings.framecap = !oneIn(4);
    settings.caphz = pickFrom<int>({5, 45, 50, 1000});
    settings.renderres = !oneIn(3);
    settings.pacing = pickFrom<int>({0, 14, 15, 22});
    settings.debugoverlay = oneIn(3);
    const model::LaunchGpu gpu{"0000:03:00.0", "pci-0000_03_00_0", "1002:73bf"};
    const model::LaunchGpu other{"0000:01:00.0", "pci-0000_01_00_0", "10de:2684"};
    const model::LaunchGpu &render = oneIn(2) ? gpu : other;
    const std::string prefix = oneIn(3) ? "/opt/gs" : "";
    return model::compose(settings, gpu, render, prefix, oneIn(2), 60);
}

std::string Journey::randomOptions()
{
    return oneIn(3) ? randomOwnOptions()
                    : pickFrom<std::string>({"gamemoderun %command% -novid",
                                             "LANG=ja_\u65e5\u672c <b>%command%</b> \U0001f3ae",
                                             "MARROWPULSE=1", "-windowed", ""});
}

/// A game's block in Steam's file, or nothing; every so often one that cannot be edited.
std::string Journey::randomBlock(const std::string &appid)
{
    const std::string open = "\t\t\t\t\t\"" + appid + "\"\n\t\t\t\t\t{\n";
    const std::string close = "\t\t\t\t\t}\n";
    const std::string entry = "\t\t\t\t\t\t\"LastPlayed\"\t\t\"1763700000\"\n";
    const auto value = [](const std::string &options) {
        return "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"" + options + "\"\n";
    };
    switch (pick(16)) {
    case 0: // no block
        return "";
    case 1: // no entry by which a new one could be aligned
        return open + close;
    case 2: { // line ends of another system, no value
        std::string block = open + entry + close;
        for (std::size_t at = 0; (at = block.find('\n', at)) != block.npos; at += 2)
            block.replace(at, 1, "\r\n");
        return block;
    }
    case 3: // an escaped quote
        return open + entry + value("NAME=\\\"a b\\\" %command%") + close;
    case 4: // braces, which a new value would take away
        return open + entry + value("%command% +set {x}") + close;
    case 5: // the value twice
        return open + "\t\t\t\t\t\t\"cloud\"\n\t\t\t\t\t\t{\n" + value("%command% -inner") +
               "\t\t\t\t\t\t}\n" + value("%command% -outer") + close;
    case 6:
    case 7: // no value
        return open + entry + close;
    default:
        return open + entry + value(randomOptions()) + close;
    }
}

void Journey::setUpStore()
{
    for (const model::Installation &game : offered) {
        const auto keep = [&](const char *field, const std::vector<std::string> &values) {
            if (!oneIn(8))
                computer.store["config/" + game.appid + "/" + field] = pickFrom(values);
        };
        if (oneIn(5))
            computer.store["original/" + game.appid] = oneIn(4) ? "" : "%command% -before";
        if (pick(3) > 0)
            continue;
        const std::vector<std::string> flags{"true", "false", "0", "1"};
        keep("upscaling", flags);
        keep("renderW", {"1600", "100", "wide"});
        keep("renderH", {"900", "720"});
        keep("outputW", {"2560", "3840"});
        keep("outputH", {"1440", "2160"});
        keep("framegen", flags);
        keep("fgbackend", {"0", "1"});
        keep("holdback", {"1", "2", "5"});
        if (oneIn(3))
            continue;
        keep("framecap", flags);
        keep("caphz", {"0", "-3", "5", "72", "1000"});
        keep("renderres", flags);
        keep("pacing", {"0", "14", "15", "22"});
        keep("debugoverlay", flags);
    }
    QMap<QString, QString> values;
    for (const auto &[key, value] : computer.store)
        values.insert(textOf(key), textOf(value));
    machine.storeValues(values);
    note(u"Stored:"_s);
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        note("    "_L1 + it.key() + " = "_L1 + it.value());
}

void Journey::changeWhatIsLookedUpAtStart()
{
    computer.prefix = pickFrom<std::string>({"", "", "/opt/gs", "/opt/\u00fc\u65e5/\U0001f3ae"});
    machine.write(machine.home() + "/.config/marrowpulse/gamescope-prefix"_L1,
                  QByteArray::fromStdString(computer.prefix + "\n"));
    computer.refreshHz = pickFrom<int>({0, 24, 60, 75, 144});
    machine.addXrandr(
        computer.refreshHz == 0
            ? QByteArray("Can't open display\n")
            : "Screen 0: minimum 320 x 200, current 1920 x 1080, maximum 16384 x 16384\n"
              "DP-1 connected primary 1920x1080+0+0 527mm x 296mm\n"
              "   1920x1080     " +
                  QByteArray::number(computer.refreshHz) + ".00*+  50.00\n");
    if (computer.losslessFound)
        machine.removeGame(u"993090"_s);
    computer.losslessFound = oneIn(2);
    if (computer.losslessFound)
        machine.installLosslessScaling();
    note(u"Prefix \"%1\", %2 Hz, Lossless Scaling %3"_s.arg(textOf(computer.prefix))
             .arg(computer.refreshHz)
             .arg(computer.losslessFound ? u"installed"_s : u"missing"_s));
}

void Journey::install(const model::Installation &game)
{
    machine.addGame(textOf(game.appid), textOf(game.name),
                    game.library == 1 ? secondLibrary : u""_s);
    computer.installations.push_back(game);
    note(u"%1 (%2) comes to library %3"_s.arg(textOf(game.name), textOf(game.appid))
             .arg(game.library));
}

void Journey::uninstall(const model::Installation &game)
{
    machine.removeGame(textOf(game.appid), game.library == 1 ? secondLibrary : u""_s);
    note(u"%1 (%2) goes from library %3"_s.arg(textOf(game.name), textOf(game.appid))
             .arg(game.library));
    std::erase(computer.installations, game);
}

void Journey::installOrUninstall()
{
    // Now and then nearly all are gone, so that the list is empty at times.
    const int changes = oneIn(6) ? 40 : 1 + pick(2);
    const bool away = oneIn(2);
    for (int i = 0; i < changes; ++i) {
        const model::Installation game = pickFrom(offered);
        const auto &there = computer.installations;
        const bool installed = std::find(there.begin(), there.end(), game) != there.end();
        if (installed && (changes < 40 || away))
            uninstall(game);
        else if (!installed && (changes < 40 || !away))
            install(game);
    }
}
