// SPDX-License-Identifier: Apache-2.0
#ifndef TOOL_OPTIONS_OUTPUT_OPTIONS_H
#define TOOL_OPTIONS_OUTPUT_OPTIONS_H

#include <vision/toolkit/files/output_files.h>

#include <CLI/CLI.hpp>

#include <string>

namespace tool {

/// Where results go.
struct OutputOptions
{
    std::string folder;
    bool force = false; ///< existing files are overwritten

    vision::toolkit::ExistingFile existing() const
    {
        using vision::toolkit::ExistingFile;
        return force ? ExistingFile::Replace : ExistingFile::Refuse;
    }
};

/// Adds --output and --force, which are written into `options` when they are parsed.
/// @param contents what the folder is for
void addOutputOptions(CLI::App& app, const std::string& contents, OutputOptions& options);

} // namespace tool

#endif
