#include "output/image_bytes.h"

#include <opencv2/imgcodecs.hpp>

#include <vector>

namespace vision::toolkit {

std::string encodeImage(const char* extension, const cv::Mat& image)
{
    std::vector<unsigned char> bytes;
    cv::imencode(extension, image, bytes);
    return {bytes.begin(), bytes.end()};
}

} // namespace vision::toolkit
