// SPDX-License-Identifier: MIT
#include "model/steammodel.h"
#include "model/windowmodel.h"

namespace model
{
namespace
{

/// UTF-16 of well-formed UTF-8.
std::u16string utf16Of(const std::string &text)
{
    std::u16string result;
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i++]);
        const int more = first < 0x80 ? 0 : first < 0xe0 ? 1 : first < 0xf0 ? 2 : 3;
        unsigned code = more == 0 ? first : first & (0x3fu >> more);
        for (int k = 0; k < more; ++k)
            code = code << 6 | (static_cast<unsigned char>(text[i++]) & 0x3f);
        if (code >= 0x10000) {
            result += static_cast<char16_t>(0xd800 + ((code - 0x10000) >> 10));
            code = 0xdc00 + ((code - 0x10000) & 0x3ff);
        }
        result += static_cast<char16_t>(code);
    }
    return result;
}

} // namespace

void Computer::startSteam()
{
    steamRuns = true;
    steamMemory = steamFile.value_or("");
}

void Computer::closeSteam()
{
    steamRuns = false;
    steamFile = steamMemory;
    steamFile->insert(steamFile->find("{\n") + 2, "\t\"ExitCount\"\t\t\"1\"\n");
}

std::vector<Box> Window::apply(bool closeSteam, bool restartSteam)
{
    std::vector<Box> boxes;
    if (!shown.applyEnabled)
        return boxes;
    if (!computer.steamFile)
        return {{Box::Warning, "Could not find Steam's localconfig.vdf."}};

    // Staged are the games of the last scan, before Steam rewrites its file.
    std::vector<std::pair<Game, std::string>> staged;
    for (const Game &game : games) {
        if (desired(game) != game.options)
            staged.emplace_back(game, desired(game));
    }

    if (computer.steamRuns) {
        boxes.push_back({Box::Question,
                         "Steam stores launch options in a file it rewrites on exit, so it must be "
                         "closed to apply changes.\n\nClose Steam now? (It will be restarted "
                         "afterwards.)",
                         closeSteam});
        if (!closeSteam)
            return boxes;
        computer.steamCalls.push_back("-shutdown");
        computer.closeSteam();
    }

    computer.backups.push_back(*computer.steamFile);
    std::string failures;
    for (const auto &[game, options] : staged) {
        failures += edit(game, options);
    }
    saveSettings();
    if (failures != "")
        boxes.push_back({Box::Warning, "Some changes failed:" + failures});
    boxes.push_back({Box::Question, "Changes applied. Restart Steam now?", restartSteam});
    if (restartSteam) {
        computer.steamCalls.push_back("");
        computer.startSteam();
    }
    countPending();
    return boxes;
}

/// Edits one game in Steam's file. A failure's line comes back behind a line feed; nothing without.
std::string Window::edit(const Game &staged, const std::string &options)
{
    const std::string original = "original/" + staged.appid;
    for (const Game &game : games) {
        if (game.appid == staged.appid && game.options != "" && !isOwn(game.options) &&
            computer.store.count(original) == 0)
            computer.store[original] = game.options;
    }
    const Edit edit = setLaunchOptions(*computer.steamFile, staged.appid, utf16Of(options));
    if (!edit.done)
        return "\n" + staged.appid + ": " + edit.message;
    computer.steamFile = edit.bytes;
    for (Game &game : games) {
        if (game.appid == staged.appid)
            game.options = options;
    }
    return "";
}

void Window::saveSettings()
{
    for (const auto &[appid, record] : records) {
        const auto keep = [&, folder = "config/" + appid + "/"](const char *field, int value) {
            computer.store[folder + field] = std::to_string(value);
        };
        const auto keepFlag = [&, folder = "config/" + appid + "/"](const char *field, bool value) {
            computer.store[folder + field] = value ? "true" : "false";
        };
        keepFlag("upscaling", record.upscaling);
        keep("renderW", record.renderW);
        keep("renderH", record.renderH);
        keep("outputW", record.outputW);
        keep("outputH", record.outputH);
        keepFlag("framegen", record.framegen);
        keep("fgbackend", record.fgbackend);
        keep("holdback", record.holdback);
        keepFlag("framecap", record.framecap);
        keep("caphz", record.caphz);
        keepFlag("renderres", record.renderres);
        keep("pacing", record.pacing);
        keepFlag("debugoverlay", record.debugoverlay);
    }
}

} // namespace model
