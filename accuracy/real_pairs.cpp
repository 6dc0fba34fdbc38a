// SPDX-License-Identifier: Apache-2.0
#include "test_pairs.h"

#include <vision/stereo.h>
#include <vision/toolkit/board/board_search.h>
#include <vision/toolkit/calibration/calibration_report.h>
#include <vision/toolkit/evaluation/evaluation.h>
#include <vision/toolkit/input/images.h>
#include <vision/toolkit/input/pair_sequence.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <tuple>

namespace accuracy {

namespace {

using namespace vision::toolkit;

/// Corners of a raw image where they are in the rectified one.
std::vector<cv::Point2f> rectify(const Corners& corners, const vision::Calibration& camera)
{
    std::vector<cv::Point2f> rectified;
    cv::undistortPoints(corners,
                        rectified,
                        camera.cameraMatrix,
                        camera.distortion,
                        camera.rectificationMatrix,
                        camera.projectionMatrix);
    return rectified;
}

} // namespace

TestSet loadAloe(const std::string& folder)
{
    constexpr double pxPerLevel = 1;
    const ImagePair images = readImagePair({folder + "/aloeL.jpg", folder + "/aloeR.jpg"});
    TestPair pair;
    pair.images = {images.left.grey, images.right.grey, {}, {}};
    pair.truth = readDisparity(folder + "/aloeGT.png", pxPerLevel).disparity;
    return {{pair}, false};
}

TestSet loadBoards(const std::string& folder)
{
    Board board;
    board.size = {9, 6};
    board.spacing = 0.025;
    const auto pairs = openPairs({{folder + "/left??.jpg"}, {folder + "/right??.jpg"}, false});
    const BoardSearch search = findBoards(*pairs, board, 1);
    const CalibrationPair cameras = calibrate(search, {}).result.value().records;
    vision::Stereo stereo;
    stereo.setCalibrations(cameras.left, cameras.right);

    TestSet set{{}, true};
    for (std::size_t i = 0; i < pairs->size(); ++i) {
        const ImagePair images = toEightBits(pairs->take(i)());
        TestPair pair;
        std::tie(pair.images.left, pair.images.right) =
            stereo.rectifyImages(images.left.grey, images.right.grey);
        const auto left = rectify(search.pairs[i].view.left, cameras.left);
        const auto right = rectify(search.pairs[i].view.right, cameras.right);
        for (std::size_t corner = 0; corner < left.size(); ++corner) {
            pair.corners.emplace_back(left[corner].x, left[corner].y, left[corner].x - right[corner].x);
        }
        set.pairs.push_back(pair);
    }
    return set;
}

TestSet shrink(const TestSet& set, int divisor)
{
    TestSet smaller{{}, set.isSequence};
    const float factor = 1.0f / static_cast<float>(divisor);
    for (const TestPair& pair : set.pairs) {
        const cv::Size size = pair.images.left.size() / divisor;
        TestPair result;
        cv::resize(pair.images.left, result.images.left, size, 0, 0, cv::INTER_AREA);
        cv::resize(pair.images.right, result.images.right, size, 0, 0, cv::INTER_AREA);
        if (!pair.truth.empty()) {
            cv::resize(pair.truth, result.truth, size, 0, 0, cv::INTER_NEAREST);
            result.truth *= static_cast<double>(size.width) / pair.truth.cols;
        }
        for (const cv::Point3f& corner :
             pair.corners) { // pixels are counted from the centre of the first one
            result.corners.emplace_back(
                (corner.x + 0.5f) * factor - 0.5f, (corner.y + 0.5f) * factor - 0.5f, corner.z * factor);
        }
        smaller.pairs.push_back(result);
    }
    return smaller;
}

} // namespace accuracy
