// SPDX-License-Identifier: Apache-2.0
/// The frames of a video, in any order but fast in theirs.
#ifndef VISION_TOOLKIT_SRC_INPUT_VIDEO_H
#define VISION_TOOLKIT_SRC_INPUT_VIDEO_H

#include <vision/toolkit/input/images.h>

#include <opencv2/core/mat.hpp>
#include <opencv2/videoio.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace vision::toolkit {

/// Seeking by number is exact in some formats only: frames are counted and reached by going through them. A
/// frame is numbered by its time where frames come at regular ones, so that one that is lost leaves a gap
/// instead of shifting those behind it against the other camera's.
class Video
{
public:
    /// @throws Failure when the file cannot be opened, holds no frame, is larger than the limits allow or has
    /// fewer frames than it states without telling which ones are missing
    Video(std::string file, const ImageLimits& limits);

    const std::string& file() const { return _file; }
    std::size_t size() const { return _frames.size(); }

    /// @throws Failure when the frame is missing or cannot be decoded
    cv::Mat read(std::size_t frame);

private:
    void open();
    std::vector<double> readTimes();

    std::string _file;
    cv::VideoCapture _capture;
    std::vector<std::size_t> _frames; ///< the place of each in the file; noFrame where it is missing
    std::size_t _next = 0;
};

} // namespace vision::toolkit

#endif
