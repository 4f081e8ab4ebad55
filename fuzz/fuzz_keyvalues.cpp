// SPDX-License-Identifier: MIT
// Input: the bytes of Steam's file. Every locator and the reader find what the plain telling of
// their rules finds.
#include "model/steammodel.h"
#include "require.h"
#include "steam/keyvalues.h"

using namespace Qt::StringLiterals;

namespace
{

/// A position as the model has it, which has no -1.
std::size_t place(qsizetype position)
{
    return static_cast<std::size_t>(position);
}

bool same(steam::BraceSpan span, model::Block block)
{
    return place(span.open) == block.open && place(span.close) == block.close;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const std::string plain = input.toStdString();
    for (qsizetype i = input.indexOf('{'), n = 0; i >= 0 && n < 20;
         i = input.indexOf('{', i + 1), ++n)
        fuzz::require(place(steam::matchingBrace(input, i)) ==
                          model::matchingBrace(plain, place(i)),
                      "the matching brace");

    const steam::BraceSpan apps = steam::findAppsSection(input);
    const model::Block plainApps = model::findAppsSection(plain);
    fuzz::require(same(apps, plainApps), "the apps section");
    for (const QString &appid : {u"10"_s, u"620"_s}) {
        fuzz::require(same(steam::findAppBlock(input, apps, appid),
                           model::findAppBlock(plain, plainApps, appid.toStdString())),
                      "the game's block");
        fuzz::require(steam::readLaunchOptions(input, appid).toStdU16String() ==
                          model::readLaunchOptions(plain, appid.toStdString()),
                      "the launch options");
    }
    return 0;
}
