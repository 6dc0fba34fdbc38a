// SPDX-License-Identifier: Apache-2.0
#include "document_guard.h"
#include "log_categories.h"

#include <vision/calibration.h>

#include <opencv2/core.hpp>

#include <stdexcept>

namespace vision {

namespace {

using detail::calibrationCategory;

std::string describe(const std::string& filename, const Calibration& calibration)
{
    return detail::joinText("Load calibration file: \"",
                            filename,
                            "\"",
                            "\nWidth: ",
                            calibration.width,
                            "\nHeight: ",
                            calibration.height,
                            "\nCamera matrix: ",
                            calibration.cameraMatrix,
                            "\nDistortion: ",
                            calibration.distortion,
                            "\nRectification matrix: ",
                            calibration.rectificationMatrix,
                            "\nProjection matrix: ",
                            calibration.projectionMatrix);
}

void readMatrix(const cv::FileStorage& storage, const char* key, cv::Mat& matrix)
{
    const cv::FileNode node = storage[key];
    guard::requireSafeMatrix(key, node);
    cv::read(node, matrix, cv::Mat());
}

void readFields(const cv::FileStorage& storage, Calibration& calibration)
{
    cv::read(storage["width"], calibration.width, 0);
    cv::read(storage["height"], calibration.height, 0);
    readMatrix(storage, "cameraMatrix", calibration.cameraMatrix);
    readMatrix(storage, "distortion", calibration.distortion);
    readMatrix(storage, "rectificationMatrix", calibration.rectificationMatrix);
    readMatrix(storage, "projectionMatrix", calibration.projectionMatrix);
}

template <typename Value>
void writeField(cv::FileStorage& storage, const char* progress, const char* key, const Value& value)
{
    detail::logRecord(tarn::LogLevel::Verbose, calibrationCategory, "save", progress);
    storage << key << value;
}

} // namespace

void Calibration::load(const std::string& filename)
{
    if (filename.empty()) {
        detail::refuse<std::invalid_argument>(calibrationCategory, "load", "Invalid calibration file: \"\".");
    }
    try {
        guard::requireSafeDocument(filename);
        const cv::FileStorage storage(filename, cv::FileStorage::READ, std::string());
        if (!storage.isOpened()) {
            throw std::invalid_argument("Failed to open file: \"" + filename + "\".");
        }
        readFields(storage, *this);
        if (detail::isLogged(calibrationCategory, tarn::LogLevel::Verbose)) {
            detail::emitRecord(
                tarn::LogLevel::Verbose, calibrationCategory, "load", describe(filename, *this));
        }
    } catch (const std::exception& error) {
        detail::logRecord(tarn::LogLevel::Error,
                          calibrationCategory,
                          "load",
                          "Cannot read calibration file \"",
                          filename,
                          "\": ",
                          error.what());
        throw;
    }
}

void Calibration::save(const std::string& filename) const
{
    if (filename.empty()) {
        detail::refuse<std::invalid_argument>(calibrationCategory, "save", "Invalid calibration save file: ");
    }
    try {
        // A storage that could not be opened skips what is inserted; that is not refused on purpose.
        cv::FileStorage storage(filename, cv::FileStorage::WRITE, std::string());
        writeField(storage, "Write calibration width.", "width", width);
        writeField(storage, "Write calibration height.", "height", height);
        writeField(storage, "Write camera matrix.", "cameraMatrix", cameraMatrix);
        writeField(storage, "Write distortion matrix.", "distortion", distortion);
        writeField(storage, "Write rectification matrix.", "rectificationMatrix", rectificationMatrix);
        writeField(storage, "Write projection matrix.", "projectionMatrix", projectionMatrix);
    } catch (const std::exception& error) {
        detail::logRecord(tarn::LogLevel::Error,
                          calibrationCategory,
                          "save",
                          "Cannot write calibration file \"",
                          filename,
                          "\": ",
                          error.what());
        throw;
    }
}

} // namespace vision
