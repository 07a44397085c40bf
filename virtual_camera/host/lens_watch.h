// What a story, a bench or a test asks of the lens from a host's side, and what it waits for.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "autofocus/types.h"

namespace vcam {

/// Mailbox argument first, then the code, as a host does through the exported record.
void command(AF_CMD_em code, unsigned value = 0);

/// Whether the mailbox holds CMD_NONE with the refocus trigger armed.
bool isIdle();

/// Whether the mailbox holds what no handler replaces, or there is none any more.
bool isStanding();

/// Let virtual time pass until @p isDone, which is asked every @p lookUs; false after @p limitUs.
bool awaitUntil(const std::function<bool()> &isDone, int64_t limitUs, int64_t lookUs);

/// The same until the lens is standing and no VD period has run for two seconds, which is longer
/// than the refocus trigger takes to fire; @p watch is called at every look. Not by the positions:
/// a motor that is driven into its stop, or never got its words, stands still in the middle of a
/// move.
bool awaitSettled(int64_t limitUs, int64_t lookUs, const std::function<void()> &watch);

/// Whether the library counts where the lens truly is.
bool areCountersTrue();

/// Counters that are not true, lost steps, violations; one line each.
std::vector<std::string> findUnsound();

} // namespace vcam
