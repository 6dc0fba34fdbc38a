// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/records/calibration_pair.h>

#include "records/checks.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/inspection.h>

#include <opencv2/core.hpp>

#include <filesystem>

namespace vision::toolkit {

namespace {

/// OpenCV cuts a file name at this sign.
constexpr char cuttingSign = '?';

void requireReadable(const std::string& file)
{
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        throw Failure("calibration-missing",
                      file,
                      "cannot open the calibration: " + error.message() + "; check the name");
    }
    if (!fs::is_regular_file(status)) {
        throw Failure("not-a-file", file, "is a folder or a device; name a calibration file");
    }
    if (file.find(cuttingSign) != std::string::npos) {
        throw Failure(
            "question-mark", file, "OpenCV cannot open a name with a question mark; rename the file");
    }
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

Calibration loadCalibration(const std::string& file)
{
    requireReadable(file);
    const auto format = identify(file);
    if (format && *format != CalibrationFormat::Own) {
        throw Failure(
            "foreign-calibration", file, "is " + nameOf(*format) + ", which must be converted first");
    }
    Calibration calibration;
    try {
        calibration.load(file);
    } catch (const std::exception& error) {
        throw Failure("broken-calibration",
                      file,
                      "is no calibration file, or a broken one: " + toText(describe(error)));
    }
    return calibration;
}

Calibration loadUsable(const std::string& file)
{
    Calibration calibration = loadCalibration(file);
    requireNone(findFaults(calibration), file);
    return calibration;
}

CalibrationPair loadCalibrations(const std::string& leftFile, const std::string& rightFile)
{
    CalibrationPair pair{loadUsable(leftFile), loadUsable(rightFile)};
    requireNone(findPairFaults(pair.left, pair.right), leftFile + " and " + rightFile);
    return pair;
}

void saveCalibration(const Calibration& calibration, const std::string& name, OutputFiles& output)
{
    const std::filesystem::path temporary = output.stage(name);
    const std::filesystem::path file = output.folder().path() / name;
    if (temporary.string().find(cuttingSign) != std::string::npos) {
        throw Failure("question-mark",
                      file.string(),
                      "OpenCV cannot write a name with a question mark; choose another one");
    }
    calibration.save(temporary.string());
    if (!isSame(temporary, calibration)) {
        throw Failure("calibration-not-written",
                      file.string(),
                      "cannot write the file in full; free space or choose another folder");
    }
}

} // namespace vision::toolkit
