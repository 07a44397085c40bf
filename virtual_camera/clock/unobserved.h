// Keeps the camera's own state out of ThreadSanitizer's sight.
//
// The camera is compiled without sanitizers and its threads take turns by futex, which the
// sanitizer does not see; so it would call every memcpy on the camera's state a race. To tell it
// of the turns instead would order all of the library's accesses too and hide its real races.
#pragma once

extern "C" {
void AnnotateIgnoreReadsBegin(const char *file, int line) __attribute__((weak));
void AnnotateIgnoreReadsEnd(const char *file, int line) __attribute__((weak));
void AnnotateIgnoreWritesBegin(const char *file, int line) __attribute__((weak));
void AnnotateIgnoreWritesEnd(const char *file, int line) __attribute__((weak));
}

namespace vcam {

/// While one lives, the calling thread's accesses are not looked at.
class Unobserved {
public:
    Unobserved() {
        if (AnnotateIgnoreReadsBegin == nullptr)
            return;
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~Unobserved() {
        if (AnnotateIgnoreReadsBegin == nullptr)
            return;
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
    }
    Unobserved(const Unobserved &) = delete;
    Unobserved &operator=(const Unobserved &) = delete;
};

} // namespace vcam
