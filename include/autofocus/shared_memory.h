/*
 * Shared memory: for the host, without a caller in the library.
 */
#ifndef AUTOFOCUS_SHARED_MEMORY_H
#define AUTOFOCUS_SHARED_MEMORY_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @return the segment attached; NULL when there is none to be had; (void *)-1 from shmat. */
AUTOFOCUS_EXPORT void *pShMemInit(int key, int size);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_SHARED_MEMORY_H */
