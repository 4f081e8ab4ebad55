// SPDX-License-Identifier: MIT
// What the program does with launch options against the same rules told by tests/model.
#include "launch/launchoptions.h"
#include "launch/settingsstore.h"
#include "model/launchmodel.h"
#include "sampleoptions.h"
#include "support/properties.h"

#include <QSettings>
#include <QTemporaryDir>

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

static void showValue(const LoadedLaunch &loaded, std::ostream &out)
{
    out << (loaded.enabled ? "enabled: " : "not enabled: ");
    showValue(loaded.settings, out);
}

static void showValue(const LaunchGpu &gpu, std::ostream &out)
{
    out << gpu.address << " tag " << gpu.tag << " id " << gpu.id;
}

} // namespace model

namespace
{

/// Characters of all kinds, those with a meaning to the format more often. No half of a pair.
rc::Gen<char32_t> characters()
{
    return rc::gen::weightedOneOf<char32_t>(
        {{6, rc::gen::elementOf(std::u32string(U"\\\"'@%,;=#[]{}() \t\n\r0aB\u00e4\u2028"))},
         {3, rc::gen::inRange<char32_t>(0, 0x80)},
         {2, rc::gen::inRange<char32_t>(0x80, 0xd800)},
         {1, rc::gen::inRange<char32_t>(0xe000, 0x110000)},
         {1, rc::gen::elementOf(std::u32string(U"\ufeff\ufffe\uffff\ufffd"))}});
}

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

/// Numbers as a user has them, numbers at the edges, and any.
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

/// Few enough values that two GPUs often agree in some of them.
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

/// Pieces of the grammar, whole and damaged, and what stands between them.
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

/// What the composer writes; every so often both sizes are one.
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

/// What the composer writes, with one to three stretches of it replaced by a piece.
rc::Gen<std::string> damagedTexts()
{
    return rc::gen::exec([] {
        std::string text = *composedTexts();
        for (int left = *rc::gen::inRange(1, 4); left > 0; --left) {
            const auto at = *rc::gen::inRange<std::size_t>(0, text.size());
            const auto length = *rc::gen::element<std::size_t>(0, 1, 2, 5, 30);
            // Never within a character, so that both sides read the same text.
            if (static_cast<unsigned char>(text[at]) < 0x80)
                text.replace(at, length, *pieces());
            text = QString::fromStdString(text).toStdString();
        }
        return text;
    });
}

/// What the program wrote before it had a marker.
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

rc::Gen<std::string> storedValues()
{
    return rc::gen::oneOf(
        rc::gen::element<std::string>("true", "false", "0", "1"),
        rc::gen::element<std::string>("", "abc", "12", "-3", "+7", "99999999999999999999",
                                      "2147483647", "-2147483647", " 5 ", "1.5", "FALSE", "False",
                                      "0x10", "- 4", "60 Hz", "--5", "1e3"));
}

} // namespace

