// SPDX-License-Identifier: Apache-2.0
/// The library's own semi-global matcher beside those of OpenCV, each checked both ways.
#include "measuring.h"

#include <vision/toolkit/matching/matcher.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace vision::toolkit;

struct Subject
{
    const char* name;
    cv::Size size;
    int disparities;
};

cv::Mat mirror(const cv::Mat& image)
{
    cv::Mat mirrored;
    cv::flip(image, mirrored, 1);
    return mirrored;
}

/// Both directions, as a check of one against the other needs them.
void matchTwice(cv::StereoMatcher& matcher, const RectifiedPair& pair)
{
    cv::Mat disparity;
    matcher.compute(pair.left, pair.right, disparity);
    matcher.compute(mirror(pair.right), mirror(pair.left), disparity);
}

std::vector<measuring::Contender> listContenders(const RectifiedPair& pair, int disparities, Matcher& one,
                                                 Matcher& all)
{
    const auto own = [&pair, disparities](Matcher& matcher, Trust trust) {
        MatcherSettings settings;
        settings.trust = trust;
        Matches matches;
        matcher.match(pair, {0, disparities}, settings, matches);
    };
    const auto blocks = cv::StereoBM::create(disparities, 17);
    blocks->setPreFilterCap(31); // the largest of its faster half
    const auto threeWay = cv::StereoSGBM::create(
        0, disparities, 5, 250, 1600, 1, 63, 4, 200, 1, cv::StereoSGBM::MODE_SGBM_3WAY);
    return {{"sgm, one thread", [own, &one] { own(one, Trust::Usual); }},
            {"sgm, all cores", [own, &all] { own(all, Trust::Usual); }},
            {"sgm, high trust, one thread", [own, &one] { own(one, Trust::High); }},
            {"`cv::StereoBM` twice", [blocks, &pair] { matchTwice(*blocks, pair); }},
            {"`cv::StereoSGBM`, 3-way, twice", [threeWay, &pair] { matchTwice(*threeWay, pair); }}};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: matchers IMAGES ROUNDS\n");
        return 2;
    }
    const std::string images = argv[1];
    const Subject subjects[] = {
        {"aloe", {640, 480}, 128}, {"aloe", {640, 480}, 272}, {"aloe", {1282, 1110}, 208}};
    std::puts("\nMatching both ways; OpenCV's matchers on one thread\n\n| images, disparities | matcher | ms "
              "| ratio to sgm "
              "|\n|---|---|---:|---:|");
    cv::setNumThreads(1);
    for (const Subject& subject : subjects) {
        RectifiedPair pair;
        cv::resize(cv::imread(images + "/aloeL.jpg", cv::IMREAD_GRAYSCALE),
                   pair.left,
                   subject.size,
                   0,
                   0,
                   cv::INTER_AREA);
        cv::resize(cv::imread(images + "/aloeR.jpg", cv::IMREAD_GRAYSCALE),
                   pair.right,
                   subject.size,
                   0,
                   0,
                   cv::INTER_AREA);
        Matcher one(1);
        Matcher all(std::thread::hardware_concurrency());
        for (const measuring::Result& result :
             measuring::compare(listContenders(pair, subject.disparities, one, all), std::stoi(argv[2]))) {
            std::printf("| %d x %d, %d | %s | %.1f | %.2f |\n",
                        subject.size.width,
                        subject.size.height,
                        subject.disparities,
                        result.name.c_str(),
                        result.milliseconds.median,
                        result.ratio.median);
        }
    }
}
