// SPDX-License-Identifier: Apache-2.0
#include "calibration/adjustment.h"

#include "calibration/board_pose.h"
#include "calibration/projection.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace vision::toolkit {

namespace {

constexpr int rigNumbers = 6;
constexpr int poseNumbers = 6;
constexpr int bendNumbers = 3;

std::vector<int> listFree(const LensModel& lens)
{
    constexpr int distortion = 4; // where it begins
    std::vector<int> columns;
    for (int column = 0; column < distortion + lens.coefficients; ++column) {
        const int coefficient = column - distortion;
        const bool isTangential = coefficient == 2 || coefficient == 3;
        if (!(isTangential && lens.fixTangential) && !(coefficient == 4 && lens.fixK3)) {
            columns.push_back(column);
        }
    }
    return columns;
}

/// Inverts a normal matrix. What it does not determine gets a variance that is huge instead of none.
cv::Mat invert(const cv::Mat& normal)
{
    constexpr double undetermined = 1e-13; // of the largest eigenvalue, with all columns of one length
    cv::Mat scale;
    cv::sqrt(normal.diag(), scale);
    scale.setTo(1, scale <= 0);
    const cv::Mat both = scale * scale.t();
    cv::Mat values;
    cv::Mat vectors; // in rows
    cv::eigen(normal / both, values, vectors);
    cv::Mat limited;
    cv::max(values, undetermined * values.at<double>(0), limited);
    return cv::Mat(vectors.t() * cv::Mat::diag(1 / limited) * vectors) / both;
}

/// How points move, in m, by each number of the bend: along the normal of the board.
std::array<std::vector<double>, bendNumbers> listHeights(const Board& board, const std::vector<int>& ids)
{
    std::array<std::vector<double>, bendNumbers> heights;
    for (int number = 0; number < bendNumbers; ++number) {
        Board bent = flatten(board);
        bent.bend[number] = 1;
        for (const cv::Point3f& point : makeBoardPoints(bent, ids)) {
            heights[static_cast<std::size_t>(number)].push_back(point.z);
        }
    }
    return heights;
}

void move(CameraFit& camera, const cv::Mat& change, const std::vector<int>& columns)
{
    camera.matrix = camera.matrix.clone();
    camera.distortion = camera.distortion.clone();
    double* const settings[] = {&camera.matrix.at<double>(0, 0),
                                &camera.matrix.at<double>(1, 1),
                                &camera.matrix.at<double>(0, 2),
                                &camera.matrix.at<double>(1, 2)};
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const int column = columns[i];
        double& number = column < 4 ? *settings[column] : camera.distortion.at<double>(column - 4);
        number += change.at<double>(static_cast<int>(i));
    }
}

} // namespace

Adjustment::Adjustment(const std::vector<const BoardView*>& views, const Board& board, const LensModel& lens,
                       const PairFit& fit, bool isBendFree)
    : _fit(fit), _free(listFree(lens)), _isBendFree(isBendFree),
      _settings(2 * static_cast<int>(_free.size()) + (isBendFree ? bendNumbers : 0)),
      _settingsNormal(cv::Mat::zeros(_settings, _settings, CV_64F)),
      _rigNormal(cv::Mat::zeros(rigNumbers, rigNumbers, CV_64F)),
      _rigBySettings(cv::Mat::zeros(rigNumbers, _settings, CV_64F))
{
    for (const BoardView* view : views) {
        _views.push_back(linearise(*view, board));
        const Rows& rows = _views.back();
        _settingsNormal += rows.settings.t() * rows.settings;
        _rigNormal += rows.rig.t() * rows.rig;
        _rigBySettings += rows.rigBySettings;
        _points += rows.points;
        const int half = 2 * rows.points;
        const double left = cv::norm(rows.residuals.rowRange(0, half));
        const double right = cv::norm(rows.residuals.rowRange(half, 2 * half));
        const double both = cv::norm(rows.common);
        _squares[0] += left * left;
        _squares[1] += right * right;
        _commonSquares += both * both;
    }
}

void Adjustment::addCamera(const BoardView& view, const Board& board, bool isLeft, Rows& rows,
                           cv::Mat& whole) const
{
    const CameraFit& camera = isLeft ? _fit.left : _fit.right;
    cv::Mat rotation;
    const Projection projection =
        projectFitted(camera, view.ids, isLeft ? view.left : view.right, board, rotation);
    cv::Mat settings = cv::Mat::zeros(2 * rows.points, _settings, CV_64F);
    for (std::size_t i = 0; i < _free.size(); ++i) {
        projection.byCamera.col(_free[i]).copyTo(settings.col(firstOf(isLeft) + static_cast<int>(i)));
    }
    if (_isBendFree) {
        cv::Matx33d matrix;
        cv::Rodrigues(rotation, matrix);
        const cv::Mat byHeight = projection.byTranslation * cv::Mat(matrix.col(2));
        const auto heights = listHeights(board, view.ids);
        for (int number = 0; number < bendNumbers; ++number) {
            for (int row = 0; row < byHeight.rows; ++row) {
                settings.at<double>(row, _settings - bendNumbers + number) =
                    byHeight.at<double>(row) *
                    heights[static_cast<std::size_t>(number)][static_cast<std::size_t>(row / 2)];
            }
        }
    }
    const cv::Mat byPose = projection.byPose();
    whole.push_back(settings);
    rows.settings.push_back(takeOut(byPose, settings));
    rows.residuals.push_back(takeOut(byPose, projection.residuals));
}

