#include "options/parse.h"

#include <vision/toolkit/failure.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <utility>

namespace tool {

using namespace vision::toolkit;

namespace {

/// The number at the front of the text, which is cut off.
template <typename Number>
std::optional<Number> takeNumber(std::string_view& text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

std::optional<double> metresPerUnit(std::string_view name, Unit unit)
{
    constexpr std::pair<std::string_view, double> units[] = {{"mm", 0.001}, {"cm", 0.01}, {"m", 1.0}};
    if (name.empty() && unit == Unit::MetresByDefault) {
        return 1.0;
    }
    for (const auto& [known, metres] : units) {
        if (name == known) {
            return metres;
        }
    }
    return std::nullopt;
}

} // namespace

double parseLength(const std::string& option, const std::string& text, Unit unit)
{
    std::string_view rest = text;
    const auto number = takeNumber<double>(rest);
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    const auto metres = metresPerUnit(rest, unit);
    if (!number || !metres || !std::isfinite(*number) || *number <= 0) {
        throw Failure(option + " \"" + text +
                      "\": give a positive length with its unit (mm, cm or m), such as 25mm");
    }
    return *number * *metres;
}

cv::Size parseBoard(const std::string& option, const std::string& text)
{
    constexpr int fewest = 3; // what OpenCV's detector takes
    constexpr int most = 200;
    std::string_view rest = text;
    const auto columns = takeNumber<int>(rest);
    const bool isSeparated = !rest.empty() && rest.front() == 'x';
    rest.remove_prefix(isSeparated ? 1 : 0);
    const auto rows = takeNumber<int>(rest);
    const auto fits = [](const std::optional<int>& count) {
        return count && fewest <= *count && *count <= most;
    };
    if (!isSeparated || !rest.empty() || !fits(columns) || !fits(rows)) {
        throw Failure(option + " \"" + text +
                      "\": give the board's inner corners as COLUMNSxROWS, each at least " +
                      std::to_string(fewest) + ", such as 9x6");
    }
    return {*columns, *rows};
}

} // namespace tool
