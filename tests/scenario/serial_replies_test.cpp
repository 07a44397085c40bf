// The serial line with replies: every message that a controller gets, when it comes, and whether it
// is true of the lens.
#include "scenario.h"

#include "autofocus_control.h"
#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "host/controller_frames.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

using namespace scenario;
using vcam::Axis;
using vcam::Bytes;

static constexpr int kVisca = 1;
static constexpr int kPelcoToo = 2;

// ---- What the controller hears

namespace {
struct Message {
    int64_t us;
    std::string bytes;
};
} // namespace

static std::vector<Message> heardSince(int64_t fromUs) {
    std::vector<Message> heard;
    for (const Event &event : events("serial", "write", fromUs))
        heard.push_back({event.timeUs, event.get("bytes")});
    return heard;
}

/// All of it in order, "9041ff 9051ff".
static std::string textSince(int64_t fromUs) {
    std::string text;
    for (const Message &message : heardSince(fromUs))
        text += (text.empty() ? "" : " ") + message.bytes;
    return text;
}

/// What comes at once, as to an inquiry.
static std::string answerTo(const Bytes &frame) {
    const int64_t sentUs = vcam::nowUs();
    send(frame);
    passMs(1);
    return textSince(sentUs);
}

/// What comes within @p ms.
static std::string talk(const Bytes &frame, int64_t ms = 60) {
    const int64_t sentUs = vcam::nowUs();
    send(frame);
    passMs(ms);
    return textSince(sentUs);
}

/// Until the next one, or several at the same instant.
static void awaitMessage() {
    EXPECT_TRUE(vcam::waitCameraSent(vcam::nowUs() + 30000000));
    vcam::cameraSent();
}

static const char *const kObeyed = "9041ff 9051ff";
static const char *const kRefused = "9041ff 906141ff";
static const char *const kSyntax = "906002ff";

static Bytes direct(unsigned char axis, unsigned position) {
    return vcam::wrapPosition({0x81, 0x01, 0x04, axis}, position);
}

static Bytes directBoth(unsigned zoom, unsigned focus) {
    Bytes frame = direct(0x47, zoom);
    frame.pop_back();
    return vcam::wrapPosition(frame, focus);
}

static Bytes memory(unsigned char what, unsigned char number) {
    return {0x81, 0x01, 0x04, 0x3F, what, number, 0xFF};
}

static Bytes pelco(unsigned char command1, unsigned char command2, unsigned char data1 = 0,
                   unsigned char data2 = 0, unsigned char address = 1) {
    const auto sum = static_cast<unsigned char>(address + command1 + command2 + data1 + data2);
    return {0xFF, address, command1, command2, data1, data2, sum};
}

static const Bytes kHome = {0x81, 0x01, 0x06, 0x04, 0xFF};
static const Bytes kCancel1 = {0x81, 0x21, 0xFF};
static const Bytes kCancel2 = {0x81, 0x22, 0xFF};

// ---- What the lens does

/// Started with replies, idle, the line quiet.
static void startAnswering(int replies) {
    ASSERT_EQ(AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, replies), 0);
    startAndSettle();
    passMs(100);
}

static unsigned zoomPosition16() {
    unsigned short position = 0;
    lensGetZMapPosition(&position);
    return position;
}

static unsigned focusPosition16() {
    unsigned short position = 0;
    lensGetFMapPosition(&position);
    return position;
}

/// When the last VD period ends, or 0.
static int64_t lastPeriodEndUs(int64_t fromUs) {
    int64_t endUs = 0;
    for (const Event &event : events("gpio", "vd", fromUs))
        endUs = event.timeUs + std::stoll(event.get("period_us"));
    return endUs;
}

static bool hasRun(Axis axis) {
    const std::vector<int> runs =
        motorRuns(axis == Axis::Zoom ? "AB" : "CD", vcam::nowUs() - 100000);
    return std::any_of(runs.begin(), runs.end(), [](int steps) { return steps != 0; });
}

static void expectSharp() {
    EXPECT_LT(std::abs(vcam::focusErrorHalfDepths()), 1);
}

