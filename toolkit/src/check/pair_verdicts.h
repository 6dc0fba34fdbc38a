// SPDX-License-Identifier: Apache-2.0
/// @file
/// What single pairs of a sequence say, on their own and against the others.
#ifndef VISION_TOOLKIT_SRC_CHECK_PAIR_VERDICTS_H
#define VISION_TOOLKIT_SRC_CHECK_PAIR_VERDICTS_H

#include "check/drift_fit.h"

#include <vision/toolkit/check/calibration_check.h>

#include <vector>

namespace vision::toolkit {

struct PairVerdicts
{
    Notes foreign;          ///< most pairs do not correspond
    Notes unsynchronised;   ///< some pairs do not, or a camera stands still
    MatchesOfPairs fitting; ///< those of pairs that correspond
};

PairVerdicts judgePairs(const std::vector<PairCheck>& pairs);

struct SequenceVerdict
{
    Notes drifted;        ///< the rows change within the sequence
    Notes unsynchronised; ///< the rows of single pairs are off
};

/// @param fit of all pairs together
SequenceVerdict judgeSequence(const std::vector<PairCheck>& pairs, const DriftFit& fit);

} // namespace vision::toolkit

#endif
