// SPDX-License-Identifier: Apache-2.0
/// Runs frames of changing sizes, parameters and calibrations through one pipeline: memory must stay flat and
/// every result equal the first one of its kind.

#include <vision/stereo.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <unistd.h>
#include <vector>

namespace {

constexpr int width = 192;
constexpr int height = 144;

vision::Calibration makeCalibration(float focalLength, float baseline)
{
    const float cx = width / 2.0f;
    const float cy = height / 2.0f;
    vision::Calibration calibration;
    calibration.width = width;
    calibration.height = height;
    calibration.cameraMatrix = (cv::Mat_<float>(3, 3) << focalLength, 0, cx, 0, focalLength, cy, 0, 0, 1);
    calibration.distortion = (cv::Mat_<float>(1, 5) << -0.1f, 0.02f, 0.001f, -0.001f, 0);
    calibration.rectificationMatrix = cv::Mat::eye(3, 3, CV_32FC1);
    float projection[3][4] = {
        {focalLength, 0, cx, -focalLength * baseline},
        {0, focalLength, cy, 0},
        {0, 0, 1, 0},
    };
    calibration.projectionMatrix = cv::Mat(3, 4, CV_32FC1, projection).clone();
    return calibration;
}

/// What may change from one frame to the next; every combination is one kind of frame.
struct Kind
{
    int calibration; ///< 0 or 1
    int shrink;      ///< image width = calibration width / shrink
    vision::Stereo::StereoAlgorithm algorithm;
    int windowSize;
    float maxDepth;
};

std::vector<Kind> makeKinds()
{
    std::vector<Kind> kinds;
    for (const int calibration : {0, 1}) {
        for (const int shrink : {1, 2}) {
            for (const auto algorithm : {vision::Stereo::BM, vision::Stereo::SGBM}) {
                for (const int windowSize : {7, 11}) {
                    for (const float maxDepth : {3.0f, 8.0f}) {
                        kinds.push_back({calibration, shrink, algorithm, windowSize, maxDepth});
                    }
                }
            }
        }
    }
    return kinds;
}

class Soak
{
public:
    Soak()
    {
        cv::Mat noise(height, width, CV_8UC1);
        cv::randu(noise, 0, 256);
        cv::GaussianBlur(noise, _left, {}, 1.5);
        cv::warpAffine(_left, _right, cv::Matx23f(1, 0, -6, 0, 1, 0), _left.size());
    }

    /// One frame from raw images to points; returns a checksum of disparity and points.
    std::uint64_t run(const Kind& kind)
    {
        _stereo.setMaxDepth(kind.maxDepth);
        const vision::Calibration left = makeCalibration(kind.calibration == 0 ? 150.0f : 180.0f, 0);
        const vision::Calibration right = makeCalibration(kind.calibration == 0 ? 150.0f : 180.0f, 0.1f);
        _stereo.setCalibrations(left, right);
        _stereo.setStereoAlgorithm(kind.algorithm);
        _stereo.setWindowSize(kind.windowSize);
        _stereo.setDisparityNumber(32);

        const auto [leftRectified, rightRectified] =
            _stereo.rectifyImages(shrunk(_left, kind.shrink), shrunk(_right, kind.shrink));
        const cv::Mat disparity = _stereo.computeDisparity(leftRectified, rightRectified);
        return checksum(disparity) * 31 + checksum(_stereo.computeDepth(disparity));
    }

private:
    static cv::Mat shrunk(const cv::Mat& image, int factor)
    {
        cv::Mat result;
        cv::resize(image, result, image.size() / factor, 0, 0, cv::INTER_AREA);
        return result;
    }

    /// FNV-1a over the bytes.
    static std::uint64_t checksum(const cv::Mat& matrix)
    {
        std::uint64_t sum = 14695981039346656037u;
        for (std::size_t i = 0; i < matrix.total() * matrix.elemSize(); ++i) {
            sum = (sum ^ matrix.data[i]) * 1099511628211u;
        }
        return sum;
    }

    vision::Stereo _stereo;
    cv::Mat _left;
    cv::Mat _right;
};

double residentMegabytes()
{
    std::ifstream file("/proc/self/statm");
    long total = 0;
    long resident = 0;
    file >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

} // namespace

int main(int argc, char** argv)
{
    constexpr double allowedGrowthMegabytes = 4; // the allocator's own caches move by about one
    const long frames = argc > 1 ? std::atol(argv[1]) : 100000;
    const std::vector<Kind> kinds = makeKinds();
    std::vector<std::optional<std::uint64_t>> first(kinds.size());

    Soak soak;
    long wrong = 0;
    double start = 0;
    for (long frame = 0; frame < frames; ++frame) {
        const std::size_t kind = static_cast<std::size_t>(frame) % kinds.size();
        const std::uint64_t sum = soak.run(kinds[kind]);
        first[kind] = first[kind].value_or(sum);
        wrong += sum != first[kind];
        if (frame == frames / 10) {
            start = residentMegabytes();
        }
    }
    const double end = residentMegabytes();
    std::cout << frames << " frames of " << kinds.size() << " kinds, " << wrong
              << " differ from the first of their kind\n"
              << "resident memory: " << start << " MiB after a tenth, " << end << " MiB at the end\n";
    return wrong == 0 && end - start < allowedGrowthMegabytes ? EXIT_SUCCESS : EXIT_FAILURE;
}
