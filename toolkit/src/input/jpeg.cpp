// SPDX-License-Identifier: Apache-2.0
#include "input/jpeg.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <array>
#include <csetjmp>
#include <cstdio> // needed by jpeglib.h
#include <stdexcept>
#include <string>

#include <jpeglib.h>

#include <jerror.h>

namespace vision::toolkit {

namespace {

using Bytes = std::vector<unsigned char>;

/// A decoder and what it says. C code must not be left by an exception, so that errors jump.
struct Session
{
    Session();
    ~Session() { jpeg_destroy_decompress(&info); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr progress{};
    std::jmp_buf escape{};
    std::array<char, JMSG_LENGTH_MAX> complaint{};
};

Session& sessionOf(j_common_ptr info)
{
    return *static_cast<Session*>(info->client_data);
}

void complain(j_common_ptr info)
{
    Session& session = sessionOf(info);
    if (session.complaint.front() == '\0') { // what follows the first are its consequences
        info->err->format_message(info, session.complaint.data());
    }
}

[[noreturn]] void stop(j_common_ptr info)
{
    complain(info);
    std::longjmp(sessionOf(info).escape, 1); // NOLINT(cert-err52-cpp): the library asks for it
}

/// Remarks on what surrounds the pixels harm none of them.
bool isHarmless(int code)
{
    return code == JWRN_ADOBE_XFORM || code == JWRN_JFIF_MAJOR || code == JWRN_BOGUS_ICC;
}

void hear(j_common_ptr info, int level)
{
    if (level < 0 && !isHarmless(info->err->msg_code)) {
        complain(info);
    }
}

/// A progressive file of a few bytes for each scan could keep the decoder busy for hours.
void limitScans(j_common_ptr info)
{
    constexpr int mostScans = 100; // usual files have about ten
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > mostScans) {
        info->err->msg_code = JERR_BAD_PROGRESSION;
        stop(info);
    }
}

Session::Session()
{
    info.err = jpeg_std_error(&errors);
    info.client_data = this;
    errors.error_exit = stop;
    errors.emit_message = hear;
    progress.progress_monitor = limitScans;
}

/// What runs between setjmp and the jump has nothing to destroy.
bool start(Session& session, const Bytes& bytes)
{
    if (setjmp(session.escape) != 0) { // NOLINT(cert-err52-cpp)
        return false;
    }
    jpeg_create_decompress(&session.info);
    session.info.progress = &session.progress;
    jpeg_mem_src(&session.info, bytes.data(), bytes.size());
    jpeg_read_header(&session.info, TRUE);
    return true;
}

bool readRows(Session& session, cv::Mat& image)
{
    if (setjmp(session.escape) != 0) { // NOLINT(cert-err52-cpp)
        return false;
    }
    jpeg_start_decompress(&session.info);
    while (session.info.output_scanline < session.info.output_height) {
        JSAMPROW row = image.ptr(static_cast<int>(session.info.output_scanline));
        jpeg_read_scanlines(&session.info, &row, 1);
    }
    jpeg_finish_decompress(&session.info);
    return true;
}

void require(bool isDone, const Session& session)
{
    if (!isDone || session.complaint.front() != '\0') {
        throw std::runtime_error(session.complaint.data());
    }
}

} // namespace

ImageHeader readJpegHeader(const Bytes& bytes)
{
    Session session;
    if (!start(session, bytes)) {
        throw std::runtime_error(session.complaint.data());
    }
    return {session.info.image_width, session.info.image_height};
}

cv::Mat decodeJpeg(const Bytes& bytes)
{
    Session session;
    require(start(session, bytes), session);
    const bool isGrey = session.info.num_components == 1;
    if (!isGrey && session.info.num_components != 3) {
        throw std::runtime_error("it is neither grey nor in three colours");
    }
    session.info.out_color_space = isGrey ? JCS_GRAYSCALE : JCS_RGB;
    cv::Mat image(static_cast<int>(session.info.image_height),
                  static_cast<int>(session.info.image_width),
                  isGrey ? CV_8UC1 : CV_8UC3);
    require(readRows(session, image), session);
    if (!isGrey) {
        cv::cvtColor(image, image, cv::COLOR_RGB2BGR);
    }
    return image;
}

} // namespace vision::toolkit
