#include "platform/claim.h"

#include "platform/monotonic_clock.h"
#include "platform/shared_word.h"

#include <unistd.h>

static const useconds_t kRetryUs = 1000;
static const unsigned int kUsPerMs = 1000;
static const pthread_t kNobody = pthread_t();

// Each thread's own list of what it holds, youngest first, for the end of the thread. Where no key
// is to be had, a thread that ends early keeps its claims, and nothing else is lost.
static pthread_once_t keyIsMade = PTHREAD_ONCE_INIT;
static pthread_key_t heldClaims;
static bool hasKey = false;

static void giveBackAll(void *youngest) {
    for (Claim *claim = static_cast<Claim *>(youngest); claim != nullptr;) {
        Claim *const older = claim->heldBefore; // another thread's as soon as it is given back
        storeWord(&claim->holder, kNobody);
        claim = older;
    }
}

static void makeKey() {
    hasKey = pthread_key_create(&heldClaims, giveBackAll) == 0;
}

bool takeClaim(Claim *claim) {
    pthread_once(&keyIsMade, makeKey);
    if (!exchangeWord(&claim->holder, kNobody, pthread_self()))
        return false;
    if (hasKey) {
        claim->heldBefore = static_cast<Claim *>(pthread_getspecific(heldClaims));
        pthread_setspecific(heldClaims, claim);
    }
    return true;
}

bool holdsClaim(const Claim *claim) {
    return pthread_equal(loadWord(&claim->holder), pthread_self()) != 0;
}

bool awaitClaim(Claim *claim, int mostMs) {
    const unsigned int startUs = monotonicUs();
    while (!takeClaim(claim)) {
        if (holdsClaim(claim) ||
            monotonicUs() - startUs >= static_cast<unsigned int>(mostMs) * kUsPerMs)
            return false;
        usleep(kRetryUs);
    }
    return true;
}

// Claims are given back in the reverse order of taking: the youngest is the head of the list.
void giveBackClaim(Claim *claim) {
    if (hasKey)
        pthread_setspecific(heldClaims, claim->heldBefore);
    storeWord(&claim->holder, kNobody);
}
