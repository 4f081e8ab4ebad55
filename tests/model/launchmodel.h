// SPDX-License-Identifier: MIT
#pragma once

#include <string>

// The rules of the launch options, written a second time, as plainly as possible and without the
// program's sources. Tests compare the program with it.
namespace model
{

struct LaunchSettings {
    bool upscaling = true;
    int renderW = 1280;
    int renderH = 720;
    int outputW = 1920;
    int outputH = 1080;
    bool framegen = true;
    int fgbackend = 0;
    int holdback = 1;
    bool framecap = true;
    int caphz = 0;
    bool renderres = true;
    int pacing = 0;
    bool debugoverlay = false;

    bool operator==(const LaunchSettings &) const = default;
};

struct LaunchGpu {
    std::string address;
    std::string tag;
    std::string id;
};

int frameCap(int refreshHz);

std::string compose(const LaunchSettings &settings, const LaunchGpu &display,
                    const LaunchGpu &render, const std::string &prefix, bool losslessFound,
                    int refreshHz);

bool isOwn(const std::string &text);

LaunchSettings parse(const std::string &text);

} // namespace model