// ---- What is answered at once

TEST(SerialReplies, inquiries_are_answered_at_once_and_other_addresses_not_at_all) {
    const std::pair<Bytes, std::string> rows[] = {
        {{0x88, 0x30, 0x01, 0xFF}, "883002ff"},
        {{0x88, 0x01, 0x00, 0x01, 0xFF}, "88010001ff"},
        {{0x81, 0x01, 0x00, 0x01, 0xFF}, "9050ff"},
        {{0x81, 0x09, 0x00, 0x02, 0xFF}, "90504f4c0001000102ff"},
        {{0x81, 0x09, 0x04, 0x00, 0xFF}, "905002ff"},
        {vcam::kAskFocusMode, "905002ff"},
        {vcam::kAskZoom, "905000000000ff"},
        {{0x82, 0x09, 0x04, 0x47, 0xFF}, ""},
        {{0x87, 0x01, 0x04, 0x07, 0x02, 0xFF}, ""},
        {{0x88, 0x09, 0x04, 0x47, 0xFF}, ""},
        {kCancel1, "906105ff"}, // nothing is there
        {{0x81, 0x23, 0xFF}, "906305ff"},
        {{0x81, 0xFF}, kSyntax},
        {{0x81, 0x09, 0x04, 0x12, 0xFF}, kSyntax},
        {{0x81, 0x09, 0x04, 0x47, 0x00, 0xFF}, kSyntax},
        {{0x81, 0x09, 0x7E, 0x7E, 0x01, 0xFF}, kSyntax},
        {{0x81, 0x09, 0x7E, 0x7E, 0xFF}, kSyntax},
        {{0x81, 0x05, 0x04, 0x47, 0xFF}, kSyntax},
        {{0x81, 0x01, 0x04, 0x07, 0x40, 0xFF}, kSyntax}, // neither tele nor wide
        {{0x81, 0x01, 0x04, 0x07, 0x02, 0x00, 0xFF}, kSyntax},
        {{0x81, 0x01, 0x04, 0x74, 0x00, 0xFF}, kSyntax},
        {{0x81, 0x01, 0x04, 0x47, 0x01, 0x10, 0x00, 0x00, 0xFF}, kSyntax}, // not a nibble
        {{0x81, 0x01, 0x06, 0x01, 5, 5, 3, 1, 0xFF}, kSyntax},
        {{0x81, 0x01, 0x04, 0x73, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF}, kSyntax},
    };
    run([&] {
        startAnswering(kVisca);
        const int64_t fromUs = vcam::nowUs();
        for (const auto &[frame, answer] : rows)
            EXPECT_EQ(answerTo(frame), answer) << int(frame[1]) << ' ' << int(frame[3]);
        const Bytes focus = vcam::viscaPositionReply(focusPosition16());
        vcam::cameraSent();
        answerTo(vcam::kAskFocus);
        EXPECT_EQ(vcam::cameraSent(), focus);
        EXPECT_EQ(lastPeriodEndUs(fromUs), 0) << "nothing moves";
        // The whole lens: positions, the focus's near end, autofocus, and what moves.
        Bytes block = {0x90,     0x50,     0,        0,        0, 0, 0x0C, 0,
                       focus[2], focus[3], focus[4], focus[5], 0, 1, 0,    0xFF};
        answerTo(vcam::kAskBlock);
        EXPECT_EQ(vcam::cameraSent(), block);
        talk(vcam::kViscaTele, 200);
        vcam::cameraSent();
        answerTo(vcam::kAskBlock);
        EXPECT_EQ(vcam::cameraSent().at(14), 1) << "the zoom moves";
    });
}

