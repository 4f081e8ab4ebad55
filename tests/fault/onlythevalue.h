// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>

// Whether an edit of Steam's file changed what it was to change and nothing else, found out from
// the two texts alone.
namespace fault
{

inline bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Whether `text` ends with the key, white space and the quote that opens the value.
inline bool endsWithKey(QByteArray text)
{
    if (!text.endsWith('"'))
        return false;
    text.chop(1);
    while (!text.isEmpty() && isSpace(text.back()))
        text.chop(1);
    return text.endsWith("\"LaunchOptions\"");
}

/// Whether `after` is `before` with one or more old values replaced by `options`, which must not
/// stand in `before`.
inline bool isReplaced(const QByteArray &before, const QByteArray &after, const QByteArray &options)
{
    QByteArray rest = before;
    qsizetype from = 0;
    for (;;) {
        const qsizetype found = after.indexOf(options, from);
        const QByteArray piece = after.mid(from, found < 0 ? -1 : found - from);
        if (found < 0)
            return from > 0 && piece == rest;
        if (!rest.startsWith(piece) || !endsWithKey(after.first(found)))
            return false;
        const qsizetype oldEnd = rest.indexOf('"', piece.size());
        if (oldEnd < 0)
            return false;
        rest = rest.mid(oldEnd);
        from = found + options.size();
    }
}

/// Whether `after` is `before` with one line for the value, or one block with that line, put in.
inline bool isInserted(const QByteArray &before, const QByteArray &after, const QByteArray &appid,
                       const QByteArray &options)
{
    const QByteArray line = "\"LaunchOptions\"\t\t\"" + options + "\"\n";
    const qsizetype at = after.indexOf(line);
    const qsizetype length = after.size() - before.size();
    if (at < 0 || after.indexOf(options, at + line.size()) >= 0 || length < line.size())
        return false;
    // The inserted bytes hold the line, and without them the text is the old one.
    for (qsizetype start = at; start >= 0 && start >= at + line.size() - length; --start) {
        if (before != after.first(start) + after.mid(start + length))
            continue;
        const QByteArray lead = after.mid(start, at - start);
        const QByteArray tail = after.mid(at + line.size(), length - lead.size() - line.size());
        if (tail.isEmpty() && lead.trimmed().isEmpty())
            return true;
        const QByteArray tabs = tail.chopped(1);
        if (tabs.count('\t') == tabs.size() && tail == tabs + '}' &&
            lead == '\n' + tabs + '"' + appid + "\"\n" + tabs + "{\n" + tabs + '\t')
            return true;
    }
    return false;
}

inline bool isOnlyTheValueChanged(const QByteArray &before, const QByteArray &after,
                                  const QByteArray &appid, const QByteArray &options)
{
    return isReplaced(before, after, options) || isInserted(before, after, appid, options);
}

} // namespace fault
