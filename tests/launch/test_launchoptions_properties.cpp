// SPDX-License-Identifier: MIT
// Generated settings and texts: the program must compose and read them as the model does.
#include "launch/launchoptions.h"
#include "model/launchmodel.h"
#include "sampleoptions.h"
#include "support/properties.h"

#include <rapidcheck.h>

#include <limits>

using namespace Qt::StringLiterals;
using launch::GameSettings;

namespace model
{

static void showValue(const LaunchSettings &s, std::ostream &out)
{
    out << "upscaling " << s.upscaling << ", " << s.renderW << 'x' << s.renderH << " to "
        << s.outputW << 'x' << s.outputH << ", framegen " << s.framegen << " backend "
        << s.fgbackend << " holdback " << s.holdback << ", framecap " << s.framecap << ' '
        << s.caphz << ", renderres " << s.renderres << ", pacing " << s.pacing << ", debugoverlay "
        << s.debugoverlay;
}

static void showValue(const LaunchGpu &gpu, std::ostream &out)
{
    out << gpu.address << " tag " << gpu.tag << " id " << gpu.id;
}

} // namespace model

namespace
{

model::LaunchSettings toModel(const GameSettings &s)
{
    return {s.upscaling, s.renderW,  s.renderH, s.outputW,   s.outputH, s.framegen,    s.fgbackend,
            s.holdback,  s.framecap, s.caphz,   s.renderres, s.pacing,  s.debugoverlay};
}

GameSettings toProgram(const model::LaunchSettings &s)
{
    return {s.upscaling, s.renderW,  s.renderH, s.outputW,   s.outputH, s.framegen,    s.fgbackend,
            s.holdback,  s.framecap, s.caphz,   s.renderres, s.pacing,  s.debugoverlay};
}

hw::GpuInfo toProgram(const model::LaunchGpu &gpu)
{
    hw::GpuInfo info;
    info.pciAddress = QString::fromStdString(gpu.address);
    info.pciTag = QString::fromStdString(gpu.tag);
    info.pciId = QString::fromStdString(gpu.id);
    return info;
}

std::string composeByProgram(const model::LaunchSettings &settings, const model::LaunchGpu &display,
                             const model::LaunchGpu &render, const std::string &prefix,
                             bool losslessFound, int refreshHz)
{
    return launch::composeLaunchOptions(toProgram(settings), toProgram(display), toProgram(render),
                                        QString::fromStdString(prefix),
                                        losslessFound ? u"/l/Lossless.dll"_s : QString(), refreshHz)
        .toStdString();
}

model::LaunchSettings parseByProgram(const std::string &text)
{
    return toModel(launch::parseLaunchOptions(QString::fromStdString(text)));
}

/// Usual numbers, the smallest and the largest, and any.
rc::Gen<int> numbers()
{
    return rc::gen::oneOf(rc::gen::inRange(-3, 30),
                          rc::gen::element(-15, 45, 60, 108, 720, 900, 1080, 1280, 1440, 1600, 1920,
                                           2160, 2560, 3840, std::numeric_limits<int>::min(),
                                           std::numeric_limits<int>::max()),
                          rc::gen::arbitrary<int>());
}

rc::Gen<model::LaunchSettings> settingsRecords()
{
    using S = model::LaunchSettings;
    const auto flag = [] { return rc::gen::arbitrary<bool>(); };
    return rc::gen::build<S>(
        rc::gen::set(&S::upscaling, flag()), rc::gen::set(&S::renderW, numbers()),
        rc::gen::set(&S::renderH, numbers()), rc::gen::set(&S::outputW, numbers()),
        rc::gen::set(&S::outputH, numbers()), rc::gen::set(&S::framegen, flag()),
        rc::gen::set(&S::fgbackend, rc::gen::inRange(-1, 3)), rc::gen::set(&S::holdback, numbers()),
        rc::gen::set(&S::framecap, flag()), rc::gen::set(&S::caphz, numbers()),
        rc::gen::set(&S::renderres, flag()), rc::gen::set(&S::pacing, numbers()),
        rc::gen::set(&S::debugoverlay, flag()));
}

/// So few values that two GPUs often share some of them.
rc::Gen<model::LaunchGpu> gpus()
{
    using G = model::LaunchGpu;
    const auto text = [](const char *usual) {
        return rc::gen::element<std::string>(usual, "0000:04:00.0", "", "%1", "%2 %3", "ABC",
                                             "abc");
    };
    return rc::gen::build<G>(rc::gen::set(&G::address, text("0000:03:00.0")),
                             rc::gen::set(&G::tag, text("pci-0000_03_00_0")),
                             rc::gen::set(&G::id, text("1002:73bf")));
}

/// Whole and damaged pieces of the grammar, and separators.
rc::Gen<std::string> pieces()
{
    return rc::gen::oneOf(
        rc::gen::element<std::string>("MARROWPULSE=1", "MARROWPULSE=1", "marrowpulse=1",
                                      "MARROWPULSE=", "%command%", "%command%", "%command",
                                      "%COMMAND%", "gamescope ", "gamescope", "GAMESCOPE ",
                                      "marrowpulse-gamescope --backend sdl"),
        rc::gen::element<std::string>("-w ", "-h ", "-W ", "-H ", "-r ", "-w", "-H", "-R ", "-r  ",
                                      "-F fsr", "-F  fsr", "-F FSR", "-f fsr", "-F nis"),
        rc::gen::element<std::string>(
            "GAMESCOPE_FRAMEGEN", "GAMESCOPE_FRAMEGEN=", "GAMESCOPE_FRAMEGEN=auto",
            "GAMESCOPE_FRAMEGEN_HOLDBACK=", "GAMESCOPE_FRAMEGEN_BACKEND=lsfg",
            "GAMESCOPE_FRAMEGEN_BACKEND=", "lsfg", "LSFG", "MARROWPULSE_FG_RENDER_RES=1",
            "MARROWPULSE_FG_RENDER_RES=", "MARROWPULSE_LOW_LATENCY=", "MARROWPULSE_LOW_LATENCY=1.",
            "MARROWPULSE_LOW_LATENCY=2.5", "MARROWPULSE_LOW_LATENCY=.",
            "MARROWPULSE_LOW_LATENCY=214748364.7", "MARROWPULSE_LOW_LATENCY=214748364.8",
            "GAMESCOPE_FRAMEGEN_DEBUG=", "GAMESCOPE_FRAMEGEN_DEBUG=1"),
        rc::gen::element<std::string>("0", "1", "2", "9", "60", "720", "1080", "1280", "1920",
                                      "2147483647", "2147483648", "214748364", "99999999999", ".7",
                                      ".5", "-1", "007", "\xD9\xA2", "+5"),
        rc::gen::element<std::string>(" ", " ", " ", "  ", "\n", "\t", ".", "=", "-", "_", "%",
                                      "\"", "\xC3\xA9", "\xF0\x9F\x8E\xAE", "x"));
}

rc::Gen<std::string> nearMisses()
{
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(pieces()),
                        [](const std::vector<std::string> &parts) {
                            std::string text;
                            for (const std::string &part : parts)
                                text += part;
                            return text;
                        });
}

