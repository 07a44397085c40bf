// The serial line: frames cut out of the byte stream, and lines that hang up or fail.
#include "scenario.h"

#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"
#include "host/controller_frames.h"
#include "platform/shared_word.h"

#include <cerrno>

using namespace scenario;
using vcam::Bytes;

/// Waits if need be until the lens-control thread looks into the mailbox no sooner than in 15 ms.
static void avoidPoll() {
    if (nextPollUs() - vcam::nowUs() <= 15000)
        passMs(16);
}

static Bytes replyTo(const Bytes &frame) {
    vcam::cameraSent();
    send(frame);
    passMs(1);
    return vcam::cameraSent();
}

TEST(SerialThread, long_frames_are_read_whole_and_the_next_one_is_answered) {
    run([] {
        startParked();
        avoidPoll();
        replyTo({0x81, 0x01, 0x04, 0x47, 1, 2, 3, 4, 5, 6, 7, 8, 0xFF}); // both positions
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_DZF));
        EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shValue), 0x1234u);
        command(CMD_MFMODE);
        passMs(50); // a direct zoom lets its command be seen for so long
        replyTo({0x81, 0x01, 0x04, 0x73, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0xFF});
        EXPECT_EQ(replyTo(vcam::kAskZoom), vcam::viscaPositionReply(0));
    });
}

TEST(SerialThread, rejected_bytes_are_dumped_and_their_rest_begins_the_next_frame) {
    run([] {
        startParked();
        for (const Bytes &start : {Bytes{0x81, 0x09, 0x04, 0x47, 0x00}, // no terminator
                                   Bytes{0x81, 0x02, 0x04, 0x47, 0xFF}, // neither kind
                                   Bytes{0xFF, 0x02, 0x00, 0x20, 0x00}, // another address
                                   Bytes{0x81, 0x01, 0x04, 0x47, 1, 2, 3, 4, 5, 6, 7, 8, 9},
                                   Bytes{0x82, 0x01, 0x04, 0x07, 0x02}}) {
            const int64_t sentUs = vcam::nowUs();
            EXPECT_EQ(replyTo(start), Bytes());
            EXPECT_EQ(consoleLines(sentUs).size(), start.size() + 1); // and an empty one
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
        }
        avoidPoll();
        replyTo(vcam::kPelcoTele); // its 0xFF could end the last one
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE));
    });
}

TEST(SerialThread, frame_in_pieces_is_obeyed_with_its_last_byte_and_a_failing_read_costs_10_ms) {
    run([] {
        startParked();
        for (size_t i = 0; i + 1 < vcam::kViscaTele.size(); ++i) {
            send({vcam::kViscaTele[i]});
            passMs(3700); // longer than select waits
        }
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
        avoidPoll();
        EXPECT_EQ(replyTo({vcam::kViscaTele.back()}), Bytes());
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE));
        command(CMD_MFMODE);
        avoidPoll();
        vcam::failCalls("read", "serial", 1, EIO, 1); // in the frame's middle
        send(vcam::kViscaTele);
        passMs(10);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
        passMs(1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE));
    });
}

TEST(SerialThread, hung_up_line_is_looked_at_every_10_ms_in_a_frame_and_less_and_less_between) {
    for (const size_t length : {size_t(3), size_t(5)}) { // in its start, which is dropped; its rest
        run([&] {
            startParked();
            const int64_t hungUpUs = vcam::nowUs();
            send(Bytes(vcam::kViscaTele.begin(), vcam::kViscaTele.begin() + int(length)));
            vcam::hangUpSerial();
            std::vector<int64_t> due = {hungUpUs};
            for (int64_t pauseUs = 10000; due.back() + pauseUs < hungUpUs + 5000000;) {
                due.push_back(due.back() + pauseUs);
                if (length == 3)
                    pauseUs = std::min<int64_t>(2 * pauseUs, 1000000);
            }
            passMs(5000);
            EXPECT_EQ(whenSaid("Read index 0 << ==", hungUpUs), due);
            EXPECT_EQ(countSaid("Read index 3 << ==", hungUpUs), length == 3 ? 1 : 0);
            EXPECT_EQ(countSaid("RecvVISCACmd continue.", hungUpUs), length == 3 ? 0 : 500);
            if (length == 3) { // a byte ends the long pauses
                send({0x81});
                passMs(1000);
                const int64_t byteUs = whenSaid("Read index 1 << ==", hungUpUs).at(0);
                const std::vector<int64_t> after = whenSaid("Read index 0 << ==", byteUs);
                EXPECT_EQ(after.at(1) - after.at(0), 10000);
            }
        });
    }
}
