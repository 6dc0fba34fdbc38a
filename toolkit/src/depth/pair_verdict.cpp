// SPDX-License-Identifier: Apache-2.0
#include "depth/pair_verdict.h"

#include "depth/verdict.h"
#include "features/photometry.h"
#include "features/range_verdict.h"
#include "features/row_verdict.h"

#include <algorithm>

namespace vision::toolkit {

namespace {

/// Where no calibration tells, whoever asks for negative disparities knows that the pair has them.
double findInfinity(const RangeSettings& asked, const DepthResult& depth)
{
    const double unlessScaled = asked.minDisparity ? std::min(depth.range.minDisparity, 0) : 0;
    return depth.scale ? depth.scale->atInfinity : unlessScaled;
}

/// Exchanged images are noticed by what they share once they are exchanged back.
Notes checkRows(const RowOffsets& rows, double atInfinity, bool isRectifiedInput,
                const std::function<ImagePair()>& exchange)
{
    RowOffsets exchanged;
    if (isForeign(rows)) {
        const ImagePair back = exchange();
        exchanged = summariseRows(matchFeatures(back.left.grey, back.right.grey), atInfinity);
    }
    return judgeRows(rows, exchanged, isRectifiedInput);
}

} // namespace

void judgePair(const RawPair& raw, bool isRectifiedInput, const RangeSettings& asked,
               const std::function<ImagePair()>& exchange, DepthResult& depth)
{
    constexpr int enough = 120; // corners, to tell; half the time of what measuring takes
    const double atInfinity = findInfinity(asked, depth);
    const FeatureMatches features = matchFeatures(depth.leftGrey, depth.rightGrey, enough);
    depth.isJudged = true;
    depth.rows = summariseRows(features, atInfinity);
    append(depth.notes, judgePhotometry(comparePhotometry(depth.leftGrey, depth.rightGrey, features)));
    Notes onImages = judgeIdentity(raw.left, raw.right);
    if (onImages.empty()) {
        onImages = checkRows(depth.rows, atInfinity, isRectifiedInput, exchange);
    }
    append(depth.notes, onImages);
    if (onImages.empty()) { // otherwise the range is the least of the troubles
        append(depth.notes, judgeRange(features, depth.range));
        append(depth.notes, judge(depth));
    }
}

} // namespace vision::toolkit
