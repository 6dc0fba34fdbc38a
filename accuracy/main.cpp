// SPDX-License-Identifier: Apache-2.0
/// Measures how accurate the matchers are on pairs of known disparity and prints tables in Markdown.
#include "measures.h"
#include "test_pairs.h"

#include <fmt/format.h>

#include <array>
#include <exception>
#include <iostream>
#include <string>

namespace {

using namespace accuracy;
using vision::toolkit::Algorithm;
using vision::toolkit::MatcherSettings;
using vision::toolkit::SearchRange;

constexpr std::array<std::pair<Algorithm, const char*>, 3> algorithms{
    {{Algorithm::Bm, "bm"}, {Algorithm::Sgbm, "sgbm"}, {Algorithm::Sgm, "sgm"}}};

/// A set with the ranges that are searched.
struct Subject
{
    explicit Subject(const TestSet& testSet) : set(testSet), ranges(findRanges(set)) {}

    TestSet set;
    std::vector<SearchRange> ranges;
};

struct Subjects
{
    Subject aloe;
    Subject boards;
    Subject scenes;
};

MatcherSettings makeSettings(Algorithm algorithm)
{
    MatcherSettings settings;
    settings.algorithm = algorithm;
    return settings;
}

std::string formatTruth(const Score& score)
{
    return fmt::format("{:.3f}", score.density) + " | " + fmt::format("{:.3f}", score.bad) + " | " +
           fmt::format("{:.2f}", score.average);
}

std::string formatCorners(const Score& score)
{
    return std::to_string(score.corners) + " | " + std::to_string(score.off) + " | " +
           fmt::format("{:.1f}", 100 * score.matched);
}

void printHead(const std::string& title, const std::string& first)
{
    std::cout
        << "\n### " << title << "\n\n| " << first
        << " | aloe: density | bad2 | average px | corners matched | off | 13 pairs: matched % | scenes: "
           "density | bad2 | average px |\n|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n";
}

void printRow(const std::string& name, const Subjects& subjects, const MatcherSettings& settings,
              bool isPlain = false, int divisor = 1)
{
    const auto measure = [&](const Subject& subject) {
        return score(subject.set, matchAll(subject.set, subject.ranges, settings, isPlain), divisor);
    };
    std::cout << "| " << name << " | " << formatTruth(measure(subjects.aloe)) << " | "
              << formatCorners(measure(subjects.boards)) << " | " << formatTruth(measure(subjects.scenes))
              << " |\n"
              << std::flush;
}

void printSteps(const Subjects& subjects)
{
    printHead("Step by step, with the default windows", "");
    MatcherSettings core = makeSettings(Algorithm::Bm);
    core.window = 21;
    printRow("`Stereo`, BM, window 21", subjects, core, true);
    core = makeSettings(Algorithm::Sgbm);
    core.window = 11;
    printRow("`Stereo`, SGBM, window 11", subjects, core, true);
    for (const auto& [algorithm, name] : algorithms) {
        MatcherSettings settings = makeSettings(algorithm);
        printRow(std::string(name) + ", range from the images, both ways: **default**", subjects, settings);
        settings.dense = true;
        printRow(std::string(name) + ", and dense", subjects, settings);
    }
    MatcherSettings trusting;
    trusting.trust = vision::toolkit::Trust::High;
    printRow("sgm, `--trust high`", subjects, trusting);
    for (const double least : {0.5, 0.8, 0.95}) {
        MatcherSettings confident;
        confident.leastConfidence = least;
        printRow(fmt::format("sgm, `--confidence {}`", least), subjects, confident);
    }
}

void printWindows(const Subjects& subjects, const std::string& title, int divisor = 1)
{
    constexpr int smallestBlock = 5; // of the core's matchers
    printHead(title, "");
    for (const auto& [algorithm, name] : algorithms) {
        if (algorithm == Algorithm::Sgm) {
            break;
        }
        for (int window = smallestBlock; window <= 21; window += 2) {
            MatcherSettings settings = makeSettings(algorithm);
            settings.window = window;
            printRow(
                std::string(name) + ", window " + std::to_string(window), subjects, settings, false, divisor);
        }
    }
}

/// The sets at a fraction of their size, with the ranges found at that size.
Subjects shrinkAll(const Subjects& subjects, int divisor)
{
    return {Subject(shrink(subjects.aloe.set, divisor)),
            Subject(shrink(subjects.boards.set, divisor)),
            Subject(shrink(subjects.scenes.set, divisor))};
}

void printSizes(const Subjects& subjects, const Subjects& half, const Subjects& quarter)
{
    printHead("Half and quarter size, with the defaults", "");
    for (const auto& [algorithm, name] : algorithms) {
        const MatcherSettings settings = makeSettings(algorithm);
        printRow(std::string(name) + ", full size", subjects, settings);
        printRow(std::string(name) + ", half", half, settings, false, 2);
        printRow(std::string(name) + ", quarter", quarter, settings, false, 4);
    }
}

void printSizeEffects(const Subjects& subjects, const Subjects& half, const Subjects& quarter)
{
    std::cout
        << "\nLargest change of the disparity over the 13 pairs, percent: median over the pixels that are "
           "matched at both sizes, and change of the median of all that is matched\n\n"
           "| | half: per pixel | of all | quarter: per pixel | of all |\n|---|---:|---:|---:|---:|\n";
    for (const auto& [algorithm, name] : algorithms) {
        const MatcherSettings settings = makeSettings(algorithm);
        const auto full = matchAll(subjects.boards.set, subjects.boards.ranges, settings, false);
        std::cout << "| " << name;
        for (const Subjects* smaller : {&half, &quarter}) {
            const auto disparities = matchAll(smaller->boards.set, smaller->boards.ranges, settings, false);
            const SizeEffect effect = compareSizes(full, disparities);
            std::cout << " | " << fmt::format("{:.1f}", 100 * effect.perPixel) << " | "
                      << fmt::format("{:.1f}", 100 * effect.ofAll);
        }
        std::cout << " |\n";
    }
}

void printRanges(const Subjects& subjects)
{
    const auto describe = [](const SearchRange& range) {
        return std::to_string(range.minDisparity) + " to " + std::to_string(range.maxDisparity()) + " px";
    };
    std::cout << "Ranges found: aloe " << describe(subjects.aloe.ranges.front()) << ", the 13 pairs "
              << describe(subjects.boards.ranges.front()) << "\n";
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: accuracy FOLDER (the sample images of OpenCV)\n";
        return 2;
    }
    try {
        const std::string folder = argv[1];
        const Subjects subjects{
            Subject(loadAloe(folder)), Subject(loadBoards(folder)), Subject(computeScenes(folder))};
        printRanges(subjects);
        printSteps(subjects);
        printWindows(subjects, "Windows of the core's matchers");
        const Subjects half = shrinkAll(subjects, 2);
        const Subjects quarter = shrinkAll(subjects, 4);
        printSizes(subjects, half, quarter);
        printSizeEffects(subjects, half, quarter);
        printWindows(half, "Windows of the core's matchers at half size", 2);
        printWindows(quarter, "Windows of the core's matchers at quarter size", 4);
    } catch (const std::exception& error) {
        std::cerr << "accuracy: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
