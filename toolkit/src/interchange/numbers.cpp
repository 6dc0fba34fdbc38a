// SPDX-License-Identifier: Apache-2.0
#include "interchange/numbers.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace vision::toolkit {

std::optional<double> parseNumber(std::string_view text)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    const bool isNumber = error == std::errc() && rest == end && std::isfinite(number);
    return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<std::vector<double>> parseNumbers(std::string_view text)
{
    constexpr const char* blanks = " \t\r";
    std::vector<double> numbers;
    for (std::size_t start = text.find_first_not_of(blanks); start != std::string_view::npos;
         start = text.find_first_not_of(blanks)) {
        text.remove_prefix(start);
        const std::string_view word = text.substr(0, text.find_first_of(blanks));
        const auto number = parseNumber(word);
        if (!number) {
            return std::nullopt;
        }
        numbers.push_back(*number);
        text.remove_prefix(word.size());
    }
    return numbers;
}

int toSide(double number, const std::string& file, const std::string& key)
{
    if (!(1 <= number && number <= longestSide) || number != std::floor(number)) {
        throw Failure(
            "calibration-size",
            file,
            fmt::format("{} is {}: it must be a whole number from 1 to {}, in px", key, number, longestSide));
    }
    return static_cast<int>(number);
}

} // namespace vision::toolkit
