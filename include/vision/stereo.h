/// @file
/// The stereo pipeline of one camera pair: rectification, disparity, depth.
#ifndef VISION_STEREO_H
#define VISION_STEREO_H

#include <vision/calibration.h>
#include <vision/export.h>

#include <opencv2/core.hpp>

#include <functional>
#include <map>
#include <utility>

namespace vision {

/// Turns pairs of raw images of a calibrated camera pair into rectified images, disparities and 3D points.
///
/// Typical use: setCalibrations() once; then, for every pair, rectifyImages(), computeDisparity() and
/// computeDepth(). Images may be smaller than the calibration, in the same aspect ratio.
///
/// **Geometry.** Points are given in the frame of the rectified left camera: X to the right, Y down, Z
/// forward, in the unit of the baseline B. A pixel (x, y) of the rectified left image with disparity d > 0
/// (px; it is seen at x - d in the right image) lies at Z = f B / (d - (cx - cx')), X = (x - cx) Z / f, Y =
/// (y - cy) Z / f, with the focal length f and the principal points (cx, cy), (cx', cy) of the scaled
/// projection matrices. With d = cx - cx' the point is at infinity, below that behind the camera. The point
/// image holds (0, 0, 0) where no point can be trusted. (Formula: matrix Q of `cv::stereoRectify` and
/// `cv::reprojectImageTo3D`.)
///
/// **Errors.** A refused input is logged once at error level in the category "vision.stereo" and thrown, with
/// a fixed text; errors of OpenCV pass unchanged as `cv::Exception`. Unless noted, nothing changes when a
/// method throws.
///
/// **Threads.** Calls on one object must not overlap, the const ones included: they fill a cache. Different
/// objects are independent.
class VISION_EXPORT Stereo
{
public:
    /// Which of OpenCV's matchers computes the disparity.
    enum StereoAlgorithm : int
    {
        BM = 0,   ///< block matching, `cv::StereoBM`
        SGBM = 1, ///< semi-global block matching, `cv::StereoSGBM`
    };

    /// Selects one camera of the pair.
    enum ImageIndex : int
    {
        LEFT = 0,
        RIGHT = 1,
    };

    /// The rectification maps and the reprojection matrix of one image size.
    struct ImageTransform
    {
        /// Source column (px) in the raw left image of each pixel of the rectified one; rows x cols of that
        /// size, `CV_32FC1`.
        cv::Mat leftMapX;
        cv::Mat leftMapY;  ///< source row in the raw left image
        cv::Mat rightMapX; ///< source column in the raw right image
        cv::Mat rightMapY; ///< source row in the raw right image

        /// 4x4 `CV_32FC1`, maps (column, row, disparity, 1) of the rectified left image to homogeneous
        /// points.
        cv::Mat reprojectionMatrix;

        /// Makes a record of five empty matrices.
        ImageTransform() = default;
        ImageTransform(ImageTransform&& other) = default;
        ~ImageTransform() = default;
    };

    /// Makes a pipeline with the default parameters and without calibrations.
    Stereo();

    virtual ~Stereo() = default;

    Stereo(const Stereo&) = delete;
    Stereo& operator=(const Stereo&) = delete;

    /// @name Calibrations
    /// @{

    /// Stores deep copies of the calibrations, forgets all maps and derives the minimum disparity as that of
    /// a point at the maximum depth: floor((cx - cx') - Tx / maxDepth), from the unscaled projection
    /// matrices.
    /// @param left,right calibrations for the same image size, with projection matrices 3x4 `CV_32FC1`
    /// @throws std::invalid_argument when the sizes differ or a projection matrix has another shape or type;
    ///         nothing changes
    /// @throws std::range_error when setMinDisparity() refuses the derived value; the calibrations are stored
    ///         and the maps forgotten, the minimum disparity keeps its value
    void setCalibrations(const Calibration& left, const Calibration& right);

    /// Deep copies of the calibrations, left first; empty ones until setCalibrations() was called.
    [[nodiscard]] std::pair<Calibration, Calibration> getCalibrations() const;

    /// Builds the maps and the reprojection matrix for one image size; neither reads nor fills the cache.
    /// @param size image size (px) of the calibration's aspect ratio; 0 x 0 gives empty maps
    /// @throws std::invalid_argument when the aspect ratio differs from the calibration's
    /// @throws cv::Exception when there are no calibrations, the size is negative or OpenCV cannot take a matrix
    ///         of the calibrations
    [[nodiscard]] ImageTransform computeImageTransforms(const cv::Size& size) const;

