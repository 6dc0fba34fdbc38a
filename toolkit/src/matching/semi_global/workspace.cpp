// SPDX-License-Identifier: Apache-2.0
#include "matching/semi_global/workspace.h"

#include <algorithm>

namespace vision::toolkit::semi_global {

namespace {

/// Parts of one block of memory.
class Cutter
{
public:
    explicit Cutter(std::uint8_t* first) : _first(first) {}

    /// @param before bytes in front of what is returned
    std::uint8_t* cut(std::size_t size, std::size_t before = 0)
    {
        std::uint8_t* const part = _first == nullptr ? nullptr : _first + _used + roundUp(before);
        _used += roundUp(before) + roundUp(size + line); // vectors may reach beyond the end
        return part;
    }

    /// One of the large parts that are gone through together. They must not lie at the same places of their
    /// pages: a load seems to depend on a store with the same lower bits.
    std::uint8_t* cutStaggered(std::size_t size, std::size_t number, std::size_t before = 0)
    {
        constexpr std::size_t page = 4096;
        constexpr std::size_t apart = 576; // a seventh of a page, in whole lines
        const std::size_t inPage = (_used + page - 1) / page * page;
        _used = inPage + number * apart;
        return cut(size, before);
    }

    std::size_t used() const { return _used; }

private:
    static constexpr std::size_t line = 64;

    static std::size_t roundUp(std::size_t size) { return (size + line - 1) / line * line; }

    std::uint8_t* _first;
    std::size_t _used = 0;
};

Workspace cutAll(const Pair& pair, int rows, Cutter& cutter)
{
    const auto width = static_cast<std::size_t>(pair.width);
    const auto steps = static_cast<std::size_t>(pair.steps);
    const auto before = static_cast<std::size_t>(std::max(-pair.settings.minDisparity, 0));
    const auto behind = static_cast<std::size_t>(std::max(pair.settings.minDisparity + pair.steps, 0));
    Workspace memory{};
    for (std::uint8_t*& row : memory.rawRows) {
        row = cutter.cut(width);
    }
    for (std::uint8_t*& row : memory.leftFeatures) {
        row = cutter.cut(width);
    }
    for (std::uint8_t*& row : memory.rightFeatures) {
        row = cutter.cut(width + behind + searchStep, before);
    }
    memory.jumpFromLeft = cutter.cut(width + 1);
    memory.jumpFromAbove = cutter.cut(width);
    memory.side = cutter.cut(steps + searchStep);
    memory.diagonal = cutter.cut(steps + searchStep);
    memory.scratch = cutter.cut(width + searchStep, 1);
    memory.rightLeast = cutter.cut(width + steps);
    memory.aboveLeast = cutter.cut(width);
    memory.choices.step = reinterpret_cast<std::uint16_t*>(cutter.cut(width * sizeof(std::uint16_t)));
    memory.choices.before = cutter.cut(width);
    memory.choices.least = cutter.cut(width);
    memory.choices.after = cutter.cut(width);
    memory.choices.second = cutter.cut(width);
    memory.choices.contradiction = cutter.cut(width);
    memory.stillRows = cutter.cut(width + searchStep + flatRadius, flatRadius);
    std::size_t number = 0;
    for (std::uint8_t** sums :
         {&memory.raw[0], &memory.raw[1], &memory.once[0], &memory.once[1], &memory.cost, &memory.sum}) {
        *sums = cutter.cutStaggered(width * steps, number++);
    }
    memory.above = cutter.cutStaggered(
        (width + static_cast<std::size_t>(rows + warmUp)) * (steps + searchStep), number, searchStep);
    return memory;
}

} // namespace

Workspace WorkspaceMemory::prepare(const Pair& pair, int rows)
{
    constexpr std::size_t line = 64;
    Cutter measure(nullptr);
    cutAll(pair, rows, measure);
    if (_bytes.size() < measure.used() + line) {
        _bytes.resize(measure.used() + line);
    }
    const std::size_t offset = line - reinterpret_cast<std::uintptr_t>(_bytes.data()) % line;
    Cutter cutter(_bytes.data() + offset);
    return cutAll(pair, rows, cutter);
}

} // namespace vision::toolkit::semi_global
