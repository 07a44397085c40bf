// The focus record of the last frame, and the wait for the next one.
//
// The statistics thread publishes a record a frame; the threads that move the focus wait for it.
// afv_lock guards the record and is held for nothing else.
#pragma once

#include "autofocus/statistics.h" // IWYU pragma: export

/// Publish @p record and wake one waiter. Statistics thread.
void publishStatistics(const AF_Statistics_Info &record);

/// Records published since the library was loaded; wraps. Any thread.
unsigned int countRecords();

/// The last record, without waiting. Any thread.
AF_Statistics_Info latestStatistics();

/// Whether the whole picture is judged at zoom tag @p index1, not its centre.
bool isJudgedByAll(int index1);

/// The first focus value that is judged at zoom tag @p index1: whole picture in the last sections
/// toward tele, centre elsewhere.
unsigned int focusValueAt(int index1, const AF_Statistics_Info &record);

/// The second focus value by the same rule.
unsigned int secondFocusValueAt(int index1, const AF_Statistics_Info &record);
