// What belongs to a thread stays with it from turn to turn, on contexts and on kernel threads.
#include "scenario.h"

#include "clock/virtual_clock.h"

#include <cerrno>
#include <exception>
#include <stdexcept>
#include <thread>

using namespace scenario;

static void runBothWays(const std::function<void()> &body) {
    for (const bool onKernelThreads : {false, true}) {
        SCOPED_TRACE(onKernelThreads ? "on kernel threads" : "on contexts");
        vcam::CameraOptions options;
        options.kernelThreads = onKernelThreads;
        run(options, body);
    }
}

/// Two threads whose turns alternate every 10 us.
static void interleave(const std::function<void(int number)> &body) {
    std::thread first([&] { body(1); });
    std::thread second([&] { body(2); });
    first.join();
    second.join();
}

TEST(Turns, keep_errno_and_the_exception_that_is_being_handled) {
    runBothWays([] {
        interleave([](int number) {
            for (int turn = 0; turn < 5; ++turn) {
                errno = number;
                try {
                    throw std::runtime_error(std::to_string(number));
                } catch (const std::runtime_error &) {
                    vcam::sleepUs(10);
                    EXPECT_EQ(errno, number);
                    try {
                        std::rethrow_exception(std::current_exception());
                    } catch (const std::runtime_error &error) {
                        EXPECT_EQ(error.what(), std::to_string(number));
                    }
                }
                EXPECT_EQ(std::uncaught_exceptions(), 0);
            }
        });
    });
}

namespace {
struct SleepsAtItsEnd {
    ~SleepsAtItsEnd() { vcam::sleepUs(10); }
};
} // namespace

static void *exitDeeply(void *result) {
    const SleepsAtItsEnd one;
    [result] {
        const SleepsAtItsEnd two;
        pthread_exit(result);
    }();
    return nullptr;
}

TEST(Turns, let_threads_exit_side_by_side_each_with_its_own_result) {
    runBothWays([] {
        int results[3];
        pthread_t threads[3];
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(pthread_create(&threads[i], nullptr, exitDeeply, &results[i]), 0);
        for (int i = 0; i < 3; ++i) {
            void *result = nullptr;
            EXPECT_EQ(pthread_join(threads[i], &result), 0);
            EXPECT_EQ(result, &results[i]);
        }
    });
}

TEST(Turns, refuse_a_thread_that_joins_itself) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "this sanitizer's runtime ends the process";
#endif
    runBothWays([] {
        std::thread([] { EXPECT_EQ(pthread_join(pthread_self(), nullptr), EDEADLK); }).join();
    });
}

static int dig(volatile char *above, int depth) {
    volatile char room[1024];
    room[0] = above[0];
    return depth == 0 ? 0 : dig(room, depth - 1) + room[0];
}

TEST(Turns, end_the_process_when_a_stack_is_overrun) {
    const Ending ending = runToEnd({}, [] {
        std::thread([] {
            volatile char top = 0;
            dig(&top, 1 << 20);
        }).join();
    });
    EXPECT_NE(ending.status, 0);
}
