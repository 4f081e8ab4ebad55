// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// The rules of Steam's KeyValues text, of its editing and of the choice of localconfig.vdf told a
// second time, as plainly as possible and without a line of the program: what the program does is
// compared with this. Texts are a file's bytes, and positions count them.
namespace model
{

constexpr std::size_t nowhere = std::string::npos;

/// Where "{" and the "}" that closes it stand, or the two quotes of a value.
struct Block {
    std::size_t open = nowhere;
    std::size_t close = nowhere;

    bool operator==(const Block &) const = default;
};

std::size_t matchingBrace(const std::string &text, std::size_t start);
Block findAppsSection(const std::string &text);
Block findAppBlock(const std::string &text, Block apps, const std::string &appid);
/// In UTF-16; a byte that is part of no character is U+FFFD.
std::u16string readLaunchOptions(const std::string &text, const std::string &appid);
/// The same as it stands in the file.
std::string rawLaunchOptions(const std::string &text, const std::string &appid);

struct Change {
    std::string appid;
    std::u16string options;
};

struct Refusal {
    std::string message;
    std::string reason; ///< tells apart what has the same message

    bool operator==(const Refusal &other) const { return message == other.message; }
};

struct Edited {
    std::string text;
    std::map<std::string, Refusal> refusals; ///< by app id

    bool operator==(const Edited &) const = default;
};

/// The changes of one Apply, each of another app.
Edited edit(const std::string &text, const std::vector<Change> &changes);

/// A localconfig.vdf of one account.
struct AccountFile {
    std::string path;
    std::int64_t modified = 0; ///< any unit
};

/// The path that is edited, of the files in the order of listing; empty without any.
std::string chooseLocalConfig(const std::vector<AccountFile> &listed);

} // namespace model
