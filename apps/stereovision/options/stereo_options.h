#ifndef TOOL_CONSOLE_STEREO_OPTIONS_H
#define TOOL_CONSOLE_STEREO_OPTIONS_H

#include <vision/stereo.h>
#include <vision/toolkit/calibration/pair_file.h>

#include <CLI/CLI.hpp>

#include <map>
#include <string>

namespace tool {

/// The calibrations and every parameter of vision::Stereo as options of a subcommand.
///
/// Must outlive the parsing, which writes into it.
class StereoOptions
{
public:
    void addTo(CLI::App& app);

    /// Loads the calibrations and sets them and all given parameters.
    /// @throws Failure naming the file or option that cannot be used
    void configure(vision::Stereo& stereo) const;

private:
    std::string _leftCalibration;
    std::string _rightCalibration;
    std::string _algorithm = "bm";
    std::string _maxDepth;
    std::map<std::string, int> _integers; ///< by option, those that were given
    bool _fullDP = false;
};

} // namespace tool

#endif
