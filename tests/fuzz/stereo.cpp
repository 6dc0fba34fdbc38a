// SPDX-License-Identifier: Apache-2.0
#include <tarn/log.h>
#include <vision/stereo.h>

#include <opencv2/core.hpp>

#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>
#include <limits>

namespace {

/// Makes arguments from the bytes of the fuzzer, and of zeros when they are used up.
class Input : public FuzzedDataProvider
{
public:
    using FuzzedDataProvider::FuzzedDataProvider;

    int upTo(int highest) { return ConsumeIntegralInRange(0, highest); }
    bool rarely() { return upTo(255) > 240; }
    int integer()
    {
        constexpr int highest = std::numeric_limits<int>::max();
        constexpr int odd[] = {highest, -highest - 1, highest - 15, 65536, -65536, 1 << 27};
        return rarely() ? PickValueInArray(odd) : ConsumeIntegralInRange(-8, 247);
    }
    float real()
    {
        constexpr float odd[] = {std::numeric_limits<float>::infinity(),
                                 std::numeric_limits<float>::quiet_NaN(),
                                 -1.0f,
                                 1e38f,
                                 -1e38f,
                                 1e-38f,
                                 0.0f};
        return rarely() ? PickValueInArray(odd)
                        : static_cast<float>(ConsumeIntegralInRange(-32 * 256, 224 * 256)) / 256.0f;
    }
    int anyType() { return CV_MAKETYPE(upTo(7), 1 + upTo(3)); }

    cv::Mat matrix(int rows, int cols, int type)
    {
        if (rarely()) {
            const int sizes[] = {upTo(5), upTo(5), upTo(2)};
            return cv::Mat(PickValueInArray({0, 2, 2, 3}), sizes, anyType(), cv::Scalar::all(1));
        }
        cv::Mat matrix(rows, cols, type, cv::Scalar::all(0));
        for (int i = 0; type == CV_32FC1 && rows * cols < 100 && i < rows * cols; ++i) {
            matrix.at<float>(i / cols, i % cols) = real();
        }
        return matrix;
    }

    /// Small, so that many fit into a second.
    cv::Mat image(cv::Size size, int type)
    {
        if (rarely()) {
            return matrix(size.height, size.width, anyType());
        }
        cv::Mat image(size, type);
        cv::RNG random(ConsumeIntegral<std::uint8_t>());
        random.fill(image, cv::RNG::UNIFORM, -2, 255);
        if (type == CV_32FC1 && !image.empty()) {
            image.at<float>(0, 0) = real();
        }
        return image;
    }

    cv::Size size()
    {
        const cv::Size usual =
            PickValueInArray({cv::Size(64, 48), cv::Size(32, 24), cv::Size(96, 72), cv::Size(16, 12)});
        return rarely() ? cv::Size(upTo(99), upTo(99)) : usual;
    }

    vision::Calibration calibration(cv::Size size)
    {
        vision::Calibration result;
        result.width = rarely() ? integer() : size.width;
        result.height = rarely() ? integer() : size.height;
        result.cameraMatrix = matrix(3, 3, CV_32FC1);
        result.distortion = matrix(1, PickValueInArray({5, 4, 8, 12, 14, 0}), CV_32FC1);
        result.rectificationMatrix = matrix(3, 3, CV_32FC1);
        result.projectionMatrix = matrix(3, 4, CV_32FC1);
        return result;
    }
};

void setParameter(vision::Stereo& stereo, Input& input)
{
    using vision::Stereo;
    constexpr void (Stereo::*setters[])(int) = {
        &Stereo::setWindowSize,
        &Stereo::setMinDisparity,
        &Stereo::setDisparityNumber,
        &Stereo::setPreFilterCap,
        &Stereo::setPreFilterSize,
        &Stereo::setSpeckleRange,
        &Stereo::setP1,
        &Stereo::setSpeckleWindowSize,
        &Stereo::setTextureThreshold,
        &Stereo::setP2,
        &Stereo::setUniquenessRatio,
        &Stereo::setDisp12MaxDiff,
    };
    (stereo.*input.PickValueInArray(setters))(input.integer());
}

void doAnything(vision::Stereo& stereo, Input& input)
{
    const cv::Size size = input.size();
    switch (input.upTo(9)) {
    case 0:
        stereo.setCalibrations(input.calibration(size), input.calibration(size));
        break;
    case 1:
        stereo.setMaxDepth(input.real());
        break;
    case 2:
        stereo.setStereoAlgorithm(static_cast<vision::Stereo::StereoAlgorithm>(input.upTo(2)));
        break;
    case 3:
        stereo.resetAllParameters();
        break;
    case 4: {
        const int type = input.anyType();
        (void)stereo.rectifyImages(input.image(size, type), input.image(size, type));
        break;
    }
    case 5:
    case 6:
        (void)stereo.computeDisparity(input.image(size, CV_8UC1), input.image(size, CV_8UC1));
        break;
    case 7:
        (void)stereo.computeDepth(input.image(size, CV_32FC1));
        break;
    case 8:
        (void)stereo.computeImageTransforms(input.rarely() ? cv::Size(-size.width, -size.height) : size);
        break;
    default:
        setParameter(stereo, input);
    }
}

} // namespace

/// Drives one pipeline through calls with arguments of all kinds, which fail with standard exceptions if at
/// all.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    cv::setNumThreads(1);
    tarn::log::setLevel("vision.stereo", tarn::LogLevel::Verbose);
    tarn::log::setSink([](const tarn::log::Record&) {});
    Input input(data, size);
    vision::Stereo stereo;
    for (int calls = 0; calls < 40 && input.remaining_bytes() > 0; ++calls) {
        try {
            if (calls == 0) {
                const cv::Size calibrated = input.size();
                stereo.setCalibrations(input.calibration(calibrated), input.calibration(calibrated));
            }
            doAnything(stereo, input);
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        }
    }
    return 0;
}
