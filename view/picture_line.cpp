#include "picture_line.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <jpeglib.h>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "clock/next_call.h"

namespace view {

static constexpr int kQuality = 85;
static constexpr int kChannels = 3;
static constexpr int kRestMs = 90; // longer than two looks are apart

static int looksIn = -1;
static int looksOut = -1;
static vcam::NextCall<ssize_t(int, const void *, size_t)> nextWrite{"write"};

namespace {
struct Jpeg {
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
};
} // namespace

static Jpeg compress(const std::vector<uint8_t> &rgb, int width, int height) {
    Jpeg file;
    jpeg_compress_struct work;
    jpeg_error_mgr errors;
    work.err = jpeg_std_error(&errors);
    jpeg_create_compress(&work);
    jpeg_mem_dest(&work, &file.bytes, &file.size);
    work.image_width = static_cast<JDIMENSION>(width);
    work.image_height = static_cast<JDIMENSION>(height);
    work.input_components = kChannels;
    work.in_color_space = JCS_RGB;
    jpeg_set_defaults(&work);
    jpeg_set_quality(&work, kQuality, TRUE);
    jpeg_start_compress(&work, TRUE);
    while (work.next_scanline < work.image_height) {
        const size_t at = static_cast<size_t>(work.next_scanline) * work.image_width * kChannels;
        auto *row = const_cast<JSAMPROW>(&rgb[at]);
        jpeg_write_scanlines(&work, &row, 1);
    }
    jpeg_finish_compress(&work);
    jpeg_destroy_compress(&work);
    return file;
}

static bool writeAll(int descriptor, const void *bytes, size_t size) {
    const auto *at = static_cast<const char *>(bytes);
    while (size > 0) {
        const ssize_t written = write(descriptor, at, size);
        if (written <= 0)
            return false;
        at += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

/// The last of the looks that have waited; false at the end.
static bool takeLook(vcam::SceneLook &look) {
    vcam::SceneLook waiting[64];
    const ssize_t size = read(looksOut, waiting, sizeof waiting);
    const bool isThere = size >= static_cast<ssize_t>(sizeof look);
    if (isThere)
        look = waiting[static_cast<size_t>(size) / sizeof look - 1];
    return isThere;
}

static bool hasLook(int patienceMs) {
    struct pollfd looks = {looksOut, POLLIN, 0};
    return poll(&looks, 1, patienceMs) > 0;
}

static bool deliver(int descriptor, const std::vector<uint8_t> &rgb, int width, int height) {
    const Jpeg file = compress(rgb, width, height);
    const auto size = static_cast<uint32_t>(file.size);
    const bool isHeard =
        writeAll(descriptor, &size, sizeof size) && writeAll(descriptor, file.bytes, file.size);
    free(file.bytes);
    return isHeard;
}

/// A zoom that moves is drafted; when it rests, the picture is made good.
static void paintAll(int descriptor) {
    vcam::ScenePainter painter;
    vcam::SceneLook look{};
    double zoomBefore = 0;
    bool isDraft = false;
    bool isHeard = true;
    while (isHeard && ((isDraft && !hasLook(kRestMs)) || takeLook(look))) {
        isDraft = look.zoomFactor != zoomBefore;
        zoomBefore = look.zoomFactor;
        const std::vector<uint8_t> &rgb = painter.paint(look, isDraft);
        isHeard = deliver(descriptor, rgb, painter.width(), painter.height());
    }
}

void startPainting(int descriptor) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    looksOut = ends[0];
    looksIn = ends[1];
    fcntl(looksIn, F_SETFL, O_NONBLOCK);
    std::thread(paintAll, descriptor).detach();
}

/// A pipe takes a look whole or not at all.
void show(const vcam::SceneLook &look) {
    nextWrite(looksIn, &look, sizeof look);
}

} // namespace view
