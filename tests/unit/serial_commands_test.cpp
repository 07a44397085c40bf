// Bytes from a controller: framing, both command sets, the replies.
#include "fixtures.h"

#include "clock/virtual_clock.h"

#include <array>
#include <cstring>
#include <fcntl.h>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr unsigned kNothing = 99; // what the mailbox of LensCase starts out with
int requestedMode = 0;

int requestMode(int mode) {
    requestedMode = mode;
    return 0;
}

/// Commands go into the mailbox of LensCase, replies into a pipe.
class SerialCommands : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
        InitUsartFd(ends[1]);
        AF_Manager_Init_DayNightModeFun_API(requestMode);
        requestedMode = 0;
    }

    void TearDown() override {
        close(ends[0]);
        close(ends[1]);
        InitUsartFd(-1);
        icr_control_mode = TYPE_OUTCONTROL;
        LensCase::TearDown();
    }

    int visca(Bytes frame) {
        record.shCommand = kNothing;
        int result = -7;
        text = printedBy(
            [&] { result = SonyViscaProcess(frame.data(), static_cast<int>(frame.size())); });
        return result;
    }

    int pelco(Bytes frame) {
        record.shCommand = kNothing;
        int result = -7;
        text = printedBy(
            [&] { result = PelcodProcess(frame.data(), static_cast<int>(frame.size())); });
        return result;
    }

    Bytes reply() {
        Bytes bytes(32);
        const ssize_t count = read(ends[0], bytes.data(), bytes.size());
        bytes.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return bytes;
    }

    std::string text; ///< What the last frame made the library print.
    int ends[2] = {-1, -1};
};

} // namespace

TEST(Framing, first_five_bytes_tell_type_and_length) {
    const struct {
        std::array<unsigned char, 5> bytes;
        int due, type;
    } rows[] = {
        {{0x81, 0x09, 0x04, 0x47, 0xFF}, 0, 0},   {{0x81, 0x09, 0x04, 0x47, 0x00}, -1, 0},
        {{0x81, 0x09, 0x7E, 0x04, 0xFF}, 1, 0},   {{0x81, 0x09, 0x04, 0x7E, 0x00}, -1, 0},
        {{0x81, 0x01, 0x04, 0x07, 0x02}, 1, 0},   {{0x81, 0x01, 0x04, 0x07, 0xFF}, 1, 0},
        {{0x81, 0x01, 0x04, 0x47, 0x00}, 4, 3},   {{0x81, 0x01, 0x04, 0x48, 0x00}, 4, 3},
        {{0x81, 0x01, 0x04, 0x73, 0x00}, 11, 2},  {{0x81, 0x01, 0x04, 0x74, 0x00}, 1, 2},
        {{0x81, 0x01, 0x06, 0x47, 0x00}, 4, 3},   {{0x81, 0x02, 0x04, 0x47, 0xFF}, -1, 0},
        {{0x82, 0x01, 0x04, 0x07, 0x02}, -1, -7}, {{0xFF, 0x01, 0x00, 0x20, 0x00}, 2, 1},
        {{0xFF, 0x02, 0x00, 0x20, 0x00}, -1, -7}, {{0x01, 0x01, 0x04, 0x07, 0x02}, -1, -7},
    };
    for (const auto &row : rows) {
        char bytes[5];
        memcpy(bytes, row.bytes.data(), sizeof bytes);
        int type = -7;
        EXPECT_EQ(CheckVISCACmd(bytes, 5, &type), row.due) << testing::PrintToString(row.bytes);
        EXPECT_EQ(type, row.type) << testing::PrintToString(row.bytes);
    }
}

TEST_F(SerialCommands, port_that_ends_in_a_frame_gives_what_came) {
    ASSERT_EQ(write(ends[1], "abc", 3), 3);
    char bytes[5] = "";
    int count = 0;
    EXPECT_EQ(printedBy([&] { count = RecvVISCACmd(ends[0], bytes, 5); }),
              "== >> Have No Data Read index 3 << ==\n");
    EXPECT_EQ(count, 3); // the port is quiet
    EXPECT_STREQ(bytes, "abc");
    ASSERT_EQ(write(ends[1], "d", 1), 1);
    close(ends[1]);
    printedBy([&] { count = RecvVISCACmd(ends[0], bytes, 5); });
    EXPECT_EQ(count, 1); // the port is gone
    ends[1] = open("/dev/null", O_WRONLY);
}

