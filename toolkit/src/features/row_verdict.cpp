// SPDX-License-Identifier: Apache-2.0
#include "features/row_verdict.h"

#include <fmt/format.h>

#include <cmath>
#include <string>

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

double shareOf(std::size_t part, const RowOffsets& rows)
{
    return static_cast<double>(part) / static_cast<double>(rows.features);
}

/// Whether exchanging the images makes clearly more of them fit. (Where one is blurred, a few features more
/// may fit by chance.)
bool fitExchanged(const RowOffsets& rows, const RowOffsets& exchanged)
{
    constexpr std::size_t clearly = 3; // times as many
    return isForeign(rows) && isKnown(exchanged) && !isForeign(exchanged) && !areBehind(exchanged) &&
           exchanged.matched >= clearly * rows.matched;
}

} // namespace

bool isForeign(const RowOffsets& rows)
{
    return isKnown(rows) && shareOf(rows.matched, rows) < leastShared;
}

Notes judgeRows(const RowOffsets& rows, const RowOffsets& exchanged, bool isRectifiedInput)
{
    constexpr double mostAmbiguous = 0.6; // of the features; a chessboard that fills half the image has 0.45
    if (!isKnown(rows)) {
        return {};
    }
    if (areBehind(rows) || fitExchanged(rows, exchanged)) {
        return {{"images-swapped", Severity::Wrong, "the left and the right image seem to be swapped"}};
    }
    if (isForeign(rows) && shareOf(rows.ambiguous, rows) > mostAmbiguous) {
        return {
            {"several-disparities-fit",
             fmt::format(
                 "several disparities fit equally well at {:.0f} % of the features, as in repeated patterns, "
                 "so that depth may be wrong there",
                 100 * shareOf(rows.ambiguous, rows))}};
    }
    if (isForeign(rows)) {
        return {{"images-do-not-correspond",
                 Severity::Wrong,
                 fmt::format("hardly anything is found in both images ({} of {} features): they are of "
                             "different moments or "
                             "scenes, or the calibration is of other cameras",
                             rows.matched,
                             rows.features)}};
    }
    if (areOff(rows)) {
        const std::string offset =
            fmt::format("corresponding points lie {:.1f} px apart in rows (spread {:.1f} px): ",
                        rows.median,
                        rows.spread);
        if (isRectifiedInput) {
            return {{"not-rectified", offset + "these images are not rectified"}};
        }
        return {{"rows-differ", offset + "the calibration does not belong to these images or has drifted"}};
    }
    return {};
}

} // namespace vision::toolkit
