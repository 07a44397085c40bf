// Orders with tickets: how each ends, what is told of it, and what the lens truly does.
#include "scenario.h"

#include "autofocus_control.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "isp/isp.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>

using namespace scenario;
using vcam::Axis;

static constexpr int kLongMs = 60000;

/// What the events told on the library's threads, a line each: "ticket activity outcome".
static std::vector<std::string> told;
static std::mutex telling;

static void tell(const AF_Event_ST *event, void *user) {
    char text[64];
    snprintf(text, sizeof text, "%d %u %u", event->ticket, event->activity, event->outcome);
    {
        const std::lock_guard<std::mutex> guard(telling);
        static_cast<std::vector<std::string> *>(user)->push_back(text);
    }
    EXPECT_EQ(AF_Manager_Wait_Ticket_API(event->ticket, 0), -1); // the lens waits with it
}

static std::vector<std::string> toldSoFar() {
    const std::lock_guard<std::mutex> guard(telling);
    return told;
}

static AF_Status_ST status() {
    AF_Status_ST seen = {};
    seen.size = sizeof seen;
    EXPECT_EQ(AF_Manager_Get_Status_API(&seen), 0);
    return seen;
}

static int await(int ticket) {
    EXPECT_GT(ticket, 0);
    return AF_Manager_Wait_Ticket_API(ticket, kLongMs);
}

static int truth(Axis axis) {
    return vcam::truePosition(axis);
}

/// Started, idle, and from here on told of every event.
static void settleAndListen() {
    startAndSettle();
    passMs(100);
    AF_Manager_Init_EventFun_API(tell, &told);
}

static std::string spell(int ticket, unsigned activity, unsigned outcome) {
    return std::to_string(ticket) + ' ' + std::to_string(activity) + ' ' + std::to_string(outcome);
}

TEST(Orders, are_refused_before_start_after_stop_and_with_bad_arguments) {
    run([] {
        EXPECT_EQ(AF_Manager_Zoom_Tele_API(), -1);
        EXPECT_EQ(status().activity, unsigned(AF_ACTIVITY_STOPPED));
        startAndSettle();
        EXPECT_EQ(AF_Manager_Preset_Call_API(-1), -1);
        EXPECT_EQ(AF_Manager_Preset_Set_API(255), -1);
        EXPECT_EQ(AF_Manager_Wait_Ticket_API(0, 0), -1);
        EXPECT_EQ(AF_Manager_Wait_Ticket_API(1, -2), -1);
        for (const int ticket : {999, 0x0A000000})
            EXPECT_EQ(AF_Manager_Wait_Ticket_API(ticket, 0), AF_OUTCOME_FORGOTTEN); // never given
        EXPECT_EQ(AF_Manager_Cancel_API(999), -1);
        EXPECT_EQ(AF_Manager_Get_Status_API(nullptr), -1);
        const int held = AF_Manager_Focus_Near_API();
        passMs(200);
        AF_Manager_Stop_API();
        EXPECT_EQ(AF_Manager_Focus_Stop_API(), -1);
        command(CMD_FSTOP);
        EXPECT_EQ(await(held), AF_OUTCOME_DONE);
        passMs(200);
        EXPECT_EQ(AF_Manager_Home_API(), -1);
        EXPECT_EQ(status().activity, unsigned(AF_ACTIVITY_STOPPED));
    });
}

TEST(Settings, are_off_at_load_and_take_what_is_in_range_in_its_time) {
    run([] {
        int value = -1;
        for (const int setting : {AF_SETTING_SERIAL_REPLIES, AF_SETTING_RECOVERY}) {
            EXPECT_EQ(AF_Manager_Get_Setting_API(setting, &value), 0);
            EXPECT_EQ(value, 0);
            EXPECT_EQ(AF_Manager_Set_Setting_API(setting, -1), -1);
            EXPECT_EQ(AF_Manager_Set_Setting_API(setting, 3), -1);
        }
        EXPECT_EQ(AF_Manager_Set_Setting_API(-1, 0), -1);
        EXPECT_EQ(AF_Manager_Set_Setting_API(99, 0), -1);
        EXPECT_EQ(AF_Manager_Get_Setting_API(99, &value), -1);
        EXPECT_EQ(AF_Manager_Get_Setting_API(0, nullptr), -1);
        EXPECT_EQ(AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, 2), 0);
        startAndSettle();
        EXPECT_EQ(AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, 0), -1);
        EXPECT_EQ(AF_Manager_Set_Setting_API(AF_SETTING_RECOVERY, 1), 0);
        AF_Manager_Get_Setting_API(AF_SETTING_SERIAL_REPLIES, &value);
        EXPECT_EQ(value, 2);
        AF_Manager_Get_Setting_API(AF_SETTING_RECOVERY, &value);
        EXPECT_EQ(value, 1);
    });
}

