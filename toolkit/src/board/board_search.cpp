// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/board/board_search.h>

#include "base/text.h"
#include "board/detection/board_size.h"
#include "board/detection/detection.h"
#include "board/point_order.h"
#include "parallel/run.h"

#include <vision/toolkit/failure.h>

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <thread>
#include <utility>

namespace vision::toolkit {

namespace {

unsigned countCores()
{
    return std::max(1U, std::thread::hardware_concurrency());
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

/// A search for a board of another kind finds nothing, and takes the longest for it.
void refuseOtherPattern(const std::vector<cv::Mat>& samples, const Board& given)
{
    const auto pattern = findPattern(samples, given);
    if (pattern) {
        constexpr std::array names{"a chessboard", "a grid of circles", "an asymmetric grid of circles"};
        constexpr std::array codes{"board-is-chessboard", "board-is-circles", "board-is-asymmetric"};
        const auto place = static_cast<std::size_t>(*pattern);
        throw Failure(
            codes[place], "", std::string("the images show ") + names[place] + ", not what was given");
    }
}

Board chooseSize(PairSequence& pairs, const Board& given, Notes& notes)
{
    Board board = given;
    if (given.pattern == Pattern::Charuco) {
        requireCharuco(given);
        return board; // its markers are numbered
    }
    const auto samples = readSamples(pairs);
    const auto size = findBoardSize(samples, given);
    if (!size) {
        refuseOtherPattern(samples, given);
        return board; // perhaps one of the other images shows it
    }
    board.size = *size;
    if (board.size != given.size) {
        notes.push_back({"board-size",
                         Severity::Doubtful,
                         "the board has " + formatSize(board.size) + " points, not " +
                             formatSize(given.size) + " as given: " + formatSize(board.size) +
                             " is taken (on a chessboard, inner corners count)"});
    }
    return board;
}

/// The points that are seen in both images.
BoardView match(const BoardDetection& left, const BoardDetection& right)
{
    BoardView view;
    for (std::size_t i = 0; i < left.ids.size(); ++i) {
        const auto same = std::lower_bound(right.ids.begin(), right.ids.end(), left.ids[i]);
        if (same != right.ids.end() && *same == left.ids[i]) {
            view.ids.push_back(left.ids[i]);
            view.left.push_back(left.corners[i]);
            view.right.push_back(right.corners[static_cast<std::size_t>(same - right.ids.begin())]);
        }
    }
    return view;
}

void findView(const ImagePair& images, const Board& board, PairDetection& pair)
{
    BoardDetection left = findBoard(images.left.grey, board, Effort::Usual);
    const BoardDetection right =
        findBoard(images.right.grey, board, left.empty() ? Effort::Usual : Effort::Thorough);
    if (left.empty() && !right.empty()) {
        left = findBoard(images.left.grey, board, Effort::Thorough);
    }
    if (left.empty() || right.empty()) {
        const char* where = !left.empty()    ? "the right image"
                            : !right.empty() ? "the left image"
                                             : "either image";
        pair.reason = Note("no-board", Severity::Info, std::string("no whole board found in ") + where);
        return;
    }
    pair.view = match(left, right);
    constexpr std::size_t fewest = 8; // twice what a pose needs
    if (pair.view.ids.size() < fewest) {
        pair.view = {};
        pair.reason =
            Note("little-in-common", Severity::Info, "too little of the board is seen in both images");
        return;
    }
    agreeOnOrder(board, pair.view);
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
        pair.reason = describe(error);
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
            pair.reason = Note("other-size",
                               Severity::Info,
                               "is " + formatSize(pair.size) + ", most pairs with a board are " +
                                   formatSize(found.imageSize) + ": all images must have the same size");
        }
    }
}

} // namespace

BoardSearch findBoards(PairSequence& pairs, const Board& board, unsigned workers, const Progress& progress)
{
    const std::size_t count = pairs.size();
    const auto advance = [&progress, count](std::size_t done) {
        if (progress && !progress(done, count)) {
            throw Failure("cancelled", "", "cancelled before the board was looked for in all images");
        }
    };
    BoardSearch found;
    advance(0);
    found.board = chooseSize(pairs, board, found.notes);
    found.pairs.resize(count);
    std::vector<std::size_t> items(count);
    std::iota(items.begin(), items.end(), std::size_t{0});
    runInOrder(items, workers > 0 ? workers : countCores(), [&](std::size_t item) -> Work {
        PairDetection& pair = found.pairs[item];
        pair.images = pairs.images(item);
        pair.name = pairs.name(item);
        return [&, item, read = pairs.take(item)]() -> Deliver {
            Notes notes = search(read, found.board, found.pairs[item]);
            return [&, item, notes] {
                append(found.notes, notes);
                advance(item + 1);
            };
        };
    });
    dropOtherSizes(found);
    return found;
}

} // namespace vision::toolkit
