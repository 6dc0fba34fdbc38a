// SPDX-License-Identifier: Apache-2.0
#include "interchange/numbers.h"
#include "interchange/source.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <sstream>

namespace vision::toolkit {

namespace {

/// Lines of a name, a separator and a value.
class Table
{
public:
    /// @throws Failure when a line is anything else, or a name comes twice
    Table(const std::string& file, char separator) : _file(file)
    {
        std::istringstream lines(readText(file));
        for (std::string line; std::getline(lines, line);) {
            while (!line.empty() && std::strchr(" \t\r", line.back()) != nullptr) {
                line.pop_back();
            }
            const std::size_t end = line.find(separator);
            const bool isNamed = end != std::string::npos && end > 0;
            if (!line.empty() &&
                (!isNamed || !_values.emplace(line.substr(0, end), line.substr(end + 1)).second)) {
                throw Failure(
                    "calibration-line",
                    file,
                    fmt::format("the line \"{:.40}\" is none of a calibration, or comes twice", line));
            }
        }
    }

    bool has(const std::string& name) const { return _values.count(name) > 0; }

    /// @throws Failure unless the value is as many numbers, in brackets or not
    std::vector<double> take(const std::string& name, std::size_t count) const
    {
        const auto found = _values.find(name);
        std::string value = found == _values.end() ? "" : found->second;
        if (value.size() > 1 && value.front() == '[' && value.back() == ']') {
            value = value.substr(1, value.size() - 2);
            std::replace(value.begin(), value.end(), ';', ' ');
        }
        const auto numbers = parseNumbers(value);
        if (!numbers || numbers->size() != count) {
            throw Failure("calibration-entry", _file, fmt::format("{} must hold {} numbers", name, count));
        }
        return *numbers;
    }

private:
    std::string _file;
    std::map<std::string, std::string> _values;
};

/// A camera whose images are rectified already.
struct RectifiedCamera
{
    double f;
    double cx;
    double cy;
    double tx; ///< of the projection, px times m
};

/// @param columns of the matrix; beyond the third one is the translation
/// @throws Failure when the pixels are not square or skewed: images that are rectified have none such
RectifiedCamera takeCamera(const Table& table, const std::string& file, const std::string& name,
                           std::size_t columns)
{
    constexpr double rounding = 1e-4; // of the focal length, as files of six digits have
    const std::vector<double> m = table.take(name, 3 * columns);
    const double f = m[0];
    const bool isPlain = std::abs(m[columns + 1] - f) <= rounding * std::abs(f) && m[1] == 0 &&
                         m[columns] == 0 && m[2 * columns] == 0 && m[2 * columns + 1] == 0 &&
                         m[2 * columns + 2] == 1;
    if (!isPlain) {
        throw Failure(
            "not-rectified",
            file,
            fmt::format("{} is no camera of rectified images: it must be [f 0 cx; 0 f cy; 0 0 1], with the "
                        "same f twice and no skew",
                        name));
    }
    // The projection's centre lies at -x / f, where what stands along the optical axis is taken off.
    const double tx = columns > 3 ? m[3] - m[2] * m[2 * columns + 3] : 0;
    return {f, m[2], m[columns + 2], tx};
}

Calibration makeRecord(const cv::Size& size, const RectifiedCamera& camera, double tx)
{
    Calibration record;
    record.width = size.width;
    record.height = size.height;
    record.cameraMatrix = makeMatrix({camera.f, 0, camera.cx, 0, camera.f, camera.cy, 0, 0, 1}, 3);
    record.projectionMatrix =
        makeMatrix({camera.f, 0, camera.cx, tx, 0, camera.f, camera.cy, 0, 0, 0, 1, 0}, 3);
    return record;
}

/// Which of the pairs took the images cannot be seen from the file.
KittiCameras chooseCameras(const Table& table, const std::string& file, const ForeignDetails& details)
{
    const bool hasGrey = table.has("P0") && table.has("P1");
    const bool hasColour = table.has("P2") && table.has("P3");
    if (hasGrey && hasColour && !details.kittiCameras) {
        throw Failure(
            "kitti-cameras",
            file,
            "holds two pairs of cameras with different baselines, a grey one (P0, P1) and one with colour "
            "(P2, P3); say which one took the images");
    }
    return details.kittiCameras.value_or(hasGrey ? KittiCameras::Grey : KittiCameras::Colour);
}

} // namespace

CalibrationPair readMiddlebury(const std::string& file)
{
    constexpr double metresPerUnit = 0.001; // baselines are in mm
    const Table table(file, '=');
    const RectifiedCamera left = takeCamera(table, file, "cam0", 3);
    const RectifiedCamera right = takeCamera(table, file, "cam1", 3);
    const cv::Size size(toSide(table.take("width", 1)[0], file, "width"),
                        toSide(table.take("height", 1)[0], file, "height"));
    const double baseline = table.take("baseline", 1)[0] * metresPerUnit;
    return {makeRecord(size, left, 0), makeRecord(size, right, -left.f * baseline)};
}

CalibrationPair readKitti(const std::string& file, const ForeignDetails& details)
{
    if (!details.imageSize) {
        throw Failure("image-size-needed", file, "does not hold the size of the images, which must be given");
    }
    const Table table(file, ':');
    const bool isGrey = chooseCameras(table, file, details) == KittiCameras::Grey;
    const RectifiedCamera left = takeCamera(table, file, isGrey ? "P0" : "P2", 4);
    const RectifiedCamera right = takeCamera(table, file, isGrey ? "P1" : "P3", 4);
    return {makeRecord(*details.imageSize, left, 0),
            makeRecord(*details.imageSize, right, right.tx - left.tx)};
}

} // namespace vision::toolkit
