// SPDX-License-Identifier: Apache-2.0
#include "options/rig_options.h"

#include "options/length.h"
#include "options/numbers.h"

#include <vision/toolkit/failure.h>

namespace tool {

namespace {

constexpr const char* group = "Cameras";

} // namespace

vision::toolkit::CalibrationPair CalibrationFiles::load() const
{
    if (left.empty() || right.empty()) {
        throw vision::toolkit::Failure("option-missing",
                                       left.empty() ? "--left-calibration" : "--right-calibration",
                                       "is required: name the files that 'stereovision calibrate' wrote, or "
                                       "add --rectified if the images are "
                                       "rectified already");
    }
    return vision::toolkit::loadCalibrations(left, right);
}

void addCalibrationOptions(CLI::App& app, CalibrationFiles& files)
{
    app.add_option("--left-calibration", files.left, "Calibration file of the left camera, such as left.yml")
        ->type_name("FILE")
        ->group(group);
    app.add_option(
           "--right-calibration", files.right, "Calibration file of the right camera, such as right.yml")
        ->type_name("FILE")
        ->group(group);
}

void addRectifiedOptions(CLI::App& app, RectifiedOptions& options)
{
    CLI::Option* rectified = app.add_flag("--rectified",
                                          options.isRectified,
                                          "The images are rectified already; no calibration files")
                                 ->excludes("--left-calibration")
                                 ->excludes("--right-calibration")
                                 ->group(group);
    constexpr double most = 1e6; // px
    CLI::Option* focal = app.add_option("--focal",
                                        options.focalLength,
                                        "Focal length of the rectified images in px, for depth in metres; of "
                                        "both cameras, as in their projection");
    takeNumber(focal, 1, most)->needs(rectified)->type_name("PX")->group(group);
    CLI::Option* baseline = app.add_option(
        "--baseline",
        options.baseline,
        "Distance between the optical centres of the cameras, with its unit (mm, cm, m); alone in metres");
    takeLength(baseline, Unit::MetresByDefault)->needs(focal)->group(group);
    focal->needs(baseline);
    const auto addPixels = [&](const char* name, std::optional<double>& value, const char* meaning) {
        takeNumber(app.add_option(name, value, meaning), -most, most)
            ->needs(focal)
            ->type_name("PX")
            ->group(group);
    };
    addPixels(
        "--doffs",
        options.doffs,
        "x of the right image's principal point minus that of the left one, in px: minus the disparity of "
        "things at infinity, doffs in Middlebury's files; 0 unless given");
    addPixels(
        "--cx",
        options.cx,
        "x of the left image's principal point, where the optical axis meets it, in px; the middle of the "
        "image unless given");
    addPixels(
        "--cy",
        options.cy,
        "y of the principal point, the same in both images, in px; the middle of the image unless given");
}

} // namespace tool
