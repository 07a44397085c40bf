/*
 * Single actions of the motors for service, on a thread of their own.
 */
#ifndef AUTOFOCUS_MANUAL_STEPPING_H
#define AUTOFOCUS_MANUAL_STEPPING_H

#include "autofocus.h"

#include <pthread.h>

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT int g_ManualTest, g_ManualFlag, g_ManualStep, g_ManualVdfz;
extern AUTOFOCUS_EXPORT pthread_mutex_t man_lock;
extern AUTOFOCUS_EXPORT pthread_cond_t man_ready;

/** Post action @p flag (1 to 10) with its two parameters. Any thread. */
AUTOFOCUS_EXPORT void manualCtrlFun(unsigned int flag, unsigned int step, unsigned int vdfz);
AUTOFOCUS_EXPORT void manualWaitCtrlFun(void);

/** Body of the manual stepping thread, which a host starts itself, with signals as it likes.
 * Whoever cancels it in the middle of a move asks for a reset afterwards: its last steps are not
 * counted. */
AUTOFOCUS_EXPORT void *manualCtrlThread(void *unused);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_MANUAL_STEPPING_H */
