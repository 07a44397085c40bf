// Waiting for a signal, on registered threads. Real signals, from a person's keyboard, are looked
// for now and then in virtual time; the one that ends a run comes at its exact virtual instant.
#include "boundary/signal_calls.h"

#include "boundary/calendar.h"
#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/virtual_clock.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace vcam {

static WaitQueue hosts{"signal"};
static int hostsWaiting; // for SIGTERM
static bool isEndDue;

static NextCall<int(const sigset_t *, int *)> nextSigwait{"sigwait"};
static NextCall<int(const sigset_t *, siginfo_t *)> nextSigwaitinfo{"sigwaitinfo"};
static NextCall<int(const sigset_t *, siginfo_t *, const struct timespec *)> nextSigtimedwait{
    "sigtimedwait"};
static NextCall<int()> nextPause{"pause"};

bool askHostToEnd() {
    if (hostsWaiting == 0)
        return false;
    isEndDue = true;
    wakeOne(hosts);
    return true;
}

/// Whether the host has been asked; the one who finds out obeys.
static bool takeEnd() {
    const bool wasDue = isEndDue;
    isEndDue = false;
    return wasDue;
}

static void waitForEnd(int64_t deadlineUs) {
    ++hostsWaiting;
    waitFor(hosts, std::min(deadlineUs, nowUs() + kLookAgainUs));
    --hostsWaiting;
}

/// The signal's number, or -1 with errno as sigtimedwait sets it.
static int awaitSignal(const sigset_t *set, siginfo_t *info, int64_t deadlineUs) {
    const bool endsHost = sigismember(set, SIGTERM) == 1;
    const struct timespec none = {0, 0};
    for (;;) {
        const int signalNumber = nextSigtimedwait(set, info, &none);
        const bool nothingPends = signalNumber < 0 && errno == EAGAIN;
        if (endsHost && nothingPends && takeEnd()) {
            if (info != nullptr) {
                *info = siginfo_t{};
                info->si_signo = SIGTERM;
            }
            return SIGTERM;
        }
        if (!nothingPends || nowUs() >= deadlineUs)
            return signalNumber;
        if (endsHost)
            waitForEnd(deadlineUs);
        else
            sleepUntilUs(std::min(deadlineUs, nowUs() + kLookAgainUs));
    }
}

static void pauseUntilHandled() {
    currentThread->wasInterrupted = false;
    while (!currentThread->wasInterrupted) {
        if (takeEnd()) {
            raise(SIGTERM);
            return;
        }
        waitForEnd(kForeverUs);
    }
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int sigwait(const sigset_t *__restrict set, int *__restrict result) {
    if (!vcam::isRegisteredThread())
        return vcam::nextSigwait(set, result);
    int signalNumber = -1;
    do {
        signalNumber = vcam::awaitSignal(set, nullptr, vcam::kForeverUs);
    } while (signalNumber < 0 && errno == EINTR);
    if (signalNumber < 0)
        return errno;
    *result = signalNumber;
    return 0;
}

int sigwaitinfo(const sigset_t *__restrict set, siginfo_t *__restrict info) {
    return vcam::isRegisteredThread() ? vcam::awaitSignal(set, info, vcam::kForeverUs)
                                      : vcam::nextSigwaitinfo(set, info);
}

int sigtimedwait(const sigset_t *__restrict set, siginfo_t *__restrict info,
                 const struct timespec *__restrict timeout) {
    if (!vcam::isRegisteredThread() || (timeout != nullptr && !vcam::hasValidNs(*timeout)))
        return vcam::nextSigtimedwait(set, info, timeout);
    if (timeout == nullptr)
        return vcam::awaitSignal(set, info, vcam::kForeverUs);
    return vcam::awaitSignal(set, info, vcam::nowUs() + vcam::toUsUp(*timeout));
}

int pause() {
    if (!vcam::isRegisteredThread())
        return vcam::nextPause();
    vcam::pauseUntilHandled();
    errno = EINTR;
    return -1;
}
}
#pragma GCC visibility pop
