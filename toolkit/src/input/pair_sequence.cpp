// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/input/pair_sequence.h>

#include "input/file_names.h"
#include "input/turned_pairs.h"
#include "input/video.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/images.h>

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
RawPair splitSides(const cv::Mat& image, const std::string& name)
{
    if (image.cols % 2 != 0 || image.cols < 2) {
        throw Failure(
            name + ": is " + std::to_string(image.cols) +
            " px wide, which gives no two halves of the same width; is it an image of both cameras?");
    }
    RawPair pair{image.colRange(0, image.cols / 2).clone(),
                 image.colRange(image.cols / 2, image.cols).clone()};
    requireUsable(pair, {name, name});
    return pair;
}

class FilePairs : public PairSequence
{
public:
    explicit FilePairs(std::vector<PairNames> pairs) : _pairs(std::move(pairs)) {}

    std::size_t size() const override { return _pairs.size(); }
    std::string name(std::size_t pair) const override { return stem(_pairs[pair].left); }
    PairNames images(std::size_t pair) const override { return _pairs[pair]; }
    Read take(std::size_t pair) override
    {
        return [files = _pairs[pair]] { return readRawPair(files); };
    }

private:
    std::vector<PairNames> _pairs;
};

class SideBySideFiles : public PairSequence
{
public:
    explicit SideBySideFiles(std::vector<std::string> files) : _files(std::move(files)) {}

    std::size_t size() const override { return _files.size(); }
    std::string name(std::size_t pair) const override { return stem(_files[pair]); }
    PairNames images(std::size_t pair) const override { return {_files[pair], _files[pair]}; }
    Read take(std::size_t pair) override
    {
        return [file = _files[pair]] { return splitSides(readImage(file), file); };
    }

private:
    std::vector<std::string> _files;
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
    explicit VideoPairs(const std::string& left) : _left(left) {}
    virtual RawPair _decode(std::size_t pair) = 0;

    Video _left;
};

class TwoVideos : public VideoPairs
{
public:
    TwoVideos(const std::string& left, const std::string& right) : VideoPairs(left), _right(right)
    {
        if (_left.size() != _right.size()) {
            throw Failure(left + " has " + std::to_string(_left.size()) + " frames and " + right + " " +
                          std::to_string(_right.size()) +
                          ": cut both to the frames taken at the same moments");
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
    explicit SideBySideVideo(const std::string& file) : VideoPairs(file) {}
    PairNames images(std::size_t pair) const override
    {
        const std::string frame = nameFrame(_left.file(), pair);
        return {frame, frame};
    }

private:
    RawPair _decode(std::size_t pair) override { return splitSides(_left.read(pair), images(pair).left); }
};

bool holdsVideo(const std::vector<std::string>& names)
{
    return std::any_of(names.begin(), names.end(), isVideo);
}

void requireOne(const char* option, const std::vector<std::string>& names)
{
    if (names.size() != 1 || !isVideo(names.front())) {
        throw Failure(std::string(option) +
                      ": give one video for each camera, or images only; run once per video");
    }
}

} // namespace

std::unique_ptr<PairSequence> openPairs(const PairInput& input)
{
    if (input.rotateLeft != 0 || input.rotateRight != 0) {
        PairInput stored = input;
        stored.rotateLeft = stored.rotateRight = 0;
        return turn(openPairs(stored), input.rotateLeft, input.rotateRight);
    }
    const auto left = expandNames("--left", input.left);
    const auto right = expandNames("--right", input.right);
    if (left.empty()) {
        throw Failure("--left: name the images, a folder, a pattern in quotes or a video of the left camera");
    }
    if (input.isSideBySide && !right.empty()) {
        throw Failure("--side-by-side: --left names images of both cameras, so leave out --right");
    }
    if (holdsVideo(left) || holdsVideo(right)) {
        requireOne("--left", left);
        if (input.isSideBySide) {
            return std::make_unique<SideBySideVideo>(left.front());
        }
        requireOne("--right", right);
        return std::make_unique<TwoVideos>(left.front(), right.front());
    }
    if (input.isSideBySide) {
        return std::make_unique<SideBySideFiles>(left);
    }
    return std::make_unique<FilePairs>(pairUp(left, right));
}

} // namespace vision::toolkit
