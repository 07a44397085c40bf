// From the ISP's zones to one focus record, and what the ISP is told to measure.
#include "fixtures.h"

#include "af_interface/focus_filters.h"
#include "af_interface/statistics.h"
#include "af_interface/zone_reduction.h"
#include "clock/virtual_clock.h"

#include <cstring>

namespace {

constexpr int kNight = 1;
constexpr unsigned kAllWeights = 104;
constexpr unsigned kCentreWeights = 36;

class ZoneReduction : public testing::Test {
protected:
    /// A picture of equal zones; what lies outside the grid must not count.
    void fill(const ISP_FOCUS_ZONE_S &zone) {
        for (int i = 0; i < AF_ZONE_ROW; ++i)
            for (int j = 0; j < AF_ZONE_COLUMN; ++j)
                at(i, j) = i < 8 && j < 8 ? zone : kOutside;
    }

    void fillCentre(const ISP_FOCUS_ZONE_S &zone) {
        for (int i = 2; i <= 5; ++i)
            for (int j = 2; j <= 5; ++j)
                at(i, j) = zone;
    }

    ISP_FOCUS_ZONE_S &at(int i, int j) { return zones.stZoneMetrics[i][j]; }

    void TearDown() override { g_ICUTState = 0; }

    static constexpr ISP_FOCUS_ZONE_S kOutside = {65535, 65535, 65535, 65535, 0};
    ISP_FOCUS_STATISTICS_S zones = {};
    AF_Statistics_Info record = {};
};

} // namespace

TEST_F(ZoneReduction, equal_zones_average_to_themselves_and_sum_over_the_centre) {
    const struct {
        ISP_FOCUS_ZONE_S zone; // v1 h1 v2 h2 y
        unsigned first, second;
    } rows[] = {
        {{3, 100, 0, 64, 0}, 100, 54},
        {{0, 1, 7, 0, 0}, 1, 1},
        {{9, 0, 6, 1, 0}, 0, 1},
        {{0, 0, 6, 0, 0}, 0, 0},
        {{65535, 65535, 65535, 65535, 65535}, 65535, 65535},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "h2 " << row.zone.u16h2 << ", v2 " << row.zone.u16v2);
        fill(row.zone);
        reduceZones(zones, &record);
        EXPECT_EQ(record.vwV1SumAll, row.first);
        EXPECT_EQ(record.vwV1SumHalf, row.first);
        EXPECT_EQ(record.vwV2SumAll, row.second);
        EXPECT_EQ(record.vwV2SumHalf, row.second);
        EXPECT_EQ(record.vV1SumHalf, 16u * row.zone.u16v1);
        EXPECT_EQ(record.vV2SumHalf, 16u * row.zone.u16v2);
        EXPECT_EQ(record.vH1SumHalf, 16u * row.zone.u16h1);
        EXPECT_EQ(record.vH2SumHalf, 16u * row.zone.u16h2);
    }
}

TEST_F(ZoneReduction,
       every_zone_counts_by_its_ring_and_the_inner_four_by_four_alone_in_the_centre) {
    constexpr HI_U16 kValue = kAllWeights * kCentreWeights; // divisible by both sums of weights
    for (int i = 0; i < 8; ++i) {
        for (int j = 0; j < 8; ++j) {
            const bool border = i == 0 || i == 7 || j == 0 || j == 7;
            const bool middle = (i == 3 || i == 4) && (j == 3 || j == 4);
            const bool centre = i >= 2 && i <= 5 && j >= 2 && j <= 5;
            const unsigned weight = border ? 1 : middle ? 3 : 2;
            fill({});
            at(i, j).u16h1 = kValue;
            reduceZones(zones, &record);
            EXPECT_EQ(record.vwV1SumAll, weight * kCentreWeights) << i << ", " << j;
            EXPECT_EQ(record.vwV1SumHalf, centre ? weight * kAllWeights : 0) << i << ", " << j;
            EXPECT_EQ(record.vH1SumHalf, centre ? kValue : 0u) << i << ", " << j;
        }
    }
}

TEST_F(ZoneReduction, saturated_zone_is_left_out_at_night_alone) {
    const struct {
        int state;
        HI_U16 luminance;
        unsigned sum, all, half; // of first focus values: 100 everywhere, 1108 in one zone
    } rows[] = {
        {kNight, 60001, 1500, 100, 100},
        {kNight, 65535, 1500, 100, 100},
        {kNight, 60000, 2608, 129, 184},
        {0, 60001, 2608, 129, 184},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "state " << row.state << ", y " << row.luminance);
        g_ICUTState = row.state;
        fill({100, 100, 100, 100, 0});
        at(4, 3) = {1108, 1108, 1108, 1108, row.luminance};
        reduceZones(zones, &record);
        EXPECT_EQ(record.vV1SumHalf, row.sum);
        EXPECT_EQ(record.vH2SumHalf, row.sum);
        EXPECT_EQ(record.vwV1SumAll, row.all);
        EXPECT_EQ(record.vwV1SumHalf, row.half);
        EXPECT_EQ(record.vwV2SumHalf, row.half);
    }
}

