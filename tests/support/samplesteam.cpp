// SPDX-License-Identifier: MIT
#include "support/samplesteam.h"

namespace support
{
namespace
{

QByteArray entry(const QByteArray &key, const QByteArray &value)
{
    return '"' + key + "\"\t\t\"" + value + "\"\n";
}

QByteArray block(const QByteArray &key, QByteArray content)
{
    content.prepend('\n').replace('\n', "\n\t").chop(1);
    return '"' + key + "\"\n{" + content + "}\n";
}

QByteArray blockOf(const SampleApp &app)
{
    const QByteArray id = app.appid.toUtf8();
    QByteArray content =
        entry("LastPlayed", "17" + id.leftJustified(8, '0')) +
        entry("Playtime", QByteArray::number(app.appid.toInt() % 5000)) +
        block("cloud",
              entry("last_sync_state", "synchronized") + entry("quota_bytes", "1000000000")) +
        block("autocloud", entry("lastlaunch", "1763600000") + entry("lastexit", "1763603600"));
    if (app.appid.toInt() % 2 == 1)
        content += block(id + "_eula_0", entry("language", "english"));
    content += entry("BadgeData", "02000000");
    if (app.launchOptions)
        content += entry("LaunchOptions", app.launchOptions->toUtf8());
    return block(id, content);
}

} // namespace

QByteArray sampleLocalConfig(const QList<SampleApp> &apps, int friends)
{
    QByteArray games;
    QByteArray tickets;
    for (const SampleApp &app : apps) {
        games += blockOf(app);
        tickets += entry(app.appid.toUtf8(), "14000000" + app.appid.toUtf8());
    }
    // Steam's own switches, which stand under a key "apps" as well.
    const auto switches = [&apps](const QByteArray &name) {
        QByteArray content;
        for (qsizetype i = 0; i < apps.size(); i += 3)
            content += block(apps[i].appid.toUtf8(), entry(name, "1"));
        return block("apps", content);
    };
    QByteArray people;
    for (int i = 0; i < friends; ++i) {
        const QByteArray avatar = QByteArray::number(0x5bd1e995u * unsigned(i + 1), 16);
        people += block(QByteArray::number(40'000'000 + i * 97),
                        entry("name", "friend " + QByteArray::number(i)) +
                            entry("avatar", avatar.rightJustified(8, '0').repeated(5)));
    }
    return block(
        "UserLocalConfigStore",
        block("friends", entry("VoiceReceiveVolume", "0") +
                             entry("PersonaName", "Player \\\"The {cat}\\\" \xE2\x98\x85") +
                             people) +
            block("Offline", entry("Ticket", QByteArray("0a1b2c3d").repeated(8))) +
            block("Software",
                  block("Valve", block("Steam", entry("LastPlayedTimesSyncTime", "1763700000") +
                                                    block("apps", games) +
                                                    entry("ShaderCacheManager", "1")))) +
            switches("OverlayAppEnable") +
            block("WebStorage", entry("Seen", "{\\\"version\\\":2,\\\"apps\\\":[]}") +
                                    switches("UseSteamControllerConfig")) +
            block("streaming_v2", entry("EnableStreaming", "0")) + block("apptickets", tickets));
}

} // namespace support
