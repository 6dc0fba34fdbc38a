// SPDX-License-Identifier: Apache-2.0
/// Rectified pairs of which the true disparity is known, all or in parts.
#ifndef ACCURACY_TEST_PAIRS_H
#define ACCURACY_TEST_PAIRS_H

#include <vision/toolkit/matching/matcher.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/core/types.hpp>

#include <string>
#include <vector>

namespace accuracy {

struct TestPair
{
    vision::toolkit::RectifiedPair images;
    cv::Mat truth; ///< disparity, `CV_32FC1`, px; +infinity where it is not known; may be empty
    std::vector<cv::Point3f> corners; ///< (column, row, disparity) of single points, px
};

/// Pairs that are searched for the same disparities, as a sequence is, or each for its own.
struct TestSet
{
    std::vector<TestPair> pairs;
    bool isSequence;
};

/// Photographs of a plant, with its truth.
/// @param folder the sample images of OpenCV
TestSet loadAloe(const std::string& folder);

/// The 13 pairs of a chessboard, calibrated and rectified; the corners are triangulated.
TestSet loadBoards(const std::string& folder);

/// Scenes made of photographs on planes that hide one another, with noise and cameras of different gain.
TestSet computeScenes(const std::string& folder);

/// The pairs at a fraction of their size.
TestSet shrink(const TestSet& set, int divisor);

} // namespace accuracy

#endif
