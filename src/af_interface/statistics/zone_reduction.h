// From the 8 x 8 zone metrics to the sums of one focus record: plain arithmetic, no state.
#pragma once

#include "autofocus/statistics.h"
#include "platform/isp.h"

static const int kZoneRows = 8;
static const int kZoneColumns = 8;

/**
 * Reduce the zones of a frame into @p record; its gains are left alone.
 *
 * @param zones   metrics, row by row; the first 8 rows and 8 columns are read.
 * @param record  in: the previous record; out: sums and averages. An average whose every zone was
 *                skipped keeps its previous value.
 *
 * At night saturated zones are skipped. The night state is read once a zone, as the host may change
 * it in mid-frame.
 */
void reduceZones(const ISP_FOCUS_STATISTICS_S &zones, AF_Statistics_Info *record);
