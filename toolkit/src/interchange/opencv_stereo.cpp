// SPDX-License-Identifier: Apache-2.0
#include "interchange/source.h"

#include <vision/toolkit/failure.h>

#include <document_guard.h>

#include <opencv2/core.hpp>

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace vision::toolkit {

namespace {

struct Document
{
    std::string file;
    cv::FileStorage storage;
};

Document openDocument(const std::string& file)
{
    try {
        guard::requireSafeDocument(file);
        Document document{file, cv::FileStorage(file, cv::FileStorage::READ)};
        if (!document.storage.isOpened()) {
            throw Failure("unreadable", file, "cannot be read");
        }
        return document;
    } catch (const cv::Exception& error) {
        throw Failure("unreadable", file, "is no document that OpenCV can read: " + describe(error).text);
    } catch (const std::invalid_argument& error) {
        throw Failure("unsafe-document", "", error.what()); // of the guard, with the name
    }
}

cv::Mat readEntry(const Document& document, const char* key)
{
    try {
        const cv::FileNode node = document.storage[key];
        guard::requireSafeMatrix(key, node);
        cv::Mat matrix;
        cv::read(node, matrix);
        return matrix;
    } catch (const std::exception& error) {
        throw Failure("calibration-entry",
                      document.file,
                      std::string("its ") + key + " cannot be read: " + describe(error).text);
    }
}

cv::Mat readMatrix(const std::vector<Document>& documents, const std::vector<std::string>& files,
                   const char* key, int rows, int columns)
{
    cv::Mat matrix;
    for (const Document& document : documents) {
        const cv::Mat entry = readEntry(document, key);
        matrix = entry.empty() ? matrix : entry;
    }
    const bool fits = matrix.dims == 2 && matrix.channels() == 1 && matrix.depth() >= CV_32F &&
                      (rows == 0 || (matrix.rows == rows && matrix.cols == columns)) &&
                      cv::checkRange(matrix);
    if (matrix.empty() || !fits) {
        throw Failure("calibration-entry",
                      files.front(),
                      std::string("lacks a usable matrix ") + key +
                          "; give both files, intrinsics.yml and extrinsics.yml");
    }
    matrix.convertTo(matrix, CV_32F);
    return matrix;
}

} // namespace

CalibrationPair readOpenCvStereo(const std::vector<std::string>& files, const ForeignDetails& details)
{
    if (!details.imageSize) {
        throw Failure(
            "image-size-needed", files.front(), "does not hold the size of the images, which must be given");
    }
    if (!details.metresPerUnit) {
        throw Failure(
            "unit-needed",
            files.front(),
            "does not say in what its lengths are: give the edge of a square as the sample was given it, "
            "or the unit");
    }
    std::vector<Document> documents;
    std::transform(files.begin(), files.end(), std::back_inserter(documents), openDocument);
    CalibrationPair pair;
    const char* const keys[2][4] = {{"M1", "D1", "R1", "P1"}, {"M2", "D2", "R2", "P2"}};
    Calibration* const records[] = {&pair.left, &pair.right};
    for (int camera = 0; camera < 2; ++camera) {
        Calibration& record = *records[camera];
        record.width = details.imageSize->width;
        record.height = details.imageSize->height;
        record.cameraMatrix = readMatrix(documents, files, keys[camera][0], 3, 3);
        record.distortion = readMatrix(documents, files, keys[camera][1], 0, 0).reshape(1, 1);
        record.rectificationMatrix = readMatrix(documents, files, keys[camera][2], 3, 3);
        record.projectionMatrix = readMatrix(documents, files, keys[camera][3], 3, 4);
        for (int row = 0; row < 2; ++row) {
            record.projectionMatrix.at<float>(row, 3) *= static_cast<float>(*details.metresPerUnit);
        }
    }
    return pair;
}

} // namespace vision::toolkit
