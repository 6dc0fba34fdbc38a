// SPDX-License-Identifier: Apache-2.0
#include "features/row_verdict.h"

#include <fmt/format.h>

#include <cmath>

namespace vision::toolkit {

namespace {

/// Fewer features say nothing: the images may just be plain.
constexpr std::size_t fewestFeatures = 40;

/// Good pairs share a sixth of the features and more, images of different scenes none or some by chance.
constexpr double leastShared = 0.06;

bool isKnown(const RowOffsets& rows)
{
    return rows.features >= fewestFeatures;
}

bool areBehind(const RowOffsets& rows)
{
    constexpr double most = 0.5;
    constexpr std::size_t fewestMatches = 8;
    return rows.matched >= fewestMatches && rows.behind > most;
}

bool areOff(const RowOffsets& rows)
{
    constexpr double mostMedian = 0.5; // px; the matchers lose accuracy from there on
    constexpr double mostSpread = 1.2; // px; three times what the measurement has of its own
    return std::abs(rows.median) > mostMedian || rows.spread > mostSpread;
}

} // namespace

bool isForeign(const RowOffsets& rows)
{
    return isKnown(rows) &&
           static_cast<double>(rows.matched) < leastShared * static_cast<double>(rows.features);
}

Notes judgeRows(const RowOffsets& rows, const RowOffsets& exchanged)
{
    if (!isKnown(rows)) {
        return {};
    }
    if (areBehind(rows) || (isForeign(rows) && isKnown(exchanged) && !isForeign(exchanged))) {
        return {{"images-swapped", Severity::Wrong, "the left and the right image seem to be swapped"}};
    }
    if (isForeign(rows)) {
        return {{"images-do-not-correspond",
                 Severity::Wrong,
                 "hardly anything is found in both images (" + std::to_string(rows.matched) + " of " +
                     std::to_string(rows.features) +
                     " features): were they taken at the same moment by the calibrated cameras, and does the "
                     "calibration belong to them?"}};
    }
    if (areOff(rows)) {
        return {
            {"rows-differ",
             "corresponding points lie " + fmt::format("{:.1f}", rows.median) + " px apart in rows (spread " +
                 fmt::format("{:.1f}", rows.spread) +
                 " px): the calibration does not belong to these images or has drifted; 'stereovision check' "
                 "tells more, 'stereovision calibrate' makes a new one"}};
    }
    return {};
}

} // namespace vision::toolkit
