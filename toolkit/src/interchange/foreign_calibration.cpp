// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/interchange/calibrations.h>

#include "interchange/source.h"
#include "records/checks.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/inspection.h>

#include <opencv2/core.hpp>

namespace vision::toolkit {

namespace {

CalibrationPair requirePair(CalibrationPair pair, const std::string& file)
{
    requireNone(findFaults(pair.left), file);
    requireNone(findFaults(pair.right), file);
    requireNone(findPairFaults(pair.left, pair.right), file);
    return pair;
}

CalibrationPair readAny(const std::vector<std::string>& files, CalibrationFormat format,
                        const ForeignDetails& details)
{
    const auto requireFiles = [&](std::size_t count) {
        if (files.size() != count) {
            throw Failure("file-count",
                          files.front(),
                          "is " + nameOf(format) + ": give " +
                              (count == 1 ? "just this file" : "two files, the left camera's first"));
        }
    };
    switch (format) {
    case CalibrationFormat::Own:
        requireFiles(2);
        return loadCalibrations(files[0], files[1]);
    case CalibrationFormat::RosCameraInfo:
        requireFiles(2);
        return {readCameraInfo(files[0]), readCameraInfo(files[1])};
    case CalibrationFormat::OpenCvStereo:
        requireFiles(2);
        return readOpenCvStereo(files, details);
    case CalibrationFormat::KalibrChain:
        requireFiles(1);
        return readKalibr(files[0]);
    case CalibrationFormat::Middlebury:
        requireFiles(1);
        return readMiddlebury(files[0]);
    case CalibrationFormat::Kitti:
        break;
    }
    requireFiles(1);
    return readKitti(files[0], details);
}

/// What a file says itself cannot be given otherwise.
void requireUse(const std::string& file, CalibrationFormat format, const ForeignDetails& details)
{
    const bool takesUnit = format == CalibrationFormat::OpenCvStereo;
    const bool takesSize = takesUnit || format == CalibrationFormat::Kitti;
    if (details.imageSize && !takesSize) {
        throw Failure("size-known", file, "holds the size of the images, which cannot be given otherwise");
    }
    if (details.metresPerUnit && !takesUnit) {
        throw Failure(
            "unit-known", file, "has lengths in a unit that is known, which cannot be given otherwise");
    }
    if (details.kittiCameras && format != CalibrationFormat::Kitti) {
        throw Failure("cameras-known", file, "holds one pair of cameras only: there is nothing to choose");
    }
}

/// What the libraries that read and rectify say of a file names it, too.
CalibrationPair readNamed(const std::vector<std::string>& files, CalibrationFormat format,
                          const ForeignDetails& details)
{
    try {
        return readAny(files, format, details);
    } catch (const YAML::Exception& error) {
        throw Failure("no-yaml", files.front(), "is not built as " + nameOf(format) + " (" + error.msg + ")");
    } catch (const cv::Exception& error) {
        throw Failure("not-rectifiable",
                      files.front(),
                      "the cameras cannot be rectified together (" + describe(error).text + ")");
    }
}

} // namespace

CalibrationPair readForeign(const std::vector<std::string>& files, const ForeignDetails& details)
{
    if (files.empty()) {
        throw Failure("file-count", "", "no calibration is named");
    }
    const auto format = identify(files.front());
    if (!format) {
        throw Failure(
            "unknown-calibration",
            files.front(),
            "cannot be read or is no known calibration: this library's own, camera_info of ROS, OpenCV's "
            "stereo sample, Kalibr, Middlebury or KITTI");
    }
    requireUse(files.front(), *format, details);
    return requirePair(readNamed(files, *format, details), files.front());
}

} // namespace vision::toolkit