TEST(SerialReplies, commands_are_acknowledged_at_once_and_completed_20_ms_later_by_themselves) {
    const std::pair<Bytes, const char *> rows[] = {
        {vcam::kViscaTele, kObeyed},
        {{0x81, 0x01, 0x04, 0x07, 0x03, 0xFF}, kObeyed},
        {vcam::kViscaZoomStop, kObeyed},
        {vcam::kViscaFar, kObeyed},
        {{0x81, 0x01, 0x04, 0x08, 0x37, 0xFF}, kObeyed},
        {vcam::kViscaFocusStop, kObeyed},
        {vcam::kViscaNight, kObeyed},
        {vcam::kViscaDay, kObeyed},
        {{0x81, 0x01, 0x04, 0x00, 0x02, 0xFF}, kObeyed},
        {{0x81, 0x01, 0x04, 0x00, 0x03, 0xFF}, kRefused}, // nobody switches it off
        {{0x81, 0x01, 0x04, 0x51, 0x02, 0xFF}, kRefused},
    };
    run([&] {
        startAnswering(kVisca);
        for (const auto &[frame, answer] : rows) {
            const int64_t sentUs = vcam::nowUs();
            EXPECT_EQ(talk(frame), answer) << int(frame[3]) << ' ' << int(frame[4]);
            const std::vector<Message> heard = heardSince(sentUs);
            ASSERT_EQ(heard.size(), 2u);
            EXPECT_EQ(heard[0].us, sentUs);
            EXPECT_GE(heard[1].us, sentUs + 20000);
            EXPECT_LE(heard[1].us, sentUs + 30000);
        }
        EXPECT_EQ(host().dayNightRequests, (std::vector<int>{1, 2}));
        AF_Manager_Set_ICUTControlType_API(TYPE_DAY);
        EXPECT_EQ(talk(vcam::kViscaNight), kRefused);
        AF_Manager_Stop_API();
        passMs(100);
        EXPECT_EQ(talk(vcam::kViscaTele), kRefused);
        EXPECT_EQ(talk(direct(0x47, 0x1000)), kRefused);
    });
}

TEST(SerialReplies, focus_mode_is_what_was_set) {
    run([] {
        startAnswering(kVisca);
        for (const auto &[parameter, mode] :
             {std::pair{0x03, 3}, {0x10, 2}, {0x10, 3}, {0x02, 2}, {0x03, 3}}) {
            talk({0x81, 0x01, 0x04, 0x38, static_cast<unsigned char>(parameter), 0xFF});
            EXPECT_EQ(answerTo(vcam::kAskFocusMode), "90500" + std::to_string(mode) + "ff");
        }
        talk(direct(0x47, 0x3000), 8000);
        vcam::setObjectDistanceM(3);
        const int64_t fromUs = vcam::nowUs();
        passMs(5000);
        EXPECT_EQ(lastPeriodEndUs(fromUs), 0) << "nothing focuses by itself";
        talk({0x81, 0x01, 0x04, 0x38, 0x02, 0xFF});
        passMs(5000);
        expectSharp();
    });
}

// ---- Direct orders

static void expectZoom(unsigned position) {
    EXPECT_GE(zoomPosition16(), position); // the next ratio's
    EXPECT_LT(zoomPosition16(), position + 1100);
}

static void expectFocus(int position) {
    EXPECT_NEAR(focusPosition16(), position, 16);
}

namespace {
struct Direct {
    Bytes frame;
    int64_t mostMs;
    void (*expectThere)();
};
} // namespace

static const Direct kDirects[] = {
    {direct(0x47, 0x2000), 6000,
     [] {
         expectZoom(0x2000);
         expectSharp();
     }},
    {direct(0x48, 0x9000), 2000, [] { expectFocus(0x9000); }},
    {directBoth(0x1000, 0xA000), 6000,
     [] {
         expectZoom(0x1000);
         expectFocus(0xA000);
     }},
    {vcam::kViscaOnePush, 6000, expectSharp},
    {memory(2, 1), 4000, [] { EXPECT_EQ(truePlace(), Place(14000, 11500)); }},
    {kHome, 20000, [] { EXPECT_EQ(truePlace().first, ZM_Wide_Limit); }},
};

