// SPDX-License-Identifier: Apache-2.0
/// The frames of a video, in any order but fast in theirs.
#ifndef VISION_TOOLKIT_SRC_INPUT_VIDEO_H
#define VISION_TOOLKIT_SRC_INPUT_VIDEO_H

#include <opencv2/core/mat.hpp>
#include <opencv2/videoio.hpp>

#include <cstddef>
#include <string>

namespace vision::toolkit {

/// Seeking by number is exact in some formats only, and so is the number of frames that a file states: frames
/// are counted and reached by going through them.
class Video
{
public:
    /// @throws Failure when the file cannot be opened or holds no frame
    explicit Video(std::string file);

    const std::string& file() const { return _file; }
    std::size_t size() const { return _size; }

    /// @throws Failure when the frame cannot be decoded
    cv::Mat read(std::size_t frame);

private:
    void open();

    std::string _file;
    cv::VideoCapture _capture;
    std::size_t _size = 0;
    std::size_t _next = 0;
};

} // namespace vision::toolkit

#endif
