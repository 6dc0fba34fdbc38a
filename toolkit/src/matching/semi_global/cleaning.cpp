// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/cleaning.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdlib>

namespace vision::toolkit::semi_global {

namespace {

bool areJoined(int a, int b, int step)
{
    return a != noMatch && b != noMatch && std::abs(a - b) <= step;
}

template <typename Runs>
int findRoot(const Runs& runs, int run)
{
    while (runs[static_cast<std::size_t>(run)].parent != run) {
        run = runs[static_cast<std::size_t>(run)].parent;
    }
    return run;
}

/// Joins two regions and shortens the ways to their root.
template <typename Runs>
void join(Runs& runs, int a, int b)
{
    const int rootOfA = findRoot(runs, a);
    const int rootOfB = findRoot(runs, b);
    const auto [root, other] = std::minmax(rootOfA, rootOfB);
    if (root != other) {
        runs[static_cast<std::size_t>(other)].parent = root;
        runs[static_cast<std::size_t>(root)].size += runs[static_cast<std::size_t>(other)].size;
    }
    runs[static_cast<std::size_t>(a)].parent = root;
    runs[static_cast<std::size_t>(b)].parent = root;
}

} // namespace

void dropUnconfirmed(cv::Mat& disparity, const cv::Mat& confirmation, const Rows& rows)
{
    constexpr int largestDifference = unitsPerPixel;
    for (int y = rows.first; y < rows.behindLast; ++y) {
        auto* const row = disparity.ptr<std::int16_t>(y);
        const auto* const confirmed = confirmation.ptr<std::int16_t>(y);
        for (int x = 0; x < disparity.cols; ++x) {
            if (row[x] == noMatch) {
                continue;
            }
            const int pixels = (row[x] + unitsPerPixel / 2) >> 4;
            const int partner = std::clamp(x - pixels, 0, disparity.cols - 1);
            if (!areJoined(row[x], confirmed[disparity.cols - 1 - partner], largestDifference)) {
                row[x] = noMatch;
            }
        }
    }
}

void takeMedians(const cv::Mat& disparity, const Rows& rows, cv::Mat& memory, cv::Mat& smooth)
{
    const int first = std::max(rows.first - 1, 0);
    const int behindLast = std::min(rows.behindLast + 1, disparity.rows);
    constexpr int window = 3;
    cv::medianBlur(disparity.rowRange(first, behindLast), memory, window);
    for (int y = rows.first; y < rows.behindLast; ++y) {
        const auto* const in = disparity.ptr<std::int16_t>(y);
        const auto* const median = memory.ptr<std::int16_t>(y - first);
        auto* const out = smooth.ptr<std::int16_t>(y);
        for (int x = 0; x < disparity.cols; ++x) {
            out[x] = in[x] == noMatch ? noMatch : median[x];
        }
    }
}

void SpeckleFilter::start(int stripes, int step)
{
    _stripes.resize(static_cast<std::size_t>(stripes));
    for (Runs& runs : _stripes) {
        runs.clear();
    }
    _step = step;
}

void SpeckleFilter::findRunsOfRow(const cv::Mat& disparity, int y, Runs& runs) const
{
    const auto* const row = disparity.ptr<std::int16_t>(y);
    int x = 0;
    while (x < disparity.cols) {
        if (row[x] == noMatch) {
            ++x;
            continue;
        }
        const int first = x++;
        while (x < disparity.cols && areJoined(row[x], row[x - 1], _step)) {
            ++x;
        }
        runs.push_back({y, first, x, static_cast<int>(runs.size()), x - first});
    }
}

void SpeckleFilter::joinRows(const cv::Mat& disparity, Runs& runs, int upper, int lower,
                             int behindLower) const
{
    const int behindUpper = lower;
    while (upper < behindUpper && lower < behindLower) {
        const Run& a = runs[static_cast<std::size_t>(upper)];
        const Run& b = runs[static_cast<std::size_t>(lower)];
        const auto* const above = disparity.ptr<std::int16_t>(a.y);
        const auto* const here = disparity.ptr<std::int16_t>(b.y);
        const int behind = std::min(a.behindLast, b.behindLast);
        const bool isUpperFirst = a.behindLast <= b.behindLast;
        for (int x = std::max(a.first, b.first); x < behind; ++x) {
            if (areJoined(above[x], here[x], _step)) {
                join(runs, upper, lower);
                break;
            }
        }
        isUpperFirst ? ++upper : ++lower;
    }
}

void SpeckleFilter::findRuns(const cv::Mat& disparity, const Rows& rows, int stripe)
{
    Runs& runs = _stripes[static_cast<std::size_t>(stripe)];
    int firstAbove = 0;
    for (int y = rows.first; y < rows.behindLast; ++y) {
        const int first = static_cast<int>(runs.size());
        findRunsOfRow(disparity, y, runs);
        joinRows(disparity, runs, firstAbove, first, static_cast<int>(runs.size()));
        firstAbove = first;
    }
}

void SpeckleFilter::joinStripes(const cv::Mat& disparity)
{
    _all.clear();
    _firstOfStripe.clear();
    for (const Runs& runs : _stripes) {
        const int offset = static_cast<int>(_all.size());
        _firstOfStripe.push_back(offset);
        for (const Run& run : runs) {
            _all.push_back({run.y, run.first, run.behindLast, run.parent + offset, run.size});
        }
        if (offset == 0 || runs.empty()) {
            continue;
        }
        // The last row above and the first one here, where both have runs and nothing lies between them.
        int upper = offset;
        while (upper > 0 && _all[static_cast<std::size_t>(upper - 1)].y == runs.front().y - 1) {
            --upper;
        }
        int behindLower = offset;
        while (behindLower < static_cast<int>(_all.size()) &&
               _all[static_cast<std::size_t>(behindLower)].y == runs.front().y) {
            ++behindLower;
        }
        joinRows(disparity, _all, upper, offset, behindLower);
    }
    _firstOfStripe.push_back(static_cast<int>(_all.size()));
}

void SpeckleFilter::drop(cv::Mat& disparity, int stripe, int largest) const
{
    const auto index = static_cast<std::size_t>(stripe);
    for (int i = _firstOfStripe[index]; i < _firstOfStripe[index + 1]; ++i) {
        const Run& run = _all[static_cast<std::size_t>(i)];
        if (_all[static_cast<std::size_t>(findRoot(_all, i))].size <= largest) {
            auto* const row = disparity.ptr<std::int16_t>(run.y);
            std::fill(row + run.first, row + run.behindLast, noMatch);
        }
    }
}

} // namespace vision::toolkit::semi_global