TEST(SerialReplies, direct_order_is_completed_when_the_lens_has_arrived_and_within_60_ms) {
    runEach(kDirects, [](const Direct &order) {
        host().hasPresets = true;
        host().presets.zoom[1] = 14000;
        host().presets.focus[1] = 11500;
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        send(order.frame);
        awaitMessage(); // that it is acknowledged
        awaitMessage();
        const int64_t completedUs = vcam::nowUs();
        order.expectThere();
        passMs(500);
        EXPECT_EQ(textSince(sentUs), kObeyed);
        const int64_t endUs = lastPeriodEndUs(sentUs);
        EXPECT_LT(endUs, completedUs) << "it moves on";
        EXPECT_LT(completedUs, endUs + 60000);
        EXPECT_LT(completedUs, sentUs + order.mostMs * 1000);
        expectSound();
    });
}

TEST(SerialReplies, memory_is_set_recalled_and_emptied) {
    run([] {
        startAnswering(kVisca);
        talk(direct(0x47, 0x1800), 8000);
        const Place there = truePlace();
        EXPECT_EQ(talk(memory(1, 3), 200), kObeyed);
        EXPECT_EQ(host().presets.zoom[3], there.first);
        talk(direct(0x47, 0), 8000);
        EXPECT_EQ(talk(memory(2, 3), 4000), kObeyed);
        EXPECT_EQ(truePlace(), there);
        EXPECT_EQ(talk(memory(0, 3), 200), kObeyed);
        EXPECT_EQ(talk(memory(2, 3), 200), kRefused); // empty
        host().storeResult = -1;
        EXPECT_EQ(talk(memory(1, 3), 200), kRefused);
    });
}

TEST(SerialReplies, order_that_ends_otherwise_ends_in_an_error) {
    vcam::CameraOptions flat;
    flat.picture = std::filesystem::path(__FILE__).parent_path() / "pictures" / "flat.png";
    flat.plainPicture = true;
    run(flat, [] {
        startAnswering(kVisca);
        EXPECT_EQ(talk(vcam::kViscaOnePush, 20000), kRefused);
    });
    run([] {
        startAnswering(kVisca);
        vcam::stickPhotoInterrupter(Axis::Zoom, 1);
        EXPECT_EQ(talk(kHome, 60000), kRefused);
    });
    run([] { // the host's order takes its place, and that of what is held behind it
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        send(direct(0x48, 0x5000));
        send(direct(0x48, 0xA000));
        passMs(60);
        AF_Manager_Zoom_Tele_API();
        passMs(500);
        EXPECT_TRUE(hasRun(Axis::Zoom));
        EXPECT_EQ(textSince(sentUs), "9041ff 9042ff 906104ff 906204ff");
    });
}

// Whatever stops it, the lens isn't there.
TEST(SerialReplies, focus_that_stops_on_its_way_is_not_said_to_be_there) {
    static void (*const kStops[])() = {[] { command(CMD_TELE); },
                                       [] {
                                           const int ticket = AF_Manager_Zoom_Tele_API();
                                           passMs(25);
                                           AF_Manager_Cancel_API(ticket);
                                       },
                                       [] { command(CMD_FSTOP); }};
    for (const Bytes &frame : {direct(0x48, 0x5000), directBoth(0, 0x5000)})
        runEach(kStops, [&](void (*stop)()) {
            startAnswering(kVisca);
            const int64_t sentUs = vcam::nowUs();
            send(frame);
            passMs(200);
            stop();
            passMs(500);
            EXPECT_EQ(textSince(sentUs), "9041ff 906104ff");
            EXPECT_GT(focusPosition16(), 0x5400u);
        });
}

TEST(SerialReplies, order_that_came_after_the_hosts_runs_though_the_one_before_has_gone) {
    run([] {
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        send(direct(0x48, 0x5000));
        passMs(200);
        AF_Manager_Zoom_Tele_API();
        passMs(3);
        send(direct(0x48, 0xA000));
        passMs(4000);
        EXPECT_EQ(textSince(sentUs), "9041ff 9042ff 906104ff 9052ff");
        expectFocus(0xA000);
    });
}

