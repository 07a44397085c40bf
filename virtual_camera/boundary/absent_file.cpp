#include "boundary/absent_file.h"

#include "clock/unobserved.h"
#include "clock/virtual_clock.h"

#include <string>

namespace vcam {

static constexpr int64_t kBelievedUs = 1000000;

static std::string absent;
static int64_t believedUntilUs;

bool isKnownAbsent(const char *path) {
    const Unobserved unobserved;
    return nowUs() < believedUntilUs && absent == path;
}

void noteAbsent(const char *path) {
    const Unobserved unobserved;
    absent = path;
    believedUntilUs = nowUs() + kBelievedUs;
}

void forgetAbsent() {
    believedUntilUs = 0;
}

} // namespace vcam
