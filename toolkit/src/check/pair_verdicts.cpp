// SPDX-License-Identifier: Apache-2.0
#include "check/pair_verdicts.h"

#include "base/statistics.h"
#include "check/limits.h"
#include "features/row_verdict.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <string>

namespace vision::toolkit {

namespace {

using Names = std::vector<std::string>;

/// "a, b and 4 more"
std::string list(const Names& names)
{
    constexpr std::size_t most = 3;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), most); ++i) {
        text += (i == 0 ? "" : ", ") + names[i];
    }
    return names.size() > most ? text + fmt::format(" and {} more", names.size() - most) : text;
}

/// How much two thumbnails differ, as a share of what is in them.
double compare(const cv::Mat& first, const cv::Mat& second)
{
    cv::Scalar mean, deviation;
    cv::meanStdDev(first, mean, deviation);
    const double rmsOfDifference = cv::norm(first, second) / std::sqrt(static_cast<double>(first.total()));
    return rmsOfDifference / std::max(deviation[0], 1.0);
}

/// Pairs in which one camera shows what it showed before, while the other one does not.
Names findFrozen(const std::vector<PairCheck>& pairs)
{
    constexpr double same = 0.01; // noise of single pixels is averaged over hundreds
    constexpr double other = 0.05;
    Names frozen;
    for (std::size_t i = 1; i < pairs.size(); ++i) {
        const double left = compare(pairs[i].leftThumbnail, pairs[i - 1].leftThumbnail);
        const double right = compare(pairs[i].rightThumbnail, pairs[i - 1].rightThumbnail);
        if (std::min(left, right) < same && std::max(left, right) > other) {
            frozen.push_back(pairs[i].name);
        }
    }
    return frozen;
}

/// The rows of one pair against the fit of all.
struct PairResiduals
{
    std::string name;
    double median;
    double spread;
    double uncertainty; ///< of the median
};

std::vector<PairResiduals> findResiduals(const std::vector<PairCheck>& pairs, const DriftFit& fit)
{
    constexpr std::size_t fewest = 8;       // matches
    constexpr double medianOverMean = 1.25; // uncertainty, for normal noise
    std::vector<PairResiduals> all;
    for (const PairCheck& pair : pairs) {
        if (pair.matches.size() >= fewest) {
            std::vector<double> residuals;
            for (const FeatureMatch& match : pair.matches) {
                residuals.push_back(fit.residualOf(match));
            }
            const auto [median, spread] = medianAndSpread(residuals);
            const double uncertainty =
                medianOverMean * spread / std::sqrt(static_cast<double>(residuals.size()));
            all.push_back({pair.name, median, spread, uncertainty});
        }
    }
    return all;
}

double medianOf(const std::vector<PairResiduals>& pairs, std::size_t begin, std::size_t end)
{
    std::vector<double> medians;
    for (std::size_t i = begin; i < end; ++i) {
        medians.push_back(pairs[i].median);
    }
    return median(std::move(medians));
}

/// Where the rows of a sequence change most.
struct Step
{
    std::size_t first = 0; ///< pair behind it
    double before = 0;     ///< px, medians of the pairs
    double after = 0;
    double certainty = 0; ///< standard deviations of their difference
    double spread = 0;    ///< of the pairs around these
};

Step measureStep(const std::vector<PairResiduals>& pairs, std::size_t first)
{
    constexpr double usual = 0.1; // px, spread between pairs that calibrating itself leaves
    const std::size_t count = pairs.size();
    Step step{first, medianOf(pairs, 0, first), medianOf(pairs, first, count), 0, 0};
    std::vector<double> distances;
    for (std::size_t i = 0; i < count; ++i) {
        distances.push_back(pairs[i].median - (i < first ? step.before : step.after));
    }
    step.spread = std::hypot(usual, medianAndSpread(distances).spread);
    const auto inverse = [](std::size_t n) { return 1 / static_cast<double>(n); };
    step.certainty = std::abs(step.after - step.before) /
                     (step.spread * std::sqrt(inverse(first) + inverse(count - first)));
    return step;
}

