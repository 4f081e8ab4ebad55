// SPDX-License-Identifier: MIT
#pragma once

#include "model/launchmodel.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

// The window told a second time, as plainly as possible and without a line of the program: what it
// shows and what each step of its user does to it, to Steam's file, its backups and the store. All
// texts are UTF-8.
namespace model
{

/// What a library has a manifest of.
struct Installation {
    std::string appid;
    std::string name;
    int library = 0;

    bool operator==(const Installation &) const = default;
};

/// All that lies outside the window.
struct Computer {
    std::vector<Installation> installations; ///< Lossless Scaling is not among them
    std::optional<std::string> steamFile;    ///< localconfig.vdf
    std::vector<std::string> backups;        ///< their contents, oldest first
    std::map<std::string, std::string> store;

    bool steamRuns = false;
    std::string steamMemory;             ///< the file as Steam had it when it started
    std::vector<std::string> steamCalls; ///< the arguments of each

    std::vector<LaunchGpu> gpus; ///< the first drives the display
    int defaultRenderGpu = 0;
    std::string prefix;
    bool losslessFound = false;
    int refreshHz = 0;

    void startSteam();
    /// Steam writes the file anew, from its memory.
    void closeSteam();
};

/// A game of the last scan.
struct Game {
    std::string appid;
    std::string name;
    std::string options;
};

/// A row of the list.
struct Row {
    std::string appid;
    std::string name;
    bool ticked = false;
    std::string toolTip;
    bool pending = false;
};

/// The controls beside and below the list. Those of the group can be used while the group is
/// enabled; the enabled states of single ones come on top.
struct Shown {
    bool groupEnabled = true;
    std::string groupTitle = "Game settings";
    bool upscaling = false;
    std::string renderSize = "3840x2160";
    std::string outputSize = "3840x2160";
    bool framegen = false;
    int method = 0;
    int holdback = 0;
    bool frameCap = false;
    std::string frameCapText;
    bool renderSizeEnabled = true;
    bool methodEnabled = true;
    bool holdbackEnabled = true;
    std::string preview;
    std::string status;
    bool applyEnabled = true;
};

/// The advanced dialog while it is open.
struct Advanced {
    bool limit = true;
    bool automatic = true;
    int cap = 0;
    bool renderResolution = true;
    int pacing = 0; ///< the row that is chosen
    bool overlay = false;

    Advanced(const LaunchSettings &settings, int refresh);
    bool automaticEnabled() const { return limit; }
    bool capEnabled() const { return limit && !automatic; }
    void clickLimit();
    void clickAutomatic();
    void typeCap(int value);

private:
    void showAutomaticCap();
    int refreshHz;
};

/// A message box and the button that is clicked in it.
struct Box {
    enum Kind { Warning, Question };
    Kind kind = Warning;
    std::string text;
    bool yes = false; ///< the answer to a question
};

class Window
{
public:
    /// The program starts.
    explicit Window(Computer &machine);

    // What is seen.
    std::vector<Row> rows;
    int currentRow = -1;
    int renderGpu = -1; ///< the row that is chosen
    Shown shown;

    // What the user does. Steps on controls that are not enabled do nothing.
    void select(int row);
    void toggle(int row);
    void clickUpscaling();
    void clickFramegen();
    void clickFrameCap();
    /// Replaces the text, a key after the other; `box` is shown.renderSize or shown.outputSize.
    void type(std::string &box, const std::string &text);
    void chooseSize(std::string &box, int row);
    void chooseMethod(int row);
    void chooseHoldback(int row);
    void chooseRenderGpu(int row);
    void refresh();
    Advanced openAdvanced() const;
    void acceptAdvanced(const Advanced &dialog);
    std::vector<Box> apply(bool closeSteam, bool restartSteam);

    const Game *currentGame() const;

private:
    std::string desired(const Game &game) const;
    bool canEdit(const std::string &box) const;
    void showCurrentGame();
    void edited();
    void countPending();
    std::string edit(const std::string &appid, const std::string &options,
                     const std::string &current);
    void saveSettings();

    Computer &computer;
    std::vector<Game> games;
    std::map<std::string, LaunchSettings> records;
    std::set<std::string> enabled;
    // Looked up once, at the start.
    const std::string prefix;
    const bool losslessFound;
    const int refreshHz;
};

} // namespace model
