// SPDX-License-Identifier: Apache-2.0
#include "support/scratch_folder.h"

#include <tarn/log.h>
#include <vision/calibration.h>

#include <cstdint>
#include <fstream>

namespace {

bool logsEverything()
{
    tarn::log::setLevel("vision.stereo.calibration", tarn::LogLevel::Verbose);
    tarn::log::setSink([](const tarn::log::Record&) {});
    return true;
}

} // namespace

/// Loads the input as a file, which is refused with a standard exception if at all, and uses what came of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool logs = logsEverything();
    static const support::ScratchFolder folder;
    const bool isCompressed = logs && size > 1 && data[0] == 0x1f && data[1] == 0x8b;
    const std::string file = folder.path() + (isCompressed ? "/input.yml.gz" : "/input.yml");
    std::ofstream(file).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        vision::Calibration calibration;
        calibration.load(file);
        const vision::Calibration copy(calibration);
        (void)(copy == calibration);
        (void)calibration.scaleTo(calibration.width, calibration.height);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
    }
    return 0;
}
