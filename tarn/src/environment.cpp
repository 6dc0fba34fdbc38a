// SPDX-License-Identifier: Apache-2.0
#include "environment.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace tarn::log {

namespace {

constexpr int maxLevel = static_cast<int>(LogLevel::Debug);

bool isLevel(const std::string& text)
{
    return text.size() == 1 && text[0] >= '0' && text[0] <= '0' + maxLevel;
}

LogLevel toLevel(const std::string& text)
{
    return static_cast<LogLevel>(text[0] - '0');
}

void reportNonsense(const std::string& entry)
{
    std::fprintf(stderr,
                 "TARN_LOG: ignoring \"%s\"; write LEVEL or CATEGORY=LEVEL, separated by commas, "
                 "with LEVEL from 0 to %d.\n",
                 entry.c_str(),
                 maxLevel);
}

} // namespace

LogLevel InitialLevels::of(const std::string& categoryName) const
{
    const auto found = byName.find(categoryName);
    return found == byName.end() ? general : found->second;
}

InitialLevels readEnvironment()
{
    InitialLevels levels;
    const char* const variable = std::getenv("TARN_LOG");
    std::istringstream entries(variable ? variable : "");
    for (std::string entry; std::getline(entries, entry, ',');) {
        const auto equals = entry.rfind('=');
        const std::string level = equals == std::string::npos ? entry : entry.substr(equals + 1);
        if (!isLevel(level) || equals == 0) {
            reportNonsense(entry);
        } else if (equals == std::string::npos) {
            levels.general = toLevel(level);
        } else {
            levels.byName[entry.substr(0, equals)] = toLevel(level);
        }
    }
    return levels;
}

} // namespace tarn::log
