// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QTest>

#include <unistd.h>

/// Adds a row for each kind of content, in the column "content".
inline void addContents()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("one byte") << QByteArray("x");
    QTest::newRow("NUL bytes") << QByteArray("a\0b\0", 4);
    QTest::newRow("line ends of all kinds") << QByteArray("a\r\nb\nc\rd");
    QTest::newRow("byte-order mark") << QByteArray("\xef\xbb\xbf{}");
    QTest::newRow("no valid UTF-8") << QByteArray("\xff\xfe\xc3(\x80");
    QTest::newRow("16,384 bytes") << QByteArray(16384, 'x');
    QTest::newRow("16,385 bytes") << QByteArray(16385, 'y');
    QTest::newRow("3 MB") << QByteArray(3'000'000, 'z');
}

/// The descriptor that the next file gets: a higher one than before means that one is still open.
inline int nextDescriptor()
{
    const int descriptor = ::dup(STDERR_FILENO);
    ::close(descriptor);
    return descriptor;
}