TEST(SerialReplies, drives_and_stops_cancel_direct_orders_and_do_not_wait) {
    const std::pair<Bytes, int64_t> rows[] = {{direct(0x47, 0x3000), 10}, // has not begun
                                              {direct(0x47, 0x3000), 900},
                                              {directBoth(0x3000, 0x8000), 500},
                                              {vcam::kViscaOnePush, 400},
                                              {memory(2, 1), 300}};
    runEach(rows, [](const std::pair<Bytes, int64_t> &row) {
        host().hasPresets = true;
        host().presets.zoom[1] = 14000;
        host().presets.focus[1] = 11500;
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        send(row.first);
        passMs(5);
        send(direct(0x47, 0x2000)); // is held behind it
        passMs(row.second - 5);
        send(vcam::kViscaTele);
        passMs(150);
        EXPECT_TRUE(hasRun(Axis::Zoom));
        EXPECT_EQ(textSince(sentUs).find("9041ff 9042ff 906204ff 9042ff"), 0u) << textSince(sentUs);
        EXPECT_NE(textSince(sentUs).find("906104ff"), std::string::npos) << textSince(sentUs);
        passMs(3000);
        const int64_t stoppedUs = vcam::nowUs();
        send(vcam::kViscaZoomStop);
        passMs(6000);
        EXPECT_EQ(textSince(stoppedUs), kObeyed);
        EXPECT_EQ(heardSince(sentUs).size(), 8u) << textSince(sentUs);
        EXPECT_GT(zoomPosition16(), 0x3100u) << "it drove past the targets";
        expectSharp();
        expectSound();
    });
}

TEST(SerialReplies, second_order_is_held_until_the_first_has_ended_and_a_third_is_full) {
    run([] {
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        EXPECT_EQ(answerTo(direct(0x47, 0x1000)), "9041ff");
        passMs(200);
        EXPECT_EQ(answerTo(direct(0x47, 0x0800)), "9042ff");
        EXPECT_EQ(answerTo(direct(0x48, 0x8000)), "906003ff");
        EXPECT_EQ(answerTo(vcam::kViscaNight), "906003ff");
        EXPECT_EQ(answerTo(vcam::kAskFocusMode), "905002ff");
        vcam::cameraSent();
        awaitMessage();
        EXPECT_EQ(heardSince(sentUs).back().bytes, "9051ff");
        expectZoom(0x1000);
        awaitMessage();
        EXPECT_EQ(heardSince(sentUs).back().bytes, "9052ff");
        expectZoom(0x0800);
        expectSound();
    });
}

TEST(SerialReplies, order_that_is_sent_again_is_one_order) {
    run([] {
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(talk(direct(0x48, 0x5000), 50), "9041ff");
        passMs(3000);
        EXPECT_EQ(textSince(sentUs), "9041ff 9041ff 9041ff 9041ff 9041ff 9051ff");
        EXPECT_EQ(talk(direct(0x48, 0x5000), 500), kObeyed); // and once more, there already
        const int64_t againUs = vcam::nowUs();
        send(direct(0x48, 0x5000));
        send(direct(0x48, 0x9000));
        send(direct(0x48, 0x9000));
        send(direct(0x48, 0x5000));
        passMs(4000);
        EXPECT_EQ(textSince(againUs), "9041ff 9042ff 9042ff 9041ff 9051ff 9052ff");
    });
}