TEST_F(ZoneReduction, average_without_any_zone_keeps_its_last_value) {
    g_ICUTState = kNight;
    record = {1024, 2048, 4096, 7, 7, 7, 7, 501, 502, 503, 504};
    fill({40, 40, 40, 40, 0});
    fillCentre({900, 900, 900, 900, 65535});
    reduceZones(zones, &record);
    EXPECT_EQ(record.vwV1SumAll, 40u);
    EXPECT_EQ(record.vwV1SumHalf, 503u);
    EXPECT_EQ(record.vwV2SumHalf, 504u);
    EXPECT_EQ(record.vV1SumHalf + record.vV2SumHalf + record.vH1SumHalf + record.vH2SumHalf, 0u);
    fill({900, 900, 900, 900, 65535});
    reduceZones(zones, &record);
    EXPECT_EQ(record.vwV1SumAll, 40u);
    EXPECT_EQ(record.vwV2SumAll, 40u);
    EXPECT_EQ(record.AGain, 1024u); // the gains are not its business
    EXPECT_EQ(record.ISPGain, 4096u);
}

TEST(FocusFilters, engine_is_configured_for_the_grid_with_these_coefficients) {
    ISP_FOCUS_STATISTICS_CFG_S expected;
    memset(&expected, 0, sizeof expected);
    expected.stConfig = {HI_TRUE, 8, 8, 1920, 1080, ISP_AF_STA_PEAK, ISP_AF_STA_SUM_NORM};
    expected.stHParam_IIR0 = {
        {HI_FALSE, HI_TRUE, HI_TRUE}, {188, 0, 0, 414, -165, 400, -164}, {7, 0, 3, 2}, 127};
    expected.stHParam_IIR1 = {
        {HI_FALSE, HI_TRUE, HI_FALSE}, {200, 0, 0, 200, -55, 0, 0}, {6, 0, 1, 0}, 31};
    expected.stVParam_FIR0 = {{-6, 12, 22, 12, -6}, 127};
    expected.stVParam_FIR1 = {{-16, 21, 0, -21, 16}, 10};
    expected.stFVParam = {5, {0, 0}, {3, 2}};
    const ISP_FOCUS_STATISTICS_CFG_S made = makeFocusConfiguration();
    EXPECT_EQ(memcmp(&made.stHParam_IIR0, &expected.stHParam_IIR0, sizeof made.stHParam_IIR0), 0);
    EXPECT_EQ(memcmp(&made.stHParam_IIR1, &expected.stHParam_IIR1, sizeof made.stHParam_IIR1), 0);
    EXPECT_EQ(memcmp(&made.stVParam_FIR0, &expected.stVParam_FIR0, sizeof made.stVParam_FIR0), 0);
    EXPECT_EQ(memcmp(&made.stVParam_FIR1, &expected.stVParam_FIR1, sizeof made.stVParam_FIR1), 0);
    EXPECT_EQ(memcmp(&made.stFVParam, &expected.stFVParam, sizeof made.stFVParam), 0);
    EXPECT_EQ(memcmp(&made.stConfig, &expected.stConfig, sizeof made.stConfig), 0);
}

static void *publishAfter40Ms(void *) {
    usleep(40000);
    AF_Statistics_Info record = {};
    record.vwV1SumAll = 4711;
    publishStatistics(record);
    return nullptr;
}

TEST(Statistics, wait_takes_the_next_record_and_after_a_second_without_one_the_last) {
    onPoweredCamera([] {
        AF_Statistics_Info record = {};
        record.vwV1SumAll = 1;
        afStatisticsFresh(&record);
        EXPECT_EQ(record.vwV1SumAll, 0u); // none was published yet
        EXPECT_EQ(vcam::nowUs(), 1000000);

        pthread_t thread;
        pthread_create(&thread, nullptr, publishAfter40Ms, nullptr);
        afStatisticsFresh(&record);
        EXPECT_EQ(record.vwV1SumAll, 4711u);
        EXPECT_EQ(vcam::nowUs(), 1040000);
        pthread_join(thread, nullptr);

        record = {};
        afStatisticsFresh(&record);
        EXPECT_EQ(record.vwV1SumAll, 4711u);
        EXPECT_EQ(vcam::nowUs(), 2040000);
    });
}
