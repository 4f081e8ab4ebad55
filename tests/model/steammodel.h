// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

// The rules of Steam's KeyValues text and of its editing, written a second time, as plainly as
// possible and without the program's sources. Tests compare the program with it. Texts are a file's
// bytes, and positions count them.
namespace model
{

constexpr std::size_t nowhere = std::string::npos;

/// The positions of "{" and of the "}" that closes it, or of the two quotes of a value.
struct Block {
    std::size_t open = nowhere;
    std::size_t close = nowhere;

    bool operator==(const Block &) const = default;
};

std::size_t matchingBrace(const std::string &text, std::size_t start);
Block findAppsSection(const std::string &text);
Block findAppBlock(const std::string &text, Block apps, const std::string &appid);
/// In UTF-16. A byte that is part of no character becomes U+FFFD.
std::u16string readLaunchOptions(const std::string &text, const std::string &appid);

struct Change {
    std::string appid;
    std::u16string options;
};

struct Refusal {
    std::string message;
    std::string reason; ///< which rule refuses it: several have one message

    bool operator==(const Refusal &other) const { return message == other.message; }
};

struct Edited {
    std::string text;
    std::map<std::string, Refusal> refusals; ///< by app id

    bool operator==(const Edited &) const = default;
};

/// The changes of one Apply, each of another app.
Edited edit(const std::string &text, const std::vector<Change> &changes);

} // namespace model
