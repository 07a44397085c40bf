// A host that has closed its standard descriptors: the next file that is opened becomes one of
// them.
#include "scenario.h"

#include "boundary/library_imports.h"
#include "camera.h"

#include <algorithm>
#include <climits>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

static int lowest = INT_MAX;

static int lookAtDescriptor(int descriptor, unsigned long request, void *argument) {
    lowest = std::min(lowest, descriptor);
    return ioctl(descriptor, request, argument);
}

TEST(StandardDescriptors, no_device_becomes_one_of_them) {
    const pid_t child = fork();
    if (child == 0) {
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            close(standard);
        vcam::powerOn({});
        const bool isWatched = vcam::replaceImport("libautofocus.so", "ioctl",
                                                   reinterpret_cast<void *>(lookAtDescriptor));
        const bool isOpen = SPI_Init() == 0 && Hisi_Gpio_Write(116, 1) == 1;
        _exit(isWatched && isOpen && lowest > STDERR_FILENO ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}
