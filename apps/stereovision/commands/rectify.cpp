#include "commands/commands.h"

#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/depth/rectifier.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/pair_sequence.h>
#include <vision/toolkit/output/output_files.h>
#include <vision/toolkit/output/pair_output.h>

#include <map>
#include <memory>
#include <string>

namespace tool {

using namespace vision::toolkit;

namespace {

struct RectifyOptions
{
    PairInput input;
    std::string leftCalibration;
    std::string rightCalibration;
    std::string output;
    bool force = false;
};

void requireDistinctNames(const PairSequence& pairs)
{
    std::map<std::string, std::string> images;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const std::string& image = pairs.images(i).left;
        const auto [first, isNew] = images.emplace(pairs.name(i), image);
        if (!isNew) {
            throw Failure("--left " + first->second + " and " + image + " would both write " + first->first +
                          "-rectified-left.png: process them one by one with different --output folders");
        }
    }
}

void processPair(PairSequence& pairs, std::size_t index, const Rectifier& rectifier,
                 const OutputFolder& folder, Console& console)
{
    const OutputSet set({Product::Rectified});
    PairResults results;
    results.name = pairs.name(index);
    set.requireFree(results.name, folder);
    const RawPair raw = pairs.take(index)();
    RawPair rectified;
    try {
        rectified = rectifier.rectify(raw);
    } catch (const std::exception& error) {
        throw Failure(pairs.images(index).left + ": " + describe(error));
    }
    results.rectifiedLeft = rectified.left;
    results.rectifiedRight = rectified.right;
    for (const auto& file : writePairOutput(results, {}, set, folder).files) {
        console.result("wrote " + file.string());
    }
}

ExitCode runRectify(const RectifyOptions& options, Console& console)
{
    const auto pairs = openPairs(options.input);
    requireDistinctNames(*pairs);
    const Rectifier rectifier(loadCalibrations(options.leftCalibration, options.rightCalibration));
    const OutputFolder folder(options.output, options.force);

    std::size_t failed = 0;
    console.startProgress("rectifying", pairs->size());
    for (std::size_t i = 0; i < pairs->size(); ++i) {
        try {
            processPair(*pairs, i, rectifier, folder, console);
        } catch (const std::exception& error) {
            ++failed;
            console.error(describe(error));
        }
        console.advanceProgress();
    }
    return exitCodeOf(pairs->size() - failed, failed);
}

} // namespace

Command addRectify(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("rectify", "Rectify image pairs, for other programs");
    auto options = std::make_shared<RectifyOptions>();
    app->add_option("--left", options->input.left, "Images of the left camera")
        ->required()
        ->type_name("FILE");
    app->add_option("--right", options->input.right, "Images of the right camera, in the same order")
        ->required()
        ->type_name("FILE");
    app->add_option("--left-calibration", options->leftCalibration, "Calibration file of the left camera")
        ->required()
        ->type_name("FILE");
    app->add_option("--right-calibration", options->rightCalibration, "Calibration file of the right camera")
        ->required()
        ->type_name("FILE");
    app->add_option("--output", options->output, "Folder for the images")->required()->type_name("DIR");
    app->add_flag("--force", options->force, "Overwrite existing files");
    app->footer(
        "For each pair, named after its left image, two images are written: NAME-rectified-left.png and\n"
        "NAME-rectified-right.png, with the size, the channels and the bits of the given ones.\n"
        "The same thing is on the same row of both.\n\n"
        "Example: stereovision rectify --left-calibration calibration/left.yml --right-calibration "
        "calibration/right.yml --left left01.jpg --right right01.jpg --output rectified");
    return {app, [options](Console& console) { return runRectify(*options, console); }};
}

} // namespace tool
