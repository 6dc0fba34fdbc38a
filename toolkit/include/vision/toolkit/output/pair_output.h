// SPDX-License-Identifier: Apache-2.0
#ifndef VISION_TOOLKIT_OUTPUT_PAIR_OUTPUT_H
#define VISION_TOOLKIT_OUTPUT_PAIR_OUTPUT_H

#include <vision/toolkit/export.h>
#include <vision/toolkit/files/output_files.h>
#include <vision/toolkit/note.h>
#include <vision/toolkit/output/pictures.h>

#include <opencv2/core/mat.hpp>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace vision::toolkit {

/// A result of a pair that can be written.
enum class Product
{
    DisparityPicture, ///< "disparity-picture": NAME-disparity.png, for people
    DisparityPfm,     ///< "disparity-pfm": NAME-disparity.pfm
    DisparityTiff,    ///< "disparity-tiff": NAME-disparity.tiff
    DisparityPng16,   ///< "disparity-png16": NAME-disparity16.png
    DepthPicture,     ///< "depth-picture": NAME-depth.png, for people
    DepthPng16,       ///< "depth-png16": NAME-depth16.png
    DepthTiff,        ///< "depth-tiff": NAME-depth.tiff
    Points,           ///< "points-ply": NAME-points.ply
    Rectified,        ///< "rectified": NAME-rectified-left.png and NAME-rectified-right.png
    RectifiedRows,    ///< "rectified-rows": NAME-rectified.png, for people
    Confidence,       ///< "confidence": NAME-confidence.tiff, 0 to 1; of sgm only
    LevelPicture,     ///< "level-picture": NAME-level.png, for people
};

/// Which results of a pair are written, and how their files are called. May be used by several threads.
class VISION_TOOLKIT_EXPORT OutputSet
{
public:
    explicit OutputSet(std::set<Product> products) : _products(std::move(products)) {}

    /// A look at everything, the disparity for programs and the points: "rectified-rows",
    /// "disparity-picture", "disparity-pfm" and, where depths are known, "points-ply".
    static OutputSet makeDefault(bool hasDepth);

    /// Parses a list of names with commas between them, such as "disparity-png16,points-ply".
    /// @param option what the list was given with, for the message
    /// @throws Failure "unknown-product" about the option; it lists those that exist
    static OutputSet parse(const std::string& option, const std::string& list);

    /// All names that parse() takes, with commas between them.
    static std::string listNames();

    bool has(Product product) const { return _products.count(product) != 0; }

    const std::set<Product>& products() const { return _products; }

    /// Whether depths must be known to write the set, not only disparities.
    bool needsDepth() const;

    /// The files of a pair with this name, in the order in which they are written.
    std::vector<std::string> listFiles(const std::string& name) const;

    /// Tests before the work whether the files of a pair may be written after it.
    /// @throws Failure as OutputFolder::requireFree
    void requireFree(const std::string& name, const OutputFolder& folder) const;

private:
    std::set<Product> _products;
};

/// What was computed of a pair. What the output set does not ask for may be empty.
struct PairResults
{
    std::string name;       ///< what the files are called after
    cv::Mat left;           ///< rectified, as it is shown: `CV_8UC1` or `CV_8UC3`
    cv::Mat right;          ///< of the same size; may differ in type
    cv::Mat rectifiedLeft;  ///< rectified, with the channels and the bit depth of its file
    cv::Mat rectifiedRight; ///< of the same size; may differ in type
    cv::Mat disparity;      ///< `CV_32FC1`, px; +infinity where nothing was matched
    cv::Mat unsearched;     ///< `CV_8UC1`, not 0 where the matcher cannot search; empty when not known
    cv::Mat levels;         ///< `CV_8UC1` as for drawLevels(); empty when all was matched at full size
    cv::Mat confidence;     ///< `CV_32FC1`, 0 to 1; empty without
    cv::Mat points;         ///< `CV_32FC3`, m, (0, 0, 0) where none can be trusted; empty without depths
};

struct PairOutput
{
    std::vector<std::filesystem::path> files;
    Notes notes; ///< what did not fit into a format: "disparity-out-of-range", "depth-out-of-range"
};

/// Encodes and writes the chosen results of a pair.
///
/// Several threads may write into one folder at the same time, each a pair of another name.
/// A file that the folder keeps is neither written nor listed.
/// @throws Failure "no-depth" when something is chosen that the results lack, and as OutputFiles; then there
///         is no file
VISION_TOOLKIT_EXPORT PairOutput writePairOutput(const PairResults& results, const PictureScale& scale,
                                                 const OutputSet& set, const OutputFolder& folder);

} // namespace vision::toolkit

#endif
