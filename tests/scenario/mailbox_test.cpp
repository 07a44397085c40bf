// The mailbox and the thread that empties it: who interrupts whom, what stands, what follows what,
// and how it ends.
#include "scenario.h"

#include "boundary/library_imports.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

using namespace scenario;

static const unsigned kNoRecord = 0xFFFFFFFF;
static const int64_t kPollUs = 50000;

TEST(Mailbox, each_command_interrupts_what_it_is_to_interrupt) {
    run([] {
        startParked();
        for (unsigned code = 0; code <= CMD_NONE + 1; ++code) {
            SCOPED_TRACE(testing::Message() << "command " << code);
            EXPECT_EQ(Lens_Set_Command(code), 0);
            const bool focusGoesOn = code == CMD_ZSTOP || code == CMD_FOCUS || code == CMD_FSTOP;
            EXPECT_EQ(lensFocusInterrupt(), focusGoesOn ? 0 : 1);
            EXPECT_EQ(lensMotorInterrupt(CMD_TELE), code == CMD_TELE || code == CMD_FOCUS ? 0 : 1);
            EXPECT_EQ(lensMotorInterrupt(CMD_NEAR), code == CMD_NEAR || code == CMD_FOCUS ? 0 : 1);
        }
    });
}

TEST(Mailbox, standing_states_set_the_trigger_at_every_poll_and_move_nothing) {
    const struct {
        unsigned code;
        int armed; // -1: left as it is
    } rows[] = {{CMD_NONE, 1},   {1000, 1},       {kNoRecord, 1},
                {CMD_AFMODE, 1}, {CMD_MFMODE, 0}, {CMD_FSTOP, -1}};
    run([&] {
        startParked();
        AF_Manager_SetFocusMode_API(0); // the trigger stays out of this
        const int64_t startUs = vcam::nowUs();
        for (const auto &row : rows) {
            SCOPED_TRACE(row.code);
            for (int before : {0, 1, 0}) {
                Lens_Set_Command(row.code);
                storeWord(&g_AutoCheckFlag, before);
                passMs(51); // more than one poll
                EXPECT_EQ(loadWord(&g_AutoCheckFlag), row.armed < 0 ? before : row.armed);
                EXPECT_EQ(Lens_Get_Command(), row.code);
            }
        }
        EXPECT_EQ(motorText(startUs), "");
    });
}

// Only a command that arrives between two instructions makes a run hand back CMD_FOCUS or
// CMD_FSTOP, so here the run is one that hands back what the case says, then CMD_NONE.
static std::vector<unsigned> handBacks;
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
        size_t runsInFirstPoll;
        int armed;
        int64_t runUs = 10000; // 0: no VD period
    } rows[] = {
        {CMD_WIDE, {CMD_FSTOP}, 1, 0}, // at the limit already
        {CMD_ZSTOP, {CMD_FOCUS}, 1, 1},
        {CMD_ZSTOP, {CMD_FSTOP}, 1, 0},
        {CMD_FOCUS, {CMD_FSTOP}, 1, 1},
        {CMD_FOCUS, {CMD_FOCUS, CMD_FOCUS, CMD_NONE}, 3, 1},
        {CMD_FOCUS, {CMD_ZSTOP, CMD_FSTOP}, 2, 0},
        {CMD_FOCUS, {CMD_FOCUS, CMD_FOCUS, CMD_NONE}, 3, 1, 0},
        {CMD_FOCUS, std::vector<unsigned>(20, CMD_FOCUS), 16, 0, 0}, // then back to the poll
    };
    runEach(rows, [&](const auto &row) {
        ASSERT_TRUE(vcam::replaceImport("libautofocus.so", "lensFocusCtrl",
                                        reinterpret_cast<void *>(handBack)));
        handBacks = row.handBacks;
        runsTakeAPeriod = row.runUs > 0;
        startParked();
        const int64_t pollUs = nextPollUs();
        storeWord(&g_AutoCheckFlag, 1);
        command(row.started);
        vcam::sleepUntilUs(pollUs + 1 + int64_t(row.runsInFirstPoll) * row.runUs);
        EXPECT_EQ(runsPlayed, row.runsInFirstPoll);
        EXPECT_EQ(loadWord(&g_AutoCheckFlag), row.armed);
    });
}

TEST(Mailbox, stopped_thread_drops_the_waiting_command_and_refuses_all_later_ones) {
    run([] {
        startParked();
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        AF_Manager_Stop_API();
        vcam::sleepUntilUs(pollUs + 1); // the pause is finished first
        EXPECT_EQ(whenSaid("_thLensCtrl QUIT !!!", 0), std::vector<int64_t>{pollUs});
        EXPECT_EQ(Lens_Set_Command(CMD_FOCUS), -1);
        EXPECT_EQ(AF_Manager_LockFocus_API(), -1);
        unsigned short position16 = 0;
        EXPECT_EQ(lensGetZMapPosition(&position16), -1);
        EXPECT_EQ(AF_Mamager_SetPreset_API(1), -1);
        AF_Manager_Reset_API();
        passMs(200);
        EXPECT_EQ(motorText(pollUs - kPollUs), "");
    });
}
