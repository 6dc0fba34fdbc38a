// SPDX-License-Identifier: Apache-2.0
/// Whether the uncertainty that a calibration states is the spread that it really has.
///
/// Usage: calibration_halves IMAGES COUNT, where IMAGES is the folder of left01.jpg and so on. Calibrates
/// from COUNT random halves of the 13 pairs and prints a table.
#include "support/printed_board.h"

#include <vision/toolkit/board/board_search.h>
#include <vision/toolkit/calibration/calibration_report.h>

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vision::toolkit;

/// One of the things that are estimated.
struct Quantity
{
    const char* name;
    const char* unit;
    std::function<double(const CalibrationResult&)> value;
    std::function<double(const CalibrationResult&)> uncertainty;
};

double focalLength(const CameraFit& camera)
{
    return camera.matrix.at<double>(0, 0);
}

const Quantity quantities[] = {
    {"focal length left",
     "px",
     [](const CalibrationResult& result) { return focalLength(result.fit.left); },
     [](const CalibrationResult& result) { return result.uncertainty.cameras.left.focalLengthX; }},
    {"focal length right",
     "px",
     [](const CalibrationResult& result) { return focalLength(result.fit.right); },
     [](const CalibrationResult& result) { return result.uncertainty.cameras.right.focalLengthX; }},
    {"baseline",
     "mm",
     [](const CalibrationResult& result) { return 1000 * cv::norm(result.fit.translation); },
     [](const CalibrationResult& result) { return 1000 * result.uncertainty.baseline; }},
};

/// Of a set of values: the standard deviation, or the root of the mean square.
double spread(const std::vector<double>& values)
{
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(values, mean, deviation);
    const auto count = static_cast<double>(values.size());
    return deviation[0] * std::sqrt(count / (count - 1));
}

double rms(const std::vector<double>& values)
{
    return cv::norm(values) / std::sqrt(static_cast<double>(values.size()));
}

std::vector<CalibrationResult> calibrateHalves(const BoardSearch& all, int count)
{
    std::mt19937 random(1);
    std::vector<CalibrationResult> results;
    for (int i = 0; i < count; ++i) {
        BoardSearch half = all;
        std::shuffle(half.pairs.begin(), half.pairs.end(), random);
        half.pairs.resize((half.pairs.size() + static_cast<std::size_t>(i % 2)) / 2);
        results.push_back(*calibrate(half, {}).result);
    }
    return results;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: calibration_halves IMAGES COUNT\n");
        return 2;
    }
    const std::string images = argv[1];
    const auto pairs = openPairs({{images + "/left??.jpg"}, {images + "/right??.jpg"}, false});
    const Board board = support::makeBoard(Pattern::Chessboard, {9, 6});
    const BoardSearch all = findBoards(*pairs, board);
    const auto results = calibrateHalves(all, std::stoi(argv[2]));
    std::printf("| %s random halves of %zu pairs | spread | stated +- (rms) | stated over spread |\n",
                argv[2],
                all.pairs.size());
    std::printf("|---|---|---|---|\n");
    for (const auto& [name, unit, value, uncertainty] : quantities) {
        std::vector<double> values;
        std::vector<double> stated;
        for (const CalibrationResult& result : results) {
            values.push_back(value(result));
            stated.push_back(uncertainty(result));
        }
        std::printf("| %s | %.3f %s | %.3f %s | %.2f |\n",
                    name,
                    spread(values),
                    unit,
                    rms(stated),
                    unit,
                    rms(stated) / spread(values));
    }
    return 0;
}
