// What the library takes from the heap, counted at its own imports: libc's and the test's
// allocations are none of its.
#include "scenario.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "boundary/library_imports.h"
#include "camera_options.h"

namespace {

constexpr unsigned char kPreset = 5;
constexpr char kLibrary[] = "libautofocus.so";

int calls;
size_t bytes;

void *countCalloc(size_t count, size_t size) {
    calls += 1;
    bytes += count * size;
    return calloc(count, size);
}

void forwardImports() {
    void *counter = reinterpret_cast<void *>(countCalloc);
    EXPECT_TRUE(vcam::replaceImport(kLibrary, "calloc", counter));
    for (const char *other : {"malloc", "realloc", "free", "strdup", "posix_memalign", "_Znwm",
                              "_Znwj", "_Znam", "_Znaj", "_ZdlPv", "asprintf", "fopen", "opendir"})
        EXPECT_FALSE(vcam::replaceImport(kLibrary, other, counter)) << other;
}

void settle() {
    scenario::passMs(3000);
    scenario::waitIdle(600);
}

void playFrame(const std::vector<uint8_t> &frame) {
    scenario::send(frame);
    settle();
}

void play(AF_CMD_em code, unsigned value = 0) {
    scenario::command(code, value);
    settle();
}

} // namespace

TEST(Heap, boot_moves_and_calibration_take_the_one_record) {
    scenario::run([] {
        forwardImports();
        scenario::startAndSettle();
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(bytes, sizeof(Lens_ShaPos_ST));
        playFrame({0x81, 0x01, 0x04, 0x07, 0x27, 0xFF}); // tele
        playFrame({0x81, 0x01, 0x04, 0x07, 0x00, 0xFF}); // stop
        playFrame({0x81, 0x09, 0x04, 0x47, 0xFF});       // zoom position?
        EXPECT_EQ(AF_Mamager_SetPreset_API(kPreset), 0);
        playFrame({0x81, 0x01, 0x04, 0x47, 0x01, 0x00, 0x00, 0x00, 0xFF}); // direct zoom
        play(CMD_CAPST, kPreset);
        play(CMD_FLINE); // a curve measured over the whole zoom range
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(scenario::host().savedPresetTables, 1);
        EXPECT_EQ(scenario::host().savedFocusLines, 1);
        scenario::expectSound();
    });
}
