// Virtual time: who goes on when, what costs time, and how a camera that can't go on ends.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/serial_port.h"

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

namespace {

constexpr int64_t kNsPerUs = 1000;
constexpr int64_t kUsPerSecond = 1000000;

using Lines = std::vector<std::string>;

/// What happened when, from several threads. Locked because a sanitizer doesn't see the turns that
/// the camera's threads take; nobody waits for the lock.
class Diary {
public:
    void note(const std::string &what) {
        const std::lock_guard<std::mutex> guard(lock);
        lines_.push_back(std::to_string(vcam::nowUs()) + " " + what);
    }
    const Lines &lines() const { return lines_; }

private:
    std::mutex lock;
    Lines lines_;
};

timespec toTimespec(int64_t us) {
    return {static_cast<time_t>(us / kUsPerSecond),
            static_cast<long>(us % kUsPerSecond * kNsPerUs)};
}

/// An instant so many microseconds from now on one of the clocks.
timespec after(clockid_t clock, int64_t us) {
    timespec time = {};
    clock_gettime(clock, &time);
    return toTimespec(time.tv_sec * kUsPerSecond + time.tv_nsec / kNsPerUs + us);
}

int sleepNs(long ns) {
    const timespec time = {0, ns};
    return nanosleep(&time, nullptr) == 0 ? 0 : errno;
}

int sleepUntil(clockid_t clock, int64_t us) {
    const timespec time = after(clock, us);
    return clock_nanosleep(clock, TIMER_ABSTIME, &time, nullptr);
}

pthread_mutex_t heldMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t silentCondition = PTHREAD_COND_INITIALIZER;

int waitForSilence(timespec time) {
    return pthread_cond_timedwait(&silentCondition, &heldMutex, &time);
}

int lockHeldUntil(timespec time) {
    return pthread_mutex_timedlock(&heldMutex, &time);
}

int waitForStandardSilence(int ms) {
    std::mutex mutex;
    std::condition_variable condition;
    std::unique_lock<std::mutex> guard(mutex);
    return condition.wait_for(guard, std::chrono::milliseconds(ms)) == std::cv_status::timeout;
}

} // namespace

TEST(VirtualClock, threads_go_on_by_deadline_and_ties_by_order_of_start) {
    run([] {
        Diary diary;
        std::thread late([&] { usleep(300), diary.note("late"); });
        // Two waits: its last one begins after the other's, and still it was started first.
        std::thread first([&] { usleep(50), usleep(50), diary.note("first"); });
        std::thread second([&] { usleep(100), diary.note("second"); });
        std::thread middle([&] { usleep(200), diary.note("middle"); });
        diary.note("started");
        usleep(100);
        diary.note("host");
        for (std::thread *thread : {&late, &first, &second, &middle})
            thread->join();
        diary.note("joined");
        EXPECT_EQ(diary.lines(), (Lines{"0 started", "100 host", "100 first", "100 second",
                                        "200 middle", "300 late", "300 joined"}));
    });
}

TEST(VirtualClock, every_wait_ends_at_its_exact_instant) {
    struct Row {
        const char *wait;
        std::function<int()> call;
        int result;
        int64_t costUs;
    };
    const Row rows[] = {
        {"usleep", [] { return usleep(12345); }, 0, 12345},
        {"usleep of nothing", [] { return usleep(0); }, 0, 1},
        {"sleep", [] { return int(sleep(7)); }, 0, 7000000},
        {"sched_yield", [] { return sched_yield(); }, 0, 1},
        {"nanosleep", [] { return sleepNs(1000); }, 0, 1},
        {"nanosleep rounds up", [] { return sleepNs(1001); }, 0, 2},
        {"nanosleep uncarried", [] { return sleepNs(1000000000); }, EINVAL, 0},
        {"instant", [] { return sleepUntil(CLOCK_MONOTONIC, 5000); }, 0, 5000},
        {"date", [] { return sleepUntil(CLOCK_REALTIME, 5000); }, 0, 5000},
        {"past instant", [] { return sleepUntil(CLOCK_MONOTONIC, -5000); }, 0, 0},
        {"condition", [] { return waitForSilence(after(CLOCK_REALTIME, 999)); }, ETIMEDOUT, 999},
        {"late condition",
         [] {
             return waitForSilence({0, 0});
         },
         ETIMEDOUT, 0},
        {"bad condition",
         [] {
             return waitForSilence({2147483647, -1});
         },
         EINVAL, 0},
        {"mutex", [] { return lockHeldUntil(after(CLOCK_REALTIME, 3000)); }, ETIMEDOUT, 3000},
        {"bad mutex",
         [] {
             return lockHeldUntil({2147483647, 1000000000});
         },
         EINVAL, 0},
        {"standard condition", [] { return waitForStandardSilence(20); }, 1, 20000},
        {"poll of nothing", [] { return poll(nullptr, 0, 30); }, 0, 30000},
    };
    run([&] {
        pthread_mutex_lock(&heldMutex);
        for (const Row &row : rows) {
            const int64_t beforeUs = vcam::nowUs();
            EXPECT_EQ(row.call(), row.result) << row.wait;
            EXPECT_EQ(vcam::nowUs() - beforeUs, row.costUs) << row.wait;
            EXPECT_EQ(pthread_mutex_trylock(&heldMutex), EBUSY) << row.wait; // held as before
        }
    });
}

