// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/features/row_offsets.h>

#include "features/correlation.h"
#include "features/point_match.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <optional>

namespace vision::toolkit {

namespace {

/// Images of falling size, each half as wide as the one before.
/// @param widest the last one is at most so wide, and more than half of it, px
std::vector<cv::Mat> makePyramid(const cv::Mat& image, int widest)
{
    std::vector<cv::Mat> pyramid{image};
    while (pyramid.back().cols > widest) {
        cv::Mat half;
        cv::resize(pyramid.back(), half, pyramid.back().size() / 2, 0, 0, cv::INTER_AREA);
        pyramid.push_back(half);
    }
    return pyramid;
}

cv::Rect squareAround(const cv::Point& centre, int half)
{
    return {centre.x - half, centre.y - half, 2 * half + 1, 2 * half + 1};
}

bool isInside(const cv::Rect& part, const cv::Mat& image)
{
    return (part & cv::Rect({0, 0}, image.size())) == part;
}

/// The place of the maximum of a parabola through three values, from the middle one.
double interpolatePeak(float before, float middle, float after)
{
    const double curvature = double{before} - 2 * double{middle} + double{after};
    return curvature < 0 ? 0.5 * (double{before} - double{after}) / curvature : 0;
}

struct Place
{
    cv::Point2d shift; ///< from the patch in the left image to its place in the right one
    double score;
    double second; ///< best score elsewhere
    bool isAtEdge; ///< of what was searched, so that the true place may lie beyond; there is no shift then
};

/// Searches a patch in a part of the right image.
/// @param origin of the patch in the left image
/// @param offset where the target begins in the right image
/// @return nothing when the part is too small
std::optional<Place> search(const cv::Mat& patch, const CorrelationTarget& target, const cv::Rect& part,
                            const cv::Point& origin, const cv::Point& offset)
{
    if (part.width < patch.cols + 2 || part.height < patch.rows + 2) {
        return std::nullopt;
    }
    cv::Mat scores = target.correlate(patch, part);
    Place place{};
    cv::Point peak;
    cv::minMaxLoc(scores, nullptr, &place.score, nullptr, &peak);
    place.isAtEdge = !isInside(squareAround(peak, 1), scores);
    if (!place.isAtEdge) {
        const auto at = [&](int x, int y) { return scores.at<float>(peak.y + y, peak.x + x); };
        const cv::Point found = offset + part.tl() + peak - origin;
        place.shift = {found.x + interpolatePeak(at(-1, 0), at(0, 0), at(1, 0)),
                       found.y + interpolatePeak(at(0, -1), at(0, 0), at(0, 1))};
    }
    constexpr int samePeak = 2; // px
    scores(squareAround(peak, samePeak) & cv::Rect({0, 0}, scores.size())).setTo(-1);
    cv::minMaxLoc(scores, nullptr, &place.second);
    return place;
}

/// Both images in falling sizes.
struct Pyramids
{
    Pyramids(const cv::Mat& leftImage, const cv::Mat& rightImage, int widest)
        : left(makePyramid(leftImage, widest)), right(makePyramid(rightImage, widest)), smallest(right.back())
    {
    }

