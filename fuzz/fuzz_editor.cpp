// SPDX-License-Identifier: MIT
// Input: the new options in UTF-8, a NUL, and the bytes of the file. The editor does what the plain
// telling of its rules says; done, the value reads back; refused, the text is as it was.
#include "model/steammodel.h"
#include "require.h"
#include "steam/keyvalues.h"
#include "steam/launchoptionseditor.h"

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype end = input.indexOf('\0');
    if (end < 0)
        return 0;
    const QString options = QString::fromUtf8(input.first(end));
    const QByteArray before = input.sliced(end + 1);
    const QString appid = u"620"_s;
    const auto [after, refusals] =
        steam::editLaunchOptions(steam::AppsSection(before), {{appid, options}});

    const model::Edited told =
        model::edit(before.toStdString(), {{"620", options.toStdU16String()}});
    fuzz::require(after.toStdString() == told.text, "the bytes as told");
    fuzz::require(refusals.isEmpty() == told.refusals.empty(), "done as told");
    if (!refusals.isEmpty()) {
        fuzz::require(refusals.value(appid).toStdString() == told.refusals.at("620").message,
                      "the message as told");
        fuzz::require(after == before, "a refused edit changes nothing");
        return 0;
    }
    fuzz::require(steam::readLaunchOptions(after, appid) == options, "what was written reads back");
    return 0;
}
