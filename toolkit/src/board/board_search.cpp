// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/board/board_search.h>

#include "base/text.h"
#include "board/detection/board_size.h"
#include "board/detection/detection.h"
#include "board/point_order.h"
#include "parallel/run.h"

#include <vision/toolkit/failure.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

namespace vision::toolkit {

namespace {

void addNotes(const Notes& more, Notes& notes)
{
    for (const Note& note : more) {
        if (std::none_of(notes.begin(), notes.end(), [&note](const Note& known) {
                return known.code == note.code && known.text == note.text;
            })) {
            notes.push_back(note);
        }
    }
}

/// The grey images of a few pairs, spread evenly. What cannot be read is told when its turn comes.
std::vector<cv::Mat> readSamples(PairSequence& pairs)
{
    constexpr std::size_t enough = 4;
    const std::size_t count = std::min(enough, pairs.size());
    std::vector<cv::Mat> samples;
    for (std::size_t i = 0; i < count; ++i) {
        try {
            const ImagePair images = toEightBits(pairs.take(i * pairs.size() / count)());
            samples.push_back(images.left.grey);
            samples.push_back(images.right.grey);
        } catch (const std::exception&) {
            continue;
        }
    }
    return samples;
}

Board settleSize(PairSequence& pairs, const Board& given, Notes& notes)
{
    Board board = given;
    if (given.pattern == Pattern::Charuco) {
        requireCharuco(given);
        return board; // its markers are numbered
    }
    board.size = findBoardSize(readSamples(pairs), given);
    if (board.size != given.size) {
        notes.push_back({"board-size",
                         "the board has " + formatSize(board.size) + " points, not " +
                             formatSize(given.size) + " as given: " + formatSize(board.size) +
                             " is taken (on a chessboard, inner corners count)"});
    }
    return board;
}

cv::Mat makePreview(const cv::Mat& grey)
{
    constexpr double largest = 640; // px
    const double factor = std::min(1.0, largest / std::max(grey.cols, grey.rows));
    cv::Mat preview;
    cv::resize(grey, preview, {}, factor, factor, cv::INTER_AREA);
    return preview;
}

/// The points that are seen in both images.
BoardView match(const BoardDetection& left, const BoardDetection& right)
{
    BoardView view;
    for (std::size_t i = 0; i < left.points.size(); ++i) {
        const auto same = std::lower_bound(right.points.begin(), right.points.end(), left.points[i]);
        if (same != right.points.end() && *same == left.points[i]) {
            view.points.push_back(left.points[i]);
            view.left.push_back(left.corners[i]);
            view.right.push_back(right.corners[static_cast<std::size_t>(same - right.points.begin())]);
        }
    }
    return view;
}

void findView(const ImagePair& images, const Board& board, PairDetection& pair)
{
    BoardDetection left = findBoard(images.left.grey, board, Effort::Usual);
    BoardDetection right = findBoard(images.right.grey, board, Effort::Usual);
    if (left.empty() && !right.empty()) {
        left = findBoard(images.left.grey, board, Effort::Thorough);
    } else if (right.empty() && !left.empty()) {
        right = findBoard(images.right.grey, board, Effort::Thorough);
    }
    if (left.empty() || right.empty()) {
        const char* where = !left.empty()    ? "the right image"
                            : !right.empty() ? "the left image"
                                             : "either image";
        pair.reason = std::string("no whole board found in ") + where;
        return;
    }
    pair.view = match(left, right);
    constexpr std::size_t fewest = 8; // twice what a pose needs
    if (pair.view.points.size() < fewest) {
        pair.view = {};
        pair.reason = "too little of the board is seen in both images";
        return;
    }
    agreeOnOrder(board, pair.view);
    pair.leftPreview = makePreview(images.left.grey);
    pair.rightPreview = makePreview(images.right.grey);
}

/// @return notes on the conversion of the images
Notes search(const PairSequence::Read& read, const Board& board, PairDetection& pair)
{
    try {
        const ImagePair images = toEightBits(read());
        pair.size = images.left.grey.size();
        findView(images, board, pair);
        return images.notes;
    } catch (const std::exception& error) {
        pair.isFailed = true;
        pair.reason = toText(describe(error));
        return {};
    }
}

cv::Size findCommonSize(const std::vector<PairDetection>& pairs)
{
    std::map<std::pair<int, int>, std::size_t> counts;
    cv::Size common;
    for (const PairDetection& pair : pairs) {
        if (!pair.view.empty()) {
            ++counts[{pair.size.width, pair.size.height}];
        }
    }
    for (const PairDetection& pair : pairs) { // the first of equally frequent ones
        if (counts[{pair.size.width, pair.size.height}] > counts[{common.width, common.height}]) {
            common = pair.size;
        }
    }
    return common;
}

void dropOtherSizes(BoardSearch& found)
{
    found.imageSize = findCommonSize(found.pairs);
    for (PairDetection& pair : found.pairs) {
        if (!pair.view.empty() && pair.size != found.imageSize) {
            pair.view = {};
            pair.reason = "is " + formatSize(pair.size) + ", most pairs with a board are " +
                          formatSize(found.imageSize) + ": all images must have the same size";
        }
    }
}

} // namespace

BoardSearch findBoards(PairSequence& pairs, const Board& board, unsigned workers, const Progress& progress)
{
    BoardSearch found;
    found.board = settleSize(pairs, board, found.notes);
    found.pairs.resize(pairs.size());
    std::vector<std::size_t> items(pairs.size());
    std::iota(items.begin(), items.end(), std::size_t{0});
    progress(0, items.size());
    runInOrder(items, workers, [&](std::size_t item) -> Work {
        PairDetection& pair = found.pairs[item];
        pair.images = pairs.images(item);
        pair.name = pairs.name(item);
        return [&, item, read = pairs.take(item)]() -> Deliver {
            Notes notes = search(read, found.board, found.pairs[item]);
            return [&, item, notes] {
                addNotes(notes, found.notes);
                progress(item + 1, items.size());
            };
        };
    });
    dropOtherSizes(found);
    return found;
}

} // namespace vision::toolkit
