// SPDX-License-Identifier: Apache-2.0
#include "input/image_header.h"
#include "support/scratch_folder.h"

#include <vision/toolkit/evaluation/evaluation.h>
#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/input/pair_sequence.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <vector>

using namespace vision::toolkit;

/// Reads the input, behind a byte that chooses how, as an image, a disparity image or a list of images. What
/// comes of it is an image within the limits or a Failure that names the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const support::ScratchFolder folder;
    if (size == 0) {
        return 0;
    }
    const ImageLimits limits{1, {}};
    const std::string file = folder.path() + "/input.txt";
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
    try {
        cv::Mat image;
        switch (data[0] % 3) {
        case 0:
            (void)readImageHeader(std::vector<unsigned char>(data + 1, data + size));
            image = readImage(file, limits);
            break;
        case 1:
            image = readDisparity(file, 1.0, limits).disparity;
            break;
        default:
            (void)openPairs({{file}, {}, true, limits})->notes();
            break;
        }
        if (image.total() > 1'000'000) {
            std::abort();
        }
    } catch (const Failure& failure) {
        if (failure.note().code == "failure" || failure.note().text.empty()) {
            std::abort();
        }
    }
    return 0;
}
