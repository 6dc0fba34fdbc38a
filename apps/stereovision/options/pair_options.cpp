// SPDX-License-Identifier: Apache-2.0
#include "options/pair_options.h"

namespace tool {

void addPairOptions(CLI::App& app, vision::toolkit::PairInput& input)
{
    constexpr const char* group = "Images";
    app.add_option(
           "--left",
           input.left,
           "Images of the left camera: files, folders, patterns in quotes ('left*.png', left%04d.png), lists "
           "(.txt) or one video")
        ->required()
        ->type_name("FILE")
        ->group(group);
    CLI::Option* right =
        app.add_option("--right", input.right, "Those of the right camera, in the same order")
            ->type_name("FILE")
            ->group(group);
    app.add_flag(
           "--side-by-side", input.isSideBySide, "--left names images of both cameras: halves left and right")
        ->group(group)
        ->excludes(right);
}

} // namespace tool
