// SPDX-License-Identifier: Apache-2.0
/// @file
/// The two images that were taken at the same moment.
/// Smaller images.
#ifndef VISION_TOOLKIT_INPUT_IMAGES_H
#define VISION_TOOLKIT_INPUT_IMAGES_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace vision::toolkit {

/// The names of the two images, for files and for messages.
struct PairNames
{
    std::string left;
    std::string right;
};

/// What an image may be at most. Its file states a size, and a few bytes can state a huge one: it is compared
/// before anything is decoded.
struct ImageLimits
{
    int megapixels = 64; ///< millions of pixels, 1 to 1000
    cv::Size size;       ///< the largest width and height that are of use; empty for any
};

/// A pair as it was stored: 8 or 16 bits per channel; grey, colour (BGR) or colour with alpha.
struct RawPair
{
    cv::Mat left;
    cv::Mat right;
    int bits = 0; ///< that the sensor used of 16, 9 to 16; 0 when the pair alone has to tell
};

/// One image with 8 bits per channel: as it is matched and as it is shown.
struct InputImage
{
    cv::Mat grey; ///< `CV_8UC1`
    cv::Mat view; ///< grey, or `CV_8UC3` (BGR) for a colour image
};

/// A pair that can be matched.
struct ImagePair
{
    InputImage left;
    InputImage right;
    Notes notes; ///< what was converted, and what is odd about the pair
};

/// Puts the images of both cameras together in the given order.
/// @throws Failure when the numbers differ
VISION_TOOLKIT_EXPORT std::vector<PairNames> pairUp(const std::vector<std::string>& left,
                                                    const std::vector<std::string>& right);

/// Reads a pair of image files.
/// @throws Failure naming the file when one cannot be read or used, both are the same file, or the sizes
/// differ
VISION_TOOLKIT_EXPORT RawPair readRawPair(const PairNames& files, const ImageLimits& limits = {});

/// Tests whether two images can be used as a pair.
/// @throws Failure naming the image whose bits, channels or size cannot be used, or both when their sizes
/// differ
VISION_TOOLKIT_EXPORT void requireUsable(const RawPair& pair, const PairNames& names);

/// How many bits the sensor used: the fewest of 8, 10, 12, 14 and 16 that hold a brightest pixel. A dark
/// picture seems to have fewer than it has.
VISION_TOOLKIT_EXPORT int findBitDepth(double brightest);

/// Converts a pair to 8 bits, noting what was converted.
///
/// Of images with 16 bits, the full range of the sensor is scaled to 0 .. 255: that of RawPair::bits, or what
/// findBitDepth() says of the pair. All pairs of a sequence need the same bits, or their brightness jumps.
/// Pixels beyond the range become white, which is noted. An alpha channel is dropped. When one image is many
/// times as bright as the other, that is noted: their bit ranges seem to differ.
VISION_TOOLKIT_EXPORT ImagePair toEightBits(const RawPair& pair);

/// Reads a pair and converts it to 8 bits.
/// @throws Failure as readRawPair()
VISION_TOOLKIT_EXPORT ImagePair readImagePair(const PairNames& files, const ImageLimits& limits = {});

/// Reads an image with the depth and channels that its file has. A tag that asks viewers to turn the image
/// is ignored: a calibration holds for the pixels as the camera gave them.
/// @throws Failure naming the file when it is missing, no file, empty, beyond the limits, cut off, damaged or
/// not a readable image
VISION_TOOLKIT_EXPORT cv::Mat readImage(const std::string& file, const ImageLimits& limits = {});

/// Scales both images, averaging when they shrink.
/// @throws Failure when the factor does not give whole pixels
VISION_TOOLKIT_EXPORT RawPair resize(const RawPair& pair, double factor);

} // namespace vision::toolkit

#endif