    /// @}
    /// @name Processing
    /// @{

    /// Rectifies a pair of raw images, so that corresponding points lie on the same row.
    ///
    /// The maps of a size are computed at its first image and kept; sizes of equal area share them. Pixels
    /// that come from outside the raw image are 0.
    /// @param left,right raw images of the same size and type (any that `cv::remap` takes)
    /// @return new images of the maps' size and the input's type, left first
    /// @throws std::invalid_argument when sizes or types differ, or as computeImageTransforms()
    /// @throws cv::Exception as computeImageTransforms(), or when an image is empty or `cv::remap` refuses it; the
    ///         maps that were computed before stay
    [[nodiscard]] std::pair<cv::Mat, cv::Mat> rectifyImages(const cv::Mat& left, const cv::Mat& right) const;

    /// Rectifies one image of the left camera, like rectifyImages().
    /// @throws std::invalid_argument,cv::Exception as rectifyImages()
    [[nodiscard]] cv::Mat rectifyImageLeft(const cv::Mat& image) const;

    /// Rectifies one image of the right camera, like rectifyImages().
    /// @throws std::invalid_argument,cv::Exception as rectifyImages()
    [[nodiscard]] cv::Mat rectifyImageRight(const cv::Mat& image) const;

    /// Computes the disparity of a rectified pair with the matcher that setStereoAlgorithm() selected.
    ///
    /// The parameters hold for images of the calibration's width; for images 1/s as wide (integer s) the
    /// matcher gets windowSize - s (for s > 1), disparityNumber - 16 round(log2(s)) but at least 16,
    /// minDisparity / s - 1, speckleRange / s and speckleWindowSize / s. Where the semi-global matcher could
    /// search fewer columns than half a block, the images are matched with their last column repeated, as often
    /// as it needs; what lies beyond the images is cut off again.
    /// @param left,right rectified images, `CV_8UC1`, of the same size, not wider than the calibration
    /// @return disparity of the left image in px of its own size, `CV_32FC1`, in steps of 1/16; pixels
    /// without
    ///         a match hold minDisparity / s - 2. Empty when the algorithm is neither BM nor SGBM.
    /// @throws std::invalid_argument when the sizes differ, a type is not `CV_8UC1` (the one refusal that is
    /// not
    ///         logged), the images are empty, have more than two dimensions or are wider than the
    ///         calibration, or there are no calibrations
    /// @throws cv::Exception when the matcher refuses a parameter or fails (logged if it fails), or when the
    ///         largest disparity is more than an int can hold
    [[nodiscard]] cv::Mat computeDisparity(const cv::Mat& left, const cv::Mat& right) const;

    /// Turns a disparity image of the rectified left camera into an image of points.
    ///
    /// Points behind the camera, farther than the maximum depth, or with a disparity of at most
    /// minDisparity / s - 2 (s as in computeDisparity()) are (0, 0, 0).
    /// @param disparity disparity in px of its own size, `CV_32FC1`, not wider than the calibration
    /// @return rows x cols `CV_32FC3`, (X, Y, Z) of each pixel
    /// @throws std::invalid_argument when the type is not `CV_32FC1`, the image is empty, has more than two
    ///         dimensions or is wider than the calibration, there are no calibrations, or as
    ///         computeImageTransforms()
    /// @throws cv::Exception as computeImageTransforms()
    [[nodiscard]] cv::Mat computeDepth(const cv::Mat& disparity) const;

    /// @}
    /// @name Parameters
    /// They take effect at the next call of a processing method. A setter changes nothing but its parameter.
    /// @{

    /// Largest depth of interest, in the unit of the baseline; points beyond it are blanked. Default 5.
    [[nodiscard]] float getMaxDepth() const;
    /// Does not derive the minimum disparity anew: setCalibrations() does.
    /// @throws std::range_error when 0 >= depth
    void setMaxDepth(float depth);

    /// The matcher. Default BM.
    [[nodiscard]] StereoAlgorithm getStereoAlgorithm() const;
    /// Takes any value; computeDisparity() gives an empty matrix for one that is neither BM nor SGBM.
    void setStereoAlgorithm(const StereoAlgorithm& algorithm);

    /// Edge length of the matched blocks in px. Default 21.
    [[nodiscard]] int getWindowSize() const;
    /// @throws std::range_error unless odd and from 5 to 255
    void setWindowSize(int size);

