// SPDX-License-Identifier: MIT
// Input: the new options in UTF-8, a NUL, and the bytes of the file. The editor does what the plain
// telling of its rules says; done, the value reads back and nothing else changed; refused, the file
// is as it was.
#include "fault/onlythevalue.h"
#include "model/steammodel.h"
#include "require.h"
#include "steam/keyvalues.h"
#include "steam/launchoptionseditor.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace
{

/// A folder in memory where there is one.
const QString &folder()
{
    static const QTemporaryDir dir(QDir(u"/dev/shm"_s).exists()
                                       ? u"/dev/shm/marrowpulse-fuzz-XXXXXX"_s
                                       : QDir::temp().filePath(u"marrowpulse-fuzz-XXXXXX"_s));
    static const QString path = dir.path();
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype end = input.indexOf('\0');
    if (end < 0)
        return 0;
    const QString options = QString::fromUtf8(input.first(end));
    const QByteArray before = input.sliced(end + 1);
    const QString appid = u"620"_s;

    const QString path = folder() + "/localconfig.vdf"_L1;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ||
        file.write(before) != before.size())
        return 0;
    file.close();
    QString error;
    const bool done = steam::setLaunchOptions(path, appid, options, false, &error);
    if (!file.open(QIODevice::ReadOnly))
        std::abort();
    const QByteArray after = file.readAll();

    const model::Edit told =
        model::setLaunchOptions(before.toStdString(), "620", options.toStdU16String());
    fuzz::require(done == told.done, "done as told");
    fuzz::require(after.toStdString() == told.bytes, "the bytes as told");
    fuzz::require(done || error.toStdString().starts_with(told.message), "the message as told");
    const QByteArray encoded = options.toUtf8();
    if (done) {
        fuzz::require(steam::readLaunchOptions(after, appid) == options,
                      "what was written reads back");
        fuzz::require(encoded.isEmpty() || before.contains(encoded) ||
                          fault::isOnlyTheValueChanged(before, after, "620", encoded),
                      "nothing but the value changed");
    } else {
        fuzz::require(after == before, "a refused edit changes nothing");
    }
    fuzz::require(QDir(folder()).entryList(QDir::Files | QDir::Hidden).size() == 1,
                  "nothing is left behind");
    return 0;
}
