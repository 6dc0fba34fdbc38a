#ifndef TOOL_CALIBRATING_ROW_ERROR_H
#define TOOL_CALIBRATING_ROW_ERROR_H

#include "calibrating/pair_calibration.h"

#include <vector>

namespace tool {

/// How far rectified corners of the left image are from the row of the same corner in the right one, px.
struct RowError
{
    double rms;
    double worst;
};

/// Measures the row error of the views that the calibration rests on.
RowError measureRowError(const PairCalibration& calibration, const std::vector<BoardView>& views);

} // namespace tool

#endif
