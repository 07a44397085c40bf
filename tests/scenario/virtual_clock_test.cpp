// Virtual time: who goes on when, what costs time, and how a camera that can't go on ends.
#include "scenario.h"

#include "clock/virtual_clock.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <unistd.h>

using namespace scenario;
using namespace std::chrono_literals;

/// What happened when, from several threads. Locked because a sanitizer doesn't see the turns that
/// the camera's threads take; nobody waits for the lock.
static std::mutex diaryLock;
static std::string diary;

static void note(const std::string &what) {
    const std::lock_guard<std::mutex> guard(diaryLock);
    diary += std::to_string(vcam::nowUs()) + " " + what + "\n";
}

TEST(VirtualClock, every_wait_ends_at_its_exact_instant) {
    static std::timed_mutex held;
    static std::mutex mutex;
    static std::condition_variable silent;
    const struct {
        void (*wait)();
        int64_t costUs;
    } rows[] = {
        {[] { usleep(0); }, 1},
        {[] { std::this_thread::sleep_for(1001ns); }, 2}, // rounded up
        {[] { EXPECT_FALSE(held.try_lock_until(std::chrono::system_clock::now() + 3ms)); }, 3000},
        {[] {
             std::unique_lock<std::mutex> guard(mutex);
             EXPECT_EQ(silent.wait_for(guard, 999us), std::cv_status::timeout);
         },
         999},
    };
    run([&] {
        held.lock();
        for (const auto &row : rows) {
            const int64_t beforeUs = vcam::nowUs();
            row.wait();
            EXPECT_EQ(vcam::nowUs() - beforeUs, row.costUs);
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
            const bool isLate = condition.wait_for(guard, 1ms) == std::cv_status::timeout;
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

TEST(VirtualClock, threads_due_at_once_go_on_as_registered_or_by_lots_that_a_seed_repeats) {
    const auto takeTurns = [] {
        std::vector<std::thread> threads;
        for (const char *name : {"a", "b", "c", "d"})
            threads.emplace_back([=] {
                for (int i = 0; i < 4; ++i)
                    usleep(10), printf("%s", name);
            });
        for (std::thread &thread : threads)
            thread.join();
    };
    const auto play = [&](uint64_t tieSeed) {
        vcam::CameraOptions options;
        options.tieSeed = tieSeed;
        return runToEnd(options, takeTurns).printed;
    };
    EXPECT_EQ(play(0), "abcdabcdabcdabcd");
    EXPECT_EQ(play(7), play(7));
    EXPECT_NE(play(7), play(0));
    EXPECT_NE(play(7), play(8));
}

TEST(VirtualClock, thread_keeps_its_turn_until_its_last_destructor) {
    run([] {
        pthread_key_t key;
        pthread_key_create(&key, [](void *) { usleep(70), note("destroyed"); });
        std::thread([&] { pthread_setspecific(key, &key); }).join();
        note("joined");
        EXPECT_EQ(diary, "70 destroyed\n70 joined\n");
    });
}

extern "C" __attribute__((visibility("default"))) void *waitInVain(void *) {
    std::mutex mutex;
    std::unique_lock<std::mutex> guard(mutex);
    std::condition_variable().wait(guard);
    return nullptr;
}

TEST(VirtualClock, deadlock_ends_the_process_with_the_thread_table) {
    const Ending ending = runToEnd({}, [] {
        for (int i = 0; i < 100; ++i) // each leaves its place in the table
            std::thread([] { usleep(10); }).join();
        pthread_t thread;
        pthread_create(&thread, nullptr, waitInVain, nullptr);
        usleep(500);
        pthread_join(thread, nullptr);
    });
    EXPECT_EQ(ending.status, 86);
    for (const char *line :
         {"\nvirtual camera stopped at 1500 us: every thread waits and none has a deadline\n",
          "\n  host                             join       no deadline\n",
          "\n  waitInVain                       condition  no deadline\n",
          "\n1000 host clock start thread=waitInVain\n"})
        EXPECT_NE(ending.said.find(line), std::string::npos) << ending.said;
}
