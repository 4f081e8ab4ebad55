// SPDX-License-Identifier: MIT
// Input: vendor id, blank, device id, line feed, and a PCI ID database. A name that is found stands
// behind that device's id; the case of the ids and comments between the lines change nothing.
#include "hw/gpuenumeration.h"
#include "require.h"

#include <QFile>

#include <sys/mman.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{

QString lookUp(const QString &vendor, const QString &device, const QByteArray &database)
{
    const int descriptor = ::memfd_create("pci.ids", MFD_CLOEXEC);
    QFile file;
    if (!file.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered,
                   QFileDevice::AutoCloseHandle) ||
        file.write(database) != database.size())
        std::abort();
    return hw::lookupPciName(vendor, device, {"/proc/self/fd/"_L1 + QString::number(descriptor)});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype blank = input.indexOf(' ');
    const qsizetype end = input.indexOf('\n');
    if (blank < 0 || end < blank)
        return 0;
    const QString vendor = QString::fromLatin1(input.first(blank));
    const QString device = QString::fromLatin1(input.sliced(blank + 1, end - blank - 1));
    const QByteArray database = input.sliced(end + 1);

    const QString name = lookUp(vendor, device, database);
    if (!name.isEmpty()) {
        fuzz::require(name == name.trimmed() && !name.contains(u'\n'), "a name is one line");
        const QString text = QString::fromLatin1('\n' + database);
        bool stands = false;
        for (qsizetype at = text.indexOf(u'\n'); at >= 0 && !stands;
             at = text.indexOf(u'\n', at + 1)) {
            const QString line = text.sliced(at + 1).section(u'\n', 0, 0);
            stands = line.startsWith(u'\t') &&
                     line.sliced(1).startsWith(device, Qt::CaseInsensitive) &&
                     line.sliced(1 + device.size()).trimmed() == name;
        }
        fuzz::require(stands, "a name stands behind the device's id");
    }
    QByteArray commented = database;
    commented.replace("\n", "\n# a comment\n\n");
    fuzz::require(lookUp(vendor, device, commented) == name, "comments change nothing");
    fuzz::require(lookUp(vendor, device, database) == name, "asked again it is the same");
    const bool isAscii = std::all_of(input.cbegin(), input.cbegin() + end,
                                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (isAscii)
        fuzz::require(lookUp(vendor.toUpper(), device.toUpper(), database) == name,
                      "the case of the ids changes nothing");
    return 0;
}
