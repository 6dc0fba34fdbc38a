#ifndef VISION_TOOLKIT_INPUT_IMAGE_PAIR_H
#define VISION_TOOLKIT_INPUT_IMAGE_PAIR_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/note.h>

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace vision::toolkit {

/// The names of the two images that were taken at the same moment.
struct PairFiles
{
    std::string left;
    std::string right;
};

/// One image with 8 bits per channel: as it is matched and as it is shown.
struct InputImage
{
    cv::Mat grey;
    cv::Mat view; ///< grey, or BGR for a colour image
};

struct ImagePair
{
    InputImage left;
    InputImage right;
    Notes notes; ///< what was converted
};

/// Puts the images of both cameras together in the given order.
/// @throws Failure when the numbers differ
VISION_TOOLKIT_EXPORT std::vector<PairFiles> pairUp(const std::vector<std::string>& left,
                                                    const std::vector<std::string>& right);

/// Reads a pair and converts it to 8 bits, noting what was converted.
///
/// Of images with 16 bits, the full range of the sensor is scaled to 0 .. 255. That range is taken to be the
/// smallest of 8, 10, 12, 14 and 16 bits that holds the brightest pixel of the pair. An alpha channel is
/// dropped.
/// @throws Failure naming the file when one cannot be read or used, or the sizes differ
VISION_TOOLKIT_EXPORT ImagePair readImagePair(const PairFiles& files);

} // namespace vision::toolkit

#endif
