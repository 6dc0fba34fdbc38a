#include "log_categories.h"
#include "stereo/image_scale.h"

#include <vision/stereo.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <cstring>
#include <stdexcept>

// GCC compiles a function so marked for wider vectors as well; the loader picks what the processor has. All
// give the same bits. (The thread sanitizer cannot start a program that picks this way.)
#if defined(__x86_64__) && defined(__GLIBC__) && __GNUC__ >= 12 && !defined(__SANITIZE_THREAD__)
#define VISION_WIDE_VECTORS __attribute__((target_clones("default", "avx2", "arch=x86-64-v4")))
#else
#define VISION_WIDE_VECTORS
#endif

namespace vision {

namespace {

/// What a point can be trusted up to.
struct Limits
{
    float maxDepth;
    float invalidDisparity; ///< the disparity of pixels without a match; none at or below it counts
};

/// The value where the mask is all ones, 0 where it is 0. Without a branch: trusted and blanked pixels mix.
float masked(float value, std::uint32_t mask)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits &= mask;
    std::memcpy(&value, &bits, sizeof bits);
    return value;
}

/// Reprojects row y of the disparity and blanks the points that cannot be trusted.
///
/// Gives every bit that cv::reprojectImageTo3D gives: double arithmetic in its order, rounded once at the end.
/// The zeros and ones of q are left out, since 0 * d changes nothing unless d is not finite: then the whole
/// point is NaN.
VISION_WIDE_VECTORS void reprojectRow(const float* disparity, int columns, int y, const cv::Matx44d& q,
                                      Limits limits, cv::Vec3f* points)
{
    // Every block is computed in full length, the last one on leftovers: constant lengths vectorise best.
    constexpr int length = 64;
    float d[length] = {};
    float pointX[length], pointY[length], pointZ[length];
    std::uint32_t kept[length];

    for (int first = 0; first < columns; first += length) {
        const int count = std::min(length, columns - first);
        std::copy_n(disparity + first, count, d);
        for (int i = 0; i < length; ++i) {
            const double wide = d[i];
            const double zeroOrNaN = wide - wide;
            const double reciprocal = 1.0 / (zeroOrNaN + q(3, 2) * wide + q(3, 3));
            pointX[i] = static_cast<float>((first + i + q(0, 3)) * reciprocal);
            pointY[i] = static_cast<float>((y + q(1, 3)) * reciprocal);
            pointZ[i] = static_cast<float>(q(2, 3) * reciprocal);
        }
        for (int i = 0; i < length; ++i) {
            pointZ[i] = d[i] == FLT_MAX ? 10000.0f : pointZ[i]; // OpenCV's mark of a missing disparity
        }
        for (int i = 0; i < length; ++i) { // written so that NaN is kept
            kept[i] = (pointZ[i] < 0.0f ? 0 : ~0u) & (pointZ[i] > limits.maxDepth ? 0 : ~0u) &
                      (d[i] <= limits.invalidDisparity ? 0 : ~0u);
        }
        for (int i = 0; i < count; ++i) {
            points[first + i] = {
                masked(pointX[i], kept[i]), masked(pointY[i], kept[i]), masked(pointZ[i], kept[i])};
        }
    }
}

} // namespace

cv::Mat Stereo::computeDepth(const cv::Mat& disparity) const
{
    using detail::stereoCategory;
    constexpr const char* method = "computeDepth";

    detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, method, "Computing depth...");
    if (disparity.type() != CV_32FC1) {
        detail::refuse<std::invalid_argument>(
            stereoCategory, method, "Wrong disparity image type, need CV_32FC1.");
    }
    const int scale = detail::requireImageScale(disparity, _leftCalibration.width, method);
    const cv::Matx44d q = _findTransforms(disparity, method).reprojectionMatrix;
    detail::logRecord(tarn::LogLevel::Verbose, stereoCategory, method, "Reproject to 3D...");

    // Pixels without a match hold one less than the smallest disparity searched.
    const Limits limits{_maxDepth,
                        static_cast<float>(detail::scaleMinDisparity(_minDisparity, scale)) - 1.0f};
    cv::Mat points(disparity.rows, disparity.cols, CV_32FC3);
    constexpr double pixelsPerTask = 16384; // what outweighs handing a band of rows to another thread
    cv::parallel_for_(
        cv::Range(0, disparity.rows),
        [&](const cv::Range& band) {
            for (int y = band.start; y < band.end; ++y) {
                reprojectRow(disparity.ptr<float>(y), disparity.cols, y, q, limits, points.ptr<cv::Vec3f>(y));
            }
        },
        static_cast<double>(disparity.total()) / pixelsPerTask);
    return points;
}

} // namespace vision
