// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/matching/matcher.h>

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace vision::toolkit {

namespace {

/// What one parameter is called and may be.
struct Domain
{
    const char* name;
    int lowest;
    int highest;
    bool mustBeOdd;
};

void require(const std::optional<int>& value, const Domain& domain)
{
    if (!value ||
        (domain.lowest <= *value && *value <= domain.highest && !(domain.mustBeOdd && *value % 2 == 0))) {
        return;
    }
    throw Failure("parameter-out-of-range",
                  domain.name,
                  std::to_string(*value) + " is out of range: " + (domain.mustBeOdd ? "odd, " : "") +
                      std::to_string(domain.lowest) + " to " + std::to_string(domain.highest));
}

void requireUseful(const std::optional<int>& value, const char* name, bool isUsed, const char* users)
{
    if (value && !isUsed) {
        throw Failure("unused-parameter",
                      name,
                      std::string("does nothing with this algorithm: it belongs to ") + users);
    }
}

void requireValid(const MatcherSettings& settings)
{
    const bool isBm = settings.algorithm == Algorithm::Bm;
    const bool isSgm = settings.algorithm == Algorithm::Sgm;
    requireUseful(settings.window, "window", !isSgm, "bm and sgbm");
    requireUseful(settings.uniqueness, "uniqueness", !isSgm, "bm and sgbm");
    requireUseful(settings.preFilterCap, "prefilter cap", !isSgm, "bm and sgbm");
    requireUseful(settings.speckleRange, "speckle range", !isSgm, "bm and sgbm");
    requireUseful(settings.preFilterSize, "prefilter size", isBm, "bm");
    requireUseful(settings.textureThreshold, "texture threshold", isBm, "bm");
    if (!isSgm && (settings.trust != Trust::Usual || settings.leastConfidence != 0)) {
        throw Failure(
            "unused-parameter", "trust or confidence", "does nothing with this algorithm: it belongs to sgm");
    }
    if (!(settings.leastConfidence >= 0 && settings.leastConfidence <= 1)) {
        throw Failure("parameter-out-of-range",
                      "confidence",
                      fmt::format("{} is out of range: 0 to 1", settings.leastConfidence));
    }
    // The bounds are the core's.
    require(settings.window, {"window", 5, 255, true});
    require(settings.uniqueness, {"uniqueness", 0, 100, false});
    require(settings.preFilterCap, {"prefilter cap", 1, 63, false});
    require(settings.preFilterSize, {"prefilter size", 5, 255, true});
    require(settings.speckleWindow, {"speckle window", 0, 1000, false});
    require(settings.speckleRange, {"speckle range", 0, 31, false});
    require(settings.textureThreshold, {"texture threshold", 0, 10000, false});
}

/// What is best over the images of docs/accuracy.md.
struct Defaults
{
    int windows[3]; ///< for images of the usual size, about half and about a quarter of it
    int uniqueness;
    int preFilterCap;
    int speckleWindow;
    int speckleRange;
};

const Defaults& defaultsOf(Algorithm algorithm)
{
    // A cap above 31 takes OpenCV's block matcher off its 16-bit sums, and twice the time.
    static constexpr Defaults bm{{17, 13, 9}, 3, 31, 200, 8};
    static constexpr Defaults sgbm{{13, 11, 9}, 2, 31, 200, 2};
    return algorithm == Algorithm::Bm ? bm : sgbm;
}

int chooseWindow(const Defaults& defaults, int width)
{
    constexpr int usualWidth = 480; // px, the smallest one that counts as usual
    return defaults.windows[width >= usualWidth ? 0 : width >= usualWidth / 2 ? 1 : 2];
}

void setMissing(std::optional<int>& value, int byDefault)
{
    value = value.value_or(byDefault);
}

} // namespace

MatcherSettings withDefaults(const MatcherSettings& settings, int width)
{
    requireValid(settings);
    MatcherSettings complete = settings;
    if (settings.algorithm == Algorithm::Sgm) {
        constexpr int largestSpeckle = 200; // pixels
        setMissing(complete.speckleWindow, largestSpeckle);
        return complete;
    }
    const Defaults& defaults = defaultsOf(settings.algorithm);
    setMissing(complete.window, chooseWindow(defaults, width));
    setMissing(complete.uniqueness, defaults.uniqueness);
    setMissing(complete.preFilterCap, defaults.preFilterCap);
    setMissing(complete.speckleWindow, defaults.speckleWindow);
    setMissing(complete.speckleRange, defaults.speckleRange);
    if (settings.algorithm == Algorithm::Bm) {
        setMissing(complete.preFilterSize, 25);
        setMissing(complete.textureThreshold, 1);
    }
    return complete;
}

} // namespace vision::toolkit
