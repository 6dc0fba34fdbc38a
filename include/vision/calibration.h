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
/// A plain value type. Nothing checks the fields: the shapes and element types below are what scaleTo() and
/// Stereo rely on. Copies made by the copy constructor, assignment and scaleTo() share no matrix data with
/// their source; a `cv::Mat` header that the caller assigns to a field does share its data, as always.
///
/// Several threads may read (copy, compare, scale, save) one record at once while none modifies it.
class VISION_EXPORT Calibration
{
public:
    /// Image width in px for which the matrices hold; 0 in a record that was not filled.
    int width = 0;

    /// Image height in px; 0 in a record that was not filled.
    int height = 0;

    /// Intrinsic matrix, 3x3 `CV_32FC1`: rows (fx, 0, cx), (0, fy, cy), (0, 0, 1) in px. Empty by default.
    cv::Mat cameraMatrix;

    /// Lens distortion coefficients in the layout of `cv::initUndistortRectifyMap`, one row or one column
    /// of 4, 5, 8, 12 or 14. Empty (the default) means no distortion.
    cv::Mat distortion;

    /// Rotation from the camera's frame to the common rectified frame, 3x3. Empty (the default) means the
    /// identity.
    cv::Mat rectificationMatrix;

    /// Projection matrix in the rectified frame, 3x4 `CV_32FC1`: rows (fx', 0, cx', Tx), (0, fy', cy', Ty),
    /// (0, 0, 1, 0) in px, where Tx = -fx' * baseline for the right camera and 0 for the left one. The
    /// unit of the baseline is the unit of all depths; files written by the tool use metres. Empty by
    /// default.
    cv::Mat projectionMatrix;

    /// Makes a record of size 0 x 0 with four empty matrices.
    Calibration() = default;

    /// Copies a record; every matrix gets a buffer of its own, an empty one stays empty.
    /// @throws cv::Exception when a buffer cannot be allocated; no object results
    Calibration(const Calibration& other);

    /// Replaces the record by a deep copy of another one; assigning a record to itself changes no value.
    ///
    /// Former buffers are released, never written into: other headers that share them keep their values.
    /// @throws cv::Exception when a buffer cannot be allocated; width, height and the matrices before the
    ///         failing one (in the order of declaration) then hold the new values, the rest the old ones
    /// @return *this
    Calibration& operator=(const Calibration& other);

    ~Calibration() = default;

    /// Compares size and all matrix elements exactly, without tolerance.
    ///
    /// NaN differs from everything, so a record that holds one differs from its own copy; 0.0 equals -0.0;
    /// two empty matrices are equal. Records of different image sizes differ whatever their matrices hold.
    /// @throws cv::Exception when the sizes agree and a pair of matrices cannot be compared by OpenCV:
    ///         different shapes or types, one of them empty, or more than one channel
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
    /// Files that OpenCV's parser would crash, stall or exhaust the memory on are refused: anything but regular
    /// files, documents of more than 1 MiB (uncompressed) or with more than 1000 nested levels, base64 data, NUL
    /// bytes, YAML whose top level is not a block of keys in the first column, XML with a carriage return inside
    /// a line, matrices that are larger than their file.
    /// @param filename path of the file, handed to OpenCV as it is
    /// @throws std::invalid_argument when the name is empty, the file cannot be opened or the document is
    ///         refused (nothing changes), or when a matrix is refused (see below)
    /// @throws cv::Exception when the file is a folder or OpenCV refuses the document (nothing changes), or an
    ///         entry of it; the fields before a refused entry (in the order of declaration) then hold the file's
    ///         values, the rest the old ones
    /// @throws std::exception of another kind when OpenCV fails in another way, as for want of memory; as above
    void load(const std::string& filename);

    /// Writes the record to a calibration file, whose format OpenCV takes from the extension (.yml, .yaml,
    /// .xml, .json, each also with .gz). An existing file is replaced.
    ///
    /// A file that cannot be created or completed (missing folder, no permission, full disk) is not
    /// detected: callers that need to know must read the file back.
    /// @param filename path of the file, handed to OpenCV as it is
    /// @throws std::invalid_argument when the name is empty
    /// @throws cv::Exception when OpenCV refuses the name or a value
    void save(const std::string& filename) const;

    /// Derives the calibration for another image size of the same aspect ratio.
    ///
    /// Focal lengths, principal points and translations (px) are multiplied by the single-precision factor
    /// newWidth / width; distortion and rotation do not depend on the image size. Nothing is rounded.
    /// @param newWidth,newHeight the new image size in px; 0 x 0 and negative sizes of the same ratio are taken
    /// @throws std::invalid_argument when height * newWidth != width * newHeight
    /// @throws cv::Exception when cameraMatrix (at least 2x3) or projectionMatrix (at least 2x4) is
    ///         empty, too small or not `CV_32FC1`
    [[nodiscard]] Calibration scaleTo(int newWidth, int newHeight) const;
};

} // namespace vision

#endif
