// How a host that waits for a signal is told to end.
#pragma once

namespace vcam {

/// What a SIGTERM does to a host that waits for it in sigwait, its relatives or pause. False when
/// no thread waits so. Called by the thread that holds the baton.
bool askHostToEnd();

} // namespace vcam
