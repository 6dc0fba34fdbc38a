// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "console/console.h"
#include "console/library_messages.h"
#include "console/start.h"
#include "exit_code.h"
#include "options/old_names.h"

#include <vision/toolkit/failure.h>

#include <CLI/CLI.hpp>
#include <tarn/log.h>

#include <algorithm>
#include <cstdlib>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <string>
#include <vector>

namespace {

using tool::ExitCode;
using vision::toolkit::Failure;

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

/// The tool turns every refusal of the libraries into a message of its own, so that their records would say
/// everything twice. They come with --verbose, or as the environment variable TARN_LOG asks.
void setLogLevels(bool isVerbose)
{
    if (isVerbose || std::getenv("TARN_LOG") == nullptr) {
        const auto level = isVerbose ? tarn::LogLevel::Verbose : tarn::LogLevel::None;
        for (const char* category : {"vision.stereo", "vision.stereo.calibration", "opencv"}) {
            tarn::log::setLevel(category, level);
        }
    }
    tool::LibraryMessages::follow();
}

std::string listCommands(const std::vector<tool::Command>& commands)
{
    std::string names;
    for (const tool::Command& command : commands) {
        names += (names.empty() ? "" : ", ") + command.options->get_name();
    }
    return names;
}

/// What the parser says, and what would be right: the help of the option that it speaks of, or the commands.
Failure explain(const CLI::ParseError& error, const CLI::App& program,
                const std::vector<tool::Command>& commands)
{
    const std::vector<CLI::App*> given = program.get_subcommands();
    const std::string text = error.what();
    if (given.empty()) {
        return {"usage", {}, text + "; the commands are " + listCommands(commands)};
    }
    const std::size_t begin = text.find("--");
    const std::size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-", begin);
    const CLI::Option* option = begin == std::string::npos
                                    ? nullptr
                                    : given.front()->get_option_no_throw(text.substr(begin, end - begin));
    const std::string meaning =
        option == nullptr ? "" : "; " + option->get_name() + " is: " + option->get_description();
    return {"usage", {}, text + meaning + "; see 'stereovision " + given.front()->get_name() + " --help'"};
}

ExitCode runProgram(const std::vector<std::string>& arguments, tool::Console& console)
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
        std::vector<std::string> reversed = tool::renewOptions(arguments, console);
        std::reverse(reversed.begin(), reversed.end()); // as the parser wants them
        program.parse(reversed);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) {
            throw explain(error, program, commands);
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
    throw Failure("usage", {}, "no command given; the commands are " + listCommands(commands));
}

} // namespace

int main(int argc, char** argv)
{
    tool::reserveStandardFiles();
    tool::surviveFileSizeLimit();
    const tool::LibraryMessages libraryMessages;
    keepFreedMemory();
    tool::Console console;
    ExitCode code = ExitCode::NothingDone;
    try {
        code = runProgram({argv + std::min(argc, 1), argv + argc}, console);
    } catch (const std::exception& error) {
        console.error(vision::toolkit::describe(error));
    }
    if (!console.flush()) {
        console.error("cannot write the results to standard output: is the disk full, or was it closed?");
        code = code == ExitCode::AllDone ? ExitCode::SomeFailed : code;
    }
    return static_cast<int>(code);
}
