// Recovery: what a fault of the hardware's links does to an order, to the lens and to what is kept.
// That no failing call hurts, wherever it strikes, is the fault matrix's.
#include "scenario.h"

#include "autofocus_control.h"
#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "isp/isp.h"
#include "optics/lens_curves.h"
#include "platform/shared_word.h"

#include <cerrno>

using namespace scenario;
using vcam::Axis;

static constexpr int kLongMs = 240000;
static constexpr char kSpi[] = "/dev/spidev1.0";

static void recover() {
    EXPECT_EQ(AF_Manager_Set_Setting_API(AF_SETTING_RECOVERY, 1), 0);
}

static unsigned faultsNow() {
    AF_Status_ST status = {};
    status.size = sizeof status;
    EXPECT_EQ(AF_Manager_Get_Status_API(&status), 0);
    return status.faults;
}

static int await(int ticket) {
    return AF_Manager_Wait_Ticket_API(ticket, kLongMs);
}

static int64_t msOf(int ticket, int expected) {
    const int64_t startUs = vcam::nowUs();
    EXPECT_EQ(await(ticket), expected);
    return (vcam::nowUs() - startUs) / 1000;
}

TEST(Recovery, repeats_a_transfer_until_it_is_in_the_chip_and_nobody_notices) {
    run([] {
        recover();
        startAndSettle();
        const int zoom = AF_Manager_Zoom_To_API(0x2000);
        passMs(300);
        vcam::failCalls("ioctl", kSpi, 12, EIO); // 300 ms of periods
        EXPECT_EQ(await(zoom), AF_OUTCOME_DONE);
        EXPECT_EQ(faultsNow(), 0u);
        EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1);
        expectSound();
    });
}

TEST(Recovery, stops_a_lens_whose_driver_is_gone_and_finds_home_before_the_next_order) {
    run([] {
        recover();
        startAndSettle();
        const int tele = AF_Manager_Zoom_Tele_API();
        passMs(1000);
        const size_t kept = host().savedPositions.size();
        vcam::failCalls("ioctl", kSpi, vcam::kAlways, EIO);
        EXPECT_LT(msOf(tele, AF_OUTCOME_FAULT), 2500);
        EXPECT_LE(events("chip", "run").back().timeUs, events("fault", "ioctl").front().timeUs);
        const int stopped = vcam::truePosition(Axis::Zoom);
        EXPECT_EQ(faultsNow(), unsigned(AF_FAULT_DRIVER | AF_FAULT_POSITION));
        EXPECT_EQ(await(AF_Manager_Preset_Set_API(1)), AF_OUTCOME_FAULT);
        EXPECT_EQ(Lens_Set_Preset(1), -1); // a host's own thread neither
        EXPECT_EQ(host().savedPositions.size(), kept);
        EXPECT_EQ(host().savedPresetTables, 0);
        vcam::clearFaults();
        EXPECT_LE(await(AF_Manager_Autofocus_API()), AF_OUTCOME_UNSURE);
        EXPECT_EQ(faultsNow(), 0u);
        EXPECT_NEAR(vcam::truePosition(Axis::Zoom), stopped, 300); // back from home
        EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1);
        EXPECT_GT(host().savedPositions.size(), kept);
        expectSound();
    });
}

TEST(Recovery, searches_for_home_less_and_less_often_while_it_cannot_be_found) {
    run([] {
        recover();
        startAndSettle();
        vcam::failCalls("ioctl", "/dev/hi_gpio", vcam::kAlways, EIO);
        EXPECT_EQ(await(AF_Manager_Home_API()), AF_OUTCOME_FAULT);
        int64_t lastMs = msOf(AF_Manager_Zoom_To_API(0), AF_OUTCOME_FAULT);
        for (int search = 0; search < 3; ++search) {
            const int64_t ms = msOf(AF_Manager_Zoom_To_API(0), AF_OUTCOME_FAULT);
            EXPECT_NEAR(double(ms - lastMs), 1000, 100); // a second longer each time
            lastMs = ms;
        }
        EXPECT_EQ(faultsNow(), unsigned(AF_FAULT_GPIO | AF_FAULT_HOMING | AF_FAULT_POSITION));
        vcam::clearFaults();
        EXPECT_EQ(await(AF_Manager_Home_API()), AF_OUTCOME_DONE);
        EXPECT_EQ(faultsNow(), 0u);
        expectSound();
    });
}

