// SPDX-License-Identifier: Apache-2.0
#include "input/number_mismatch.h"

#include <fmt/format.h>

#include <filesystem>
#include <set>
#include <string>

namespace vision::toolkit {

namespace {

/// Digits without zeros in front: as text, since timestamps may exceed every integer.
std::string findNumber(const std::string& file)
{
    constexpr const char* digits = "0123456789";
    const std::string name = std::filesystem::path(file).stem().string();
    const std::size_t last = name.find_last_of(digits);
    if (last == std::string::npos) {
        return {};
    }
    const std::size_t before = name.find_last_not_of(digits, last);
    const std::size_t first = before == std::string::npos ? 0 : before + 1;
    const std::string number = name.substr(first, last - first + 1);
    return number.substr(std::min(number.find_first_not_of('0'), number.size() - 1));
}

} // namespace

Notes findNumberMismatch(const std::vector<PairNames>& pairs)
{
    std::set<std::string> left;
    std::set<std::string> right;
    for (const PairNames& pair : pairs) {
        left.insert(findNumber(pair.left));
        right.insert(findNumber(pair.right));
    }
    std::size_t unequal = 0;
    const PairNames* first = nullptr;
    for (const PairNames& pair : pairs) {
        const std::string numbers[] = {findNumber(pair.left), findNumber(pair.right)};
        const bool hasOther = right.count(numbers[0]) + left.count(numbers[1]) > 0;
        if (!numbers[0].empty() && !numbers[1].empty() && numbers[0] != numbers[1] && hasOther) {
            ++unequal;
            first = first == nullptr ? &pair : first;
        }
    }
    if (first == nullptr) {
        return {};
    }
    return {
        {"numbers-disagree",
         Severity::Doubtful,
         fmt::format("the numbers in the names of {} of {} pairs differ, first in {} and {}, although there "
                     "are images with equal ones: is an image missing?",
                     unequal,
                     pairs.size(),
                     first->left,
                     first->right)}};
}

} // namespace vision::toolkit
