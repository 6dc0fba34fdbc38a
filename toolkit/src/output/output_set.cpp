// SPDX-License-Identifier: Apache-2.0
#include <vision/toolkit/output/pair_output.h>

#include <vision/toolkit/failure.h>

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace vision::toolkit {

namespace {

/// A product, its name in lists and what its files have behind the name of the pair.
struct Description
{
    Product product;
    const char* name;
    std::vector<const char*> endings;
    bool needsDepth = false;
};

/// In the order of the enumeration.
const std::vector<Description>& describeAll()
{
    static const std::vector<Description> all{
        {Product::DisparityPicture, "disparity-picture", {"-disparity.png"}},
        {Product::DisparityPfm, "disparity-pfm", {"-disparity.pfm"}},
        {Product::DisparityTiff, "disparity-tiff", {"-disparity.tiff"}},
        {Product::DisparityPng16, "disparity-png16", {"-disparity16.png"}},
        {Product::DepthPicture, "depth-picture", {"-depth.png"}, true},
        {Product::DepthPng16, "depth-png16", {"-depth16.png"}, true},
        {Product::DepthTiff, "depth-tiff", {"-depth.tiff"}, true},
        {Product::Points, "points-ply", {"-points.ply"}, true},
        {Product::Rectified, "rectified", {"-rectified-left.png", "-rectified-right.png"}},
        {Product::RectifiedRows, "rectified-rows", {"-rectified.png"}},
        {Product::Confidence, "confidence", {"-confidence.tiff"}},
        {Product::LevelPicture, "level-picture", {"-level.png"}},
    };
    return all;
}

Product findProduct(const std::string& option, const std::string& name)
{
    const auto& all = describeAll();
    const auto found = std::find_if(
        all.begin(), all.end(), [&name](const Description& known) { return known.name == name; });
    if (found == all.end()) {
        throw Failure(
            "unknown-product",
            option,
            fmt::format("there is no \"{}\"; give one or more of {}", name, OutputSet::listNames()));
    }
    return found->product;
}

} // namespace

OutputSet OutputSet::makeDefault(bool hasDepth)
{
    std::set<Product> products{Product::RectifiedRows, Product::DisparityPicture, Product::DisparityPfm};
    if (hasDepth) {
        products.insert(Product::Points);
    }
    return OutputSet(products);
}

OutputSet OutputSet::parse(const std::string& option, const std::string& list)
{
    std::set<Product> products;
    std::istringstream names(list + ",");
    for (std::string name; std::getline(names, name, ',');) {
        products.insert(findProduct(option, name));
    }
    return OutputSet(products);
}

std::string OutputSet::listNames()
{
    std::string names;
    for (const Description& known : describeAll()) {
        names += (names.empty() ? "" : ",") + std::string(known.name);
    }
    return names;
}

bool OutputSet::needsDepth() const
{
    const auto& all = describeAll();
    return std::any_of(all.begin(), all.end(), [this](const Description& known) {
        return known.needsDepth && has(known.product);
    });
}

std::vector<std::string> OutputSet::listFiles(const std::string& name) const
{
    std::vector<std::string> files;
    for (const Description& known : describeAll()) {
        if (has(known.product)) {
            for (const char* ending : known.endings) {
                files.push_back(name + ending);
            }
        }
    }
    return files;
}

void OutputSet::requireFree(const std::string& name, const OutputFolder& folder) const
{
    for (const std::string& file : listFiles(name)) {
        folder.requireFree(file);
    }
}

} // namespace vision::toolkit
