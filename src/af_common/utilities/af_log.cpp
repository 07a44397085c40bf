// The one persistent log, /tmp/aflog: for events that must survive the console.
#include "autofocus/utilities.h"
#include "platform/device_file.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static const char kLogFile[] = "/tmp/aflog";
static const mode_t kLogMode = 0666;
static const int kLineSize = 128; // with the terminating NUL

// Never through a link: in a folder that everybody may write to, somebody's link would have the
// camera create and fill a file anywhere.
void aflog(char *buf) {
    const int fd = openAboveStandard(kLogFile, O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW, kLogMode);
    if (fd < 0) {
        perror("open /tmp/aflog error:\n");
        return;
    }
    char line[kLineSize] = {0};
    const time_t now = time(nullptr);
    struct tm local;
    memset(&local, 0, sizeof local);
    localtime_r(&now, &local);
    const int length =
        snprintf(line, sizeof line, "%04d-%02d-%02d %02d:%02d:%02d %s", local.tm_year + 1900,
                 local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, buf);
    if (length >= kLineSize) // cut, but still a line
        line[kLineSize - 2] = '\n';
    const ssize_t ignored = write(fd, line, strlen(line)); // one write: lines never interleave
    (void)ignored;
    fsync(fd);
    close(fd);
}
