// SPDX-License-Identifier: Apache-2.0
#include "options/pair_options.h"

#include <string>
#include <tuple>

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
    for (const auto& [name, side, degrees] : {std::tuple("--rotate-left", "left", &input.rotateLeft),
                                              {"--rotate-right", "right", &input.rotateRight}}) {
        app.add_option(name,
                       *degrees,
                       std::string("Turn all images of the ") + side +
                           " camera clockwise by so many degrees: 90, 180 or 270; the same for calibrating "
                           "and all that follows")
            ->check(CLI::IsMember({0, 90, 180, 270}))
            ->default_str("0")
            ->type_name("DEGREES")
            ->group(group);
    }
}

} // namespace tool
