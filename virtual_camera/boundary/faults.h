// The back door through which tests make system calls fail.
//
// Calls are named as in C: open (all its variants), close, fcntl (to duplicate), ioctl, read,
// write, fsync, select, poll, fopen, access, unlink, remove, rename, chmod, socket, bind, listen,
// connect, accept, shmget, shmat, system, pthread_create, pthread_cond_timedwait, usleep, sleep,
// nanosleep, printf (everything that prints). What they are made on is a path, a device,
// "/dev/hi_gpio",
// "/dev/spidev1.0" or "serial", or "file" for the descriptor of a real one; for system it is the
// command; "" is any. A sleep that fails has been interrupted in its middle; a timed wait that
// fails does not wait. malloc and calloc fail only inside the library.
#pragma once

#include <cstdint>

namespace vcam {

constexpr int kAlways = -1;

/// Whether a failing call has had its effect by then: a frame that the chip has taken, a pulse that
/// has come. Only ioctl fails afterwards, every other call before.
enum class Strikes { No, Before, After };

/// Let the next @p count such calls fail with errno @p error, after @p passed have gone well.
void failCalls(const char *call, const char *subject, int count, int error, int passed = 0,
               Strikes when = Strikes::Before);

/// From now on each transfer, each open of the GPIO device and each call on it fails with
/// probability @p share, before or after its effect.
void failLinksAtRandom(double share, uint64_t seed);

/// From now on all calls work again.
void clearFaults();

/// For the boundary: whether this call fails now; errno is set if so.
bool failsNow(const char *call, const char *subject);

/// The same for a call that may also fail afterwards.
Strikes strikesNow(const char *call, const char *subject);

} // namespace vcam
