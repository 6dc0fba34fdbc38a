// SPDX-License-Identifier: Apache-2.0
/// @file
/// The pictures that belong to a report.
#ifndef VISION_TOOLKIT_CALIBRATION_REPORT_PICTURES_H
#define VISION_TOOLKIT_CALIBRATION_REPORT_PICTURES_H

#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/export.h>
#include <vision/toolkit/files/output_files.h>

#include <functional>
#include <string>

namespace vision::toolkit {

/// Draws both images of a pair in which the board was found, at most 640 px wide each: its points (the first
/// one larger; green for a pair that is used, red for others) and their residuals as arrows from where the
/// fit has a point towards where it was seen, longer by the factor that the picture names.
/// @param images of that pair
/// @return `CV_8UC3`
VISION_TOOLKIT_EXPORT cv::Mat drawView(const CalibratedPair& pair, const ImagePair& images);

/// Draws for both cameras where in the image the board was seen: all points of the pairs used, in the colour
/// of their residual, and how far they reach towards each corner of the image.
/// @param report with a result
/// @return `CV_8UC3`
VISION_TOOLKIT_EXPORT cv::Mat drawCoverage(const CalibrationReport& report);

/// Takes a picture: the name of its file and what is in it.
using WritePicture = std::function<void(const std::string& name, const Bytes& bytes)>;

/// Draws all pictures of a report, one after the other, so that few of them are in memory: `coverage.png`,
/// the first pair used rectified with lines along its rows (`rectified.png`), and one for each pair in which
/// the board was found, called as the report says. A report without a result has none.
/// @param pairs those of the report; the ones with a board are read again
/// @param workers how many pairs are drawn at the same time; 0: as many as there are cores
VISION_TOOLKIT_EXPORT void drawReport(const CalibrationReport& report, PairSequence& pairs,
                                      const WritePicture& write, unsigned workers = 0);

} // namespace vision::toolkit

#endif
