// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a fit determines, and how well: least squares to first order.
#ifndef VISION_TOOLKIT_SRC_CALIBRATION_ADJUSTMENT_H
#define VISION_TOOLKIT_SRC_CALIBRATION_ADJUSTMENT_H

#include <vision/toolkit/calibration/calibration_report.h>

#include <optional>
#include <vector>

namespace vision::toolkit {

/// The views of a fit with their residuals, linearised at the fit.
///
/// The same two steps as fitPair(): first the settings of each camera (fx, fy, cx, cy, distortion) with
/// positions of the board of its own, and the bend of the board if that is free; then the right camera's
/// position with common positions of the board. A change of all these numbers is a column: settings of the
/// left camera, of the right one, bend (3, if free), rotation and translation of the right camera (6).
class Adjustment
{
public:
    /// @param views at least 1
    Adjustment(const std::vector<const BoardView*>& views, const Board& board, const LensModel& lens,
               const PairFit& fit, bool isBendFree);

    [[nodiscard]] int size() const { return _settings + 6; }

    /// The covariance of all numbers. It takes each point of an image for one observation, not for two:
    /// residuals of one view go together, so that x and y count once.
    [[nodiscard]] cv::Mat covariance() const;

    /// The change of all numbers that brings them to the least squares.
    [[nodiscard]] cv::Mat step() const;

    /// The change that leaving out a view makes.
    [[nodiscard]] cv::Mat stepWithout(std::size_t view) const;

    /// The fit with these numbers changed.
    [[nodiscard]] PairFit moved(const cv::Mat& change) const;

    /// That of the bend within a change; zero unless it is free.
    [[nodiscard]] cv::Vec3d bendOf(const cv::Mat& change) const;
    [[nodiscard]] cv::Matx33d bendCovarianceOf(const cv::Mat& covariance) const;

    /// Where fx, fy, cx and cy of a camera stand.
    [[nodiscard]] int firstOf(bool isLeft) const { return isLeft ? 0 : static_cast<int>(_free.size()); }
    /// Where rotation and translation of the right camera stand.
    [[nodiscard]] int rig() const { return _settings; }

    /// Reprojection errors of the linearised fit, px.
    [[nodiscard]] double rms(bool isLeft) const;
    [[nodiscard]] double commonRms() const;

private:
    /// A view: the rows of both images, left first, two for each point.
    struct Rows
    {
        cv::Mat settings;      ///< by the settings, what positions of the board can do taken out
        cv::Mat residuals;     ///< of each camera alone, the same taken out
        cv::Mat rig;           ///< by the right camera's position, with common positions taken out
        cv::Mat common;        ///< the residuals with a common position, the same taken out
        cv::Mat rigBySettings; ///< 6 x settings: what a change of these does to the rig's normal equations
        int points = 0;
    };

    [[nodiscard]] Rows linearise(const BoardView& view, const Board& board) const;
    void addCamera(const BoardView& view, const Board& board, bool isLeft, Rows& rows, cv::Mat& whole) const;
    [[nodiscard]] cv::Mat solve(const cv::Mat& settings, const cv::Mat& rig, const cv::Mat& rigBySettings,
                                const cv::Mat& settingsSide, const cv::Mat& rigSide) const;

    PairFit _fit;
    std::vector<int> _free; ///< columns of Projection::byCamera that are estimated
    bool _isBendFree;
    int _settings; ///< how many
    std::vector<Rows> _views;
    cv::Mat _settingsNormal;
    cv::Mat _rigNormal;
    cv::Mat _rigBySettings;
    double _squares[2]{}; ///< sums of squared residuals of each camera, px^2
    double _commonSquares = 0;
    int _points = 0; ///< in each camera
};

} // namespace vision::toolkit

#endif
