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
     "bm, sgbm: edge length of the compared blocks, px: odd, 5 to 255; by default 17 and 13",
     &MatcherSettings::window},
    {"--uniqueness",
     "bm, sgbm: margin by which the best match must beat the others, percent: 0 to 100; by default 3 and 2",
     &MatcherSettings::uniqueness},
    {"--speckle-window",
     "Largest region removed as speckle, pixels: 0 (none) to 1000; by default 200",
     &MatcherSettings::speckleWindow},
    {"--speckle-range",
     "bm, sgbm: largest step of disparity inside one region, px: 0 to 31; by default 8 and 2",
     &MatcherSettings::speckleRange},
    {"--prefilter-cap",
     "bm, sgbm: clipping value of prefiltered pixels: 1 to 63; by default 31",
     &MatcherSettings::preFilterCap},
    {"--prefilter-size",
     "bm: edge length of the prefilter's window, px: odd, 5 to 255; by default 25",
     &MatcherSettings::preFilterSize},
    {"--texture-threshold",
     "bm: least texture of a block that is matched: 0 to 10000; by default 1",
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
           "sgm: semi-global, the most accurate and the fastest; bm: blocks, as vision::Stereo matches them; "
           "sgbm: "
           "blocks with another cost")
        ->check(CLI::IsMember(algorithms).description("bm, sgbm or sgm")) // the name stays for --save-params
        ->default_str("sgm")
        ->type_name("NAME")
        ->group(group);
    app.add_option_function<std::string>(
           "--trust",
           [&options](const std::string& name) {
               options.settings.trust =
                   name == "high" ? vision::toolkit::Trust::High : vision::toolkit::Trust::Usual;
           },
           "sgm: usual: both images agree; high: a second matching confirms it, half as many errors in twice "
           "the time")
        ->check(CLI::IsMember({"usual", "high"}).description("usual or high"))
        ->default_str("usual")
        ->type_name("NAME")
        ->group(group);
    takeNumber(app.add_option("--confidence",
                              options.settings.leastConfidence,
                              "sgm: leave out matches that are right with a smaller probability, 0 to 1"),
               0,
               1)
        ->capture_default_str()
        ->type_name("SHARE")
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
