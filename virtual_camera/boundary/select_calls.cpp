// select and poll on registered threads: the simulated serial line and the process's own
// descriptors in any mixture. For the serial line alone the wait is exact; others are looked at now
// and then, in virtual time, which at real-time pace is what a person's terminal needs.
#include "boundary/calendar.h"
#include "boundary/faults.h"
#include "boundary/placeholders.h"
#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sys/select.h>

namespace vcam {

static constexpr int64_t kUsPerMs = 1000;

static NextCall<int(int, fd_set *, fd_set *, fd_set *, struct timeval *)> nextSelect{"select"};
static NextCall<int(struct pollfd *, nfds_t, int)> nextPoll{"poll"};

namespace {
/// What is asked about, by kind.
struct Asked {
    bool serialReading = false;
    bool serialWriting = false;
    bool closedOne = false; ///< A placeholder that is not open.
    bool ownOnes = false;   ///< Descriptors that are libc's affair.
};
} // namespace

static void addAsked(Asked &asked, int descriptor, bool isRead, bool isWritten) {
    const Device device = findDevice(descriptor);
    if (device == Device::None)
        asked.ownOnes = true;
    else if (device == Device::Closed)
        asked.closedOne = true;
    else if (device == Device::Serial) {
        asked.serialReading = asked.serialReading || isRead;
        asked.serialWriting = asked.serialWriting || isWritten;
    }
}

/// Wait until there may be something new to look at; false when the deadline had come before.
static bool waitForNews(const Asked &asked, int64_t deadlineUs) {
    if (nowUs() >= deadlineUs)
        return false;
    const int64_t untilUs =
        asked.ownOnes ? std::min(deadlineUs, nowUs() + kLookAgainUs) : deadlineUs;
    if (asked.serialReading)
        waitSerialReadable(untilUs);
    else
        sleepUntilUs(untilUs);
    return true;
}

// ---- select

namespace {
struct Sets {
    fd_set reading;
    fd_set writing;
    fd_set excepted;
};
} // namespace

static bool isIn(int descriptor, const fd_set *set) {
    return set != nullptr && FD_ISSET(descriptor, set);
}

static Asked takeAsked(int count, const fd_set *reading, const fd_set *writing,
                       const fd_set *excepted) {
    Asked asked;
    for (int descriptor = 0; descriptor < count; ++descriptor) {
        const bool isRead = isIn(descriptor, reading);
        const bool isWritten = isIn(descriptor, writing);
        if (isRead || isWritten || isIn(descriptor, excepted))
            addAsked(asked, descriptor, isRead, isWritten);
    }
    return asked;
}

static void copySet(fd_set *to, const fd_set *from) {
    if (to != nullptr && from != nullptr)
        *to = *from;
}

/// The serial line can always be written to. How many of its descriptor's bits were set.
static int addSerial(int descriptor, const Sets &question, Sets &sets) {
    int ready = 0;
    if (FD_ISSET(descriptor, &question.reading) && isSerialReadable()) {
        FD_SET(descriptor, &sets.reading);
        ++ready;
    }
    if (FD_ISSET(descriptor, &question.writing)) {
        FD_SET(descriptor, &sets.writing);
        ++ready;
    }
    return ready;
}

/// Which are ready now; the sets hold the question and then the answer. Placeholders lie in front
/// of a device that is always ready, so libc is asked about the others alone.
static int lookAtSets(int count, const Asked &asked, Sets &sets) {
    const Sets question = sets;
    for (int descriptor = 0; descriptor < count; ++descriptor) {
        if (findDevice(descriptor) == Device::None)
            continue;
        FD_CLR(descriptor, &sets.reading);
        FD_CLR(descriptor, &sets.writing);
        FD_CLR(descriptor, &sets.excepted);
    }
    struct timeval none = {0, 0};
    int ready = 0;
    if (asked.ownOnes)
        ready = nextSelect(count, &sets.reading, &sets.writing, &sets.excepted, &none);
    if (ready < 0)
        return ready;
    for (int descriptor = 0; descriptor < count; ++descriptor) {
        if (findDevice(descriptor) == Device::Serial)
            ready += addSerial(descriptor, question, sets);
    }
    return ready;
}

/// Linux leaves the time that was not slept.
static void storeTimeLeft(struct timeval *timeout, int64_t deadlineUs) {
    if (timeout == nullptr)
        return;
    *timeout = toTimeval(std::max<int64_t>(deadlineUs - nowUs(), 0));
}

static int answerSelect(int count, fd_set *reading, fd_set *writing, fd_set *excepted,
                        struct timeval *timeout) {
    const Unobserved unobserved;
    const Asked asked = takeAsked(count, reading, writing, excepted);
    if (failsNow("select", asked.serialReading || asked.serialWriting ? "serial" : ""))
        return -1;
    const bool isNegative = timeout != nullptr && (timeout->tv_sec < 0 || timeout->tv_usec < 0);
    if (asked.closedOne || isNegative) {
        errno = asked.closedOne ? EBADF : EINVAL;
        return -1;
    }
    const int64_t deadlineUs = timeout == nullptr ? kForeverUs : nowUs() + toUs(*timeout);
    Sets sets;
    int ready = 0;
    do {
        sets = Sets{};
        copySet(&sets.reading, reading);
        copySet(&sets.writing, writing);
        copySet(&sets.excepted, excepted);
        ready = lookAtSets(count, asked, sets);
    } while (ready == 0 && waitForNews(asked, deadlineUs));
    copySet(reading, &sets.reading);
    copySet(writing, &sets.writing);
    copySet(excepted, &sets.excepted);
    storeTimeLeft(timeout, deadlineUs);
    return ready;
}

// ---- poll

static short findEvents(const struct pollfd &entry) {
    const Device device = findDevice(entry.fd);
    if (device == Device::Closed)
        return POLLNVAL;
    const int readable = device == Device::Serial && isSerialReadable() ? POLLIN : 0;
    return static_cast<short>(entry.events & (readable | POLLOUT));
}

static Asked takeAsked(const struct pollfd *entries, nfds_t count) {
    Asked asked;
    for (nfds_t i = 0; i < count; ++i) {
        const bool isRead = (entries[i].events & POLLIN) != 0;
        const bool isWritten = (entries[i].events & POLLOUT) != 0;
        if (entries[i].fd >= 0)
            addAsked(asked, entries[i].fd, isRead, isWritten);
    }
    return asked;
}

static int lookAtEntries(struct pollfd *entries, nfds_t count) {
    if (nextPoll(entries, count, 0) < 0)
        return -1;
    int ready = 0;
    for (nfds_t i = 0; i < count; ++i) {
        if (findDevice(entries[i].fd) != Device::None)
            entries[i].revents = findEvents(entries[i]);
        ready += entries[i].revents != 0 ? 1 : 0;
    }
    return ready;
}

static int answerPoll(struct pollfd *entries, nfds_t count, int timeoutMs) {
    const Unobserved unobserved;
    if (failsNow("poll", ""))
        return -1;
    const Asked asked = takeAsked(entries, count);
    const int64_t deadlineUs = timeoutMs < 0 ? kForeverUs : nowUs() + timeoutMs * kUsPerMs;
    int ready = 0;
    do {
        ready = lookAtEntries(entries, count);
    } while (ready == 0 && waitForNews(asked, deadlineUs));
    return ready;
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int select(int count, fd_set *reading, fd_set *writing, fd_set *excepted, struct timeval *timeout) {
    return vcam::isRegisteredThread()
               ? vcam::answerSelect(count, reading, writing, excepted, timeout)
               : vcam::nextSelect(count, reading, writing, excepted, timeout);
}

int poll(struct pollfd *entries, nfds_t count, int timeoutMs) {
    return vcam::isRegisteredThread() ? vcam::answerPoll(entries, count, timeoutMs)
                                      : vcam::nextPoll(entries, count, timeoutMs);
}

int __poll_chk(struct pollfd *entries, nfds_t count, int timeoutMs, size_t) {
    return poll(entries, count, timeoutMs);
}
}
#pragma GCC visibility pop
