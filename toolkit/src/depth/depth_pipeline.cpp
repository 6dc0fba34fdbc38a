// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/depth/depth_pipeline.h>

#include "depth/range_choice.h"
#include "depth/scaled_settings.h"
#include "depth/steps.h"

#include <vision/toolkit/matching/matcher.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>

namespace vision::toolkit {

namespace {

/// Where no calibration tells the disparity at infinity, a pair may have been cropped to negative ones.
constexpr double lowestShareOfWidth = -0.1;

double findLowestPossible(const Rig& rig, int width)
{
    const auto scale = findDepthScale(rig, width);
    return scale ? scale->atInfinity : lowestShareOfWidth * width;
}

/// What is searched when the images do not tell.
DisparityRange guessRange(const Rig& rig, int width)
{
    constexpr double shareOfWidth = 0.25;
    const double lowest = std::max(findLowestPossible(rig, width), 0.0);
    return {lowest, lowest + shareOfWidth * width, width};
}

/// @return empty when the whole image is valid
cv::Mat findValid(const cv::Mat& rectifiedWhite)
{
    const cv::Mat valid = rectifiedWhite == 255;
    return cv::countNonZero(valid) == static_cast<int>(valid.total()) ? cv::Mat() : valid;
}

double findMaxDepth(const DepthSettings& settings, const SearchRange& range, const DepthScale& scale)
{
    if (settings.maxDepth || settings.range.farthest) {
        return settings.maxDepth ? *settings.maxDepth : *settings.range.farthest;
    }
    const int below = range.minDisparity - 1; // so that the smallest disparity itself has a point
    return below > scale.atInfinity ? scale.depthAt(below) : std::numeric_limits<double>::infinity();
}

} // namespace

DepthPipeline::DepthPipeline(const Rig& rig, const DepthSettings& settings) : _rig(rig), _settings(settings)
{
    requireValid(settings.range, settings.maxDepth, rig);
    if (settings.plain) {
        configurePlain(_stereo, rig, settings);
    } else {
        (void)withDefaults(settings.matcher, rig.size.width); // checks them
        configureTransforms(_stereo, rig);
    }
}

bool DepthPipeline::needsDisparityRange() const
{
    return !_settings.plain && !isComplete(_settings.range);
}

RawPair DepthPipeline::rectify(const RawPair& pair) const
{
    if (_rig.isRectified) {
        return pair;
    }
    requireFittingSize(pair.left.size(), _rig.size);
    return {_stereo.rectifyImageLeft(pair.left), _stereo.rectifyImageRight(pair.right)};
}

ImagePair DepthPipeline::rectifyPair(const ImagePair& pair) const
{
    return _rig.isRectified ? pair : toolkit::rectify(_stereo, pair);
}

RectifiedPair DepthPipeline::makePair(const ImagePair& rectified) const
{
    RectifiedPair pair{rectified.left.grey, rectified.right.grey, {}, {}};
    if (!_rig.isRectified) {
        const cv::Mat white(pair.left.size(), CV_8UC1, cv::Scalar::all(255));
        const auto [left, right] = _stereo.rectifyImages(white, white);
        pair.leftValid = findValid(left);
        pair.rightValid = findValid(right);
    }
    return pair;
}

std::optional<DisparityRange> DepthPipeline::findDisparityRange(const ImagePair& pair) const
{
    const ImagePair rectified = rectifyPair(pair);
    return toolkit::findDisparityRange(makePair(rectified),
                                       findLowestPossible(_rig, rectified.left.grey.cols));
}

SearchRange DepthPipeline::findRange(const RectifiedPair& pair, Notes& notes) const
{
    const int width = pair.left.cols;
    std::optional<DisparityRange> span = _span;
    if (!span && needsDisparityRange()) {
        span = toolkit::findDisparityRange(pair, findLowestPossible(_rig, width));
        if (!span) {
            notes.push_back(
                {"range-not-found",
                 "the images do not tell how near and how far things are, as too little of them "
                 "matches: give the nearest and the farthest depth, and check that the images are "
                 "a pair"});
        }
    }
    return chooseRange(_settings.range, span.value_or(guessRange(_rig, width)), _rig, width);
}

void DepthPipeline::addPoints(PairDepth& depth)
{
    if (!depth.scale) {
        return;
    }
    depth.maxDepth = findMaxDepth(_settings, depth.range, *depth.scale);
    _stereo.setMaxDepth(
        static_cast<float>(std::min(depth.maxDepth, double{std::numeric_limits<float>::max()})));
    cv::Mat disparity = depth.disparity.clone();
    disparity.setTo(std::numeric_limits<float>::lowest(),
                    depth.disparity == std::numeric_limits<double>::infinity());
    depth.points = _stereo.computeDepth(disparity);
}

PairDepth DepthPipeline::compute(const ImagePair& images, int threads)
{
    const ImagePair rectified = rectifyPair(images);
    if (_settings.plain) {
        PairDepth plain = computePlainDepth(_stereo, rectified, _rig.calibrations.has_value());
        plain.scale = findDepthScale(_rig, plain.disparity.cols);
        return plain;
    }
    if (_rig.calibrations) {
        requireFittingSize(rectified.left.grey.size(), _rig.size);
    }
    const RectifiedPair pair = makePair(rectified);
    PairDepth depth = makePairDepth(rectified);
    depth.scale = findDepthScale(_rig, pair.left.cols);
    depth.range = findRange(pair, depth.notes);
    const double factor = static_cast<double>(pair.left.cols) / _rig.size.width;
    const Matches matches = match(pair, depth.range, scaleTo(_settings.matcher, factor), threads);
    depth.disparity = matches.disparity;
    depth.unsearched = matches.unsearched;
    depth.levels = matches.levels;
    addPoints(depth);
    return depth;
}

} // namespace vision::toolkit
