// SPDX-License-Identifier: Apache-2.0
#include "options/matching_options.h"

#include "options/length.h"
#include "options/numbers.h"

#include <limits>
#include <map>
#include <string>

namespace tool {

namespace {

using vision::toolkit::Algorithm;
using vision::toolkit::MatcherSettings;

/// A parameter of the matcher with integer values.
struct IntegerParameter
{
    const char* option;
    const char* meaning;
    std::optional<int> MatcherSettings::*value;
};

const IntegerParameter integerParameters[] = {
    {"--window",
     "Edge length of the compared blocks, px: odd, 5 to 255; of sgm 1 to 21",
     &MatcherSettings::window},
    {"--p1", "sgm: penalty of a disparity change of 1 between neighbours; 10 window^2", &MatcherSettings::p1},
    {"--p2", "sgm: penalty of a larger change; 64 window^2", &MatcherSettings::p2},
    {"--uniqueness",
     "Margin by which the best match must beat the others, percent: 0 to 100",
     &MatcherSettings::uniqueness},
    {"--speckle-window",
     "Largest region removed as speckle, pixels: 0 (none) to 1000",
     &MatcherSettings::speckleWindow},
    {"--speckle-range",
     "Largest step of disparity inside one region, px: 0 to 31",
     &MatcherSettings::speckleRange},
    {"--prefilter-cap", "Clipping value of prefiltered pixels: 1 to 63", &MatcherSettings::preFilterCap},
    {"--prefilter-size",
     "bm: edge length of the prefilter's window, px: odd, 5 to 255",
     &MatcherSettings::preFilterSize},
    {"--texture-threshold",
     "bm: least texture of a block that is matched: 0 to 10000",
     &MatcherSettings::textureThreshold},
};

void addRangeOptions(CLI::App& app, MatchingOptions& options)
{
    constexpr const char* group =
        "Range (found from the images when nothing is given; px of the calibration's size)";
    const auto addLength = [&app](const char* name, std::optional<double>& value, const char* meaning) {
        return takeLength(app.add_option(name, value, meaning), Unit::MetresByDefault)->group(group);
    };
    addLength("--near",
              options.nearest,
              "Distance of the nearest thing, with its unit (mm, cm, m); alone in metres");
    addLength("--far", options.farthest, "Distance of the farthest thing");
    addLength("--max-depth", options.maxDepth, "Leave out points beyond this distance");
    constexpr int most = std::numeric_limits<int>::max(); // images set the limits
    takeWhole(app.add_option("--disparities",
                             options.disparities,
                             "Number of disparities searched: a positive multiple of 16"),
              -most,
              most)
        ->type_name("PX")
        ->group(group);
    takeWhole(
        app.add_option("--min-disparity", options.minDisparity, "Smallest disparity searched"), -most, most)
        ->type_name("PX")
        ->group(group);
}

} // namespace

void addMatchingOptions(CLI::App& app, MatchingOptions& options)
{
    constexpr const char* group = "Matching";
    const std::map<std::string, Algorithm> algorithms{
        {"bm", Algorithm::Bm}, {"sgbm", Algorithm::Sgbm}, {"sgm", Algorithm::Sgm}};
    app.add_option_function<std::string>(
           "--algorithm",
           [&options, algorithms](const std::string& name) {
               options.settings.algorithm = algorithms.at(name);
           },
           "bm: blocks, fast; sgbm: blocks with another cost; sgm: semi-global, the most accurate")
        ->check(CLI::IsMember(algorithms).description("bm, sgbm or sgm")) // the name stays for --save-params
        ->default_str("sgm")
        ->type_name("NAME")
        ->group(group);
    CLI::Option* dense =
        app.add_flag("--dense",
                     options.settings.dense,
                     "Fill what was not matched from half and quarter size: denser, less accurate")
            ->group(group);
    app.add_flag(
           "--plain",
           options.plain,
           "Exactly what the library's Stereo gives with bm or sgbm: no search of the left border, no match "
           "in both directions")
        ->excludes(dense)
        ->group(group);
    takeNumber(
        app.add_option(
            "--resize",
            options.resize,
            "Scale the images by this factor first, 0.001 to 1, for speed; all other numbers keep their "
            "meaning"),
        0.001,
        1)
        ->capture_default_str()
        ->type_name("FACTOR")
        ->group(group);
    constexpr int most = std::numeric_limits<int>::max(); // the matcher has limits of its own
    for (const IntegerParameter& parameter : integerParameters) {
        takeWhole(app.add_option(parameter.option, options.settings.*parameter.value, parameter.meaning),
                  -most,
                  most)
            ->type_name("INT")
            ->group(group);
    }
    addRangeOptions(app, options);
}

} // namespace tool
