// The host's functions: what they accept and what they say.
#include "fixtures.h"

namespace {

using Api = LensCase;

int readFocusMode() {
    return g_AutoCheckEnable;
}

} // namespace

TEST_F(Api, setting_outside_its_range_is_refused_with_its_message_and_changes_nothing) {
    const struct {
        int (*set)(int);
        int (*get)();
        int lowest, highest;
        bool isKept; ///< A speed is checked and nothing else.
        const char *refusal;
    } rows[] = {
        {AF_Manager_Set_ZoomSpeed_API, AF_Manager_Get_ZoomSpeed_API, 1, 7, false,
         "Invaled zoom speed value !\n"},
        {AF_Manager_Set_FocusSpeed_API, AF_Manager_Get_FocusSpeed_API, 1, 7, false,
         "Invaled focus speed value !\n"},
        {AF_Manager_Set_FrameRate_API, AF_Manager_Get_FrameRate_API, 0, 1, true, ""},
        {AF_Manager_SetFocusMode_API, readFocusMode, 0, 1, true, ""},
        {AF_Manager_Set_ICUTControlType_API, AF_Manager_Get_ICUTControlType_API, 0, 3, true,
         "Invaled icut control type !\n"},
    };
    for (const auto &row : rows)
        for (const int value : {0, 1, 3, 7, 1000, row.lowest, row.highest, -1, row.highest + 1}) {
            SCOPED_TRACE(testing::Message() << "row " << &row - rows << ", value " << value);
            const int before = row.get();
            const bool isInside = value >= row.lowest && value <= row.highest;
            EXPECT_EQ(resultOf([&] { return row.set(value); }), isInside ? 0 : -1);
            EXPECT_EQ(text, isInside ? "" : row.refusal);
            EXPECT_EQ(row.get(), !row.isKept ? 4 : isInside ? value : before);
        }
}

TEST_F(Api, command_is_stored_for_the_lens_thread_and_serial_descriptor_below_1_is_refused) {
    AF_Manager_Reset_API();
    EXPECT_EQ(record.shCommand, unsigned(CMD_RESET));
    EXPECT_EQ(AF_Manager_LockFocus_API(), 0);
    EXPECT_EQ(record.shCommand, unsigned(CMD_FLINE));
    EXPECT_EQ(AF_Manager_Init_UsartFd_API(1), 0);
    EXPECT_EQ(resultOf([] { return AF_Manager_Init_UsartFd_API(0); }), -1);
    EXPECT_EQ(text, "Invaled fd: 0.\n");
    EXPECT_EQ(Usart1_fd, 1);
}
