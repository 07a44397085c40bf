/*
 * The start-up thread.
 */
#ifndef AUTOFOCUS_STARTUP_H
#define AUTOFOCUS_STARTUP_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Body of the start-up thread; AF_Manager_Start_API() starts it. */
AUTOFOCUS_EXPORT void *afStartThread(void *unused);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_STARTUP_H */
