// The mailbox and the thread that empties it: who interrupts whom, what stands, what follows what,
// and how it ends.
#include "scenario.h"

#include "boundary/faults.h"
#include "boundary/library_imports.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

#include <cerrno>

using namespace scenario;

static const unsigned kNoRecord = 0xFFFFFFFF;
static const int64_t kPollUs = 50000;

// ---- Interrupts ----

TEST(Mailbox, each_command_interrupts_what_it_is_to_interrupt) {
    run([] {
        EXPECT_EQ(lensFocusInterrupt(), 1); // no record yet
        EXPECT_EQ(lensMotorInterrupt(CMD_TELE), 1);
        EXPECT_EQ(Lens_Get_Command(), kNoRecord);
        EXPECT_EQ(Lens_Set_Command(CMD_NONE), -1);
        startParked();
        for (unsigned code : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 14u, 15u,
                              16u, 17u, kNoRecord}) {
            SCOPED_TRACE(testing::Message() << "command " << code);
            EXPECT_EQ(Lens_Set_Command(code), 0);
            EXPECT_EQ(Lens_Get_Command(), code);
            const bool focusGoesOn = code == CMD_ZSTOP || code == CMD_FOCUS || code == CMD_FSTOP;
            EXPECT_EQ(lensFocusInterrupt(), focusGoesOn ? 0 : 1);
            EXPECT_EQ(lensMotorInterrupt(CMD_TELE), code == CMD_TELE || code == CMD_FOCUS ? 0 : 1);
            EXPECT_EQ(lensMotorInterrupt(CMD_NEAR), code == CMD_NEAR || code == CMD_FOCUS ? 0 : 1);
        }
        Lens_Set_Command(CMD_MFMODE); // before the thread has seen any of them
    });
}

// ---- Standing states ----

TEST(Mailbox, standing_states_set_the_trigger_at_every_poll_and_move_nothing) {
    const struct {
        unsigned code;
        int armed; // -1: left as it is
    } rows[] = {{CMD_NONE, 1},   {17, 1},         {1000, 1},      {kNoRecord, 1},
                {CMD_AFMODE, 1}, {CMD_MFMODE, 0}, {CMD_FSTOP, -1}};
    run([&] {
        startParked();
        AF_Manager_SetFocusMode_API(0); // the trigger stays out of this
        const int64_t startUs = vcam::nowUs();
        for (const auto &row : rows) {
            for (int before : {0, 1, 0}) {
                SCOPED_TRACE(testing::Message() << "command " << row.code << ", was " << before);
                Lens_Set_Command(row.code);
                storeWord(&g_AutoCheckFlag, before);
                passMs(51); // more than one poll
                EXPECT_EQ(loadWord(&g_AutoCheckFlag), row.armed < 0 ? before : row.armed);
                EXPECT_EQ(Lens_Get_Command(), row.code);
            }
        }
        EXPECT_EQ(motorLog(startUs), std::vector<std::string>());
        EXPECT_EQ(host().savedPositions.size(), 2u);
    });
}

TEST(Mailbox, command_is_picked_up_at_the_next_poll_and_only_the_last_one_counts) {
    run([] {
        startParked();
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        vcam::sleepUntilUs(pollUs - 1);
        EXPECT_EQ(motorLog(pollUs - kPollUs + 1), std::vector<std::string>());
        command(CMD_NEAR);
        vcam::sleepUntilUs(pollUs + 1);
        EXPECT_EQ(events("chip", "write", pollUs - kPollUs + 1).front().timeUs, pollUs);
        EXPECT_EQ(motorLog(pollUs).front(), "29=0402");
        EXPECT_EQ(countSaid("To Tele."), 0);
    });
}

// ---- Chains ----

TEST(Mailbox, first_dispatch_is_an_autofocus_run_the_moment_the_thread_starts) {
    run([] {
        startAndSettle();
        int64_t startUs = -1;
        for (const Event &event : events("clock", "start"))
            if (event.get("thread") == "thLensCtrl")
                startUs = event.timeUs;
        ASSERT_EQ(whenSaid("______Start______", 0), std::vector<int64_t>{startUs});
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_NONE));
        expectSound();
    });
}

