#include <vision/toolkit/input/image_pair.h>

#include <vision/toolkit/failure.h>
#include <vision/toolkit/input/image_file.h>
#include <vision/toolkit/text.h>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <filesystem>

namespace vision::toolkit {

namespace {

cv::Mat readUsable(const std::string& file)
{
    cv::Mat image = readImage(file);
    if (image.depth() != CV_8U && image.depth() != CV_16U) {
        throw Failure(file + ": has neither 8 nor 16 bits per channel; convert it to such a PNG");
    }
    if (image.channels() != 1 && image.channels() != 3 && image.channels() != 4) {
        throw Failure(file + ": is neither grey nor colour; convert it to a grey PNG");
    }
    return image;
}

/// How many bits the sensor seems to have had.
int countBits(double brightest)
{
    int bits = 8;
    while (bits < 16 && brightest >= (1 << bits)) {
        bits += 2;
    }
    return bits;
}

double findBrightest(const cv::Mat& image)
{
    double brightest = 0;
    cv::minMaxLoc(image.reshape(1), nullptr, &brightest);
    return brightest;
}

void convertToEightBits(cv::Mat& left, cv::Mat& right, Notes& notes)
{
    double brightest = 0;
    for (const cv::Mat* image : {&left, &right}) {
        if (image->depth() == CV_16U) {
            brightest = std::max(brightest, findBrightest(*image));
        }
    }
    const double factor = 255.0 / ((1 << countBits(brightest)) - 1);
    bool isScaled = false;
    for (cv::Mat* image : {&left, &right}) {
        if (image->depth() == CV_16U) {
            image->convertTo(*image, CV_8U, factor);
            isScaled = true;
        }
    }
    if (isScaled) {
        notes.push_back({"scaled-to-8-bits",
                         "16-bit images are scaled to 8 bits (taken as the fewest of 8, 10, "
                         "12, 14 and 16 that hold the brightest pixel of the pair)"});
    }
}

void noteOnce(const char* code, const char* text, Notes& notes)
{
    if (std::none_of(notes.begin(), notes.end(), [code](const Note& note) { return note.code == code; })) {
        notes.push_back({code, text});
    }
}

InputImage convertColour(const cv::Mat& image, Notes& notes)
{
    InputImage input{image, image};
    if (image.channels() == 4) {
        cv::cvtColor(image, input.view, cv::COLOR_BGRA2BGR);
        noteOnce("alpha-ignored", "the alpha channel of images is ignored", notes);
    }
    if (input.view.channels() == 3) {
        cv::cvtColor(input.view, input.grey, cv::COLOR_BGR2GRAY);
        noteOnce("converted-to-grey", "colour images are converted to grey for matching", notes);
    }
    return input;
}

} // namespace

std::vector<PairFiles> pairUp(const std::vector<std::string>& left, const std::vector<std::string>& right)
{
    if (left.size() != right.size()) {
        throw Failure("--left names " + std::to_string(left.size()) + " images and --right " +
                      std::to_string(right.size()) +
                      ": give one right image for each left one, in the same order");
    }
    std::vector<PairFiles> pairs;
    for (std::size_t i = 0; i < left.size(); ++i) {
        pairs.push_back({left[i], right[i]});
    }
    return pairs;
}

ImagePair readImagePair(const PairFiles& files)
{
    std::error_code ignored;
    if (std::filesystem::equivalent(files.left, files.right, ignored)) {
        throw Failure(files.left + ": is given as left and as right image; name the other camera's image");
    }
    cv::Mat left = readUsable(files.left);
    cv::Mat right = readUsable(files.right);
    if (left.size() != right.size()) {
        throw Failure(files.left + " is " + formatSize(left.size()) + " and " + files.right + " is " +
                      formatSize(right.size()) + ": both images of a pair must have the same size");
    }
    ImagePair pair;
    convertToEightBits(left, right, pair.notes);
    pair.left = convertColour(left, pair.notes);
    pair.right = convertColour(right, pair.notes);
    return pair;
}

} // namespace vision::toolkit
