// SPDX-License-Identifier: Apache-2.0
#include "stereo_processor.h"

#ifdef HAS_STEREO_PROCESSOR
#include <sensor_msgs/image_encodings.h>
#include <stereo_image_proc/processor.h>

#include <boost/make_shared.hpp>

#include <stdexcept>

namespace bench {

namespace {

using Processor = stereo_image_proc::StereoProcessor;

sensor_msgs::ImageConstPtr toMessage(const cv::Mat& image)
{
    const auto message = boost::make_shared<sensor_msgs::Image>();
    message->width = static_cast<std::uint32_t>(image.cols);
    message->height = static_cast<std::uint32_t>(image.rows);
    message->step = message->width;
    message->encoding = sensor_msgs::image_encodings::MONO8;
    message->data.assign(image.datastart, image.dataend);
    return message;
}

sensor_msgs::CameraInfo toMessage(const vision::Calibration& calibration)
{
    sensor_msgs::CameraInfo message;
    message.width = static_cast<std::uint32_t>(calibration.width);
    message.height = static_cast<std::uint32_t>(calibration.height);
    message.distortion_model = "plumb_bob";
    message.D.assign(calibration.distortion.begin<float>(), calibration.distortion.end<float>());
    const cv::Mat_<double> k(calibration.cameraMatrix), r(calibration.rectificationMatrix),
        p(calibration.projectionMatrix);
    std::copy(k.begin(), k.end(), message.K.begin());
    std::copy(r.begin(), r.end(), message.R.begin());
    std::copy(p.begin(), p.end(), message.P.begin());
    return message;
}

/// Works on the images of the frame with its calibrations and matcher parameters.
struct State
{
    explicit State(const Frame& frame) : left(toMessage(frame.raw.first)), right(toMessage(frame.raw.second))
    {
        model.fromCameraInfo(toMessage(frame.calibrations.left), toMessage(frame.calibrations.right));
        const vision::Stereo& stereo = frame.stereo;
        processor.setStereoType(stereo.getStereoAlgorithm() == vision::Stereo::BM ? Processor::BM
                                                                                  : Processor::SGBM);
        processor.setPreFilterSize(stereo.getPreFilterSize());
        processor.setPreFilterCap(stereo.getPreFilterCap());
        processor.setCorrelationWindowSize(stereo.getWindowSize());
        processor.setMinDisparity(stereo.getMinDisparity() - 1); // what ours gives the matcher
        processor.setDisparityRange(stereo.getDisparityNumber());
        processor.setTextureThreshold(stereo.getTextureThreshold());
        processor.setUniquenessRatio(static_cast<float>(stereo.getUniquenessRatio()));
        processor.setSpeckleSize(stereo.getSpeckleWindowSize());
        processor.setSpeckleRange(stereo.getSpeckleRange());
        processor.setSgbmMode(cv::StereoSGBM::MODE_SGBM);
        processor.setP1(0);
        processor.setP2(0);
        processor.setDisp12MaxDiff(0);
    }

    void process(int flags)
    {
        if (!processor.process(left, right, model, output, flags)) {
            throw std::runtime_error("StereoProcessor refuses the frame");
        }
    }

    void project()
    {
        auto& image = output.disparity.image;
        const cv::Mat disparity(static_cast<int>(image.height),
                                static_cast<int>(image.width),
                                CV_32FC1,
                                image.data.data(),
                                image.step);
        cv::Mat points;
        model.projectDisparityImageTo3d(disparity, points, true);
    }

    Processor processor;
    image_geometry::StereoCameraModel model;
    sensor_msgs::ImageConstPtr left;
    sensor_msgs::ImageConstPtr right;
    stereo_image_proc::StereoImageSet output;
};

} // namespace

Stages stereoProcessorStages(const Frame& frame)
{
    const auto state = std::make_shared<State>(frame);
    state->process(Processor::DISPARITY); // what the stages take
    const auto matching = [state] {
        const auto& output = state->output;
        state->processor.processDisparity(
            output.left.rect, output.right.rect, state->model, state->output.disparity);
    };
    return {
        {"rectify", [state] { state->process(Processor::LEFT_RECT | Processor::RIGHT_RECT); }},
        {"disparity", matching},
        {"depth", [state] { state->project(); }},
        {"frame",
         [state] {
             state->process(Processor::DISPARITY);
             state->project();
         }},
    };
}

} // namespace bench

#else

bench::Stages bench::stereoProcessorStages(const Frame&)
{
    return {};
}

#endif