TEST(Orders, start_and_end_once_each_and_say_how) {
    run([] {
        settleAndListen();
        const int tele = AF_Manager_Zoom_Tele_API();
        passMs(500);
        EXPECT_EQ(status().activity, unsigned(AF_ACTIVITY_ZOOMING));
        EXPECT_EQ(status().ticket, tele);
        EXPECT_EQ(AF_Manager_Wait_Ticket_API(tele, 50), 0);
        const int stop = AF_Manager_Zoom_Stop_API();
        EXPECT_EQ(await(stop), AF_OUTCOME_FOCUSED);
        EXPECT_EQ(await(tele), AF_OUTCOME_DONE);
        EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1);
        const AF_Status_ST seen = status();
        EXPECT_EQ(int(seen.zoomSteps), truth(Axis::Zoom));
        EXPECT_EQ(int(seen.focusSteps), truth(Axis::Focus));
        EXPECT_EQ(seen.zoomPosition, loadWord(&g_ShaPosInfo->shRZPosition));
        EXPECT_EQ(seen.focusPosition, loadWord(&g_ShaPosInfo->shRFPosition));
        EXPECT_EQ(seen.endedTicket, stop);
        EXPECT_EQ(seen.endedOutcome, unsigned(AF_OUTCOME_FOCUSED));
        EXPECT_EQ(seen.runOutcome, unsigned(AF_OUTCOME_FOCUSED));
        EXPECT_GT(seen.runPeak, seen.runFloor);
        EXPECT_GT(seen.runFrames, 10u);
        EXPECT_EQ(toldSoFar(), (std::vector<std::string>{
                                   spell(tele, AF_ACTIVITY_ZOOMING, 0),
                                   spell(tele, AF_ACTIVITY_ZOOMING, AF_OUTCOME_DONE),
                                   spell(stop, AF_ACTIVITY_AUTOFOCUS, 0),
                                   spell(stop, AF_ACTIVITY_AUTOFOCUS, AF_OUTCOME_FOCUSED)}));
        EXPECT_EQ(await(AF_Manager_Preset_Set_API(7)), AF_OUTCOME_DONE);
        EXPECT_EQ(await(AF_Manager_Zoom_To_API(0)), AF_OUTCOME_DONE);
        EXPECT_EQ(truth(Axis::Zoom), int(ZM_Wide_Limit));
        EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1); // the run belongs to the ticket
        EXPECT_EQ(await(AF_Manager_Preset_Call_API(7)), AF_OUTCOME_DONE);
        EXPECT_EQ(truth(Axis::Zoom), int(seen.zoomSteps));
        EXPECT_EQ(truth(Axis::Focus), int(seen.focusSteps));
        EXPECT_EQ(await(AF_Manager_Preset_Call_API(8)), AF_OUTCOME_FAULT); // empty
        host().storeResult = -1;
        EXPECT_EQ(await(AF_Manager_Preset_Clear_API(7)), AF_OUTCOME_FAULT);
        expectSound();
    });
}

TEST(Orders, that_came_too_late_are_replaced_and_the_last_one_runs) {
    run([] {
        settleAndListen();
        const int home = AF_Manager_Home_API();
        passMs(1000);
        const int first = AF_Manager_Zoom_Tele_API();
        const int second = AF_Manager_Preset_Call_API(3);
        const int last = AF_Manager_Focus_To_API(0x5000);
        EXPECT_EQ(await(last), AF_OUTCOME_DONE);
        EXPECT_EQ(await(home), AF_OUTCOME_DONE); // though nothing focused after it
        EXPECT_EQ(await(first), AF_OUTCOME_REPLACED);
        EXPECT_EQ(await(second), AF_OUTCOME_REPLACED);
        EXPECT_NEAR(status().focusPosition, 0x5000, 16);
        expectSound();
        // The same order once more, behind itself: both run.
        const int one = AF_Manager_Autofocus_API();
        passMs(300);
        const int two = AF_Manager_Autofocus_API();
        EXPECT_EQ(await(one), AF_OUTCOME_FOCUSED);
        EXPECT_EQ(await(two), AF_OUTCOME_FOCUSED);
        for (int i = 0; i < 16; ++i)
            await(AF_Manager_Focus_Stop_API());
        EXPECT_EQ(AF_Manager_Wait_Ticket_API(one, 0), AF_OUTCOME_FORGOTTEN);
    });
}

