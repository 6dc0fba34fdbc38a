// SPDX-License-Identifier: Apache-2.0
#include "console/start.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace tool {

void reserveStandardFiles()
{
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(file, F_GETFD) != -1) {
            continue;
        }
        // The least free number is this one. Using it still fails, as it did: results that cannot be printed
        // are an error.
        const int mode = file == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", mode) != file) {
            std::_Exit(EXIT_FAILURE);
        }
    }
}

void surviveFileSizeLimit()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace tool
