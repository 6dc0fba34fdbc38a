// SPDX-License-Identifier: Apache-2.0
#include "console/library_messages.h"

#include <opencv2/core/utils/logger.hpp>
#include <tarn/log.h>

#include <iostream>
#include <string>

namespace tool {

namespace {

using tarn::LogLevel;

tarn::log::detail::Category* category()
{
    static tarn::log::detail::Category* const opencv = tarn::log::addCategory("opencv");
    return opencv;
}

/// Each thread has its own, so that the pieces of their messages do not mix.
std::string& line()
{
    thread_local std::string text;
    return text;
}

void put(char character)
{
    if (character != '\n') {
        line() += character;
        return;
    }
    if (!line().empty() && category()->level >= LogLevel::Warning) {
        tarn::log::log(LogLevel::Warning, category(), line(), "", "", 0);
    }
    line().clear();
}

} // namespace

LibraryMessages::LibraryMessages()
{
    std::cerr.rdbuf(this);
}

LibraryMessages::~LibraryMessages()
{
    std::cerr.rdbuf(nullptr);
}

void LibraryMessages::follow()
{
    cv::utils::logging::setLogLevel(category()->level >= LogLevel::Warning
                                        ? cv::utils::logging::LOG_LEVEL_WARNING
                                        : cv::utils::logging::LOG_LEVEL_SILENT);
}

int LibraryMessages::overflow(int character)
{
    if (character != traits_type::eof()) {
        put(static_cast<char>(character));
    }
    return traits_type::not_eof(character);
}

std::streamsize LibraryMessages::xsputn(const char* text, std::streamsize count)
{
    for (std::streamsize i = 0; i < count; ++i) {
        put(text[i]);
    }
    return count;
}

} // namespace tool
