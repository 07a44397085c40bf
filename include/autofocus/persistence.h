/*
 * What outlives a power cycle, through the host's callbacks: the position and the infinity line.
 */
#ifndef AUTOFOCUS_PERSISTENCE_H
#define AUTOFOCUS_PERSISTENCE_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT char fMPosition[128], fMFocusline[128], fPresetinfo[128];

/**
 * Compose the three file names from @p path, which is prepended as it stands.
 *
 * @return 0; -1 with the names unchanged when @p path is NULL (with a message) or longer than
 *         113 characters.
 */
AUTOFOCUS_EXPORT int lensSetCfgPath(char *path);

/** Clamp the counters into the limits and hand them to the host. @return the callback's result; -1
 * before start-up, nothing handed over. */
AUTOFOCUS_EXPORT int Lens_Save_ZFLocation(void);

/** Load the counters. @return 0; -1 when there are none or they lie outside the limits. */
AUTOFOCUS_EXPORT int Lens_Read_ZFLocation(void);

/** Hand the infinity line to the host. @return the callback's result. */
AUTOFOCUS_EXPORT int Lens_Save_FLPosition(void);

/** Load the infinity line. @return 0; -1 when the built-in one was installed. */
AUTOFOCUS_EXPORT int Lens_Read_FLPosition(void);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_PERSISTENCE_H */
