// Functions that a service tool calls before start-up has set step levels, limits and grid: they
// end with their failure result or do nothing.
#include "fixtures.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"

#include "af_lens/motion/counted_move.h"
#include "af_lens/motion/home_search.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"

#include <cstring>

/// What cases before this one may have set.
static void forgetStartUp() {
    Step_Level_Uit = Step_Level_Min = Step_Level_Mid = Step_Level_Max = Step_Level_Rst = 0;
    ZM_Wide_Limit = ZM_Tele_Limit = FM_Near_Limit = FM_Far_Limit = 0;
    ZM_PI_Position = FM_PI_Position = 0;
    memset(ZM_Step_Run, 0, sizeof ZM_Step_Run);
    memset(&g_APGroupInfo, 0, sizeof g_APGroupInfo);
    setPosition(0, 0);
    scenario::host() = {};
}

TEST(TooEarly, searches_and_moves_end_and_drive_nothing) {
    onPoweredCamera([] {
        Lens_ShaPos_ST record = {CMD_TELE, 0, 0, 0};
        const int zoom = vcam::truePosition(vcam::Axis::Zoom);
        const int focus = vcam::truePosition(vcam::Axis::Focus);
        forgetStartUp();
        scenario::introduceHost();
        MS419XX_Init();
        g_ShaPosInfo = &record;
        PI_Wide_Range = PI_Tele_Range = PI_Near_Range = PI_Far_Range = 5000;
        EXPECT_EQ(Lens_Search_PI(), -1);
        EXPECT_EQ(Lens_Check_PIPosition(), -1);
        Lens_Move_NSteps(MS_Z_TELE, 100, MS_F_FAR, 100);
        Lens_To_Destination(500, 300);
        EXPECT_TRUE(scenario::host().savedPositions.empty()); // what the host keeps is not lost
        ZM_Wide_Limit = FM_Near_Limit = 10000;
        ZM_Tele_Limit = FM_Far_Limit = 20000; // but no step levels, and no grid
        setPosition(15000, 15000);
        EXPECT_EQ(lensMotorZoomCtrl(CMD_TELE), unsigned(CMD_ZSTOP));
        record.shCommand = CMD_FAR;
        EXPECT_EQ(lensMotorFocusCtrl(CMD_FAR), unsigned(CMD_FSTOP));
        EXPECT_EQ(Lens_Goto_Preset(1), -1);
        g_APGroupInfo.aZPosition[1] = 15500, g_APGroupInfo.aFPosition[1] = 15000;
        EXPECT_EQ(Lens_Goto_Preset(1), 0);
        MS_Action_em type = MS_F_FAR;
        unsigned tag = 0, most = 0;
        record.shCommand = CMD_FOCUS;
        EXPECT_EQ(GreatlyOutOfFocus(0, 0, 10500, 16000, &type, &tag, &most), -1);
        EXPECT_EQ(lensFocusCtrl(CMD_FOCUS), unsigned(CMD_NONE));
        Lens_Generate_FocusLine2();
        Lens_Draw_CurveOfZoomAndFocus2();
        for (const int flag : {-1, 2, 1000}) {
            const int64_t startUs = vcam::nowUs();
            EXPECT_EQ(MS419XX_Set_PSUM_ICNT_RegSync(flag, MS_Z_TELE, 40, MS_F_FAR, 40, LED_DISABLE),
                      -1);
            MS419XX_VDZ(flag, 40, 40);
            EXPECT_EQ(vcam::nowUs(), startUs);
        }
        EXPECT_EQ(vcam::truePosition(vcam::Axis::Zoom), zoom);
        EXPECT_EQ(vcam::truePosition(vcam::Axis::Focus), focus);
    });
}

// Step levels alone, as a tool would set them: the way goes from the (unset) home to the target.
TEST(TooEarly, destination_is_clamped_only_into_limits_that_are_set) {
    onPoweredCamera([] {
        forgetStartUp();
        MS419XX_Init();
        Step_Level_Max = 32, Step_Level_Rst = 128;
        ZM_PI_Position = FM_PI_Position = 400;
        const int zoom = vcam::truePosition(vcam::Axis::Zoom);
        Lens_To_Destination(500, 400);
        EXPECT_EQ(vcam::truePosition(vcam::Axis::Zoom), zoom + 100);
    });
}
