// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/length.h"
#include "options/output_options.h"

#include <vision/toolkit/failure.h>
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
    std::vector<int> size;
    std::optional<double> metresPerUnit;
    Target target = Target::Own;
    OutputOptions output;
};

ForeignDetails makeDetails(const ConvertOptions& options)
{
    ForeignDetails details;
    details.metresPerUnit = options.metresPerUnit;
    if (!options.size.empty()) {
        if (options.size.size() != 2 || options.size[0] <= 0 || options.size[1] <= 0) {
            throw Failure("--size: give the image size as WIDTHxHEIGHT, such as 640x480");
        }
        details.imageSize = {options.size[0], options.size[1]};
    }
    return details;
}

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
    const CalibrationPair pair = readForeign(options.files, makeDetails(options));
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
    app->add_option(
           "--to", options->target, "own: left.yml and right.yml; ros: camera_info; json: R, T and matrices")
        ->transform(CLI::CheckedTransformer(targets).description("own, ros or json"))
        ->default_str("own")
        ->type_name("NAME");
    app->add_option("--size", options->size, "Image size, where the files do not hold it")
        ->delimiter('x')
        ->type_name("WIDTHxHEIGHT");
    takeLength(app->add_option("--unit",
                               options->metresPerUnit,
                               "Of OpenCV's stereo sample: the length of its unit, the edge of a square"),
               Unit::MetresByDefault);
    addOutputOptions(*app, "the converted files", options->output);
    app->footer(
        "Reads this program's own calibrations, camera_info of ROS, intrinsics.yml and extrinsics.yml of "
        "OpenCV's\n"
        "stereo sample, camera chains of Kalibr (pinhole, radtan), calib.txt of Middlebury and of KITTI.\n\n"
        "Example: stereovision convert camchain.yaml --output calibration");
    return {app, [options](Console& console) { return runConvert(*options, console); }};
}

} // namespace tool