class TestLaunchProperties : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { support::preparePropertyCases(); }
    void defaultFrameCap()
    {
        QVERIFY(rc::check("the automatic cap is the model's", [] {
            const int refreshHz = *numbers();
            RC_ASSERT(launch::defaultFrameCap(refreshHz) == model::frameCap(refreshHz));
        }));
    }

    void composing()
    {
        QVERIFY(rc::check("the composed text is the model's", [] {
            const auto settings = *settingsRecords();
            const auto display = *gpus();
            const auto render = *gpus();
            const auto prefix =
                *rc::gen::element<std::string>("", "/opt/gs/lib", " %1 %2", "\xC3\xA9");
            const auto losslessFound = *rc::gen::arbitrary<bool>();
            const int refreshHz = *numbers();
            RC_ASSERT(
                composeByProgram(settings, display, render, prefix, losslessFound, refreshHz) ==
                model::compose(settings, display, render, prefix, losslessFound, refreshHz));
        }));
    }

    void recognising()
    {
        QVERIFY(rc::check("the model recognises the same texts", [] {
            const std::string text = *anyTexts();
            const bool own = model::isOwn(text);
            RC_TAG(own);
            RC_ASSERT(launch::isOwnLaunchOptions(QString::fromStdString(text)) == own);
        }));
    }

    void parsing()
    {
        QVERIFY(rc::check("the model parses the same settings", [] {
            const std::string text = *anyTexts();
            RC_ASSERT(parseByProgram(text) == model::parse(text));
        }));
    }

    void composedIsOwn()
    {
        QVERIFY(rc::check("what the program composes it recognises, from marker to command", [] {
            const std::string text =
                composeByProgram(*settingsRecords(), *gpus(), *gpus(), {}, true, *numbers());
            RC_ASSERT(launch::isOwnLaunchOptions(QString::fromStdString(text)));
            RC_ASSERT(text.starts_with("MARROWPULSE=1 "));
            RC_ASSERT(text.ends_with(" %command%"));
        }));
    }

    void parsedComposesAndParsesTheSame()
    {
        QVERIFY(rc::check("composing what was parsed and parsing it again is stable", [] {
            const std::string text = *anyTexts();
            const int refreshHz = *numbers();
            const model::LaunchSettings once = parseByProgram(text);
            const auto again = [refreshHz](const model::LaunchSettings &settings) {
                return parseByProgram(composeByProgram(settings, {}, {}, {}, true, refreshHz));
            };
            // The fields of frame generation do not outlive its being off.
            model::LaunchSettings expected = once;
            if (!once.framegen) {
                expected.fgbackend = 0;
                expected.holdback = 1;
                expected.renderres = false;
                expected.pacing = 0;
                expected.debugoverlay = false;
            }
            RC_ASSERT(again(once) == expected);
            RC_ASSERT(again(expected) == expected);
        }));
    }

    void loading()
    {
        const QTemporaryDir folder;
        QSettings store(folder.filePath(u"store.conf"_s), QSettings::IniFormat);
        QVERIFY(rc::check("the model loads the same record", [&store] {
            const std::string options = *rc::gen::oneOf(
                rc::gen::just(std::string()), rc::gen::just(std::string("-novid")), anyTexts());
            std::map<std::string, std::string> content;
            store.clear();
            for (const std::string field :
                 {"upscaling", "renderW", "renderH", "outputW", "outputH", "framegen", "fgbackend",
                  "holdback", "framecap", "caphz", "renderres", "pacing", "debugoverlay",
                  "other"}) {
                const auto appid = *rc::gen::element<std::string>("10", "10", "10", "10", "9", "");
                if (appid.empty())
                    continue;
                const std::string key = "config/" + appid + "/" + field;
                content[key] = *storedValues();
                store.setValue(QString::fromStdString(key), QString::fromStdString(content[key]));
            }
            const launch::LoadedGame game =
                launch::loadGameSettings(store, u"10"_s, QString::fromStdString(options));
            const model::LoadedLaunch loaded{toModel(game.settings), game.enabled};
            RC_ASSERT(loaded == model::load(content, "10", options));
        }));
    }

    void savedIsLoaded()
    {
        const QTemporaryDir folder;
        QSettings store(folder.filePath(u"store.conf"_s), QSettings::IniFormat);
        QVERIFY(rc::check("every saved record is loaded as it was", [&store] {
            const auto first = *settingsRecords();
            const auto second = *settingsRecords();
            launch::saveAllGameSettings(store,
                                        {{u"9"_s, toProgram(first)}, {u"10"_s, toProgram(second)}});
            store.sync();
            RC_ASSERT(toModel(launch::loadGameSettings(store, u"9"_s, {}).settings) == first);
            RC_ASSERT(toModel(launch::loadGameSettings(store, u"10"_s, {}).settings) == second);
        }));
    }

    void optionsThatCanBeKeptComeBack()
    {
        const QTemporaryDir folder;
        int cases = 0;
        int refused = 0;
        QVERIFY(rc::check("all text without a byte-order mark comes back from the store", [&] {
            const auto text = *rc::gen::nonEmpty(rc::gen::container<std::u32string>(characters()));
            QString options; // not by fromUcs4(), which drops a U+FFFE at the start
            for (const char32_t character : text)
                options += QChar::fromUcs4(character);
            const QString path = folder.filePath(u"%1.conf"_s.arg(++cases));
            QSettings store(path, QSettings::NativeFormat);
            launch::StoreEdit edit(store);
            if (!edit.canKeep(u"9"_s, options)) {
                ++refused;
                RC_ASSERT(options.contains(u'\ufeff'));
                return;
            }
            RC_ASSERT(edit.save({}, {{u"9"_s, options}}));
            const QString copy = folder.filePath(u"%1 as another run reads it"_s.arg(cases));
            RC_ASSERT(QFile::copy(path, copy));
            const QSettings read(copy, QSettings::NativeFormat);
            RC_ASSERT(launch::originalLaunchOptions(read, u"9"_s) == options);
        }));
        QVERIFY(refused > cases / 100);
    }
};

QTEST_GUILESS_MAIN(TestLaunchProperties)
#include "test_launch_properties.moc"
