// SPDX-License-Identifier: Apache-2.0
#include "check/drift_fit.h"

#include "base/statistics.h"
#include "check/limits.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>

namespace vision::toolkit {

namespace {

constexpr int termCount = 4;
constexpr Estimate CameraDrift::*terms[termCount] = {
    &CameraDrift::pitch, &CameraDrift::yaw, &CameraDrift::roll, &CameraDrift::zoom};
constexpr double degree = CV_PI / 180;
constexpr double unitOf[termCount] = {degree, degree, degree, 0.01};

/// How each term moves the row of the right point, px per unit of the term.
cv::Vec4d findEffects(const FeatureMatch& match, const cv::Matx34f& projection)
{
    const double f = double{projection(0, 0)};
    const double x = (match.right.x - double{projection(0, 2)}) / f;
    const double y = (match.right.y - double{projection(1, 2)}) / f;
    return {-f * (1 + y * y) * unitOf[0], f * x * y * unitOf[1], f * x * unitOf[2], f * y * unitOf[3]};
}

/// The linear equations of all matches.
struct Equations
{
    cv::Mat effects;       ///< N x 4
    cv::Mat offsets;       ///< N x 1, px
    std::vector<int> ends; ///< behind the last row of each pair
};

Equations setUp(const MatchesOfPairs& pairs, const cv::Matx34f& projection)
{
    std::vector<cv::Vec4d> effects;
    std::vector<double> offsets;
    Equations equations;
    for (const auto& matches : pairs) {
        for (const FeatureMatch& match : matches) {
            effects.push_back(findEffects(match, projection));
            offsets.push_back(match.right.y - match.left.y);
        }
        equations.ends.push_back(static_cast<int>(offsets.size()));
    }
    equations.effects = cv::Mat(effects, true).reshape(1);
    equations.offsets = cv::Mat(offsets, true);
    return equations;
}

/// Tukey's weights: 1 for a small residual, 0 beyond 4.7 times the spread.
cv::Mat weigh(const cv::Mat& residuals, double spread)
{
    constexpr double cutOff = 4.685;
    cv::Mat weights(residuals.size(), CV_64F);
    for (int i = 0; i < residuals.rows; ++i) {
        const double ratio = residuals.at<double>(i) / (cutOff * spread);
        weights.at<double>(i) = std::abs(ratio) < 1 ? std::pow(1 - ratio * ratio, 2) : 0;
    }
    return weights;
}

double findSpread(const cv::Mat& residuals)
{
    return medianAndSpread({residuals.begin<double>(), residuals.end<double>()}).spread;
}

/// Least squares with some of the terms.
struct Solution
{
    cv::Mat values;     ///< k x 1
    cv::Mat deviations; ///< k x 1
    cv::Mat residuals;  ///< N x 1, px
};

/// The covariance of the values if pairs rather than matches are independent of each other.
cv::Mat findCovarianceOfPairs(const cv::Mat& weighted, const cv::Mat& residuals, const cv::Mat& inverse,
                              const std::vector<int>& ends)
{
    cv::Mat sum = cv::Mat::zeros(inverse.size(), CV_64F);
    int begin = 0;
    for (const int end : ends) {
        if (end > begin) {
            const cv::Mat pull = weighted.rowRange(begin, end).t() * residuals.rowRange(begin, end);
            sum += pull * pull.t();
        }
        begin = end;
    }
    const auto pairs = static_cast<double>(ends.size());
    return inverse * sum * inverse * (pairs / std::max(pairs - 1, 1.0));
}

std::optional<Solution> solve(const Equations& equations, const cv::Mat& effects)
{
    constexpr int rounds = 10;
    constexpr double noise = 0.05; // px; no match is better than that
    constexpr double bias =
        0.02; // px, that interpolating gives all matches in common; more of them do not help
    const cv::Mat& offsets = equations.offsets;
    Solution solution;
    // An offset beyond the spread must not weigh everything down.
    solution.residuals = offsets - medianAndSpread({offsets.begin<double>(), offsets.end<double>()}).median;
    cv::Mat inverse, weighted, weights;
    for (int round = 0; round < rounds; ++round) {
        weights = weigh(solution.residuals, std::max(findSpread(solution.residuals), noise));
        weighted = effects.mul(cv::repeat(weights, 1, effects.cols));
        if (cv::invert(effects.t() * weighted, inverse, cv::DECOMP_CHOLESKY) == 0) {
            return std::nullopt; // all points in one place
        }
        solution.values = inverse * (weighted.t() * offsets);
        solution.residuals = offsets - effects * solution.values;
    }
    const double squares = solution.residuals.mul(solution.residuals).dot(weights);
    const double variance = squares / std::max(cv::sum(weights)[0] - effects.cols, 1.0);
    const cv::Mat ofPairs = findCovarianceOfPairs(weighted, solution.residuals, inverse, equations.ends);
    solution.deviations.create(effects.cols, 1, CV_64F);
    for (int i = 0; i < effects.cols; ++i) {
        const double common = bias / (cv::norm(effects.col(i)) / std::sqrt(effects.rows));
        const double random = std::max(variance * inverse.at<double>(i, i), ofPairs.at<double>(i, i));
        solution.deviations.at<double>(i) = std::sqrt(random + common * common);
    }
    return solution;
}

std::optional<CameraDrift> fitTerms(const Equations& equations, const std::vector<int>& chosen)
{
    CameraDrift drift;
    if (chosen.empty()) {
        drift.residual = findSpread(equations.offsets);
        return drift;
    }
    cv::Mat effects;
    for (const int term : chosen) {
        if (effects.empty()) {
            effects = equations.effects.col(term).clone();
        } else {
            cv::hconcat(effects, equations.effects.col(term), effects);
        }
    }
    const auto solution = solve(equations, effects);
    if (!solution) {
        return std::nullopt;
    }
    for (int i = 0; i < effects.cols; ++i) {
        drift.*terms[chosen[static_cast<std::size_t>(i)]] = {solution->values.at<double>(i),
                                                             solution->deviations.at<double>(i)};
    }
    drift.explained = cv::norm(effects * solution->values) / std::sqrt(effects.rows);
    drift.residual = findSpread(solution->residuals);
    return drift;
}

/// Leaves out one term after the other, the least certain first, until all that remain are significant.
std::optional<CameraDrift> fitSignificant(const Equations& equations, const CameraDrift& all)
{
    std::optional<CameraDrift> drift = all;
    std::vector<int> chosen{0, 1, 2, 3};
    while (drift) {
        const auto certainty = [&drift](int term) {
            const Estimate& estimate = *drift.*terms[term];
            return std::abs(estimate.value) / estimate.uncertainty;
        };
        const auto least = std::min_element(chosen.begin(), chosen.end(), [&](int first, int second) {
            return certainty(first) < certainty(second);
        });
        if (least == chosen.end() || (*drift.*terms[*least]).isSignificant()) {
            break;
        }
        chosen.erase(least);
        drift = fitTerms(equations, chosen);
    }
    return drift;
}

cv::Matx33d turnBack(const cv::Vec3d& degrees)
{
    cv::Matx33d back;
    cv::Rodrigues(-degrees * degree, back);
    return back;
}

} // namespace

double DriftFit::residualOf(const FeatureMatch& match) const
{
    const cv::Vec4d effects = findEffects(match, projection);
    double residual = match.right.y - match.left.y;
    for (int term = 0; term < termCount; ++term) {
        residual -= effects[term] * (significant.*terms[term]).value;
    }
    return residual;
}

bool DriftFit::matters() const
{
    const auto exceeds = [](const Estimate& estimate, double most) {
        const double size = std::abs(estimate.value);
        return size > most && size > limits::beyondDoubt * estimate.uncertainty;
    };
    const double rowsPerDegree = double{projection(0, 0)} * degree;
    return exceeds(significant.pitch, limits::mostRows / rowsPerDegree) ||
           exceeds(significant.roll, limits::mostRoll) || exceeds(significant.zoom, limits::mostZoom) ||
           significant.explained > limits::mostExplained;
}

std::optional<DriftFit> fitDrift(const MatchesOfPairs& pairs, const Calibration& right)
{
    constexpr int fewest = 20;
    DriftFit fit;
    fit.projection = right.projectionMatrix;
    const Equations equations = setUp(pairs, fit.projection);
    if (equations.offsets.rows < fewest) {
        return std::nullopt;
    }
    const auto all = fitTerms(equations, {0, 1, 2, 3});
    const auto significant = all ? fitSignificant(equations, *all) : std::nullopt;
    if (!significant) {
        return std::nullopt;
    }
    fit.all = *all;
    fit.all.explained = significant->explained;
    fit.significant = *significant;
    return fit;
}

Calibration correctRotation(const Calibration& right, const cv::Vec3d& angles)
{
    Calibration corrected(right);
    cv::Mat before = cv::Mat::eye(3, 3, CV_64F);
    if (!right.rectificationMatrix.empty()) {
        right.rectificationMatrix.convertTo(before, CV_64F);
    }
    cv::Mat(cv::Mat(turnBack(angles)) * before).convertTo(corrected.rectificationMatrix, CV_32F);
    return corrected;
}

FeatureMatch correctRotation(const FeatureMatch& match, const cv::Vec3d& angles,
                             const cv::Matx34f& projection)
{
    const double f = double{projection(0, 0)};
    const double cx = double{projection(0, 2)}, cy = double{projection(1, 2)};
    const cv::Vec3d ray = turnBack(angles) * cv::Vec3d((match.right.x - cx) / f, (match.right.y - cy) / f, 1);
    return {match.left, {f * ray[0] / ray[2] + cx, f * ray[1] / ray[2] + cy}};
}

} // namespace vision::toolkit
