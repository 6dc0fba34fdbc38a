// SPDX-License-Identifier: Apache-2.0
#include "input/image_header.h"

#include "input/jpeg.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace vision::toolkit {

namespace {

using namespace std::string_view_literals;

enum class Order
{
    BigEndian,
    LittleEndian
};

/// Numbers of a file that may end anywhere.
class Reader
{
public:
    Reader(const std::vector<unsigned char>& bytes, Order order) : _bytes(bytes), _order(order) {}

    /// @throws std::out_of_range behind the end of the file
    std::uint64_t number(std::uint64_t at, unsigned count) const
    {
        if (at > _bytes.size() || count > _bytes.size() - at) {
            throw std::out_of_range("the header is cut off");
        }
        std::uint64_t value = 0;
        for (unsigned i = 0; i < count; ++i) {
            const std::uint64_t place = at + (_order == Order::BigEndian ? i : count - 1 - i);
            value = value << 8 | _bytes[static_cast<std::size_t>(place)];
        }
        return value;
    }

    bool holds(std::uint64_t at, std::string_view text) const
    {
        return at <= _bytes.size() && text.size() <= _bytes.size() - at &&
               std::equal(text.begin(),
                          text.end(),
                          _bytes.begin() + static_cast<std::ptrdiff_t>(at),
                          [](char wanted, unsigned char found) {
                              return static_cast<unsigned char>(wanted) == found;
                          });
    }

private:
    const std::vector<unsigned char>& _bytes;
    Order _order;
};

ImageHeader readPng(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, Order::BigEndian);
    return {reader.number(16, 4), reader.number(20, 4), 0, static_cast<unsigned>(reader.number(24, 1))};
}

/// The height is negative when the rows go down.
ImageHeader readBmp(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, Order::LittleEndian);
    constexpr unsigned sizeOfOldHeader = 12;
    if (reader.number(14, 4) == sizeOfOldHeader) {
        return {reader.number(18, 2), reader.number(20, 2)};
    }
    const auto magnitude = [](std::uint64_t number) {
        constexpr std::uint64_t modulus = std::uint64_t{1} << 32;
        return number < modulus / 2 ? number : modulus - number;
    };
    return {magnitude(reader.number(18, 4)), magnitude(reader.number(22, 4))};
}

ImageHeader readSunRaster(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, Order::BigEndian);
    return {reader.number(4, 4), reader.number(8, 4)};
}

/// "P5", width, height and largest value in plain digits, with comments between them.
ImageHeader readPnm(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, Order::BigEndian);
    std::uint64_t at = 2;
    const auto takeNumber = [&] {
        while (std::isspace(static_cast<int>(reader.number(at, 1))) != 0 || reader.holds(at, "#")) {
            const bool isComment = reader.holds(at, "#");
            do {
                ++at; // in a comment that the file ends in, until number() throws
            } while (isComment && reader.number(at, 1) != '\n' && reader.number(at, 1) != '\r');
        }
        constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
        std::uint64_t value = 0;
        for (; std::isdigit(static_cast<int>(reader.number(at, 1))) != 0; ++at) {
            value = std::min(most, 10 * value + reader.number(at, 1) - '0');
        }
        return value;
    };
    ImageHeader header{takeNumber(), takeNumber()};
    const bool isBitmap = bytes[1] == '1' || bytes[1] == '4';
    constexpr std::uint64_t largestByte = 255;
    header.bits = !isBitmap && takeNumber() > largestByte ? 16 : 8;
    return header;
}

ImageHeader readWebp(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, Order::LittleEndian);
    constexpr std::uint64_t fourteenBits = (1 << 14) - 1;
    if (reader.holds(12, "VP8X")) {
        return {reader.number(24, 3) + 1, reader.number(27, 3) + 1};
    }
    if (reader.holds(12, "VP8L")) {
        const std::uint64_t packed = reader.number(21, 4);
        return {(packed & fourteenBits) + 1, (packed >> 14 & fourteenBits) + 1};
    }
    return {reader.number(26, 2) & fourteenBits, reader.number(28, 2) & fourteenBits};
}

