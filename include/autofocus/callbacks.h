/*
 * The host's callbacks and their adapters. Each adapter returns the callback's result, or -1 (with
 * a message, the day/night one excepted) when none is registered.
 */
#ifndef AUTOFOCUS_CALLBACKS_H
#define AUTOFOCUS_CALLBACKS_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT SetLensPosition fpSetLensPosition;
extern AUTOFOCUS_EXPORT GetLensPosition fpGetLensPosition;
extern AUTOFOCUS_EXPORT SetPresetInfo fpSetPresetInfo;
extern AUTOFOCUS_EXPORT GetPresetInfo fpGetPresetInfo;
extern AUTOFOCUS_EXPORT SetFocusPoint fpSetFocusPoint;
extern AUTOFOCUS_EXPORT GetFocusPoint fpGetFocusPoint;

AUTOFOCUS_EXPORT int fCallbackSetIcutMode(int mode);
AUTOFOCUS_EXPORT int fCallbakSetZMPosition(unsigned int zp, unsigned int fp);
AUTOFOCUS_EXPORT int fCallbakGetZMPosition(unsigned int *zp, unsigned int *fp);
AUTOFOCUS_EXPORT int fCallbakSetPreset(void *preset);
AUTOFOCUS_EXPORT int fCallbakGetPreset(void *preset);
AUTOFOCUS_EXPORT int fCallbakSetFocusLine(void *point);
AUTOFOCUS_EXPORT int fCallbakGetFocusLine(void *point);

/** Make "X%02d" of @p multiple the on-screen text. @return 0. */
AUTOFOCUS_EXPORT int fCallbakSetMultiple(int multiple);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_CALLBACKS_H */
