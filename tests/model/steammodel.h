// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The rules of Steam's KeyValues text, of its editing and of the choice of localconfig.vdf told a
// second time, as plainly as possible and without a line of the program: what the program does is
// compared with this.
namespace model
{

/// Indices of "{" and of the "}" that closes it; -1 and -1 when there is none.
struct Block {
    std::int64_t open = -1;
    std::int64_t close = -1;

    bool operator==(const Block &) const = default;
};

// Of a file's bytes; positions count bytes.
std::int64_t matchingBrace(const std::string &bytes, std::int64_t start);
Block findAppsSection(const std::string &bytes);
Block findAppBlock(const std::string &bytes, Block apps, const std::string &appid);
/// In UTF-16; a byte that is part of no character is U+FFFD.
std::u16string readLaunchOptions(const std::string &bytes, const std::string &appid);
/// The same as it stands in the file.
std::string rawLaunchOptions(const std::string &bytes, const std::string &appid);

struct Edit {
    bool done = false;
    std::string message;            ///< why not; empty when done
    std::string bytes;              ///< what the file holds afterwards
    bool isOldTextDoubtful = false; ///< what the file held must not be kept as the game's own
};

/// An edit of a file that holds `bytes`, on a disk where
/// opening, copying and replacing succeed. `options` are UTF-16.
Edit setLaunchOptions(const std::string &bytes, const std::string &appid,
                      const std::u16string &options);

/// A localconfig.vdf of one account.
struct AccountFile {
    std::string path;
    std::int64_t modified = 0; ///< any unit
};

/// The path that is edited, of the files in the order of listing; empty without any.
std::string chooseLocalConfig(const std::vector<AccountFile> &listed);

} // namespace model
