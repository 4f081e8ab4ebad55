// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <unistd.h>

namespace support
{

/// While it lives, the standard input is closed, as scripts can start a program. So the next file
/// that is opened gets the descriptor 0.
class WithoutStandardInput
{
public:
    WithoutStandardInput() : input(::dup(STDIN_FILENO)) { ::close(STDIN_FILENO); }
    ~WithoutStandardInput()
    {
        ::dup2(input, STDIN_FILENO);
        ::close(input);
    }
    Q_DISABLE_COPY_MOVE(WithoutStandardInput)

private:
    const int input;
};

} // namespace support
