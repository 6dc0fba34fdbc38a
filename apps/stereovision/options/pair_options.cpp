// SPDX-License-Identifier: Apache-2.0
#include "options/pair_options.h"

#include <string>
#include <tuple>

namespace tool {

namespace {

constexpr int minBits = 9;
constexpr int maxBits = 16;

} // namespace

CLI::Option* addPixelLimit(CLI::App& app, vision::toolkit::ImageLimits& limits)
{
    constexpr int most = 1000;
    return app
        .add_option("--most-megapixels",
                    limits.megapixels,
                    "Refuse images with more pixels: a small file can ask for all the memory")
        ->check(CLI::Range(1, most))
        ->capture_default_str()
        ->type_name("INT");
}

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
    app.add_option(
           "--bits",
           input.bits,
           "Bits that the cameras use of images with 16; otherwise the fewest of 10, 12, 14 and 16 that hold "
           "what a few pairs of the sequence show")
        ->check(CLI::Range(minBits, maxBits))
        ->type_name("9-16")
        ->group(group);
    addPixelLimit(app, input.limits)->group(group);
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
