// SPDX-License-Identifier: Apache-2.0
/// Usage: side_by_side ROUNDS FILE.json
/// Times the library against the same work written by hand with OpenCV and, where it is installed, against
/// libstereo-image-proc-dev; first makes sure that ours and the hand-written work give the same bits.
/// Prints tables (Markdown) and writes the same numbers to the file.
#include "frame.h"
#include "measuring.h"
#include "stereo_processor.h"
#include "support/oracle.h"

#include <nlohmann/json.hpp>
#include <opencv2/core/utility.hpp>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <tuple>

namespace {

using bench::Frame;
using measuring::Contender;
using measuring::Result;
using measuring::Spread;
using vision::Stereo;
namespace oracle = support::oracle;

const cv::Size comparedSizes[] = {{640, 480}, {1280, 960}};

nlohmann::json report = nlohmann::json::array();
int rounds = 0;

/// The steps as a program without the library would write them, with maps and matrix made beforehand.
struct ByHand
{
    explicit ByHand(const Frame& f)
        : frame(f), left(oracle::maps(f.calibrations.left, f.size)),
          right(oracle::maps(f.calibrations.right, f.size)), q(oracle::reprojection(f.calibrations, f.size))
    {
    }

    /// All four maps.
    std::vector<cv::Mat> computeMaps() const
    {
        std::vector<cv::Mat> maps(4);
        const auto compute = [&](const vision::Calibration& camera, cv::Mat& x, cv::Mat& y) {
            cv::initUndistortRectifyMap(camera.cameraMatrix,
                                        camera.distortion,
                                        camera.rectificationMatrix,
                                        camera.projectionMatrix.colRange(0, 3),
                                        frame.size,
                                        CV_32FC1,
                                        x,
                                        y);
        };
        compute(frame.calibrations.left, maps[0], maps[1]);
        compute(frame.calibrations.right, maps[2], maps[3]);
        return maps;
    }

    std::pair<cv::Mat, cv::Mat> rectify() const
    {
        return {oracle::rectify(frame.raw.first, left), oracle::rectify(frame.raw.second, right)};
    }

    cv::Mat computeDisparity(const std::pair<cv::Mat, cv::Mat>& pair) const
    {
        return oracle::disparity(frame.stereo, frame.size.width, pair.first, pair.second);
    }

    cv::Mat computeDepth(const cv::Mat& disparity) const
    {
        return oracle::depth(
            disparity, q, frame.stereo.getMaxDepth(), frame.stereo.getMinDisparity(), frame.size.width);
    }

    const Frame& frame;
    std::pair<cv::Mat, cv::Mat> left, right;
    cv::Mat q;
};

void requireSameBits(const Frame& frame, const ByHand& byHand)
{
    const auto transforms = frame.stereo.computeImageTransforms(frame.size);
    const auto rectified = byHand.rectify();
    const cv::Mat disparity = frame.computeDisparity();
    const std::tuple<const char*, cv::Mat, cv::Mat> pairs[] = {
        {"left map x", transforms.leftMapX, byHand.left.first},
        {"left map y", transforms.leftMapY, byHand.left.second},
        {"right map x", transforms.rightMapX, byHand.right.first},
        {"right map y", transforms.rightMapY, byHand.right.second},
        {"reprojection", transforms.reprojectionMatrix, byHand.q},
        {"left image", frame.rectified.first, rectified.first},
        {"right image", frame.rectified.second, rectified.second},
        {"disparity", disparity, byHand.computeDisparity(rectified)},
        {"depth", frame.stereo.computeDepth(disparity), byHand.computeDepth(disparity)},
    };
    for (const auto& [what, ours, theirs] : pairs) {
        const bool sameShape = ours.size() == theirs.size() && ours.type() == theirs.type();
        if (!sameShape || std::memcmp(ours.data, theirs.data, ours.total() * ours.elemSize()) != 0) {
            throw std::runtime_error(std::string(what) + " differs from the OpenCV calls");
        }
    }
}

std::string text(double value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, value < 100 ? "%.3g" : "%.0f", value);
    return buffer;
}

