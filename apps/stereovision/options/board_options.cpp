// SPDX-License-Identifier: Apache-2.0
#include "options/board_options.h"

#include "options/length.h"
#include "options/numbers.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string>

namespace tool {

using namespace vision::toolkit;

void addBoardOptions(CLI::App& app, Board& board)
{
    constexpr const char* group = "Board";
    const auto setSize = [&board](const std::string& text) {
        constexpr int fewest = 3; // what OpenCV's detectors take
        constexpr int most = 200;
        const auto counts = parseTwo(text, 'x', most);
        if (!counts || std::min(counts->first, counts->second) < fewest) {
            throw CLI::ValidationError(
                "--board",
                fmt::format("\"{}\": give the board's inner corners as COLUMNSxROWS, each from "
                            "{} to {}, such as 9x6",
                            text,
                            fewest,
                            most));
        }
        board.size = {counts->first, counts->second};
    };
    app.add_option_function<std::string>(
           "--board", setSize, "Inner corners of the chessboard, or circles: COLUMNSxROWS")
        ->required()
        ->type_name("SIZE")
        ->group(group);
    takeLength(app.add_option("--square",
                              board.spacing,
                              "Edge of a square with its unit (mm, cm, m); distance of two circles, "
                              "asymmetric: half of it along a row"),
               Unit::Required)
        ->required()
        ->group(group);
    const std::map<std::string, Pattern> patterns{{"chessboard", Pattern::Chessboard},
                                                  {"circles", Pattern::Circles},
                                                  {"asymmetric-circles", Pattern::AsymmetricCircles},
                                                  {"charuco", Pattern::Charuco}};
    app.add_option("--pattern", board.pattern, "chessboard, circles, asymmetric-circles or charuco")
        ->transform(CLI::Transformer(patterns))
        ->default_str("chessboard")
        ->type_name("NAME")
        ->group(group);
    takeLength(app.add_option("--marker", board.markerSize, "charuco: edge of a marker with its unit"),
               Unit::Required)
        ->group(group);
    app.add_option("--dictionary", board.dictionary, "charuco: dictionary, such as DICT_4X4_50")
        ->type_name("NAME")
        ->group(group);
}

void requireComplete(const Board& board)
{
    if (board.pattern == Pattern::Charuco && (board.markerSize == 0 || board.dictionary.empty())) {
        throw Failure("incomplete-board",
                      "--pattern charuco",
                      "needs --marker and --dictionary: give the edge of a marker, such as 18mm, and the "
                      "dictionary that the board was made with, such as DICT_4X4_50");
    }
    if (board.markerSize >= board.spacing) {
        throw Failure(
            "marker-too-large", "--marker", "markers lie within the squares, so give less than --square");
    }
}

} // namespace tool
