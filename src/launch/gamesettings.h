// SPDX-License-Identifier: MIT
#pragma once

namespace launch
{

/// The settings with which one game is launched. The initialisers are the defaults for a game that
/// was never set up.
struct GameSettings {
    bool upscaling = true;     ///< FSR upscaling; when off, the render resolution is not used
    int renderW = 1280;        ///< width at which the game renders, pixels
    int renderH = 720;         ///< height at which the game renders, pixels
    int outputW = 1920;        ///< width of the display, pixels
    int outputH = 1080;        ///< height of the display, pixels
    bool framegen = true;      ///< frame generation
    int fgbackend = 0;         ///< 0 = MCFI (built-in), 1 = LSFG (Lossless Scaling)
    int holdback = 1;          ///< frames held back, 1 or 2
    bool framecap = true;      ///< limit the game's frame rate
    int caphz = 0;             ///< the limit in frames per second; below 1 means automatic
    bool renderres = true;     ///< generate frames before upscaling
    int pacing = 0;            ///< presenter pacing in tenths (15 is 1.5); 0 = off
    bool debugoverlay = false; ///< frame generation overlay in the game

    bool operator==(const GameSettings &) const = default;
};

} // namespace launch
