// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/input/pair_sequence.h>

#include "input/bit_depth.h"
#include "input/file_names.h"
#include "input/number_mismatch.h"
#include "input/turned_pairs.h"
#include "input/video.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/images.h>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace vision::toolkit {

namespace {

std::string stem(const std::string& file)
{
    return std::filesystem::path(file).stem().string();
}

/// The left half is the left camera's.
RawPair splitSides(const cv::Mat& image, const std::string& name, int bits)
{
    if (image.cols % 2 != 0 || image.cols < 2) {
        throw Failure(
            "no-halves",
            name,
            "is " + std::to_string(image.cols) +
                " px wide, which gives no two halves of the same width; is it an image of both cameras?");
    }
    RawPair pair{
        image.colRange(0, image.cols / 2).clone(), image.colRange(image.cols / 2, image.cols).clone(), bits};
    requireUsable(pair, {name, name});
    return pair;
}

/// Pairs of image files; what one and two files for each have in common.
class FilePairs : public PairSequence
{
public:
    FilePairs(std::vector<PairNames> pairs, const PairInput& input)
        : _pairs(std::move(pairs)), _limits(input.limits),
          _bits(input.bits != 0 ? input.bits : findBitDepth(_pairs, _limits))
    {
    }

    std::size_t size() const override { return _pairs.size(); }
    std::string name(std::size_t pair) const override { return stem(_pairs[pair].left); }
    PairNames images(std::size_t pair) const override { return _pairs[pair]; }
    Notes notes() const override { return findNumberMismatch(_pairs); }
    void limitSize(const cv::Size& size) override { _limits.size = size; }
    Read take(std::size_t pair) override
    {
        return [files = _pairs[pair], limits = _limits, bits = _bits] {
            RawPair images = readRawPair(files, limits);
            images.bits = bits;
            return images;
        };
    }

protected:
    std::vector<PairNames> _pairs;
    ImageLimits _limits;
    int _bits;
};

class SideBySideFiles : public FilePairs
{
public:
    using FilePairs::FilePairs;
    void limitSize(const cv::Size& size) override { _limits.size = {2 * size.width, size.height}; }
    Read take(std::size_t pair) override
    {
        return [file = _pairs[pair].left, limits = _limits, bits = _bits] {
            return splitSides(readImage(file, limits), file, bits);
        };
    }
};

std::string nameFrame(const std::string& video, std::size_t frame)
{
    return video + " frame " + std::to_string(frame);
}

/// Frames of videos; what one and two of them have in common.
class VideoPairs : public PairSequence
{
public:
    std::size_t size() const override { return _left.size(); }
    std::string name(std::size_t pair) const override
    {
        constexpr std::size_t digits = 6;
        const std::string number = std::to_string(pair);
        const std::string zeros(digits - std::min(digits, number.size()), '0');
        return stem(_left.file()) + "-" + zeros + number;
    }
    Read take(std::size_t pair) override
    {
        try {
            return [frames = _decode(pair)] { return frames; };
        } catch (const Failure& failure) { // belongs to this pair, so it is told where the pair is read
            return [failure]() -> RawPair { throw failure; };
        }
    }

protected:
    VideoPairs(const std::string& left, const ImageLimits& limits) : _left(left, limits) {}
    virtual RawPair _decode(std::size_t pair) = 0;

    Video _left;
};

class TwoVideos : public VideoPairs
{
public:
    TwoVideos(const std::string& left, const std::string& right, const ImageLimits& limits)
        : VideoPairs(left, limits), _right(right, limits)
    {
        if (_left.size() != _right.size()) {
            throw Failure(
                "numbers-of-frames-differ",
                left + " and " + right,
                fmt::format("have {} and {} frames: cut both to the frames taken at the same moments",
                            _left.size(),
                            _right.size()));
        }
    }
    PairNames images(std::size_t pair) const override
    {
        return {nameFrame(_left.file(), pair), nameFrame(_right.file(), pair)};
    }

private:
    RawPair _decode(std::size_t pair) override
    {
        RawPair frames{_left.read(pair), _right.read(pair)};
        requireUsable(frames, images(pair));
        return frames;
    }

    Video _right;
};

class SideBySideVideo : public VideoPairs
{
public:
    SideBySideVideo(const std::string& file, const ImageLimits& limits) : VideoPairs(file, limits) {}
    PairNames images(std::size_t pair) const override
    {
        const std::string frame = nameFrame(_left.file(), pair);
        return {frame, frame};
    }

private:
    RawPair _decode(std::size_t pair) override { return splitSides(_left.read(pair), images(pair).left, 0); }
};

bool holdsVideo(const std::vector<std::string>& names)
{
    return std::any_of(names.begin(), names.end(), isVideo);
}

void requireOne(const std::vector<std::string>& names)
{
    if (names.size() != 1 || !isVideo(names.front())) {
        throw Failure(
            "videos-mixed", "", "give one video for each camera, or images only; run once per video");
    }
}

std::vector<PairNames> useTwice(const std::vector<std::string>& files)
{
    std::vector<PairNames> pairs;
    pairs.reserve(files.size());
    for (const std::string& file : files) {
        pairs.push_back({file, file});
    }
    return pairs;
}

std::unique_ptr<PairSequence> openVideos(const std::vector<std::string>& left,
                                         const std::vector<std::string>& right, const PairInput& input)
{
    requireOne(left);
    if (input.isSideBySide) {
        return std::make_unique<SideBySideVideo>(left.front(), input.limits);
    }
    requireOne(right);
    return std::make_unique<TwoVideos>(left.front(), right.front(), input.limits);
}

} // namespace

std::unique_ptr<PairSequence> openPairs(const PairInput& input)
{
    if (input.rotateLeft != 0 || input.rotateRight != 0) {
        PairInput stored = input;
        stored.rotateLeft = stored.rotateRight = 0;
        return turn(openPairs(stored), input.rotateLeft, input.rotateRight);
    }
    const auto left = expandNames(input.left);
    const auto right = expandNames(input.right);
    if (left.empty()) {
        throw Failure("no-left-images",
                      "",
                      "name the images, a folder, a pattern in quotes or a video of the left camera");
    }
    if (input.isSideBySide && !right.empty()) {
        throw Failure("right-images-given",
                      "",
                      "images that hold both cameras side by side need no images of the right camera");
    }
    if (holdsVideo(left) || holdsVideo(right)) {
        return openVideos(left, right, input);
    }
    if (input.isSideBySide) {
        return std::make_unique<SideBySideFiles>(useTwice(left), input);
    }
    return std::make_unique<FilePairs>(pairUp(left, right), input);
}

} // namespace vision::toolkit
