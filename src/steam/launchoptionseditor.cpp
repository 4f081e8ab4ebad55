// SPDX-License-Identifier: MIT
#include "steam/launchoptionseditor.h"

#include "base/folderlock.h"
#include "steam/keyvalues.h"

#include <QByteArrayList>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace steam
{
namespace
{

/// New bytes for a part of a text, from `from` up to but not including `to`.
struct Replacement {
    qsizetype from = 0;
    qsizetype to = 0;
    QByteArray bytes;
};

/// What is to be done for one change.
struct Decision {
    EditOutcome outcome;
    bool isNewBlock = false; ///< nothing is replaced; a block is to be inserted
    Replacement replacement;
};

QByteArrayView part(QByteArrayView text, BraceSpan span)
{
    return text.sliced(span.open, span.close + 1 - span.open);
}

constexpr auto cannotStore = "options contain characters VDF cannot store unescaped"_L1;

bool isStorable(const QString &options)
{
    return !options.contains(u'"') && !options.contains(u'\\');
}

bool hasBraces(QByteArrayView bytes)
{
    return bytes.contains('{') || bytes.contains('}');
}

QString verificationFailed(const QString &appid)
{
    return "post-edit verification failed for "_L1 + appid;
}

/// Whether a reader who knows quotes and escapes sees the block end where its braces end it. The
/// brace that opens it is taken to stand outside quotes.
bool closesOutsideQuotes(QByteArrayView text, BraceSpan block)
{
    qsizetype depth = 0;
    bool isQuoted = false;
    for (qsizetype i = block.open; i <= block.close; ++i) {
        const char byte = text[i];
        if (byte == '"')
            isQuoted = !isQuoted;
        else if (isQuoted)
            i += byte == '\\' ? 1 : 0;
        else if (byte == '{')
            ++depth;
        else if (byte == '}' && --depth == 0)
            return i == block.close;
    }
    return false;
}

/// Whether the value can be read to its end and given back: not when the quote at its end is
/// escaped, by an odd number of backslashes before it, and not when it is no UTF-8.
bool isWhole(QByteArrayView text, BraceSpan value)
{
    qsizetype first = value.close;
    while (text[first - 1] == '\\')
        --first;
    return (value.close - first) % 2 == 0 && part(text, value).isValidUtf8();
}

/// Where group 1 of the first match of `pattern` stands in `bytes`, which are looked at as Latin-1,
/// one character a byte; the empty span without a match.
BraceSpan captureSpan(QByteArrayView bytes, const QRegularExpression &pattern)
{
    const QRegularExpressionMatch match = pattern.match(QString::fromLatin1(bytes));
    return {match.capturedStart(1), match.capturedEnd(1)};
}

/// The quotes of the values in a game's block.
QList<BraceSpan> valuesIn(QByteArrayView text, BraceSpan block)
{
    static const QRegularExpression valuePattern(u"\"LaunchOptions\"\\s*(\"[^\"]*\")"_s);
    if (!block.isValid())
        return {};
    QList<BraceSpan> values;
    const QString blockText = QString::fromLatin1(part(text, block));
    for (auto matches = valuePattern.globalMatch(blockText); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        values.append({block.open + match.capturedStart(1), block.open + match.capturedEnd(1) - 1});
    }
    return values;
}

/// The line of a game's block that holds its value, without indentation and line end.
QByteArray valueLine(const QString &options)
{
    return "\"LaunchOptions\"\t\t\"" + options.toUtf8() + '"';
}

/// A line for the value before the block's first key line; none when the block does not show how
/// its lines are indented.
std::optional<Replacement> newLine(QByteArrayView text, BraceSpan block, const QString &options)
{
    static const QRegularExpression blockIndent(u"\\{\\n(\\s*)\""_s);
    const QByteArrayView blockText = part(text, block);
    const BraceSpan indent = captureSpan(blockText, blockIndent);
    if (!indent.isValid())
        return std::nullopt;
    const qsizetype at = block.open + indent.open;
    return Replacement{at, at,
                       blockText.sliced(indent.open, indent.close - indent.open).toByteArray() +
                           valueLine(options) + '\n'};
}

/// How the keys of games are indented in the "apps" section.
QByteArray appIndentation(QByteArrayView section)
{
    static const QRegularExpression appIndent(u"\\n(\\t+)\"\\d+\""_s);
    const BraceSpan found = captureSpan(section, appIndent);
    return found.isValid() ? section.sliced(found.open, found.close - found.open).toByteArray()
                           : QByteArray(5, '\t');
}

/// A block for the game, to stand first in the "apps" section, between its brace and what follows.
QByteArray newBlock(const LaunchOptionsChange &change, const QByteArray &indent)
{
    return '\n' + indent + '"' + change.appid.toUtf8() + "\"\n" + indent + "{\n" + indent + '\t' +
           valueLine(change.launchOptions) + '\n' + indent + '}';
}

/// From the first value to the last, with the options in the place of each.
Replacement newValues(QByteArrayView text, const QList<BraceSpan> &values, const QString &options)
{
    const QByteArray value = '"' + options.toUtf8() + '"';
    Replacement replacement{values.first().open, values.first().open, {}};
    for (const BraceSpan &old : values) {
        replacement.bytes += text.sliced(replacement.to, old.open - replacement.to);
        replacement.bytes += value;
        replacement.to = old.close + 1;
    }
    return replacement;
}

Decision decide(const AppsSection &section, bool isSectionDoubtful,
                const LaunchOptionsChange &change)
{
    const QByteArrayView text = section.text();
    const BraceSpan block = section.block(change.appid);
    const QList<BraceSpan> values = valuesIn(text, block);
    Decision decision;
    decision.isNewBlock = !block.isValid();
    const bool isDoubtful =
        isSectionDoubtful || (block.isValid() && !closesOutsideQuotes(text, block)) ||
        !std::all_of(values.cbegin(), values.cend(),
                     [&](const BraceSpan &value) { return isWhole(text, value); });
    decision.outcome.isOldTextDoubtful = isDoubtful;
    const auto refuse = [&decision](const QString &message) {
        decision.outcome.message = message;
        return decision;
    };

    if (!isStorable(change.launchOptions))
        return refuse(cannotStore);
    if (!section.span().isValid())
        return refuse(u"no apps section found"_s);
    if (block.isValid()) {
        const std::optional<Replacement> replacement =
            values.isEmpty() ? newLine(text, block, change.launchOptions)
                             : newValues(text, values, change.launchOptions);
        if (!replacement)
            return refuse("cannot determine indentation for "_L1 + change.appid);
        decision.replacement = *replacement;
        // Braces are counted only here: a new block adds a pair, and braces in its options are left
        // to the reading back.
        const QByteArrayView old =
            text.sliced(replacement->from, replacement->to - replacement->from);
        if (replacement->bytes.count('{') != old.count('{') ||
            replacement->bytes.count('}') != old.count('}')) {
            decision.outcome.isOldTextDoubtful =
                isDoubtful ||
                std::any_of(values.cbegin(), values.cend(),
                            [&](const BraceSpan &value) { return hasBraces(part(text, value)); });
            return refuse(u"brace count changed; refusing to write"_s);
        }
    }
    return isDoubtful ? refuse(verificationFailed(change.appid)) : decision;
}

/// The text with the replacements, none of which overlap.
QByteArray withReplacements(QByteArrayView text, QList<Replacement> replacements)
{
    std::sort(replacements.begin(), replacements.end(),
              [](const Replacement &a, const Replacement &b) { return a.from < b.from; });
    QByteArray edited;
    edited.reserve(text.size() + 1024 * replacements.size());
    qsizetype done = 0;
    for (const Replacement &replacement : replacements) {
        edited += text.sliced(done, replacement.from - done);
        edited += replacement.bytes;
        done = replacement.to;
    }
    return edited += text.sliced(done);
}

/// Whether a block opens there, after white space.
bool opensBlock(QByteArrayView text, qsizetype from)
{
    while (from < text.size() && isSpace(text[from]))
        ++from;
    return from < text.size() && text[from] == '{';
}

bool hasSecondAppsSection(QByteArrayView text)
{
    constexpr QByteArrayView key("\"apps\"");
    int count = 0;
    for (qsizetype at = text.indexOf(key); at >= 0; at = text.indexOf(key, at + key.size()))
        count += opensBlock(text, at + key.size()) ? 1 : 0;
    return count > 1;
}

/// Whether no change can alter what another one finds, so that all can be decided on one text.
bool areIndependent(const AppsSection &section, const QList<LaunchOptionsChange> &changes)
{
    if (hasSecondAppsSection(section.text()))
        return false;
    const auto isKeyOfBlock = [&section](const BraceSpan &value) {
        return opensBlock(section.text(), value.close + 1);
    };
    QSet<QString> appids;
    QList<BraceSpan> blocks;
    for (const LaunchOptionsChange &change : changes) {
        const BraceSpan block = section.block(change.appid);
        const QList<BraceSpan> values = valuesIn(section.text(), block);
        if (appids.contains(change.appid) || section.blockCount(change.appid) > 1 ||
            hasBraces(change.launchOptions.toUtf8()) ||
            std::any_of(values.cbegin(), values.cend(), isKeyOfBlock))
            return false;
        appids.insert(change.appid);
        if (block.isValid())
            blocks.append(block);
    }
    std::sort(blocks.begin(), blocks.end(),
              [](const BraceSpan &a, const BraceSpan &b) { return a.open < b.open; });
    return std::adjacent_find(blocks.cbegin(), blocks.cend(),
                              [](const BraceSpan &before, const BraceSpan &block) {
                                  return block.open < before.close;
                              }) == blocks.cend();
}

/// Makes all changes on what the section's text is now. Not done (no value) when several changes
/// turn out not to be independent after all.
std::optional<EditedText> editAtOnce(const AppsSection &section,
                                     const QList<LaunchOptionsChange> &changes)
{
    const QByteArrayView text = section.text();
    const bool isSectionDoubtful =
        section.span().isValid() && !closesOutsideQuotes(text, section.span());
    EditedText edited;
    QList<Replacement> replacements;
    QByteArrayList newBlocks;
    QByteArray indent;
    for (const LaunchOptionsChange &change : changes) {
        const Decision decision = decide(section, isSectionDoubtful, change);
        edited.outcomes.append(decision.outcome);
        if (!decision.outcome.message.isEmpty())
            continue;
        if (!decision.isNewBlock) {
            replacements.append(decision.replacement);
            continue;
        }
        if (newBlocks.isEmpty()) {
            // The first new block looks at what the changes before it left; the others look at it.
            const QByteArray before = withReplacements(text, replacements);
            const BraceSpan span = section.span();
            indent = appIndentation(QByteArrayView(before).sliced(
                span.open, span.close - span.open + before.size() - text.size()));
        }
        newBlocks.append(newBlock(change, indent));
    }
    if (!newBlocks.isEmpty()) {
        std::reverse(newBlocks.begin(), newBlocks.end()); // each was put before the others
        const qsizetype at = section.span().open + 1;
        replacements.append({at, at, newBlocks.join()});
    }
    edited.bytes = withReplacements(text, replacements);

    const AppsSection result(edited.bytes);
    for (qsizetype i = 0; i < changes.size(); ++i) {
        if (!edited.outcomes[i].message.isEmpty() ||
            result.launchOptions(changes[i].appid) == changes[i].launchOptions)
            continue;
        if (changes.size() > 1)
            return std::nullopt;
        edited.outcomes[i].message = verificationFailed(changes[i].appid);
        edited.bytes = text.toByteArray();
    }
    return edited;
}

/// Makes the changes in one go where that comes to the same, else one after the other.
EditedText edit(const QByteArray &bytes, const AppsSection &section,
                const QList<LaunchOptionsChange> &changes)
{
    if (changes.size() == 1 || areIndependent(section, changes)) {
        if (const std::optional<EditedText> edited = editAtOnce(section, changes))
            return *edited;
    }
    EditedText edited{bytes, {}};
    for (const LaunchOptionsChange &change : changes) {
        const EditedText next = edit(edited.bytes, AppsSection(edited.bytes), {change});
        edited.bytes = next.bytes;
        edited.outcomes += next.outcomes;
    }
    return edited;
}

/// Assigns the message when anybody wants it. False, for callers that fail with it.
bool fail(const QString &message, QString *error)
{
    if (error)
        *error = message;
    return false;
}

} // namespace

EditedText editLaunchOptions(const QByteArray &bytes, const QList<LaunchOptionsChange> &changes)
{
    const AppsSection section(bytes);
    EditedText edited = edit(bytes, section, changes);
    for (qsizetype i = 0; i < changes.size(); ++i)
        edited.outcomes[i].before = section.launchOptions(changes[i].appid);
    return edited;
}

std::optional<base::WholeFile> readLocalConfig(const QString &path, QString *error)
{
    std::optional<base::WholeFile> file = base::readWholeFile(path);
    if (!file)
        fail("cannot open "_L1 + path, error);
    return file;
}

bool replaceLocalConfig(const QString &path, const QByteArray &bytes, const base::FileVersion &read,
                        QString *error)
{
    // Between the look at the version and the renaming no other window of the program gets a turn.
    // Where the folder cannot be locked, the look alone has to do.
    const base::FolderLock lock(QFileInfo(path).path());
    if (lock.isBusy())
        return fail("commit failed for "_L1 + path, error);
    switch (base::replaceFile(path, bytes, read)) {
    case base::Replaced::Yes:
        return true;
    case base::Replaced::CannotOpen:
        return fail("cannot write "_L1 + path, error);
    case base::Replaced::CommitFailed:
        break;
    }
    return fail("commit failed for "_L1 + path, error);
}

bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error)
{
    if (!isStorable(options))
        return fail(cannotStore, error);
    const std::optional<base::WholeFile> file = readLocalConfig(path, error);
    if (!file)
        return false;
    const EditedText edited = editLaunchOptions(file->bytes, {{appid, options}});
    if (!edited.outcomes.first().message.isEmpty())
        return fail(edited.outcomes.first().message, error);
    if (makeBackup && writeBackup(path).isEmpty())
        return fail("could not write backup for "_L1 + path, error);
    return replaceLocalConfig(path, edited.bytes, file->version, error);
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
