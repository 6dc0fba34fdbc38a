// SPDX-License-Identifier: Apache-2.0
#include <opencv2/aruco/charuco.hpp>

#include "board/detection/detection.h"

#include <vision/toolkit/failure.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace vision::toolkit {

namespace {

constexpr std::array<std::pair<const char*, int>, 17> dictionaries{{
    {"DICT_4X4_50", cv::aruco::DICT_4X4_50},
    {"DICT_4X4_100", cv::aruco::DICT_4X4_100},
    {"DICT_4X4_250", cv::aruco::DICT_4X4_250},
    {"DICT_4X4_1000", cv::aruco::DICT_4X4_1000},
    {"DICT_5X5_50", cv::aruco::DICT_5X5_50},
    {"DICT_5X5_100", cv::aruco::DICT_5X5_100},
    {"DICT_5X5_250", cv::aruco::DICT_5X5_250},
    {"DICT_5X5_1000", cv::aruco::DICT_5X5_1000},
    {"DICT_6X6_50", cv::aruco::DICT_6X6_50},
    {"DICT_6X6_100", cv::aruco::DICT_6X6_100},
    {"DICT_6X6_250", cv::aruco::DICT_6X6_250},
    {"DICT_6X6_1000", cv::aruco::DICT_6X6_1000},
    {"DICT_7X7_50", cv::aruco::DICT_7X7_50},
    {"DICT_7X7_100", cv::aruco::DICT_7X7_100},
    {"DICT_7X7_250", cv::aruco::DICT_7X7_250},
    {"DICT_7X7_1000", cv::aruco::DICT_7X7_1000},
    {"DICT_ARUCO_ORIGINAL", cv::aruco::DICT_ARUCO_ORIGINAL},
}};

cv::Ptr<cv::aruco::CharucoBoard> makeBoard(const Board& board)
{
    const auto* known = std::find_if(dictionaries.begin(), dictionaries.end(), [&board](const auto& entry) {
        return board.dictionary == entry.first;
    });
    if (known == dictionaries.end()) {
        throw Failure("unknown-dictionary",
                      "dictionary",
                      "no markers are called \"" + board.dictionary +
                          "\": name those that the board was made with, such as DICT_4X4_50");
    }
    return cv::aruco::CharucoBoard::create(board.size.width + 1,
                                           board.size.height + 1,
                                           static_cast<float>(board.spacing),
                                           static_cast<float>(board.markerSize),
                                           cv::aruco::getPredefinedDictionary(known->second));
}

/// Points in one line tell no pose, and few of them hardly one.
bool tellPose(const std::vector<int>& points, int columns)
{
    constexpr std::size_t fewest = 8; // twice what a pose needs
    std::set<int> rowsSeen;
    std::set<int> columnsSeen;
    for (const int point : points) {
        rowsSeen.insert(point / columns);
        columnsSeen.insert(point % columns);
    }
    return points.size() >= fewest && rowsSeen.size() > 1 && columnsSeen.size() > 1;
}

} // namespace

void requireCharuco(const Board& board)
{
    makeBoard(board);
}

BoardDetection findCharuco(const cv::Mat& grey, const Board& board)
{
    const auto made = makeBoard(board);
    std::vector<Corners> markers;
    std::vector<int> numbers;
    cv::aruco::detectMarkers(grey, made->dictionary, markers, numbers);
    BoardDetection detection;
    if (!numbers.empty()) {
        cv::aruco::interpolateCornersCharuco(markers, numbers, grey, made, detection.corners, detection.ids);
    }
    return tellPose(detection.ids, board.size.width) ? detection : BoardDetection();
}

} // namespace vision::toolkit
