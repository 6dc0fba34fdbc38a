#include "commands/commands.h"
#include "options/parse.h"

#include <vision/toolkit/calibrating/board.h>
#include <vision/toolkit/calibrating/pair_calibration.h>
#include <vision/toolkit/calibrating/row_error.h>
#include <vision/toolkit/calibration/pair_file.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/image_pair.h>
#include <vision/toolkit/output/output_files.h>
#include <vision/toolkit/text.h>

#include <memory>
#include <utility>

namespace tool {

using namespace vision::toolkit;

namespace {

constexpr const char* leftName = "left.yml";
constexpr const char* rightName = "right.yml";

struct CalibrateOptions
{
    std::string board;
    std::string square;
    std::vector<std::string> left;
    std::vector<std::string> right;
    std::string output;
    bool force = false;
};

/// The boards found in the images, and what happened to the pairs that gave none.
struct Boards
{
    std::vector<BoardView> views;
    std::vector<PairNames> pairs; ///< the images of each view
    cv::Size imageSize;           ///< that of the first readable pair
    std::size_t skipped = 0;
    std::size_t failed = 0; ///< of the skipped ones, those with an image that could not be used
};

std::string name(const PairNames& pair)
{
    return pair.left + " and " + pair.right;
}

void skip(const PairNames& pair, const std::string& reason, Boards& boards, Console& console)
{
    ++boards.skipped;
    console.result("skipped: " + name(pair) + ": " + reason);
}

void addBoard(const PairNames& pair, const cv::Size& board, Boards& boards, Console& console)
{
    const ImagePair images = readImagePair(pair);
    console.notes(images.notes);
    const cv::Size size = images.left.grey.size();
    if (boards.imageSize.empty()) {
        boards.imageSize = size;
    }
    if (size != boards.imageSize) {
        throw Failure(name(pair) + " are " + formatSize(size) + ", the images before " +
                      formatSize(boards.imageSize) + ": all images must have the same size");
    }
    BoardView view{findBoard(images.left.grey, board), findBoard(images.right.grey, board)};
    for (const auto& [corners, file] :
         {std::pair(&view.left, &pair.left), std::pair(&view.right, &pair.right)}) {
        if (corners->empty()) {
            skip(pair, "no whole board found in " + *file, boards, console);
            return;
        }
    }
    boards.views.push_back(std::move(view));
    boards.pairs.push_back(pair);
}

Boards findBoards(const std::vector<PairNames>& pairs, const cv::Size& board, Console& console)
{
    Boards boards;
    console.startProgress("finding boards", pairs.size());
    for (const PairNames& pair : pairs) {
        try {
            addBoard(pair, board, boards, console);
        } catch (const std::exception& error) {
            ++boards.failed;
            console.error(describe(error));
            skip(pair, describe(error), boards, console);
        }
        console.advanceProgress();
    }
    return boards;
}

void report(const PairCalibration& calibration, const RowError& rows, Console& console)
{
    const auto line = [&console](const char* what, double value, int digits, const char* unit) {
        console.result(what + formatFixed(value, digits) + unit);
    };
    line("rms left: ", calibration.rmsLeft, 3, " px");
    line("rms right: ", calibration.rmsRight, 3, " px");
    line("rms stereo: ", calibration.rmsStereo, 3, " px");
    line("baseline: ", 1000 * calibration.baseline, 2, " mm");
    line("focal length: ", calibration.left.projectionMatrix.at<float>(0, 0), 2, " px");
    console.result("row error: " + formatFixed(rows.rms, 3) + " px rms, " + formatFixed(rows.worst, 3) +
                   " px worst");
}

void judge(const PairCalibration& calibration, const RowError& rows, Console& console)
{
    constexpr std::size_t goodNumber = 10;
    constexpr double good = 1.0; // px
    if (calibration.used.size() < goodNumber) {
        console.note(
            "few pairs: 10 or more, with the board tilted and in all parts of the image, are more reliable");
    }
    if (calibration.rmsStereo > good || rows.rms > good) {
        console.note(
            "the errors are high: is the board flat, are the images sharp and taken at the same moment?");
    }
}

ExitCode runCalibrate(const CalibrateOptions& options, Console& console)
{
    const cv::Size board = parseBoard("--board", options.board);
    const double square = parseLength("--square", options.square, Unit::Required);
    const auto pairs = pairUp(options.left, options.right);
    const OutputFolder folder(options.output, options.force);
    folder.requireFree(leftName);
    folder.requireFree(rightName);

    Boards boards = findBoards(pairs, board, console);
    const PairCalibration calibration = calibratePair(boards.views, boards.imageSize, board, square);
    for (const Outlier& outlier : calibration.outliers) {
        skip(boards.pairs[outlier.view],
             "does not fit the other pairs (" + formatFixed(outlier.error, 1) +
                 " px): wrong partner image, or a board turned by 180 degrees",
             boards,
             console);
    }

    OutputFiles output(folder);
    saveCalibration(calibration.left, leftName, output);
    saveCalibration(calibration.right, rightName, output);
    const auto files = output.commit();

    console.result("pairs used: " + std::to_string(calibration.used.size()) + " of " +
                   std::to_string(pairs.size()));
    console.result("pairs skipped: " + std::to_string(boards.skipped));
    const RowError rows = measureRowError(calibration, boards.views);
    report(calibration, rows, console);
    judge(calibration, rows, console);
    for (const auto& file : files) {
        console.result("wrote " + file.string());
    }
    return exitCodeOf(calibration.used.size(), boards.failed);
}

} // namespace

Command addCalibrate(CLI::App& program)
{
    CLI::App* app =
        program.add_subcommand("calibrate", "Calibrate a camera pair from images of a chessboard");
    auto options = std::make_shared<CalibrateOptions>();
    app->add_option("--board", options->board, "Inner corners of the chessboard: COLUMNSxROWS")
        ->required()
        ->type_name("SIZE");
    app->add_option("--square", options->square, "Edge length of a square with its unit (mm, cm, m)")
        ->required()
        ->type_name("LENGTH");
    app->add_option("--left", options->left, "Images of the left camera")->required()->type_name("FILE");
    app->add_option("--right", options->right, "Images of the right camera, in the same order")
        ->required()
        ->type_name("FILE");
    app->add_option("--output", options->output, "Folder for left.yml and right.yml")
        ->required()
        ->type_name("DIR");
    app->add_flag("--force", options->force, "Overwrite existing files");
    app->footer(
        "Pairs in which a board is not found, or that do not fit the others, are skipped and listed.\n"
        "Lengths in the calibration files are in metres.\n\n"
        "Example: stereovision calibrate --board 9x6 --square 25mm --left left*.jpg --right right*.jpg "
        "--output calibration");
    return {app, [options](Console& console) { return runCalibrate(*options, console); }};
}

} // namespace tool
