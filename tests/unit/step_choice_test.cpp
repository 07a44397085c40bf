// How far the focus goes before the next sample of a coarse pass.
#include "fixtures.h"

#include "af_lens/focus/step_choice.h"

#include <vector>

namespace {

/// One sample of a pass: steps since the reference sample, both sums, best focus value so far.
struct Sample {
    int steps;
    unsigned h1, h2;
    int afvMax, chosen;
};

constexpr unsigned kReference = 10000; // both sums at the first sample
constexpr int kClear = 1600;           // focus value of a picture with contrast

void expectPass(const char *name, unsigned char stepMax, const std::vector<Sample> &samples) {
    SCOPED_TRACE(name);
    AF_Statistics_Info reference = {};
    AF_Statistics_Info now = {};
    now.vV2SumHalf = 1;
    now.vH1SumHalf = now.vH2SumHalf = kReference;
    int xStep = 77;
    EXPECT_EQ(Lens_ImageDefinition_Check(&reference, &now, &xStep, kClear, stepMax), stepMax / 2);
    EXPECT_EQ(xStep, 0);
    EXPECT_EQ(reference.vH1SumHalf, kReference);
    for (const Sample &sample : samples) {
        xStep = sample.steps;
        now.vH1SumHalf = sample.h1;
        now.vH2SumHalf = sample.h2;
        EXPECT_EQ(Lens_ImageDefinition_Check(&reference, &now, &xStep, sample.afvMax, stepMax),
                  sample.chosen)
            << "after " << sample.steps << " steps";
        EXPECT_EQ(xStep, sample.steps);
        EXPECT_EQ(reference.vH1SumHalf, kReference); // stays the reference all along
    }
}

} // namespace

TEST(StepChoice, wider_range_allows_longer_steps) {
    const struct {
        unsigned range;
        int ceiling;
    } rows[] = {{0, 4}, {120, 4}, {121, 8}, {480, 8}, {481, 16}};
    Lens_Init_GlobalVariable();
    for (const auto &row : rows)
        EXPECT_EQ(Lens_Get_StepMax(12000, 12000 + row.range), row.ceiling) << row.range;
    EXPECT_EQ(Lens_Get_StepMax(12001, 12000), 16); // a range turned round is a wide one
}

TEST(StepChoice, slopes_of_both_sums_since_the_sample_before_decide) {
    expectPass("the first two samples take half steps", 16, {{8, 99000, 99000, 0, 8}});
    expectPass("every case after another", 16,
               {{8, 10080, 10040, kClear, 8},       // slopes 10 and 5
                {16, 10320, 10040, kClear - 1, 16}, // 20 and 3, low contrast
                {24, 10360, 10000, kClear, 8},      // 15 and 0: both slower
                {32, 9968, 9968, kClear, 8},        // -1 and -1: both fall
                {40, 10000, 9000, kClear, 16},      // 0 and -25: the first rises faster
                {48, 10000, 9000, kClear, 16},      // 0 and -21: as fast
                {64, 10640, 10064, kClear, 16},     // 10 and 1
                {64, 10576, 10064, kClear, 4},      // 9 and 1: the second is as fast
                {64, 10512, 9936, kClear, 8},       // 8 and -1: both slower
                {64, 10448, 9936, kClear, 2},       // 7 and -1: the second falls as before
                {64, 9900, 9900, -1, 16}});         // a negative maximum is no contrast
    expectPass("up: 81 over 8 are 11, 160 over 16 are 10", 8,
               {{8, 10081, 10040, kClear, 4}, {16, 10160, 10000, kClear, 4}});
    expectPass("down: -1 over 16 are -1, so both fall", 16,
               {{8, 9000, 9000, kClear, 8}, {16, 9999, 9999, kClear, 8}});
}

TEST(StepChoice, reference_without_second_sums_begins_a_pass_of_its_own) {
    AF_Statistics_Info reference = {}, dark = {};
    int xStep = 5;
    for (int sample = 0; sample < 3; ++sample) // nothing to divide by
        EXPECT_EQ(Lens_ImageDefinition_Check(&reference, &dark, &xStep, 0, 16), 8);
    EXPECT_EQ(xStep, 0);
}
