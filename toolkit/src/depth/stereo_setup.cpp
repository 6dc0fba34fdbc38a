// SPDX-License-Identifier: Apache-2.0
#include "depth/steps.h"
#include "matching/blank_calibration.h"

#include <vision/toolkit/failure.h>

#include <limits>
#include <stdexcept>

namespace vision::toolkit {

namespace {

void requirePlain(const DepthSettings& settings)
{
    if (settings.matcher.algorithm == Algorithm::Sgm) {
        throw Failure(
            "plain-settings",
            {},
            "plain matching is that of the core library, which has bm and sgbm: choose one of them");
    }
    if (settings.matcher.dense) {
        throw Failure("plain-settings", {}, "plain matching fills nothing: leave out either plain or dense");
    }
    if (settings.range.nearest || settings.range.farthest) {
        throw Failure("plain-settings",
                      {},
                      "plain matching takes its range from the disparities and the largest depth: give these "
                      "instead of the nearest and the farthest depth");
    }
}

void setCalibrations(vision::Stereo& stereo, const Rig& rig)
{
    if (rig.calibrations) {
        stereo.setCalibrations(rig.calibrations->left, rig.calibrations->right);
    } else {
        const vision::Calibration blank = makeBlankCalibration(rig.size);
        stereo.setCalibrations(blank, blank);
    }
}

} // namespace

void configurePlain(vision::Stereo& stereo, const Rig& rig, const DepthSettings& settings)
{
    requirePlain(settings);
    (void)withDefaults(settings.matcher, rig.size.width); // checks them
    const auto set = [&stereo](void (vision::Stereo::*setter)(int), const std::optional<int>& value) {
        if (value) {
            (stereo.*setter)(*value);
        }
    };
    using vision::Stereo;
    stereo.setStereoAlgorithm(settings.matcher.algorithm == Algorithm::Sgbm ? Stereo::SGBM : Stereo::BM);
    try {
        if (settings.maxDepth) {
            stereo.setMaxDepth(static_cast<float>(*settings.maxDepth));
        }
        // The largest depth gives the smallest disparity, which may then be replaced.
        setCalibrations(stereo, rig);
    } catch (const std::range_error&) {
        throw Failure("largest-depth",
                      {},
                      "points at the largest depth are outside the image for these calibrations; choose a "
                      "larger one");
    }
    set(&Stereo::setMinDisparity, settings.range.minDisparity);
    set(&Stereo::setDisparityNumber, settings.range.disparities);
    set(&Stereo::setWindowSize, settings.matcher.window);
    set(&Stereo::setUniquenessRatio, settings.matcher.uniqueness);
    set(&Stereo::setPreFilterCap, settings.matcher.preFilterCap);
    set(&Stereo::setPreFilterSize, settings.matcher.preFilterSize);
    set(&Stereo::setSpeckleWindowSize, settings.matcher.speckleWindow);
    set(&Stereo::setSpeckleRange, settings.matcher.speckleRange);
    set(&Stereo::setTextureThreshold, settings.matcher.textureThreshold);
}

void configureTransforms(vision::Stereo& stereo, const Rig& rig)
{
    stereo.setMaxDepth(std::numeric_limits<float>::max());
    setCalibrations(stereo, rig);
    // Points are blanked up to here: no disparity of an image is as small.
    stereo.setMinDisparity(-rig.size.width);
}

} // namespace vision::toolkit