nlohmann::json toJson(const Spread& spread)
{
    return {{"median", spread.median}, {"low", spread.low}, {"high", spread.high}};
}

/// One Markdown table; a line compares its contenders with the first of them.
class Table
{
public:
    /// @param bytesPerPixel when given, rates are printed in place of times
    Table(std::string title, const std::vector<std::string>& names, int bytesPerPixel = 0)
        : _title(std::move(title)), _bytesPerPixel(bytesPerPixel)
    {
        std::string head = "| |", line = "|---|";
        for (const std::string& name : names) {
            head += " " + name + (bytesPerPixel ? ", GB/s |" : ", ms |");
            line += "---:|";
        }
        for (std::size_t i = 1; i < names.size(); ++i) {
            head += " " + names[i] + " / " + names[0] + " |";
            line += "---:|";
        }
        std::cout << "\n" << _title << "\n\n" << head << " allocations |\n" << line << "---:|\n";
    }

    void add(const std::string& row, const cv::Size& size, const std::vector<Result>& results) const
    {
        std::string values, ratios, heap;
        nlohmann::json& entry = report.emplace_back(nlohmann::json{{"table", _title}, {"row", row}});
        for (const Result& result : results) {
            const auto& [median, low, high] = result.ratio;
            const double bytes = static_cast<double>(size.area()) * _bytesPerPixel;
            const double time = result.milliseconds.median;
            values += " | " + text(_bytesPerPixel ? bytes / time / 1e6 : time);
            if (&result != &results.front()) {
                ratios += " | " + text(median) + " (" + text(low) + " to " + text(high) + ")";
            }
            heap += (heap.empty() ? " | " : ", ") + std::to_string(result.heap.allocations);
            entry["contenders"].push_back({{"name", result.name},
                                           {"milliseconds", toJson(result.milliseconds)},
                                           {"ratio", toJson(result.ratio)},
                                           {"allocations", result.heap.allocations},
                                           {"peakBytes", result.heap.peakBytes}});
        }
        std::cout << "| " << row << values << ratios << heap << " |\n" << std::flush;
    }

private:
    std::string _title;
    int _bytesPerPixel;
};

/// All stages of a frame against the same calls by hand and against the other package.
void compareStages(const cv::Size& size, Stereo::StereoAlgorithm algorithm)
{
    Frame frame(size);
    frame.stereo.setStereoAlgorithm(algorithm);
    const Stereo& stereo = frame.stereo;
    const ByHand byHand(frame);
    requireSameBits(frame, byHand);
    bench::Stages ours{
        {"rectify", [&] { (void)stereo.rectifyImages(frame.raw.first, frame.raw.second); }},
        {"disparity", [&] { (void)frame.computeDisparity(); }},
        {"depth", [&] { (void)stereo.computeDepth(frame.disparity); }},
        {"frame", [&] { (void)frame.run(); }},
    };
    bench::Stages calls{
        {"rectify", [&] { (void)byHand.rectify(); }},
        {"disparity", [&] { (void)byHand.computeDisparity(frame.rectified); }},
        {"depth", [&] { (void)byHand.computeDepth(frame.disparity); }},
        {"frame", [&] { (void)byHand.computeDepth(byHand.computeDisparity(byHand.rectify())); }},
    };
    bench::Stages others = bench::stereoProcessorStages(frame);

    std::vector<std::string> names{"ours", "by hand"};
    if (!others.empty()) {
        names.emplace_back("StereoProcessor");
    }
    const Table table("Stages at " + bench::nameOf(size) + (algorithm == Stereo::BM ? ", BM" : ", SGBM"),
                      names);
    for (const char* stage : {"rectify", "disparity", "depth", "frame"}) {
        std::vector<Contender> contenders{{names[0], ours[stage]}, {names[1], calls[stage]}};
        if (!others.empty()) {
            contenders.push_back({names[2], others[stage]});
        }
        table.add(stage, size, measuring::compare(contenders, rounds));
    }
}

