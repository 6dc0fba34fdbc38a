// SPDX-License-Identifier: Apache-2.0
#include "depth/steps.h"

#include "base/text.h"

#include <vision/toolkit/failure.h>

#include <cstdint>
#include <tuple>

namespace vision::toolkit {

void requireFittingSize(const cv::Size& image, const cv::Size& calibration)
{
    const std::string sizes =
        "the images are " + formatSize(image) + ", the calibration is for " + formatSize(calibration);
    if (image.width > calibration.width) {
        throw Failure(
            "larger-than-calibration", {}, sizes + ": scale them down to that size or calibrate at theirs");
    }
    if (std::int64_t{image.width} * calibration.height != std::int64_t{image.height} * calibration.width) {
        throw Failure(
            "aspect-ratio",
            {},
            sizes + ": the aspect ratio must be the same; use uncropped images of the calibrated cameras");
    }
}

ImagePair rectify(const vision::Stereo& stereo, const ImagePair& pair)
{
    const vision::Calibration calibration = stereo.getCalibrations().first;
    requireFittingSize(pair.left.grey.size(), {calibration.width, calibration.height});
    ImagePair rectified;
    std::tie(rectified.left.grey, rectified.right.grey) =
        stereo.rectifyImages(pair.left.grey, pair.right.grey);
    rectified.left.view =
        pair.left.view.channels() == 1 ? rectified.left.grey : stereo.rectifyImageLeft(pair.left.view);
    rectified.right.view =
        pair.right.view.channels() == 1 ? rectified.right.grey : stereo.rectifyImageRight(pair.right.view);
    rectified.notes = pair.notes;
    return rectified;
}

DepthResult makeResult(const ImagePair& rectified)
{
    DepthResult depth;
    depth.left = rectified.left.view;
    depth.right = rectified.right.view;
    depth.leftGrey = rectified.left.grey;
    depth.rightGrey = rectified.right.grey;
    depth.notes = rectified.notes;
    return depth;
}

} // namespace vision::toolkit