TEST(Orders, give_a_ticket_to_what_comes_past_them_and_survive_its_coming_between) {
    run([] {
        settleAndListen();
        command(CMD_TELE);
        passMs(300);
        const int raw = status().ticket;
        EXPECT_GT(raw, 0);
        const int near = AF_Manager_Focus_Near_API(); // ends the held zoom and is not lost
        EXPECT_EQ(await(raw), AF_OUTCOME_DONE);
        passMs(300);
        EXPECT_EQ(status().ticket, near);
        EXPECT_EQ(status().activity, unsigned(AF_ACTIVITY_FOCUSING));
        const int stop = AF_Manager_Focus_Stop_API();
        EXPECT_EQ(await(stop), AF_OUTCOME_DONE);
        const int lost = AF_Manager_Zoom_Wide_API();
        command(CMD_CAPST, 202); // before anybody has looked
        EXPECT_EQ(await(lost), AF_OUTCOME_REPLACED);
        EXPECT_EQ(truth(Axis::Zoom), int(status().zoomSteps));
        expectSound();
    });
}

TEST(Orders, of_a_focus_position_move_there_and_no_further_than_the_travel) {
    run([] {
        settleAndListen();
        for (const int position : {0xC000, 0x1000, 0x8000, 0xFFFF, 0}) {
            EXPECT_EQ(await(AF_Manager_Focus_To_API(static_cast<unsigned short>(position))),
                      AF_OUTCOME_DONE);
            const int focus = truth(Axis::Focus);
            EXPECT_GE(focus, int(FM_Near_Limit));
            EXPECT_LE(focus, int(FM_Far_Limit));
            const int expected = 10000 + (49152 - position) * (1360 + 3520) / 45056;
            EXPECT_NEAR(focus, std::clamp(expected, int(FM_Near_Limit), int(FM_Far_Limit)), 1);
        }
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_FSTOP)); // and nothing focuses by itself
        const int far = AF_Manager_Focus_To_API(0xC000);
        passMs(150);
        const int focus = AF_Manager_Autofocus_API();
        EXPECT_EQ(await(far), AF_OUTCOME_REPLACED);
        EXPECT_EQ(await(focus), AF_OUTCOME_FOCUSED);
        expectSound();
    });
}

// ---- Cancelling

namespace {
struct Move {
    const char *name;
    int (*order)();
    int64_t ms; ///< About how long it lasts.
};
} // namespace

static const Move kMoves[] = {
    {"tele", AF_Manager_Zoom_Tele_API, 2500},
    {"far", AF_Manager_Focus_Far_API, 2000},
    {"autofocus", AF_Manager_Autofocus_API, 1000},
    {"zoom to", [] { return AF_Manager_Zoom_To_API(0x3000); }, 2000},
    {"focus to", [] { return AF_Manager_Focus_To_API(0xB000); }, 450},
    {"preset", [] { return AF_Manager_Preset_Call_API(1); }, 1000},
    {"calibration", AF_Manager_Calibrate_API, 30000},
};

/// When the last VD period begins.
static int64_t lastPulseUs(int64_t fromUs) {
    int64_t lastUs = 0;
    for (const Event &event : events("gpio", "vd"))
        lastUs = event.timeUs >= fromUs ? event.timeUs : lastUs;
    return lastUs;
}

static void cancelAfter(const Move &move, int64_t ms) {
    const std::string what = std::string(move.name) + " after " + std::to_string(ms) + " ms";
    const FLine_Tagposition_ST line = g_FLineInfo;
    const size_t saved = host().savedPositions.size();
    const int ticket = move.order();
    passMs(ms);
    const int64_t cancelledUs = vcam::nowUs();
    EXPECT_EQ(AF_Manager_Cancel_API(ticket), 0) << what;
    EXPECT_EQ(await(ticket), AF_OUTCOME_CANCELLED) << what;
    const bool isHoming = std::string(move.name) == "calibration" && ms < 11000;
    passMs(4000); // the refocus trigger would have fired twice
    EXPECT_LT(lastPulseUs(cancelledUs), cancelledUs + (isHoming ? 15000000 : 80000)) << what;
    EXPECT_TRUE(vcam::areCountersTrue()) << what;
    EXPECT_GT(host().savedPositions.size(), saved) << what;
    EXPECT_EQ(int(host().savedPositions.back().first), truth(Axis::Zoom)) << what;
    EXPECT_EQ(int(host().savedPositions.back().second), truth(Axis::Focus)) << what;
    EXPECT_EQ(memcmp(&line, &g_FLineInfo, sizeof line), 0) << what;
    EXPECT_EQ(host().savedFocusLines, 0) << what;
    expectSound();
}