    std::vector<cv::Mat> left;
    std::vector<cv::Mat> right;
    CorrelationTarget smallest; ///< of the right images
};

/// Finds the place of a corner anywhere in the right image.
std::optional<Place> searchEverywhere(const Pyramids& images, const cv::Point& corner)
{
    constexpr int half = 5;
    constexpr double similar = 0.8;
    constexpr double farthest = 0.6; // of the width
    constexpr double highest = 0.03;
    const cv::Mat& left = images.left.back();
    const cv::Rect patch = squareAround(corner, half);
    if (!isInside(patch, left)) {
        return std::nullopt;
    }
    const int reach = cvRound(farthest * left.cols);
    const int rows = std::max(cvRound(highest * left.cols), 2);
    const cv::Rect part(patch.x - reach, patch.y - rows, patch.width + 2 * reach, patch.height + 2 * rows);
    const auto place =
        search(left(patch), images.smallest, part & cv::Rect({0, 0}, images.smallest.size()), patch.tl(), {});
    return place && place->score >= similar ? place : std::nullopt;
}

/// Improves a shift that is known to a pixel of half the size.
std::optional<cv::Point2d> refine(const cv::Mat& left, const cv::Mat& right, const cv::Point& corner,
                                  const cv::Point2d& shift)
{
    constexpr int half = 7;
    constexpr int reach = 3;
    constexpr double similar = 0.7; // noise is not averaged any more
    const cv::Rect patch = squareAround(corner, half);
    const cv::Rect part = squareAround(corner + cv::Point(cvRound(shift.x), cvRound(shift.y)), half + reach);
    if (!isInside(patch, left) || !isInside(part, right)) {
        return std::nullopt;
    }
    const auto place = search(
        left(patch), CorrelationTarget(right(part)), cv::Rect({0, 0}, part.size()), patch.tl(), part.tl());
    return place && !place->isAtEdge && place->score >= similar ? std::optional(place->shift) : std::nullopt;
}

/// The same place in an image of another size; whole numbers are the centres of pixels.
cv::Point2d enlarge(const cv::Point2d& point, const cv::Mat& from, const cv::Mat& to)
{
    return {(point.x + 0.5) * to.cols / from.cols - 0.5, (point.y + 0.5) * to.rows / from.rows - 0.5};
}

/// Whether no other place is nearly as good.
bool isUnique(const Place& place)
{
    constexpr double most = 0.9; // share of the best score that another place may reach
    return place.second <= most * place.score;
}

/// Follows a place from the smallest images to the largest.
std::optional<FeatureMatch> refine(const Pyramids& images, const cv::Point& coarse, const Place& place)
{
    const std::vector<cv::Mat>&left = images.left, &right = images.right;
    std::optional<cv::Point2d> shift = place.shift;
    cv::Point corner = coarse;
    for (std::size_t above = left.size() - 1; shift && above > 0; --above) {
        const cv::Mat& smaller = left[above];
        const std::size_t level = above - 1;
        const cv::Point2d target = enlarge(cv::Point2d(corner) + *shift, smaller, left[level]);
        corner = enlarge(corner, smaller, left[level]);
        shift = refine(left[level], right[level], corner, target - cv::Point2d(corner));
    }
    return shift ? std::optional(FeatureMatch{corner, cv::Point2d(corner) + *shift}) : std::nullopt;
}

constexpr int usualWidth = 266; // px, so that the smallest images are between 133 and 266 px wide

FeatureMatches matchCorners(const Pyramids& images, int most)
{
    constexpr double quality = 0.01;
    constexpr double distance = 4; // px
    std::vector<cv::Point2f> corners;
    cv::goodFeaturesToTrack(images.left.back(), corners, most, quality, distance);
    FeatureMatches result;
    result.features = corners.size();
    for (const cv::Point2f& corner : corners) {
        const auto place = searchEverywhere(images, corner);
        if (!place) {
            continue;
        }
        if (!isUnique(*place)) {
            ++result.ambiguous;
        } else if (const auto match = place->isAtEdge ? std::nullopt : refine(images, corner, *place)) {
            result.matches.push_back(*match);
        }
    }
    return result;
}

double shareMatched(const FeatureMatches& found)
{
    return static_cast<double>(found.matches.size()) /
           static_cast<double>(std::max<std::size_t>(found.features, 1));
}

} // namespace

FeatureMatches matchFeatures(const cv::Mat& left, const cv::Mat& right, int most)
{
    constexpr double hardlyAny = 0.06;
    constexpr double mostOfThem = 0.5;
    constexpr int fewCorners = 60; // as each takes sixteen times as long
    constexpr int fineWidth = 4 * usualWidth;
    FeatureMatches usual = matchCorners({left, right, usualWidth}, most);
    if (left.cols <= usualWidth || shareMatched(usual) > hardlyAny) {
        return usual;
    }
    // Grain and fine dots average out in small images, so that they look like images of different scenes.
    FeatureMatches fine = matchCorners({left, right, fineWidth}, std::min(most, fewCorners));
    return shareMatched(fine) > mostOfThem ? fine : usual;
}

std::optional<FeatureMatch> matchPoint(const cv::Mat& left, const cv::Mat& right, const cv::Point2d& point)
{
    const Pyramids images(left, right, usualWidth);
    const cv::Point coarse = enlarge(point, left, images.left.back());
    const auto place = searchEverywhere(images, coarse);
    return place && isUnique(*place) && !place->isAtEdge ? refine(images, coarse, *place) : std::nullopt;
}

} // namespace vision::toolkit