TEST(SerialReplies, cancelled_order_says_so_once_the_lens_stands) {
    run([] {
        startAnswering(kVisca);
        send(direct(0x47, 0x3000));
        passMs(500);
        send(direct(0x48, 0x8000));
        passMs(100);
        EXPECT_EQ(answerTo(kCancel2), "906204ff"); // had not begun
        EXPECT_EQ(answerTo(kCancel2), "906205ff");
        const int64_t cancelledUs = vcam::nowUs();
        EXPECT_EQ(talk(kCancel1, 4000), "906104ff");
        const int64_t endUs = lastPeriodEndUs(cancelledUs);
        EXPECT_LT(endUs, cancelledUs + 100000) << "and nothing follows";
        EXPECT_GE(heardSince(cancelledUs).at(0).us, endUs);
        EXPECT_TRUE(vcam::areCountersTrue());
        EXPECT_EQ(answerTo(kCancel1), "906105ff");
        // What is held behind a cancelled one goes on.
        send(direct(0x47, 0x3000));
        send(direct(0x48, 0x8000));
        passMs(300);
        EXPECT_EQ(talk(kCancel1, 3000), "906104ff 9052ff");
        expectFocus(0x8000);
        // The host cancels both.
        send(direct(0x47, 0x3000));
        send(direct(0x48, 0x5000));
        passMs(300);
        AF_Manager_Cancel_API(0);
        const int64_t byHostUs = vcam::nowUs();
        passMs(500);
        EXPECT_EQ(textSince(byHostUs), "906204ff 906104ff");
        // Clearing cancels as well.
        send(direct(0x47, 0x1000));
        passMs(300);
        EXPECT_EQ(talk({0x81, 0x01, 0x00, 0x01, 0xFF}, 200), "9050ff 906104ff");
        expectSound();
    });
}

TEST(SerialReplies, order_that_waits_for_the_start_is_cancelled_at_once) {
    run([] {
        ASSERT_EQ(AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, kVisca), 0);
        startLibrary();
        waitUntil([] { return AF_Manager_Focus_Stop_API() > 0; }, 20, "the mailbox");
        const int64_t sentUs = vcam::nowUs();
        EXPECT_EQ(talk(direct(0x47, 0x1000), 50), "9041ff");
        EXPECT_EQ(talk(kCancel1, 20), "906104ff");
        waitIdle();
        EXPECT_GT(vcam::nowUs(), sentUs + 1000000);
        EXPECT_EQ(textSince(sentUs), "9041ff 906104ff");
    });
}

TEST(SerialReplies, direct_order_shares_no_socket_with_a_drive_that_is_yet_to_be_completed) {
    run([] {
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        send(vcam::kViscaNight);
        send(vcam::kViscaDay);
        send(direct(0x48, 0x5000));
        send(vcam::kAskFocusMode);
        passMs(3000);
        EXPECT_EQ(textSince(sentUs), "9041ff 9042ff 9051ff 9052ff 9041ff 905002ff 9051ff");
        // So many drives that the order before them is forgotten.
        send(direct(0x48, 0xA000));
        passMs(300);
        const int64_t burstUs = vcam::nowUs();
        for (int i = 0; i < 20; ++i)
            send(vcam::kViscaTele);
        passMs(500);
        EXPECT_NE(textSince(burstUs).find("906104ff"), std::string::npos) << textSince(burstUs);
    });
}

TEST(SerialReplies, burst_of_drives_loses_neither_a_drive_nor_a_message) {
    run([] {
        startAnswering(kVisca);
        const int64_t sentUs = vcam::nowUs();
        const int drives = 101;
        for (int i = 0; i < drives; ++i)
            send(i % 2 == 0 ? vcam::kViscaTele : vcam::kViscaZoomStop);
        passMs(1000);
        EXPECT_TRUE(hasRun(Axis::Zoom)) << "as the last one said";
        int acknowledged = 0;
        int completed = 0;
        for (const Message &message : heardSince(sentUs)) {
            acknowledged += message.bytes[2] == '4' ? 1 : 0;
            completed += message.bytes[2] == '5' ? 1 : 0;
        }
        EXPECT_EQ(acknowledged, drives);
        EXPECT_EQ(completed, drives);
    });
}

// ---- Framing