TEST_F(SerialCommands, visca_command_reaches_the_mailbox_and_gets_no_reply) {
    const struct {
        unsigned char command, parameter;
        unsigned stored;
        const char *text;
    } rows[] = {
        {0x07, 0x00, CMD_ZSTOP, "\n\n____CAM_Zoom Stop____\n\n"},
        {0x07, 0x02, CMD_TELE, "\n\n____CAM_Zoom Tele(Standard) cmd: 0x02____\n\n"},
        {0x07, 0x20, CMD_TELE, "\n\n____CAM_Zoom Tele(Standard) cmd: 0x20____\n\n"},
        {0x07, 0x2F, CMD_TELE, "\n\n____CAM_Zoom Tele(Standard) cmd: 0x2f____\n\n"},
        {0x07, 0x03, CMD_WIDE, "\n\n____CAM_Zoom Wide(Standard) cmd: 0x03____\n\n"},
        {0x07, 0x30, CMD_WIDE, "\n\n____CAM_Zoom Wide(Standard) cmd: 0x30____\n\n"},
        {0x07, 0x3F, CMD_WIDE, "\n\n____CAM_Zoom Wide(Standard) cmd: 0x3f____\n\n"},
        {0x07, 0x01, kNothing, ""},
        {0x07, 0x12, kNothing, ""},
        {0x07, 0x40, kNothing, ""},
        {0x08, 0x00, CMD_FSTOP, "\n\n____CAM_Focus Stop____\n\n"},
        {0x08, 0x02, CMD_FAR, "\n\n____CAM_Focus Far(Standard) cmd = 0x02____\n\n"},
        {0x08, 0x27, CMD_FAR, "\n\n____CAM_Focus Far(Standard) cmd = 0x27____\n\n"},
        {0x08, 0x03, CMD_NEAR, "\n\n____CAM_Focus Near(Standard)____\n\n"},
        {0x08, 0x37, CMD_NEAR, "\n\n____CAM_Focus Near(Standard)____\n\n"},
        {0x08, 0x10, kNothing, ""},
        {0x18, 0x02, kNothing, ""},
        {0x38, 0x02, kNothing, "\n\n____Auto Focus____\n\n"},
        {0x38, 0x03, kNothing, "\n\n____Manual Focus____\n\n"},
        {0x38, 0x10, kNothing, "\n\n____Auto/Manual____\n\n"},
        {0x51, 0x02, kNothing, "\n\n____CAM_AutoICR On____\n\n"},
        {0x51, 0x03, kNothing, "\n\n____CAM_AutoICR Off____\n\n"},
        {0x74, 0x02, kNothing, ""},
        {0x00, 0x02, kNothing, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::array{row.command, row.parameter}));
        EXPECT_EQ(visca({0x81, 0x01, 0x04, row.command, row.parameter, 0xFF}), 0);
        EXPECT_EQ(record.shCommand, row.stored);
        EXPECT_EQ(text, row.text);
        EXPECT_EQ(visca({0x81, 0x01, 0x06, row.command, row.parameter, 0xFF}),
                  0); // another category
        EXPECT_EQ(record.shCommand, kNothing);
        EXPECT_EQ(text, "");
    }
    EXPECT_EQ(reply(), Bytes());
    EXPECT_EQ(requestedMode, 0);
}

TEST_F(SerialCommands, icr_command_asks_the_host_only_while_it_is_in_control) {
    const struct {
        int controlType;
        unsigned char parameter;
        int mode;
        const char *text;
    } rows[] = {{TYPE_OUTCONTROL, 0x02, TYPE_NIGHT, "\n\n____CAM_ICR On____\n\n"},
                {TYPE_OUTCONTROL, 0x03, TYPE_DAY, "\n\n____CAM_ICR Off____\n\n"},
                {TYPE_OUTCONTROL, 0x04, 0, ""},
                {TYPE_DAY, 0x02, 0, ""},
                {TYPE_AUTO, 0x03, 0, ""}};
    for (const auto &row : rows) {
        AF_Manager_Set_ICUTControlType_API(row.controlType);
        requestedMode = 0;
        EXPECT_EQ(visca({0x81, 0x01, 0x04, 0x01, row.parameter, 0xFF}), 0);
        EXPECT_EQ(requestedMode, row.mode);
        EXPECT_EQ(text, row.text);
        EXPECT_EQ(record.shCommand, kNothing);
    }
}

