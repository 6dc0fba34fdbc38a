#include <vision/toolkit/calibration/pair_file.h>

#include <vision/toolkit/failure.h>
#include <vision/toolkit/text.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <filesystem>
#include <initializer_list>

namespace vision::toolkit {

namespace {

constexpr const char* remedy = "; make a new one with 'stereovision calibrate'";

/// OpenCV cuts a file name at this sign.
constexpr char cuttingSign = '?';

void requireReadable(const std::string& file)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        throw Failure(file + ": cannot open the calibration: " + error.message() +
                      "; check the name, or make one with 'stereovision calibrate'");
    }
    if (!fs::is_regular_file(status)) {
        throw Failure(file + ": is a folder or a device; name a calibration file");
    }
    if (file.find(cuttingSign) != std::string::npos) {
        throw Failure(file + ": OpenCV cannot open a name with a question mark; rename the file");
    }
}

bool isFloats(const cv::Mat& matrix, int rows, int columns)
{
    return matrix.type() == CV_32FC1 && matrix.rows == rows && matrix.cols == columns &&
           cv::checkRange(matrix);
}

bool isRotation(const cv::Mat& matrix)
{
    return matrix.empty() ||
           (matrix.channels() == 1 && (matrix.depth() == CV_32F || matrix.depth() == CV_64F) &&
            matrix.rows == 3 && matrix.cols == 3 && cv::checkRange(matrix));
}

bool isDistortion(const cv::Mat& matrix)
{
    if (matrix.empty()) {
        return true;
    }
    const std::initializer_list<std::size_t> lengths{4, 5, 8, 12, 14};
    return matrix.channels() == 1 && (matrix.depth() == CV_32F || matrix.depth() == CV_64F) &&
           matrix.dims == 2 && std::min(matrix.rows, matrix.cols) == 1 && cv::checkRange(matrix) &&
           std::find(lengths.begin(), lengths.end(), matrix.total()) != lengths.end();
}

void requireComplete(const std::string& file, const Calibration& calibration)
{
    const auto require = [&file](bool holds, const char* wanted) {
        if (!holds) {
            throw Failure(file + ": is no usable calibration: " + wanted + remedy);
        }
    };
    constexpr int widest = 1 << 16;
    const auto isLength = [](int length) { return 0 < length && length <= widest; };
    require(isLength(calibration.width) && isLength(calibration.height),
            "width and height must be the size of an image");
    require(isFloats(calibration.cameraMatrix, 3, 3), "cameraMatrix must be 3 x 3, finite 32-bit floats");
    require(isFloats(calibration.projectionMatrix, 3, 4),
            "projectionMatrix must be 3 x 4, finite 32-bit floats");
    require(isRotation(calibration.rectificationMatrix), "rectificationMatrix must be 3 x 3, finite floats");
    require(isDistortion(calibration.distortion),
            "distortion must be a list of 4, 5, 8, 12 or 14 finite floats");
    for (const cv::Mat* matrix : {&calibration.cameraMatrix, &calibration.projectionMatrix}) {
        require(matrix->at<float>(0, 0) > 0 && matrix->at<float>(1, 1) > 0, "focal lengths must be positive");
    }
}

Calibration loadComplete(const std::string& file)
{
    requireReadable(file);
    Calibration calibration;
    try {
        calibration.load(file);
    } catch (const std::exception& error) {
        throw Failure(file + ": is no calibration file, or a broken one: " + describe(error) + remedy);
    }
    requireComplete(file, calibration);
    return calibration;
}

bool isSame(const std::filesystem::path& file, const Calibration& calibration)
{
    try {
        Calibration found;
        found.load(file.string());
        return found == calibration;
    } catch (const std::exception&) { // the file is missing or cut off
        return false;
    }
}

} // namespace

CalibrationPair loadCalibrations(const std::string& leftFile, const std::string& rightFile)
{
    CalibrationPair pair{loadComplete(leftFile), loadComplete(rightFile)};
    const auto& [left, right] = pair;
    const cv::Size leftSize(left.width, left.height);
    const cv::Size rightSize(right.width, right.height);
    if (leftSize != rightSize) {
        throw Failure(leftFile + " is for images of " + formatSize(leftSize) + " and " + rightFile + " for " +
                      formatSize(rightSize) + ": both must come from one calibration");
    }
    // The translation stands in the record of the right camera, and its sign says on which side that one is.
    if (left.projectionMatrix.at<float>(0, 3) != 0 || !(right.projectionMatrix.at<float>(0, 3) < 0)) {
        throw Failure(
            leftFile + " and " + rightFile +
            " do not belong to a left and a right camera side by side: is one of them given twice, or are "
            "they swapped?");
    }
    return pair;
}

void saveCalibration(const Calibration& calibration, const std::string& name, OutputFiles& output)
{
    const std::filesystem::path temporary = output.stage(name);
    const std::filesystem::path file = temporary.parent_path() / name;
    if (temporary.string().find(cuttingSign) != std::string::npos) {
        throw Failure(file.string() +
                      ": OpenCV cannot write a name with a question mark; choose another --output");
    }
    calibration.save(temporary.string());
    if (!isSame(temporary, calibration)) {
        throw Failure(file.string() +
                      ": cannot write the file in full; free space or choose another --output");
    }
}

} // namespace vision::toolkit
