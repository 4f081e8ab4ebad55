// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace support
{

/// A GPU as the kernel's sysfs shows it. An empty text means that the file does not exist.
struct PretendGpu {
    QString card;                              ///< e.g. card0
    QString address;                           ///< PCI address, e.g. 0000:03:00.0
    QString vendor = QStringLiteral("0x1002"); ///< with the kernel's "0x"
    QString device = QStringLiteral("0x73bf");
    QString bootVga = QStringLiteral("0");
    QString currentLinkWidth = QStringLiteral("16");
    QString maxLinkSpeed = QStringLiteral("16.0 GT/s PCIe");
    QString portCurrentLinkWidth{}; ///< of the upstream port, as are the next two
    QString portMaxLinkWidth{};
    QString portMaxLinkSpeed{};
    QMap<QString, QString> connectors{}; ///< e.g. DP-1 -> connected
};

/// A machine made of real files and processes in one folder: home, bin (first on the search path),
/// sys and hwdata. It starts bare: no Steam, no GPU, no xrandr.
///
/// If the process was started by tests/support/on-machine, this is the machine that it was started
/// on, emptied. Otherwise it is a temporary folder, and only its home and its search path take
/// effect. The destructor restores both and kills a running client.
class PretendMachine
{
public:
    PretendMachine();
    /// Builds in `root`, which stays, and does not change this process's environment.
    explicit PretendMachine(const QString &root);
    ~PretendMachine();
    Q_DISABLE_COPY_MOVE(PretendMachine)

    QString root() const { return machineRoot; }
    QString home() const { return machineRoot + QStringLiteral("/home"); }
    QString drm() const { return machineRoot + QStringLiteral("/sys/class/drm"); }
    QString hwdata() const { return machineRoot + QStringLiteral("/hwdata"); }

    /// Writes a file below the machine's folder (or at an absolute path), and makes its folders.
    void write(const QString &path, const QByteArray &content) const;
    QByteArray read(const QString &path) const;
    /// Puts an executable on the search path.
    void addCommand(const QString &name, const QByteArray &script) const;

    // Steam
    /// Installs Steam in ~/.local/share/Steam, with a link ~/.steam/steam to it, one account, and
    /// an empty root library.
    void installSteam();
    QString steamRoot() const { return home() + QStringLiteral("/.local/share/Steam"); }
    /// Adds a library; returns its "steamapps" folder.
    QString addLibrary(const QString &name);
    /// Writes a game's manifest into a "steamapps" folder, the root library's by default.
    void addGame(const QString &appid, const QString &name, const QString &steamapps = {}) const;
    void removeGame(const QString &appid, const QString &steamapps = {}) const;
    void installLosslessScaling(const QString &steamapps = {}) const;
    QString localConfig() const;
    void writeLocalConfig(const QByteArray &content) const { write(localConfig(), content); }
    QByteArray readLocalConfig() const { return read(localConfig()); }
    /// Backups beside localconfig.vdf, by name.
    QStringList backups() const;

    /// Puts a "steam" command on the search path. It records the arguments of each call as a line
    /// of steamCalls(). With "-shutdown" it asks the client to exit; without arguments it starts
    /// it.
    void addSteamCommand() const;
    /// Starts a client: a process whose executable is called steam, and whose number is in the pid
    /// file. It keeps localconfig.vdf in memory, as Steam does. When it is asked to exit, it writes
    /// the file again with one more "ExitCount" line after the file's opening brace.
    void startSteamClient(const QStringList &arguments = {}) const;
    /// Starts a client that does not exit when asked.
    void startStubbornSteamClient() const { startSteamClient({QStringLiteral("--stubborn")}); }
    void killSteamClient() const;
    QStringList steamCalls() const;

    // Hardware
    void addGpu(const PretendGpu &gpu) const;
    void writePciIds(const QByteArray &content) const
    {
        write(hwdata() + QStringLiteral("/pci.ids"), content);
    }
    /// Puts an xrandr that prints `output` on the search path.
    void addXrandr(const QByteArray &output) const;

    /// The path of the settings store's file.
    QString storePath() const
    {
        return home() + QStringLiteral("/.config/Marrowpulse/Marrowpulse.conf");
    }

private:
    void writeLibraryFolders() const;

    std::unique_ptr<QTemporaryDir> temporary;
    QString machineRoot;
    QStringList libraries;
    bool inForce = false;
    QByteArray previousHome;
    QByteArray previousPath;
};

} // namespace support
