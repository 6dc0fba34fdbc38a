// SPDX-License-Identifier: Apache-2.0
#include "base/text.h"
#include "depth/steps.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace vision::toolkit {

namespace {

using vision::Stereo;

/// What the matcher gets for images smaller than the calibration, see vision::Stereo::computeDisparity.
struct Search
{
    int scale;
    int block;
    int minDisparity;
    int disparities;
};

Search adaptSearch(const Stereo& stereo, int scale)
{
    const int halvings = static_cast<int>(std::round(std::log2(scale)));
    return {scale,
            scale == 1 ? stereo.getWindowSize() : stereo.getWindowSize() - scale,
            stereo.getMinDisparity() / scale - 1,
            std::max(stereo.getDisparityNumber() - 16 * halvings, 16)};
}

/// The matchers fail or read beyond their buffers when a block or the search does not fit into the image.
void requireFittingSearch(const Stereo& stereo, const Search& search, const cv::Size& image)
{
    const std::string images = "images of " + formatSize(image);
    const bool isBlockMatcher = stereo.getStereoAlgorithm() == Stereo::BM;
    const int smallest = isBlockMatcher ? 5 : 1; // px, that the matcher takes
    if (search.block < smallest || search.block >= image.height) {
        throw Failure("window-unfit",
                      "window",
                      fmt::format("{} gives blocks of {} px in {}, which is too {}",
                                  stereo.getWindowSize(),
                                  search.block,
                                  images,
                                  search.block < smallest ? "small: choose a larger one"
                                                          : "large: choose a smaller one"));
    }
    if (isBlockMatcher && search.block % 2 == 0) {
        throw Failure(
            "even-window",
            "window",
            fmt::format(
                "{} less {} gives blocks of {} px in {}, which must be odd for the block matcher: use "
                "the other one, or images 1/2, 1/4 ... as wide as the calibration",
                stereo.getWindowSize(),
                search.scale,
                search.block,
                images));
    }
    const std::int64_t reach =
        std::int64_t{search.block} + search.disparities + std::max(search.minDisparity, 0);
    if (reach >= image.width) {
        throw Failure(
            "search-unfit",
            {},
            fmt::format(
                "the search does not fit into {}: lower the number of disparities ({}), the window ({}) "
                "or the smallest disparity ({}), or raise the largest depth",
                images,
                stereo.getDisparityNumber(),
                stereo.getWindowSize(),
                stereo.getMinDisparity()));
    }
}

} // namespace

DepthResult computePlainDepth(const Stereo& stereo, const ImagePair& rectified, const Rig& rig)
{
    const cv::Size size = rectified.left.grey.size();
    const vision::Calibration calibration = stereo.getCalibrations().first;
    requireFittingSize(size, {calibration.width, calibration.height});
    const Search search = adaptSearch(stereo, calibration.width / size.width);
    requireFittingSearch(stereo, search, size);

    DepthResult result = makeResult(rectified);
    result.range = {search.minDisparity, search.disparities};
    result.disparity = stereo.computeDisparity(result.leftGrey, result.rightGrey);
    result.scale = findDepthScale(rig, size.width);
    if (result.scale) {
        result.points = stereo.computeDepth(result.disparity);
        result.maxDepth = double{stereo.getMaxDepth()};
    }

    // The matcher marks a pixel without a match by one less than the smallest disparity that it searched.
    const cv::Mat unmatched = result.disparity <= search.minDisparity - 1;
    result.disparity.setTo(std::numeric_limits<double>::infinity(), unmatched);
    result.unsearched = unmatched.clone();
    const cv::Rect all({0, 0}, size);
    result
        .unsearched(cv::getValidDisparityROI(all, all, search.minDisparity, search.disparities, search.block))
        .setTo(0);
    return result;
}

} // namespace vision::toolkit
