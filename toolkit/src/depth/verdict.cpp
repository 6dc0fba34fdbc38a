#include <vision/toolkit/depth/verdict.h>

#include <vision/toolkit/text.h>

#include <opencv2/core.hpp>

#include <limits>

namespace vision::toolkit {

namespace {

/// The share of the matches in a tenth of the range, by how much it exceeds an even distribution.
constexpr double crowded = 3;
constexpr double fewMatched = 5;  // percent
constexpr double muchBeyond = 10; // percent

/// How many times more matches lie between two disparities than if they were spread evenly over the range.
double findCrowding(const PairDepth& depth, double lowest, double highest)
{
    const int all = cv::countNonZero(depth.disparity < std::numeric_limits<double>::infinity());
    const int inside = cv::countNonZero((depth.disparity >= lowest) & (depth.disparity <= highest));
    const double share = (highest - lowest) / depth.range.disparities;
    return all == 0 ? 0 : static_cast<double>(inside) / (share * all);
}

} // namespace

Notes judge(const PairDepth& depth, const DepthSummary& summary)
{
    Notes notes;
    const SearchRange& range = depth.range;
    const double margin = 2;
    if (findCrowding(depth, range.maxDisparity() - margin, range.maxDisparity() + 1) > crowded) {
        notes.push_back({"range-ends-too-early",
                         "many matches lie at the largest disparity searched, " +
                             std::to_string(range.maxDisparity()) +
                             " px, so there are nearer things: search more disparities or from a smaller "
                             "nearest depth on, or leave the range to the program"});
    }
    if (findCrowding(depth, range.minDisparity - 1, range.minDisparity + margin) > crowded) {
        notes.push_back({"range-starts-too-late",
                         "many matches lie at the smallest disparity searched, " +
                             std::to_string(range.minDisparity) +
                             " px, so there are farther things: give a larger farthest depth or a smaller "
                             "smallest disparity, or leave the range to the program"});
    }
    if (summary.matchedPercent < fewMatched) {
        notes.push_back({"few-matches",
                         "only " + formatFixed(summary.matchedPercent, 1) +
                             " % of the pixels are matched: check that the images are a pair, in "
                             "this order, and that the calibrations are theirs"});
    }
    if (summary.beyondPercent > muchBeyond) {
        notes.push_back({"beyond-largest-depth",
                         formatFixed(summary.beyondPercent, 0) +
                             " % of the matched pixels are farther than the largest depth, " +
                             formatFixed(depth.maxDepth, 2) + " m, and have no point: give a larger one"});
    }
    return notes;
}

} // namespace vision::toolkit
