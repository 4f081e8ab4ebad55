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

namespace
{

fs::path findLocalConfig(const fs::path &home)
{
    const fs::path userdata = home / ".local/share/Steam/userdata";
    if (fs::is_directory(userdata)) {
        for (const auto &user : fs::directory_iterator(userdata)) {
            const fs::path file = user.path() / "config/localconfig.vdf";
            if (fs::exists(file))
                return file;
        }
    }
    return {};
}

} // namespace

int main(int argc, char **argv)
{
    const bool stubborn = argc > 1 && std::strcmp(argv[1], "--stubborn") == 0;
    const fs::path home = std::getenv("HOME");

    // Asked to exit from the first moment on, so that no request is missed.
    sigset_t exitRequest;
    sigemptyset(&exitRequest);
    sigaddset(&exitRequest, SIGTERM);
    sigprocmask(SIG_BLOCK, &exitRequest, nullptr);

    int ready[2];
    if (pipe(ready) != 0)
        return 1;
    if (fork() != 0) {
        char byte = 0;
        close(ready[1]);
        return read(ready[0], &byte, 1) == 1 ? 0 : 1;
    }
    setsid();
    for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        close(descriptor);

    const fs::path config = findLocalConfig(home);
    std::string text;
    if (!config.empty()) {
        std::ifstream in(config, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(in), {});
    }
    {
        std::ofstream pid(home / ".steam/steam.pid");
        pid << getpid() << '\n';
    }
    if (write(ready[1], "!", 1) != 1)
        return 1;
    close(ready[0]);
    close(ready[1]);

    int signal = 0;
    do {
        sigwait(&exitRequest, &signal);
    } while (stubborn);
    if (const auto brace = text.find("{\n"); !config.empty() && brace != std::string::npos) {
        if (!fs::exists(home.parent_path() / "exits-unnoted"))
            text.insert(brace + 2, "\t\"ExitCount\"\t\t\"1\"\n");
        std::ofstream out(config, std::ios::binary | std::ios::trunc);
        out << text;
    }
    return 0;
}
