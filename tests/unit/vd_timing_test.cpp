#include "af_ms419xx/registers.h"
#include "af_ms419xx/vd_timing.h"

#include <gtest/gtest.h>

TEST(VdTiming, smallest_row_that_serves_the_step_is_taken) {
    const struct {
        int flag, step, total;
    } rows[] = {{0, 0, 19116},   {0, 32, 19116},  {0, 33, 22515}, {0, 78, 45076},  {0, 79, 45076},
                {1, 0, 19116},   {1, 80, 19116},  {1, 81, 22515}, {1, 120, 28203}, {1, 121, 29625},
                {1, 192, 45076}, {1, 193, 45076}, {1, 255, 45076}};
    for (const auto &row : rows)
        EXPECT_EQ(PSUMXICNTGet(row.flag, static_cast<unsigned char>(row.step)), row.total)
            << "column " << row.flag << ", step " << row.step;
}

TEST(StepWord, direction_follows_the_lens_model_and_any_led_value_lights) {
    EXPECT_EQ(encodeStepWord(MS_Z_TELE, 48, LED_DISABLE, LENS_B), 0x0430u);
    EXPECT_EQ(encodeStepWord(MS_Z_TELE, 48, LED_DISABLE, LENS_A), 0x0530u);
    EXPECT_EQ(encodeStepWord(MS_Z_WIDE, 48, LED_DISABLE, 2), 0x0530u);
    EXPECT_EQ(encodeStepWord(MS_F_FAR, 30, LED_DISABLE, LENS_B), 0x051Eu);
    EXPECT_EQ(encodeStepWord(MS_F_NEAR, 16, LED_NONE, LENS_B), 0x0C10u);
    EXPECT_EQ(encodeStepPeriod(28203, 48), 587u);
    EXPECT_EQ(encodeStepPeriod(28203, 0), 28203u);
}
