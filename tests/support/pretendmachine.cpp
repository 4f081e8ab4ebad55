// SPDX-License-Identifier: MIT
#include "support/pretendmachine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <csignal>
#include <filesystem>

using namespace Qt::StringLiterals;

namespace support
{
namespace
{

[[noreturn]] void giveUp(const QString &what)
{
    qFatal("pretend machine: %s", qPrintable(what));
}

QString rootSteamapps(const PretendMachine &machine)
{
    return machine.steamRoot() + "/steamapps"_L1;
}

/// Empties a folder, but for the entries of those names.
void wipe(const QString &path, const QStringList &kept = {})
{
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator(path.toStdString())) {
        if (!kept.contains(QString::fromStdString(entry.path().filename())))
            std::filesystem::remove_all(entry.path(), ignored);
    }
}

} // namespace

PretendMachine::PretendMachine()
{
    machineRoot = qEnvironmentVariable("MARROWPULSE_MACHINE");
    if (machineRoot.isEmpty()) {
        temporary = std::make_unique<QTemporaryDir>();
        machineRoot = temporary->path();
    }
    // The four folders themselves stay: on-machine has put them in the place of the real ones.
    const QStringList parts{u"home"_s, u"bin"_s, u"sys"_s, u"hwdata"_s};
    wipe(machineRoot, parts);
    for (const QString &part : parts) {
        QDir().mkpath(machineRoot + u'/' + part);
        wipe(machineRoot + u'/' + part);
    }
    inForce = true;
    previousHome = qgetenv("HOME");
    previousPath = qgetenv("PATH");
    qputenv("HOME", QFile::encodeName(home()));
    qputenv("PATH", QFile::encodeName(machineRoot + "/bin"_L1) + ':' + previousPath);
}

PretendMachine::PretendMachine(const QString &root) : machineRoot(root)
{
    for (const QString &part : {u"home"_s, u"bin"_s, u"sys"_s, u"hwdata"_s})
        QDir().mkpath(root + u'/' + part);
}

PretendMachine::~PretendMachine()
{
    if (!inForce)
        return;
    killSteamClient();
    qputenv("HOME", previousHome);
    qputenv("PATH", previousPath);
}

void PretendMachine::write(const QString &path, const QByteArray &content) const
{
    const QString full = QDir(machineRoot).absoluteFilePath(path);
    QDir().mkpath(QFileInfo(full).path());
    QFile file(full);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush())
        giveUp("cannot write "_L1 + full);
}

QByteArray PretendMachine::read(const QString &path) const
{
    QFile file(QDir(machineRoot).absoluteFilePath(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void PretendMachine::addCommand(const QString &name, const QByteArray &script) const
{
    const QString path = machineRoot + "/bin/"_L1 + name;
    write(path, script);
    QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner | QFile::ExeGroup |
                                    QFile::ExeOther);
}

void PretendMachine::installSteam()
{
    QDir().mkpath(rootSteamapps(*this));
    QDir().mkpath(steamRoot() + "/userdata/70001/config"_L1);
    QDir().mkpath(home() + "/.steam"_L1);
    QFile::link(steamRoot(), home() + "/.steam/steam"_L1);
    libraries = {steamRoot()};
    writeLibraryFolders();
}

QString PretendMachine::addLibrary(const QString &name)
{
    const QString library = machineRoot + u'/' + name;
    QDir().mkpath(library + "/steamapps"_L1);
    libraries.append(library);
    writeLibraryFolders();
    return library + "/steamapps"_L1;
}

void PretendMachine::writeLibraryFolders() const
{
    QByteArray text = "\"libraryfolders\"\n{\n";
    for (qsizetype i = 0; i < libraries.size(); ++i) {
        text += "\t\"" + QByteArray::number(i) + "\"\n\t{\n\t\t\"path\"\t\t\"" +
                libraries[i].toUtf8() + "\"\n\t\t\"label\"\t\t\"\"\n\t}\n";
    }
    write(rootSteamapps(*this) + "/libraryfolders.vdf"_L1, text + "}\n");
}

void PretendMachine::addGame(const QString &appid, const QString &name,
                             const QString &steamapps) const
{
    const QString folder = steamapps.isEmpty() ? rootSteamapps(*this) : steamapps;
    write(folder + "/appmanifest_"_L1 + appid + ".acf"_L1,
          "\"AppState\"\n{\n\t\"appid\"\t\t\"" + appid.toUtf8() +
              "\"\n\t\"Universe\"\t\t\"1\"\n\t\"name\"\t\t\"" + name.toUtf8() +
              "\"\n\t\"StateFlags\"\t\t\"4\"\n\t\"installdir\"\t\t\"" + name.toUtf8() + "\"\n}\n");
}

void PretendMachine::removeGame(const QString &appid, const QString &steamapps) const
{
    const QString folder = steamapps.isEmpty() ? rootSteamapps(*this) : steamapps;
    if (!QFile::remove(folder + "/appmanifest_"_L1 + appid + ".acf"_L1))
        giveUp("no game "_L1 + appid);
}

void PretendMachine::installLosslessScaling(const QString &steamapps) const
{
    const QString folder = steamapps.isEmpty() ? rootSteamapps(*this) : steamapps;
    addGame(u"993090"_s, u"Lossless Scaling"_s, folder);
    write(folder + "/common/Lossless Scaling/Lossless.dll"_L1, "MZ");
}

QString PretendMachine::localConfig() const
{
    return steamRoot() + "/userdata/70001/config/localconfig.vdf"_L1;
}

QStringList PretendMachine::backups() const
{
    return QFileInfo(localConfig())
        .dir()
        .entryList({u"localconfig.vdf.bak-marrow-*"_s}, QDir::Files, QDir::Name);
}

void PretendMachine::addSteamCommand() const
{
    addCommand(u"steam"_s, R"sh(#!/bin/sh
echo "$*" >> "$HOME/../steam-calls"
case "$1" in
-shutdown) kill -TERM "$(cat "$HOME/.steam/steam.pid")" ;;
*) exec "$HOME/.local/share/Steam/ubuntu12_32/steam" ;;
esac
)sh");
    const QString client = steamRoot() + "/ubuntu12_32/steam"_L1;
    if (QFile::exists(client))
        return;
    QDir().mkpath(QFileInfo(client).path());
    // A copy: the kernel's exe link names the file itself, not a link that leads to it.
    if (!QFile::copy(QStringLiteral(PRETEND_STEAM_CLIENT), client))
        giveUp(u"cannot copy " PRETEND_STEAM_CLIENT ""_s);
}

