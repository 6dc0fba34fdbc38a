// SPDX-License-Identifier: Apache-2.0
/// What the implementations for the several processors have in common: the images as they take them, their
/// memory and what they give back.
#ifndef VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_STRIPE_H
#define VISION_TOOLKIT_MATCHING_SEMI_GLOBAL_STRIPE_H

#include "matching/semi_global/settings.h"

#include <cstddef>
#include <cstdint>

namespace vision::toolkit::semi_global {

/// The disparities are searched in steps of so many, the widest vectors of any implementation.
constexpr int searchStep = 32;

constexpr int steepest = 47;                   ///< horizontal slope that is told from steeper ones
constexpr unsigned censusOfInvalid = 0xAAAAAA; ///< as far from any other as a chance match

/// Rows of bytes.
struct Plane
{
    std::uint8_t* first = nullptr;
    std::ptrdiff_t stride = 0;

    std::uint8_t* row(int y) const { return first + y * stride; }
};

/// The best match of each pixel of a row before it is judged.
struct Choices
{
    std::uint16_t* step;         ///< disparity - minDisparity
    std::uint8_t* before;        ///< total one step before
    std::uint8_t* least;         ///< total at the match
    std::uint8_t* after;         ///< total one step after
    std::uint8_t* second;        ///< least total farther than one step away
    std::uint8_t* contradiction; ///< how much the right image's pixel would rather have another match
};

/// Fixed point disparities.
constexpr int unitsPerPixel = 16;
constexpr std::int16_t noMatch = 32767;

/// A pair to be matched.
struct Pair
{
    int width = 0;
    int height = 0;
    Settings settings;
    int steps = 0;                ///< disparities in whole vectors
    int largestContradiction = 0; ///< of the matches that are written

    int leftThreshold = 0; ///< by how many grey levels a pixel must be brighter to count as brighter
    int rightThreshold = 0;

    Plane left;      ///< raw
    Plane right;     ///< raw
    Plane leftValid; ///< no rows where all is valid
    Plane rightValid;

    Plane smoothLeft;  ///< with a margin of `planeMargin` at the left and more at the right
    Plane smoothRight; ///< likewise, mirrored

    std::int16_t* disparity = nullptr; ///< width x height
    std::uint8_t* evidence = nullptr;  ///< width x height, as gradeMatch()
};

/// Rows that are matched at once.
struct Rows
{
    int first;
    int behindLast;
};

/// Rows above a stripe until the path from above no longer depends on where it starts.
constexpr int warmUp = 8;

/// Matches are dropped where the image does not change so far around, px.
constexpr int flatRadius = 8;

/// Columns beside a smoothed row that repeat its ends.
constexpr int planeMargin = 32;

/// The memory that one stripe needs.
struct Workspace
{
    std::uint8_t* rawRows[3];
    std::uint8_t* leftFeatures[4];
    std::uint8_t* rightFeatures[4]; ///< where mirrored column 0 is
    std::uint8_t* jumpFromLeft;
    std::uint8_t* jumpFromAbove;
    std::uint8_t* raw[2];
    std::uint8_t* once[2];
    std::uint8_t* cost;
    std::uint8_t* sum;
    std::uint8_t* above;
    std::uint8_t* aboveLeast;
    std::uint8_t* side;
    std::uint8_t* scratch;
    std::uint8_t* diagonal;
    std::uint8_t* rightLeast;
    std::uint8_t* stillRows; ///< with margins
    Choices choices;
};

} // namespace vision::toolkit::semi_global

#endif
