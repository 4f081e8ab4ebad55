// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

namespace support
{

/// While it lives, no file of this process can grow beyond `bytes`, as on a full disk. Root is
/// limited, too.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &previous);
        const rlimit limit{bytes, previous.rlim_max};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            qFatal("cannot limit the size of files");
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &previous);
        std::signal(SIGXFSZ, previousHandler);
    }
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    rlimit previous = {};
    void (*previousHandler)(int) = SIG_DFL;
};

} // namespace support
