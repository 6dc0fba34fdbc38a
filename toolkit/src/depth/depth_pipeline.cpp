// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/depth/depth_pipeline.h>

#include "depth/pair_verdict.h"
#include "depth/range_choice.h"
#include "depth/scaled_settings.h"
#include "depth/steps.h"
#include "depth/summary.h"

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

double findBrightest(const cv::Mat& image)
{
    double brightest = 0;
    if (!image.empty()) {
        cv::minMaxIdx(image.reshape(1), nullptr, &brightest);
    }
    return brightest;
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

Severity DepthResult::severity() const
{
    Severity worst = Severity::Info;
    for (const Note& note : notes) {
        worst = std::max(worst, note.severity);
    }
    return worst;
}

DepthPipeline::DepthPipeline(const Rig& rig, const DepthSettings& settings)
    : _rig(rig), _settings(settings), _stereo(std::make_unique<vision::Stereo>()), _matcher(settings.threads)
{
    requireValid(settings.range, settings.maxDepth, rig);
    if (settings.plain) {
        configurePlain(*_stereo, rig, settings);
    } else {
        (void)withDefaults(settings.matcher, rig.size.width); // checks them
        configureTransforms(*_stereo, rig);
    }
}

bool DepthPipeline::needsDisparityRange() const
{
    return !_settings.plain && !isComplete(_settings.range);
}

void DepthPipeline::setDisparityRange(const std::optional<DisparityRange>& range)
{
    _range = range;
    _isRangeSet = range.has_value();
}

RawPair DepthPipeline::rectify(const RawPair& pair) const
{
    if (_rig.isRectified) {
        return pair;
    }
    requireFittingSize(pair.left.size(), _rig.size);
    return {_stereo->rectifyImageLeft(pair.left), _stereo->rectifyImageRight(pair.right), pair.bits};
}

ImagePair DepthPipeline::rectifyPair(const ImagePair& pair) const
{
    return _rig.isRectified ? pair : toolkit::rectify(*_stereo, pair);
}

RectifiedPair DepthPipeline::makePair(const ImagePair& rectified) const
{
    const cv::Size size = rectified.left.grey.size();
    if (!_rig.isRectified && _validAreas.size != size) {
        const cv::Mat white(size, CV_8UC1, cv::Scalar::all(255));
        const auto [left, right] = _stereo->rectifyImages(white, white);
        _validAreas = {size, findValid(left), findValid(right)};
    }
    return {rectified.left.grey, rectified.right.grey, _validAreas.left, _validAreas.right};
}

std::optional<DisparityRange> DepthPipeline::findDisparityRange(const RawPair& pair)
{
    const ImagePair rectified = rectifyPair(toEightBits(pair));
    return _matcher.findDisparityRange(makePair(rectified),
                                       findLowestPossible(_rig, rectified.left.grey.cols));
}

void DepthPipeline::lookForRange(const RectifiedPair& pair, bool widens)
{
    if (!needsDisparityRange() || _isRangeSet || (_range && !widens)) {
        return;
    }
    const auto found = _matcher.findDisparityRange(pair, findLowestPossible(_rig, pair.left.cols));
    if (found) {
        _range = _range ? join({*_range, *found}) : found;
    }
}

SearchRange DepthPipeline::chooseSearch(int width, Notes& notes) const
{
    if (needsDisparityRange() && !_range) {
        notes.push_back(
            {"range-not-found",
             "the images do not tell how near and how far things are, as too little of them matches: "
             "give the nearest and the farthest depth, and check that the images are a pair"});
    }
    return chooseRange(_settings.range, _range.value_or(guessRange(_rig, width)), _rig, width);
}

void DepthPipeline::addPoints(DepthResult& depth)
{
    if (!depth.scale) {
        return;
    }
    depth.maxDepth = findMaxDepth(_settings, depth.range, *depth.scale);
    _stereo->setMaxDepth(
        static_cast<float>(std::min(depth.maxDepth, double{std::numeric_limits<float>::max()})));
    cv::Mat disparity = depth.disparity.clone();
    disparity.setTo(std::numeric_limits<float>::lowest(),
                    depth.disparity == std::numeric_limits<double>::infinity());
    depth.points = _stereo->computeDepth(disparity);
}

DepthResult DepthPipeline::match(const ImagePair& rectified, bool isJudged)
{
    if (_rig.calibrations) {
        requireFittingSize(rectified.left.grey.size(), _rig.size);
    }
    const RectifiedPair pair = makePair(rectified);
    DepthResult depth = makeResult(rectified);
    lookForRange(pair, isJudged);
    depth.range = chooseSearch(pair.left.cols, depth.notes);
    const double factor = static_cast<double>(pair.left.cols) / _rig.size.width;
    Matches matches;
    _matcher.match(pair, depth.range, scaleTo(_settings.matcher, factor), matches);
    depth.disparity = matches.disparity;
    depth.unsearched = matches.unsearched;
    depth.confidence = matches.confidence;
    depth.levels = matches.levels;
    depth.scale = findDepthScale(_rig, pair.left.cols);
    addPoints(depth);
    return depth;
}

DepthResult DepthPipeline::compute(const cv::Mat& left, const cv::Mat& right)
{
    if (_bits == 0 && (left.depth() == CV_16U || right.depth() == CV_16U)) {
        _bits = findBitDepth(std::max(findBrightest(left), findBrightest(right)));
    }
    return compute({left, right, _bits});
}

DepthResult DepthPipeline::compute(const RawPair& pair)
{
    const bool isJudged = _settings.judgeEvery != 0 && _pairs++ % _settings.judgeEvery == 0;
    requireUsable(pair, {"the left image", "the right image"});
    const ImagePair rectified = rectifyPair(toEightBits(pair));
    DepthResult depth =
        _settings.plain ? computePlainDepth(*_stereo, rectified, _rig) : match(rectified, isJudged);
    depth.summary = summarise(depth.disparity, depth.points);
    if (isJudged) {
        const auto exchange = [&] { return rectifyPair(toEightBits({pair.right, pair.left, pair.bits})); };
        judgePair(pair, _rig.isRectified, _settings.range, exchange, depth);
    }
    return depth;
}

} // namespace vision::toolkit