TEST(Mailbox, zoom_against_the_zoom_only_ends_it_and_one_autofocus_run_follows_at_once) {
    run([] {
        startParked();
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        vcam::sleepUntilUs(pollUs + 100000);
        command(CMD_WIDE);
        waitIdle();
        EXPECT_EQ(countSaid("To Wide.", pollUs), 0);
        int64_t brakedUs = 0; // end of the only 25 ms period, the zoom's last
        for (const Event &event : events("gpio", "vd", pollUs))
            if (event.get("period_us") == "25000")
                brakedUs = event.timeUs + 25000;
        EXPECT_EQ(whenSaid("______Start______", pollUs), std::vector<int64_t>{brakedUs});
        EXPECT_EQ(host().savedPositions.size(), 4u);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_NONE));
        expectSound();
    });
}

// ---- What an autofocus run hands back ----
//
// Only a command that arrives between two instructions makes a run hand back CMD_FOCUS or
// CMD_FSTOP, so here the run is one that hands back what the case says.

static std::vector<unsigned> handBacks; // in order; then CMD_NONE
static size_t runsPlayed;
static bool runsTakeAPeriod;

static unsigned handBack(AF_CMD_em) {
    const vcam::Unobserved unobserved;
    if (runsTakeAPeriod)
        MS419XX_VDF();
    const size_t index = runsPlayed++;
    return index < handBacks.size() ? handBacks[index] : static_cast<unsigned>(CMD_NONE);
}

TEST(Mailbox, chain_after_an_autofocus_run_depends_on_the_command_that_started_it) {
    const struct {
        AF_CMD_em started;
        std::vector<unsigned> handBacks;
        bool takesPeriods;
        size_t runsInFirstPoll;
        int armed;
    } rows[] = {
        {CMD_ZSTOP, {CMD_NONE}, true, 1, 1},
        {CMD_ZSTOP, {CMD_FOCUS, CMD_NONE}, true, 1, 1},
        {CMD_ZSTOP, {CMD_FSTOP}, true, 1, 0},
        {CMD_ZSTOP, {CMD_AFMODE}, true, 1, 1},
        {CMD_ZSTOP, {CMD_MFMODE}, true, 1, 0},
        {CMD_ZSTOP, {99}, true, 1, 1},
        {CMD_FOCUS, {CMD_NONE}, true, 1, 1},
        {CMD_FOCUS, {CMD_FSTOP}, true, 1, 1},
        {CMD_FOCUS, {CMD_FOCUS, CMD_FOCUS, CMD_NONE}, true, 3, 1},
        {CMD_FOCUS, {CMD_ZSTOP, CMD_FOCUS}, true, 2, 1},
        {CMD_FOCUS, {CMD_ZSTOP, CMD_FSTOP}, true, 2, 0},
        {CMD_FOCUS, {CMD_FOCUS, CMD_FOCUS}, false, 1, 0}, // no period: back to the poll
        {CMD_FOCUS, {CMD_ZSTOP, CMD_FSTOP}, false, 2, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "after " << row.started << " hands back "
                                        << testing::PrintToString(row.handBacks));
        run([&] {
            ASSERT_TRUE(vcam::replaceImport("libautofocus.so", "lensFocusCtrl",
                                            reinterpret_cast<void *>(handBack)));
            handBacks = row.handBacks;
            runsTakeAPeriod = row.takesPeriods;
            startParked();
            const int64_t pollUs = nextPollUs();
            command(row.started);
            vcam::sleepUntilUs(pollUs + 1 +
                               (row.takesPeriods ? 10000 : 0) * int64_t(row.runsInFirstPoll));
            EXPECT_EQ(runsPlayed, row.runsInFirstPoll);
            EXPECT_EQ(loadWord(&g_AutoCheckFlag), row.armed);
        });
    }
}

