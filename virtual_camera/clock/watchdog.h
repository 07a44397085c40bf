// Ends the process when a thread computes on and on without ever waiting: time would stand still
// for everybody, and no limit in virtual time would ever be reached.
#pragma once

namespace vcam {

/// Watch from now on, on a real thread of its own. Patience is ten seconds of the process's
/// processor time without a wait, a minute under a sanitizer and in a 32-bit process, which is an
/// emulated one where people develop: a machine that is busy with other things takes none of it.
/// A thread that blocks for real takes none either: five minutes without a wait are enough for all.
void startWatchdog();

/// For good: time stands still on purpose.
void stopWatchdog();

} // namespace vcam
