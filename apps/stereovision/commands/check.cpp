// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/board_options.h"
#include "options/length.h"
#include "options/output_options.h"
#include "options/pair_options.h"
#include "options/rig_options.h"

#include <vision/toolkit/check/calibration_check.h>
#include <vision/toolkit/check/check_report.h>
#include <vision/toolkit/check/correction.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/calibration_pair.h>
#include <vision/toolkit/records/inspection.h>

#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tool {

using namespace vision::toolkit;

namespace {

struct CheckOptions
{
    PairInput input;
    CalibrationFiles calibrations;
    Board board; ///< of no size unless one is looked for
    bool json = false;
    bool correct = false;
    std::optional<double> distance;   ///< of the point, m
    std::optional<cv::Point2d> point; ///< in the left image of the first pair, px
    OutputOptions output;
};

struct Checks
{
    std::vector<PairCheck> pairs;
    std::optional<KnownDistance> known;
};

/// Pairs that cannot be read are told and left out.
Checks checkPairs(PairSequence& pairs, const CalibrationPair& calibrations, const CheckOptions& options,
                  Console& console)
{
    Checks checks;
    if (!findPairFaults(calibrations.left, calibrations.right).empty()) {
        return checks; // they are judged without any pair
    }
    console.startProgress("checking pairs", pairs.size());
    for (std::size_t pair = 0; pair < pairs.size(); ++pair) {
        try {
            const ImagePair images = toEightBits(pairs.take(pair)());
            checks.pairs.push_back(checkPair(pairs.name(pair), images, calibrations, options.board));
            if (!options.board.size.empty() && !checks.pairs.back().board) {
                console.note(pairs.name(pair) + ": no whole board is seen in both images");
            }
            if (pair == 0 && options.point) {
                checks.known = findKnownDistance(images, calibrations, *options.point, *options.distance);
            }
        } catch (const std::exception& error) {
            console.error(describe(error));
        }
        console.advanceProgress();
    }
    if (checks.pairs.empty()) {
        throw Failure("no-pair-checked", {}, "no pair could be checked");
    }
    return checks;
}

void print(const BoardSummary& board, Console& console)
{
    const auto millimetres = [](const std::optional<double>& metres) {
        return metres ? fmt::format("{:.2f} mm", 1000 * *metres) : "unknown";
    };
    console.result(fmt::format("square: {:.4f} +- {:.4f} of the given one, triangulated, in {} pairs",
                               board.squareMean,
                               board.squareDeviation,
                               board.boards));
    console.result(fmt::format("plane of the board: rms {}, absolute error {}, fill rate {:.1f} %",
                               millimetres(board.planeRms),
                               millimetres(board.absoluteError),
                               100 * board.fillRate));
}

void print(const std::vector<PairCheck>& pairs, const CalibrationCheck& check, Console& console)
{
    const auto px = [](double value) {
        return std::isfinite(value) ? fmt::format("{:.2f} px", value) : "unknown";
    };
    for (const PairCheck& pair : pairs) {
        console.result(fmt::format("{}: row offset {}, spread {}, {} of {} points",
                                   pair.name,
                                   px(pair.rows.median),
                                   px(pair.rows.spread),
                                   pair.rows.matched,
                                   pair.rows.features));
    }
    console.result("verdict: " + nameOf(check.verdict));
    console.result("row offset: median " + px(check.rows.median) + ", spread " + px(check.rows.spread) +
                   ", rms " + px(check.rms));
    console.result("trend from the first to the last pair: " + px(check.trend));
    for (std::size_t row = 0; row < 3; ++row) {
        std::string line = row == 0 ? "row offset by region: " : "                      ";
        for (std::size_t column = 0; column < 3; ++column) {
            const RegionOffset& region = check.regions[3 * row + column];
            line += (column == 0 ? "" : ", ") + px(region.median);
        }
        console.result(line);
    }
    if (check.drift) {
        console.result("change of the right camera: " + describeDrift(*check.drift) +
                       " (yaw is poorly seen by rows, the distance of the cameras not at all)");
    }
    if (check.board) {
        print(*check.board, console);
    }
}

/// Writes the calibration with what has turned taken back, if anything is to be.
void correct(const Checks& checks, const CalibrationCheck& check, const CalibrationPair& calibrations,
             const OutputOptions& options, Console& console)
{
    const auto correction = makeCorrection(checks.pairs, check, calibrations, checks.known);
    if (!correction) {
        console.note("there is nothing to correct, so nothing is written");
        return;
    }
    console.result(fmt::format("corrected: pitch {:.3f}, yaw {:.3f}, roll {:.3f} degrees",
                               correction->pitch,
                               correction->yaw,
                               correction->roll));
    console.result(
        fmt::format("row offset of the pairs held back: {:.2f} px before, {:.2f} px after the correction",
                    correction->before,
                    correction->after));
    const OutputFolder folder(options.folder, options.existing());
    console.notes(folder.notes());
    OutputFiles output(folder);
    saveCalibration(calibrations.left, "left.yml", output);
    saveCalibration(correction->right, "right.yml", output);
    for (const auto& file : output.commit()) {
        console.result("wrote " + file.string());
    }
}

void requireValid(const CheckOptions& options)
{
    if (options.correct == options.output.folder.empty()) {
        throw Failure("usage",
                      "--correct",
                      "needs --output, the folder for the corrected calibration, and the other way round");
    }
    if (options.point.has_value() != options.distance.has_value() || (options.point && !options.correct)) {
        throw Failure(
            "usage",
            "--distance",
            "needs --point, where in the left image of the first pair that distance is, and --correct");
    }
    if (!options.board.size.empty()) {
        if (!(options.board.spacing > 0)) {
            throw Failure("usage", "--board", "needs --square, the edge of a square, such as 25mm");
        }
        requireComplete(options.board);
    }
}

ExitCode runCheck(const CheckOptions& options, Console& console)
{
    requireValid(options);
    const CalibrationPair calibrations{loadUsable(options.calibrations.left),
                                       loadUsable(options.calibrations.right)};
    const auto sequence = openPairs(options.input);
    sequence->limitSize({calibrations.left.width, calibrations.left.height});
    console.notes(sequence->notes());
    const Checks checks = checkPairs(*sequence, calibrations, options, console);
    const CalibrationCheck check = judgeCalibration(checks.pairs, calibrations);
    if (options.json) {
        console.json(toJson(checks.pairs, check));
    } else {
        print(checks.pairs, check, console);
    }
    console.notes(check.reasons);
    if (options.correct) {
        correct(checks, check, calibrations, options.output, console);
    }
    return check.verdict == CheckVerdict::Holds ? ExitCode::AllDone : ExitCode::SomeFailed;
}

} // namespace

