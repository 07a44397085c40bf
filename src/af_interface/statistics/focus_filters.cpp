#include "af_interface/statistics/focus_filters.h"

#include "af_interface/statistics/zone_reduction.h"

#include <string.h>

static const HI_U16 kDefaultWidth = 1920; // always replaced by the ISP's window
static const HI_U16 kDefaultHeight = 1080;

template <typename Member, typename Value, int kCount>
static void copyCoefficients(Member (&to)[kCount], const Value (&from)[kCount]) {
    for (int i = 0; i < kCount; ++i)
        to[i] = static_cast<Member>(from[i]);
}

template <typename Filter>
static void setHorizontalFilter(Filter *filter, const int (&enable)[3], const int (&gain)[7],
                                const int (&shift)[4], int threshold) {
    copyCoefficients(filter->abIIREn, enable);
    copyCoefficients(filter->as16IIRGain, gain);
    copyCoefficients(filter->au16IIRShift, shift);
    filter->u16IIRThd = static_cast<HI_U16>(threshold);
}

template <typename Filter>
static void setVerticalFilter(Filter *filter, const int (&taps)[5], int threshold) {
    copyCoefficients(filter->as16FIRH, taps);
    filter->u16FIRThd = static_cast<HI_U16>(threshold);
}

ISP_FOCUS_STATISTICS_CFG_S makeFocusConfiguration() {
    ISP_FOCUS_STATISTICS_CFG_S cfg;
    memset(&cfg, 0, sizeof cfg);
    cfg.stConfig.bEnable = HI_TRUE;
    cfg.stConfig.u16Hwnd = kZoneColumns;
    cfg.stConfig.u16Vwnd = kZoneRows;
    cfg.stConfig.u16Hsize = kDefaultWidth;
    cfg.stConfig.u16Vsize = kDefaultHeight;
    cfg.stConfig.enPeakMode = ISP_AF_STA_PEAK;
    cfg.stConfig.enSquMode = ISP_AF_STA_SUM_NORM;
    setHorizontalFilter(&cfg.stHParam_IIR0, {0, 1, 1}, {188, 0, 0, 414, -165, 400, -164},
                        {7, 0, 3, 2}, 127);
    setHorizontalFilter(&cfg.stHParam_IIR1, {0, 1, 0}, {200, 0, 0, 200, -55, 0, 0}, {6, 0, 1, 0},
                        31);
    setVerticalFilter(&cfg.stVParam_FIR0, {-6, 12, 22, 12, -6}, 127);
    setVerticalFilter(&cfg.stVParam_FIR1, {-16, 21, 0, -21, 16}, 10);
    cfg.stFVParam.u16AccShiftY = 5;
    copyCoefficients(cfg.stFVParam.au16AccShiftH, {0, 0});
    copyCoefficients(cfg.stFVParam.au16AccShiftV, {3, 2});
    return cfg;
}
