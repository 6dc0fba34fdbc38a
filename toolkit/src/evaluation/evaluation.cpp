// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/evaluation/evaluation.h>

#include "base/text.h"
#include "evaluation/errors.h"

#include <vision/toolkit/failure.h>

#include <opencv2/core.hpp>

namespace vision::toolkit {

namespace {

/// How many pixels are wrong by each measure.
struct WrongCounts
{
    std::array<std::size_t, badLimits.size()> bad{};
    std::size_t d1 = 0;

    void add(double error, double truth)
    {
        constexpr double d1Limit = 3; // px
        constexpr double d1Share = 0.05;
        for (std::size_t i = 0; i < bad.size(); ++i) {
            bad[i] += error > badLimits[i] ? 1U : 0U;
        }
        d1 += error > d1Limit && error > d1Share * std::abs(truth) ? 1U : 0U;
    }

    /// @param more pixels that are wrong by every measure
    WrongShares shareOf(std::size_t pixels, std::size_t more) const
    {
        const auto share = [=](std::size_t count) {
            return static_cast<double>(count + more) / static_cast<double>(pixels);
        };
        WrongShares shares{};
        for (std::size_t i = 0; i < bad.size(); ++i) {
            shares.bad[i] = share(bad[i]);
        }
        shares.d1 = share(d1);
        return shares;
    }
};

} // namespace

void requireComparable(const cv::Mat& disparity, const cv::Mat& truth, const cv::Mat& mask)
{
    CV_Assert(disparity.type() == CV_32FC1 && truth.type() == CV_32FC1);
    CV_Assert(mask.empty() || mask.type() == CV_8UC1);
    if (disparity.size() != truth.size()) {
        throw Failure("sizes-differ",
                      {},
                      "the disparity image is " + formatSize(disparity.size()) + ", the truth " +
                          formatSize(truth.size()) + ": compute the disparity at the size of the truth");
    }
    if (!mask.empty() && mask.size() != truth.size()) {
        throw Failure("sizes-differ",
                      {},
                      "the mask is " + formatSize(mask.size()) + ", the truth " + formatSize(truth.size()) +
                          ": use the mask that belongs to this truth");
    }
}

Evaluation evaluate(const cv::Mat& disparity, const cv::Mat& truth, const cv::Mat& mask)
{
    requireComparable(disparity, truth, mask);
    Evaluation result{};
    WrongCounts wrong;
    double sum = 0;
    double squares = 0;
    forEachTruth(disparity, truth, mask, [&](const cv::Point&, float found, float wanted) {
        ++result.truth;
        if (std::isfinite(found)) {
            const double error = std::abs(double{found} - double{wanted});
            ++result.matched;
            sum += error;
            squares += error * error;
            wrong.add(error, wanted);
        }
    });
    if (result.truth == 0) {
        throw Failure("no-truth",
                      {},
                      "no pixel that counts has truth, so that there is nothing to compare with: is it the "
                      "right file?");
    }
    const auto matched = static_cast<double>(result.matched);
    result.density = matched / static_cast<double>(result.truth);
    result.average = sum / matched;
    result.rms = std::sqrt(squares / matched);
    result.ofMatched = wrong.shareOf(result.matched, 0);
    result.ofTruth = wrong.shareOf(result.truth, result.truth - result.matched);
    return result;
}

} // namespace vision::toolkit
