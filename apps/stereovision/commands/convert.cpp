// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/length.h"
#include "options/numbers.h"
#include "options/output_options.h"

#include <vision/toolkit/interchange/calibrations.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool {

using namespace vision::toolkit;

namespace {

enum class Target
{
    Own,
    Ros,
    Plain,
};

struct ConvertOptions
{
    std::vector<std::string> files;
    ForeignDetails details;
    Target target = Target::Own;
    OutputOptions output;
};

void write(const CalibrationPair& pair, Target target, OutputFiles& output)
{
    switch (target) {
    case Target::Own:
        saveCalibration(pair.left, "left.yml", output);
        saveCalibration(pair.right, "right.yml", output);
        break;
    case Target::Ros:
        output.write("left.yaml", encodeCameraInfo(pair.left, "left"));
        output.write("right.yaml", encodeCameraInfo(pair.right, "right"));
        break;
    case Target::Plain:
        output.write("calibration.json", encodePlain(pair));
        break;
    }
}

ExitCode runConvert(const ConvertOptions& options, Console& console)
{
    const CalibrationPair pair = readForeign(options.files, options.details);
    const OutputFolder folder(options.output.folder, options.output.existing());
    console.notes(folder.notes());
    OutputFiles output(folder);
    write(pair, options.target, output);
    for (const auto& file : output.commit()) {
        console.result("wrote " + file.string());
    }
    return ExitCode::AllDone;
}

} // namespace

Command addConvert(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("convert", "Convert calibrations from and to other programs");
    auto options = std::make_shared<ConvertOptions>();
    const std::map<std::string, Target> targets{
        {"own", Target::Own}, {"ros", Target::Ros}, {"json", Target::Plain}};
    app->add_option("FILE", options->files, "One file for both cameras, or two, the left camera's first")
        ->required()
        ->expected(1, 2);
    app->add_option("--to",
                    options->target,
                    "own: left.yml and right.yml of this program; ros: camera_info; json: R, T and matrices")
        ->transform(CLI::CheckedTransformer(targets).description("own, ros or json"))
        ->default_str("own")
        ->type_name("NAME");
    addSize(*app,
            "--size",
            options->details.imageSize,
            "Size of the images in px, where files do not hold it: OpenCV's stereo sample and KITTI");
    takeLength(app->add_option(
                   "--unit",
                   options->details.metresPerUnit,
                   "OpenCV's stereo sample: what a length of 1 in its files is, which is the edge of the "
                   "board's square, or the unit that it was given in; with its unit (mm, cm, m), alone "
                   "in metres"),
               Unit::MetresByDefault);
    const std::map<std::string, KittiCameras> cameras{{"grey", KittiCameras::Grey},
                                                      {"colour", KittiCameras::Colour}};
    app->add_option("--cameras",
                    options->details.kittiCameras,
                    "KITTI: the pair that took the images, grey (P0 and P1) or colour (P2 and P3)")
        ->transform(CLI::CheckedTransformer(cameras).description("grey or colour"))
        ->type_name("NAME");
    addOutputOptions(*app, "the converted files", options->output);
    app->footer(
        "Reads this program's own calibrations, camera_info of ROS, intrinsics.yml and extrinsics.yml of "
        "OpenCV's\n"
        "stereo sample, camera chains of Kalibr (pinhole, radtan), calib.txt of Middlebury and of KITTI.\n\n"
        "Example: stereovision convert camchain.yaml --output calibration");
    return {app, [options](Console& console) { return runConvert(*options, console); }};
}

} // namespace tool
