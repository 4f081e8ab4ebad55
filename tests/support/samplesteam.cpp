// SPDX-License-Identifier: MIT
#include "support/samplesteam.h"

namespace support
{
namespace
{

class Writer
{
public:
    void value(const QByteArray &key, const QByteArray &value)
    {
        text += indent() + '"' + key + "\"\t\t\"" + value + "\"\n";
    }
    void open(const QByteArray &key)
    {
        text += indent() + '"' + key + "\"\n" + indent() + "{\n";
        ++depth;
    }
    void close()
    {
        --depth;
        text += indent() + "}\n";
    }
    QByteArray text;

private:
    QByteArray indent() const { return QByteArray(depth, '\t'); }
    int depth = 0;
};

} // namespace

QByteArray sampleLocalConfig(const QList<SampleApp> &apps, int friends)
{
    Writer out;
    // Steam's own switches, which stand under a key "apps" as well.
    const auto writeSwitches = [&](const QByteArray &name) {
        out.open("apps");
        for (qsizetype i = 0; i < apps.size(); i += 3) {
            out.open(apps[i].appid.toUtf8());
            out.value(name, "1");
            out.close();
        }
        out.close();
    };
    out.open("UserLocalConfigStore");
    out.open("friends");
    out.value("VoiceReceiveVolume", "0");
    out.value("PersonaName", "Player \\\"The {cat}\\\" \xE2\x98\x85");
    for (int i = 0; i < friends; ++i) {
        out.open(QByteArray::number(40'000'000 + i * 97));
        out.value("name", "friend " + QByteArray::number(i));
        out.value("avatar", QByteArray::number(0x5bd1e995u * unsigned(i + 1), 16)
                                .rightJustified(8, '0')
                                .repeated(5));
        out.close();
    }
    out.close();
    out.open("Offline");
    out.value("Ticket", QByteArray("0a1b2c3d").repeated(8));
    out.close();
    out.open("Software");
    out.open("Valve");
    out.open("Steam");
    out.value("LastPlayedTimesSyncTime", "1763700000");
    out.open("apps");
    for (const SampleApp &app : apps) {
        const QByteArray id = app.appid.toUtf8();
        out.open(id);
        out.value("LastPlayed", "17" + id.leftJustified(8, '0'));
        out.value("Playtime", QByteArray::number(app.appid.toInt() % 5000));
        out.open("cloud");
        out.value("last_sync_state", "synchronized");
        out.value("quota_bytes", "1000000000");
        out.close();
        out.open("autocloud");
        out.value("lastlaunch", "1763600000");
        out.value("lastexit", "1763603600");
        out.close();
        if (app.appid.toInt() % 2 == 1) {
            out.open(id + "_eula_0");
            out.value("language", "english");
            out.close();
        }
        out.value("BadgeData", "02000000");
        if (app.launchOptions)
            out.value("LaunchOptions", app.launchOptions->toUtf8());
        out.close();
    }
    out.close();
    out.value("ShaderCacheManager", "1");
    out.close();
    out.close();
    out.close();
    writeSwitches("OverlayAppEnable");
    out.open("WebStorage");
    out.value("Seen", "{\\\"version\\\":2,\\\"apps\\\":[]}");
    writeSwitches("UseSteamControllerConfig");
    out.close();
    out.open("streaming_v2");
    out.value("EnableStreaming", "0");
    out.close();
    out.open("apptickets");
    for (const SampleApp &app : apps)
        out.value(app.appid.toUtf8(), "14000000" + app.appid.toUtf8());
    out.close();
    out.close();
    return out.text;
}

} // namespace support
