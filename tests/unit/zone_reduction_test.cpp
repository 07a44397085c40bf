// From the ISP's zones to one focus record, and what the ISP is told to measure.
#include "fixtures.h"

#include "af_interface/statistics/statistics.h"
#include "af_interface/statistics/zone_reduction.h"

#include <cstring>

TEST(ZoneReduction, saturated_zone_counts_by_day_alone_and_averages_of_no_zone_stay) {
    const unsigned second = (54 * 65532 + 10 * 65533) / 64;
    const AF_Statistics_Info counted = {
        1, 2, 3, 16 * 65535, 16 * 65533, 16 * 65534, 16 * 65532, 65534, second, 65534, second};
    const struct {
        int icut;
        HI_U16 luminance;
        AF_Statistics_Info after;
    } rows[] = {
        {0, 60001, counted}, {1, 60000, counted}, {1, 60001, {1, 2, 3, 0, 0, 0, 0, 8, 9, 10, 11}}};
    for (const auto &row : rows) {
        AF_Statistics_Info record = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
        ISP_FOCUS_STATISTICS_S zones = {};
        for (int i = 0; i < 64; ++i)
            zones.stZoneMetrics[i / 8][i % 8] = {65535, 65534, 65533, 65532, row.luminance};
        g_ICUTState = row.icut;
        reduceZones(zones, &record);
        EXPECT_EQ(memcmp(&record, &row.after, sizeof record), 0) << "row " << &row - rows;
    }
}

TEST(FocusValues, whole_picture_decides_from_tag_point_13_on_and_its_centre_before) {
    AF_Statistics_Info record = {};
    record.vwV1SumAll = record.vwV2SumAll = 1;
    for (int tag = 0; tag < 16; ++tag) {
        EXPECT_EQ(focusValueAt(tag, record), tag < 13 ? 0u : 1u) << tag;
        EXPECT_EQ(secondFocusValueAt(tag, record), tag < 13 ? 0u : 1u) << tag;
    }
}
