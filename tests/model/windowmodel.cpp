// SPDX-License-Identifier: MIT
#include "model/windowmodel.h"

#include "model/steammodel.h"

#include <algorithm>

namespace model
{
namespace
{

const std::vector<std::string> usualSizes{"3840x2160", "2560x1440", "1920x1080", "1600x900",
                                          "1280x720",  "960x540",   "854x480"};
const std::vector<int> pacingValues{0, 22, 14};

/// A number of digits only; nothing for anything else.
std::optional<int> numberOf(const std::string &text)
{
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != text.npos)
        return {};
    return std::stoi(text);
}

struct Size {
    int width, height;
};

std::optional<Size> sizeOf(std::string text)
{
    while (!text.empty() && text.front() == ' ')
        text.erase(0, 1);
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    const std::size_t x = text.find('x');
    if (x == text.npos)
        return {};
    const std::optional<int> width = numberOf(text.substr(0, x));
    const std::optional<int> height = numberOf(text.substr(x + 1));
    if (!width || !height || *width < 320 || *width > 7680 || *height < 200 || *height > 4320)
        return {};
    return Size{*width, *height};
}

std::string sizeText(int width, int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string groupTitleOf(const std::string &name)
{
    std::string title = "Game settings: ";
    for (const char c : name)
        title += c == '&' ? std::string("&&") : std::string(1, c);
    return title;
}

} // namespace

Advanced::Advanced(const LaunchSettings &settings, int refresh) : refreshHz(refresh)
{
    limit = settings.framecap;
    automatic = settings.caphz < 1;
    cap = std::clamp(settings.caphz, 20, 480);
    showAutomaticCap();
    renderResolution = settings.renderres;
    for (int row = 0; row < 3; ++row) {
        if (pacingValues[static_cast<std::size_t>(row)] == settings.pacing)
            pacing = row;
    }
    overlay = settings.debugoverlay;
}

void Advanced::clickLimit()
{
    limit = !limit;
    showAutomaticCap();
}

void Advanced::clickAutomatic()
{
    if (!automaticEnabled())
        return;
    automatic = !automatic;
    showAutomaticCap();
}

void Advanced::typeCap(int value)
{
    if (capEnabled())
        cap = value;
}

void Advanced::showAutomaticCap()
{
    if (automatic)
        cap = std::clamp(frameCap(refreshHz), 20, 480);
}

Window::Window(Computer &machine)
    : renderGpu(machine.gpus.empty() ? -1 : machine.defaultRenderGpu), computer(machine),
      prefix(machine.prefix), losslessFound(machine.losslessFound), refreshHz(machine.refreshHz)
{
    refresh();
}

const Game *Window::currentGame() const
{
    if (currentRow < 0)
        return nullptr;
    const std::string &appid = rows[static_cast<std::size_t>(currentRow)].appid;
    return &*std::find_if(games.begin(), games.end(),
                          [&appid](const Game &game) { return game.appid == appid; });
}

std::string Window::desired(const Game &game) const
{
    if (computer.gpus.empty())
        return game.options;
    if (enabled.count(game.appid) > 0)
        return compose(records.at(game.appid), computer.gpus[0],
                       computer.gpus[static_cast<std::size_t>(renderGpu)], prefix, losslessFound,
                       refreshHz);
    const auto original = computer.store.find("original/" + game.appid);
    if (original != computer.store.end() && !original->second.empty())
        return original->second;
    return isOwn(game.options) ? "" : game.options;
}

void Window::refresh()
{
    const std::string selected =
        currentRow < 0 ? "" : rows[static_cast<std::size_t>(currentRow)].appid;
    games.clear();
    rows.clear();
    for (const Installation &installed : computer.installations)
        games.push_back({installed.appid, installed.name,
                         rawLaunchOptions(computer.steamFile.value_or(""), installed.appid)});
    std::sort(games.begin(), games.end(),
              [](const Game &a, const Game &b) { return a.name < b.name; });

    for (const Game &game : games) {
        if (records.count(game.appid) == 0) {
            const LoadedLaunch loaded = load(computer.store, game.appid, game.options);
            records[game.appid] = loaded.settings;
            if (loaded.enabled)
                enabled.insert(game.appid);
        }
        rows.push_back({game.appid, game.name, enabled.count(game.appid) > 0, "", false});
    }

    currentRow = rows.empty() ? -1 : 0;
    for (int row = static_cast<int>(rows.size()) - 1; row >= 0; --row) {
        if (rows[static_cast<std::size_t>(row)].appid == selected)
            currentRow = row;
    }
    showCurrentGame();
    countPending();
}

void Window::showCurrentGame()
{
    const Game *game = currentGame();
    if (!game) {
        shown.groupEnabled = false;
        shown.groupTitle = "Game settings";
        shown.preview = "";
        return;
    }
    const LaunchSettings &record = records.at(game->appid);
    shown.groupEnabled = enabled.count(game->appid) > 0;
    shown.groupTitle = groupTitleOf(game->name);
    shown.upscaling = record.upscaling;
    shown.renderSize = sizeText(record.renderW, record.renderH);
    shown.outputSize = sizeText(record.outputW, record.outputH);
    shown.framegen = record.framegen;
    shown.method = record.fgbackend == 1 && losslessFound ? 1 : 0;
    shown.holdback = record.holdback == 2 ? 1 : 0;
    shown.frameCap = record.framecap;
    const int cap = record.caphz >= 1 ? record.caphz : frameCap(refreshHz);
    shown.frameCapText = "Limit frame rate to " + std::to_string(cap) + " fps (smoother)";
    shown.renderSizeEnabled = record.upscaling;
    shown.methodEnabled = record.framegen;
    shown.holdbackEnabled = record.framegen;
    shown.preview = desired(*game);
}

void Window::edited()
{
    const Game *game = currentGame();
    LaunchSettings &record = records.at(game->appid);
    record.upscaling = shown.upscaling;
    if (const std::optional<Size> size = sizeOf(shown.renderSize)) {
        record.renderW = size->width;
        record.renderH = size->height;
    }
    if (const std::optional<Size> size = sizeOf(shown.outputSize)) {
        record.outputW = size->width;
        record.outputH = size->height;
    }
    record.framegen = shown.framegen;
    record.fgbackend = shown.method;
    record.holdback = shown.holdback == 1 ? 2 : 1;
    record.framecap = shown.frameCap;
    shown.renderSizeEnabled = shown.upscaling;
    shown.methodEnabled = shown.framegen;
    shown.holdbackEnabled = shown.framegen;
    countPending();
}

void Window::countPending()
{
    int count = 0;
    for (std::size_t i = 0; i < games.size(); ++i) {
        const Game &game = games[i];
        Row &row = rows[i];
        row.ticked = enabled.count(game.appid) > 0;
        row.toolTip = "";
        if (!row.ticked && game.options != "" && !isOwn(game.options))
            row.toolTip = "Has custom launch options; enabling will replace them (restored on "
                          "disable):\n" +
                          game.options;
        row.pending = desired(game) != game.options;
        count += row.pending ? 1 : 0;
    }
    if (const Game *game = currentGame())
        shown.preview = desired(*game);
    shown.applyEnabled = count > 0;
    shown.status = count == 0 ? "No pending changes."
                              : std::to_string(count) + " game(s) with pending changes. Steam must "
                                                        "close briefly to apply.";
}

void Window::select(int row)
{
    if (row == currentRow)
        return;
    currentRow = row;
    showCurrentGame();
}

void Window::toggle(int row)
{
    currentRow = row;
    const std::string &appid = rows[static_cast<std::size_t>(row)].appid;
    if (enabled.erase(appid) == 0)
        enabled.insert(appid);
    showCurrentGame();
    countPending();
}

void Window::clickUpscaling()
{
    if (!shown.groupEnabled)
        return;
    shown.upscaling = !shown.upscaling;
    edited();
}

void Window::clickFramegen()
{
    if (!shown.groupEnabled)
        return;
    shown.framegen = !shown.framegen;
    edited();
}

void Window::clickFrameCap()
{
    if (!shown.groupEnabled)
        return;
    shown.frameCap = !shown.frameCap;
    edited();
}

bool Window::canEdit(const std::string &box) const
{
    return shown.groupEnabled && (&box == &shown.outputSize || shown.renderSizeEnabled);
}

void Window::type(std::string &box, const std::string &text)
{
    if (!canEdit(box))
        return;
    if (text == "") {
        box = "";
        edited();
    }
    for (std::size_t keys = 1; keys <= text.size(); ++keys) {
        box = text.substr(0, keys);
        edited();
    }
}

void Window::chooseSize(std::string &box, int row)
{
    const std::string &size = usualSizes[static_cast<std::size_t>(row)];
    if (!canEdit(box) || box == size)
        return;
    box = size;
    edited();
}

void Window::chooseMethod(int row)
{
    const bool offered = row == 0 || losslessFound;
    if (!shown.groupEnabled || !shown.methodEnabled || !offered || row == shown.method)
        return;
    shown.method = row;
    edited();
}

void Window::chooseHoldback(int row)
{
    if (!shown.groupEnabled || !shown.holdbackEnabled || row == shown.holdback)
        return;
    shown.holdback = row;
    edited();
}

void Window::chooseRenderGpu(int row)
{
    renderGpu = row;
    countPending();
}

Advanced Window::openAdvanced() const
{
    return Advanced(records.at(currentGame()->appid), refreshHz);
}

void Window::acceptAdvanced(const Advanced &dialog)
{
    LaunchSettings &record = records.at(currentGame()->appid);
    record.framecap = dialog.limit;
    record.caphz = dialog.automatic ? 0 : dialog.cap;
    record.renderres = dialog.renderResolution;
    record.pacing = pacingValues[static_cast<std::size_t>(dialog.pacing)];
    record.debugoverlay = dialog.overlay;
    showCurrentGame();
    countPending();
}

} // namespace model
