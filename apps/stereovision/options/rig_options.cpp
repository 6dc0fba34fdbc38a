// SPDX-License-Identifier: Apache-2.0
#include "options/rig_options.h"

#include "options/length.h"

#include <vision/toolkit/failure.h>

namespace tool {

namespace {

constexpr const char* group = "Cameras";

} // namespace

vision::toolkit::CalibrationPair CalibrationFiles::load() const
{
    if (left.empty() || right.empty()) {
        throw vision::toolkit::Failure(
            std::string(left.empty() ? "--left-calibration" : "--right-calibration") +
            " is required: name the files that 'stereovision calibrate' wrote, or add --rectified if the "
            "images are "
            "rectified already");
    }
    return vision::toolkit::loadCalibrations(left, right);
}

void addCalibrationOptions(CLI::App& app, CalibrationFiles& files)
{
    app.add_option("--left-calibration", files.left, "Calibration file of the left camera")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--right-calibration", files.right, "Calibration file of the right camera")
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
    CLI::Option* focal =
        app.add_option("--focal", options.focalLength, "Focal length of rectified images, for metres");
    focal->check(CLI::PositiveNumber)->needs(rectified)->type_name("PX")->group(group);
    CLI::Option* baseline =
        app.add_option("--baseline", options.baseline, "Distance of the cameras, for metres");
    takeLength(baseline, Unit::MetresByDefault)->needs(focal)->group(group);
    focal->needs(baseline);
    const auto addPixels = [&](const char* name, std::optional<double>& value, const char* meaning) {
        app.add_option(name, value, meaning)->needs(focal)->type_name("PX")->group(group);
    };
    addPixels("--doffs", options.doffs, "Principal point of the right image minus that of the left one; 0");
    addPixels("--cx", options.cx, "Column of the principal point; the middle of the image");
    addPixels("--cy", options.cy, "Row of the principal point; the middle of the image");
}

} // namespace tool
