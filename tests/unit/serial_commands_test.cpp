// Bytes from a controller: framing, both command sets, the replies.
#include "fixtures.h"

#include "clock/virtual_clock.h"

#include <fcntl.h>
#include <numeric>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kNoMode = -1;
int requestedMode = kNoMode;

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
    }

    void TearDown() override {
        close(ends[0]);
        close(ends[1]);
        LensCase::TearDown();
    }

    int visca(Bytes frame) {
        return resultOf([&] { return SonyViscaProcess(frame.data(), int(frame.size())); });
    }

    /// What a frame for address 1 stores.
    unsigned pelco(Bytes frame) {
        record.shCommand = kUntouched;
        frame.insert(frame.begin(), {0xFF, 1});
        frame.push_back(std::accumulate(&frame[1], &frame[6], static_cast<unsigned char>(0)));
        EXPECT_EQ(PelcodProcess(frame.data(), int(frame.size())), 0);
        return record.shCommand;
    }

    Bytes reply() {
        Bytes bytes(32);
        const ssize_t count = read(ends[0], bytes.data(), bytes.size());
        bytes.resize(count > 0 ? static_cast<size_t>(count) : 0);
        return bytes;
    }

    int ends[2] = {-1, -1};
};

/// What a command with a parameter from first to last does; all others do nothing.
struct Meaning {
    unsigned char command, first, last;
    unsigned stored;
    int mode;
    const char *text;
};

const Meaning kMeanings[] = {
    {0x01, 0x02, 0x02, kUntouched, TYPE_NIGHT, "CAM_ICR On"},
    {0x01, 0x03, 0x03, kUntouched, TYPE_DAY, "CAM_ICR Off"},
    {0x07, 0x00, 0x00, CMD_ZSTOP, kNoMode, "CAM_Zoom Stop"},
    {0x07, 0x02, 0x02, CMD_TELE, kNoMode, "CAM_Zoom Tele(Standard) cmd: 0x%02x"},
    {0x07, 0x03, 0x03, CMD_WIDE, kNoMode, "CAM_Zoom Wide(Standard) cmd: 0x%02x"},
    {0x07, 0x20, 0x2F, CMD_TELE, kNoMode, "CAM_Zoom Tele(Standard) cmd: 0x%02x"},
    {0x07, 0x30, 0x3F, CMD_WIDE, kNoMode, "CAM_Zoom Wide(Standard) cmd: 0x%02x"},
    {0x08, 0x00, 0x00, CMD_FSTOP, kNoMode, "CAM_Focus Stop"},
    {0x08, 0x02, 0x02, CMD_FAR, kNoMode, "CAM_Focus Far(Standard) cmd = 0x%02x"},
    {0x08, 0x03, 0x03, CMD_NEAR, kNoMode, "CAM_Focus Near(Standard)"},
    {0x08, 0x20, 0x2F, CMD_FAR, kNoMode, "CAM_Focus Far(Standard) cmd = 0x%02x"},
    {0x08, 0x30, 0x3F, CMD_NEAR, kNoMode, "CAM_Focus Near(Standard)"},
    {0x18, 0x01, 0x01, CMD_FOCUS, kNoMode, "One Push Trigger"},
    {0x38, 0x02, 0x02, kUntouched, kNoMode, "Auto Focus"},
    {0x38, 0x03, 0x03, kUntouched, kNoMode, "Manual Focus"},
    {0x38, 0x10, 0x10, kUntouched, kNoMode, "Auto/Manual"},
    {0x51, 0x02, 0x02, kUntouched, kNoMode, "CAM_AutoICR On"},
    {0x51, 0x03, 0x03, kUntouched, kNoMode, "CAM_AutoICR Off"},
};

/// Send every parameter of every command; @p isObeyed says which commands are to do something.
void sendAll(Lens_ShaPos_ST *record, unsigned char category, bool (*isObeyed)(int command)) {
    for (int i = 0; i < 0x10000; ++i) {
        const auto command = static_cast<unsigned char>(i >> 8);
        const auto parameter = static_cast<unsigned char>(i);
        Meaning meaning = {command, 0, 0, kUntouched, kNoMode, ""};
        for (const Meaning &row : kMeanings)
            if (command == row.command && parameter >= row.first && parameter <= row.last)
                meaning = isObeyed(command) ? row : meaning;
        record->shCommand = kUntouched;
        requestedMode = kNoMode;
        const int64_t startUs = vcam::nowUs();
        unsigned char frame[] = {0x81, 0x01, category, command, parameter, 0xFF};
        ASSERT_EQ(SonyViscaProcess(frame, 6), 0);
        ASSERT_EQ(record->shCommand, meaning.stored) << std::hex << i;
        ASSERT_EQ(requestedMode, meaning.mode) << std::hex << i;
        ASSERT_EQ(vcam::nowUs() - startUs, meaning.stored == CMD_FOCUS ? 50000 : 0);
    }
}

} // namespace

