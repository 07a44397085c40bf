#include "af_interface/statistics/zone_reduction.h"

#include "autofocus/host/settings.h"
#include "platform/shared_word.h"

const int Weight[kZoneRows][kZoneColumns] = {
    {1, 1, 1, 1, 1, 1, 1, 1}, //
    {1, 2, 2, 2, 2, 2, 2, 1}, //
    {1, 2, 2, 2, 2, 2, 2, 1}, //
    {1, 2, 2, 3, 3, 2, 2, 1}, //
    {1, 2, 2, 3, 3, 2, 2, 1}, //
    {1, 2, 2, 2, 2, 2, 2, 1}, //
    {1, 2, 2, 2, 2, 2, 2, 1}, //
    {1, 1, 1, 1, 1, 1, 1, 1}, //
};

// A lamp in the picture saturates its zone at night; its edges would outshine everything else.
static const unsigned int kSaturatedLuminance = 60000;
static const int kCentreFirst = 2;
static const int kCentreLast = 5;

// The second focus value mixes both directions: 54/64 horizontal, 10/64 vertical.
static const unsigned int kSecondHorizontal = 54;
static const unsigned int kSecondVertical = 10;
static const int kSecondShift = 6;

namespace {
struct WeightedSums {
    unsigned int first;
    unsigned int second;
    unsigned int weights;
};
} // namespace

static void addZone(const ISP_FOCUS_ZONE_S &zone, unsigned int weight, WeightedSums *sums) {
    const unsigned int first = zone.u16h1;
    const unsigned int second =
        (kSecondHorizontal * zone.u16h2 + kSecondVertical * zone.u16v2) >> kSecondShift;
    sums->first += weight * first;
    sums->second += weight * second;
    sums->weights += weight;
}

static void addCentreZone(const ISP_FOCUS_ZONE_S &zone, AF_Statistics_Info *record) {
    record->vV1SumHalf += zone.u16v1;
    record->vV2SumHalf += zone.u16v2;
    record->vH1SumHalf += zone.u16h1;
    record->vH2SumHalf += zone.u16h2;
}

static bool isSkipped(const ISP_FOCUS_ZONE_S &zone) {
    return loadWord(&g_ICUTState) == kIcutNight && zone.u16y > kSaturatedLuminance;
}

static bool isCentre(int i) {
    return i >= kCentreFirst && i <= kCentreLast;
}

static void average(const WeightedSums &sums, unsigned int *first, unsigned int *second) {
    if (sums.weights == 0)
        return;
    *first = sums.first / sums.weights;
    *second = sums.second / sums.weights;
}

void reduceZones(const ISP_FOCUS_STATISTICS_S &zones, AF_Statistics_Info *record) {
    WeightedSums all = {0, 0, 0};
    WeightedSums centre = {0, 0, 0};
    record->vV1SumHalf = record->vV2SumHalf = 0;
    record->vH1SumHalf = record->vH2SumHalf = 0;
    for (int i = 0; i < kZoneRows; ++i) {
        for (int j = 0; j < kZoneColumns; ++j) {
            const ISP_FOCUS_ZONE_S &zone = zones.stZoneMetrics[i][j];
            if (isSkipped(zone))
                continue;
            const unsigned int weight = static_cast<unsigned int>(Weight[i][j]);
            addZone(zone, weight, &all);
            if (isCentre(i) && isCentre(j)) {
                addZone(zone, weight, &centre);
                addCentreZone(zone, record);
            }
        }
    }
    average(all, &record->vwV1SumAll, &record->vwV2SumAll);
    average(centre, &record->vwV1SumHalf, &record->vwV2SumHalf);
}
