// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "options/matching_options.h"
#include "options/named_file.h"
#include "options/old_names.h"
#include "options/output_options.h"
#include "options/pair_options.h"
#include "options/parameter_file.h"
#include "options/rig_options.h"
#include "options/run_options.h"

#include <vision/toolkit/failure.h>
#include <vision/toolkit/sequence/depth_run.h>

#include <fmt/format.h>

#include <algorithm>

#include <memory>
#include <string>
#include <vector>

namespace tool {

using namespace vision::toolkit;

namespace {

struct DepthOptions
{
    PairInput input;
    CalibrationFiles calibrations;
    RectifiedOptions rectified;
    MatchingOptions matching;
    OutputOptions output;
    std::string products;
    std::vector<double> colours;
    RunOptions run;
    bool skipExisting = false;
    bool json = false;
    bool quiet = false;
    std::string parameterFile;
    std::string savedParameterFile;
};

/// What --params and --save-params read and write.
const std::vector<std::string> parameters{
    "algorithm",     "window",        "trust",          "confidence", "uniqueness", "speckle-window",
    "speckle-range", "prefilter-cap", "prefilter-size", "near",       "far",        "texture-threshold",
    "max-depth",     "disparities",   "min-disparity",  "dense",      "plain",      "resize",
    "write",         "colour-range"};

/// The size of the first image that can be read, for which numbers in px hold.
cv::Size findImageSize(PairSequence& pairs)
{
    for (std::size_t pair = 0;; ++pair) {
        try {
            return pairs.take(pair)().left.size();
        } catch (const Failure&) {
            if (pair + 1 == pairs.size()) {
                throw;
            }
        }
    }
}

Rig makeRig(const DepthOptions& options, PairSequence& pairs)
{
    const RectifiedOptions& given = options.rectified;
    if (!given.isRectified) {
        return vision::toolkit::makeRig(options.calibrations.load());
    }
    const cv::Size size = findImageSize(pairs);
    std::optional<RectifiedGeometry> geometry;
    if (given.focalLength) {
        geometry =
            RectifiedGeometry{*given.focalLength, *given.baseline, given.doffs.value_or(0), std::nullopt};
        if (given.cx || given.cy) {
            geometry->principalPoint = cv::Point2d(given.cx.value_or((size.width - 1) / 2.0),
                                                   given.cy.value_or((size.height - 1) / 2.0));
        }
    }
    return makeRectifiedRig(size, geometry);
}

DepthSettings makeSettings(const MatchingOptions& options)
{
    DepthSettings settings;
    settings.matcher = options.settings;
    settings.range = {options.nearest, options.farthest, options.minDisparity, options.disparities};
    settings.maxDepth = options.maxDepth;
    settings.plain = options.plain;
    return settings;
}

std::optional<ColourRange> parseColours(const std::vector<double>& colours)
{
    if (colours.empty()) {
        return std::nullopt;
    }
    if (colours.size() != 2) {
        throw Failure("colour-range", "--colour-range", "takes two numbers");
    }
    const ColourRange range{colours[0], colours[1]};
    requireUsable(range);
    return range;
}

/// Tells of each pair, and counts.
class Reporter
{
public:
    Reporter(const DepthOptions& options, Console& console) : _options(options), _console(console) {}

    void tell(const PairReport& report)
    {
        ++_pairs;
        _failed += report.error ? 1 : 0;
        _wrong += std::any_of(report.notes.begin(), report.notes.end(), isWrong) ? 1 : 0;
        if (_options.json) {
            _console.json(toJson(report));
        }
        if (report.error) {
            _console.error(*report.error);
        } else if (!_options.json && !_options.quiet) {
            describe(report);
        }
        tellNotes(report);
        _console.advanceProgress();
    }

    /// A pair whose result is wrong has failed, although its files are there.
    ExitCode exitCode() const
    {
        const ExitCode code = exitCodeOf(_pairs - _failed, _failed);
        return code == ExitCode::AllDone && _wrong > 0 ? ExitCode::SomeFailed : code;
    }

private:
    static bool isWrong(const Note& note) { return note.severity == Severity::Wrong; }

    void describe(const PairReport& report)
    {
        if (report.isSkipped) {
            _console.result(report.name + ": is there already");
            return;
        }
        _console.result(fmt::format("{}: {} x {} px, ", report.name, report.size.width, report.size.height) +
                        format(report.summary) + ", searched " + std::to_string(report.range.minDisparity) +
                        " to " + std::to_string(report.range.maxDisparity()) + " px");
        for (const auto& file : report.files) {
            _console.result("wrote " + file.string());
        }
    }

