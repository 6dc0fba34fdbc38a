// SPDX-License-Identifier: Apache-2.0
#include "input/video.h"

#include <vision/toolkit/failure.h>

#include <filesystem>
#include <utility>

namespace vision::toolkit {

Video::Video(std::string file) : _file(std::move(file))
{
    std::error_code error;
    if (!std::filesystem::exists(_file, error)) {
        throw Failure(_file + ": cannot open the video: no such file; check the name");
    }
    open();
    while (_capture.grab()) {
        ++_size;
    }
    if (_size == 0) {
        throw Failure(_file +
                      ": holds no frame that can be decoded; convert the video, for example to H.264 in MP4");
    }
    open();
}

cv::Mat Video::read(std::size_t frame)
{
    if (frame < _next) {
        open();
    }
    cv::Mat image;
    bool isGrabbed = true;
    for (; isGrabbed && _next <= frame; ++_next) {
        isGrabbed = _capture.grab();
    }
    if (!isGrabbed || !_capture.retrieve(image) || image.empty()) {
        throw Failure(_file + ": frame " + std::to_string(frame) +
                      " cannot be decoded; is the file damaged?");
    }
    return image.clone(); // the capture writes the next frame into the same buffer
}

void Video::open()
{
    _next = 0;
    _capture.open(_file, cv::CAP_FFMPEG);
    if (!_capture.isOpened()) {
        throw Failure(_file + ": cannot open the video; convert it, for example to H.264 in MP4");
    }
}

} // namespace vision::toolkit
