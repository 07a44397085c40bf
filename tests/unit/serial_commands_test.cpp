// Frames from a controller: how long they are, both command sets, the replies.
#include "fixtures.h"

#include "host/controller_frames.h"

#include "clock/virtual_clock.h"

#include <fcntl.h>
#include <map>
#include <numeric>

namespace {

using vcam::Bytes;

/// Commands go into the mailbox of LensCase, replies into a pipe.
class SerialCommands : public LensCase {
protected:
    void SetUp() override {
        LensCase::SetUp();
        ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
        scenario::introduceHost();
        InitUsartFd(ends[1]);
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
        bytes.resize(static_cast<size_t>(std::max(read(ends[0], bytes.data(), 32), ssize_t(0))));
        return bytes;
    }

    int ends[2] = {-1, -1};
};

const struct Meaning {
    int command, parameter;
    bool takesSpeed; ///< In the low nibble, with the parameter in the high one.
    unsigned stored;
    const char *text;
} kMeanings[] = {
    {0x01, 0x02, false, kUntouched, "CAM_ICR On"},
    {0x01, 0x03, false, kUntouched, "CAM_ICR Off"},
    {0x07, 0x00, false, CMD_ZSTOP, "CAM_Zoom Stop"},
    {0x07, 0x02, true, CMD_TELE, "CAM_Zoom Tele(Standard) cmd: 0x%02x"},
    {0x07, 0x03, true, CMD_WIDE, "CAM_Zoom Wide(Standard) cmd: 0x%02x"},
    {0x08, 0x00, false, CMD_FSTOP, "CAM_Focus Stop"},
    {0x08, 0x02, true, CMD_FAR, "CAM_Focus Far(Standard) cmd = 0x%02x"},
    {0x08, 0x03, true, CMD_NEAR, "CAM_Focus Near(Standard)"},
    {0x18, 0x01, false, CMD_FOCUS, "One Push Trigger"},
    {0x38, 0x02, false, kUntouched, "Auto Focus"},
    {0x38, 0x03, false, kUntouched, "Manual Focus"},
    {0x38, 0x10, false, kUntouched, "Auto/Manual"},
    {0x51, 0x02, false, kUntouched, "CAM_AutoICR On"},
    {0x51, 0x03, false, kUntouched, "CAM_AutoICR Off"},
};

const Meaning *findMeaning(int command, int parameter) {
    for (const Meaning &row : kMeanings)
        if (row.command == command &&
            (row.parameter == parameter || (row.takesSpeed && row.parameter == parameter >> 4)))
            return &row;
    return nullptr;
}

} // namespace

TEST(Framing, command_tells_how_many_bytes_are_due_and_of_which_type) {
    const std::map<int, std::pair<int, int>> special = {
        {0x47, {4, 3}}, {0x48, {4, 3}}, {0x73, {11, 2}}, {0x74, {1, 2}}};
    for (int command = 0; command <= 0xFF; ++command) {
        char bytes[] = {char(0x81), 0x01, 0x04, char(command), 0x00};
        const auto row = special.find(command);
        int type = -7;
        const int due = CheckVISCACmd(bytes, 5, &type);
        EXPECT_EQ(std::make_pair(due, type),
                  row == special.end() ? std::make_pair(1, 0) : row->second)
            << std::hex << command;
    }
}

TEST_F(SerialCommands, every_parameter_of_every_visca_command_does_its_own_and_gets_no_reply) {
    const std::string console = onPoweredCamera([&] {
        for (int i = 0; i < 0x20000; ++i) {
            unsigned char frame[] = {0x81, 0x01, 0x04, 0, 0, 0xFF};
            frame[2] = i < 0x10000 ? 0x04 : 0x06; // another category: nothing
            frame[3] = static_cast<unsigned char>(i >> 8);
            frame[4] = static_cast<unsigned char>(i);
            const Meaning *meaning = i < 0x10000 ? findMeaning(frame[3], frame[4]) : nullptr;
            const unsigned stored = meaning == nullptr ? kUntouched : meaning->stored;
            record.shCommand = kUntouched;
            const int64_t startUs = vcam::nowUs();
            ASSERT_EQ(SonyViscaProcess(frame, 6), 0);
            ASSERT_EQ(record.shCommand, stored) << std::hex << i;
            ASSERT_EQ(vcam::nowUs() - startUs, stored == CMD_FOCUS ? 50000 : 0);
        }
        EXPECT_EQ(scenario::host().dayNightRequests, (std::vector<int>{TYPE_NIGHT, TYPE_DAY}));
        unsigned char direct[] = {0x81, 0x01, 0x04, 0x48, 0x0F, 0x1F, 0x10, 0x01, 0xFF};
        EXPECT_EQ(SonyViscaProcess(direct, 9), 0);
        EXPECT_EQ(record.shCommand, kUntouched); // direct focus is only noted
        direct[3] = 0x47;
        EXPECT_EQ(SonyViscaProcess(direct, 9), 0);
        EXPECT_EQ(record.shValue, 0x1001u); // the nibbles overlap
        EXPECT_EQ(vcam::nowUs(), 2 * 50000);
    });
    std::string expected;
    for (int i = 0; i < 0x10000; ++i) {
        const Meaning *meaning = findMeaning(i >> 8, i & 0xFF);
        if (meaning == nullptr)
            continue;
        char words[64];
        snprintf(words, sizeof words, meaning->text, i & 0xFF);
        expected += std::string("\n\n____") + words + "____\n\n";
    }
    EXPECT_EQ(console, expected + "\n\n____Direct Focus Position____\n\n____fPos: 0x1001____\n"
                                  "\n\n____Direct Zoom Position 0x1001____\n\n");
    EXPECT_EQ(reply(), Bytes());
}