Step findStep(const std::vector<PairResiduals>& pairs)
{
    constexpr std::size_t fewest = 2; // pairs on either side
    Step largest = measureStep(pairs, pairs.size());
    largest.after = largest.before;
    largest.certainty = 0;
    for (std::size_t first = fewest; first + fewest <= pairs.size(); ++first) {
        const Step step = measureStep(pairs, first);
        if (std::abs(step.after - step.before) > limits::mostChange && step.certainty > limits::beyondDoubt &&
            step.certainty > largest.certainty) {
            largest = step;
        }
    }
    return largest;
}

/// Pairs whose rows are off against the others, or that hold things that moved.
Names findDeviating(const std::vector<PairResiduals>& pairs, const Step& step)
{
    std::vector<double> spreads;
    spreads.reserve(pairs.size());
    for (const PairResiduals& pair : pairs) {
        spreads.push_back(pair.spread);
    }
    const double usualSpread = median(std::move(spreads));
    constexpr double leastSpread = 0.8; // px
    Names deviating;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double distance = std::abs(pairs[i].median - (i < step.first ? step.before : step.after));
        const double doubt = limits::beyondDoubt * std::hypot(pairs[i].uncertainty, step.spread);
        const bool isSpread =
            pairs[i].spread > std::max(leastSpread, limits::mostSpreadOfOnePair * usualSpread);
        if (distance > std::max(limits::mostOfOnePair, doubt) || isSpread) {
            deviating.push_back(pairs[i].name);
        }
    }
    return deviating;
}

} // namespace

PairVerdicts judgePairs(const std::vector<PairCheck>& pairs)
{
    PairVerdicts verdicts;
    Names apart;
    Notes reasons;
    for (const PairCheck& pair : pairs) {
        const Notes notes = judgeRows(pair.rows, RowOffsets{});
        const bool isApart = !notes.empty() && notes.front().code != "rows-differ";
        if (isApart) {
            apart.push_back(pair.name);
            reasons = notes;
        }
        verdicts.fitting.push_back(isApart ? std::vector<FeatureMatch>() : pair.matches);
    }
    const Names frozen = findFrozen(pairs);
    if (!frozen.empty()) {
        verdicts.unsynchronised.push_back(
            {"frozen-camera",
             Severity::Wrong,
             "one camera shows the image before again while the other one goes on: " + list(frozen)});
    }
    if (2 * apart.size() > pairs.size()) {
        verdicts.foreign = reasons;
    } else if (!apart.empty()) {
        verdicts.unsynchronised.push_back(
            {"pairs-do-not-correspond",
             Severity::Wrong,
             "these pairs do not show the same scene at the same moment, others do: " + list(apart)});
    }
    return verdicts;
}

SequenceVerdict judgeSequence(const std::vector<PairCheck>& pairs, const DriftFit& fit)
{
    constexpr std::size_t fewest = 3;
    SequenceVerdict verdict;
    const std::vector<PairResiduals> residuals = findResiduals(pairs, fit);
    if (residuals.size() < fewest) {
        return verdict;
    }
    const Step step = findStep(residuals);
    if (step.certainty > 0) {
        verdict.drifted.push_back({"rows-change",
                                   Severity::Wrong,
                                   fmt::format("rows change by {:.2f} px within the sequence, most of it "
                                               "before {}: a camera moved while the "
                                               "images were taken",
                                               step.after - step.before,
                                               residuals[step.first].name)});
    }
    const Names deviating = findDeviating(residuals, step);
    if (!deviating.empty()) {
        verdict.unsynchronised.push_back({"pairs-deviate",
                                          Severity::Wrong,
                                          "the rows of these pairs are off against the others, as when their "
                                          "images were not taken at the same moment: " +
                                              list(deviating)});
    }
    return verdict;
}

} // namespace vision::toolkit
