// System calls per VD period, beside those that a period cannot do without: a pulse, and a pin that
// is read, opens the pin controller, asks and closes it; a word for the driver chip is one
// transfer. Counted, so the same every time.
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <string>
#include <unistd.h>

#include "story.h"

#include "af_ms419xx/ms419xx.h"
#include "boundary/call_counts.h"
#include "camera.h"

namespace {

constexpr int kCallsPerPin = 3;

std::string report; // what is printed while the camera runs goes to the camera's console

__attribute__((format(printf, 1, 2))) void say(const char *format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    report += text;
}

int take(vcam::CallCounts *counts, const char *call) {
    const auto found = counts->find(call);
    return found == counts->end() ? 0 : counts->extract(found).mapped();
}

void measure(const char *phase, const std::function<void()> &act) {
    vcam::countCallsOf("thLensCtrl");
    const unsigned first = countVdPeriods();
    act();
    const int periods = static_cast<int>(countVdPeriods() - first);
    vcam::CallCounts counts = vcam::takeCallCounts();

    int made = 0;
    for (const auto &count : counts)
        made += count.second;
    const int words = take(&counts, "ioctl /dev/spidev1.0");
    const int pins = kCallsPerPin * take(&counts, "ioctl /dev/hi_gpio");
    take(&counts, "open /dev/hi_gpio");
    take(&counts, "close /dev/hi_gpio");
    const auto perPeriod = [=](int count) { return static_cast<double>(count) / periods; };
    say("%-34s %8d %9.2f %6.2f %7.2f %6.2f %6.2f  ", phase, periods, perPeriod(pins),
        perPeriod(words), perPeriod(pins + words), perPeriod(made),
        static_cast<double>(made) / (pins + words));
    for (const auto &count : counts)
        say(" %s %d", count.first.c_str(), count.second);
    say("\n");
}

} // namespace

int main(int argc, char **argv) {
    bench::takeNoWords(argc, argv, "the system calls of a VD period");
    bench::boot({});
    say("System calls per VD period, of the lens-control thread\n");
    say("%-34s %8s %9s %6s %7s %6s %6s   %s\n", "", "periods", "for pins", "words", "needed",
        "made", "ratio", "what else, in all");
    measure("zoom to tele, tracked", bench::zoomToTele);
    measure("autofocus there", bench::awaitFocus);
    measure("zoom to wide, tracked", bench::zoomToWide);
    measure("autofocus there", bench::awaitFocus);
    vcam::powerOff();
    fputs(report.c_str(), stdout);
    _exit(bench::closeReport()); // the library's threads never end
}
