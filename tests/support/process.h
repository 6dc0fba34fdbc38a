// SPDX-License-Identifier: Apache-2.0
#ifndef SUPPORT_PROCESS_H
#define SUPPORT_PROCESS_H

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>

namespace support {

inline std::string readFile(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What a program left behind; the code is -1 when it did not exit by itself.
struct Outcome
{
    int code;
    std::string out;
    std::string err;
};

/// Runs a shell command in a folder, without the user's log settings.
inline Outcome runShell(const std::string& folder, const std::string& command)
{
    const std::string line =
        "cd '" + folder + "' && unset TARN_LOG; { " + command + "; } >stdout.txt 2>stderr.txt </dev/null";
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            readFile(folder + "/stdout.txt"),
            readFile(folder + "/stderr.txt")};
}

} // namespace support

#endif
