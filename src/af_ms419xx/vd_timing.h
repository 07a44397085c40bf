// Which period a tracked zoom step needs: the table, and the look-up shared by the registers'
// step period and the VD pulse's length.
#pragma once

// Columns of the table.
static const int kFirstPeriodColumn = 0; ///< First period of a soft start.
static const int kRunningColumn = 1;

extern "C" {

/// Period total for @p step steps from column @p flag.
int PSUMXICNTGet(int flag, unsigned char step);
}

/// Whether the table has a column @p flag.
inline bool isTimingColumn(int flag) {
    return flag == kFirstPeriodColumn || flag == kRunningColumn;
}