    /// Smallest disparity searched, in px of the calibration's size. Default 1; see setCalibrations().
    [[nodiscard]] int getMinDisparity() const;
    /// @throws std::range_error unless from -w to w, w being the width of the left calibration (0 without)
    void setMinDisparity(int disparity);

    /// Number of disparities searched from the smallest one on. Default 80.
    [[nodiscard]] int getDisparityNumber() const;
    /// @throws std::range_error unless a positive multiple of 16
    void setDisparityNumber(int number);

    /// Clipping value of the prefiltered pixels. Default 31.
    [[nodiscard]] int getPreFilterCap() const;
    /// @throws std::range_error unless from 1 to 63
    void setPreFilterCap(int cap);

    /// Edge length of the prefilter's window in px; BM only. Default 25.
    [[nodiscard]] int getPreFilterSize() const;
    /// @throws std::range_error unless odd and from 5 to 255
    void setPreFilterSize(int size);

    /// Largest variation of disparity inside one connected component, for the speckle filter. Default 10.
    [[nodiscard]] int getSpeckleRange() const;
    /// @throws std::range_error unless from 0 to 31
    void setSpeckleRange(int range);

    /// Largest size in px of a smooth region that still counts as speckle; 0 turns the filter off. Default
    /// 400.
    [[nodiscard]] int getSpeckleWindowSize() const;
    /// @throws std::range_error unless from 0 to 1000
    void setSpeckleWindowSize(int size);

    /// Least texture that a block needs to be matched; BM only. Default 1.
    [[nodiscard]] int getTextureThreshold() const;
    /// @throws std::range_error unless from 0 to 10000
    void setTextureThreshold(int threshold);

    /// Margin in percent by which the best match must beat the second best. Default 2.
    [[nodiscard]] int getUniquenessRatio() const;
    /// @throws std::range_error unless from 0 to 100
    void setUniquenessRatio(int ratio);

    /// Penalty of a disparity change of 1; stored only, the matcher does not get it. Default 8 * 21 * 21.
    [[nodiscard]] int getP1() const;
    /// @throws std::range_error when negative
    void setP1(int penalty);

    /// Penalty of a larger disparity change; stored only, the matcher does not get it. Default 32 * 21 * 21.
    [[nodiscard]] int getP2() const;
    /// @throws std::range_error when negative
    void setP2(int penalty);

    /// Largest difference in the left-right check; stored only, the matcher does not get it. Default 0.
    [[nodiscard]] int getDisp12MaxDiff() const;
    /// Takes any value.
    void setDisp12MaxDiff(int difference);

    /// Full dynamic programming of SGBM; stored only, the matcher does not get it. Default false.
    [[nodiscard]] bool getFullDP() const;
    /// Takes any value.
    void setFullDP(bool fullDP);

    /// Sets all parameters but maximum depth and algorithm to their defaults, through the setters.
    /// @throws std::range_error when the default minimum disparity 1 is refused, as without calibrations; the
    ///         window size is then reset, every other parameter unchanged
    void resetAllParameters();

    /// @}

protected:
    using ImageTransforms =
        std::map<cv::Size, ImageTransform, std::function<bool(const cv::Size&, const cv::Size&)>>;

    /// Rectifies an image with the maps of one camera; 0 selects the left one, any other value the right one.
    /// @throws std::invalid_argument,cv::Exception as rectifyImages()
    cv::Mat _rectifyImage(const cv::Mat& image, ImageIndex index) const;

    /// The cached transforms of the image's size, computed at its first use. The log records carry the name
    /// of the calling method.
    /// @throws std::invalid_argument,cv::Exception as computeImageTransforms()
    const ImageTransform& _findTransforms(const cv::Mat& image, const char* caller) const;

    Calibration _leftCalibration;
    Calibration _rightCalibration;
    float _maxDepth = 5.0f;
    StereoAlgorithm _stereoAlgorithm = BM;
    int _windowSize = 21;
    int _minDisparity = 1;
    int _disparityNumber = 80;
    int _preFilterCap = 31;
    int _preFilterSize = 25;
    int _speckleRange = 10;
    int _speckleWindowSize = 400;
    int _textureThreshold = 1;
    int _uniquenessRatio = 2;
    int _P1 = 3528;
    int _P2 = 14112;
    int _disp12MaxDiff = 0;
    bool _fullDP = false;
    mutable ImageTransforms _imageTransforms; ///< by image size, ordered by area
};

} // namespace vision

#endif
