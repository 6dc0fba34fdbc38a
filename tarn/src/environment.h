// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_ENVIRONMENT_H
#define TARN_ENVIRONMENT_H

#include <tarn/log.h>

#include <map>
#include <string>

namespace tarn::log {

/// The levels that new categories start with.
struct InitialLevels
{
    LogLevel general = LogLevel::Error;
    std::map<std::string, LogLevel> byName;

    LogLevel of(const std::string& categoryName) const;
};

/// Reads the environment variable TARN_LOG and reports on stderr what it cannot understand.
InitialLevels readEnvironment();

} // namespace tarn::log

#endif
