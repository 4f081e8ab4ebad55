// SPDX-License-Identifier: MIT
// Input: Steam's text, taken as UTF-8 and as Latin-1. Every locator and the reader find what the
// plain telling of their rules finds, in the text and in its bytes.
#include "model/steammodel.h"
#include "require.h"
#include "steam/keyvalues.h"

using namespace Qt::StringLiterals;

namespace
{

bool same(steam::BraceSpan span, model::Block block)
{
    return span.open == block.open && span.close == block.close;
}

void compare(const QString &text)
{
    const std::u16string plain = text.toStdU16String();
    for (qsizetype i = text.indexOf(u'{'), n = 0; i >= 0 && n < 20;
         i = text.indexOf(u'{', i + 1), ++n)
        fuzz::require(steam::matchingBrace(text, i) == model::matchingBrace(plain, i),
                      "the matching brace");
    fuzz::require(steam::matchingBrace(text, text.size()) == -1, "no brace behind the end");

    const steam::BraceSpan apps = steam::findAppsSection(text);
    const model::Block plainApps = model::findAppsSection(plain);
    fuzz::require(same(apps, plainApps), "the apps section");
    for (const QString &appid : {u"10"_s, u"620"_s}) {
        if (apps.isValid()) {
            fuzz::require(same(steam::findAppBlock(text, apps, appid),
                               model::findAppBlock(plain, plainApps, appid.toStdU16String())),
                          "the game's block");
        }
        fuzz::require(steam::readLaunchOptions(text, appid).toStdU16String() ==
                          model::readLaunchOptions(plain, appid.toStdU16String()),
                      "the launch options");
    }
}

void compareBytes(const QByteArray &utf8)
{
    const std::u16string plain = QString::fromUtf8(utf8).toStdU16String();
    const steam::AppsSection section = steam::cutAppsSection(utf8);
    for (const QString &appid : {u"10"_s, u"620"_s}) {
        fuzz::require(steam::readLaunchOptions(section, appid).toStdU16String() ==
                          model::readLaunchOptions(plain, appid.toStdU16String()),
                      "the launch options in the bytes");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    compare(QString::fromUtf8(input));
    compare(QString::fromLatin1(input));
    compareBytes(input);
    return 0;
}
