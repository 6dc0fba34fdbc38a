// SPDX-License-Identifier: Apache-2.0
#include "console/printable.h"

#include <fmt/format.h>

#include <cstddef>

namespace tool {

namespace {

unsigned char byteAt(const std::string& text, std::size_t at)
{
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

/// How many bytes the character at a place has; 0 when it is not to be shown. Terminals obey U+0080 to
/// U+009F, too.
std::size_t countShown(const std::string& text, std::size_t at)
{
    constexpr unsigned char afterSpace = 0x20, erase = 0x7F, afterControls = 0xA0;
    const unsigned char first = byteAt(text, at);
    if (first < erase) {
        return first >= afterSpace ? 1 : 0;
    }
    const std::size_t count = first >> 5U == 0x6U    ? 2
                              : first >> 4U == 0xEU  ? 3
                              : first >> 3U == 0x1EU ? 4
                                                     : 0;
    for (std::size_t i = 1; i < count; ++i) {
        if (byteAt(text, at + i) >> 6U != 2U) {
            return 0;
        }
    }
    const bool isControl = first == 0xC2 && byteAt(text, at + 1) < afterControls;
    const bool isTooLong = first == 0xC0 || first == 0xC1 || (first == 0xE0 && byteAt(text, at + 1) < 0xA0) ||
                           (first == 0xF0 && byteAt(text, at + 1) < 0x90);
    return isControl || isTooLong ? 0 : count;
}

std::string escape(unsigned char byte)
{
    switch (byte) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return fmt::format("\\x{:02x}", byte);
    }
}

} // namespace

std::string toPrintable(const std::string& text)
{
    std::string printable;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t count = countShown(text, at);
        if (count == 0) {
            printable += escape(byteAt(text, at++));
        } else {
            printable.append(text, at, count);
            at += count;
        }
    }
    return printable;
}

} // namespace tool
