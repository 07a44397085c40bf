/*
 * Log and local socket: for the host, without a caller in the library.
 */
#ifndef AUTOFOCUS_UTILITIES_H
#define AUTOFOCUS_UTILITIES_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Append a time-stamped line to /tmp/aflog, never through a link; a text above 107 bytes is cut,
 * its line end kept. */
AUTOFOCUS_EXPORT void aflog(char *buf);
/** @return a listening Unix-domain socket at @p ser_path; -1. */
AUTOFOCUS_EXPORT int Af_Create_Server(char *ser_path);
/** Block until a client connects. @return its descriptor; -1 with a message. */
AUTOFOCUS_EXPORT int AF_Accept_Connect(int fd);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_UTILITIES_H */
