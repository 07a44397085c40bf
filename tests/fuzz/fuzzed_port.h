// The serial port and the mailbox around the code that is fuzzed, and what may never happen to
// them.
//
// The library's calls of read, write, select, usleep, clock_gettime and pthread_detach are led here
// by the linker; those on other descriptors are libFuzzer's own and go on to libc.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzzed {

/// The port's number.
constexpr int kPort = 200;

/// An empty mailbox, and @p bytes on the port: after them it is quiet in between frames, and gives
/// terminators in the middle of one.
void beginRun(const uint8_t *bytes, size_t size);

/// Aborts, which is how libFuzzer learns of a finding.
void require(bool holds, const char *what);

/// What was stored in the mailbox is a command of the two command sets, a position only with the
/// command that needs one; what was sent is nothing or whole replies.
void requireSoundPort();

bool hasStored();
size_t sentSize();
const uint8_t *sentBytes();

/// When the bytes are used up, the port is quiet for @p ms of a clock of its own before it fails.
void fallSilentFor(int ms);

} // namespace fuzzed
