#include "options/stereo_options.h"

#include "options/parse.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/text.h>

#include <stdexcept>

namespace tool {

using namespace vision::toolkit;

namespace {

using vision::Stereo;

constexpr const char* maxDepthOption = "--max-depth";
constexpr const char* matcherGroup =
    "Matching (for images of the calibration's size; smaller ones get smaller values)";
constexpr const char* ignoredGroup = "Kept for completeness; the matchers ignore them";

/// A parameter with integer values: its option, meaning and domain.
struct IntegerParameter
{
    const char* option;
    const char* meaning;
    const char* domain;
    const char* group;
    int (Stereo::*get)() const;
    void (Stereo::*set)(int);
};

constexpr const char* minDisparityOption = "--min-disparity";

const IntegerParameter integerParameters[] = {
    {"--window",
     "Edge length of the matched blocks, px",
     "odd, 5 to 255",
     matcherGroup,
     &Stereo::getWindowSize,
     &Stereo::setWindowSize},
    {"--disparities",
     "Number of disparities searched",
     "a positive multiple of 16",
     matcherGroup,
     &Stereo::getDisparityNumber,
     &Stereo::setDisparityNumber},
    {minDisparityOption,
     "Smallest disparity searched, px; by default that of a point at the maximum depth",
     "at most the image width of the calibration, positive or negative",
     matcherGroup,
     &Stereo::getMinDisparity,
     &Stereo::setMinDisparity},
    {"--prefilter-cap",
     "Clipping value of prefiltered pixels",
     "1 to 63",
     matcherGroup,
     &Stereo::getPreFilterCap,
     &Stereo::setPreFilterCap},
    {"--prefilter-size",
     "Edge length of the prefilter's window, px; bm only",
     "odd, 5 to 255",
     matcherGroup,
     &Stereo::getPreFilterSize,
     &Stereo::setPreFilterSize},
    {"--speckle-range",
     "Largest variation of disparity inside one region",
     "0 to 31",
     matcherGroup,
     &Stereo::getSpeckleRange,
     &Stereo::setSpeckleRange},
    {"--speckle-window",
     "Largest region removed as speckle, pixels; 0 removes none",
     "0 to 1000",
     matcherGroup,
     &Stereo::getSpeckleWindowSize,
     &Stereo::setSpeckleWindowSize},
    {"--texture-threshold",
     "Least texture of a block that is matched; bm only",
     "0 to 10000",
     matcherGroup,
     &Stereo::getTextureThreshold,
     &Stereo::setTextureThreshold},
    {"--uniqueness",
     "Margin by which the best match must beat the second best, percent",
     "0 to 100",
     matcherGroup,
     &Stereo::getUniquenessRatio,
     &Stereo::setUniquenessRatio},
    {"--p1", "Penalty of a disparity change of 1", "0 or more", ignoredGroup, &Stereo::getP1, &Stereo::setP1},
    {"--p2", "Penalty of a larger change", "0 or more", ignoredGroup, &Stereo::getP2, &Stereo::setP2},
    {"--disp12-max-diff",
     "Largest difference in the left-right check",
     "any number",
     ignoredGroup,
     &Stereo::getDisp12MaxDiff,
     &Stereo::setDisp12MaxDiff},
};

void setCalibrations(Stereo& stereo, const CalibrationPair& calibrations, const std::string& maxDepth)
{
    try {
        if (!maxDepth.empty()) {
            stereo.setMaxDepth(
                static_cast<float>(parseLength(maxDepthOption, maxDepth, Unit::MetresByDefault)));
        }
        stereo.setCalibrations(calibrations.left, calibrations.right);
    } catch (const std::range_error&) {
        const std::string given = maxDepth.empty() ? formatFixed(stereo.getMaxDepth(), 0) + "m" : maxDepth;
        throw Failure(
            std::string(maxDepthOption) + " " + given +
            ": points at this distance are outside the image for these calibrations; choose a larger one");
    }
}

} // namespace

void StereoOptions::addTo(CLI::App& app)
{
    const Stereo defaults;
    app.add_option("--left-calibration", _leftCalibration, "Calibration file of the left camera")
        ->required()
        ->type_name("FILE");
    app.add_option("--right-calibration", _rightCalibration, "Calibration file of the right camera")
        ->required()
        ->type_name("FILE");
    app.add_option("--algorithm", _algorithm, "Matcher: bm (blocks, fast) or sgbm (semi-global)")
        ->check(CLI::IsMember({"bm", "sgbm"}))
        ->capture_default_str()
        ->type_name("NAME")
        ->group(matcherGroup);
    app.add_option(maxDepthOption,
                   _maxDepth,
                   "Largest distance of interest with its unit (mm, cm, m); a number alone is in metres")
        ->default_str(formatFixed(defaults.getMaxDepth(), 0) + "m")
        ->type_name("LENGTH")
        ->group(matcherGroup);
    for (const IntegerParameter& parameter : integerParameters) {
        const std::string option = parameter.option;
        CLI::Option* added = app.add_option_function<int>(
            option,
            [this, option](int value) { _integers[option] = value; },
            std::string(parameter.meaning) + "; " + parameter.domain);
        added->type_name("INT")->group(parameter.group);
        if (option != minDisparityOption) {
            added->default_str(std::to_string((defaults.*parameter.get)()));
        }
    }
    app.add_flag("--full-dp", _fullDP, "Full dynamic programming of sgbm")->group(ignoredGroup);
}

void StereoOptions::configure(Stereo& stereo) const
{
    stereo.setStereoAlgorithm(_algorithm == "sgbm" ? Stereo::SGBM : Stereo::BM);
    stereo.setFullDP(_fullDP);
    // The maximum depth gives the minimum disparity, which an option may then replace.
    setCalibrations(stereo, loadCalibrations(_leftCalibration, _rightCalibration), _maxDepth);
    for (const IntegerParameter& parameter : integerParameters) {
        const auto given = _integers.find(parameter.option);
        if (given == _integers.end()) {
            continue;
        }
        try {
            (stereo.*parameter.set)(given->second);
        } catch (const std::range_error&) {
            throw Failure(given->first + " " + std::to_string(given->second) +
                          " is out of range: " + parameter.domain);
        }
    }
}

} // namespace tool
