// SPDX-License-Identifier: Apache-2.0
#include "board/detection/board_size.h"

#include "board/detection/detection.h"

#include <algorithm>

namespace vision::toolkit {

namespace {

using Images = std::vector<cv::Mat>;

/// The images in which a board of this size is seen.
Images select(const Images& images, Board board, const cv::Size& size)
{
    constexpr int fewest = 3; // points per row and column that OpenCV's detectors take
    Images found;
    if (std::min(size.width, size.height) >= fewest) {
        board.size = size;
        std::copy_if(images.begin(), images.end(), std::back_inserter(found), [&board](const cv::Mat& image) {
            return !findBoard(image, board, Effort::Quick).empty();
        });
    }
    return found;
}

/// A part of a larger board passes for a smaller one, never the other way round.
cv::Size grow(const Images& images, const Board& board, const cv::Size& size)
{
    constexpr std::size_t enough = 3;
    const Images found = select(images, board, size);
    const Images some(found.begin(),
                      found.begin() + static_cast<std::ptrdiff_t>(std::min(enough, found.size())));
    const auto [width, height] = size;
    for (const cv::Size& larger :
         {cv::Size(width + 1, height + 1), {width + 1, height}, {width, height + 1}}) {
        if (!some.empty() && 2 * select(some, board, larger).size() > some.size()) {
            return grow(images, board, larger);
        }
    }
    return size;
}

/// The sizes that people mean, the likeliest first.
std::vector<cv::Size> listConfusions(const cv::Size& given)
{
    const auto [width, height] = given;
    return {{width - 1, height - 1}, // counted in squares
            {height, width},         // swapped
            {height - 1, width - 1},
            {width - 1, height}, // one off
            {width, height - 1},
            {width + 1, height},
            {width, height + 1},
            {width + 1, height + 1}};
}

Images reduce(const Images& images)
{
    Images reduced;
    for (const cv::Mat& image : images) {
        reduced.push_back(makeSearchLevels(image).front().grey);
    }
    return reduced;
}

} // namespace

std::optional<cv::Size> findBoardSize(const Images& images, const Board& board)
{
    const Images reduced = reduce(images);
    cv::Size best = board.size;
    std::size_t most = select(reduced, board, board.size).size();
    if (most == 0) {
        for (const cv::Size& size : listConfusions(board.size)) {
            const std::size_t found = select(reduced, board, size).size();
            if (found > most) {
                most = found;
                best = size;
            }
            if (2 * most > reduced.size()) {
                break;
            }
        }
    }
    return most == 0 ? std::nullopt : std::optional(grow(reduced, board, best));
}

std::optional<Pattern> findPattern(const Images& images, const Board& board)
{
    constexpr std::size_t enough = 4;
    const Images reduced = reduce(
        {images.begin(), images.begin() + static_cast<std::ptrdiff_t>(std::min(enough, images.size()))});
    for (const Pattern pattern : {Pattern::Chessboard, Pattern::Circles, Pattern::AsymmetricCircles}) {
        Board other = board;
        other.pattern = pattern;
        if (pattern != board.pattern && 2 * select(reduced, other, board.size).size() > reduced.size()) {
            return pattern;
        }
    }
    return std::nullopt;
}

} // namespace vision::toolkit