TEST(Orders, that_are_cancelled_stop_within_a_period_and_nothing_follows) {
    for (const Move &move : kMoves) {
        for (int part = 1; part <= 4; ++part) {
            run([&] {
                host().hasPresets = true;
                host().presets.zoom[1] = 14000;
                host().presets.focus[1] = 11500;
                startAndSettle();
                cancelAfter(move, move.ms * part / 5 + 7 * part);
                EXPECT_LE(await(AF_Manager_Autofocus_API()), AF_OUTCOME_UNSURE) << move.name;
                EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1) << move.name;
            });
        }
    }
}

TEST(Orders, that_wait_are_cancelled_alone_and_with_0_whatever_there_is) {
    run([] {
        settleAndListen();
        const int tele = AF_Manager_Zoom_Tele_API();
        passMs(300);
        const int focus = AF_Manager_Autofocus_API(); // waits: a held zoom goes on
        passMs(100);
        EXPECT_EQ(AF_Manager_Cancel_API(focus), 0);
        passMs(200);
        EXPECT_EQ(status().ticket, tele);
        EXPECT_TRUE(vcam::isMotorRunning(Axis::Zoom));
        EXPECT_EQ(AF_Manager_Cancel_API(0), 0);
        EXPECT_EQ(await(tele), AF_OUTCOME_CANCELLED);
        EXPECT_EQ(await(focus), AF_OUTCOME_CANCELLED);
        EXPECT_EQ(AF_Manager_Cancel_API(tele), -1);
        EXPECT_EQ(AF_Manager_Cancel_API(0), 0);
        // Homing goes on until home is found; an order that comes after the cancelling runs.
        const int home = AF_Manager_Home_API();
        passMs(500);
        EXPECT_EQ(AF_Manager_Cancel_API(home), 0);
        const int after = AF_Manager_Zoom_To_API(0);
        EXPECT_EQ(await(home), AF_OUTCOME_CANCELLED);
        EXPECT_EQ(await(after), AF_OUTCOME_DONE);
        EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1);
        expectSound();
    });
}

// ---- From callbacks, and in the gaps between two commands of one order

static std::function<void(const AF_Event_ST &)> onEvent;

static void obeyEvent(const AF_Event_ST *event, void *) {
    if (onEvent)
        onEvent(*event);
}

static void settleAndObey(std::function<void(const AF_Event_ST &)> obey) {
    startAndSettle();
    passMs(100);
    onEvent = std::move(obey);
    AF_Manager_Init_EventFun_API(obeyEvent, nullptr);
}

static bool isEndOf(const AF_Event_ST &event, unsigned activity) {
    return event.activity == activity && event.outcome != AF_OUTCOME_NONE;
}

TEST(Orders, do_not_run_again_when_the_next_one_is_cancelled_before_it_is_taken) {
    run([] {
        static std::atomic<int> next;
        settleAndObey([](const AF_Event_ST &event) {
            if (!isEndOf(event, AF_ACTIVITY_ZOOMING) || next != 0)
                return;
            next = AF_Manager_Focus_Near_API();
            EXPECT_EQ(AF_Manager_Cancel_API(next), 0);
        });
        const int tele = AF_Manager_Zoom_Tele_API();
        passMs(500);
        EXPECT_EQ(AF_Manager_Cancel_API(tele), 0);
        EXPECT_EQ(await(tele), AF_OUTCOME_CANCELLED);
        EXPECT_EQ(await(next), AF_OUTCOME_CANCELLED);
        passMs(2000);
        EXPECT_FALSE(vcam::isMotorRunning(Axis::Zoom));
        const int home = AF_Manager_Home_API();
        waitUntil([] { return Lens_Get_Command() == CMD_FOCUS; }, 60, "home is found");
        EXPECT_EQ(AF_Manager_Cancel_API(AF_Manager_Focus_Near_API()), 0);
        passMs(1500);
        EXPECT_NE(status().activity, unsigned(AF_ACTIVITY_HOMING));
        EXPECT_EQ(await(home), AF_OUTCOME_DONE);
        expectSound();
    });
}