Adjustment::Rows Adjustment::linearise(const BoardView& view, const Board& board) const
{
    Rows rows;
    rows.points = static_cast<int>(view.ids.size());
    cv::Mat settings; // nothing taken out
    addCamera(view, board, true, rows, settings);
    addCamera(view, board, false, rows, settings);

    const BoardPose pose = findPose(_fit, view, board);
    const auto points = makeBoardPoints(board, view.ids);
    const RightPosition right = toRight(_fit, cv::Mat(pose.rotation), cv::Mat(pose.translation));
    const Projection inLeft =
        project(_fit.left, cv::Mat(pose.rotation), cv::Mat(pose.translation), points, view.left);
    const Projection inRight = project(_fit.right, right.rotation, right.translation, points, view.right);
    cv::Mat byPose(4 * rows.points, poseNumbers, CV_64F);
    cv::Mat rig = cv::Mat::zeros(4 * rows.points, rigNumbers, CV_64F);
    const cv::Range leftRows(0, 2 * rows.points);
    const cv::Range rightRows(2 * rows.points, 4 * rows.points);
    inLeft.byRotation.copyTo(byPose(leftRows, {0, 3}));
    inLeft.byTranslation.copyTo(byPose(leftRows, {3, 6}));
    cv::Mat(inRight.byRotation * right.rotationByLeft).copyTo(byPose(rightRows, {0, 3}));
    cv::Mat(inRight.byTranslation * right.translationByLeft).copyTo(byPose(rightRows, {3, 6}));
    cv::Mat(inRight.byRotation * right.rotationByRig + inRight.byTranslation * right.translationByRig)
        .copyTo(rig(rightRows, {0, 3}));
    inRight.byTranslation.copyTo(rig(rightRows, {3, 6}));
    cv::Mat residuals;
    cv::vconcat(inLeft.residuals, inRight.residuals, residuals);
    rows.rig = takeOut(byPose, rig);
    rows.common = takeOut(byPose, residuals);
    rows.rigBySettings = rows.rig.t() * settings;
    return rows;
}

cv::Mat Adjustment::solve(const cv::Mat& settings, const cv::Mat& rig, const cv::Mat& rigBySettings,
                          const cv::Mat& settingsSide, const cv::Mat& rigSide) const
{
    const cv::Mat ofSettings = invert(settings) * settingsSide;
    const cv::Mat ofRig = invert(rig) * (rigSide - rigBySettings * ofSettings);
    cv::Mat change;
    cv::vconcat(ofSettings, ofRig, change);
    return change;
}

cv::Mat Adjustment::covariance() const
{
    const auto views = static_cast<double>(_views.size());
    cv::Mat covariance = cv::Mat::zeros(size(), size(), CV_64F);
    const cv::Mat settingsInverse = invert(_settingsNormal);
    const cv::Mat rigInverse = invert(_rigNormal);
    double variances[2];
    for (int side = 0; side < 2; ++side) {
        const double freedom = _points - static_cast<double>(_free.size()) - poseNumbers * views;
        variances[side] = _squares[side] / std::max(freedom, 1.0);
    }
    for (const Rows& rows : _views) {
        const cv::Mat settings = settingsInverse * rows.settings.t();
        const cv::Mat rig = rigInverse * (rows.rig.t() - _rigBySettings * settings);
        cv::Mat influence;
        cv::vconcat(settings, rig, influence);
        const cv::Mat left = influence.colRange(0, 2 * rows.points);
        const cv::Mat right = influence.colRange(2 * rows.points, 4 * rows.points);
        covariance += variances[0] * left * left.t() + variances[1] * right * right.t();
    }
    return covariance;
}

cv::Mat Adjustment::step() const
{
    cv::Mat settings = cv::Mat::zeros(_settings, 1, CV_64F);
    cv::Mat rig = cv::Mat::zeros(rigNumbers, 1, CV_64F);
    for (const Rows& rows : _views) {
        settings += rows.settings.t() * rows.residuals;
        rig += rows.rig.t() * rows.common;
    }
    return solve(_settingsNormal, _rigNormal, _rigBySettings, settings, rig);
}

cv::Mat Adjustment::stepWithout(std::size_t view) const
{
    const Rows& rows = _views[view];
    return solve(_settingsNormal - rows.settings.t() * rows.settings,
                 _rigNormal - rows.rig.t() * rows.rig,
                 _rigBySettings - rows.rigBySettings,
                 -rows.settings.t() * rows.residuals,
                 -rows.rig.t() * rows.common);
}

PairFit Adjustment::moved(const cv::Mat& change) const
{
    PairFit fit = _fit;
    move(fit.left, change.rowRange(firstOf(true), change.rows), _free);
    move(fit.right, change.rowRange(firstOf(false), change.rows), _free);
    cv::Mat rotation;
    cv::Rodrigues(_fit.rotation, rotation);
    rotation += change.rowRange(rig(), rig() + 3);
    fit.rotation = cv::Mat(); // copies share their numbers, and an expression is written into what is there
    fit.translation = cv::Mat();
    cv::Rodrigues(rotation, fit.rotation);
    fit.translation = _fit.translation + change.rowRange(rig() + 3, rig() + rigNumbers);
    return fit;
}

cv::Vec3d Adjustment::bendOf(const cv::Mat& change) const
{
    return _isBendFree ? cv::Vec3d(change.rowRange(_settings - bendNumbers, _settings)) : cv::Vec3d();
}

cv::Matx33d Adjustment::bendCovarianceOf(const cv::Mat& covariance) const
{
    const cv::Range bend(_settings - bendNumbers, _settings);
    return cv::Mat(covariance(bend, bend));
}

double Adjustment::rms(bool isLeft) const
{
    return std::sqrt(_squares[isLeft ? 0 : 1] / _points);
}

double Adjustment::commonRms() const
{
    return std::sqrt(_commonSquares / (2.0 * _points));
}

} // namespace vision::toolkit
