// SPDX-License-Identifier: MIT
#include "steam/launchoptionseditor.h"

#include "base/durablefile.h"
#include "steam/keyvalues.h"

#include <QDateTime>
#include <QFile>
#include <QRegularExpression>
#include <QStringBuilder>

#include <optional>

using namespace Qt::StringLiterals;

// The file is edited as Latin-1 text, one unit a byte, whatever its encoding: keys, quotes and
// braces are ASCII and cannot be part of a longer UTF-8 sequence, and no byte that is not valid
// UTF-8, no byte-order mark and no line end can be bent on the way. Only the options are encoded.

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

/// The capture of group 1 of the first match of `pattern` between `from` and `to`; the empty span
/// without a match. The text is Latin-1 and so needs no check for well-formedness.
BraceSpan captureSpan(QStringView text, BraceSpan range, const QRegularExpression &pattern)
{
    const QRegularExpressionMatch match = pattern.match(
        text.sliced(range.open, range.close - range.open).toString(), 0,
        QRegularExpression::NormalMatch, QRegularExpression::DontCheckSubjectStringMatchOption);
    if (!match.hasMatch())
        return {};
    return {range.open + match.capturedStart(1), range.open + match.capturedEnd(1)};
}

/// The text with every value of the block replaced; none when there is no value to replace.
/// `doubtful` is set when one of the old values goes on behind the quote that seems to end it.
std::optional<QString> replaceValues(const QString &text, BraceSpan block, const QString &options,
                                     bool &doubtful)
{
    QString edited;
    qsizetype done = 0;
    for (BraceSpan value = findLaunchOptionsValue(text, block.open, block.close); value.isValid();
         value = findLaunchOptionsValue(text, value.close + 1, block.close)) {
        doubtful = doubtful || isEscaped(text, value.close);
        edited += QStringView(text).sliced(done, value.open + 1 - done);
        edited += options;
        done = value.close;
    }
    if (done == 0)
        return std::nullopt;
    return edited += QStringView(text).sliced(done);
}

/// The text with a line for the value before the block's first key line; none when the block does
/// not show how its lines are indented.
std::optional<QString> insertLine(const QString &text, BraceSpan block, const QString &options)
{
    static const QRegularExpression blockIndent(u"\\{\\n(\\s*)\""_s);
    const BraceSpan indent = captureSpan(text, {block.open, block.close + 1}, blockIndent);
    if (!indent.isValid())
        return std::nullopt;
    const QStringView indentation =
        QStringView(text).sliced(indent.open, indent.close - indent.open);
    return QStringView(text).first(indent.open) % indentation % valueLine(options) % u'\n' %
           QStringView(text).sliced(indent.open);
}

/// The text with a block for the game as the first entry of the "apps" section.
QString insertBlock(const QString &text, BraceSpan apps, const QString &appid,
                    const QString &options)
{
    static const QRegularExpression appIndent(u"\\n(\\t+)\"\\d+\""_s);
    const BraceSpan found = captureSpan(text, apps, appIndent);
    const QString indentation =
        found.isValid() ? text.sliced(found.open, found.close - found.open) : u"\t\t\t\t\t"_s;
    const QString block = u'\n' + indentation + u'"' + appid + "\"\n"_L1 + indentation + "{\n"_L1 +
                          indentation + u'\t' + valueLine(options) + u'\n' + indentation + u'}';
    return QStringView(text).first(apps.open + 1) % block % QStringView(text).sliced(apps.open + 1);
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
    const std::optional<QByteArray> bytes = base::readWholeFile(path);
    if (!bytes)
        return fail("cannot open "_L1 + path);
    const QString text = QString::fromLatin1(*bytes);
    const QString newOptions = QString::fromLatin1(options.toUtf8());

    const BraceSpan apps = findAppsSection(text);
    if (!apps.isValid())
        return fail(u"no apps section found"_s);
    const BraceSpan block = findAppBlock(text, apps, appid);
    QString newText;
    bool doubtful = false;
    if (block.isValid()) {
        std::optional<QString> edited = replaceValues(text, block, newOptions, doubtful);
        if (!edited)
            edited = insertLine(text, block, newOptions);
        if (!edited)
            return fail("cannot determine indentation for "_L1 + appid);
        newText = *edited;
        // Braces are counted only here: a new block adds a pair, and braces in its options are left
        // to the reading back below.
        if (newText.count(u'}') != text.count(u'}') || newText.count(u'{') != text.count(u'{'))
            return fail(u"brace count changed; refusing to write"_s);
    } else {
        newText = insertBlock(text, apps, appid, newOptions);
    }
    if (doubtful || !options.isValidUtf16() || readLaunchOptions(newText, appid) != newOptions)
        return fail("post-edit verification failed for "_L1 + appid);

    if (makeBackup && writeBackup(path).isEmpty())
        return fail("could not write backup for "_L1 + path);
    switch (base::replaceFile(path, newText.toLatin1())) {
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
