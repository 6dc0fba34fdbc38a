// SPDX-License-Identifier: Apache-2.0
#include "support/scratch_folder.h"

#include <vision/toolkit/depth/rig.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/interchange/calibrations.h>
#include <vision/toolkit/records/inspection.h>

#include <tarn/log.h>

#include <opencv2/core.hpp>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

using namespace vision::toolkit;

namespace {

/// Between two files of one input.
constexpr std::string_view separator = "\n====\n";

std::string write(const std::string& name, std::string_view text)
{
    static const support::ScratchFolder folder;
    const std::string file = folder.path() + "/" + name;
    std::ofstream(file).write(text.data(), static_cast<std::streamsize>(text.size()));
    return file;
}

/// What was accepted can be used.
void use(const CalibrationPair& pair)
{
    for (const vision::Calibration* camera : {&pair.left, &pair.right}) {
        (void)describeCamera(*camera);
        (void)findDoubts(*camera);
    }
    (void)findPairDoubts(pair.left, pair.right);
    (void)encodePlain(pair);
    (void)findDepthScale(makeRig(pair), pair.left.width)->depthAt(1);
    if (pair.left.distortion.total() <= 8) {
        (void)encodeCameraInfo(pair.left, "left");
    }
}

bool namesFile(const Failure& failure)
{
    const std::string_view text = failure.what();
    return text.find("/left") != std::string_view::npos || text.find("/right") != std::string_view::npos;
}

ForeignDetails makeDetails(CalibrationFormat format)
{
    ForeignDetails details;
    if (format == CalibrationFormat::OpenCvStereo || format == CalibrationFormat::Kitti) {
        details.imageSize = cv::Size(640, 480);
    }
    if (format == CalibrationFormat::OpenCvStereo) {
        details.metresPerUnit = 0.025;
    }
    if (format == CalibrationFormat::Kitti) {
        details.kittiCameras = KittiCameras::Colour;
    }
    return details;
}

} // namespace

/// Reads one or two files of any format, which are refused with a Failure if at all; everything else, and a
/// text that names no file, ends the run.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    cv::setNumThreads(1);
    tarn::log::setSink([](const tarn::log::Record&) {});
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t middle = input.find(separator);
    std::vector<std::string> files{write("left", input.substr(0, middle))};
    if (middle != std::string_view::npos) {
        files.push_back(write("right", input.substr(middle + separator.size())));
    }
    try {
        const auto format = identify(files.front());
        use(readForeign(files, format ? makeDetails(*format) : ForeignDetails()));
    } catch (const Failure& failure) {
        if (!namesFile(failure)) {
            std::abort();
        }
    }
    return 0;
}
