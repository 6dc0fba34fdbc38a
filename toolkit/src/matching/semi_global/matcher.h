// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_MATCHER_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_MATCHER_H

#include "matching/semi_global/cleaning.h"
#include "matching/semi_global/crew.h"
#include "matching/semi_global/implementation.h"
#include "matching/semi_global/settings.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <vector>

namespace vision::toolkit::semi_global {

/// A rectified pair.
struct Images
{
    cv::Mat left;       ///< `CV_8UC1`, not empty
    cv::Mat right;      ///< `CV_8UC1`, of the same size
    cv::Mat leftValid;  ///< `CV_8UC1`, 0 where the image shows nothing; empty when all of it is valid
    cv::Mat rightValid; ///< the same for the right image
};

/// What matching gives for each pixel of the left image.
struct Result
{
    cv::Mat disparity;  ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat confidence; ///< `CV_32FC1`, the share of such matches that are right, 0 to 1; 0 where none is
};

/// Matches rectified pairs. It keeps its memory from pair to pair: another pair of the same size, searched in
/// the same range, with results of the same size, allocates nothing if one thread matches.
class Matcher
{
public:
    explicit Matcher(const Implementation& implementation = *findImplementations().front())
        : _implementation(&implementation)
    {
    }

    /// @param threads how many threads may match at once; the result is the same for any number
    void compute(const Images& images, const Settings& settings, int threads, Result& result);

private:
    void preparePair(const Images& images, const Settings& settings);
    void prepareMirroredPair(const Images& images);
    void write(const Rows& rows, Result& result) const;

    const Implementation* _implementation;
    Crew _crew;
    Pair _pair;
    Pair _mirrored; ///< the images exchanged and mirrored
    std::vector<std::uint8_t> _smooth;
    cv::Mat _disparity;
    cv::Mat _evidence;
    cv::Mat _confirmation;
    cv::Mat _unusedEvidence;
    cv::Mat _mirroredLeftValid;
    cv::Mat _mirroredRightValid;
    cv::Mat _medians;
    std::vector<cv::Mat> _medianMemory; ///< of each stripe
    SpeckleFilter _speckles;
};

} // namespace vision::toolkit::semi_global

#endif