Command addCheck(CLI::App& program)
{
    CLI::App* app = program.add_subcommand(
        "check", "Tell from fresh pairs, without a board, whether a calibration still holds");
    auto options = std::make_shared<CheckOptions>();
    addPairOptions(*app, options->input);
    addCalibrationOptions(*app, options->calibrations);
    app->get_option("--left-calibration")->required();
    app->get_option("--right-calibration")->required();
    app->add_flag("--json", options->json, "Print the result as one JSON object")->group("Results");
    app->add_flag("--correct",
                  options->correct,
                  "Take a rotation that is certain into the calibration, if that improves pairs that "
                  "were held back; yaw only with --board or --distance")
        ->group("Results");
    takeLength(app->add_option("--distance",
                               options->distance,
                               "For --correct: distance of what is at --point from the left camera"),
               Unit::Required)
        ->group("Results");
    const auto setPoint = [options](const std::vector<double>& point) {
        if (point.size() != 2) {
            throw CLI::ValidationError("--point", "give a column and a row, such as 320,240");
        }
        options->point = cv::Point2d(point.front(), point.back());
    };
    app->add_option_function<std::vector<double>>(
           "--point", setPoint, "Where --distance was measured, in the left image of the first pair, px")
        ->delimiter(',')
        ->type_name("X,Y")
        ->group("Results");
    addBoardOptions(*app, options->board);
    app->get_option("--board")->required(false);
    app->get_option("--square")->required(false);
    addOutputOptions(*app, "the corrected left.yml and right.yml", options->output);
    app->get_option("--output")->required(false);
    app->footer(
        "Ten pairs and more, with structure in all parts of the image, tell most. Exit code 0 when the "
        "calibration\nholds, 1 when it has drifted, does not belong to the images, or nothing can be "
        "told.\n\n"
        "Example: stereovision check --left-calibration left.yml --right-calibration right.yml --left "
        "'left*.jpg' --right 'right*.jpg'");
    return {app, [options](Console& console) { return runCheck(*options, console); }};
}

} // namespace tool
