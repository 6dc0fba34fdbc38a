// SPDX-License-Identifier: Apache-2.0
/// @file
/// A report for people and for programs.
#ifndef VISION_TOOLKIT_CALIBRATING_REPORT_FORMATS_H
#define VISION_TOOLKIT_CALIBRATING_REPORT_FORMATS_H

#include <vision/toolkit/calibrating/calibration_report.h>
#include <vision/toolkit/export.h>

#include <string>
#include <vector>

namespace vision::toolkit {

/// The report in lines: the pairs, the figures, the verdict. Reasons and failed images are left to the
/// caller.
VISION_TOOLKIT_EXPORT std::vector<std::string> formatReport(const CalibrationReport& report);

/// The report as a JSON object, with a line feed at the end. Lengths are in m (`baseline`) or have their unit
/// in the key, angles have it, everything else is in px or a share; what is unknown is null.
/// docs/calibrating.md lists the keys.
VISION_TOOLKIT_EXPORT std::string formatReportJson(const CalibrationReport& report);

} // namespace vision::toolkit

#endif
