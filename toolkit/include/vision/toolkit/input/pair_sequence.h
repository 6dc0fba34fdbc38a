// SPDX-License-Identifier: Apache-2.0
/// @file
/// The pairs of a sequence: image files of two cameras, videos, or both cameras side by side in one image.
#ifndef VISION_TOOLKIT_INPUT_PAIR_SEQUENCE_H
#define VISION_TOOLKIT_INPUT_PAIR_SEQUENCE_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/input/images.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vision::toolkit {

/// Where the pairs of a sequence come from.
struct PairInput
{
    std::vector<std::string> left;  ///< as expandNames() takes them, or one video
    std::vector<std::string> right; ///< in the same order; empty when the images are side by side
    bool isSideBySide = false;      ///< the left half of each image is the left camera's
    ImageLimits limits = {};
    int bits = 0; ///< that the cameras used of 16, 9 to 16; 0 to find it from nine pairs, for all the same
    int rotateLeft = 0; ///< degrees clockwise by which all left images are turned: 0, 90, 180 or 270
    int rotateRight = 0;
};

/// Pairs that are read one by one.
class VISION_TOOLKIT_EXPORT PairSequence
{
public:
    /// Reads the pair that it was made for; may run in any thread.
    /// @throws Failure naming what cannot be read or used
    using Read = std::function<RawPair()>;

    PairSequence() = default;
    virtual ~PairSequence() = default;
    PairSequence(const PairSequence&) = delete;
    PairSequence& operator=(const PairSequence&) = delete;

    [[nodiscard]] virtual std::size_t size() const = 0;

    /// What results of a pair are called after: the name of its left image without folder and extension; for
    /// a video followed by a dash and the number of the frame, from 0, in six digits.
    [[nodiscard]] virtual std::string name(std::size_t pair) const = 0;

    /// What messages call both images.
    [[nodiscard]] virtual PairNames images(std::size_t pair) const = 0;

    /// What is odd about the sequence as a whole.
    [[nodiscard]] virtual Notes notes() const { return {}; }

    /// Refuses image files that are wider or higher, such as those beyond a calibration, before they are
    /// decoded.
    virtual void limitSize(const cv::Size& /*size*/) {}

    /// Begins to read a pair. A video is decoded here, so calls must not overlap and are fast when the
    /// numbers grow; a file is read when the result is called.
    [[nodiscard]] virtual Read take(std::size_t pair) = 0;
};

/// Opens a sequence.
/// @throws Failure when a name gives no image, a video cannot be opened or lacks frames, or left and right
/// differ in number
VISION_TOOLKIT_EXPORT std::unique_ptr<PairSequence> openPairs(const PairInput& input);

/// Makes a sequence of images that are in memory; they are called after their numbers, from 0.
VISION_TOOLKIT_EXPORT std::unique_ptr<PairSequence> makePairs(std::vector<RawPair> images);

} // namespace vision::toolkit

#endif
