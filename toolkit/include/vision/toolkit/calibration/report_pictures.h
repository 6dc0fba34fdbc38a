// SPDX-License-Identifier: Apache-2.0
/// @file
/// The pictures that belong to a report.
#ifndef VISION_TOOLKIT_CALIBRATION_REPORT_PICTURES_H
#define VISION_TOOLKIT_CALIBRATION_REPORT_PICTURES_H

#include <vision/toolkit/board/board_search.h>
#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/files/output_files.h>

#include <string>
#include <vector>

namespace vision::toolkit {

/// Draws both images of a pair in which the board was found, at most 640 px wide each: its points (the first
/// one larger; green for a pair that is used, red for others) and their residuals as arrows from where the
/// fit has a point towards where it was seen, longer by the factor that the picture names.
/// @return `CV_8UC3`
VISION_TOOLKIT_EXPORT cv::Mat drawView(const CalibratedPair& pair, const PairDetection& sighting);

/// Draws for both cameras where in the image the board was seen: all points of the pairs used, in the colour
/// of their residual, and how far they reach towards each corner of the image.
/// @param report with a result
/// @return `CV_8UC3`
VISION_TOOLKIT_EXPORT cv::Mat drawCoverage(const CalibrationReport& report);

struct ReportFile
{
    std::string name;
    Bytes bytes;
};

/// All pictures of a report: `coverage.png`, the first pair used rectified with lines along its rows
/// (`rectified.png`), and one for each pair in which the board was found, called as the report says.
/// @param report of that search of these pairs
/// @return nothing when the report has no result
VISION_TOOLKIT_EXPORT std::vector<ReportFile> drawReport(const CalibrationReport& report,
                                                         const BoardSearch& search, PairSequence& pairs);

} // namespace vision::toolkit

#endif
