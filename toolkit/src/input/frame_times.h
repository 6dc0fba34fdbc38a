// SPDX-License-Identifier: Apache-2.0
/// Which frames of a video are missing.
#ifndef VISION_TOOLKIT_SRC_INPUT_FRAME_TIMES_H
#define VISION_TOOLKIT_SRC_INPUT_FRAME_TIMES_H

#include <cstddef>
#include <vector>

namespace vision::toolkit {

inline constexpr std::size_t noFrame = static_cast<std::size_t>(-1);

/// Places frames by their times.
/// @param times milliseconds, in the order of the frames; those of the last few may be unknown, which is 0
/// @return for each number the frame, or noFrame in a gap; every frame in its order when the times are not
/// regular
std::vector<std::size_t> numberFrames(const std::vector<double>& times);

/// What a video says of its length; anything that makes no sense is taken for nothing.
struct StatedLength
{
    /// The number of frames is exact; otherwise it comes from the time, which sound may extend.
    bool isCounted;
    double frames;
    double perSecond;
};

/// Whether frames are missing that leave no gap between others.
/// @param numbered how many numberFrames() gave
bool isShort(const std::vector<double>& times, std::size_t numbered, const StatedLength& stated);

} // namespace vision::toolkit

#endif
