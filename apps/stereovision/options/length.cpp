// SPDX-License-Identifier: Apache-2.0
#include "options/length.h"

#include "options/numbers.h"

#include <fmt/format.h>

namespace tool {

namespace {

/// Metres, or nothing when it is no length, or one without the unit that it must have.
std::optional<double> parseLength(const std::string& text, Unit unit)
{
    const std::size_t last = text.find_last_of("0123456789.");
    if (last == std::string::npos) {
        return std::nullopt;
    }
    const auto number = parseNumber(text.substr(0, last + 1));
    const std::size_t name = text.find_first_not_of(' ', last + 1);
    const std::string given = name == std::string::npos ? "" : text.substr(name);
    if (!number || (given.empty() && unit == Unit::Required)) {
        return std::nullopt;
    }
    const std::pair<const char*, double> metresPerUnit[] = {{"mm", 0.001}, {"cm", 0.01}, {"m", 1}, {"", 1}};
    for (const auto& [one, metres] : metresPerUnit) {
        if (given == one) {
            return *number * metres;
        }
    }
    return std::nullopt;
}

} // namespace

CLI::Option* takeLength(CLI::Option* option, Unit unit)
{
    const auto convert = [unit](std::string& text) {
        constexpr double shortest = 1e-6;
        constexpr double longest = 1e6;
        const auto metres = parseLength(text, unit);
        if (!metres || !(shortest <= *metres && *metres <= longest)) {
            return fmt::format(
                "\"{}\": give a positive length with its unit (mm, cm or m), such as 25mm, from "
                "0.001mm to 1000000m",
                text);
        }
        text = fmt::format("{}", *metres);
        return std::string();
    };
    return option->transform(CLI::Validator(convert, ""))->type_name("LENGTH");
}

} // namespace tool
