// Ends the process when a thread computes on and on without ever waiting: time would stand still
// for everybody, and no test's virtual time limit would ever come.
#pragma once

namespace vcam {

/// Watch from now on. Without an argument: about ten real seconds, a minute under a sanitizer;
/// 0 stops watching, for a host that blocks on people. Uses SIGALRM and the real-time timer.
void startWatchdog();
void startWatchdog(int patienceSeconds);

/// Tells the watchdog that the process sleeps in real time, on purpose, until it says otherwise.
void allowRealSleep(bool allowed);

} // namespace vcam