/// Composed texts; a quarter has equal sizes.
rc::Gen<std::string> composedTexts()
{
    return rc::gen::exec([] {
        model::LaunchSettings settings = *settingsRecords();
        if (*rc::gen::inRange(0, 4) == 0) {
            settings.renderW = settings.outputW;
            settings.renderH = settings.outputH;
        }
        return model::compose(settings, *gpus(), *gpus(),
                              *rc::gen::element<std::string>("", "/opt/gs/lib", "-w 5 -F fsr"),
                              *rc::gen::arbitrary<bool>(), *numbers());
    });
}

/// Composed texts of which a piece replaces one to three parts.
rc::Gen<std::string> damagedTexts()
{
    return rc::gen::exec([] {
        std::string text = *composedTexts();
        for (int left = *rc::gen::inRange(1, 4); left > 0; --left) {
            const auto at = *rc::gen::inRange<std::size_t>(0, text.size());
            const auto length = *rc::gen::element<std::size_t>(0, 1, 2, 5, 30);
            // Never inside a character: the program and the model must get the same text.
            if (static_cast<unsigned char>(text[at]) < 0x80)
                text.replace(at, length, *pieces());
            text = QString::fromStdString(text).toStdString();
        }
        return text;
    });
}

/// Texts of an earlier version, which had no marker.
rc::Gen<std::string> unmarkedTexts()
{
    return rc::gen::map(composedTexts(), [](const std::string &text) {
        return text.substr(std::string("MARROWPULSE=1 ").size());
    });
}

rc::Gen<std::string> anyTexts()
{
    return rc::gen::oneOf(nearMisses(), damagedTexts(), composedTexts(), unmarkedTexts(),
                          nearMisses());
}

} // namespace

class TestLaunchOptionsProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { support::preparePropertyCases(); }
    void theAutomaticCapIsTheModels()
    {
        QVERIFY(rc::check("the automatic cap is the model's", [] {
            const int refreshHz = *numbers();
            RC_ASSERT(launch::defaultFrameCap(refreshHz) == model::frameCap(refreshHz));
        }));
    }

    void theComposedTextIsTheModels()
    {
        QVERIFY(rc::check("the composed text is the model's, and the program's own", [] {
            const auto settings = *settingsRecords();
            const auto display = *gpus();
            const auto render = *gpus();
            const auto prefix =
                *rc::gen::element<std::string>("", "/opt/gs/lib", " %1 %2", "\xC3\xA9");
            const auto losslessFound = *rc::gen::arbitrary<bool>();
            const int refreshHz = *numbers();
            const std::string text =
                composeByProgram(settings, display, render, prefix, losslessFound, refreshHz);
            RC_ASSERT(text ==
                      model::compose(settings, display, render, prefix, losslessFound, refreshHz));
            RC_ASSERT(launch::isOwnLaunchOptions(QString::fromStdString(text)));
        }));
    }

    void theModelRecognisesAndReadsTheSameTexts()
    {
        int own = 0;
        QVERIFY(rc::check("recognised and read as the model does", [&own] {
            const std::string text = *anyTexts();
            RC_ASSERT(launch::isOwnLaunchOptions(QString::fromStdString(text)) ==
                      model::isOwn(text));
            RC_ASSERT(parseByProgram(text) == model::parse(text));
            own += model::isOwn(text) ? 1 : 0;
        }));
        QVERIFY(own > 50);
    }

    void settingsThatWereReadComeBackFromTheirText()
    {
        QVERIFY(rc::check("composing what was read and reading it again changes nothing", [] {
            const int refreshHz = *numbers();
            const auto again = [refreshHz](const model::LaunchSettings &settings) {
                return parseByProgram(composeByProgram(settings, {}, {}, {}, true, refreshHz));
            };
            model::LaunchSettings settings = parseByProgram(*anyTexts());
            const model::LaunchSettings composed = again(settings);
            // A text without frame generation has none of its other settings.
            if (!settings.framegen) {
                settings.fgbackend = 0;
                settings.holdback = 1;
                settings.renderres = false;
                settings.pacing = 0;
                settings.debugoverlay = false;
            }
            RC_ASSERT(composed == settings);
        }));
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsProperties)
#include "test_launchoptions_properties.moc"