TEST_F(SerialCommands, one_push_and_direct_zoom_give_the_lens_thread_50_ms) {
    const struct {
        Bytes frame;
        unsigned stored, value;
    } rows[] = {
        {{0x81, 0x01, 0x04, 0x18, 0x01, 0xFF}, CMD_FOCUS, kNothing},
        {{0x81, 0x01, 0x04, 0x47, 4, 0, 0, 0, 0xFF}, CMD_DZF, 0x4000},
        {{0x81, 0x01, 0x04, 0x47, 1, 2, 3, 4, 5, 6, 7, 8, 0xFF}, CMD_DZF, 0x1234},
        {{0x81, 0x01, 0x04, 0x47, 0x0F, 0x1F, 0x10, 0x01, 0xFF}, CMD_DZF, 0x1001}, // overlapping
    };
    const std::string console = onPoweredCamera([&] {
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::PrintToString(row.frame));
            record = {kNothing, kNothing, 0, 0};
            const int64_t beforeUs = vcam::nowUs();
            Bytes frame = row.frame;
            EXPECT_EQ(SonyViscaProcess(frame.data(), static_cast<int>(frame.size())), 0);
            EXPECT_EQ(record.shCommand, row.stored);
            EXPECT_EQ(record.shValue, row.value);
            EXPECT_EQ(vcam::nowUs() - beforeUs, 50000);
        }
    });
    EXPECT_EQ(console, "\n\n____One Push Trigger____\n\n"
                       "\n\n____Direct Zoom Position 0x4000____\n\n"
                       "\n\n____Direct Zoom Position 0x1234____\n\n"
                       "\n\n____Direct Zoom Position 0x1001____\n\n");
    EXPECT_EQ(reply(), Bytes());
}

TEST_F(SerialCommands, direct_focus_is_only_noted) {
    EXPECT_EQ(visca({0x81, 0x01, 0x04, 0x48, 0x0A, 0x0B, 0x0C, 0x0D, 0xFF}), 0);
    EXPECT_EQ(text, "\n\n____Direct Focus Position____\n\n____fPos: 0xabcd____\n");
    EXPECT_EQ(record.shCommand, kNothing);
}

TEST_F(SerialCommands, inquiry_is_answered_with_the_published_position) {
    record.shRZPosition = 0x1234;
    record.shRFPosition = 0xC0DE;
    const struct {
        unsigned char inquiry;
        bool hasRecord;
        Bytes reply;
        const char *text;
    } rows[] = {
        {0x38, true, {0x90, 0x50, 0x02, 0xFF}, ""},
        {0x47, true, {0x90, 0x50, 1, 2, 3, 4, 0xFF}, "\n\n____CAM_ZoomPosInq 0x1234____\n"},
        {0x48, true, {0x90, 0x50, 0xC, 0, 0xD, 0xE, 0xFF}, "\n\n____CAM_FocusPosInq____\n\n"},
        {0x07, true, {}, ""},
        {0x38, false, {0x90, 0x50, 0x02, 0xFF}, ""},
        {0x47, false, {0x90, 0x50, 0, 0, 0, 0, 0xFF}, "\n\n____CAM_ZoomPosInq 0x0000____\n"},
        {0x48, false, {0x90, 0x50, 0, 0, 0, 0, 0xFF}, "\n\n____CAM_FocusPosInq____\n\n"},
    };
    for (const auto &row : rows) {
        g_ShaPosInfo = row.hasRecord ? &record : nullptr;
        EXPECT_EQ(visca({0x81, 0x09, 0x04, row.inquiry, 0xFF}), 0);
        EXPECT_EQ(reply(), row.reply) << int(row.inquiry);
        EXPECT_EQ(text, row.text);
    }
}

