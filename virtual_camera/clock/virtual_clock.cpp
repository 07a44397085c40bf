#include "clock/virtual_clock.h"

#include "clock/scheduler.h"
#include "clock/thread_table.h"

namespace vcam {

int64_t nowUs() {
    return threadTable.nowUs;
}

void sleepUntilUs(int64_t deadlineUs) {
    waitOn(nullptr, nullptr, deadlineUs);
}

bool waitFor(WaitQueue &queue, int64_t deadlineUs) {
    return waitOn(&queue, queue.name, deadlineUs);
}

void wakeOne(WaitQueue &queue) {
    wakeLongest(&queue);
}

void wakeAll(WaitQueue &queue) {
    wakeEverybody(&queue);
}

} // namespace vcam
