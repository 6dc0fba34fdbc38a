// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "console/console.h"
#include "exit_code.h"

#include <vision/toolkit/failure.h>

#include <CLI/CLI.hpp>
#include <opencv2/core/utils/logger.hpp>
#include <tarn/log.h>

#include <cstdlib>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <iostream>
#include <string>
#include <vector>

namespace {

using tool::ExitCode;

/// Every pair needs the same images again. Left alone, the C library gives each back to the system, which
/// then clears every page anew: a twentieth of the time of a sequence.
void keepFreedMemory()
{
#if defined(__GLIBC__)
    constexpr int largestImage = 32 << 20; // bytes; as much as the C library takes
    mallopt(M_MMAP_THRESHOLD, largestImage);
    mallopt(M_TRIM_THRESHOLD, 8 * largestImage);
#endif
}

/// The tool turns every refusal of the library into a message of its own, so that the library's records
/// would say everything twice. They come with --verbose, or as the environment variable TARN_LOG asks.
void setLogLevels(bool isVerbose)
{
    cv::utils::logging::setLogLevel(isVerbose ? cv::utils::logging::LOG_LEVEL_WARNING
                                              : cv::utils::logging::LOG_LEVEL_SILENT);
    if (!isVerbose && std::getenv("TARN_LOG") != nullptr) {
        return;
    }
    const auto level = isVerbose ? tarn::LogLevel::Verbose : tarn::LogLevel::None;
    tarn::log::setLevel("vision.stereo", level);
    tarn::log::setLevel("vision.stereo.calibration", level);
}

ExitCode runProgram(int argc, char** argv, tool::Console& console)
{
    CLI::App program(
        "Calibrated stereo vision: from pairs of images to rectified images, disparity and depth.",
        "stereovision");
    program.set_version_flag("--version", "stereovision " STEREOVISION_VERSION);
    program.footer("Exit codes: 0 all done, 1 some input failed, 2 wrong usage or nothing could be done.\n\n"
                   "Example: stereovision calibrate --help");
    program.require_subcommand(0, 1); // with at least 1, an unknown word would be reported as none

    bool isVerbose = false;
    const std::vector<tool::Command> commands{tool::addCalibrate(program),
                                              tool::addCheck(program),
                                              tool::addConvert(program),
                                              tool::addDepth(program),
                                              tool::addEvaluate(program),
                                              tool::addInfo(program),
                                              tool::addRectify(program),
                                              tool::addScale(program)};
    for (const tool::Command& command : commands) {
        command.options->add_flag("--verbose", isVerbose, "Tell on stderr what the library does");
    }

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
            throw vision::toolkit::Failure(std::string(error.what()) + "; see --help");
        }
        program.exit(error); // prints the help or version that was asked for
        return ExitCode::AllDone;
    }
    setLogLevels(isVerbose);
    if (!isVerbose) { // a damaged video is told in a message of ours, not in pages of the decoder's
        setenv("OPENCV_FFMPEG_LOGLEVEL", "-8", 0);
    }
    for (const tool::Command& command : commands) {
        if (command.options->parsed()) {
            return command.run(console);
        }
    }
    throw vision::toolkit::Failure("no subcommand given; see --help");
}

} // namespace

int main(int argc, char** argv)
{
    // Some decoders of OpenCV complain on std::cerr; the user gets one message of ours, written to stderr.
    std::cerr.rdbuf(nullptr);
    keepFreedMemory();
    tool::Console console;
    ExitCode code = ExitCode::NothingDone;
    try {
        code = runProgram(argc, argv, console);
    } catch (const std::exception& error) {
        console.error(vision::toolkit::describe(error));
    }
    if (!console.flush()) {
        console.error("cannot write the results to standard output: is the disk full?");
        code = code == ExitCode::AllDone ? ExitCode::SomeFailed : code;
    }
    return static_cast<int>(code);
}
