#include "commands/commands.h"
#include "options/stereo_options.h"

#include <vision/toolkit/depth/pair_depth.h>
#include <vision/toolkit/depth/summary.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/image_pair.h>
#include <vision/toolkit/output/output_files.h>
#include <vision/toolkit/output/output_set.h>
#include <vision/toolkit/output/pair_output.h>
#include <vision/toolkit/text.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tool {

using namespace vision::toolkit;

namespace {

struct DepthOptions
{
    StereoOptions stereo;
    std::vector<std::string> left;
    std::vector<std::string> right;
    double resize = 1;
    std::string output;
    bool force = false;
};

/// What the results of a pair are called after.
std::string baseName(const PairNames& pair)
{
    return std::filesystem::path(pair.left).stem().string();
}

void requireDistinctNames(const std::vector<PairNames>& pairs)
{
    std::map<std::string, std::string> files;
    for (const PairNames& pair : pairs) {
        const auto [first, isNew] = files.emplace(baseName(pair), pair.left);
        if (!isNew) {
            throw Failure(
                "--left " + first->second + " and " + pair.left + " would both write " + first->first +
                "-disparity.png and so on: process them one by one with different --output folders");
        }
    }
}

PairDepth computeDepth(const PairNames& pair, double factor, const vision::Stereo& stereo, Console& console)
{
    const ImagePair images = readImagePair(pair);
    console.notes(images.notes);
    try {
        return computePairDepth(stereo, factor == 1 ? images : resize(images, factor));
    } catch (const std::exception& error) {
        throw Failure(pair.left + ": " + describe(error));
    }
}

void processPair(const PairNames& pair, const DepthOptions& options, const vision::Stereo& stereo,
                 const OutputFolder& folder, Console& console)
{
    const OutputSet set = OutputSet::makeDefault(true);
    PairResults results;
    results.name = baseName(pair);
    set.requireFree(results.name, folder);
    const PairDepth depth = computeDepth(pair, options.resize, stereo, console);
    results.left = depth.left;
    results.right = depth.right;
    results.disparity = depth.disparity;
    results.points = depth.points;
    PictureScale scale;
    scale.depthAt = makeDepthOfDisparity(stereo, depth.disparity.size());
    const PairOutput output = writePairOutput(results, scale, set, folder);

    const DepthSummary summary = summarise(depth);
    console.result(baseName(pair) + ": " + formatSize(depth.disparity.size()) + " px, " + format(summary));
    for (const auto& file : output.files) {
        console.result("wrote " + file.string());
    }
    if (summary.points == 0) {
        console.note(pair.left +
                     ": no depth found; is the scene within --max-depth and reach of --disparities?");
    }
}

ExitCode runDepth(const DepthOptions& options, Console& console)
{
    const auto pairs = pairUp(options.left, options.right);
    requireDistinctNames(pairs);
    vision::Stereo stereo;
    options.stereo.configure(stereo);
    const OutputFolder folder(options.output, options.force);

    std::size_t failed = 0;
    console.startProgress("computing depth", pairs.size());
    for (const PairNames& pair : pairs) {
        try {
            processPair(pair, options, stereo, folder, console);
        } catch (const std::exception& error) {
            ++failed;
            console.error(describe(error));
        }
        console.advanceProgress();
    }
    return exitCodeOf(pairs.size() - failed, failed);
}

} // namespace

Command addDepth(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("depth", "Compute disparity and depth of image pairs");
    auto options = std::make_shared<DepthOptions>();
    app->add_option("--left", options->left, "Images of the left camera")->required()->type_name("FILE");
    app->add_option("--right", options->right, "Images of the right camera, in the same order")
        ->required()
        ->type_name("FILE");
    app->add_option("--output", options->output, "Folder for the results")->required()->type_name("DIR");
    app->add_flag("--force", options->force, "Overwrite existing files");
    app->add_option("--resize",
                    options->resize,
                    "Scale the images by this factor first, for speed: 0.5 halves width and height")
        ->check(CLI::Range(0.001, 1.0))
        ->capture_default_str()
        ->type_name("FACTOR");
    options->stereo.addTo(*app);
    app->footer(
        "Images may be smaller than the calibration, in the same aspect ratio. For each pair, named after "
        "its\n"
        "left image, four files are written:\n"
        "  NAME-rectified.png  both rectified images with lines along the rows\n"
        "  NAME-disparity.png  disparity in colour with a scale, black where nothing was matched\n"
        "  NAME-disparity.pfm  disparity in px of the image, +Inf where nothing was matched\n"
        "  NAME-points.ply     points in metres: x to the right, y down, z forward\n\n"
        "Example: stereovision depth --left-calibration calibration/left.yml --right-calibration "
        "calibration/right.yml --left left01.jpg --right right01.jpg --disparities 128 --output depth");
    return {app, [options](Console& console) { return runDepth(*options, console); }};
}

} // namespace tool
