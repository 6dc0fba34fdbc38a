// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/numbers.h"
#include "options/output_options.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool {

using namespace vision::toolkit;

namespace {

struct ScaleOptions
{
    std::vector<std::string> files;
    std::optional<cv::Size> size;
    OutputOptions output;
};

vision::Calibration scale(const std::string& file, const cv::Size& size)
{
    const vision::Calibration calibration = loadUsable(file);
    try {
        return calibration.scaleTo(size.width, size.height);
    } catch (const std::invalid_argument&) {
        throw Failure(
            "aspect-ratio",
            file,
            fmt::format("is for images of {} x {}, and {} x {} has another aspect ratio: only images that "
                        "were scaled as a whole can share it",
                        calibration.width,
                        calibration.height,
                        size.width,
                        size.height));
    }
}

ExitCode runScale(const ScaleOptions& options, Console& console)
{
    const OutputFolder folder(options.output.folder, options.output.existing());
    console.notes(folder.notes());
    OutputFiles output(folder);
    for (const std::string& file : options.files) {
        const std::string name = std::filesystem::path(file).filename().string();
        saveCalibration(scale(file, *options.size), name, output);
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
    addSize(*app, "--size", options->size, "Size of the new images in px, of the same aspect ratio")
        ->required();
    addOutputOptions(*app, "the new files, which keep their names", options->output);
    app->footer("'depth' does this on its own for images smaller than the calibration.\n\n"
                "Example: stereovision scale left.yml right.yml --size 320x240 --output half");
    return {app, [options](Console& console) { return runScale(*options, console); }};
}

} // namespace tool
