// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_MATCHING_OPTIONS_H
#define TOOL_OPTIONS_MATCHING_OPTIONS_H

#include <vision/toolkit/matching/matcher.h>

#include <CLI/CLI.hpp>

#include <optional>

namespace tool {

/// How pairs are matched and between which distances; what is not given is found from the images.
struct MatchingOptions
{
    vision::toolkit::MatcherSettings settings;
    bool plain = false;            ///< exactly what the methods of vision::Stereo give
    std::optional<double> nearest; ///< m
    std::optional<double> farthest;
    std::optional<double> maxDepth;
    std::optional<int> disparities; ///< px of the calibration's size
    std::optional<int> minDisparity;
    double resize = 1;
};

/// Adds the options, which are written into `options` when they are parsed.
void addMatchingOptions(CLI::App& app, MatchingOptions& options);

} // namespace tool

#endif