TEST(SerialReplies, whatever_comes_before_a_frame_costs_none_after_it) {
    const Bytes rows[] = {
        {0x00},
        {0xFF},
        {0xFF, 0xFF, 0xFF},
        {0x90, 0x41, 0xFF},
        {0x81},
        {0x81, 0x01, 0x04, 0x47, 0x01},
        {0x81, 0x01, 0x04, 0x95},
        {0x81, 0x01, 0x82, 0x01, 0x88, 0x30},
        {0x81, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20},
        {0xFF, 0x01},
        {0xFF, 0x01, 0x00, 0x20, 0x00, 0x00, 0x22}, // a wrong checksum
        {0xFF, 0x01, 0x00, 0x20},
    };
    run([&] {
        startAnswering(kVisca);
        const int64_t fromUs = vcam::nowUs();
        for (const Bytes &garbage : rows) {
            const std::string what = std::to_string(garbage.size()) + " bytes";
            answerTo(garbage);
            vcam::cameraSent();
            answerTo(vcam::kAskZoom); // may be taken for the rest of a Pelco-D frame, and is not
            answerTo(vcam::kAskZoom);
            Bytes twice = vcam::viscaPositionReply(0);
            twice.insert(twice.end(), twice.begin(), twice.begin() + 7);
            EXPECT_EQ(vcam::cameraSent(), twice) << what;
        }
        EXPECT_EQ(lastPeriodEndUs(fromUs), 0);
    });
}

TEST(SerialReplies, slow_sender_is_heard_and_one_that_stops_is_forgotten_after_a_second) {
    run([] {
        startAnswering(kVisca);
        const int64_t fromUs = vcam::nowUs();
        for (const uint8_t byte : vcam::kAskZoom) {
            passMs(990);
            send({byte});
        }
        passMs(1);
        EXPECT_EQ(textSince(fromUs), "905000000000ff");
        send(Bytes(vcam::kAskZoom.begin(), vcam::kAskZoom.end() - 1));
        passMs(1000);
        EXPECT_EQ(answerTo({0xFF}), "");
        passMs(1000);
        EXPECT_EQ(answerTo(vcam::kAskZoom), "905000000000ff");
        send({0x81, 0x09, 0x04});
        passMs(4294967 + 400); // as long as the clock of microseconds takes to come round
        EXPECT_EQ(answerTo({0x47, 0xFF}), "");
        // Nor is one forgotten whose first half came along with what takes the host a while.
        AF_Manager_Init_DayNightModeFun_API([](int) {
            passMs(2000);
            return 0;
        });
        const int64_t sentUs = vcam::nowUs();
        Bytes frames = vcam::kViscaNight;
        frames.insert(frames.end(), vcam::kAskZoom.begin(), vcam::kAskZoom.begin() + 3);
        send(frames);
        passMs(500);
        send(Bytes(vcam::kAskZoom.begin() + 3, vcam::kAskZoom.end()));
        passMs(2000);
        EXPECT_EQ(textSince(sentUs), "9041ff 905000000000ff 9051ff");
    });
}

TEST(SerialReplies, failing_calls_and_a_line_that_hangs_up_end_nothing_but_themselves) {
    run([] {
        startAnswering(kVisca);
        vcam::failCalls("read", "serial", 1, EAGAIN);
        vcam::failCalls("write", "serial", 1, EAGAIN);
        EXPECT_EQ(talk(vcam::kViscaTele), "9051ff") << "what can't be written is dropped";
        EXPECT_TRUE(hasRun(Axis::Zoom));
        EXPECT_EQ(talk(vcam::kViscaZoomStop), kObeyed);
        vcam::hangUpSerial();
        const int64_t hungUpUs = vcam::nowUs();
        passMs(10000);
        EXPECT_LT(events("serial", "read", hungUpUs).size(), 20u) << "it rests";
        send(vcam::kAskFocusMode);
        passMs(1500);
        EXPECT_EQ(textSince(hungUpUs), "905002ff");
    });
}

// ---- Pelco-D

TEST(SerialReplies, pelco_d_at_1_does_what_it_did_without_replies) {
    run([] {
        startAnswering(kVisca);
        const int64_t fromUs = vcam::nowUs();
        send(pelco(0, 0x22)); // a pan bit beside the lens's
        passMs(200);
        EXPECT_FALSE(hasRun(Axis::Zoom));
        send({0xFF, 0x02, 0x00, 0x20, 0x00, 0x00, 0x22}); // tele, to another camera
        passMs(200);
        EXPECT_FALSE(hasRun(Axis::Zoom));
        send(vcam::kPelcoTele);
        passMs(500);
        EXPECT_TRUE(hasRun(Axis::Zoom));
        send(pelco(0, 0x02, 0x20)); // pan alone
        passMs(200);
        EXPECT_TRUE(hasRun(Axis::Zoom));
        send(pelco(0, 0x55));
        send(vcam::kPelcoStop);
        passMs(200);
        EXPECT_FALSE(hasRun(Axis::Zoom));
        EXPECT_EQ(textSince(fromUs), "");
    });
}

