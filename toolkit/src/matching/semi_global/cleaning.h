// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_CLEANING_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_CLEANING_H

#include "matching/semi_global/stripe.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <vector>

namespace vision::toolkit::semi_global {

/// Drops the matches of the left image that the right image's own do not confirm.
/// @param disparity `CV_16SC1`, units; changed in those rows
/// @param confirmation the same of the exchanged and mirrored images
void dropUnconfirmed(cv::Mat& disparity, const cv::Mat& confirmation, const Rows& rows);

/// Replaces each match by the median of 3 x 3 pixels. It fills no gaps: around them, most matches are wrong.
/// @param smooth takes the result in those rows
/// @param memory of this stripe
void takeMedians(const cv::Mat& disparity, const Rows& rows, cv::Mat& memory, cv::Mat& smooth);

/// Finds small regions that stand off from what is around them: by runs of pixels in rows, which are joined.
class SpeckleFilter
{
public:
    /// @param stripes how many take part
    void start(int stripes, int step);

    /// Finds the runs of a stripe and joins them. Stripes may be gone through at once.
    void findRuns(const cv::Mat& disparity, const Rows& rows, int stripe);

    /// Joins the stripes.
    void joinStripes(const cv::Mat& disparity);

    /// Drops the regions of a stripe of at most so many pixels. Stripes may be gone through at once.
    void drop(cv::Mat& disparity, int stripe, int largest) const;

private:
    struct Run
    {
        int y;
        int first;
        int behindLast;
        int parent;
        int size; ///< of the region, in its root
    };
    using Runs = std::vector<Run>;

    void findRunsOfRow(const cv::Mat& disparity, int y, Runs& runs) const;
    void joinRows(const cv::Mat& disparity, Runs& runs, int upper, int lower, int behindLower) const;

    std::vector<Runs> _stripes;
    Runs _all;
    std::vector<int> _firstOfStripe; ///< in all runs
    int _step = 0;
};

} // namespace vision::toolkit::semi_global

#endif