    /// What holds for one pair names it; what is the same for all is told once.
    void tellNotes(const PairReport& report)
    {
        for (Note note : report.notes) {
            if (note.severity != Severity::Info) {
                note.subject = report.images.left;
            }
            if (isWrong(note)) {
                _console.error(note);
            } else if (!_options.quiet) {
                _console.note(note);
            }
        }
    }

    const DepthOptions& _options;
    Console& _console;
    std::size_t _pairs = 0;
    std::size_t _failed = 0;
    std::size_t _wrong = 0;
};

/// A run that is continued leaves alone what is there, even if it is not its own.
ExistingFile chooseExisting(const DepthOptions& options)
{
    return options.skipExisting && !options.output.force ? ExistingFile::Keep : options.output.existing();
}

ExitCode runDepth(CLI::App& app, DepthOptions& options, Console& console)
{
    if (!options.parameterFile.empty()) {
        applyParameterFile(app, parameters, options.parameterFile, console);
    }
    const auto pairs = openPairs(options.input);
    const Rig rig = makeRig(options, *pairs);
    const double factor = options.matching.resize;
    pairs->limitSize({cvCeil(rig.size.width / factor), cvCeil(rig.size.height / factor)});
    console.notes(pairs->notes());
    const OutputSet products = options.products.empty()
                                   ? OutputSet::makeDefault(rig.calibrations.has_value())
                                   : OutputSet::parse("--write", renewProducts(options.products, console));
    if (products.needsDepth() && !rig.calibrations) {
        throw Failure("no-depth", "--write", "depth and points of rectified images need more to be known");
    }
    const DepthRun run{rig,
                       makeSettings(options.matching),
                       options.matching.resize,
                       products,
                       parseColours(options.colours),
                       options.run.shard,
                       options.run.jobs,
                       options.skipExisting};
    std::optional<NamedFile> savedParameters;
    if (!options.savedParameterFile.empty()) {
        savedParameters.emplace(options.savedParameterFile, options.output.existing());
        console.notes(savedParameters->notes());
    }
    const OutputFolder folder(options.output.folder, chooseExisting(options));
    console.notes(folder.notes());
    Reporter reporter(options, console);
    console.startProgress("computing depth", selectShard(pairs->size(), run.shard).size());
    vision::toolkit::runDepth(
        *pairs, run, folder, [&reporter](const PairReport& report) { reporter.tell(report); });
    if (savedParameters) {
        savedParameters->write(formatParameters(app, parameters));
    }
    return reporter.exitCode();
}

void addResultOptions(CLI::App& app, DepthOptions& options)
{
    constexpr const char* group = "Results";
    addOutputOptions(app, "the results", options.output);
    app.add_option(
           "--write",
           options.products,
           "What is written, a list with commas of " + OutputSet::listNames() +
               "; when not given rectified-rows,disparity-picture,disparity-pfm and, where depths are "
               "known, points-ply")
        ->type_name("LIST")
        ->group(group);
    app.add_option(
           "--colour-range",
           options.colours,
           "Disparities at both ends of the colours of pictures, px of the calibration's size; when not "
           "given those of the search, or of a single pair its own")
        ->delimiter(',')
        ->type_name("LOW,HIGH")
        ->group(group);
    app.add_flag("--json", options.json, "Print one JSON object for each pair, in place of lines")
        ->group(group);
    app.add_flag("--quiet", options.quiet, "Print errors only, no results and no notes")->group(group);
    app.add_option("--params",
                   options.parameterFile,
                   "Take options of matching that are not given from this JSON file")
        ->type_name("FILE")
        ->group(group);
    app.add_option("--save-params",
                   options.savedParameterFile,
                   "Write the options of matching that were given to a new JSON file")
        ->type_name("FILE")
        ->group(group);
}

} // namespace

Command addDepth(CLI::App& program)
{
    CLI::App* app = program.add_subcommand("depth", "Compute disparity and depth of image pairs");
    auto options = std::make_shared<DepthOptions>();
    addPairOptions(*app, options->input);
    addCalibrationOptions(*app, options->calibrations);
    addRectifiedOptions(*app, options->rectified);
    addResultOptions(*app, *options);
    addMatchingOptions(*app, options->matching);
    addRunOptions(*app, options->run);
    app->add_flag("--skip-existing",
                  options->skipExisting,
                  "Continue a run: of pairs whose files are there make only those that are missing")
        ->group("Sequences");
    app->footer("Nothing but images and calibrations is needed: the range is found from the images. Images "
                "may be smaller\n"
                "than the calibration, in the same aspect ratio. Files are named after the left image.\n\n"
                "Example: stereovision depth --left-calibration calibration/left.yml --right-calibration "
                "calibration/right.yml --left 'left*.jpg' --right 'right*.jpg' --output depth");
    return {app, [app, options](Console& console) { return runDepth(*app, *options, console); }};
}

} // namespace tool
