// Many processes, on all processors: a virtual camera lives in one process and on one processor.
#pragma once

#include <functional>
#include <new>
#include <sched.h>
#include <sys/mman.h>

namespace vcam {

/// A zeroed record that the processes forked from now on have in common; never freed.
template <typename Record> Record *share() {
    void *memory =
        mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return new (memory) Record{};
}

/// The camera stays on the processor on which it is powered on: workers must not share one. Stay on
/// that one of @p allowed which has @p number of them before it.
void moveToProcessor(const cpu_set_t &allowed, int number);

/// Call @p play with 0 to @p count - 1, shared out to one process a processor. Where standard error
/// is a terminal, one line there says how many are done and when the last one will be.
void playAll(int count, const std::function<void(int index)> &play);

} // namespace vcam