TEST(Recovery, says_that_start_up_failed_and_parks_before_the_first_order_that_follows) {
    run([] {
        recover();
        startLibrary();
        waitUntil([] { return countSaid("Check FPI Success.") > 0; }, 60, "home");
        passMs(150); // on its way to the wide end
        vcam::failCalls("ioctl", kSpi, vcam::kAlways, EIO);
        EXPECT_EQ(await(1), AF_OUTCOME_FAULT);
    });
    run([] {
        recover();
        introduceHost();
        vcam::failCalls("ioctl", kSpi, vcam::kAlways, EIO);
        AF_Manager_Start_API();
        waitUntil([] { return faultsNow() != 0; }, 10, "a fault");
        EXPECT_EQ(await(1), AF_OUTCOME_FAULT);
        vcam::clearFaults();
        passMs(3000);
        EXPECT_LE(await(AF_Manager_Autofocus_API()), AF_OUTCOME_UNSURE);
        EXPECT_EQ(vcam::truePosition(Axis::Zoom), int(ZM_Wide_Limit));
        expectSound();
    });
}

TEST(Recovery, lets_go_of_a_pause_when_it_is_cancelled_or_switched_off) {
    run([] {
        recover();
        startAndSettle();
        vcam::failCalls("ioctl", "/dev/hi_gpio", vcam::kAlways, EIO);
        for (int search = 0; search < 8; ++search)
            await(AF_Manager_Home_API());
        const int waiting = AF_Manager_Zoom_To_API(0x3000);
        passMs(100);
        EXPECT_EQ(AF_Manager_Cancel_API(waiting), 0);
        EXPECT_LT(msOf(waiting, AF_OUTCOME_CANCELLED), 200);
        vcam::clearFaults();
        AF_Manager_Set_Setting_API(AF_SETTING_RECOVERY, 0);
        EXPECT_LT(msOf(AF_Manager_Home_API(), AF_OUTCOME_DONE), 15000);
    });
}

TEST(Recovery, outlives_failing_statistics_and_asks_once_a_second) {
    using vcam::IspCall;
    for (const IspCall call :
         {IspCall::GetStatisticsConfig, IspCall::SetStatisticsConfig, IspCall::GetPubAttr,
          IspCall::GetVdTimeOut, IspCall::GetStatistics}) {
        run([&] {
            recover();
            vcam::failIspCall(call, -1, 6);
            startLibrary();
            waitUntil([] { return faultsNow() == AF_FAULT_ISP; }, 30, "the fault's bit");
            const int64_t startUs = vcam::nowUs();
            waitUntil([] { return faultsNow() == 0; }, 30, "statistics");
            EXPECT_NEAR(double(vcam::nowUs() - startUs), 5e6, 1.1e6); // the second time at once
            waitIdle();
            EXPECT_LE(await(AF_Manager_Autofocus_API()), AF_OUTCOME_UNSURE);
            EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1);
            expectSound();
        });
    }
}

TEST(Recovery, leaves_steps_by_hand_and_a_camera_without_it_alone) {
    run([] { // what follows from the same fault while nobody has asked for recovery
        startAndSettle();
        const int tele = AF_Manager_Zoom_Tele_API();
        passMs(1000);
        vcam::failCalls("ioctl", kSpi, vcam::kAlways, EIO);
        passMs(3000);
        AF_Manager_Zoom_Stop_API();
        EXPECT_EQ(await(tele), AF_OUTCOME_DONE);
        EXPECT_NE(vcam::truePosition(Axis::Zoom), int(loadWord(&ZM_Step_Local)));
        EXPECT_NE(faultsNow() & AF_FAULT_POSITION, 0u);
        vcam::clearFaults();
        recover(); // from the next order on
        EXPECT_EQ(await(AF_Manager_Zoom_To_API(0x1000)), AF_OUTCOME_DONE);
        EXPECT_TRUE(vcam::areCountersTrue());
    });
    run([] {
        recover();
        startParked();
        const pthread_t thread = startManualThread();
        vcam::failCalls("ioctl", kSpi, vcam::kAlways, EIO);
        const int64_t startUs = vcam::nowUs();
        manualCtrlFun(MS_Z_TELE, 4, 10);
        EXPECT_LT(vcam::nowUs() - startUs, 1000000); // nothing is waited for
        vcam::clearFaults();
        (void)thread;
    });
}
