// How late the statistics are, measured where a run has just found the peak.
#pragma once

/// Step off @p vertex twice and see how many frames it takes until the value says so. What is not
/// clear, or not the same twice, stays unknown. The lens stands beside the peak afterwards. @return
/// false when a command interrupts.
bool measureDelay(int vertex);
