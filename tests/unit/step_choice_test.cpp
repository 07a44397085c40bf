// How far the focus goes before the next sample of a coarse pass.
#include "fixtures.h"

#include "af_lens/focus/step_choice.h"

TEST(StepChoice, wider_range_allows_longer_steps) {
    const std::pair<unsigned, int> rows[] = {{0, 4}, {120, 4}, {121, 8}, {480, 8}, {481, 16}};
    Lens_Init_GlobalVariable();
    for (const auto &[range, ceiling] : rows)
        EXPECT_EQ(Lens_Get_StepMax(12000, 12000 + range), ceiling) << range;
    EXPECT_EQ(Lens_Get_StepMax(12001, 12000), 16); // a range turned round is a wide one
}

TEST(StepChoice, slopes_since_the_first_sample_are_compared_with_those_of_the_sample_before) {
    const struct {
        int steps;
        unsigned h1, h2; // sums, 10000 at the first sample
        int afvMax, chosen;
    } rows[] = {
        {8, 10080, 10040, 1600, 8},   // second sample, slopes 10 and 5
        {16, 10320, 10040, 1599, 16}, // 20 and 3, low contrast
        {24, 10360, 10000, 1600, 8},  // 15 and 0: both slower
        {32, 9999, 9999, 1600, 8},    // rounded away from zero to -1: both fall
        {40, 10000, 9000, 1600, 16},  // 0 and -25: the first rises faster
        {48, 10000, 9000, 1600, 16},  // 0 and -21: as fast
        {64, 10577, 10064, 1600, 16}, // rounded away from zero to 10, and 1
        {64, 10576, 10064, 1600, 4},  // 9 and 1: the second is as fast
        {64, 10512, 9936, 1600, 8},   // 8 and -1: both slower
        {64, 10448, 9936, 1600, 2},   // 7 and -1: the second falls as before
        {64, 9900, 9900, -1, 16},     // a negative maximum is no contrast
    };
    AF_Statistics_Info reference = {}, now = {};
    int xStep = 77;
    for (int dark = 0; dark < 3; ++dark) // no reference yet: nothing to divide by
        EXPECT_EQ(Lens_ImageDefinition_Check(&reference, &now, &xStep, 1600, 16), 8);
    now.vV2SumHalf = 1;
    now.vH1SumHalf = now.vH2SumHalf = 10000;
    EXPECT_EQ(Lens_ImageDefinition_Check(&reference, &now, &xStep, 1600, 16), 8);
    EXPECT_EQ(xStep, 0);
    for (const auto &row : rows) {
        xStep = row.steps;
        now.vH1SumHalf = row.h1;
        now.vH2SumHalf = row.h2;
        EXPECT_EQ(Lens_ImageDefinition_Check(&reference, &now, &xStep, row.afvMax, 16), row.chosen)
            << "row " << &row - rows;
        EXPECT_EQ(reference.vH1SumHalf, 10000u); // stays the reference all along
    }
}
