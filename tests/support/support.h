/// What the tests share: known calibrations, exact comparison, and what is expected of the log and of refusals.
#ifndef SUPPORT_SUPPORT_H
#define SUPPORT_SUPPORT_H

#include <tarn/log.h>
#include <vision/stereo.h>

#include <opencv2/calib3d.hpp>

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <typeinfo>

namespace support {

inline constexpr auto matrixFields = {&vision::Calibration::cameraMatrix, &vision::Calibration::distortion,
                                      &vision::Calibration::rectificationMatrix,
                                      &vision::Calibration::projectionMatrix}; // in the order of declaration

struct CalibrationPair
{
    vision::Calibration left, right;
};

inline constexpr float baseline = 0.12f;

/// A camera of no special symmetry: every entry differs from the others and from the other camera's.
/// @param side 0 for the left camera, 1 for the right one
inline vision::Calibration makeCalibration(int width, int height, float side)
{
    const float u = static_cast<float>(width) / 640;
    vision::Calibration c;
    c.width = width;
    c.height = height;
    c.cameraMatrix = (cv::Mat_<float>(3, 3) << (520 - 9 * side) * u, 0, (318 + 7 * side) * u, 0,
                      (517 - 5 * side) * u, (243 - 4 * side) * u, 0, 0, 1);
    c.distortion = (cv::Mat_<float>(1, 5) << -0.08f + 0.01f * side, 0.03f, 0.001f, -0.0007f, 0.01f);
    cv::Rodrigues(cv::Matx31f(0.01f - 0.015f * side, -0.02f, 0.005f), c.rectificationMatrix);
    c.projectionMatrix = (cv::Mat_<float>(3, 4) << 500 * u, 0, (310 - 8 * side) * u,
                          0 - 500 * u * baseline * side, 0, 505 * u, 240 * u, 0, 0, 0, 1, 0);
    return c;
}

inline CalibrationPair makeCalibrations(int width = 640, int height = 480)
{
    return {makeCalibration(width, height, 0), makeCalibration(width, height, 1)};
}

/// Gives tests a look at the calibrations and the cache.
struct OpenStereo : vision::Stereo
{
    OpenStereo() = default;
    explicit OpenStereo(const CalibrationPair& pair) { setCalibrations(pair.left, pair.right); }

    using Stereo::_imageTransforms;
    using Stereo::_leftCalibration;
    using Stereo::_rightCalibration;
};

/// Whether size, type and every bit agree. All NaNs count as one value: nobody defines their payload.
inline bool areBitEqual(const cv::Mat& a, const cv::Mat& b)
{
    const auto bytes = [](const cv::Mat& matrix) {
        cv::Mat copy = matrix.clone().reshape(1);
        if (copy.depth() >= CV_32F) {
            copy.setTo(NAN, copy != copy);
        }
        return cv::Mat(1, static_cast<int>(copy.total() * copy.elemSize()), CV_8U, copy.data).clone();
    };
    return a.size == b.size && a.type() == b.type() && cv::norm(bytes(a), bytes(b), cv::NORM_INF) == 0;
}

using LogEntries = std::vector<std::string>; ///< "LEVEL CATEGORY FUNCTION FILE:LINE TEXT"

inline std::string describe(const tarn::log::Record& record)
{
    std::ostringstream text;
    text << static_cast<int>(record.level) << ' ' << record.category << ' ' << record.function << ' '
         << record.file << ':' << record.line << ' ' << record.message;
    return text.str();
}

/// Makes the entries that the library is expected to log: always with an empty file and line 0.
struct ExpectedEntry
{
    const char* levelAndCategory;

    std::string operator()(const std::string& function, const std::string& text) const
    {
        return std::string(levelAndCategory) + ' ' + function + " :0 " + text;
    }
};

inline constexpr ExpectedEntry stereoError{"2 vision.stereo"};
inline constexpr ExpectedEntry stereoVerbose{"5 vision.stereo"};
inline constexpr ExpectedEntry calibrationError{"2 vision.stereo.calibration"};
inline constexpr ExpectedEntry calibrationVerbose{"5 vision.stereo.calibration"};

/// Collects the records of the library, up to a level, while it lives.
class RecordedLog
{
public:
    explicit RecordedLog(tarn::LogLevel level = tarn::LogLevel::Verbose)
    {
        tarn::log::setLevel("vision.stereo", level);
        tarn::log::setLevel("vision.stereo.calibration", level);
        tarn::log::setSink([this](const tarn::log::Record& record) { _entries.push_back(describe(record)); });
    }
    RecordedLog(const RecordedLog&) = delete;
    RecordedLog& operator=(const RecordedLog&) = delete;
    ~RecordedLog() { tarn::log::setSink({}); }

    LogEntries take() { return std::exchange(_entries, {}); }

private:
    LogEntries _entries;
};

/// Expects an exception of exactly this type and returns its text.
template <typename Exception, typename Call>
std::string textThrownBy(const Call& call)
{
    try {
        call();
    } catch (const std::exception& error) {
        EXPECT_EQ(typeid(error), typeid(Exception)) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

inline constexpr std::nullopt_t anyText = std::nullopt; ///< of an exception whose text is OpenCV's affair

/// Expects the exception both with silenced categories and, together with the records, at error level.
/// So the call is made twice: a refused call must leave things as they were.
template <typename Exception, typename Call>
void expectRefusal(const Call& call, const std::optional<std::string>& thrownText, const LogEntries& entries)
{
    for (const auto level : {tarn::LogLevel::None, tarn::LogLevel::Error}) {
        RecordedLog log(level);
        const std::string text = textThrownBy<Exception>(call);
        EXPECT_EQ(text, thrownText.value_or(text));
        EXPECT_EQ(log.take(), level == tarn::LogLevel::None ? LogEntries() : entries);
    }
}

} // namespace support

#endif