TEST_F(SerialCommands, icr_command_is_ignored_while_the_host_is_not_in_control) {
    for (const int type : {TYPE_AUTO, TYPE_DAY, TYPE_NIGHT, TYPE_OUTCONTROL}) {
        AF_Manager_Set_ICUTControlType_API(type);
        EXPECT_EQ(visca(vcam::kViscaNight), 0);
        EXPECT_EQ(text.empty(), type != TYPE_OUTCONTROL) << type;
    }
}

TEST_F(SerialCommands, inquiry_gets_0_before_there_is_a_position_or_nothing_if_nobody_knows_it) {
    g_ShaPosInfo = nullptr;
    for (const Bytes &inquiry : {vcam::kAskZoom, vcam::kAskFocus}) {
        EXPECT_EQ(visca(inquiry), 0);
        EXPECT_EQ(reply(), vcam::viscaPositionReply(0)) << int(inquiry[3]);
    }
    EXPECT_EQ(visca({0x81, 0x09, 0x04, 0x07, 0xFF}), 0);
    EXPECT_EQ(reply(), Bytes());
    InitUsartFd(-1);
    EXPECT_EQ(visca(vcam::kAskFocusMode), -1);
    EXPECT_EQ(text, "__SonyViscaProcess__write sendBuf failure__\n");
}

TEST_F(SerialCommands, malformed_frame_is_dumped) {
    EXPECT_EQ(visca({0x81, 0x01, 0x04, 0x07, 0x02, 0x00}), -1);
    EXPECT_EQ(text, "data[0]: 0x81\ndata[1]: 0x01\ndata[2]: 0x04\ndata[3]: 0x07\n"
                    "data[4]: 0x02\ndata[5]: 0x00\n\n");
    Bytes badChecksum = {0xFF, 1, 0x00, 0x20, 0, 0, 0x22};
    EXPECT_EQ(resultOf([&] { return PelcodProcess(badChecksum.data(), 7); }), -1);
    EXPECT_EQ(text.substr(0, 14), "data[0]: 0xff\n");
}

TEST_F(SerialCommands, pelco_stop_names_the_motor_that_was_started) {
    const std::map<int, std::pair<unsigned, unsigned>> moves = {{0x20, {CMD_TELE, CMD_ZSTOP}},
                                                                {0x40, {CMD_WIDE, CMD_ZSTOP}},
                                                                {0x80, {CMD_FAR, CMD_FSTOP}},
                                                                {0x100, {CMD_NEAR, CMD_FSTOP}}};
    for (int i = 1; i < 0x10000; ++i) {
        const auto command1 = static_cast<unsigned char>(i >> 8);
        const auto command2 = static_cast<unsigned char>(i);
        const auto move = moves.find(command1 == 1 ? 0x100 : i); // near with any second byte
        const auto [started, stopped] =
            move == moves.end() ? std::make_pair(kUntouched, kUntouched) : move->second;
        ASSERT_EQ(pelco({command1, command2, 0xFF, 0x3F}), started) << std::hex << i; // at a speed
        ASSERT_EQ(pelco({0, 0, 5, 0}), kUntouched); // data: not a stop
        ASSERT_EQ(pelco({0, 0, 0, 5}), kUntouched);
        ASSERT_EQ(pelco({0, 0, 0, 0}), stopped) << std::hex << i;
        ASSERT_EQ(pelco({0, 0, 0, 0}), kUntouched); // a stop after a stop stores nothing
    }
}
