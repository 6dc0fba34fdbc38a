#ifndef VISION_TOOLKIT_CALIBRATING_ROW_ERROR_H
#define VISION_TOOLKIT_CALIBRATING_ROW_ERROR_H

#include <vision/toolkit/calibrating/pair_calibration.h>
#include <vision/toolkit/export.h>

#include <vector>

namespace vision::toolkit {

/// How far rectified corners of the left image are from the row of the same corner in the right one, px.
struct RowError
{
    double rms;
    double worst;
};

/// Measures the row error of the views that the calibration rests on.
VISION_TOOLKIT_EXPORT RowError measureRowError(const PairCalibration& calibration,
                                               const std::vector<BoardView>& views);

} // namespace vision::toolkit

#endif