/// A codestream in one of the boxes of the file.
ImageHeader readJpeg2000(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, Order::BigEndian);
    std::uint64_t at = 0;
    while (!reader.holds(at + 4, "jp2c")) {
        const std::uint64_t length = reader.number(at, 4);
        const std::uint64_t step = length == 1 ? reader.number(at + 8, 8) : length;
        if (step < 8 || step > bytes.size()) {
            throw std::out_of_range("the box does not end inside the file");
        }
        at += step;
    }
    at += reader.number(at, 4) == 1 ? 16 : 8;
    if (!reader.holds(at, "\xFF\x4F\xFF\x51"sv)) {
        throw std::invalid_argument("the codestream does not begin with its size");
    }
    const std::uint64_t size = at + 8;
    return {reader.number(size, 4) - std::min(reader.number(size, 4), reader.number(size + 8, 4)),
            reader.number(size + 4, 4) - std::min(reader.number(size + 4, 4), reader.number(size + 12, 4)),
            reader.number(size + 16, 4) * reader.number(size + 20, 4),
            static_cast<unsigned>((reader.number(size + 34, 1) & 0x7F) + 1)};
}

/// The first directory of a TIFF: entries of a tag, a type, a count and a value.
ImageHeader readTiff(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, bytes[0] == 'I' ? Order::LittleEndian : Order::BigEndian);
    constexpr unsigned bigTiff = 43;
    const bool isBig = reader.number(2, 2) == bigTiff;
    const unsigned wide = isBig ? 8 : 4; // bytes of a count and of a value
    std::uint64_t at = reader.number(wide, wide);
    const std::uint64_t entries = reader.number(at, isBig ? 8 : 2);
    at += isBig ? 8 : 2;

    const auto takeValue = [&](std::uint64_t entry) {
        constexpr unsigned shortType = 3;
        const bool isShort = reader.number(entry + 2, 2) == shortType;
        const std::uint64_t value = entry + 4 + wide;
        const bool isElsewhere = isShort && reader.number(entry + 4, wide) > wide / 2;
        const std::uint64_t first = isElsewhere ? reader.number(value, wide) : value;
        return reader.number(first, isShort ? 2 : 4);
    };
    ImageHeader header;
    std::uint64_t tileWidth = 0;
    std::uint64_t tileHeight = 0;
    for (std::uint64_t i = 0; i < entries; ++i, at += 4 + 2 * wide) {
        switch (reader.number(at, 2)) {
        case 256:
            header.width = takeValue(at);
            break;
        case 257:
            header.height = takeValue(at);
            break;
        case 258:
            header.bits = static_cast<unsigned>(takeValue(at));
            break;
        case 322:
            tileWidth = takeValue(at);
            break;
        case 323:
            tileHeight = takeValue(at);
            break;
        default:
            break;
        }
    }
    header.decodedAtOnce = tileWidth * tileHeight;
    return header;
}

struct Format
{
    std::string_view signature;
    ImageHeader (*read)(const std::vector<unsigned char>& bytes);
};

constexpr Format formats[] = {
    {"\x89PNG\r\n\x1A\n"sv, readPng},
    {"\xFF\xD8\xFF"sv, readJpegHeader},
    {"II*\0"sv, readTiff},
    {"MM\0*"sv, readTiff},
    {"II+\0"sv, readTiff},
    {"MM\0+"sv, readTiff},
    {"BM"sv, readBmp},
    {"P1"sv, readPnm},
    {"P2"sv, readPnm},
    {"P3"sv, readPnm},
    {"P4"sv, readPnm},
    {"P5"sv, readPnm},
    {"P6"sv, readPnm},
    {"RIFF"sv, readWebp},
    {"\0\0\0\x0CjP  \r\n\x87\n"sv, readJpeg2000},
    {"\x59\xA6\x6A\x95"sv, readSunRaster},
};

} // namespace

std::uint64_t ImageHeader::pixels() const
{
    constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max(); // so that no product overflows
    return std::max(std::min(width, most) * std::min(height, most), decodedAtOnce);
}

std::optional<ImageHeader> readImageHeader(const std::vector<unsigned char>& bytes)
{
    const Reader reader(bytes, Order::BigEndian);
    const auto* format = std::find_if(std::begin(formats), std::end(formats), [&reader](const Format& known) {
        return reader.holds(0, known.signature);
    });
    if (format == std::end(formats) || (format->read == readWebp && !reader.holds(8, "WEBP"))) {
        return std::nullopt;
    }
    try {
        const ImageHeader header = format->read(bytes);
        return header.width > 0 && header.height > 0 ? std::optional(header) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace vision::toolkit
