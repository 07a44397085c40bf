/*
 * What the host tells the library of its hardware and of the light.
 */
#ifndef AUTOFOCUS_SETTINGS_H
#define AUTOFOCUS_SETTINGS_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT int icr_control_mode; /**< IR-cut control type; any host thread writes. */
extern AUTOFOCUS_EXPORT int g_ICUTState;      /**< 1 night, 0 day; host writes, focusing reads. */
extern AUTOFOCUS_EXPORT int g_LensType;       /**< LENS_A, LENS_B; never written by the library. */
extern AUTOFOCUS_EXPORT int g_SensType;       /**< Image sensor variant; 1 is singled out. */

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_SETTINGS_H */
