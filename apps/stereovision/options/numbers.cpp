// SPDX-License-Identifier: Apache-2.0
#include "options/numbers.h"

#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>

#include <charconv>
#include <cmath>

namespace tool {

namespace {

/// @return nothing unless the whole text is one number that the type holds
template <typename Number>
std::optional<Number> parseAll(const std::string& text)
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

/// Hands the number on as its shortest text, which reads the same everywhere.
template <typename Number>
CLI::Option* take(CLI::Option* option, Number lowest, Number highest, const char* kind)
{
    const auto convert = [lowest, highest, kind](std::string& text) {
        const auto number = parseAll<Number>(text);
        if (!number || !(lowest <= *number && *number <= highest)) {
            return fmt::format("\"{}\": give a {} from {} to {}", text, kind, lowest, highest);
        }
        text = fmt::format("{}", *number);
        return std::string();
    };
    return option->transform(CLI::Validator(convert, ""));
}

} // namespace

std::optional<double> parseNumber(const std::string& text)
{
    const auto number = parseAll<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<std::pair<int, int>> parseTwo(const std::string& text, char separator, int most)
{
    const std::size_t middle = text.find(separator);
    if (middle == std::string::npos) {
        return std::nullopt;
    }
    const auto first = parseAll<int>(text.substr(0, middle));
    const auto second = parseAll<int>(text.substr(middle + 1));
    const auto fits = [most](const std::optional<int>& number) {
        return number && 1 <= *number && *number <= most;
    };
    return fits(first) && fits(second) ? std::optional(std::pair(*first, *second)) : std::nullopt;
}

CLI::Option* takeNumber(CLI::Option* option, double lowest, double highest)
{
    return take(option, lowest, highest, "number");
}

CLI::Option* takeWhole(CLI::Option* option, int lowest, int highest)
{
    return take(option, lowest, highest, "whole number");
}

CLI::Option* addSize(CLI::App& app, const std::string& name, std::optional<cv::Size>& size,
                     const std::string& meaning)
{
    const auto set = [name, &size](const std::string& text) {
        const auto sides = parseTwo(text, 'x', vision::toolkit::longestSide);
        if (!sides) {
            throw CLI::ValidationError(
                name,
                fmt::format("\"{}\": give the image size as WIDTHxHEIGHT in px, each from 1 to "
                            "{}, such as 640x480",
                            text,
                            vision::toolkit::longestSide));
        }
        size = cv::Size(sides->first, sides->second);
    };
    return app.add_option_function<std::string>(name, set, meaning)->type_name("WIDTHxHEIGHT");
}

} // namespace tool