TEST(VirtualClock, looking_is_free_until_a_loop_does_nothing_else) {
    constexpr int kFree = 4096;
    const std::function<void()> looks[] = {
        [] { after(CLOCK_MONOTONIC, 0); },
        [] { std::chrono::system_clock::now(); },
        [] { time(nullptr); },
        [] { pthread_mutex_trylock(&heldMutex); },
        [] { close(open("/dev/hi_gpio", O_RDONLY)); },
    };
    run([&] {
        EXPECT_EQ(time(nullptr), 1704067200);
        EXPECT_EQ(after(CLOCK_MONOTONIC, 0).tv_sec, 0);
        for (const auto &look : looks) {
            usleep(1); // a wait makes the next ones free again
            const int64_t beforeUs = vcam::nowUs();
            for (int i = 0; i < kFree; i++)
                look();
            EXPECT_EQ(vcam::nowUs() - beforeUs, 0) << "look " << &look - looks;
            for (int i = 0; i < 100; i++)
                look();
            EXPECT_EQ(vcam::nowUs() - beforeUs, 100) << "look " << &look - looks;
        }
    });
}

TEST(VirtualClock, contended_mutex_goes_to_the_longest_waiter_at_the_unlock) {
    run([] {
        Diary diary;
        std::mutex mutex;
        auto use = [&](const char *name, useconds_t startUs, useconds_t holdUs) {
            usleep(startUs);
            const std::lock_guard<std::mutex> guard(mutex);
            diary.note(name);
            usleep(holdUs);
        };
        mutex.lock();
        std::thread second(use, "second", 20, 500);
        std::thread first(use, "first", 10, 500);
        usleep(1000);
        mutex.unlock();
        diary.note("unlocked"); // who unlocks runs on
        second.join();
        first.join();
        EXPECT_EQ(diary.lines(), (Lines{"1000 unlocked", "1000 first", "1500 second"}));
    });
}

TEST(VirtualClock, signal_wakes_the_longest_waiter_and_broadcast_everybody) {
    run([] {
        Diary diary;
        std::mutex mutex;
        std::condition_variable condition;
        auto wait = [&](const char *name, useconds_t startUs) {
            usleep(startUs);
            std::unique_lock<std::mutex> guard(mutex);
            const auto limit = std::chrono::milliseconds(1);
            const bool isLate = condition.wait_for(guard, limit) == std::cv_status::timeout;
            diary.note(std::string(name) + (isLate ? " late" : ""));
        };
        condition.notify_all(); // nobody waits: lost
        std::thread a(wait, "a", 30);
        std::thread b(wait, "b", 10);
        std::thread c(wait, "c", 20);
        std::thread d(wait, "d", 40);
        std::thread e(wait, "e", 500);
        usleep(100);
        condition.notify_one();
        usleep(100);
        condition.notify_one();
        usleep(100);
        condition.notify_all();
        for (std::thread *thread : {&a, &b, &c, &d, &e})
            thread->join();
        EXPECT_EQ(diary.lines(), (Lines{"100 b", "200 c", "300 a", "300 d", "1500 e late"}));
    });
}

TEST(VirtualClock, threads_that_ended_leave_their_place) {
    run([] {
        for (int i = 0; i < 200; i++) {
            std::thread([] { usleep(10); }).join();
            EXPECT_EQ(vcam::nowUs(), (i + 1) * 10);
        }
        const auto sleepLong = [](void *) -> void * { return usleep(100), nullptr; };
        std::vector<pthread_t> threads(63); // the 64th is the host
        for (pthread_t &thread : threads)
            EXPECT_EQ(pthread_create(&thread, nullptr, sleepLong, nullptr), 0);
        pthread_t tooMany;
        EXPECT_EQ(pthread_create(&tooMany, nullptr, sleepLong, nullptr), EAGAIN);
        for (const pthread_t thread : threads)
            pthread_join(thread, nullptr);
    });
}

extern "C" __attribute__((visibility("default"))) void *waitInVain(void *) {
    pthread_mutex_lock(&heldMutex);
    pthread_cond_wait(&silentCondition, &heldMutex);
    return nullptr;
}

TEST(VirtualClock, deadlock_ends_the_process_with_the_thread_table) {
    struct Row {
        const char *waitKind;
        std::function<void(pthread_t)> wait;
    };
    uint8_t byte;
    const Row rows[] = {
        {"mutex",
         [](pthread_t) { pthread_mutex_lock(&heldMutex), pthread_mutex_lock(&heldMutex); }},
        {"condition", [](pthread_t) { waitInVain(nullptr); }},
        {"join", [](pthread_t thread) { pthread_join(thread, nullptr); }},
        {"serial", [&](pthread_t) { EXPECT_EQ(read(vcam::serialDescriptor(), &byte, 1), 1); }},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.waitKind);
        const Ending ending = runToEnd({}, [&] {
            pthread_t thread;
            pthread_create(&thread, nullptr, waitInVain, nullptr);
            usleep(1500);
            row.wait(thread);
        });
        EXPECT_EQ(ending.status, 86);
        char table[300];
        snprintf(table, sizeof(table),
                 "\nvirtual camera stopped at 1500 us: every thread waits and none has a deadline\n"
                 "threads:\n  %-32s %-10s no deadline\n  %-32s %-10s no deadline\n"
                 "last of the trace:\n",
                 "host", row.waitKind, "waitInVain", "condition");
        EXPECT_EQ(ending.said.substr(0, strlen(table)), table);
        const std::string lastLine = "\n0 host clock start thread=waitInVain\n";
        EXPECT_EQ(ending.said.rfind(lastLine), ending.said.size() - lastLine.size());
    }
}