TEST(Orders, that_a_callback_places_all_end) {
    run([] {
        static std::atomic<int> first, second;
        settleAndObey([](const AF_Event_ST &event) {
            if (event.activity != AF_ACTIVITY_IDLE || event.outcome != AF_OUTCOME_DONE ||
                first != 0)
                return;
            first = AF_Manager_Focus_To_API(0x9000);
            second = AF_Manager_Preset_Call_API(202);
        });
        AF_Manager_Zoom_Tele_API();
        passMs(500);
        EXPECT_EQ(await(AF_Manager_Focus_Stop_API()), AF_OUTCOME_DONE);
        EXPECT_EQ(await(second), AF_OUTCOME_DONE);
        EXPECT_EQ(await(first), AF_OUTCOME_REPLACED);
    });
}

TEST(Orders, cancelled_while_they_wait_say_so_whatever_comes_after_them) {
    run([] {
        settleAndListen();
        AF_Manager_Home_API();
        passMs(1000);
        const int cancelled = AF_Manager_Zoom_To_API(0x3000);
        EXPECT_EQ(AF_Manager_Cancel_API(cancelled), 0);
        EXPECT_EQ(await(AF_Manager_Focus_To_API(0x9000)), AF_OUTCOME_DONE);
        EXPECT_EQ(await(cancelled), AF_OUTCOME_CANCELLED);
    });
    run([] { // between a zoom and the run at its end: nobody focuses
        static std::atomic<bool> isCancelled;
        settleAndObey([](const AF_Event_ST &event) {
            if (isEndOf(event, AF_ACTIVITY_ZOOMING) && !isCancelled)
                isCancelled = AF_Manager_Cancel_API(0) == 0;
        });
        const unsigned runs = status().runs;
        AF_Manager_Zoom_Tele_API();
        passMs(700);
        AF_Manager_Zoom_Stop_API();
        passMs(5000);
        EXPECT_TRUE(isCancelled);
        EXPECT_EQ(status().runs, runs);
    });
    run([] { // start-up: home is found, and the lens stands
        startLibrary();
        waitUntil([] { return status().activity == AF_ACTIVITY_STARTING; }, 10, "start-up");
        passMs(2000);
        const int startUp = status().ticket;
        EXPECT_EQ(AF_Manager_Cancel_API(0), 0);
        EXPECT_EQ(await(startUp), AF_OUTCOME_CANCELLED);
        passMs(10000);
        EXPECT_EQ(status().runs, 0u);
        expectSound();
    });
}

// ---- Verdicts and faults that the truth provokes

TEST(Orders, of_an_autofocus_run_say_that_nothing_was_seen) {
    vcam::CameraOptions flat;
    flat.picture = std::filesystem::path(__FILE__).parent_path() / "pictures" / "flat.png";
    flat.plainPicture = true;
    flat.night = true;
    run(flat, [] {
        g_ICUTState = 1;
        startLibrary();
        waitUntil([] { return status().runs == 1; }, 60, "the first run");
        EXPECT_EQ(status().runOutcome, unsigned(AF_OUTCOME_FLAT));
    });
    run([] {
        settleAndListen();
        vcam::stallFramesUntilUs(vcam::nowUs() + 1000000000);
        const int ticket = AF_Manager_Autofocus_API(); // a second a frame that does not come
        EXPECT_EQ(AF_Manager_Wait_Ticket_API(ticket, 1000000), AF_OUTCOME_BLIND);
    });
}

TEST(Orders, home_tells_the_steps_that_were_lost_and_that_home_was_not_found) {
    for (const int lens : {LENS_A, LENS_B}) {
        vcam::CameraOptions options;
        options.lensType = lens;
        run(options, [=] {
            g_LensType = lens;
            settleAndListen();
            EXPECT_EQ(status().lostZoomSteps, 0);
            vcam::placeAt(Axis::Zoom, truth(Axis::Zoom) + 40);
            vcam::placeAt(Axis::Focus, truth(Axis::Focus) - 25);
            EXPECT_EQ(await(AF_Manager_Home_API()), AF_OUTCOME_DONE);
            EXPECT_EQ(status().lostZoomSteps, 40);
            EXPECT_EQ(status().lostFocusSteps, -25);
            EXPECT_EQ(await(AF_Manager_Home_API()), AF_OUTCOME_DONE);
            EXPECT_EQ(status().lostZoomSteps, 0);
            EXPECT_EQ(status().lostFocusSteps, 0);
            EXPECT_EQ(status().faults, 0u);
            vcam::stickPhotoInterrupter(Axis::Zoom, 1);
            EXPECT_EQ(await(AF_Manager_Home_API()), AF_OUTCOME_FAULT);
            EXPECT_EQ(status().faults, unsigned(AF_FAULT_HOMING | AF_FAULT_POSITION));
        });
    }
}
