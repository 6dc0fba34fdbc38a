// SPDX-License-Identifier: Apache-2.0
#include "features/photometry.h"

#include "base/statistics.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace vision::toolkit {

namespace {

constexpr int half = 7; // px, of a patch

/// What a patch looks like.
struct Appearance
{
    double mean;
    double contrast; ///< standard deviation
    double fineness; ///< rms difference of pixels above each other, over contrast
};

Appearance describe(const cv::Mat& patch)
{
    cv::Scalar mean, deviation;
    cv::meanStdDev(patch, mean, deviation);
    const cv::Mat upper = patch.rowRange(0, patch.rows - 1);
    const double steps =
        cv::norm(upper, patch.rowRange(1, patch.rows)) / std::sqrt(static_cast<double>(upper.total()));
    const double contrast = std::max(deviation[0], 1.0);
    return {mean[0], contrast, steps / contrast};
}

cv::Rect around(const cv::Point2d& point)
{
    return {cvRound(point.x) - half, cvRound(point.y) - half, 2 * half + 1, 2 * half + 1};
}

const char* nameOfSide(bool isRight)
{
    return isRight ? "right" : "left";
}

} // namespace

PhotometricDifference comparePhotometry(const cv::Mat& left, const cv::Mat& right,
                                        const FeatureMatches& features)
{
    const cv::Rect whole({0, 0}, left.size());
    std::vector<double> gains, differences, sharpness;
    std::vector<cv::Point2d> means;
    for (const auto& [inLeft, inRight] : features.matches) {
        const cv::Rect first = around(inLeft), second = around(inRight);
        if ((first & whole) == first && (second & whole) == second) {
            const Appearance a = describe(left(first)), b = describe(right(second));
            gains.push_back(b.contrast / a.contrast);
            differences.push_back(b.mean - a.mean);
            sharpness.push_back(b.fineness / a.fineness);
            means.emplace_back(a.mean, b.mean);
        }
    }
    PhotometricDifference result;
    if (means.empty()) {
        return result;
    }
    result.points = means.size();
    result.gain = median(std::move(gains));
    result.brightness = median(std::move(differences));
    result.sharpness = median(std::move(sharpness));
    std::vector<double> offsets;
    offsets.reserve(means.size());
    for (const cv::Point2d& mean : means) {
        offsets.push_back(mean.y - result.gain * mean.x);
    }
    result.offset = median(std::move(offsets));
    return result;
}

Notes judgePhotometry(const PhotometricDifference& difference)
{
    constexpr std::size_t fewest = 12;      // points
    constexpr double mostGain = 1.3;        // docs/checking.md gives the reasons
    constexpr double mostBrightness = 20;   // grey levels
    constexpr double leastSharpness = 0.85; // of the other image
    Notes notes;
    if (difference.points < fewest) {
        return notes;
    }
    const double gain = std::max(difference.gain, 1 / difference.gain);
    const double sharpness = std::min(difference.sharpness, 1 / difference.sharpness);
    const bool isBlurred = sharpness < leastSharpness; // which takes contrast, too
    if ((gain > mostGain && !isBlurred) || std::abs(difference.brightness) > mostBrightness) {
        const bool isRight = difference.brightness > 0;
        notes.push_back(
            {"exposure-differs",
             Severity::Info,
             fmt::format(
                 "the {} image is brighter by {:.0f} grey levels (gain {:.2f}, offset {:.0f} of right "
                 "against left): expose both cameras alike",
                 nameOfSide(isRight),
                 std::abs(difference.brightness),
                 difference.gain,
                 difference.offset)});
    }
    if (isBlurred) {
        notes.push_back(
            {"image-blurred",
             Severity::Doubtful,
             fmt::format(
                 "the {} image has {:.0f} % of the fine structure of the other one: focus its lens, and "
                 "look for dirt and movement",
                 nameOfSide(difference.sharpness < 1),
                 100 * sharpness)});
    }
    return notes;
}

Notes judgeIdentity(const cv::Mat& rawLeft, const cv::Mat& rawRight)
{
    constexpr double same = 0.05; // of the contrast; a copy that was compressed once more has 0.03
    constexpr double blank = 2;   // grey levels
    if (rawLeft.size() != rawRight.size() || rawLeft.type() != rawRight.type() || rawLeft.empty()) {
        return {};
    }
    cv::Scalar mean, deviation;
    cv::meanStdDev(rawLeft, mean, deviation);
    const double difference =
        cv::norm(rawLeft, rawRight) / std::sqrt(static_cast<double>(rawLeft.total()) * rawLeft.channels());
    if (deviation[0] < blank || difference > same * deviation[0]) {
        return {};
    }
    return {{"identical-images", Severity::Wrong, "both images are the same one, so they hold no depth"}};
}

} // namespace vision::toolkit