TEST_F(SerialCommands, reply_that_cannot_be_written_is_a_failure) {
    InitUsartFd(-1);
    EXPECT_EQ(visca({0x81, 0x09, 0x04, 0x38, 0xFF}), -1);
    EXPECT_EQ(text, "__SonyViscaProcess__write sendBuf failure__\n");
    EXPECT_EQ(visca({0x81, 0x01, 0x04, 0x07, 0x00, 0xFF}), 0); // a command needs no port
}

TEST_F(SerialCommands, malformed_visca_frame_is_dumped_and_does_nothing) {
    EXPECT_EQ(visca({0x81, 0x01, 0x04, 0x07, 0x02, 0x00}), -1);
    EXPECT_EQ(text, "data[0]: 0x81\ndata[1]: 0x01\ndata[2]: 0x04\ndata[3]: 0x07\n"
                    "data[4]: 0x02\ndata[5]: 0x00\n\n");
    EXPECT_EQ(record.shCommand, kNothing);
    EXPECT_EQ(visca({0x82, 0x09, 0x04, 0x38, 0xFF}), -1);
    EXPECT_EQ(reply(), Bytes());
}

TEST_F(SerialCommands, pelco_stop_names_the_motor_that_was_started) {
    const Bytes stop = {0xFF, 1, 0, 0, 0, 0, 0x01};
    const struct {
        const char *name;
        Bytes move;
        unsigned started;
        int result;
        unsigned stopped;
    } rows[] = {
        {"tele", {0xFF, 1, 0x00, 0x20, 0, 0, 0x21}, CMD_TELE, 0, CMD_ZSTOP},
        {"wide at speed", {0xFF, 1, 0x00, 0x40, 0xFF, 0xFF, 0x3F}, CMD_WIDE, 0, CMD_ZSTOP},
        {"far", {0xFF, 1, 0x00, 0x80, 0, 0, 0x81}, CMD_FAR, 0, CMD_FSTOP},
        {"near", {0xFF, 1, 0x01, 0x00, 0, 0, 0x02}, CMD_NEAR, 0, CMD_FSTOP},
        {"near wins over any second byte", {0xFF, 1, 1, 0x20, 0, 0, 0x22}, CMD_NEAR, 0, CMD_FSTOP},
        {"preset call", {0xFF, 1, 0x00, 0x07, 0, 1, 0x09}, kNothing, 0, kNothing},
        {"tele and wide", {0xFF, 1, 0x00, 0x60, 0, 0, 0x61}, kNothing, 0, kNothing},
        {"tele and pan", {0xFF, 1, 0x00, 0x22, 0, 0, 0x23}, kNothing, 0, kNothing},
        {"another first byte", {0xFF, 1, 0x02, 0x20, 0, 0, 0x23}, kNothing, 0, kNothing},
        {"bad checksum", {0xFF, 1, 0x00, 0x20, 0, 0, 0x22}, kNothing, -1, kNothing},
        {"stop", stop, kNothing, 0, kNothing},
    };
    pelco(stop);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(pelco(row.move), row.result);
        EXPECT_EQ(record.shCommand, row.started);
        EXPECT_EQ(text.empty(), row.result == 0); // a refused frame is dumped
        EXPECT_EQ(pelco(stop), 0);
        EXPECT_EQ(record.shCommand, row.stopped);
        EXPECT_EQ(pelco(stop), 0); // a stop after a stop stores nothing
        EXPECT_EQ(record.shCommand, kNothing);
    }
    EXPECT_EQ(reply(), Bytes());
}

TEST_F(SerialCommands, pelco_frames_that_are_no_stop_leave_the_started_motor_in_mind) {
    pelco({0xFF, 1, 0, 0, 0, 0, 0x01});
    pelco({0xFF, 1, 0x00, 0x20, 0, 0, 0x21});
    EXPECT_EQ(pelco({0xFF, 1, 0, 0, 0, 0, 0x02}), -1);   // bad checksum
    EXPECT_EQ(pelco({0xFF, 1, 0, 0, 5, 0, 0x06}), 0);    // data: not a stop
    EXPECT_EQ(pelco({0xFF, 1, 0, 0x07, 0, 1, 0x09}), 0); // preset call
    EXPECT_EQ(record.shCommand, kNothing);
    EXPECT_EQ(pelco({0xFF, 1, 0, 0, 0, 0, 0x01}), 0);
    EXPECT_EQ(record.shCommand, static_cast<unsigned>(CMD_ZSTOP));
}
