// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <unistd.h>

namespace support
{

/// While it lives, the standard input is closed, so that the next file that is opened gets
/// descriptor 0.
class FirstDescriptorFree
{
public:
    FirstDescriptorFree() : input(::dup(STDIN_FILENO)) { ::close(STDIN_FILENO); }
    ~FirstDescriptorFree()
    {
        ::dup2(input, STDIN_FILENO);
        ::close(input);
    }
    Q_DISABLE_COPY_MOVE(FirstDescriptorFree)

private:
    const int input;
};

} // namespace support