TEST_F(SerialCommands, every_parameter_of_every_visca_command_does_its_own_and_gets_no_reply) {
    const std::string console = onPoweredCamera([&] {
        sendAll(&record, 0x04, [](int) { return true; });
        sendAll(&record, 0x06, [](int) { return false; });
    });
    std::string expected;
    for (const Meaning &row : kMeanings)
        for (int parameter = row.first; parameter <= row.last; ++parameter) {
            char words[64];
            snprintf(words, sizeof words, row.text, parameter);
            expected += std::string("\n\n____") + words + "____\n\n";
        }
    EXPECT_EQ(console, expected);
    EXPECT_EQ(reply(), Bytes());
    onPoweredCamera([&] {
        for (const int type : {TYPE_AUTO, TYPE_DAY, TYPE_NIGHT}) { // the host is not in control
            AF_Manager_Set_ICUTControlType_API(type);
            sendAll(&record, 0x04, [](int command) { return command != 0x01; });
        }
    });
}

TEST_F(SerialCommands, direct_zoom_gives_the_lens_thread_50_ms_and_direct_focus_is_only_noted) {
    const std::string console = onPoweredCamera([&] {
        Bytes frame = {0x81, 0x01, 0x04, 0x48, 0x0F, 0x1F, 0x10, 0x01, 0xFF}; // nibbles overlap
        EXPECT_EQ(SonyViscaProcess(frame.data(), 9), 0);
        EXPECT_EQ(record.shCommand, kUntouched);
        EXPECT_EQ(vcam::nowUs(), 0);
        frame[3] = 0x47;
        EXPECT_EQ(SonyViscaProcess(frame.data(), 9), 0);
        EXPECT_EQ(record.shCommand, unsigned(CMD_DZF));
        EXPECT_EQ(record.shValue, 0x1001u);
        EXPECT_EQ(vcam::nowUs(), 50000);
    });
    EXPECT_EQ(console, "\n\n____Direct Focus Position____\n\n____fPos: 0x1001____\n"
                       "\n\n____Direct Zoom Position 0x1001____\n\n");
}

TEST_F(SerialCommands, inquiry_is_answered_with_the_published_position_or_0_before_there_is_one) {
    record.shRZPosition = 0x1234;
    record.shRFPosition = 0xC0DE;
    const struct {
        unsigned char inquiry;
        Bytes reply;
        const char *text;
    } rows[] = {{0x38, {0x90, 0x50, 0x02, 0xFF}, ""},
                {0x47, {0x90, 0x50, 1, 2, 3, 4, 0xFF}, "\n\n____CAM_ZoomPosInq 0x1234____\n"},
                {0x48, {0x90, 0x50, 12, 0, 13, 14, 0xFF}, "\n\n____CAM_FocusPosInq____\n\n"},
                {0x07, {}, ""}};
    for (const auto &row : rows) {
        EXPECT_EQ(visca({0x81, 0x09, 0x04, row.inquiry, 0xFF}), 0);
        EXPECT_EQ(reply(), row.reply) << int(row.inquiry);
        EXPECT_EQ(text, row.text);
    }
    g_ShaPosInfo = nullptr;
    EXPECT_EQ(visca({0x81, 0x09, 0x04, 0x47, 0xFF}), 0);
    EXPECT_EQ(reply(), (Bytes{0x90, 0x50, 0, 0, 0, 0, 0xFF}));
    InitUsartFd(-1);
    EXPECT_EQ(visca({0x81, 0x09, 0x04, 0x38, 0xFF}), -1);
    EXPECT_EQ(text, "__SonyViscaProcess__write sendBuf failure__\n");
}

TEST_F(SerialCommands, malformed_frame_is_dumped_and_does_nothing) {
    EXPECT_EQ(visca({0x81, 0x01, 0x04, 0x07, 0x02, 0x00}), -1);
    EXPECT_EQ(text, "data[0]: 0x81\ndata[1]: 0x01\ndata[2]: 0x04\ndata[3]: 0x07\n"
                    "data[4]: 0x02\ndata[5]: 0x00\n\n");
    EXPECT_EQ(visca({0x82, 0x01, 0x04, 0x07, 0x02, 0xFF}), -1);
    EXPECT_EQ(visca({0x81, 0x01, 0x04, 0xFF}), -1);
    Bytes badChecksum = {0xFF, 1, 0x00, 0x20, 0, 0, 0x22};
    EXPECT_EQ(resultOf([&] { return PelcodProcess(badChecksum.data(), 7); }), -1);
    EXPECT_EQ(text.substr(0, 14), "data[0]: 0xff\n");
    EXPECT_EQ(record.shCommand, kUntouched);
}

TEST_F(SerialCommands, pelco_stop_names_the_motor_that_was_started) {
    for (int i = 1; i < 0x10000; ++i) {
        const auto command1 = static_cast<unsigned char>(i >> 8);
        const auto command2 = static_cast<unsigned char>(i);
        unsigned started = kUntouched, stopped = kUntouched;
        if (i == 0x20 || i == 0x40) {
            started = i == 0x20 ? CMD_TELE : CMD_WIDE;
            stopped = CMD_ZSTOP;
        } else if (i == 0x80 || command1 == 0x01) { // near with any second byte
            started = i == 0x80 ? CMD_FAR : CMD_NEAR;
            stopped = CMD_FSTOP;
        }
        ASSERT_EQ(pelco({command1, command2, 0xFF, 0x3F}), started) << std::hex << i; // at a speed
        ASSERT_EQ(pelco({0, 0, 5, 0}), kUntouched); // data: not a stop
        ASSERT_EQ(pelco({0, 0, 0, 0}), stopped) << std::hex << i;
        ASSERT_EQ(pelco({0, 0, 0, 0}), kUntouched); // a stop after a stop stores nothing
    }
}
