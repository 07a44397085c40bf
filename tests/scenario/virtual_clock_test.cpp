// Virtual time: who goes on when, what costs time, and how a camera that can't go on ends.
#include "scenario.h"

#include "clock/virtual_clock.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <thread>
#include <unistd.h>

using namespace scenario;

/// What happened when, from several threads. Locked because a sanitizer doesn't see the turns that
/// the camera's threads take; nobody waits for the lock.
static std::mutex diaryLock;
static std::string diary;

static void note(const std::string &what) {
    const std::lock_guard<std::mutex> guard(diaryLock);
    diary += std::to_string(vcam::nowUs()) + " " + what + "\n";
}

/// So many microseconds after power-on, by the calendar.
static timespec dateAt(int64_t us) {
    return {static_cast<time_t>(1704067200 + us / 1000000), static_cast<long>(us % 1000000 * 1000)};
}

static int sleepNs(long ns) {
    const timespec time = {0, ns};
    return nanosleep(&time, nullptr) == 0 ? 0 : errno;
}

static int sleepUntil(timespec time) {
    return clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &time, nullptr);
}

static pthread_mutex_t heldMutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t silentCondition = PTHREAD_COND_INITIALIZER;

static int waitForSilence(timespec time) {
    return pthread_cond_timedwait(&silentCondition, &heldMutex, &time);
}

static int lockHeld(timespec time) {
    return pthread_mutex_timedlock(&heldMutex, &time);
}

TEST(VirtualClock, threads_go_on_by_deadline_and_ties_by_order_of_start) {
    run([] {
        std::thread late([] { usleep(300), note("late"); });
        // Two waits: its last one begins after the other's, and still it was started first.
        std::thread first([] { usleep(50), usleep(50), note("first"); });
        std::thread second([] { usleep(100), note("second"); });
        note("started");
        usleep(100);
        note("host");
        for (std::thread *thread : {&late, &first, &second})
            thread->join();
        note("joined");
        EXPECT_EQ(diary, "0 started\n100 host\n100 first\n100 second\n300 late\n300 joined\n");
    });
}

TEST(VirtualClock, every_wait_ends_at_its_exact_instant) {
    const struct {
        const char *wait;
        int (*call)();
        int result;
        int64_t costUs;
    } rows[] = {
        {"usleep", [] { return usleep(12345); }, 0, 12345},
        {"usleep of nothing", [] { return usleep(0); }, 0, 1},
        {"sleep", [] { return int(sleep(7)); }, 0, 7000000},
        {"sched_yield", [] { return sched_yield(); }, 0, 1},
        {"nanosleep rounds up", [] { return sleepNs(1001); }, 0, 2},
        {"nanosleep uncarried", [] { return sleepNs(1000000000); }, EINVAL, 0},
        // at 7012349 us by now
        {"date", [] { return sleepUntil(dateAt(8000000)); }, 0, 987651},
        {"past date", [] { return sleepUntil(dateAt(5)); }, 0, 0},
        {"condition", [] { return waitForSilence(dateAt(8000999)); }, ETIMEDOUT, 999},
        {"bad condition",
         [] {
             return waitForSilence(timespec{2000000000, -1});
         },
         EINVAL, 0},
        {"mutex", [] { return lockHeld(dateAt(8001000)); }, ETIMEDOUT, 1},
        {"poll of nothing", [] { return poll(nullptr, 0, 30); }, 0, 30000},
    };
    run([&] {
        pthread_mutex_lock(&heldMutex);
        for (const auto &row : rows) {
            const int64_t beforeUs = vcam::nowUs();
            EXPECT_EQ(row.call(), row.result) << row.wait;
            EXPECT_EQ(vcam::nowUs() - beforeUs, row.costUs) << row.wait;
            EXPECT_EQ(pthread_mutex_trylock(&heldMutex), EBUSY) << row.wait; // held as before
        }
    });
}

TEST(VirtualClock, looking_is_free_until_a_loop_does_nothing_else) {
    run([] {
        for (int64_t startUs : {0, 101}) {
            for (int i = 0; i < 4096; i++)
                EXPECT_EQ(time(nullptr), 1704067200);
            EXPECT_EQ(vcam::nowUs(), startUs);
            for (int i = 0; i < 100; i++)
                close(open("/dev/hi_gpio", O_RDONLY));
            EXPECT_EQ(vcam::nowUs(), startUs + 100);
            usleep(1); // a wait makes the next ones free again
        }
    });
}

TEST(VirtualClock, mutex_and_signal_go_to_the_longest_waiter_and_a_broadcast_to_everybody) {
    run([] {
        std::mutex mutex;
        std::condition_variable condition;
        const auto wait = [&](const char *name, useconds_t startUs) {
            usleep(startUs);
            std::unique_lock<std::mutex> guard(mutex);
            const auto limit = std::chrono::milliseconds(1);
            const bool isLate = condition.wait_for(guard, limit) == std::cv_status::timeout;
            note(name + std::string(isLate ? " late" : ""));
            usleep(10);
        };
        condition.notify_all(); // nobody waits: lost
        std::thread lock([&] { usleep(320), mutex.lock(), note("lock"), mutex.unlock(); });
        std::thread a(wait, "a", 30);
        std::thread b(wait, "b", 10);
        std::thread c(wait, "c", 20);
        std::thread d(wait, "d", 500);
        usleep(100);
        condition.notify_one();
        usleep(100);
        mutex.lock();
        condition.notify_all();
        usleep(150);
        mutex.unlock();
        note("unlocked"); // who unlocks runs on
        for (std::thread *thread : {&lock, &a, &b, &c, &d})
            thread->join();
        EXPECT_EQ(diary, "100 b\n350 unlocked\n350 a\n360 c\n370 lock\n1500 d late\n");
    });
}

extern "C" __attribute__((visibility("default"))) void *waitInVain(void *) {
    pthread_mutex_lock(&heldMutex);
    pthread_cond_wait(&silentCondition, &heldMutex);
    return nullptr;
}

TEST(VirtualClock, deadlock_ends_the_process_with_the_thread_table) {
    const Ending ending = runToEnd({}, [] {
        for (int i = 0; i < 100; i++) // each leaves its place in the table
            std::thread([] { usleep(10); }).join();
        pthread_t thread;
        pthread_create(&thread, nullptr, waitInVain, nullptr);
        usleep(500);
        pthread_join(thread, nullptr);
    });
    EXPECT_EQ(ending.status, 86);
    char table[300];
    snprintf(table, sizeof(table),
             "\nvirtual camera stopped at 1500 us: every thread waits and none has a deadline\n"
             "threads:\n  %-32s join       no deadline\n  %-32s condition  no deadline\n"
             "last of the trace:\n",
             "host", "waitInVain");
    EXPECT_EQ(ending.said.substr(0, strlen(table)), table);
    EXPECT_NE(ending.said.find("\n1000 host clock start thread=waitInVain\n"), std::string::npos);
}