TEST(SerialReplies, pelco_d_drives_by_any_lens_bit_and_stops_without_one) {
    const std::pair<Bytes, Axis> rows[] = {{vcam::kPelcoTele, Axis::Zoom},
                                           {pelco(0x04, 0x2A, 0x20, 0x20), Axis::Zoom},
                                           {pelco(0, 0x44), Axis::Zoom},
                                           {vcam::kPelcoFar, Axis::Focus},
                                           {pelco(0x03, 0x02), Axis::Focus}};
    run([&] {
        startAnswering(kPelcoToo);
        talk(direct(0x47, 0x2000), 6000);
        const int64_t fromUs = vcam::nowUs();
        for (const auto &[frame, axis] : rows) {
            send(frame);
            passMs(150);
            EXPECT_TRUE(hasRun(axis)) << int(frame[2]) << ' ' << int(frame[3]);
            send(pelco(0, 0x04, 0x20)); // it pans on
            passMs(100);
            EXPECT_FALSE(hasRun(Axis::Zoom)) << int(frame[3]);
            passMs(4000);
        }
        send(vcam::kPelcoTele);
        passMs(150);
        AF_Manager_Focus_Near_API();
        passMs(100);
        send(vcam::kPelcoStop); // what it has started is over
        passMs(150);
        EXPECT_TRUE(hasRun(Axis::Focus));
        AF_Manager_Focus_Stop_API();
        passMs(300);
        const int64_t idleUs = vcam::nowUs();
        send(vcam::kPelcoStop); // nothing is started
        send(pelco(0, 0x20, 0, 0, 2));
        passMs(500);
        EXPECT_EQ(lastPeriodEndUs(idleUs), 0);
        EXPECT_EQ(textSince(fromUs), "");
        expectSound();
    });
}

TEST(SerialReplies, pelco_d_sets_calls_and_clears_presets_and_tells_the_zoom) {
    run([] {
        startAnswering(kPelcoToo);
        talk(direct(0x47, 0x1800), 6000);
        const Place there = truePlace();
        const int64_t fromUs = vcam::nowUs();
        const unsigned high = zoomPosition16() >> 8;
        const unsigned low = zoomPosition16() & 0xFF;
        send(pelco(0, 0x55));
        passMs(20);
        char expected[24];
        snprintf(expected, sizeof expected, "ff01005d%02x%02x%02x", high, low,
                 (1 + 0x5D + high + low) & 0xFF);
        EXPECT_EQ(textSince(fromUs), expected);
        send(pelco(0, 0x03, 0, 9));
        passMs(200);
        EXPECT_EQ(host().presets.zoom[9], there.first);
        talk(direct(0x47, 0), 6000);
        const int64_t calledUs = vcam::nowUs();
        send(pelco(0, 0x07, 0, 9));
        send(vcam::kPelcoStop); // keyboards send it after everything
        send(pelco(0, 0x07, 0, 9));
        passMs(4000);
        EXPECT_EQ(truePlace(), there);
        send(pelco(0, 0x05, 0, 9));
        passMs(200);
        EXPECT_EQ(host().presets.zoom[9], 0u);
        EXPECT_EQ(textSince(calledUs), "");
        // A drive does not wait for a preset to be reached, and VISCA takes its place.
        send(pelco(0, 0x03, 0, 9));
        talk(direct(0x47, 0), 6000);
        send(pelco(0, 0x07, 0, 9));
        passMs(200);
        send(vcam::kPelcoWide);
        passMs(400);
        EXPECT_LT(truePlace().first, there.first);
        expectSound();
    });
}
