// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/records/inspection.h>

#include "base/text.h"
#include "records/rotation.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <utility>

namespace vision::toolkit {

namespace {

constexpr const char* remedy = "make a new calibration";

bool isFloats(const cv::Mat& matrix, int rows, int columns)
{
    return matrix.dims == 2 && matrix.type() == CV_32FC1 && matrix.rows == rows && matrix.cols == columns &&
           cv::checkRange(matrix);
}

bool isDistortion(const cv::Mat& matrix)
{
    const std::initializer_list<std::size_t> lengths{4, 5, 8, 12, 14};
    return isReal(matrix) && std::min(matrix.rows, matrix.cols) == 1 &&
           std::find(lengths.begin(), lengths.end(), matrix.total()) != lengths.end();
}

bool hasRow(const cv::Mat& matrix, int row, std::initializer_list<float> values)
{
    return std::equal(values.begin(), values.end(), matrix.ptr<float>(row));
}

/// Collects faults.
class Faults
{
public:
    void require(bool holds, const char* code, const std::string& text)
    {
        if (!holds) {
            _notes.push_back({code, Severity::Wrong, text});
        }
    }
    Notes take() { return std::move(_notes); }

private:
    Notes _notes;
};

double at(const Calibration& calibration, int row, int column)
{
    return calibration.projectionMatrix.at<float>(row, column);
}

bool differ(double left, double right, double tolerance)
{
    return std::abs(left - right) > tolerance;
}

} // namespace

Notes findFaults(const Calibration& calibration)
{
    const auto isLength = [](int length) { return 0 < length && length <= longestSide; };
    const cv::Mat& camera = calibration.cameraMatrix;
    const cv::Mat& projection = calibration.projectionMatrix;
    const bool isCamera = isFloats(camera, 3, 3) && hasRow(camera, 2, {0, 0, 1});
    const bool isProjection = isFloats(projection, 3, 4) && hasRow(projection, 2, {0, 0, 1, 0});
    const auto hasFocalLength = [](const cv::Mat& m) {
        return m.at<float>(0, 0) > 0 && m.at<float>(1, 1) > 0;
    };

    Faults faults;
    faults.require(isLength(calibration.width) && isLength(calibration.height),
                   "size",
                   fmt::format("width and height must be the size of an image, 1 to {} px: add them, or {}",
                               longestSide,
                               remedy));
    faults.require(isCamera,
                   "camera-matrix",
                   "cameraMatrix must be 3 x 3, finite 32-bit floats with (0, 0, 1) in its last row: " +
                       std::string(remedy));
    faults.require(
        isProjection,
        "projection-matrix",
        "projectionMatrix must be 3 x 4, finite 32-bit floats with (0, 0, 1, 0) in its last row: " +
            std::string(remedy));
    faults.require(calibration.rectificationMatrix.empty() || isRotation(calibration.rectificationMatrix),
                   "no-rotation",
                   "rectificationMatrix must be a rotation, 3 x 3 finite floats: " + std::string(remedy));
    faults.require(calibration.distortion.empty() || isDistortion(calibration.distortion),
                   "distortion",
                   "distortion must be a row or column of 4, 5, 8, 12 or 14 finite floats: " +
                       std::string(remedy));
    faults.require((!isCamera || hasFocalLength(camera)) && (!isProjection || hasFocalLength(projection)),
                   "focal-length",
                   "focal lengths must be positive: " + std::string(remedy));
    return faults.take();
}

Notes findPairFaults(const Calibration& left, const Calibration& right)
{
    constexpr double relative =
        1e-3; // of the focal length; written by one calibration they are the same number
    constexpr double mostRows = 0.1; // px
    const double f = at(left, 0, 0);
    const double leftTx = at(left, 0, 3);
    const double rightTx = at(right, 0, 3);
    const std::string together = "use the two files of one calibration, or " + std::string(remedy);

    Faults faults;
    faults.require(left.width == right.width && left.height == right.height,
                   "sizes-differ",
                   "the left calibration is for images of " + formatSize({left.width, left.height}) +
                       " and the right one for " + formatSize({right.width, right.height}) + ": " + together);
    // The translation stands in the record of the right camera, and its sign says on which side that one is.
    const bool isSwapped = leftTx < 0 && rightTx == 0;
    faults.require(!isSwapped, "swapped", "left and right calibration are swapped: exchange them");
    faults.require(isSwapped || leftTx == 0,
                   "left-translated",
                   "the left projectionMatrix holds a translation (Tx = " + fmt::format("{:.3f}", leftTx) +
                       "), which only the right one may have: " + together);
    faults.require(isSwapped || at(right, 1, 3) == 0,
                   "vertical",
                   "the cameras stand above each other (Ty = " + fmt::format("{:.3f}", at(right, 1, 3)) +
                       "): only cameras side by side can be used; turn the rig or its images");
    faults.require(isSwapped || rightTx < 0 || at(right, 1, 3) != 0,
                   "same-camera",
                   rightTx == 0
                       ? "there is no distance between the cameras (Tx = 0): is the left calibration given "
                         "twice? Name the right camera's file"
                       : "the right camera stands to the left of the left one (Tx > 0): exchange the images "
                         "and calibrate anew");
    faults.require(!differ(f, at(right, 0, 0), relative * f) &&
                       !differ(at(left, 1, 1), at(right, 1, 1), relative * f),
                   "focal-lengths-differ",
                   "the rectified focal lengths differ (" + fmt::format("{:.2f}", f) + " and " +
                       fmt::format("{:.2f}", at(right, 0, 0)) + " px): " + together);
    faults.require(!(std::abs(at(left, 0, 2) - at(right, 0, 2)) >= left.width),
                   "principal-points-differ",
                   fmt::format("the rectified principal points are {:.1f} px apart along the rows, more than "
                               "images of {} px are wide: {}",
                               std::abs(at(left, 0, 2) - at(right, 0, 2)),
                               left.width,
                               together));
    faults.require(!differ(at(left, 1, 2), at(right, 1, 2), mostRows),
                   "rows-differ",
                   "the rectified rows differ by " + fmt::format("{:.2f}", at(right, 1, 2) - at(left, 1, 2)) +
                       " px (cy): " + together);
    return faults.take();
}

} // namespace vision::toolkit
