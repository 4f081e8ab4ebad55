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
    const std::string read = *computer.steamFile;
    std::string failures;
    for (const auto &[game, options] : staged)
        failures += edit(game.appid, options, rawLaunchOptions(read, game.appid));
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

/// Edits one game in Steam's file, which held `current` for it when it was read. A failure's line
/// comes back behind a line feed; nothing without.
std::string Window::edit(const std::string &appid, const std::string &options,
                         const std::string &current)
{
    const std::string original = "original/" + appid;
    const bool isKept = computer.store.count(original) > 0;
    const bool wasTyped = options == "" && !isKept && !isOwn(current);
    std::string line;
    if (!wasTyped) {
        const Edited edited = model::edit(*computer.steamFile, {{appid, utf16Of(options)}});
        if (!isKept && current != "" && !isOwn(current) && edited.refusals.empty())
            computer.store[original] = current;
        computer.steamFile = edited.text;
        if (!edited.refusals.empty())
            line = "\n" + appid + ": " + edited.refusals.at(appid).message;
    }
    for (Game &game : games) {
        if (game.appid == appid && line == "")
            game.options = wasTyped ? current : options;
    }
    return line;
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
