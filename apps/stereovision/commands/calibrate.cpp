// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/board_options.h"
#include "options/numbers.h"
#include "options/output_options.h"
#include "options/pair_options.h"

#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/calibration/report_pictures.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/files/output_files.h>
#include <vision/toolkit/records/calibration_pair.h>

#include <algorithm>
#include <filesystem>
#include <memory>

namespace tool {

using namespace vision::toolkit;
namespace fs = std::filesystem;

namespace {

constexpr const char* leftName = "left.yml";
constexpr const char* rightName = "right.yml";
constexpr const char* reportName = "report.json";

struct CalibrateOptions
{
    PairInput input;
    Board board;
    CalibrationOptions calibration;
    std::vector<std::string> fixed;
    OutputOptions output;
    bool forcePoor = false;
    bool json = false;
};

CalibrationOptions makeCalibrationOptions(const CalibrateOptions& options)
{
    CalibrationOptions calibration = options.calibration;
    calibration.rotateLeft = options.input.rotateLeft;
    calibration.rotateRight = options.input.rotateRight;
    const auto isFixed = [&options](const char* term) {
        return std::find(options.fixed.begin(), options.fixed.end(), term) != options.fixed.end();
    };
    calibration.lens.fixK3 = isFixed("k3");
    calibration.lens.fixTangential = isFixed("tangential");
    return calibration;
}

CalibrationReport calibrate(PairSequence& pairs, const CalibrateOptions& options, Console& console)
{
    console.startProgress("finding boards", pairs.size());
    return vision::toolkit::calibrate(
        pairs, options.board, makeCalibrationOptions(options), [&console](std::size_t done, std::size_t) {
            if (done > 0) {
                console.advanceProgress();
            }
            return true;
        });
}

void requireFree(const OutputFolder& folder, const PairSequence& pairs)
{
    for (const char* name : {leftName, rightName, reportName}) {
        folder.requireFree(name);
    }
    for (std::size_t pair = 0; pair < pairs.size(); ++pair) {
        folder.requireFree(namePicture(pair, pairs.size(), pairs.name(pair)));
    }
}

/// What is told on stderr: failed images once each, and why the calibration is not good.
void tell(const CalibrationReport& report, bool isWritten, Console& console)
{
    console.notes(report.notes);
    for (const CalibratedPair& pair : report.pairs) {
        if (pair.isFailed) {
            console.error(*pair.reason);
        }
    }
    for (const Reason& reason : report.reasons) {
        Note note = reason.note;
        note.text = std::string(nameOf(reason.verdict)) + ": " + note.text;
        if (reason.verdict == Verdict::Refused) {
            console.error(note);
        } else {
            console.note(note);
        }
    }
    if (report.result && !isWritten) {
        console.note("no calibration was written; --force-poor writes it nevertheless");
    }
}

std::vector<fs::path> write(const CalibrationReport& report, const std::string& json, bool isWritten,
                            PairSequence& pairs, const OutputFolder& folder)
{
    if (!isWritten && (folder.has(leftName) || folder.has(rightName))) {
        return {}; // which would belong to another report
    }
    OutputFiles output(folder);
    if (isWritten) {
        saveCalibration(report.result->records.left, leftName, output);
        saveCalibration(report.result->records.right, rightName, output);
    }
    output.write(reportName, json);
    drawReport(
        report, pairs, [&output](const std::string& name, const Bytes& bytes) { output.write(name, bytes); });
    return output.commit();
}

void print(const CalibrationReport& report, const std::vector<fs::path>& files, Console& console)
{
    for (const std::string& line : formatReport(report)) {
        console.result(line);
    }
    std::size_t views = 0;
    for (const fs::path& file : files) {
        if (file.extension() == ".jpg") {
            ++views;
        } else {
            console.result("wrote " + file.string());
        }
    }
    if (views > 0) {
        console.result("wrote " + std::to_string(views) + " pictures " +
                       (files.front().parent_path() / "view-*.jpg").string());
    }
}

ExitCode runCalibrate(const CalibrateOptions& options, Console& console)
{
    requireComplete(options.board);
    const auto pairs = openPairs(options.input);
    console.notes(pairs->notes());
    const OutputFolder folder(options.output.folder, options.output.existing());
    console.notes(folder.notes());
    requireFree(folder, *pairs);
    const CalibrationReport report = calibrate(*pairs, options, console);
    const bool isWritten = report.result && (report.verdict != Verdict::Refused || options.forcePoor);
    const std::string json = formatReportJson(report);
    const auto files = write(report, json, isWritten, *pairs, folder);

    if (files.empty()) {
        console.note("the report was not written, since " + folder.path().string() +
                     " holds the calibration of another run; choose another --output");
    }
    tell(report, isWritten, console);
    if (options.json) {
        console.json(json.substr(0, json.size() - 1)); // which ends the line itself
    } else {
        print(report, files, console);
    }
    const bool isAccepted = report.verdict <= Verdict::Usable || options.forcePoor;
    return exitCodeOf(isWritten ? 1 : 0, report.countFailed() + (isAccepted && isWritten ? 0 : 1));
}

void addModelOptions(CLI::App& app, CalibrateOptions& options)
{
    constexpr const char* group = "Model";
    app.add_option(
           "--distortion",
           options.calibration.lens.coefficients,
           "Coefficients of the lens distortion: 4, 5, 8 or 14; more for wider lenses and many images")
        ->check(CLI::IsMember({4, 5, 8, 14}))
        ->capture_default_str()
        ->type_name("INT")
        ->group(group);
    app.add_option("--fix", options.fixed, "Terms of the distortion that are 0: k3, tangential")
        ->check(CLI::IsMember({"k3", "tangential"}))
        ->delimiter(',')
        ->type_name("NAME")
        ->group(group);
    takeNumber(app.add_option("--alpha",
                              options.calibration.alpha,
                              "0: rectified images show only valid pixels, 1: all pixels of the images"),
               0,
               1)
        ->default_str("0")
        ->type_name("NUMBER")
        ->group(group);
}

} // namespace

Command addCalibrate(CLI::App& program)
{
    CLI::App* app = program.add_subcommand(
        "calibrate", "Calibrate a camera pair from images of a board, and tell how far it can be trusted");
    auto options = std::make_shared<CalibrateOptions>();
    addPairOptions(*app, options->input);
    addBoardOptions(*app, options->board);
    addModelOptions(*app, *options);
    addOutputOptions(*app, "left.yml, right.yml, report.json and pictures", options->output);
    app->add_flag(
           "--force-poor", options->forcePoor, "Write a calibration that is refused, accept a poor one")
        ->group("Results");
    app->add_flag("--json", options->json, "Print the report as JSON")->group("Results");
    app->footer(
        "Pairs in which the board is not found, or that do not fit the others, are skipped and listed.\n"
        "Lengths in the calibration files are in metres.\n"
        "The verdict is good, usable, poor (exit code 1) or refused (exit code 2, nothing but the report is "
        "written).\n\n"
        "Example: stereovision calibrate --board 9x6 --square 25mm --left left*.jpg --right right*.jpg "
        "--output calibration");
    return {app, [options](Console& console) { return runCalibrate(*options, console); }};
}

} // namespace tool
