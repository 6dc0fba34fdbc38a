// SPDX-License-Identifier: Apache-2.0
#include "input/video.h"

#include "input/frame_times.h"
#include "input/image_limits.h"
#include "input/video_container.h"

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <filesystem>
#include <utility>

namespace vision::toolkit {

Video::Video(std::string file, const ImageLimits& limits) : _file(std::move(file))
{
    const bool countsFrames = requireContainer(_file);
    open();
    const cv::Size size(static_cast<int>(_capture.get(cv::CAP_PROP_FRAME_WIDTH)),
                        static_cast<int>(_capture.get(cv::CAP_PROP_FRAME_HEIGHT)));
    requireWithin({limits.megapixels, {}}, size, size.area(), _file);
    const StatedLength stated{
        countsFrames, _capture.get(cv::CAP_PROP_FRAME_COUNT), _capture.get(cv::CAP_PROP_FPS)};
    const std::vector<double> times = readTimes();
    if (times.empty()) {
        throw Failure("video-empty",
                      _file,
                      "holds no frame that can be decoded; convert the video, for example to H.264 in MP4");
    }
    _frames = numberFrames(times);
    if (isShort(times, _frames.size(), stated)) {
        throw Failure(
            "frames-missing",
            _file,
            fmt::format("only {} of {:.0f} frames can be decoded: the video is cut off or damaged. Copy "
                        "it again, or convert what is left of it",
                        times.size(),
                        stated.frames));
    }
    open();
}

cv::Mat Video::read(std::size_t frame)
{
    const std::size_t wanted = _frames.at(frame);
    if (wanted == noFrame) {
        throw Failure(
            "frame-missing", fmt::format("{} frame {}", _file, frame), "is missing; is the file damaged?");
    }
    if (wanted < _next) {
        open();
    }
    cv::Mat image;
    bool isGrabbed = true;
    for (; isGrabbed && _next <= wanted; ++_next) {
        isGrabbed = _capture.grab();
    }
    if (!isGrabbed || !_capture.retrieve(image) || image.empty()) {
        throw Failure("frame-damaged",
                      fmt::format("{} frame {}", _file, frame),
                      "cannot be decoded; is the file damaged?");
    }
    return image.clone(); // the capture writes the next frame into the same buffer
}

/// A name with a colon would be taken for a protocol; an absolute one is that of a file.
void Video::open()
{
    _next = 0;
    _capture.open(std::filesystem::absolute(_file).string(), cv::CAP_FFMPEG);
    if (!_capture.isOpened()) {
        throw Failure("video-damaged",
                      _file,
                      "cannot open the video: it is damaged, cut off or of an unknown kind; copy it again or "
                      "convert it, for example to H.264 in MP4");
    }
}

std::vector<double> Video::readTimes()
{
    std::vector<double> times;
    while (_capture.grab()) {
        times.push_back(_capture.get(cv::CAP_PROP_POS_MSEC));
    }
    return times;
}

} // namespace vision::toolkit
