// The host's functions: what they accept, what they say, how long they block.
#include "fixtures.h"

#include "clock/virtual_clock.h"

namespace {

using Api = LensCase;

int readFocusMode() {
    return g_AutoCheckEnable;
}

} // namespace

TEST_F(Api, setting_outside_its_range_is_refused_with_its_message_and_changes_nothing) {
    static const char kZoomSpeed[] = "Invaled zoom speed value !\n";
    static const char kFocusSpeed[] = "Invaled focus speed value !\n";
    static const char kControlType[] = "Invaled icut control type !\n";
    const struct {
        int (*set)(int);
        int (*get)();
        int value, result, reads;
        const char *text;
    } rows[] = {
        {AF_Manager_Set_ZoomSpeed_API, AF_Manager_Get_ZoomSpeed_API, 7, 0, 4, ""},
        {AF_Manager_Set_ZoomSpeed_API, AF_Manager_Get_ZoomSpeed_API, 1, 0, 4, ""},
        {AF_Manager_Set_ZoomSpeed_API, AF_Manager_Get_ZoomSpeed_API, 0, -1, 4, kZoomSpeed},
        {AF_Manager_Set_ZoomSpeed_API, AF_Manager_Get_ZoomSpeed_API, 8, -1, 4, kZoomSpeed},
        {AF_Manager_Set_FocusSpeed_API, AF_Manager_Get_FocusSpeed_API, 7, 0, 4, ""},
        {AF_Manager_Set_FocusSpeed_API, AF_Manager_Get_FocusSpeed_API, 0, -1, 4, kFocusSpeed},
        {AF_Manager_Set_FocusSpeed_API, AF_Manager_Get_FocusSpeed_API, 8, -1, 4, kFocusSpeed},
        {AF_Manager_Set_FrameRate_API, AF_Manager_Get_FrameRate_API, 1, 0, 1, ""},
        {AF_Manager_Set_FrameRate_API, AF_Manager_Get_FrameRate_API, 2, -1, 1, ""},
        {AF_Manager_Set_FrameRate_API, AF_Manager_Get_FrameRate_API, -1, -1, 1, ""},
        {AF_Manager_Set_FrameRate_API, AF_Manager_Get_FrameRate_API, 0, 0, 0, ""},
        {AF_Manager_SetFocusMode_API, readFocusMode, 0, 0, 0, ""},
        {AF_Manager_SetFocusMode_API, readFocusMode, 2, -1, 0, ""},
        {AF_Manager_SetFocusMode_API, readFocusMode, 1, 0, 1, ""},
        {AF_Manager_SetFocusMode_API, readFocusMode, -1, -1, 1, ""},
        {AF_Manager_Set_ICUTControlType_API, AF_Manager_Get_ICUTOfSPISend_API, 0, 0, 0, ""},
        {AF_Manager_Set_ICUTControlType_API, AF_Manager_Get_ICUTControlType_API, 4, -1, 0,
         kControlType},
        {AF_Manager_Set_ICUTControlType_API, AF_Manager_Get_ICUTControlType_API, -1, -1, 0,
         kControlType},
        {AF_Manager_Set_ICUTControlType_API, AF_Manager_Get_ICUTControlType_API, 3, 0, 3, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        int result = -7;
        EXPECT_EQ(printedBy([&] { result = row.set(row.value); }), row.text);
        EXPECT_EQ(result, row.result);
        EXPECT_EQ(row.get(), row.reads);
    }
}

TEST_F(Api, serial_descriptor_below_1_is_refused) {
    for (const int fd : {0, -1}) {
        int result = 0;
        EXPECT_EQ(printedBy([&] { result = AF_Manager_Init_UsartFd_API(fd); }),
                  "Invaled fd: " + std::to_string(fd) + ".\n");
        EXPECT_EQ(result, -1);
        EXPECT_EQ(Usart1_fd, -1);
    }
    EXPECT_EQ(AF_Manager_Init_UsartFd_API(1), 0);
    EXPECT_EQ(Usart1_fd, 1);
    InitUsartFd(-1);
}

TEST_F(Api, command_is_stored_for_the_lens_thread) {
    AF_Manager_Reset_API();
    EXPECT_EQ(record.shCommand, static_cast<unsigned>(CMD_RESET));
    EXPECT_EQ(AF_Manager_LockFocus_API(), 0);
    EXPECT_EQ(record.shCommand, static_cast<unsigned>(CMD_FLINE));
    EXPECT_EQ(AF_Manager_Get_OSDData_API(nullptr), -1);
    int result = 0;
    EXPECT_EQ(printedBy([&] { result = AF_Manager_Set_Multiple_API(-1); }),
              "_Fun:Lens_Reset_OSDMULMAP Line:# Invaled osd multiple -1.\n");
    EXPECT_EQ(result, -1);
}

TEST_F(Api, changed_icut_state_blocks_two_seconds_and_asks_for_a_run_and_a_repeated_one_does_not) {
    const struct {
        int value, result, waitedUs;
        unsigned stored;
        int reads;
    } rows[] = {
        {2, 0, 0, kUntouched, 2},  {1, 0, 2000000, CMD_FOCUS, 1}, {1, 0, 0, kUntouched, 1},
        {0, -1, 0, kUntouched, 1}, {3, -1, 0, kUntouched, 1},     {2, 0, 2000000, CMD_FOCUS, 2},
        {2, 0, 0, kUntouched, 2},
    };
    const std::string console = onPoweredCamera([&] {
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "row " << &row - rows);
            record.shCommand = kUntouched;
            const int64_t beforeUs = vcam::nowUs();
            EXPECT_EQ(AF_Manager_Set_ICUTStatusLast_API(row.value), row.result);
            EXPECT_EQ(vcam::nowUs() - beforeUs, row.waitedUs);
            EXPECT_EQ(record.shCommand, row.stored);
            EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), row.reads);
        }
    });
    EXPECT_EQ(console, "Invaled icut mode last !\nInvaled icut mode last !\n");
}

// In a process that runs this case alone, so that nothing has been set before.
static void useUnstartedLibrary() {
    unsigned char inquiry[] = {0x81, 0x09, 0x04, 0x47, 0xFF};
    char text[AF_OSD_TEXT_SIZE] = "?";
    EXPECT_EQ(AF_Manager_Get_OSDData_API(text), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), 2);
    EXPECT_EQ(AF_Manager_Get_ICUTControlType_API(), TYPE_OUTCONTROL);
    EXPECT_EQ(AF_Manager_Get_FrameRate_API(), 0);
    EXPECT_EQ(g_AutoCheckEnable, 1);
    EXPECT_EQ(g_AutoCheckFlag, 0);
    EXPECT_EQ(AF_Manager_LockFocus_API(), -1);
    AF_Manager_Reset_API();
    EXPECT_EQ(AF_Mamager_SetPreset_API(5), -1);
    int result = 0;
    EXPECT_EQ(printedBy([&] { result = fCallbackSetIcutMode(TYPE_NIGHT); }), "");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(SonyViscaProcess(inquiry, sizeof inquiry), -1); // no port
    EXPECT_EQ(AF_Manager_Set_Multiple_API(36), 0);            // the grid is still empty
    EXPECT_EQ(AF_Manager_Get_OSDData_API(text), 0);
    EXPECT_STREQ(text, "");
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST(UnstartedLibrary, has_its_settings_and_refuses_commands) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(useUnstartedLibrary(), testing::ExitedWithCode(0), "");
}