/// Once per image size: the maps of both cameras.
void compareTransforms()
{
    const Table table("Transforms", {"ours", "by hand"});
    for (const cv::Size& size : bench::sizes) {
        const Frame frame(size);
        const ByHand byHand(frame);
        table.add(bench::nameOf(size),
                  size,
                  measuring::compare({{"ours", [&] { (void)frame.stereo.computeImageTransforms(size); }},
                                      {"by hand", [&] { (void)byHand.computeMaps(); }}},
                                     rounds));
    }
}

/// Calls pass(disparity row, point row, columns) for every row, in the bands and threads of the depth pass.
template <typename Pass>
void forEachRow(const cv::Mat& disparity, cv::Mat& points, Pass pass)
{
    points.create(disparity.size(), CV_32FC3);
    cv::parallel_for_(
        {0, disparity.rows},
        [&](const cv::Range& band) {
            for (int y = band.start; y < band.end; ++y) {
                pass(disparity.ptr<float>(y), points.ptr<cv::Vec3f>(y), disparity.cols);
            }
        },
        static_cast<double>(disparity.total()) / 16384);
}

void spread(const float* disparity, cv::Vec3f* points, int columns)
{
    for (int x = 0; x < columns; ++x) {
        points[x] = cv::Vec3f::all(disparity[x]);
    }
}

void copy(const float* disparity, cv::Vec3f* points, int columns)
{
    const auto count = static_cast<std::size_t>(columns);
    for (std::size_t part = 0; part < 3; ++part) {
        std::memcpy(points->val + part * count, disparity, count * sizeof(float));
    }
}

/// What the depth pass costs beyond reading its input and writing its output.
void compareDepthWithMemory()
{
    const std::vector<std::string> names{
        "plain pass", "ours", "OpenCV calls", "memcpy", "memcpy, kept output"};
    const Table table("Depth and plain passes over the same 16 bytes per pixel", names, 16);
    for (const cv::Size& size : bench::sizes) {
        const Frame frame(size);
        const ByHand byHand(frame);
        cv::Mat kept;
        const auto fresh = [&](auto pass) {
            cv::Mat points;
            forEachRow(frame.disparity, points, pass);
        };
        const std::vector<Contender> contenders{
            {names[0], [&] { fresh(spread); }},
            {names[1], [&] { (void)frame.stereo.computeDepth(frame.disparity); }},
            {names[2], [&] { (void)byHand.computeDepth(frame.disparity); }},
            {names[3], [&] { fresh(copy); }},
            {names[4], [&] { forEachRow(frame.disparity, kept, copy); }},
        };
        for (const int cores : {1, 2}) {
            cv::setNumThreads(cores);
            const std::string row = bench::nameOf(size) + ", cores: " + std::to_string(cores);
            table.add(row, size, measuring::compare(contenders, rounds));
            table.add(row + ", after matching", size, measuring::compare(contenders, rounds, [&] {
                          (void)frame.computeDisparity();
                      }));
        }
        cv::setNumThreads(-1);
    }
}

} // namespace

int main(int argc, char** argv)
{
    rounds = argc == 3 ? std::atoi(argv[1]) : 0;
    if (rounds < 1) {
        std::cerr << "usage: side_by_side ROUNDS FILE.json\n";
        return 2;
    }
    try {
        std::cout << "OpenCV " << CV_VERSION << ", " << cv::getNumThreads() << " threads, " << rounds
                  << " rounds; medians, ratios with quartiles\n";
        for (const cv::Size& size : comparedSizes) {
            compareStages(size, Stereo::BM);
            compareStages(size, Stereo::SGBM);
        }
        compareTransforms();
        compareDepthWithMemory();
        std::ofstream file(argv[2]);
        file << report.dump(2) << "\n";
        if (!file.flush()) {
            throw std::runtime_error(std::string("cannot write ") + argv[2]);
        }
    } catch (const std::exception& error) {
        std::cerr << "side_by_side: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
