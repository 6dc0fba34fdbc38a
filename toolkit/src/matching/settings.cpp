// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/matching/matcher.h>

#include <vision/toolkit/failure.h>

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
    throw Failure(std::string(domain.name) + " " + std::to_string(*value) +
                  " is out of range: " + (domain.mustBeOdd ? "odd, " : "") + std::to_string(domain.lowest) +
                  " to " + std::to_string(domain.highest));
}

void requireUseful(const std::optional<int>& value, const char* name, bool isUsed, const char* users)
{
    if (value && !isUsed) {
        throw Failure(std::string(name) + " does nothing with this algorithm: it belongs to " + users);
    }
}

void requireValid(const MatcherSettings& settings)
{
    const bool isBm = settings.algorithm == Algorithm::Bm;
    const bool isSgm = settings.algorithm == Algorithm::Sgm;
    requireUseful(settings.p1, "p1", isSgm, "sgm");
    requireUseful(settings.p2, "p2", isSgm, "sgm");
    requireUseful(settings.preFilterSize, "prefilter size", isBm, "bm");
    requireUseful(settings.textureThreshold, "texture threshold", isBm, "bm");
    // The bounds of bm and sgbm are the core's. Sgm adds up costs and penalties in 16 bits.
    constexpr int largestPenalty = 10000;
    require(settings.window, isSgm ? Domain{"window", 1, 21, true} : Domain{"window", 5, 255, true});
    require(settings.p1, {"p1", 0, largestPenalty - 1, false});
    require(settings.p2, {"p2", 1, largestPenalty, false});
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
    static constexpr Defaults bm{{17, 13, 9}, 3, 42, 200, 8};
    static constexpr Defaults sgbm{{13, 11, 9}, 2, 31, 200, 2};
    static constexpr Defaults sgm{{5, 5, 5}, 4, 63, 200, 1};
    return algorithm == Algorithm::Bm ? bm : algorithm == Algorithm::Sgbm ? sgbm : sgm;
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

void setMissingPenalties(MatcherSettings& settings)
{
    constexpr int largestEdge = 9; // beyond it the sums would not fit 16 bits
    const int edge = std::min(*settings.window, largestEdge);
    const int area = edge * edge;
    const int p1 = settings.p1.value_or(10 * area);
    const int p2 = settings.p2.value_or(64 * area);
    if (p1 >= p2) {
        throw Failure("p1 (" + std::to_string(p1) + ") must be below p2 (" + std::to_string(p2) + ")");
    }
    settings.p1 = p1;
    settings.p2 = p2;
}

} // namespace

MatcherSettings withDefaults(const MatcherSettings& settings, int width)
{
    requireValid(settings);
    MatcherSettings complete = settings;
    const Defaults& defaults = defaultsOf(settings.algorithm);
    setMissing(complete.window, chooseWindow(defaults, width));
    setMissing(complete.uniqueness, defaults.uniqueness);
    setMissing(complete.preFilterCap, defaults.preFilterCap);
    setMissing(complete.speckleWindow, defaults.speckleWindow);
    setMissing(complete.speckleRange, defaults.speckleRange);
    if (settings.algorithm == Algorithm::Sgm) {
        setMissingPenalties(complete);
    }
    if (settings.algorithm == Algorithm::Bm) {
        setMissing(complete.preFilterSize, 25);
        setMissing(complete.textureThreshold, 1);
    }
    return complete;
}

} // namespace vision::toolkit
