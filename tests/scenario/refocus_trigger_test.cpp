// When the camera refocuses by itself: after 26 frames in a row that differ by more than a fifth.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/isp.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <cmath>

using namespace scenario;

static const int64_t kFrameUs = 40000;
static const int64_t kPollMs = 1;

/// Idle with the trigger armed, in the middle of a frame, without noise.
static void runIdle(const std::function<void()> &body) {
    vcam::CameraOptions options;
    options.noise = 0;
    run(options, [&] {
        startAndSettle();
        while (vcam::nowUs() % kFrameUs != kFrameUs / 2)
            passMs(kPollMs);
        body();
    });
}

static void changePicture() {
    vcam::setObjectDistanceM(1);
}

static void restorePicture() {
    vcam::setObjectDistanceM(HUGE_VAL);
}

static void passFrames(int frames) {
    passMs(frames * kFrameUs / 1000);
}

/// Frames that ended from now until the trigger has fired; -1 when it has not after @p limit.
static int countFramesToFire(int limit = 200) {
    const int64_t startUs = vcam::nowUs();
    const int64_t endUs = startUs + limit * kFrameUs;
    while (Lens_Get_Command() != CMD_FOCUS && vcam::nowUs() < endUs)
        passMs(kPollMs);
    if (Lens_Get_Command() != CMD_FOCUS)
        return -1;
    const int64_t firedUs = vcam::nowUs() - kPollMs * 1000; // seen one poll later
    EXPECT_EQ(firedUs % kFrameUs, 0);
    return static_cast<int>((firedUs - startUs + kFrameUs / 2) / kFrameUs);
}

static int countRuns(int64_t fromUs) {
    return countSaid("______Start______", fromUs);
}

TEST(RefocusTrigger, fires_on_the_26th_frame_and_the_run_sets_a_new_reference) {
    runIdle([] {
        const int64_t startUs = vcam::nowUs();
        changePicture();
        EXPECT_EQ(countFramesToFire(), 26);
        waitIdle();
        EXPECT_LE(std::fabs(vcam::focusErrorHalfDepths()), 1);
        EXPECT_EQ(countFramesToFire(), -1);
        EXPECT_EQ(countRuns(startUs), 1);
    });
}

TEST(RefocusTrigger, one_frame_like_the_reference_starts_the_count_again) {
    runIdle([] {
        changePicture();
        passFrames(25);
        restorePicture();
        passFrames(1);
        changePicture();
        EXPECT_EQ(countFramesToFire(), 26);
    });
}

TEST(RefocusTrigger, count_is_frozen_while_the_host_has_switched_it_off) {
    runIdle([] {
        changePicture();
        passFrames(10);
        EXPECT_EQ(AF_Manager_SetFocusMode_API(0), 0);
        EXPECT_EQ(countFramesToFire(), -1);
        EXPECT_EQ(AF_Manager_SetFocusMode_API(1), 0);
        EXPECT_EQ(countFramesToFire(), 16);
    });
}

TEST(RefocusTrigger, preset_202_switches_it_and_can_neither_be_called_nor_cleared) {
    runIdle([] {
        command(CMD_SPST, 202);
        passMs(100);
        const unsigned zoom = loadWord(&g_APGroupInfo.aZPosition[202]);
        EXPECT_EQ(zoom, loadWord(&ZM_Step_Local));
        const int64_t startUs = vcam::nowUs();
        command(CMD_CLPST, 202);
        passMs(100);
        EXPECT_EQ(countSaid("Disable Autofocus Check."), 1);
        EXPECT_EQ(loadWord(&g_APGroupInfo.aZPosition[202]), zoom);
        changePicture();
        EXPECT_EQ(countFramesToFire(), -1);
        command(CMD_CAPST, 202);
        EXPECT_GT(countFramesToFire(), 0);
        EXPECT_EQ(countSaid("Enable Autofocus Check."), 1);
        EXPECT_EQ(motorText(startUs), "");
    });
}

TEST(RefocusTrigger, manual_focus_keeps_it_off_until_another_command_comes) {
    runIdle([] {
        const int64_t startUs = vcam::nowUs();
        command(CMD_FAR);
        passMs(300);
        command(CMD_FSTOP);
        EXPECT_EQ(countFramesToFire(), -1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_FSTOP));
        command(CMD_NONE);
        EXPECT_GT(countFramesToFire(), 0);
        EXPECT_EQ(countRuns(startUs), 0);
    });
}

TEST(RefocusTrigger, mf_mode_holds_it_and_af_mode_arms_it_at_the_next_poll) {
    run([] {
        startParked();
        passMs(1500);
        storeWord(&g_AFVClearMax, 1000); // every frame is sharper
        EXPECT_EQ(countFramesToFire(), -1);
        const int64_t armedUs = nextPollUs();
        command(CMD_AFMODE);
        waitUntil([] { return Lens_Get_Command() == CMD_FOCUS; }, 3, "the trigger fires");
        const int64_t firstUs = (armedUs + kFrameUs - 1) / kFrameUs * kFrameUs;
        EXPECT_EQ(vcam::nowUs(), firstUs + 25 * kFrameUs + kPollMs * 1000); // seen a poll later
    });
}
