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
    out.open("UserLocalConfigStore");
    out.open("friends");
    out.value("VoiceReceiveVolume", "0");
    out.value("PersonaName", "Player \xE2\x98\x85");
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
        out.open(app.appid.toUtf8());
        out.value("LastPlayed", "17" + app.appid.toUtf8().leftJustified(8, '0'));
        out.value("Playtime", QByteArray::number(app.appid.toInt() % 5000));
        out.open("cloud");
        out.value("last_sync_state", "synchronized");
        out.value("quota_bytes", "1000000000");
        out.close();
        out.open("autocloud");
        out.value("lastlaunch", "1763600000");
        out.value("lastexit", "1763603600");
        out.close();
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
