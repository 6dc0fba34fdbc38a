// SPDX-License-Identifier: Apache-2.0
/// The frame that all benchmarks work on: a photographed plane of one size and what comes of it.
#ifndef BENCH_FRAME_H
#define BENCH_FRAME_H

#include "support/scene.h"

#include <vision/stereo.h>

#include <string>
#include <utility>

namespace bench {

const cv::Size sizes[] = {{320, 240}, {640, 480}, {1280, 960}, {2560, 1920}};

inline std::string nameOf(const cv::Size& size)
{
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

/// A pipeline that has its maps, raw images and the results of every stage.
struct Frame
{
    explicit Frame(const cv::Size& frameSize)
        : size(frameSize), calibrations(support::makeCalibrations(size.width, size.height))
    {
        const support::Plane plane{2.5, 0.3};
        raw = {support::photograph(plane, calibrations.left), support::photograph(plane, calibrations.right)};
        stereo.setCalibrations(calibrations.left, calibrations.right);
        rectified = stereo.rectifyImages(raw.first, raw.second);
        disparity = stereo.computeDisparity(rectified.first, rectified.second);
    }

    cv::Mat computeDisparity() const { return stereo.computeDisparity(rectified.first, rectified.second); }

    cv::Mat run() const
    {
        const auto [left, right] = stereo.rectifyImages(raw.first, raw.second);
        return stereo.computeDepth(stereo.computeDisparity(left, right));
    }

    const cv::Size size;
    const support::CalibrationPair calibrations;
    vision::Stereo stereo;
    std::pair<cv::Mat, cv::Mat> raw;
    std::pair<cv::Mat, cv::Mat> rectified;
    cv::Mat disparity; ///< of the block matcher
};

} // namespace bench

#endif
