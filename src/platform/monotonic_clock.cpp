#include "platform/monotonic_clock.h"

#include <time.h>

static const unsigned int kUsPerSecond = 1000000;
static const long kNsPerUs = 1000;

unsigned int monotonicUs() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned int>(now.tv_sec) * kUsPerSecond +
           static_cast<unsigned int>(now.tv_nsec / kNsPerUs);
}
