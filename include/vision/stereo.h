// SPDX-License-Identifier: Apache-2.0
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
/// forward, in the unit of the baseline B. What is seen in column x and row y of the rectified left image,
/// and in column x - d of that row in the right one, has the disparity d (px) and lies at
///
///     Z = f B / (d - (cx - cx')),  X = (x - cx) Z / f,  Y = (y - cy) Z / f
///
/// with the focal length f and the principal points (cx, cy) and (cx', cy) of the projection matrices, scaled
/// to the size of the image. A disparity of cx - cx' means that the point is infinitely far away, and a
/// smaller one that it is behind the camera. (Formula: matrix Q of `cv::stereoRectify`, applied by
/// `cv::reprojectImageTo3D`.)
///
/// Where no point can be trusted, the image of points holds (0, 0, 0). Calibrations without a baseline are
/// not refused (Tx is 0 in the right one, as when left and right are swapped): the formula then divides by
/// zero, and every point is NaN or (0, 0, 0).
///
/// **Errors.** A refused input is logged once at error level in the category "vision.stereo" and thrown with
/// a fixed text. What OpenCV cannot take is thrown as `cv::Exception`, OpenCV's own ones unchanged, and is
/// not logged unless noted. Nothing changes when a method throws, unless noted.
///
/// **Threads.** Calls on one object must not overlap, not even those of const methods: they fill a cache.
/// Different objects are independent.
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
        /// For each pixel of the rectified left image, its column (px) in the raw one; `CV_32FC1` of the
        /// image size.
        cv::Mat leftMapX;
        cv::Mat leftMapY;  ///< its row in the raw left image
        cv::Mat rightMapX; ///< the same for the right image: the column
        cv::Mat rightMapY; ///< the same for the right image: the row

        /// Turns (column, row, disparity, 1) of the rectified left image into homogeneous points; 4x4
        /// `CV_32FC1`.
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

    /// Stores deep copies of the calibrations and forgets all maps. The minimum disparity becomes that of a
    /// point at the maximum depth: floor((cx - cx') - Tx / maxDepth), from the projection matrices as they
    /// are.
    /// @param left,right calibrations for the same image size, with projection matrices 3x4 `CV_32FC1`
    /// @throws std::invalid_argument when the sizes differ or a projection matrix has another shape or type
    /// @throws std::range_error when setMinDisparity() refuses the derived value: the minimum disparity keeps
    ///         its value, but the calibrations are stored and the maps forgotten
    void setCalibrations(const Calibration& left, const Calibration& right);

    /// Gives deep copies of the calibrations, left first; empty ones until setCalibrations() was called.
    [[nodiscard]] std::pair<Calibration, Calibration> getCalibrations() const;

    /// Builds the maps and the reprojection matrix for one image size; neither reads nor fills the cache.
    /// @param size image size (px) of the calibration's aspect ratio; 0 x 0 gives empty maps
    /// @throws std::invalid_argument when the aspect ratio differs from the calibration's
    /// @throws cv::Exception when there are no calibrations, the size is negative or OpenCV cannot take a
    ///         matrix of the calibrations
    [[nodiscard]] ImageTransform computeImageTransforms(const cv::Size& size) const;

    /// @}
    /// @name Processing
    /// @{

    /// Rectifies a pair of raw images, so that corresponding points lie on the same row.
    ///
    /// The maps of an image size are computed when its first image comes, and kept. Sizes of equal area share
    /// them: the first one's count. What comes from outside the raw image is 0.
    /// @param left,right raw images of the same size and of the same type, any that `cv::remap` takes
    /// @return new images of the size of the maps and the type of the raw images, left first
    /// @throws std::invalid_argument when sizes or types differ, or as computeImageTransforms()
    /// @throws cv::Exception as computeImageTransforms(), or when an image is empty or `cv::remap` refuses
    ///         it; maps that were computed stay
    [[nodiscard]] std::pair<cv::Mat, cv::Mat> rectifyImages(const cv::Mat& left, const cv::Mat& right) const;

    /// Rectifies one image of the left camera, like rectifyImages().
    /// @throws std::invalid_argument,cv::Exception as rectifyImages()
    [[nodiscard]] cv::Mat rectifyImageLeft(const cv::Mat& image) const;

    /// Rectifies one image of the right camera, like rectifyImages().
    /// @throws std::invalid_argument,cv::Exception as rectifyImages()
    [[nodiscard]] cv::Mat rectifyImageRight(const cv::Mat& image) const;

    /// Computes the disparity of a rectified pair with the matcher that setStereoAlgorithm() selected.
    ///
    /// The parameters hold for images of the calibration's width. The matcher gets, in integers and with s
    /// being that width divided by the image's:
    /// - windowSize - s as the size of its blocks, or windowSize if s is 1;
    /// - disparityNumber - 16 round(log2(s)), but at least 16;
    /// - minDisparity / s - 1;
    /// - speckleRange / s and speckleWindowSize / s.
    ///
    /// Where the semi-global matcher could search no more columns than half a block, the images are matched
    /// with their last column repeated as often as it needs, and what this adds to the disparities is cut
    /// off.
    ///
    /// OpenCV's filter of speckles keeps coordinates in 16 bits. Unless it is off (speckleWindowSize / s is
    /// 0), images may have at most 32767 rows and columns, the repeated ones included.
    /// @param left,right rectified images, `CV_8UC1`, of the same size, not wider than the calibration
    /// @return disparity of the left image in px of its own size and in steps of 1/16 px, `CV_32FC1`; the
    ///         value minDisparity / s - 2 marks pixels without a match. Empty when the algorithm is neither
    ///         BM nor SGBM.
    /// @throws std::invalid_argument when the sizes differ, a type is not `CV_8UC1` (which alone is not
    ///         logged), the images are empty, have more than two dimensions, are wider than the calibration
    ///         or too large for the filter of speckles, or there are no calibrations
    /// @throws cv::Exception when the matcher refuses a parameter, when the largest disparity is more than an
    ///         int can hold, or when matching fails (which is logged)
    [[nodiscard]] cv::Mat computeDisparity(const cv::Mat& left, const cv::Mat& right) const;

    /// Turns a disparity image of the rectified left camera into an image of points.
    ///
    /// Points behind the camera, farther away than the maximum depth, or with a disparity of at most
    /// minDisparity / s - 2 (s as for computeDisparity()) become (0, 0, 0). The maps are kept as by
    /// rectifyImages().
    /// @param disparity disparity in px of its own size, `CV_32FC1`, not wider than the calibration
    /// @return the point (X, Y, Z) of each pixel, `CV_32FC3` of the same size
    /// @throws std::invalid_argument when the type is not `CV_32FC1`, the image is empty, has more than two
    ///         dimensions or is wider than the calibration, there are no calibrations, or as
    ///         computeImageTransforms()
    /// @throws cv::Exception as computeImageTransforms()
    [[nodiscard]] cv::Mat computeDepth(const cv::Mat& disparity) const;

    /// @}
    /// @name Parameters
    /// They take effect when a processing method is called next. A setter changes nothing but its parameter.
    /// @{

    /// Largest depth of interest, in the unit of the baseline; points beyond it are blanked. Default 5.
    [[nodiscard]] float getMaxDepth() const;
    /// Leaves the minimum disparity as it is; setCalibrations() derives it anew.
    /// @throws std::range_error when 0 >= depth (so NaN is taken)
    void setMaxDepth(float depth);

    /// The matcher that computeDisparity() uses. Default BM.
    [[nodiscard]] StereoAlgorithm getStereoAlgorithm() const;
    /// Takes any value.
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

    /// Largest response of the prefilter that counts: what is beyond is clipped. The response is the
    /// horizontal Sobel derivative in grey levels. Default 31.
    [[nodiscard]] int getPreFilterCap() const;
    /// @throws std::range_error unless from 1 to 63
    void setPreFilterCap(int cap);

    /// Edge length in px of the prefilter's window; BM only, and without effect on its Sobel filter. Default
    /// 25.
    [[nodiscard]] int getPreFilterSize() const;
    /// @throws std::range_error unless odd and from 5 to 255
    void setPreFilterSize(int size);

    /// Largest step of disparity between neighbours that the speckle filter counts as one region: in px for
    /// SGBM, in 1/16 px for BM. Default 10.
    [[nodiscard]] int getSpeckleRange() const;
    /// @throws std::range_error unless from 0 to 31
    void setSpeckleRange(int range);

    /// Largest region, in pixels, that the speckle filter removes; 0 turns the filter off. Default 400.
    [[nodiscard]] int getSpeckleWindowSize() const;
    /// @throws std::range_error unless from 0 to 1000
    void setSpeckleWindowSize(int size);

    /// Least texture that a block needs to be matched: the sum of the prefilter's responses in it without
    /// their signs, in grey levels. BM only. Default 1.
    [[nodiscard]] int getTextureThreshold() const;
    /// @throws std::range_error unless from 0 to 10000
    void setTextureThreshold(int threshold);

    /// Percentage by which the best match must beat the second best. Default 2.
    [[nodiscard]] int getUniquenessRatio() const;
    /// @throws std::range_error unless from 0 to 100
    void setUniquenessRatio(int ratio);

    /// Penalty of a disparity change of 1 px between neighbours; stored only, the matcher does not get it.
    /// Default 8 * 21 * 21.
    [[nodiscard]] int getP1() const;
    /// @throws std::range_error when negative
    void setP1(int penalty);

    /// Penalty of a larger disparity change; stored only, the matcher does not get it. Default 32 * 21 * 21.
    [[nodiscard]] int getP2() const;
    /// @throws std::range_error when negative
    void setP2(int penalty);

    /// Largest difference in px that the left-right check allows; stored only, the matcher does not get it.
    /// Default 0.
    [[nodiscard]] int getDisp12MaxDiff() const;
    /// Takes any value.
    void setDisp12MaxDiff(int difference);

    /// Whether SGBM uses full dynamic programming; stored only, the matcher does not get it. Default false.
    [[nodiscard]] bool getFullDP() const;
    /// Takes any value.
    void setFullDP(bool fullDP);

    /// Sets all parameters but the maximum depth and the algorithm to their defaults.
    /// @throws std::range_error when setMinDisparity() refuses the default 1, as it does without
    ///         calibrations; then only the window size has its default
    void resetAllParameters();

    /// @}

protected:
    using ImageTransforms =
        std::map<cv::Size, ImageTransform, std::function<bool(const cv::Size&, const cv::Size&)>>;

    /// Rectifies an image with the maps of one camera: LEFT, or RIGHT for any other value.
    /// @throws std::invalid_argument,cv::Exception as rectifyImages()
    cv::Mat _rectifyImage(const cv::Mat& image, ImageIndex index) const;

    /// Gives the transforms of the image's size from the cache, where it puts them if need be. The log
    /// records name the caller.
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
