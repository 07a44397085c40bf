// Which period a tracked zoom step needs: the table, and the look-up shared by the registers'
// step period and the VD pulse's length.
#pragma once

#include "autofocus_service.h"

extern "C" {

/// Period total for @p step steps from column @p flag (0 first period of a soft start, 1 running).
int PSUMXICNTGet(int flag, unsigned char step);
}

/// Whether the table has a column @p flag.
inline bool isTimingColumn(int flag) {
    return flag == 0 || flag == 1;
}
