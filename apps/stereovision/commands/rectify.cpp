// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/output_options.h"
#include "options/pair_options.h"
#include "options/rig_options.h"
#include "options/run_options.h"

#include <vision/toolkit/sequence/rectification_run.h>

#include <memory>

namespace tool {

using namespace vision::toolkit;

namespace {

struct RectifyOptions
{
    PairInput input;
    CalibrationFiles calibrations;
    OutputOptions output;
    RunOptions run;
};

ExitCode runRectify(const RectifyOptions& options, Console& console)
{
    const auto pairs = openPairs(options.input);
    const RectificationRun run{options.calibrations.load(), options.run.shard, options.run.jobs};
    pairs->limitSize({run.calibrations.left.width, run.calibrations.left.height});
    console.notes(pairs->notes());
    const OutputFolder folder(options.output.folder, options.output.existing());
    console.notes(folder.notes());
    std::size_t done = 0;
    std::size_t failed = 0;
    console.startProgress("rectifying", selectShard(pairs->size(), run.shard).size());
    runRectification(*pairs, run, folder, [&](const RectificationReport& report) {
        ++(!report.error ? done : failed);
        if (report.error) {
            console.error(*report.error);
        }
        for (const auto& file : report.files) {
            console.result("wrote " + file.string());
        }
        console.advanceProgress();
    });
    return exitCodeOf(done, failed);
}

} // namespace

Command addRectify(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("rectify", "Rectify image pairs, for other programs");
    auto options = std::make_shared<RectifyOptions>();
    addPairOptions(*app, options->input);
    addCalibrationOptions(*app, options->calibrations);
    for (const char* calibration : {"--left-calibration", "--right-calibration"}) {
        app->get_option(calibration)->required();
    }
    addOutputOptions(*app, "the images", options->output);
    addRunOptions(*app, options->run);
    app->footer(
        "For each pair, named after its left image, two images are written: NAME-rectified-left.png and\n"
        "NAME-rectified-right.png, with the size, the channels and the bits of the given ones.\n"
        "The same thing is on the same row of both.\n\n"
        "Example: stereovision rectify --left-calibration calibration/left.yml --right-calibration "
        "calibration/right.yml --left 'left*.jpg' --right 'right*.jpg' --output rectified");
    return {app, [options](Console& console) { return runRectify(*options, console); }};
}

} // namespace tool
