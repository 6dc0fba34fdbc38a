// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/interchange/calibrations.h>

#include "interchange/source.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/inspection.h>

#include <algorithm>
#include <utility>

namespace vision::toolkit {

namespace {

CalibrationPair requirePair(CalibrationPair pair, const std::string& file)
{
    for (const Calibration* camera : {&pair.left, &pair.right}) {
        const Notes faults = findFaults(*camera);
        if (!faults.empty()) {
            throw Failure(file + ": " + faults.front().text);
        }
    }
    const Notes faults = findPairFaults(pair.left, pair.right);
    if (!faults.empty()) {
        throw Failure(file + ": " + faults.front().text);
    }
    return pair;
}

CalibrationPair readAny(const std::vector<std::string>& files, CalibrationFormat format,
                        const ForeignDetails& details)
{
    const auto requireFiles = [&](std::size_t count) {
        if (files.size() != count) {
            throw Failure(files.front() + ": is " + nameOf(format) + ": give " +
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
        throw Failure("--size does nothing here: " + file + " holds it; 'stereovision scale' changes it");
    }
    if (details.metresPerUnit && !takesUnit) {
        throw Failure("--unit does nothing here: the lengths of " + file + " are in a unit that is known");
    }
}

} // namespace

CalibrationPair readForeign(const std::vector<std::string>& files, const ForeignDetails& details)
{
    const auto format = identify(files.front());
    if (!format) {
        throw Failure(files.front() +
                      ": cannot be read or is no known calibration: this program's own, camera_info of "
                      "ROS, OpenCV's stereo sample, Kalibr, Middlebury or KITTI");
    }
    requireUse(files.front(), *format, details);
    return requirePair(readAny(files, *format, details), files.front());
}

} // namespace vision::toolkit