TEST(Mailbox, zoom_off_the_grid_goes_back_to_the_poll_each_time_until_a_stop_mends_the_counter) {
    run([] {
        startParked();
        storeWord(&ZM_Step_Local, 10215u); // one step off the grid
        const int64_t pollUs = nextPollUs();
        command(CMD_WIDE);
        vcam::sleepUntilUs(pollUs + 3 * kPollUs + 1);
        EXPECT_EQ(whenSaid("To Wide.", pollUs),
                  (std::vector<int64_t>{pollUs, pollUs + kPollUs, pollUs + 2 * kPollUs,
                                        pollUs + 3 * kPollUs}));
        EXPECT_EQ(motorLog(pollUs), std::vector<std::string>());
        EXPECT_EQ(loadWord(&g_AutoCheckFlag), 0);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_WIDE));
        EXPECT_EQ(countSaid("______Start______", pollUs), 0);
        command(CMD_ZSTOP);
        waitIdle();
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, 12234u));
        expectSound();
    });
}

// ---- Stop ----

TEST(Mailbox, stopped_thread_drops_the_waiting_command_and_refuses_all_later_ones) {
    run([] {
        startParked();
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        AF_Manager_Stop_API();
        vcam::sleepUntilUs(pollUs - 1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE)); // the pause is finished first
        vcam::sleepUntilUs(pollUs + 1);
        EXPECT_EQ(whenSaid("_thLensCtrl QUIT !!!", 0), std::vector<int64_t>{pollUs});
        EXPECT_EQ(loadWord(&g_ShaPosInfo), nullptr);
        EXPECT_EQ(Lens_Set_Command(CMD_FOCUS), -1);
        EXPECT_EQ(Lens_Get_Command(), kNoRecord);
        EXPECT_EQ(AF_Manager_LockFocus_API(), -1);
        EXPECT_EQ(lensDirectZPosition(CMD_DZF, 100), -1);
        unsigned short position16 = 0;
        EXPECT_EQ(lensGetZMapPosition(&position16), -1);
        EXPECT_EQ(lensGetFMapPosition(&position16), -1);
        EXPECT_EQ(AF_Mamager_SetPreset_API(1), -1);
        EXPECT_EQ(countSaid("__Lens_Set_Preset__af share buffer is null__"), 1);
        AF_Manager_Reset_API();
        passMs(200);
        EXPECT_EQ(motorLog(pollUs - kPollUs), std::vector<std::string>());
        EXPECT_EQ(countSaid("_thLensCtrl QUIT !!!"), 1);
    });
}

TEST(Mailbox, stop_during_a_zoom_lets_the_chain_run_to_its_end) {
    run([] {
        startParked();
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        vcam::sleepUntilUs(pollUs + 100000);
        AF_Manager_Stop_API();
        waitUntil([] { return loadWord(&g_ShaPosInfo) == nullptr; }, 30, "the thread has ended");
        EXPECT_EQ(host().savedPositions[2], std::make_pair(20488u, 12914u)); // held to the limit
        EXPECT_EQ(host().savedPositions.size(), 4u);                         // and refocused
        const Event last = events("gpio", "vd").back();
        EXPECT_EQ(whenSaid("_thLensCtrl QUIT !!!", 0),
                  std::vector<int64_t>{last.timeUs + 10000 + kPollUs});
        expectSound();
    });
}

// ---- Without the record ----

TEST(Mailbox, without_memory_for_the_record_the_lens_parks_and_commands_are_refused) {
    run([] {
        vcam::failCalls("calloc", "", 1, ENOMEM);
        startLibrary();
        waitUntil([] { return host().savedPositions.size() == 2; }, 60, "the lens is parked");
        passMs(60);
        EXPECT_EQ(countSaid("__Lens_Init_PresetInfo____Failure____"), 1);
        EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, 12234u));
        EXPECT_EQ(AF_Manager_LockFocus_API(), -1);
        EXPECT_EQ(loadWord(&g_AutoCheckFlag), 1); // every poll reads as idle
        EXPECT_EQ(countSaid("______Start______"), 0);
        expectSound();
    });
}