void PretendMachine::startSteamClient(const QStringList &arguments) const
{
    addSteamCommand();
    // This process ends when the pid file is written; the client goes on in the background.
    QProcess client;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, home());
    client.setProcessEnvironment(environment);
    client.start(steamRoot() + "/ubuntu12_32/steam"_L1, arguments);
    if (!client.waitForFinished() || client.exitCode() != 0)
        giveUp(u"the client did not start"_s);
}

void PretendMachine::killSteamClient() const
{
    const pid_t pid = read(home() + "/.steam/steam.pid"_L1).trimmed().toInt();
    const QString client = "/proc/"_L1 + QString::number(pid) + "/exe"_L1;
    if (pid > 0 && QFileInfo(client).symLinkTarget().startsWith(steamRoot()))
        ::kill(pid, SIGKILL);
}

QStringList PretendMachine::steamCalls() const
{
    QStringList calls = QString::fromUtf8(read(u"steam-calls"_s)).split(u'\n');
    calls.removeLast();
    return calls;
}

void PretendMachine::addGpu(const PretendGpu &gpu) const
{
    const QString pci = machineRoot + "/sys/devices/pci0000:00"_L1;
    const QString port = pci + "/0000:00:"_L1 + gpu.card.mid(4).rightJustified(2, u'0') + ".0"_L1;
    const QString device = port + u'/' + gpu.address;
    const auto attribute = [this](const QString &path, const QString &value) {
        if (!value.isEmpty())
            write(path, value.toLatin1() + '\n');
    };
    const QString cardFolder = device + "/drm/"_L1 + gpu.card;
    QDir().mkpath(cardFolder);
    attribute(device + "/vendor"_L1, gpu.vendor);
    attribute(device + "/device"_L1, gpu.device);
    attribute(device + "/boot_vga"_L1, gpu.bootVga);
    attribute(device + "/current_link_width"_L1, gpu.currentLinkWidth);
    attribute(device + "/max_link_speed"_L1, gpu.maxLinkSpeed);
    attribute(port + "/current_link_width"_L1, gpu.portCurrentLinkWidth);
    attribute(port + "/max_link_width"_L1, gpu.portMaxLinkWidth);
    attribute(port + "/max_link_speed"_L1, gpu.portMaxLinkSpeed);

    // The links as the kernel makes them: class entries lead into the device tree, and a card's
    // "device" leads two folders up.
    QDir().mkpath(drm());
    const QString fromDrm = "../.."_L1 + device.mid(machineRoot.size() + 4) + "/drm/"_L1;
    QFile::link(u"../../../"_s + gpu.address, cardFolder + "/device"_L1);
    QFile::link(fromDrm + gpu.card, drm() + u'/' + gpu.card);
    for (auto it = gpu.connectors.cbegin(); it != gpu.connectors.cend(); ++it) {
        const QString connector = gpu.card + u'-' + it.key();
        QDir().mkpath(cardFolder + u'/' + connector);
        attribute(cardFolder + u'/' + connector + "/status"_L1, it.value());
        QFile::link(fromDrm + gpu.card + u'/' + connector, drm() + u'/' + connector);
    }
}

void PretendMachine::addXrandr(const QByteArray &output) const
{
    write(u"xrandr-output"_s, output);
    addCommand(u"xrandr"_s, "#!/bin/sh\nexec cat \"$HOME/../xrandr-output\"\n");
}

} // namespace support
