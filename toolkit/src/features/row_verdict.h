// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the row offsets of a pair say about its images and its calibration.
#ifndef VISION_TOOLKIT_SRC_FEATURES_ROW_VERDICT_H
#define VISION_TOOLKIT_SRC_FEATURES_ROW_VERDICT_H

#include <vision/toolkit/features/row_offsets.h>
#include <vision/toolkit/note.h>

namespace vision::toolkit {

/// Whether so little of the images is found in both that they hardly show the same scene at the same moment.
bool isForeign(const RowOffsets& rows);

/// What is wrong with the rows of a pair:
/// - "images-swapped" (wrong): the features lie behind the cameras, or are found once left and right are
///   exchanged
/// - "several-disparities-fit" (doubtful): most features fit several places equally well, as in repeated
///   patterns
/// - "images-do-not-correspond" (wrong): hardly any feature is found in both images
/// - "rows-differ" (doubtful): the rows are off by more than half a pixel, or by different amounts;
///   "not-rectified" when no calibration had a part in it
/// @param exchanged the same measured with left and right exchanged, if the first one is foreign; otherwise
/// anything
/// @param isRectifiedInput whether the images came as rectified ones
Notes judgeRows(const RowOffsets& rows, const RowOffsets& exchanged, bool isRectifiedInput = false);

} // namespace vision::toolkit

#endif
