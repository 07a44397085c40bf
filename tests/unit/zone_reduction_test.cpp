// From the ISP's zones to one focus record, and what the ISP is told to measure.
#include "fixtures.h"

#include "af_interface/statistics.h"
#include "af_interface/zone_reduction.h"

#include <cstring>
#include <random>

namespace {

constexpr int kNight = 1;

/// Weights and weighted sums of both focus values.
struct Sums {
    unsigned weights = 0, first = 0, second = 0;

    void add(unsigned weight, const ISP_FOCUS_ZONE_S &zone) {
        weights += weight;
        first += weight * zone.u16h1;
        second += weight * ((54u * zone.u16h2 + 10u * zone.u16v2) / 64);
    }

    void average(unsigned *firstAverage, unsigned *secondAverage) const {
        if (weights == 0)
            return; // keeps its last value
        *firstAverage = first / weights;
        *secondAverage = second / weights;
    }
};

} // namespace

TEST(ZoneReduction, rings_weigh_1_2_and_3_and_saturated_zones_are_left_out_at_night_alone) {
    std::mt19937 random(1);
    for (int picture = 0; picture < 300; ++picture) {
        SCOPED_TRACE(testing::Message() << "picture " << picture);
        g_ICUTState = picture % 2 == 0 ? kNight : 0;
        const unsigned saturated = unsigned(picture) % 3; // zones: none, half, nearly all
        ISP_FOCUS_STATISTICS_S zones; // also beyond the grid, where nothing counts
        for (auto &row : zones.stZoneMetrics)
            for (ISP_FOCUS_ZONE_S &zone : row) {
                zone = {HI_U16(random()), HI_U16(random()), HI_U16(random()), HI_U16(random()), 0};
                zone.u16y = HI_U16(random() % 100 < saturated * 49 ? 60001 : 60000);
            }
        AF_Statistics_Info record = {1024, 2048, 4096, 7, 7, 7, 7, 501, 502, 503, 504};
        AF_Statistics_Info expected = {1024, 2048, 4096, 0, 0, 0, 0, 501, 502, 503, 504};
        Sums all, centre;
        for (int i = 0; i < 8; ++i) {
            for (int j = 0; j < 8; ++j) {
                const ISP_FOCUS_ZONE_S &zone = zones.stZoneMetrics[i][j];
                if (g_ICUTState == kNight && zone.u16y > 60000)
                    continue;
                const int ring = std::min({i, j, 7 - i, 7 - j}); // 0 at the border
                all.add(ring == 0 ? 1 : ring == 3 ? 3 : 2, zone);
                if (ring < 2)
                    continue;
                centre.add(unsigned(ring), zone);
                expected.vV1SumHalf += zone.u16v1;
                expected.vV2SumHalf += zone.u16v2;
                expected.vH1SumHalf += zone.u16h1;
                expected.vH2SumHalf += zone.u16h2;
            }
        }
        all.average(&expected.vwV1SumAll, &expected.vwV2SumAll);
        centre.average(&expected.vwV1SumHalf, &expected.vwV2SumHalf);
        reduceZones(zones, &record);
        EXPECT_EQ(memcmp(&record, &expected, sizeof record), 0);
    }
    g_ICUTState = 0;
}

TEST(FocusValues, whole_picture_decides_from_tag_point_13_on_and_its_centre_before) {
    AF_Statistics_Info record = {};
    record.vwV1SumAll = record.vwV2SumAll = 1;
    for (int tag = 0; tag < 16; ++tag) {
        EXPECT_EQ(focusValueAt(tag, record), tag < 13 ? 0u : 1u) << tag;
        EXPECT_EQ(secondFocusValueAt(tag, record), tag < 13 ? 0u : 1u) << tag;
    }
}
