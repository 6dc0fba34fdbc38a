// SPDX-License-Identifier: Apache-2.0
#include "features/correlation.h"

#include <opencv2/core/hal/hal.hpp>

#include <algorithm>
#include <array>
#include <cstdint>

namespace vision::toolkit {

namespace {

constexpr int width = CorrelationTarget::widestPatch;

/// The rows of a patch, filled up with zeros, and its moments. All sums of at most 16 x 16 values of a byte,
/// and what is made of them below, fit into 32 bits; overflow on the way is that of unsigned numbers and
/// cancels out.
struct Patch
{
    explicit Patch(const cv::Mat& image) : size(image.size())
    {
        for (int y = 0; y < size.height; ++y) {
            for (int x = 0; x < size.width; ++x) {
                const auto value = image.at<unsigned char>(y, x);
                rows[static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)] = value;
                sum += value;
                squares += std::uint32_t{value} * value;
            }
        }
    }

    [[nodiscard]] std::uint32_t count() const { return static_cast<std::uint32_t>(size.area()); }

    cv::Size size;
    std::array<short, std::size_t{width} * width> rows{};
    std::uint32_t sum = 0;
    std::uint32_t squares = 0;
};

std::uint32_t sumOver(const cv::Mat_<int>& integral, int x, int y, const cv::Size& size)
{
    const auto at = [&](int column, int row) { return static_cast<std::uint32_t>(integral(row, column)); };
    return at(x + size.width, y + size.height) - at(x, y + size.height) - at(x + size.width, y) + at(x, y);
}

std::uint32_t multiply(const Patch& patch, const cv::Mat_<short>& image, int x, int y)
{
    int sum = 0;
    for (int row = 0; row < patch.size.height; ++row) {
        const short* const a = &patch.rows[static_cast<std::size_t>(row) * width];
        const short* const b = image[y + row] + x;
        for (int column = 0; column < width; ++column) {
            sum += a[column] * b[column];
        }
    }
    return static_cast<std::uint32_t>(sum);
}

/// count^2 times a variance or covariance.
float momentOf(std::uint32_t count, std::uint32_t products, std::uint32_t first, std::uint32_t second)
{
    return static_cast<float>(static_cast<std::int32_t>(count * products - first * second));
}

} // namespace

CorrelationTarget::CorrelationTarget(const cv::Mat& grey)
    : _size(grey.size()), _values(grey.rows, grey.cols + width, short{0}),
      _sums(grey.rows + 1, grey.cols + 1, 0), _squares(grey.rows + 1, grey.cols + 1, 0)
{
    for (int y = 0; y < grey.rows; ++y) {
        const auto* const source = grey.ptr<unsigned char>(y);
        std::uint32_t sum = 0, squares = 0;
        for (int x = 0; x < grey.cols; ++x) {
            const std::uint32_t value = source[x];
            _values(y, x) = source[x];
            sum += value;
            squares += value * value;
            _sums(y + 1, x + 1) = static_cast<int>(static_cast<std::uint32_t>(_sums(y, x + 1)) + sum);
            _squares(y + 1, x + 1) =
                static_cast<int>(static_cast<std::uint32_t>(_squares(y, x + 1)) + squares);
        }
    }
}

cv::Mat CorrelationTarget::correlate(const cv::Mat& patch, const cv::Rect& part) const
{
    const Patch wanted(patch);
    const std::uint32_t count = wanted.count();
    const float own = std::max(momentOf(count, wanted.squares, wanted.sum, wanted.sum), 1.0F);
    cv::Mat_<float> scores(part.height - patch.rows + 1, part.width - patch.cols + 1);
    cv::Mat_<float> scale(1, scores.cols);
    for (int row = 0; row < scores.rows; ++row) {
        const int y = part.y + row;
        float* const score = scores[row];
        for (int column = 0; column < scores.cols; ++column) {
            const int x = part.x + column;
            const std::uint32_t sum = sumOver(_sums, x, y, wanted.size);
            const float variance = momentOf(count, sumOver(_squares, x, y, wanted.size), sum, sum);
            score[column] = momentOf(count, multiply(wanted, _values, x, y), wanted.sum, sum);
            scale(0, column) = own * std::max(variance, 1.0F);
        }
        cv::hal::invSqrt32f(scale[0], scale[0], scores.cols);
        for (int column = 0; column < scores.cols; ++column) {
            score[column] *= scale(0, column);
        }
    }
    return scores;
}

} // namespace vision::toolkit
