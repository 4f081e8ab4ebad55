// SPDX-License-Identifier: MIT
#include "steam/launchoptionseditor.h"

#include "base/durablefile.h"
#include "base/firstmatch.h"
#include "steam/keyvalues.h"

#include <QDateTime>
#include <QFile>
#include <QRegularExpression>
#include <QStringBuilder>

#include <optional>

using namespace Qt::StringLiterals;

// The file is edited as bytes, and the part of it that changes is looked at as Latin-1 text, one
// unit a byte, whatever its encoding: keys, quotes and braces are ASCII and cannot be part of a
// longer UTF-8 sequence, and no byte that is not valid UTF-8, no byte-order mark and no line end
// can be bent on the way. Only the options are encoded.

namespace steam
{
namespace
{

/// The line of a game's block that holds its value, without indentation and line end.
QString valueLine(const QString &options)
{
    return "\"LaunchOptions\"\t\t\""_L1 + options + u'"';
}

/// Whether the quote at `position` has an odd number of backslashes before it: to Steam it is then
/// a character of the value, and the value goes on behind it.
bool isEscaped(QStringView text, qsizetype position)
{
    qsizetype first = position;
    while (first > 0 && text[first - 1] == u'\\')
        --first;
    return (position - first) % 2 == 1;
}

/// Where group 1 of the first match of `pattern` stands in `text`; the empty span without a match.
BraceSpan captureSpan(QStringView text, const QRegularExpression &pattern)
{
    const QRegularExpressionMatch match = base::firstMatch(text.toString(), pattern);
    return {match.capturedStart(1), match.capturedEnd(1)};
}

/// The block with every value replaced; none when there is no value to replace. `doubtful` is set
/// when one of the old values goes on behind the quote that seems to end it.
std::optional<QString> replaceValues(QStringView block, const QString &options, bool &doubtful)
{
    QString edited;
    qsizetype done = 0;
    for (BraceSpan value = findLaunchOptionsValue(block, 0, block.size()); value.isValid();
         value = findLaunchOptionsValue(block, value.close + 1, block.size())) {
        doubtful = doubtful || isEscaped(block, value.close);
        edited += block.sliced(done, value.open + 1 - done);
        edited += options;
        done = value.close;
    }
    if (done == 0)
        return std::nullopt;
    return edited += block.sliced(done);
}

/// The block with a line for the value before its first key line; none when the block does not show
/// how its lines are indented.
std::optional<QString> insertLine(QStringView block, const QString &options)
{
    static const QRegularExpression blockIndent(u"\\{\\n(\\s*)\""_s);
    const BraceSpan found = captureSpan(block, blockIndent);
    if (!found.isValid())
        return std::nullopt;
    const QStringView indent = block.sliced(found.open, found.close - found.open);
    return block.first(found.open) % indent % valueLine(options) % u'\n' % block.sliced(found.open);
}

/// A block for the game, to stand first in the "apps" section, between its brace and what follows.
QString newBlock(QStringView section, const QString &appid, const QString &options)
{
    static const QRegularExpression appIndent(u"\\n(\\t+)\"\\d+\""_s);
    const BraceSpan found = captureSpan(section, appIndent);
    const QString indent = found.isValid()
                               ? section.sliced(found.open, found.close - found.open).toString()
                               : u"\t\t\t\t\t"_s;
    return u'\n' + indent + u'"' + appid + "\"\n"_L1 + indent + "{\n"_L1 + indent + u'\t' +
           valueLine(options) + u'\n' + indent + u'}';
}

} // namespace

bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error)
{
    const auto fail = [error](const QString &message) {
        if (error)
            *error = message;
        return false;
    };

    if (options.contains(u'"') || options.contains(u'\\'))
        return fail(u"options contain characters VDF cannot store unescaped"_s);
    std::optional<QByteArray> bytes = base::readWholeFile(path);
    if (!bytes)
        return fail("cannot open "_L1 + path);
    const QString newOptions = QString::fromLatin1(options.toUtf8());

    const BraceSpan apps = findAppsSection(*bytes);
    if (!apps.isValid())
        return fail(u"no apps section found"_s);
    const BraceSpan block = findAppBlock(*bytes, apps, appid);
    const auto textOf = [&bytes](qsizetype from, qsizetype to) {
        return QString::fromLatin1(QByteArrayView(*bytes).sliced(from, to - from));
    };
    BraceSpan replaced;
    QString replacement;
    bool doubtful = false;
    if (block.isValid()) {
        replaced = {block.open, block.close + 1};
        const QString blockText = textOf(replaced.open, replaced.close);
        std::optional<QString> edited = replaceValues(blockText, newOptions, doubtful);
        if (!edited)
            edited = insertLine(blockText, newOptions);
        if (!edited)
            return fail("cannot determine indentation for "_L1 + appid);
        replacement = *edited;
        // Braces are counted only here: a new block adds a pair, and braces in its options are left
        // to the reading back below. Outside the block nothing changes.
        if (replacement.count(u'}') != blockText.count(u'}') ||
            replacement.count(u'{') != blockText.count(u'{'))
            return fail(u"brace count changed; refusing to write"_s);
    } else {
        replaced = {apps.open + 1, apps.open + 1};
        replacement = newBlock(textOf(apps.open, apps.close), appid, newOptions);
    }
    bytes->replace(replaced.open, replaced.close - replaced.open, replacement.toLatin1());
    if (doubtful || readLaunchOptions(cutAppsSection(*bytes), appid) != options)
        return fail("post-edit verification failed for "_L1 + appid);

    if (makeBackup && writeBackup(path).isEmpty())
        return fail("could not write backup for "_L1 + path);
    switch (base::replaceFile(path, *bytes)) {
    case base::Replaced::Yes:
        break;
    case base::Replaced::CannotOpen:
        return fail("cannot write "_L1 + path);
    case base::Replaced::CommitFailed:
        return fail("commit failed for "_L1 + path);
    }
    return true;
}

QString writeBackup(const QString &path)
{
    const QString base =
        path + ".bak-marrow-"_L1 + QString::number(QDateTime::currentSecsSinceEpoch());
    QString candidate = base;
    for (int i = 1; QFile::exists(candidate); ++i)
        candidate = base + u'-' + QString::number(i);
    return base::copyFile(path, candidate) ? candidate : QString();
}

} // namespace steam
