// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/board_options.h"
#include "options/output_options.h"
#include "options/pair_options.h"
#include "options/rig_options.h"

#include <vision/toolkit/check/calibration_check.h>
#include <vision/toolkit/check/check_report.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <fmt/format.h>

#include <cmath>
#include <memory>
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
    OutputOptions output;
};

struct Checks
{
    std::vector<PairCheck> pairs;
    std::vector<BoardCheck> boards;
};

/// Pairs that cannot be read are told and left out.
Checks checkPairs(PairSequence& pairs, const CalibrationPair& calibrations, const Board& board,
                  Console& console)
{
    Checks checks;
    console.startProgress("checking pairs", pairs.size());
    for (std::size_t pair = 0; pair < pairs.size(); ++pair) {
        try {
            const ImagePair images = toEightBits(pairs.take(pair)());
            checks.pairs.push_back(checkPair(pairs.name(pair), images, calibrations));
            if (!board.size.empty()) {
                const auto found = checkBoard(images, board, calibrations);
                if (found) {
                    checks.boards.push_back(*found);
                } else {
                    console.note(pairs.name(pair) + ": no whole board is seen in both images");
                }
            }
        } catch (const std::exception& error) {
            console.error(describe(error));
        }
        console.advanceProgress();
    }
    if (checks.pairs.empty()) {
        throw Failure("no pair could be checked");
    }
    return checks;
}

void print(const std::vector<PairCheck>& pairs, const CalibrationCheck& check, Console& console)
{
    const auto px = [](double value) {
        return std::isfinite(value) ? fmt::format("{:.2f}", value) + " px" : "unknown";
    };
    for (const PairCheck& pair : pairs) {
        console.result(pair.name + ": row offset " + px(pair.rows.median) + ", spread " +
                       px(pair.rows.spread) + ", " + std::to_string(pair.rows.matched) + " of " +
                       std::to_string(pair.rows.features) + " points");
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
    if (check.rotation) {
        console.result("rotation of the right camera: " + describeRotation(*check.rotation) +
                       " degrees (yaw is poorly seen by rows, the scale not at all)");
    }
}

void print(const BoardSummary& board, Console& console)
{
    constexpr double millimetres = 1000;
    console.result("square: " + fmt::format("{:.4f}", board.squareMean) + " +- " +
                   fmt::format("{:.4f}", board.squareDeviation) + " of the given one, triangulated, in " +
                   std::to_string(board.boards) + " pairs");
    console.result("plane of the board: rms " + fmt::format("{:.2f}", millimetres * board.planeRms) +
                   " mm, absolute error " + fmt::format("{:.2f}", millimetres * board.absoluteError) +
                   " mm, fill rate " + fmt::format("{:.1f}", 100 * board.fillRate) + " %");
}

/// Takes the rotation seen in every other pair into the calibration, if that improves the pairs between.
void correct(const std::vector<PairCheck>& pairs, const CalibrationPair& calibrations,
             const OutputOptions& options, Console& console)
{
    const Correction correction = makeCorrection(pairs, calibrations);
    console.result("row offset of the pairs held back: " + fmt::format("{:.2f}", correction.before) +
                   " px before, " + fmt::format("{:.2f}", correction.after) + " px after the correction");
    if (!correction.improves()) {
        throw Failure(
            "--correct: the pairs that were held back do not get better; nothing is written. Make a new "
            "calibration with 'stereovision calibrate'");
    }
    const OutputFolder folder(options.folder, options.existing());
    console.notes(folder.notes());
    OutputFiles output(folder);
    saveCalibration(calibrations.left, "left.yml", output);
    saveCalibration(correction.right, "right.yml", output);
    for (const auto& file : output.commit()) {
        console.result("wrote " + file.string());
    }
}

ExitCode runCheck(const CheckOptions& options, Console& console)
{
    if (options.correct == options.output.folder.empty()) {
        throw Failure(
            "--correct needs --output, the folder for the corrected calibration, and the other way round");
    }
    if (!options.board.size.empty()) {
        if (!(options.board.spacing > 0)) {
            throw Failure("--board needs --square, the edge of a square, such as 25mm");
        }
        requireComplete(options.board);
    }
    const CalibrationPair calibrations{loadUsable(options.calibrations.left),
                                       loadUsable(options.calibrations.right)};
    const auto sequence = openPairs(options.input);
    const auto [pairs, boards] = checkPairs(*sequence, calibrations, options.board, console);
    const CalibrationCheck check = judgeCalibration(pairs, calibrations);
    const auto board = boards.empty() ? std::nullopt : std::optional(summariseBoards(boards));
    if (options.json) {
        console.json(toJson(pairs, check, board));
    } else {
        print(pairs, check, console);
        if (board) {
            print(*board, console);
        }
    }
    console.notes(check.reasons);
    if (options.correct && check.verdict != CheckVerdict::Foreign) {
        correct(pairs, calibrations, options.output, console);
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
                  "Take the rotation into the calibration, if that improves pairs that "
                  "were held back")
        ->group("Results");
    addBoardOptions(*app, options->board);
    app->get_option("--board")->required(false);
    app->get_option("--square")->required(false);
    addOutputOptions(*app, "the corrected left.yml and right.yml", options->output);
    app->get_option("--output")->required(false);
    app->footer(
        "Ten pairs and more, with structure in all parts of the image, tell most. Exit code 0 when the "
        "calibration\nholds, 1 when it has drifted or does not belong to the images.\n\n"
        "Example: stereovision check --left-calibration left.yml --right-calibration right.yml --left "
        "'left*.jpg' --right 'right*.jpg'");
    return {app, [options](Console& console) { return runCheck(*options, console); }};
}

} // namespace tool
