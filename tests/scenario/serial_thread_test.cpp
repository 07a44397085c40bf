// The serial line: frames cut out of the byte stream, what they put into the mailbox, the replies,
// and lines that hang up or fail.
#include "scenario.h"

#include "boundary/faults.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"
#include "platform/shared_word.h"

#include <cerrno>

using namespace scenario;
using Bytes = std::vector<uint8_t>;

static const Bytes kAskZoom = {0x81, 0x09, 0x04, 0x47, 0xFF};
static const Bytes kTele = {0x81, 0x01, 0x04, 0x07, 0x27, 0xFF};
static const Bytes kParkedReply = {0x90, 0x50, 0x00, 0x00, 0x00, 0x00, 0xFF};

/// Waits if need be until the lens-control thread looks into the mailbox no sooner than in 5 ms.
static void avoidPoll() {
    if (nextPollUs() - vcam::nowUs() <= 5000)
        passMs(6);
}

static Bytes replyTo(const Bytes &frame) {
    vcam::cameraSent();
    send(frame);
    passMs(1);
    return vcam::cameraSent();
}

static std::vector<std::string> dump(const Bytes &bytes) {
    std::vector<std::string> lines;
    for (size_t i = 0; i < bytes.size(); ++i) {
        char line[48];
        snprintf(line, sizeof line, "data[%zu]: 0x%02x", i, bytes[i]);
        lines.push_back(line);
    }
    lines.push_back("");
    return lines;
}

TEST(SerialThread, frames_of_every_length_are_cut_out_and_obeyed_without_a_reply) {
    const AF_CMD_em kNothing = CMD_MFMODE; // what stands there
    const struct {
        Bytes frame;
        AF_CMD_em command;
    } rows[] = {
        {kTele, CMD_TELE},
        {{0x81, 0x01, 0x04, 0x08, 0x00, 0xFF}, CMD_FSTOP},
        {{0x81, 0x09, 0x7E, 0x7E, 0x00, 0xFF}, kNothing},
        {{0x81, 0x01, 0x04, 0x74, 0x02, 0xFF}, kNothing},
        {{0x81, 0x01, 0x04, 0x73, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0xFF}, kNothing},
        {{0x81, 0x01, 0x04, 0x48, 1, 2, 3, 4, 0xFF}, kNothing},
        {{0x81, 0x01, 0x04, 0x48, 1, 2, 3, 4, 5, 6, 7, 8, 0xFF}, kNothing},
        {{0xFF, 0x01, 0x00, 0x20, 0x00, 0x00, 0x21}, CMD_TELE},
    };
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::PrintToString(row.frame));
            avoidPoll();
            EXPECT_EQ(replyTo(row.frame), Bytes());
            EXPECT_EQ(Lens_Get_Command(), unsigned(row.command));
            command(CMD_MFMODE);
            EXPECT_EQ(replyTo(kAskZoom), kParkedReply); // still in step with the line
        }
    });
}

TEST(SerialThread, position_goes_into_the_argument_before_the_command) {
    const struct {
        Bytes frame;
        unsigned value;
    } rows[] = {
        {{0x81, 0x01, 0x04, 0x47, 0x04, 0x00, 0x00, 0x00, 0xFF}, 0x4000},
        {{0x81, 0x01, 0x04, 0x47, 0x01, 0x02, 0x03, 0x04, 0xFF}, 0x1234},
        {{0x81, 0x01, 0x04, 0x47, 0x00, 0x12, 0x03, 0x04, 0xFF}, 0x1234}, // nibbles overlap
        {{0x81, 0x01, 0x04, 0x47, 1, 2, 3, 4, 5, 6, 7, 8, 0xFF}, 0x1234}, // focus is ignored
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.frame));
        run([&] {
            startParked();
            avoidPoll();
            EXPECT_EQ(replyTo(row.frame), Bytes());
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_DZF));
            EXPECT_EQ(loadWord(&loadWord(&g_ShaPosInfo)->shValue), row.value);
            EXPECT_EQ(replyTo(kAskZoom), Bytes()); // the thread lets the command be seen for 50 ms
            passMs(50);
            EXPECT_FALSE(vcam::cameraSent().empty());
        });
    }
}

TEST(SerialThread, thirteen_bytes_without_a_terminator_are_dumped_and_not_extended_again) {
    run([] {
        startParked();
        const Bytes frame = {0x81, 0x01, 0x04, 0x47, 1, 2, 3, 4, 5, 6, 7, 8, 9};
        const int64_t sentUs = vcam::nowUs();
        EXPECT_EQ(replyTo(frame), Bytes());
        EXPECT_EQ(consoleLines(sentUs), dump(frame));
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
        EXPECT_EQ(replyTo(kAskZoom), kParkedReply);
    });
}

TEST(SerialThread, frame_in_pieces_is_obeyed_with_its_last_byte) {
    run([] {
        startParked();
        for (size_t i = 0; i + 1 < kTele.size(); ++i) {
            send({kTele[i]});
            passMs(3700); // longer than select waits
        }
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
        avoidPoll();
        send({kTele.back()});
        passMs(1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE));
    });
}

