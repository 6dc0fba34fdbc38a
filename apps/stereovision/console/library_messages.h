// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_CONSOLE_LIBRARY_MESSAGES_H
#define TOOL_CONSOLE_LIBRARY_MESSAGES_H

#include <streambuf>

namespace tool {

/// Makes what OpenCV and its decoders say on std::cerr records of the log category "opencv", a line each: the
/// user gets one message of ours, and theirs only on demand.
class LibraryMessages : public std::streambuf
{
public:
    LibraryMessages();
    ~LibraryMessages() override;
    LibraryMessages(const LibraryMessages&) = delete;
    LibraryMessages& operator=(const LibraryMessages&) = delete;

    /// To be called once the log levels are set.
    static void follow();

protected:
    int overflow(int character) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
};

} // namespace tool

#endif
