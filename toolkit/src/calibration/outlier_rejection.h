// SPDX-License-Identifier: Apache-2.0
/// @file
/// Which views fit each other, and what they give.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_OUTLIER_REJECTION_H
#define VISION_TOOLKIT_SRC_CALIBRATION_OUTLIER_REJECTION_H

#include "calibration/board_pose.h"
#include "calibration/pair_fit.h"

#include <optional>
#include <vector>

namespace vision::toolkit {

/// A view and what became of it.
struct FittedView
{
    std::size_t pair = 0;      ///< its place in the search
    BoardView view;            ///< as repaired
    bool isLeftTurned = false; ///< the image was turned by 180 degrees, and its corners were turned back
    bool isRightTurned = false;
    bool isUsed = true;
    std::optional<Note> reason; ///< why it is not used
    BoardPose pose;
};

struct OutlierRejection
{
    std::vector<FittedView> views; ///< all views of the search
    PairFit fit;                   ///< of those that are used
    bool isStable = true; ///< false when views that do not fit remain, as more than a third would have to go
    std::size_t swapped = 0; ///< views with left and right exchanged, which are not used

    [[nodiscard]] std::vector<const BoardView*> usedViews() const;
};

/// Fits all views, repairs those in which an image was turned by 180 degrees, and drops those that do not
/// fit: the worst one first, then all is fitted anew, until every view fits. At most a third of the views is
/// dropped, besides those with left and right exchanged and those that show the same image twice.
///
/// With many views, a few that are spread evenly are fitted first; the others are then judged by their fit.
/// Of very many that fit, a part that is spread evenly is enough for the last fit.
/// @param search with at least one view that does not show the same image twice
/// @throws cv::Exception when the views determine nothing
OutlierRejection rejectOutliers(const BoardSearch& search, const LensModel& lens);

} // namespace vision::toolkit

#endif
