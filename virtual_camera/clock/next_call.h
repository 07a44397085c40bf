// The definition of a C function that comes after ours in lookup order: a sanitizer's, else libc's.
//
// The camera's own code must never reach a call that it overrides itself, or it would wait for
// virtual time when it means real time. It makes such calls through an object of this class.
#pragma once

#include <dlfcn.h>

namespace vcam {

template <typename Function> class NextCall {
public:
    explicit constexpr NextCall(const char *name) : name_(name) {}

    /// Looked up at the first use: some of the calls come before any constructor has run. Two
    /// threads that look it up at once find the same.
    operator Function *() {
        Function *found = __atomic_load_n(&found_, __ATOMIC_RELAXED);
        if (found == nullptr) {
            found = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name_));
            __atomic_store_n(&found_, found, __ATOMIC_RELAXED);
        }
        return found;
    }

private:
    const char *name_;
    Function *found_ = nullptr;
};

} // namespace vcam
