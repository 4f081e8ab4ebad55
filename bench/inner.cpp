// SPDX-License-Identifier: MIT
// Measures the inner functions on machines in one folder, each in a folder named by its number of
// games. The process has to run on one of them.
#include "app/mainwindow.h"
#include "base/durablefile.h"
#include "steam/gamescan.h"
#include "steam/keyvalues.h"
#include "steam/launchoptionseditor.h"
#include "steam/localconfigfile.h"
#include "steam/locations.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QPushButton>

#include <benchmark/benchmark.h>

#include <ctime>
#include <malloc.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// The clock on the wall measures what waits for the disk or is compared with a peer. All else is
// measured in this process's CPU time, which other work on the machine does not lengthen.

const std::vector<int64_t> sizes{250, 500, 1000, 2000};
const std::vector<int64_t> moreSizes{500, 1000, 2000, 4000, 8000};

/// Goes to the machine with the number of games that is asked for.
void goToMachine(const benchmark::State &state)
{
    qputenv("HOME",
            qgetenv("MARROWPULSE_MACHINE") + "/../" + QByteArray::number(state.range()) + "/home");
}

QByteArray localConfigBytes()
{
    return base::readFile(steam::localConfigPath()).value();
}

QStringList appids()
{
    QStringList ids;
    for (const steam::GameEntry &game : steam::scanGames())
        ids.append(game.appid);
    return ids;
}

/// As the scan does it: the file read, and every game's value looked up in the section.
void readAllGames(benchmark::State &state)
{
    goToMachine(state);
    const QStringList ids = appids();
    for (auto _ : state) {
        const QByteArray bytes = localConfigBytes();
        const steam::AppsSection section(bytes);
        for (const QString &appid : ids)
            benchmark::DoNotOptimize(section.launchOptions(appid));
    }
}
BENCHMARK(readAllGames)->ArgsProduct({{150, 250, 300, 500, 1000, 2000}})->UseRealTime();

void editOneGame(benchmark::State &state)
{
    goToMachine(state);
    const QString path = steam::localConfigPath();
    const QStringList ids = appids();
    const QString appid = ids[ids.size() / 2];
    int i = 0;
    for (auto _ : state) {
        if (!steam::setLaunchOptions(path, appid, u"%command% %1"_s.arg(++i), false, nullptr))
            state.SkipWithError("the edit failed");
    }
}
BENCHMARK(editOneGame)->ArgsProduct({sizes})->UseRealTime();

/// A file of that size, put on the disk.
void writeAndSync(benchmark::State &state)
{
    goToMachine(state);
    const QByteArray content = localConfigBytes();
    const QString path = steam::localConfigPath() + ".bench"_L1;
    for (auto _ : state) {
        if (base::replaceFile(path, content) != base::Replaced::Yes)
            state.SkipWithError("writing failed");
    }
    QFile::remove(path);
}
BENCHMARK(writeAndSync)->Arg(1000)->UseRealTime();

/// Another rendering GPU: every game's options are composed and compared anew.
void recount(benchmark::State &state)
{
    goToMachine(state);
    MainWindow window;
    auto *gpus = window.findChild<QComboBox *>(u"renderGpuCombo"_s);
    for (auto _ : state)
        gpus->setCurrentIndex(1 - gpus->currentIndex());
}
BENCHMARK(recount)->ArgsProduct({sizes});

/// The rebuilding of the list: a Refresh, less the time of a scan right after it.
void list(benchmark::State &state)
{
    goToMachine(state);
    MainWindow window;
    auto *button = window.findChild<QPushButton *>(u"refreshButton"_s);
    button->click(); // from the second on they are alike
    for (auto _ : state) {
        const std::clock_t begin = std::clock();
        button->click();
        const std::clock_t middle = std::clock();
        benchmark::DoNotOptimize(steam::scanGames());
        const std::clock_t end = std::clock();
        state.SetIterationTime(double((middle - begin) - (end - middle)) / CLOCKS_PER_SEC);
    }
}
BENCHMARK(list)->ArgsProduct({sizes})->UseManualTime();

void scan(benchmark::State &state)
{
    goToMachine(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(steam::scanGames());
}
BENCHMARK(scan)->ArgsProduct({moreSizes});

/// Other options for every game, in memory. Without further sections, those of Steam's own switches
/// have another key.
void editLaunchOptions(benchmark::State &state, bool hasFurtherSections)
{
    goToMachine(state);
    QByteArray bytes = localConfigBytes();
    if (!hasFurtherSections)
        bytes.replace("\n\t\"apps\"", "\n\t\"sppa\"").replace("\n\t\t\"apps\"", "\n\t\t\"sppa\"");
    QList<steam::LaunchOptionsChange> changes;
    for (const QString &appid : appids())
        changes.append({appid, u"%command%"_s});
    for (auto _ : state) {
        if (!steam::editLaunchOptions(steam::AppsSection(bytes), changes).refusals.isEmpty())
            state.SkipWithError("an edit was refused");
    }
}
BENCHMARK_CAPTURE(editLaunchOptions, one section, false)->ArgsProduct({moreSizes});
BENCHMARK_CAPTURE(editLaunchOptions, three sections, true)->ArgsProduct({moreSizes});

} // namespace

int main(int argc, char **argv)
{
    // The allocator keeps all memory, whatever its size, for the next repetition. Otherwise it gets
    // fresh pages for blocks above certain sizes, and a doubling that crosses one looks like
    // growth.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
