// SPDX-License-Identifier: MIT
#pragma once

#include "model/windowmodel.h"
#include "windowuser.h"

#include <QStringList>

#include <optional>
#include <random>

class AdvancedDialog;

/// A user's random walk through the window on a random machine, and the same walk through the
/// model. The same seed gives the same walk.
class Journey
{
public:
    explicit Journey(unsigned seed);
    /// One more step, in the window and in the model.
    void step();
    /// What the window, Steam's file, its backups and the store should be and are not.
    QStringList differences();
    /// The machine, and what was done so far.
    QString story() const { return steps.join(u'\n'); }

private:
    int pick(int count);
    bool oneIn(int count) { return pick(count) == 0; }
    template <typename T>
    const T &pickFrom(const std::vector<T> &values)
    {
        return values[static_cast<std::size_t>(pick(static_cast<int>(values.size())))];
    }
    void note(const QString &step) { steps.append(step); }

    // The machine: journeymachine.cpp
    void setUpGpus();
    void setUpSteam();
    void setUpStore();
    void changeWhatIsLookedUpAtStart();
    std::string randomOptions();
    std::string randomOwnOptions();
    std::string randomBlock(const std::string &appid);
    void writeSteamFile();
    void install(const model::Installation &game);
    void uninstall(const model::Installation &game);

    // The steps
    void startProgram();
    void clickInList(bool onCheckBox);
    void clickCheckBox();
    void typeSize();
    void chooseInGroup();
    void chooseGpu();
    void useAdvancedDialog();
    void useControlOf(AdvancedDialog *dialog, model::Advanced &expected);
    void refresh();
    void apply();
    void installOrUninstall();
    void changeOptionsInSteam();
    void hideOrReturnSteamFile();
    void startOrKillSteam();

    std::mt19937 random;
    QStringList steps;
    PlayersMachine machine;
    QString secondLibrary;
    QStringList gpuTexts;
    QStringList knownBackups;
    QStringList dialogDifferences;
    QByteArray lastStoreFile;
    std::string hiddenFile;
    model::Computer computer;
    std::optional<WindowUser> user;
    std::optional<model::Window> window;
};
