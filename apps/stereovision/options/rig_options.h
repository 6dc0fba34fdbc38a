// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_RIG_OPTIONS_H
#define TOOL_OPTIONS_RIG_OPTIONS_H

#include <vision/toolkit/records/calibration_pair.h>

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace tool {

/// The calibration files of both cameras.
struct CalibrationFiles
{
    std::string left;
    std::string right;

    /// @throws Failure naming the option or the file
    vision::toolkit::CalibrationPair load() const;
};

/// Adds --left-calibration and --right-calibration, which are written into `files` when they are parsed.
void addCalibrationOptions(CLI::App& app, CalibrationFiles& files);

/// What is known of images that are rectified already.
struct RectifiedOptions
{
    bool isRectified = false;
    std::optional<double> focalLength; ///< px
    std::optional<double> baseline;    ///< m
    std::optional<double> doffs;       ///< px
    std::optional<double> cx;
    std::optional<double> cy;
};

/// Adds --rectified and what belongs to it, which are written into `options` when they are parsed.
void addRectifiedOptions(CLI::App& app, RectifiedOptions& options);

} // namespace tool

#endif
