// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/calibration/calibration_report.h>

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <cmath>

namespace vision::toolkit {

namespace {

using Lines = std::vector<std::string>;

std::string plusMinus(double value, double deviation, int digits)
{
    return fmt::format("{:.{}f}", value, digits) + " +- " +
           (std::isnan(deviation) ? "unknown" : fmt::format("{:.{}f}", deviation, digits));
}

std::string percent(double share, int digits)
{
    return fmt::format("{:.{}f}", 100 * share, digits) + " %";
}

std::string millimetres(double metres)
{
    return std::isnan(metres) ? "unknown" : fmt::format("{:.1f}", 1000 * metres) + " mm";
}

void addPair(const CalibratedPair& pair, Lines& lines)
{
    if (pair.repair) {
        lines.push_back("repaired: " + toText(*pair.repair));
    }
    if (pair.reason && !pair.isFailed) {
        lines.push_back("skipped: " + pair.images.left + " and " + pair.images.right + ": " +
                        pair.reason->text);
    }
    if (pair.isUsed) {
        lines.push_back(pair.name + ": rms " + fmt::format("{:.3f}", pair.rmsLeft) + " px left, " +
                        fmt::format("{:.3f}", pair.rmsRight) + " px right, row error " +
                        fmt::format("{:.3f}", pair.rowError) + " px, " +
                        fmt::format("{:.2f}", pair.distance) + " m away, tilted by " +
                        fmt::format("{:.0f}", pair.tilt) + " degrees");
    }
}

void addCamera(const char* side, const CameraFit& camera, const CameraDeviation& deviation, Lines& lines)
{
    const cv::Mat_<double> matrix = camera.matrix;
    lines.push_back(std::string("focal length ") + side + ": " +
                    plusMinus(matrix(0, 0), deviation.focalLengthX, 2) + " px (" +
                    (std::isnan(deviation.focalLengthX) ? std::string("not determined")
                                                        : percent(deviation.focalLengthX / matrix(0, 0), 2)) +
                    ")");
    lines.push_back(std::string("principal point ") + side + ": " +
                    plusMinus(matrix(0, 2), deviation.principalPointX, 1) + " px, " +
                    plusMinus(matrix(1, 2), deviation.principalPointY, 1) + " px");
}

void addErrors(const CalibrationResult& result, Lines& lines)
{
    const auto rms = [&lines](const char* what, double value) {
        lines.push_back(std::string("rms ") + what + ": " + fmt::format("{:.3f}", value) + " px");
    };
    rms("left", result.fit.left.rms);
    rms("right", result.fit.right.rms);
    rms("stereo", result.fit.rms);
    const double unseen = result.uncertainty.unseenRowError;
    lines.push_back("row error: " + fmt::format("{:.3f}", result.rowError) + " px rms, " +
                    fmt::format("{:.3f}", result.worstRowError) + " px worst" +
                    (std::isnan(unseen)
                         ? std::string()
                         : ", " + fmt::format("{:.3f}", unseen) + " px rms in views that a fit did not see"));
    lines.push_back("square: " + plusMinus(result.squareMean, result.squareDeviation, 4) +
                    " of the given one, triangulated");
}

void addDepths(const CalibrationResult& result, Lines& lines)
{
    const PairUncertainty& uncertainty = result.uncertainty;
    lines.push_back(
        fmt::format("the board was seen {:.2f} to {:.2f} m away in {} of the left image; beyond, the "
                    "calibration is extrapolated",
                    uncertainty.nearest,
                    uncertainty.farthest,
                    percent(result.left.coveredArea, 0)));
    for (const DepthError& error : uncertainty.depths) {
        lines.push_back(
            fmt::format("depth error at {:.1f} m{}: {} from calibration (95th percentile {}), {} from a "
                        "quarter pixel of matching",
                        error.depth,
                        error.isExtrapolated ? " (extrapolated)" : "",
                        millimetres(error.fromCalibration),
                        millimetres(error.worstFromCalibration),
                        millimetres(error.fromMatching)));
    }
}

void addResult(const CalibrationResult& result, Lines& lines)
{
    lines.push_back("different positions of the board: " + std::to_string(result.poses) + ", tilts within " +
                    fmt::format("{:.0f}", result.tiltRange) + " degrees");
    addErrors(result, lines);
    const PairUncertainty& uncertainty = result.uncertainty;
    addCamera("left", result.fit.left, uncertainty.cameras.left, lines);
    addCamera("right", result.fit.right, uncertainty.cameras.right, lines);
    lines.push_back(
        "baseline: " + plusMinus(1000 * cv::norm(result.fit.translation), 1000 * uncertainty.baseline, 2) +
        " mm");
    lines.push_back("rectified focal length: " +
                    fmt::format("{:.2f}", result.records.left.projectionMatrix.at<float>(0, 0)) + " px");
    lines.push_back("covered area: " + percent(result.left.coveredArea, 0) + " left, " +
                    percent(result.right.coveredArea, 0) + " right");
    lines.push_back("valid area: " + percent(result.left.validArea, 0) + " left, " +
                    percent(result.right.validArea, 0) + " right");
    addDepths(result, lines);
}

} // namespace

std::vector<std::string> formatReport(const CalibrationReport& report)
{
    Lines lines;
    for (const CalibratedPair& pair : report.pairs) {
        addPair(pair, lines);
    }
    const std::size_t used = report.countUsed();
    lines.push_back("pairs used: " + std::to_string(used) + " of " + std::to_string(report.pairs.size()));
    lines.push_back("pairs skipped: " + std::to_string(report.pairs.size() - used));
    if (report.result) {
        addResult(*report.result, lines);
    }
    lines.push_back(std::string("verdict: ") + nameOf(report.verdict));
    return lines;
}

} // namespace vision::toolkit
