// A clock that nobody sets.
#pragma once

/// Microseconds; wraps after 71 minutes.
unsigned int monotonicUs();
