#include "stereo_processor.h"

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

} // namespace

struct StereoProcessor::State
{
    Processor processor;
    image_geometry::StereoCameraModel model;
    sensor_msgs::ImageConstPtr left;
    sensor_msgs::ImageConstPtr right;
    stereo_image_proc::StereoImageSet output;

    void process(int flags)
    {
        if (!processor.process(left, right, model, output, flags)) {
            throw std::runtime_error("StereoProcessor refuses the frame");
        }
    }
};

StereoProcessor::StereoProcessor(const Frame& frame) : _state(std::make_unique<State>())
{
    _state->left = toMessage(frame.raw.first);
    _state->right = toMessage(frame.raw.second);
    _state->model.fromCameraInfo(toMessage(frame.calibrations.left), toMessage(frame.calibrations.right));

    Processor& processor = _state->processor;
    const vision::Stereo& stereo = frame.stereo;
    const bool isBlockMatcher = stereo.getStereoAlgorithm() == vision::Stereo::BM;
    processor.setStereoType(isBlockMatcher ? Processor::BM : Processor::SGBM);
    processor.setInterpolation(cv::INTER_LINEAR);
    processor.setPreFilterSize(stereo.getPreFilterSize());
    processor.setPreFilterCap(stereo.getPreFilterCap());
    processor.setCorrelationWindowSize(stereo.getWindowSize());
    processor.setMinDisparity(stereo.getMinDisparity() - 1); // as ours gives it to the matcher
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

StereoProcessor::~StereoProcessor() = default;

void StereoProcessor::rectify()
{
    _state->process(Processor::LEFT_RECT | Processor::RIGHT_RECT);
}

void StereoProcessor::computeDisparity()
{
    const auto& output = _state->output;
    _state->processor.processDisparity(output.left.rect, output.right.rect, _state->model,
                                       _state->output.disparity);
}

void StereoProcessor::computeDepth()
{
    cv::Mat points;
    _state->model.projectDisparityImageTo3d(disparity(), points, true);
}

void StereoProcessor::run()
{
    _state->process(Processor::DISPARITY);
    computeDepth();
}

cv::Mat StereoProcessor::disparity() const
{
    auto& image = _state->output.disparity.image;
    return {static_cast<int>(image.height), static_cast<int>(image.width), CV_32FC1, image.data.data(),
            image.step};
}

} // namespace bench
