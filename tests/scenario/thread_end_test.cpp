// A thread that ends inside the library, as one does that its host cancels: the host's own callback
// ends it here, through the library's frames.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

#include <atomic>
#include <stdexcept>

using namespace scenario;

static std::atomic<pthread_t> condemned;
static std::atomic<bool> isOver;

static int endTheThread(unsigned, unsigned) {
    if (!isOver && pthread_equal(pthread_self(), condemned) != 0) {
        isOver = true;
        pthread_exit(nullptr);
    }
    return 0;
}

static const GetLensPosition kLoadNothing = [](unsigned *, unsigned *) { return -1; };

TEST(ThreadEnd, motors_of_a_thread_that_ends_inside_a_move_are_there_for_the_next_command) {
    run([] {
        startParked();
        condemned = startManualThread();
        AF_Manager_Init_LensPosition_API(endTheThread, kLoadNothing);
        manualCtrlFun(6, 0, 0); // a reset, which stores the position before it is over
        waitUntil([] { return isOver.load(); }, 60, "the thread has ended");
        EXPECT_EQ(events("clock", "end").back().get("thread"), "manualCtrlThread");
        command(CMD_TELE);
        passMs(1000);
        EXPECT_GT(vcam::truePosition(vcam::Axis::Zoom), 10216);
        command(CMD_MFMODE);
    });
}

static void *waitForRecord(void *) {
    AF_Statistics_Info record;
    afStatisticsFresh(&record);
    return nullptr;
}

// On real threads: in virtual time nothing waits where it could be cancelled.
TEST(ThreadEnd, thread_that_is_cancelled_while_it_waits_leaves_the_lock_free) {
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, waitForRecord, nullptr), 0);
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
    EXPECT_EQ(pthread_mutex_trylock(&afv_lock), 0);
    pthread_mutex_unlock(&afv_lock);
}

// Frames without unwind tables would end the process here; debuggers and profilers need them too.
TEST(ThreadEnd, exception_of_a_callback_passes_through_the_library_at_a_desk) {
#if defined(__arm__)
    GTEST_SKIP() << "the camera's own build drops the tables";
#endif
    run([] {
        startParked();
        AF_Manager_Init_LensPosition_API(
            [](unsigned, unsigned) -> int { throw std::runtime_error("full"); }, kLoadNothing);
        EXPECT_THROW(Lens_Save_ZFLocation(), std::runtime_error);
    });
}
