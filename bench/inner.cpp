// SPDX-License-Identifier: MIT
// The inner functions, measured on the machine that lies under this process.
#include "app/mainwindow.h"
#include "base/durablefile.h"
#include "steam/gamescan.h"
#include "steam/keyvalues.h"
#include "steam/localconfigfile.h"
#include "steam/locations.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QPushButton>

#include <benchmark/benchmark.h>

#include <ctime>
#include <malloc.h>

using namespace Qt::StringLiterals;

namespace
{

// What waits for the disk, or is compared with a peer, is measured by the clock on the wall; all
// else by the CPU time of this process, which other work on the machine does not lengthen.

/// CPU time of this process so far, in nanoseconds.
qint64 cpuNs()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

/// What the last scan took.
qint64 scanNs = 0;

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
    const QStringList ids = appids();
    for (auto _ : state) {
        const QByteArray bytes = localConfigBytes();
        const steam::AppsSection section(bytes);
        for (const QString &appid : ids)
            benchmark::DoNotOptimize(section.launchOptions(appid));
    }
}
BENCHMARK(readAllGames)->UseRealTime();

void scan(benchmark::State &state)
{
    // The allocator keeps blocks of up to 32 MB for the next repetition, and the largest file has
    // more. Now every file is read into fresh memory, as at a start.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    for (auto _ : state)
        benchmark::DoNotOptimize(steam::scanGames());
}
BENCHMARK(scan);

void editOneGame(benchmark::State &state)
{
    const QString path = steam::localConfigPath();
    const QStringList ids = appids();
    const QString appid = ids[ids.size() / 2];
    int i = 0;
    for (auto _ : state) {
        if (!steam::setLaunchOptions(path, appid, u"%command% %1"_s.arg(++i), false, nullptr))
            state.SkipWithError("the edit failed");
    }
}
BENCHMARK(editOneGame)->UseRealTime();

/// What putting a file of that size on the disk costs.
void writeAndSync(benchmark::State &state)
{
    const QByteArray content = localConfigBytes();
    const QString path = steam::localConfigPath() + ".bench"_L1;
    for (auto _ : state) {
        if (base::replaceFile(path, content) != base::Replaced::Yes)
            state.SkipWithError("writing failed");
    }
    QFile::remove(path);
}
BENCHMARK(writeAndSync)->UseRealTime();

/// Another rendering GPU: every game's options are composed and compared anew.
void recount(benchmark::State &state)
{
    MainWindow window;
    auto *gpus = window.findChild<QComboBox *>(u"renderGpuCombo"_s);
    for (auto _ : state)
        gpus->setCurrentIndex(1 - gpus->currentIndex());
}
BENCHMARK(recount);

/// The rebuilding of the list: what a Refresh takes longer than the scan in it.
void list(benchmark::State &state)
{
    MainWindow window;
    auto *button = window.findChild<QPushButton *>(u"refreshButton"_s);
    button->click(); // from the second on they are alike
    for (auto _ : state) {
        const qint64 begin = cpuNs();
        button->click();
        state.SetIterationTime(double(cpuNs() - begin - scanNs) * 1e-9);
    }
}
BENCHMARK(list)->UseManualTime()->Iterations(5)->Repetitions(9)->ReportAggregatesOnly();

} // namespace

// The linker takes every call of scanGames() here, so that a scan inside something else can be told
// from the rest.
QList<steam::GameEntry> scanGamesItself() asm("__real__ZN5steam9scanGamesEv");
QList<steam::GameEntry> timedScanGames() asm("__wrap__ZN5steam9scanGamesEv");

QList<steam::GameEntry> timedScanGames()
{
    const qint64 begin = cpuNs();
    QList<steam::GameEntry> games = scanGamesItself();
    scanNs = cpuNs() - begin;
    return games;
}

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
