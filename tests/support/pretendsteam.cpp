// SPDX-License-Identifier: MIT
// A stand-in for the Steam client: a background process that holds localconfig.vdf in memory and
// writes it anew when it is asked to exit. It adds a line, so that tests see that it wrote, unless
// the machine has a file exits-unnoted. With --stubborn it does not exit.
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

int main(int argc, char **argv)
{
    const bool stubborn = argc > 1 && std::strcmp(argv[1], "--stubborn") == 0;
    const fs::path home = std::getenv("HOME");
    const fs::path config = home / ".local/share/Steam/userdata/70001/config/localconfig.vdf";
    std::string text;
    {
        std::ifstream in(config, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(in), {});
    }

    // A signal asks the client to exit. It is held back from here on, so that none is missed.
    sigset_t exitRequest;
    sigemptyset(&exitRequest);
    sigaddset(&exitRequest, SIGTERM);
    sigprocmask(SIG_BLOCK, &exitRequest, nullptr);
    if (const pid_t client = fork(); client != 0) {
        std::ofstream(home / ".steam/steam.pid") << client << '\n';
        return client > 0 ? 0 : 1;
    }
    setsid();
    for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        close(descriptor);

    int signal = 0;
    do {
        sigwait(&exitRequest, &signal);
    } while (stubborn);
    if (const auto brace = text.find("{\n"); brace != std::string::npos) {
        if (!fs::exists(home.parent_path() / "exits-unnoted"))
            text.insert(brace + 2, "\t\"ExitCount\"\t\t\"1\"\n");
        std::ofstream(config, std::ios::binary | std::ios::trunc) << text;
    }
    return 0;
}
