// SPDX-License-Identifier: Apache-2.0
/// How far a match can be trusted, from what the matcher knows of it.
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_CONFIDENCE_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_CONFIDENCE_H

#include <array>
#include <cstdint>

namespace vision::toolkit::semi_global {

/// Sorts matches into classes of about the same quality.
/// @param total of the match, 0 to 255: how far the images differ there and how bent the surface is
/// @param margin to the next best match, 0 to 255
std::uint8_t gradeMatch(int total, int margin);

/// The share of right matches in each class.
const std::array<float, 256>& shareOfRightMatches();

} // namespace vision::toolkit::semi_global

#endif
