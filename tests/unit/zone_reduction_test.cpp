// From the ISP's zones to one focus record, and what the ISP is told to measure.
#include "fixtures.h"

#include "af_interface/statistics.h"
#include "af_interface/zone_reduction.h"

#include <cstring>

TEST(ZoneReduction, zone_weighs_by_its_ring_unless_it_is_saturated_at_night) {
    const unsigned weights[] = {1, 2, 2, 3}; // from the border inward
    const ISP_FOCUS_ZONE_S lit = {65535, 65534, 65533, 65532, 60000};
    const unsigned second = (54 * 65532 + 10 * 65533) / 64;
    ISP_FOCUS_STATISTICS_S zones = {};
    AF_Statistics_Info record = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    for (int i = 0; i < 2 * 64; ++i) {
        SCOPED_TRACE(i);
        const int row = i / 8 % 8, column = i % 8;
        const int ring = std::min({row, column, 7 - row, 7 - column});
        const bool isNight = i >= 64;
        g_ICUTState = isNight ? 1 : 0;
        zones = {};
        zones.stZoneMetrics[8][0] = zones.stZoneMetrics[0][8] = lit; // beyond the grid
        zones.stZoneMetrics[row][column] = lit;
        zones.stZoneMetrics[0][7].u16y = zones.stZoneMetrics[4][4].u16y = 60001;
        const bool counts = !isNight || zones.stZoneMetrics[row][column].u16y == 60000;
        const unsigned weight = counts ? weights[ring] : 0, centre = ring < 2 ? 0 : weight;
        const unsigned all = isNight ? 100 : 104, middle = isNight ? 33 : 36;
        const unsigned once = centre > 0 ? 1 : 0;
        const AF_Statistics_Info expected = {1,
                                             2,
                                             3,
                                             once * 65535,
                                             once * 65533,
                                             once * 65534,
                                             once * 65532,
                                             weight * 65534 / all,
                                             weight * second / all,
                                             centre * 65534 / middle,
                                             centre * second / middle};
        reduceZones(zones, &record);
        EXPECT_EQ(memcmp(&record, &expected, sizeof record), 0);
    }
    const AF_Statistics_Info expected = {1, 2, 3, 0, 0, 0, 0, 8, 9, 10, 11}; // keeps its averages
    record = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    for (auto &row : zones.stZoneMetrics)
        for (ISP_FOCUS_ZONE_S &zone : row)
            zone.u16y = 60001;
    reduceZones(zones, &record);
    EXPECT_EQ(memcmp(&record, &expected, sizeof record), 0);
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
