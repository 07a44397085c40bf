// What the library takes from the heap, counted at its own imports: libc's and the test's
// allocations are none of its.
#include "scenario.h"

#include "host/controller_frames.h"

#include "boundary/library_imports.h"

#include <cstdlib>

using namespace scenario;

static const char kLibrary[] = "libautofocus.so";
static int calls;
static size_t bytes;

static void *countCalloc(size_t count, size_t size) {
    calls += 1;
    bytes += count * size;
    return calloc(count, size);
}

TEST(Heap, boot_moves_and_calibration_take_the_one_record) {
    run([] {
        void *counter = reinterpret_cast<void *>(countCalloc);
        EXPECT_TRUE(vcam::replaceImport(kLibrary, "calloc", counter));
        for (const char *other :
             {"malloc", "realloc", "free", "strdup", "posix_memalign", "_Znwm", "_Znwj", "_Znam",
              "_Znaj", "_ZdlPv", "asprintf", "fopen", "opendir"})
            EXPECT_FALSE(vcam::replaceImport(kLibrary, other, counter)) << other;
        startAndSettle();
        EXPECT_EQ(AF_Mamager_SetPreset_API(5), 0);
        const std::pair<AF_CMD_em, unsigned> commands[] = {
            {CMD_TELE, 0}, {CMD_ZSTOP, 0}, {CMD_DZF, 0x1000}, {CMD_CAPST, 5}, {CMD_FLINE, 0}};
        for (const auto &[code, value] : commands) {
            command(code, value);
            passMs(3000);
            waitIdle(600);
        }
        send(vcam::kAskZoom); // zoom position?
        passMs(100);
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(bytes, sizeof(Lens_ShaPos_ST));
        EXPECT_EQ(host().savedPresetTables, 1);
        EXPECT_EQ(host().savedFocusLines, 1);
        expectSound();
    });
}
