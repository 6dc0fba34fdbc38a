// SPDX-License-Identifier: Apache-2.0
#include "input/video_container.h"

#include "files/regular_file.h"

#include <vision/toolkit/failure.h>

#include <algorithm>
#include <string_view>

namespace vision::toolkit {

namespace {

using namespace std::string_view_literals;

struct Container
{
    std::size_t at;
    std::string_view signature;
    bool countsFrames = false;
};

constexpr std::size_t transportPacket = 188; // bytes, each beginning with the same one

constexpr Container containers[] = {
    {8, "AVI "sv, true},
    {4, "ftyp"sv, true}, // MP4, MOV, 3GP
    {4, "moov"sv, true},
    {4, "mdat"sv, true},
    {4, "wide"sv, true},
    {4, "free"sv, true},
    {0, "\x1A\x45\xDF\xA3"sv}, // Matroska, WebM
    {0, "\0\0\1\xBA"sv},       // MPEG
    {0, "\0\0\1\xB3"sv},
    {0, "OggS"sv},
    {0, "FLV\1"sv},
    {0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11"sv}, // WMV
    {0, "\xFF\xD8\xFF"sv},                     // JPEG images in a row
    {transportPacket, "G"sv},
};

} // namespace

bool requireContainer(const std::string& file)
{
    const auto bytes = readBeginning(file, transportPacket + 1);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto* container =
        std::find_if(std::begin(containers), std::end(containers), [text](const Container& known) {
            return text.size() > known.at && text.substr(known.at, known.signature.size()) == known.signature;
        });
    const bool isTransport = container != std::end(containers) && container->at == transportPacket;
    if (container == std::end(containers) || (isTransport && text.front() != 'G')) {
        throw Failure(
            "video-format",
            file,
            "cannot open the video: it is none of AVI, MP4, MOV, Matroska, WebM, MPEG, Ogg, FLV and WMV; "
            "convert it, for example to H.264 in MP4");
    }
    return container->countsFrames;
}

} // namespace vision::toolkit
