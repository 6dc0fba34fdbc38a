// SPDX-License-Identifier: Apache-2.0
// Compiles and links when a host's log service offers what the library uses.
#include "../src/log.h"

int main()
{
    vision::detail::LogCategory* const category = tarn::log::addCategory("vision");
    vision::detail::logRecord(tarn::LogLevel::Error, category, "main", "text");
    vision::detail::logRecord(tarn::LogLevel::Verbose, category, "main", "text");
}
