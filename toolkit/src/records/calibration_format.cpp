// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/records/calibration_pair.h>

#include "files/text_file.h"

#include <document_guard.h>
#include <opencv2/core/persistence.hpp>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace vision::toolkit {

namespace {

/// Whether each of these stands at the beginning of a line.
bool hasLines(const std::string& text, const std::vector<const char*>& starts)
{
    return std::all_of(starts.begin(), starts.end(), [&text](const std::string& start) {
        return text.compare(0, start.size(), start) == 0 || text.find("\n" + start) != std::string::npos;
    });
}

/// OpenCV reads compressed documents by their name; no other program compresses its calibrations.
bool isCompressed(const std::string& file)
{
    return std::filesystem::path(file).extension() == ".gz";
}

std::optional<CalibrationFormat> identifyCompressed(const std::string& file)
{
    try {
        guard::requireSafeDocument(file);
        const cv::FileStorage storage(file, cv::FileStorage::READ);
        const auto has = [&storage](const char* key) { return !storage[key].empty(); };
        if ((has("M1") && has("D1")) || (has("R1") && has("P1"))) {
            return CalibrationFormat::OpenCvStereo;
        }
        return has("cameraMatrix") ? std::optional(CalibrationFormat::Own) : std::nullopt;
    } catch (const cv::Exception&) {
        return std::nullopt;
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

bool isFileStorage(const std::string& text)
{
    return hasLines(text, {"%YAML"}) || hasLines(text, {"<?xml"}) || hasLines(text, {"{"});
}

} // namespace

std::string nameOf(CalibrationFormat format)
{
    switch (format) {
    case CalibrationFormat::Own:
        return "a calibration of this program";
    case CalibrationFormat::RosCameraInfo:
        return "a camera_info file of ROS";
    case CalibrationFormat::OpenCvStereo:
        return "a file of OpenCV's stereo sample";
    case CalibrationFormat::KalibrChain:
        return "a camera chain of Kalibr";
    case CalibrationFormat::Middlebury:
        return "a calib.txt of Middlebury";
    case CalibrationFormat::Kitti:
        break;
    }
    return "a calib.txt of KITTI";
}

std::optional<CalibrationFormat> identify(const std::string& file)
{
    if (isCompressed(file)) {
        return identifyCompressed(file);
    }
    const std::string text = readText(file);
    if (isFileStorage(text)) {
        const bool isSample = hasLines(text, {"M1:", "D1:"}) || hasLines(text, {"R1:", "P1:"}) ||
                              text.find("<M1 ") != std::string::npos ||
                              text.find("<R1 ") != std::string::npos;
        const bool isOwn = text.find("cameraMatrix") != std::string::npos;
        return isSample ? std::optional(CalibrationFormat::OpenCvStereo)
               : isOwn  ? std::optional(CalibrationFormat::Own)
                        : std::nullopt;
    }
    const std::pair<CalibrationFormat, std::vector<const char*>> marks[] = {
        {CalibrationFormat::RosCameraInfo, {"image_width:", "camera_matrix:"}},
        {CalibrationFormat::KalibrChain, {"cam0:"}},
        {CalibrationFormat::Middlebury, {"cam0=", "baseline="}},
        {CalibrationFormat::Kitti, {"P0:", "P1:"}},
        {CalibrationFormat::Kitti, {"P2:", "P3:"}},
    };
    for (const auto& [format, starts] : marks) {
        if (hasLines(text, starts)) {
            return format;
        }
    }
    return std::nullopt;
}

} // namespace vision::toolkit
