// SPDX-License-Identifier: MIT
#include "steam/launchoptionseditor.h"

#include <QRegularExpression>
#include <QStringTokenizer>

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace steam
{
namespace
{

/// New bytes for the part of a text from `from` up to but not including `to`.
struct Replacement {
    qsizetype from = 0;
    qsizetype to = 0;
    QByteArray bytes;
};

/// What becomes of one change: its replacement, or the reason why it is refused.
struct Decision {
    const LaunchOptionsChange *change;
    QString refusal;
    BraceSpan block; ///< the game's; not valid if it needs a new one
    Replacement replacement;
};

QString verificationFailed(const QString &appid)
{
    return "post-edit verification failed for "_L1 + appid;
}

/// True if every brace in the options has its partner there.
bool areBracesPaired(const QString &options)
{
    const QByteArray inBraces = '{' + options.toUtf8() + '}';
    return matchingBrace(inBraces, 0) == inBraces.size() - 1;
}

/// The line of a game's block with its value, without indentation and line end.
QByteArray valueLine(const QString &options)
{
    return "\"LaunchOptions\"\t\t\"" + options.toUtf8() + '"';
}

/// Inserts a line with the value before the block's first key line; no value if the block does not
/// show how its lines are indented.
std::optional<Replacement> newLine(QByteArrayView text, BraceSpan block, const QString &options)
{
    static const QRegularExpression blockIndent(u"\\{\\n(\\s*)\""_s);
    // Read as Latin-1, so that one character is one byte.
    const QRegularExpressionMatch indent =
        blockIndent.match(QString::fromLatin1(text.sliced(block.open, block.close - block.open)));
    if (!indent.hasMatch())
        return std::nullopt;
    const qsizetype at = block.open + indent.capturedStart(1);
    return Replacement{at, at, indent.captured(1).toLatin1() + valueLine(options) + '\n'};
}

/// The indentation of the games' keys in the "apps" section.
QByteArray appIndentation(const AppsSection &section)
{
    static const QRegularExpression appIndent(u"^(\\t+)\"\\d+\""_s);
    const auto [open, close] = section.span();
    const QLatin1StringView inside(section.text().sliced(open, close - open));
    for (const QLatin1StringView line : qTokenize(inside, u'\n')) {
        const QRegularExpressionMatch match = appIndent.match(line);
        if (match.hasMatch())
            return match.captured(1).toLatin1();
    }
    return QByteArray(5, '\t');
}

/// Inserts a block for the game right after the opening brace of the "apps" section.
Replacement newBlock(const AppsSection &section, const LaunchOptionsChange &change,
                     const QByteArray &indent)
{
    const qsizetype at = section.span().open + 1;
    return {at, at,
            '\n' + indent + '"' + change.appid.toUtf8() + "\"\n" + indent + "{\n" + indent + '\t' +
                valueLine(change.launchOptions) + '\n' + indent + '}'};
}

/// Replaces the text from the first value to the last, with the options in the place of each value.
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

/// Decides one change on the text as it was read. Makes every check of an edit except the reading
/// back. `indent` is for a new block.
Decision decide(const AppsSection &section, bool isSectionClear, const QByteArray &indent,
                const LaunchOptionsChange &change)
{
    const QByteArrayView text = section.text();
    const auto &[appid, options] = change;
    Decision decision{&change, storageRefusal(options), section.block(appid), {}};
    const auto refuse = [&decision](const QString &message) {
        decision.refusal = message;
        return decision;
    };

    if (!decision.refusal.isEmpty())
        return decision;
    if (!section.span().isValid())
        return refuse(u"no apps section found"_s);
    bool isClear = isSectionClear && areBracesPaired(options);
    if (!decision.block.isValid()) {
        decision.replacement = newBlock(section, change, indent);
    } else {
        const QList<BraceSpan> values = section.values(decision.block);
        const auto replacement = values.isEmpty() ? newLine(text, decision.block, options)
                                                  : newValues(text, values, options);
        if (!replacement)
            return refuse("cannot determine indentation for "_L1 + appid);
        decision.replacement = *replacement;
        const auto &[from, to, bytes] = *replacement;
        const QByteArrayView old = text.sliced(from, to - from);
        // A new block adds a pair of braces, so only edits of an existing one are counted.
        if (bytes.count('{') != old.count('{') || bytes.count('}') != old.count('}'))
            return refuse(u"brace count changed; refusing to write"_s);
        isClear = isClear &&
                  isSeenAlike(text, decision.block, values, values.isEmpty() ? from : -1) &&
                  std::all_of(values.cbegin(), values.cend(), [text](const BraceSpan &value) {
                      return text.sliced(value.open, value.close - value.open).isValidUtf8();
                  });
    }
    return isClear ? decision : refuse(verificationFailed(appid));
}

/// Refuses each change whose block lies in or around that of a change before it in the list.
void refuseOverlaps(QList<Decision> &decisions)
{
    std::map<qsizetype, qsizetype> accepted; // from opening to closing brace; none overlap
    for (Decision &decision : decisions) {
        const auto [open, close] = decision.block;
        if (!decision.refusal.isEmpty() || !decision.block.isValid())
            continue;
        const auto next = accepted.lower_bound(open);
        const bool isAround = next != accepted.end() && next->first < close;
        const bool isWithin = next != accepted.begin() && std::prev(next)->second > close;
        if (isAround || isWithin)
            decision.refusal = verificationFailed(decision.change->appid);
        else
            accepted.emplace(open, close);
    }
}

/// The text with the replacements of all accepted changes.
QByteArray withReplacements(QByteArrayView text, const QList<Decision> &decisions)
{
    QList<const Replacement *> replacements;
    for (const Decision &decision : decisions) {
        if (decision.refusal.isEmpty())
            replacements.prepend(&decision.replacement); // of new blocks, the last comes first
    }
    std::stable_sort(replacements.begin(), replacements.end(),
                     [](const auto *a, const auto *b) { return a->from < b->from; });
    QByteArray edited;
    edited.reserve(text.size() + 1024 * replacements.size());
    qsizetype done = 0;
    for (const Replacement *replacement : replacements) {
        edited += text.sliced(done, replacement->from - done);
        edited += replacement->bytes;
        done = replacement->to;
    }
    return edited += text.sliced(done);
}

} // namespace

EditedText editLaunchOptions(const AppsSection &section, const QList<LaunchOptionsChange> &changes)
{
    const bool hasSection = section.span().isValid();
    const bool isSectionClear = hasSection && isSeenAlike(section.text(), section.span());
    const QByteArray indent = hasSection ? appIndentation(section) : QByteArray();
    QList<Decision> decisions;
    for (const LaunchOptionsChange &change : changes)
        decisions.append(decide(section, isSectionClear, indent, change));
    refuseOverlaps(decisions);

    EditedText edited;
    bool isReadBack = false;
    while (!isReadBack) {
        edited.bytes = withReplacements(section.text(), decisions);
        const AppsSection result(edited.bytes);
        isReadBack = true;
        for (Decision &decision : decisions) {
            const auto &[appid, options] = *decision.change;
            if (!decision.refusal.isEmpty() || result.launchOptions(appid) == options)
                continue;
            decision.refusal = verificationFailed(appid);
            isReadBack = false;
        }
    }
    for (const Decision &decision : decisions) {
        if (!decision.refusal.isEmpty())
            edited.refusals.insert(decision.change->appid, decision.refusal);
    }
    return edited;
}

QString storageRefusal(const QString &options)
{
    const bool isStorable = !options.contains(u'"') && !options.contains(u'\\');
    return isStorable ? QString() : u"options contain characters VDF cannot store unescaped"_s;
}

} // namespace steam
