// SPDX-License-Identifier: Apache-2.0
#include "options/output_options.h"

namespace tool {

void addOutputOptions(CLI::App& app, const std::string& contents, OutputOptions& options)
{
    constexpr const char* group = "Results";
    app.add_option("--output", options.folder, "Folder for " + contents + "; made when missing")
        ->required()
        ->type_name("DIR")
        ->group(group);
    app.add_flag("--force", options.force, "Overwrite existing files; without it they are an error")
        ->group(group);
}

} // namespace tool
