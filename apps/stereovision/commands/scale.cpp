// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/output_options.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tool {

using namespace vision::toolkit;

namespace {

struct ScaleOptions
{
    std::vector<std::string> files;
    std::vector<int> size;
    OutputOptions output;
};

vision::Calibration scale(const std::string& file, const cv::Size& size)
{
    const vision::Calibration calibration = loadUsable(file);
    try {
        return calibration.scaleTo(size.width, size.height);
    } catch (const std::invalid_argument&) {
        throw Failure(fmt::format(
            "{}: is for images of {} x {}, and {} x {} has another aspect ratio: only images that were "
            "scaled as a whole can share it",
            file,
            calibration.width,
            calibration.height,
            size.width,
            size.height));
    }
}

ExitCode runScale(const ScaleOptions& options, Console& console)
{
    if (options.size.size() != 2 || options.size[0] <= 0 || options.size[1] <= 0) {
        throw Failure("--size: give the new image size as WIDTHxHEIGHT, such as 320x240");
    }
    const OutputFolder folder(options.output.folder, options.output.existing());
    console.notes(folder.notes());
    OutputFiles output(folder);
    for (const std::string& file : options.files) {
        const std::string name = std::filesystem::path(file).filename().string();
        saveCalibration(scale(file, {options.size[0], options.size[1]}), name, output);
    }
    for (const auto& file : output.commit()) {
        console.result("wrote " + file.string());
    }
    return ExitCode::AllDone;
}

} // namespace

Command addScale(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("scale", "Derive calibrations for another image size");
    auto options = std::make_shared<ScaleOptions>();
    app->add_option("CALIBRATION", options->files, "Calibration files")->required();
    app->add_option("--size", options->size, "New image size, of the same aspect ratio")
        ->delimiter('x')
        ->required()
        ->type_name("WIDTHxHEIGHT");
    addOutputOptions(*app, "the new files, which keep their names", options->output);
    app->footer("'depth' does this on its own for images smaller than the calibration.\n\n"
                "Example: stereovision scale left.yml right.yml --size 320x240 --output half");
    return {app, [options](Console& console) { return runScale(*options, console); }};
}

} // namespace tool