TEST(SerialThread, rejected_start_is_dumped_and_its_rest_begins_the_next_frame) {
    run([] {
        startParked();
        const Bytes otherCamera = {0x82, 0x01, 0x04, 0x07, 0x02};
        int64_t sentUs = 0;
        for (const Bytes &start : {Bytes{0x81, 0x09, 0x04, 0x47, 0x00},    // no terminator
                                   Bytes{0x81, 0x02, 0x04, 0x47, 0xFF},    // neither kind
                                   Bytes{0xFF, 0x02, 0x00, 0x20, 0x00}}) { // another address
            sentUs = vcam::nowUs();
            EXPECT_EQ(replyTo(start), Bytes());
            EXPECT_EQ(consoleLines(sentUs), dump(start));
        }
        avoidPoll();
        sentUs = vcam::nowUs();
        send(otherCamera);
        send({0xFF, 0x01, 0x00, 0x20, 0x00, 0x00, 0x21}); // its end begins a Pelco-D frame
        passMs(1);
        EXPECT_EQ(consoleLines(sentUs), dump(otherCamera));
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE));
    });
}

TEST(SerialThread, line_that_hangs_up_is_looked_at_every_10_ms) {
    const struct {
        Bytes left;
        const char *said;
        std::vector<std::string> first; // at once
    } rows[] = {
        {{},
         "== >> Have No Data Read index 0 << ==",
         {"== >> Have No Data Read index 0 << ==", ""}},
        {{0x81, 0x01, 0x04},
         "== >> Have No Data Read index 0 << ==",
         {"== >> Have No Data Read index 3 << ==", "data[0]: 0x81", "data[1]: 0x01",
          "data[2]: 0x04", "", "== >> Have No Data Read index 0 << ==", ""}},
        {{0x81, 0x01, 0x04, 0x07, 0x02},
         "RecvVISCACmd continue.",
         {"== >> Have No Data Read index 0 << ==", "RecvVISCACmd continue."}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.left));
        run([&] {
            startParked();
            const int64_t hungUpUs = vcam::nowUs();
            send(row.left);
            vcam::hangUpSerial();
            passMs(1);
            EXPECT_EQ(consoleLines(hungUpUs), row.first);
            passMs(999);
            const std::vector<int64_t> said = whenSaid(row.said, hungUpUs);
            ASSERT_EQ(said.size(), 100u);
            for (size_t i = 0; i < said.size(); ++i)
                EXPECT_EQ(said[i], hungUpUs + int64_t(i) * 10000);
        });
    }
}

TEST(SerialThread, failing_read_costs_10_ms_and_no_byte) {
    for (int readsBefore : {0, 1}) { // at the frame's start, in its middle
        SCOPED_TRACE(readsBefore);
        run([&] {
            startParked();
            passMs((nextPollUs() - vcam::nowUs()) / 1000 + 1);
            vcam::failCalls("read", "serial", 1, EIO, readsBefore);
            send(kTele);
            passMs(10);
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
            passMs(1);
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_TELE));
        });
    }
}

TEST(SerialThread, inquiries_are_answered_before_there_is_a_position_and_after) {
    run([] {
        startLibrary();
        EXPECT_EQ(replyTo(kAskZoom), kParkedReply); // the mailbox comes half a second later
        waitUntil([] { return Lens_Get_Command() == CMD_NONE; }, 60, "the first run is over");
        Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
        storeWord(&record->shRZPosition, 0x1234);
        storeWord(&record->shRFPosition, 0xFEDC);
        EXPECT_EQ(replyTo(kAskZoom), (Bytes{0x90, 0x50, 0x01, 0x02, 0x03, 0x04, 0xFF}));
        EXPECT_EQ(replyTo({0x81, 0x09, 0x04, 0x48, 0xFF}),
                  (Bytes{0x90, 0x50, 0x0F, 0x0E, 0x0D, 0x0C, 0xFF}));
        EXPECT_EQ(replyTo({0x81, 0x09, 0x04, 0x38, 0xFF}), (Bytes{0x90, 0x50, 0x02, 0xFF}));
    });
}

TEST(SerialThread, failing_reply_is_reported_and_the_next_one_sent) {
    run([] {
        startParked();
        vcam::failCalls("write", "serial", 1, EIO);
        EXPECT_EQ(replyTo(kAskZoom), Bytes());
        EXPECT_EQ(countSaid("__SonyViscaProcess__write sendBuf failure__"), 1);
        EXPECT_EQ(replyTo(kAskZoom), kParkedReply);
    });
}

TEST(SerialThread, failing_select_ends_it_with_a_farewell) {
    run([] {
        startParked();
        vcam::failCalls("select", "serial", 1, EBADF);
        EXPECT_EQ(replyTo(kAskZoom), kParkedReply); // in the call before
        const std::vector<int64_t> ends = whenSaid("__SonyViscaProtocol____ Quit ____");
        ASSERT_EQ(ends.size(), 1u);
        EXPECT_EQ(countSaid("SonyViscaProtocol select() call: Bad file descriptor", ends[0]), 1);
        EXPECT_EQ(events("clock", "end", ends[0]).front().get("thread"), "SonyViscaProtocol");
        EXPECT_EQ(replyTo(kAskZoom), Bytes());
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE)); // the lens goes on
    });
}
