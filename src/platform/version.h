// Several words that belong together, read by one thread while another changes them.
//
// A version word stands beside them: odd while they are being changed. Who reads looks at it before
// and after, and reads again when it has changed; who changes comes in one at a time. Between
// beginning and end nothing may wait, nor be cancelled.
#pragma once

#include "platform/shared_word.h"

#include <unistd.h>

/// The version of words that are whole now; waits while they are being changed.
inline unsigned int awaitWhole(const unsigned int *version) {
    const useconds_t retryUs = 100;
    unsigned int seen;
    while (((seen = loadWord(version)) & 1) != 0)
        usleep(retryUs);
    return seen;
}

/// Whether what has been read since version @p seen may be half old and half new.
inline bool hasChanged(const unsigned int *version, unsigned int seen) {
    return loadWord(version) != seen;
}

/// From here on they are being changed, by the caller alone; what endChange() is to be given.
inline unsigned int beginChange(unsigned int *version) {
    unsigned int former;
    do {
        former = awaitWhole(version);
    } while (!exchangeWord(version, former, former + 1));
    return former;
}

inline void endChange(unsigned int *version, unsigned int former) {
    storeWord(version, former + 2);
}
