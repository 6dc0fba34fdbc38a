// SPDX-License-Identifier: Apache-2.0
/// @file
/// The calibration record of one camera, its file and its scaling.
#ifndef VISION_CALIBRATION_H
#define VISION_CALIBRATION_H

#include <vision/export.h>

#include <opencv2/core.hpp>

#include <string>

namespace vision {

/// The calibration of one camera of a stereo pair, valid for one image size.
///
/// A plain value type. Nothing checks the fields: the shapes and element types given below are what scaleTo()
/// and Stereo rely on. Copies made by the copy constructor, by assignment and by scaleTo() share no matrix
/// data with their source; a `cv::Mat` that the caller assigns to a field shares its data with it, as always.
///
/// Several threads may read (copy, compare, scale, save) one record at once, as long as none modifies it.
class VISION_EXPORT Calibration
{
public:
    /// Width in px of the images that the matrices hold for; 0 in a record that was not filled.
    int width = 0;

    /// Height of these images in px; 0 in a record that was not filled.
    int height = 0;

    /// Intrinsic matrix, 3x3 `CV_32FC1`: rows (fx, 0, cx), (0, fy, cy), (0, 0, 1) in px. Empty by default.
    cv::Mat cameraMatrix;

    /// Coefficients of the lens distortion in the order of `cv::initUndistortRectifyMap`: 4, 5, 8, 12 or 14
    /// in one row or one column. Empty (the default) means no distortion.
    cv::Mat distortion;

    /// Rotation from the camera's frame to the common rectified frame, 3x3. Empty (the default) means none.
    cv::Mat rectificationMatrix;

    /// Projection matrix in the rectified frame, 3x4 `CV_32FC1`: rows (fx', 0, cx', Tx), (0, fy', cy', Ty),
    /// (0, 0, 1, 0) with focal lengths and principal point in px. Tx = -fx' * baseline for the right camera
    /// and 0 for the left one; the unit of the baseline is that of all depths (metres in the files that the
    /// tool writes). Empty by default.
    cv::Mat projectionMatrix;

    /// Makes a record of size 0 x 0 with four empty matrices.
    Calibration() = default;

    /// Copies a record. Every matrix gets a buffer of its own; an empty one stays empty.
    /// @throws cv::Exception,std::bad_alloc when a buffer cannot be allocated
    Calibration(const Calibration& other);

    /// Replaces the record by a deep copy of another one; assigning a record to itself changes no value.
    ///
    /// The former buffers are released and never written into: any other `cv::Mat` that shares one keeps its
    /// values.
    /// @return *this
    /// @throws cv::Exception,std::bad_alloc when a buffer cannot be allocated; width, height and the matrices
    ///         before the failing one (in the order of declaration) then hold the new values, the others the
    ///         old ones
    Calibration& operator=(const Calibration& other);

    ~Calibration() = default;

    /// Compares the image sizes and all matrix elements exactly, without tolerance.
    ///
    /// NaN differs from everything, so a record that holds one differs from its own copy; 0.0 equals -0.0;
    /// two empty matrices are equal. Records of different image sizes differ whatever their matrices hold.
    /// @throws cv::Exception when the image sizes agree and OpenCV cannot compare two of the matrices,
    ///         because their shapes or types differ, just one is empty, or they have more than one channel
    [[nodiscard]] bool operator==(const Calibration& other) const;

    /// The negation of operator==.
    /// @throws cv::Exception as operator==
    [[nodiscard]] bool operator!=(const Calibration& other) const;

    /// Replaces the record by the contents of a calibration file.
    ///
    /// The file is an OpenCV file-storage document (XML, YAML or JSON, also gzipped) with the keys "width",
    /// "height", "cameraMatrix", "distortion", "rectificationMatrix" and "projectionMatrix" at its top level,
    /// in any order. A missing number becomes 0 and a missing matrix empty; further keys are ignored and no
    /// value is validated.
    ///
    /// Files on which OpenCV's parser would crash, hang or use up the memory are refused: anything but
    /// regular files, documents of more than 1 MiB (uncompressed) or with more than 1000 nested levels,
    /// base64 data, NUL bytes, YAML whose top level is neither a block of keys in the first column nor in
    /// brackets with only plain words, numbers and texts in them, XML with a carriage return inside a line,
    /// and matrices that are larger than their file.
    ///
    /// When the document is refused, nothing changes. When one of its entries is, the fields before it (in
    /// the order of declaration) hold the values of the file, the others their old ones.
    /// @param filename path of the file, handed to OpenCV as it is
    /// @throws std::invalid_argument when the name is empty, the file cannot be opened, or the document or a
    ///         matrix in it is refused
    /// @throws cv::Exception when the file is a folder, or OpenCV refuses the document or an entry of it
    /// @throws std::exception of another kind when OpenCV fails otherwise, as for want of memory
    void load(const std::string& filename);

    /// Writes the record to a calibration file. An existing file is replaced.
    ///
    /// That a file cannot be created or completed (missing folder, no permission, full disk) is not detected:
    /// callers who need to know must read the file back.
    /// @param filename path of the file, handed to OpenCV as it is; the extension tells the format: .yml,
    ///        .yaml, .xml or .json, each also with .gz
    /// @throws std::invalid_argument when the name is empty
    /// @throws cv::Exception when OpenCV refuses the name or a value
    void save(const std::string& filename) const;

    /// Derives the calibration for another image size of the same aspect ratio.
    ///
    /// Focal lengths, principal points and translations are multiplied by newWidth / width in single
    /// precision; distortion and rotation do not depend on the image size.
    /// @param newWidth,newHeight the new image size in px; 0 x 0 and negative sizes of the same aspect ratio
    ///        are taken
    /// @throws std::invalid_argument when height * newWidth != width * newHeight
    /// @throws cv::Exception when cameraMatrix is not `CV_32FC1` of at least 2x3, or projectionMatrix not of
    ///         at least 2x4
    [[nodiscard]] Calibration scaleTo(int newWidth, int newHeight) const;
};

} // namespace vision

#endif
