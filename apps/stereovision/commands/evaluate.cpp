// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/named_file.h"
#include "options/numbers.h"
#include "options/pair_options.h"

#include <vision/toolkit/evaluation/evaluation.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/files/output_files.h>
#include <vision/toolkit/output/pictures.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace tool {

using namespace vision::toolkit;

namespace {

constexpr const char* pictureOption = "--error-picture";

struct EvaluateOptions
{
    std::string disparity;
    std::string truth;
    std::optional<double> scale; ///< px per grey level
    std::string mask;
    std::string picture;
    ImageLimits limits;
    bool json = false;
    bool force = false;
};

struct Images
{
    cv::Mat disparity;
    cv::Mat truth;
    cv::Mat mask;
};

/// The truth comes first: nothing larger is worth decoding.
Images readImages(const EvaluateOptions& options)
{
    ImageLimits limits = options.limits;
    const DisparityFile truth = readDisparity(options.truth, options.scale, limits);
    limits.size = truth.disparity.size();
    const DisparityFile disparity = readDisparity(options.disparity, options.scale, limits);
    if (options.scale && !disparity.hasLevels && !truth.hasLevels) {
        throw Failure("scale-unused",
                      "--scale",
                      "only images of 8 bits have a scale, and neither " + options.disparity + " nor " +
                          options.truth + " is one: leave it out");
    }
    return {disparity.disparity,
            truth.disparity,
            options.mask.empty() ? cv::Mat() : readMask(options.mask, limits)};
}

Evaluation compare(const Images& images, const EvaluateOptions& options)
{
    try {
        return evaluate(images.disparity, images.truth, images.mask);
    } catch (const Failure& failure) {
        throw Failure(about(options.disparity + " and " + options.truth, failure.note()));
    }
}

/// The file of the picture, if one is asked for.
std::unique_ptr<NamedFile> openPicture(const EvaluateOptions& options, Console& console)
{
    if (options.picture.empty()) {
        return nullptr;
    }
    if (std::filesystem::path(options.picture).extension() != ".png") {
        throw Failure("not-a-png",
                      fmt::format("{} {}", pictureOption, options.picture),
                      "is written as PNG, so its name must end in .png");
    }
    auto picture = std::make_unique<NamedFile>(options.picture,
                                               options.force ? ExistingFile::Replace : ExistingFile::Refuse);
    console.notes(picture->notes());
    return picture;
}

/// "bad-0.5".
std::string nameOf(double limit)
{
    return "bad-" + fmt::format("{:.{}f}", limit, limit < 1 ? 1 : 0);
}

std::string format(double value, int digits, const char* unit)
{
    return std::isnan(value) ? "none" : fmt::format("{:.{}f}", value, digits) + unit;
}

void report(const Evaluation& result, Console& console)
{
    const auto percent = [](double share) { return format(100 * share, 2, " %"); };
    const auto wrong = [&](const std::string& measure, double ofMatched, double ofTruth) {
        console.result(measure + ": " + percent(ofMatched) + " of matched, " + percent(ofTruth) + " of all");
    };
    console.result("pixels with truth: " + std::to_string(result.truth));
    console.result("matched: " + std::to_string(result.matched));
    console.result("density: " + percent(result.density));
    for (std::size_t i = 0; i < badLimits.size(); ++i) {
        wrong(nameOf(badLimits[i]), result.ofMatched.bad[i], result.ofTruth.bad[i]);
    }
    wrong("d1", result.ofMatched.d1, result.ofTruth.d1);
    console.result("average: " + format(result.average, 3, " px"));
    console.result("rms: " + format(result.rms, 3, " px"));
}

nlohmann::ordered_json toJson(const WrongShares& shares)
{
    nlohmann::ordered_json json;
    for (std::size_t i = 0; i < badLimits.size(); ++i) {
        json[nameOf(badLimits[i])] = shares.bad[i];
    }
    json["d1"] = shares.d1;
    return json;
}

/// What is not a number becomes null.
std::string toJson(const Evaluation& result)
{
    const nlohmann::ordered_json json{{"truth", result.truth},
                                      {"matched", result.matched},
                                      {"density", result.density},
                                      {"ofMatched", toJson(result.ofMatched)},
                                      {"ofAll", toJson(result.ofTruth)},
                                      {"average", result.average},
                                      {"rms", result.rms}};
    return json.dump();
}

ExitCode runEvaluate(const EvaluateOptions& options, Console& console)
{
    const auto picture = openPicture(options, console);
    const Images images = readImages(options);
    const Evaluation result = compare(images, options);
    for (const Note& note : judgeUnits(images.disparity, images.truth, images.mask)) {
        console.note(about(options.disparity, note));
    }
    if (picture) {
        picture->write(encodePng(drawError(images.disparity, images.truth, images.mask)));
    }
    if (options.json) {
        console.json(toJson(result));
        return ExitCode::AllDone;
    }
    report(result, console);
    if (picture) {
        console.result("wrote " + options.picture);
    }
    return ExitCode::AllDone;
}

} // namespace

Command addEvaluate(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("evaluate", "Compare a disparity image with the truth");
    auto options = std::make_shared<EvaluateOptions>();
    app->add_option("DISPARITY", options->disparity, "Disparity image: PFM, TIFF or PNG")->required();
    app->add_option("TRUTH", options->truth, "True disparities: PFM, TIFF or PNG")->required();
    takeNumber(
        app->add_option("--scale", options->scale, "Disparity of one grey level in an image of 8 bits, px"),
        1e-6,
        1e6)
        ->type_name("PX");
    app->add_option("--mask",
                    options->mask,
                    "Grey image that is black in the pixels that do not count; without it all do")
        ->type_name("FILE");
    app->add_option(
           pictureOption, options->picture, "PNG to draw the error of every pixel to; none without it")
        ->type_name("FILE");
    addPixelLimit(*app, options->limits);
    app->add_flag("--json",
                  options->json,
                  "Print one JSON object, with shares from 0 to 1, in place of lines with percent");
    app->add_flag("--force", options->force, "Overwrite an existing picture; without it that is an error");
    app->footer(
        "Images with floats are in px; of 16 bits, in 1/256 px; 0, negative or not finite for no value.\n"
        "bad-X: error above X px. d1: above 3 px and 5 % of the truth. Of all: of the pixels with truth,\n"
        "where those without a value count as wrong. Average and rms are over those with a value.\n\n"
        "Example: stereovision evaluate depth/aloeL-disparity.pfm aloeGT.png --scale 1");
    return {app, [options](Console& console) { return runEvaluate(*options, console); }};
}

} // namespace tool
