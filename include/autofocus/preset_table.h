/*
 * The 255 presets, kept by the host.
 */
#ifndef AUTOFOCUS_PRESET_TABLE_H
#define AUTOFOCUS_PRESET_TABLE_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Presets in motor steps; as PRESET_INF. */
typedef struct {
    unsigned int aZPosition[AF_PRESET_COUNT];
    unsigned int aFPosition[AF_PRESET_COUNT];
} Lens_AP_ST;

/** Presets in 16-bit positions; 0 where a preset is not set. */
typedef struct {
    unsigned short rZPosition[AF_PRESET_COUNT];
    unsigned short rFPosition[AF_PRESET_COUNT];
} Lens_RP_ST;

extern AUTOFOCUS_EXPORT Lens_AP_ST g_APGroupInfo;
extern AUTOFOCUS_EXPORT Lens_RP_ST g_RPGroupInfo;

/** Create the shared record and load the presets. Waits for a preset callback that still runs; -1
 * from inside one. @return 0, -1. */
AUTOFOCUS_EXPORT int Lens_Init_PresetInfo(void);

/* Both wait a second at most while another change is with the host's callback, then return -1 with
 * nothing changed; at once from inside a preset callback. Any thread. */
AUTOFOCUS_EXPORT int Lens_Set_Preset(int pst);   /**< @return 0; -1. */
AUTOFOCUS_EXPORT int Lens_Clear_Preset(int pst); /**< @return the host's result; -1. */

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_PRESET_TABLE_H */
