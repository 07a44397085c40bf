/*
 * The lens-control thread, and what is its own among the lens commands. Unless stated otherwise,
 * functions that move the lens block until the move is over and may run on one thread at a time:
 * the start-up thread, then the lens-control thread.
 */
#ifndef AUTOFOCUS_LENS_CONTROL_H
#define AUTOFOCUS_LENS_CONTROL_H

#include "autofocus.h"
#include "autofocus/types.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT int gLensCtrl; /**< Stop flag of the lens-control thread, never cleared. */

/** Build every table, find home and park at the wide end. Once, on the start-up thread. */
AUTOFOCUS_EXPORT void Lens_Init(void);

/** Find home and go to the destination of @p emCmd; leaves CMD_FOCUS in the mailbox. */
AUTOFOCUS_EXPORT void lensMotorReset(AF_CMD_em emCmd);

/** Find home and park at the wide end; leaves the mailbox alone. */
AUTOFOCUS_EXPORT void Lens_Reset(void);

/** Act on shValue; leaves CMD_FOCUS after a direct zoom, else CMD_NONE, unless the mailbox has
 * changed meanwhile. */
AUTOFOCUS_EXPORT void lensMotorPreset(AF_CMD_em emCmd);

/** Ask the lens-control thread to end. Any thread. */
AUTOFOCUS_EXPORT void lensCtrlStop(void);

/** Body of the lens-control thread. */
AUTOFOCUS_EXPORT void *thLensCtrl(void *unused);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_LENS_CONTROL_H */
