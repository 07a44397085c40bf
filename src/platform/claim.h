// What one thread at a time may hold: the motors, the preset table, a start in progress.
//
// One word names the holder, and taking it never waits. A thread that ends while it holds a claim,
// in whichever way, gives it back, so that nobody waits for it for ever.
#pragma once

#include <pthread.h>

/// Zero-initialised: nobody holds it.
struct Claim {
    pthread_t holder;
    Claim *heldBefore; ///< The next older one that the holder holds; the holder's own.
};

/// True when nobody held it, the caller included; then giveBackClaim() is due.
bool takeClaim(Claim *claim);

/// takeClaim(), tried about every millisecond until it succeeds or @p mostMs have passed. At once
/// false when the caller holds it already.
bool awaitClaim(Claim *claim, int mostMs);

/// Whether the caller holds it.
bool holdsClaim(const Claim *claim);

/// Give back what the caller has taken.
void giveBackClaim(Claim *claim);
