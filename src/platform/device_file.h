// Opening files without getting in the way of standard input, output and error.
#pragma once

#include <sys/types.h>

/**
 * As open(), but not descriptor 0, 1 or 2: where the host has closed one of these, messages would
 * go into the file, or what a device says would be read as input.
 *
 * Such a descriptor is left again at once. The driver chip, the one device that would take a
 * message of that instant, is reset after it has been opened.
 *
 * @return the descriptor, or -1 with errno set.
 */
int openAboveStandard(const char *path, int flags, mode_t mode = 0);
