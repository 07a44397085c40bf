#include "af_ms419xx/vd_timing.h"

#include "autofocus/motor_driver.h"

// Columns: most steps in the first period of a soft start, most steps in a running period, period
// total in the chip's timing units (and VD period in us). Limits of 0 end the table.
const MS_VDTime_ST g_VDTAndStep[7] = {
    {{32, 80}, 19116},  //
    {{38, 96}, 22515},  //
    {{48, 120}, 28203}, //
    {{52, 129}, 29625}, //
    {{64, 160}, 37524}, //
    {{78, 192}, 45076}, //
    {{0, 0}, 0},        //
};

static const int kLongestTotal = 45076; // for steps beyond the table

int PSUMXICNTGet(int flag, unsigned char step) {
    if (!isTimingColumn(flag))
        return kLongestTotal;
    for (const MS_VDTime_ST *row = g_VDTAndStep; row->step[flag] != 0; ++row)
        if (row->step[flag] >= step)
            return static_cast<int>(row->psumxintct);
    return kLongestTotal;
}
