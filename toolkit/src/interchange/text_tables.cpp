// SPDX-License-Identifier: Apache-2.0
#include "interchange/source.h"

#include <vision/toolkit/failure.h>

#include <cmath>
#include <map>
#include <sstream>

namespace vision::toolkit {

namespace {

using Table = std::map<std::string, std::vector<double>>;

/// The numbers of each line behind its name and the separator; brackets and semicolons count as blanks.
Table readTable(const std::string& file, char separator)
{
    Table table;
    std::istringstream lines(readText(file));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t end = line.find(separator);
        if (end == std::string::npos) {
            continue;
        }
        std::string rest = line.substr(end + 1);
        for (char& symbol : rest) {
            symbol = symbol == '[' || symbol == ']' || symbol == ';' || symbol == ',' ? ' ' : symbol;
        }
        std::istringstream numbers(rest);
        numbers.imbue(std::locale::classic());
        for (double number = 0; numbers >> number;) {
            table[line.substr(0, end)].push_back(number);
        }
    }
    return table;
}

const std::vector<double>& take(const Table& table, const std::string& file, const char* key,
                                std::size_t count)
{
    const auto found = table.find(key);
    if (found == table.end() || found->second.size() != count) {
        throw Failure(file + ": " + key + " must hold " + std::to_string(count) + " numbers");
    }
    return found->second;
}

/// A camera whose images are rectified already.
Calibration makeRectified(const cv::Size& size, double f, double cx, double cy, double tx)
{
    Calibration record;
    record.width = size.width;
    record.height = size.height;
    record.cameraMatrix = makeMatrix({f, 0, cx, 0, f, cy, 0, 0, 1}, 3);
    record.projectionMatrix = makeMatrix({f, 0, cx, tx, 0, f, cy, 0, 0, 0, 1, 0}, 3);
    return record;
}

} // namespace

CalibrationPair readMiddlebury(const std::string& file)
{
    constexpr double metresPerUnit = 0.001; // baselines are in mm
    const Table table = readTable(file, '=');
    const auto& left = take(table, file, "cam0", 9);
    const auto& right = take(table, file, "cam1", 9);
    const cv::Size size(cvRound(take(table, file, "width", 1)[0]),
                        cvRound(take(table, file, "height", 1)[0]));
    const double baseline = take(table, file, "baseline", 1)[0] * metresPerUnit;
    return {makeRectified(size, left[0], left[2], left[5], 0),
            makeRectified(size, right[0], right[2], right[5], -left[0] * baseline)};
}

CalibrationPair readKitti(const std::string& file, const ForeignDetails& details)
{
    if (!details.imageSize) {
        throw Failure(file + ": does not hold the size of the images; give it with --size, such as 1242x375");
    }
    const Table table = readTable(file, ':');
    const auto& left = take(table, file, "P0", 12);
    const auto& right = take(table, file, "P1", 12);
    return {makeRectified(*details.imageSize, left[0], left[2], left[6], 0),
            makeRectified(*details.imageSize, right[0], right[2], right[6], right[3] - left[3])};
}

} // namespace vision::toolkit
