// SPDX-License-Identifier: Apache-2.0
/// How long calibrating takes, files included.
///
/// Usage: calibration_speed IMAGES PAIRS WIDTH, where IMAGES is the folder of home.jpg and other photographs.
/// Makes so many pairs of that width, calibrates from them, looks for boards in photographs that have none,
/// and prints a table.
#include "parallel/run.h"
#include "support/printed_board.h"

#include <vision/toolkit/board/board_search.h>
#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/calibration/report_pictures.h>

#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace vision::toolkit;
namespace fs = std::filesystem;

const auto workers = static_cast<unsigned>(cv::getNumberOfCPUs());

cv::Mat readScene(const std::string& file, const cv::Size& size)
{
    cv::Mat scene = cv::imread(file, cv::IMREAD_GRAYSCALE);
    cv::resize(scene, scene, size, 0, 0, cv::INTER_CUBIC);
    return scene;
}

/// Writes pairs of a board in front of a scene, as cameras 10 cm apart with 64 degrees across see it.
void writePairs(const fs::path& folder, const Board& board, const cv::Mat& scene, int pairs)
{
    const double focalLength = 0.8 * scene.cols;
    const cv::Matx33d camera(focalLength, 0, scene.cols / 2.0, 0, focalLength, scene.rows / 2.0, 0, 0, 1);
    const support::Print print = support::print(board);
    const auto poses = support::makePoses(board, pairs, 0.45, 0.45, 0.2);
    for (std::size_t i = 0; i < poses.size(); ++i) {
        const std::string name = cv::format("%04d.jpg", static_cast<int>(i));
        for (const auto& [side, position] : {std::pair("left", 0.0), std::pair("right", 0.1)}) {
            cv::imwrite((folder / (side + name)).string(),
                        support::photograph(print, poses[i], camera, {position, 0, 0}, scene));
        }
    }
}

void time(const char* what, const std::function<void()>& work)
{
    const std::clock_t cpu = std::clock();
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    const double used = static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC;
    std::printf("| %s | %.1f | %.1f |\n", what, seconds.count(), used);
}

void calibratePairs(const fs::path& folder, const Board& board)
{
    const auto pairs =
        openPairs({{(folder / "left*.jpg").string()}, {(folder / "right*.jpg").string()}, false});
    BoardSearch search;
    CalibrationReport report;
    time("reading and finding boards", [&] { search = findBoards(*pairs, board, workers); });
    time("fitting and judging", [&] { report = calibrate(search, {}); });
    time("drawing", [&] { drawReport(report, *pairs, [](const std::string&, const Bytes&) {}); });
    std::printf("| pairs used | %zu | |\n", report.countUsed());
}

void searchPhotographs(const std::string& images, const Board& board, const cv::Size& size)
{
    for (const char* name : {"home.jpg", "fruits.jpg", "aloeL.jpg", "baboon.jpg", "board.jpg"}) {
        const cv::Mat photograph = readScene(images + "/" + name, size);
        time((std::string("no board in ") + name).c_str(),
             [&] { (void)findBoard(photograph, board, Effort::Usual); });
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: calibration_speed IMAGES PAIRS WIDTH\n");
        return 2;
    }
    const std::string images = argv[1];
    const int width = std::stoi(argv[3]);
    const cv::Size size(width, width * 3 / 4);
    const Board board = support::makeBoard(Pattern::Chessboard, {9, 6});
    const fs::path folder = fs::temp_directory_path() / "calibration-speed";
    fs::create_directories(folder);
    writePairs(folder, board, readScene(images + "/home.jpg", size), std::stoi(argv[2]));
    std::printf(
        "Calibrating from %s pairs of %d x %d, %u cores:\n\n", argv[2], size.width, size.height, workers);
    std::printf("| | seconds | of all cores |\n|---|---|---|\n");
    calibratePairs(folder, board);
    searchPhotographs(images, board, size);
    fs::remove_all(folder);
    return 0;
}
