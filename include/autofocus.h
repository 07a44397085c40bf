/*
 * Lens control and autofocus for network cameras: what a host application needs.
 *
 * Order of use: register the callbacks, hand over the serial port, call AF_Manager_Start_API()
 * once. From then on the library works on threads of its own and the host steers it with the
 * functions below, or a controller does over the serial port.
 *
 * Unless a function says otherwise it returns 0 for success and -1 for failure, may be called on
 * any thread at any time after loading, and does not block. Positions are absolute motor steps,
 * counted from 10000 at the wide end (zoom) and at the near end (focus). Messages go to standard
 * output.
 *
 * All public headers are valid C99 and later, C++11 and later. What service and test tools need
 * beside this one lies in autofocus/, a header a subject; autofocus_service.h includes them all.
 */
#ifndef AUTOFOCUS_H
#define AUTOFOCUS_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define AUTOFOCUS_EXPORT __attribute__((visibility("default")))
#else
#define AUTOFOCUS_EXPORT
#endif

/** Number of presets, 0 to 254. */
#define AF_PRESET_COUNT 255

/** Room for the text of AF_Manager_Get_OSDData_API() with its terminating NUL, in bytes. */
#define AF_OSD_TEXT_SIZE 64

/** IR-cut control types; TYPE_NIGHT and TYPE_DAY are also the modes of the day/night callback. */
enum {
    TYPE_AUTO = 0,
    TYPE_NIGHT = 1,
    TYPE_DAY = 2,
    TYPE_OUTCONTROL = 3, /**< The host switches the filter when the serial protocol asks for it. */
    TYPE_NONE = 4        /**< Never accepted by AF_Manager_Set_ICUTControlType_API(). */
};

/** Lens models. Define AUTOFOCUS_WITHOUT_NONE where another header claims the name NONE. */
enum {
    LENS_A = 0,
    LENS_B = 1,
#if !defined(NONE) && !defined(AUTOFOCUS_WITHOUT_NONE)
    NONE = 2
#endif
};

/**
 * The whole preset table, entry n for preset n, in motor steps.
 *
 * A preset whose zoom or focus entry is 0 is empty. The memory is the library's: a callback reads
 * or fills it during the call and keeps no pointer to it.
 */
typedef struct {
    unsigned int zoom[AF_PRESET_COUNT];
    unsigned int focus[AF_PRESET_COUNT];
} PRESET_INF;

/**
 * The unit's in-focus curve for an object at infinity, in focus motor steps.
 *
 * Row: zoom tag point 0 (wide end) to 15 (tele end). Column: quarter of the section that begins at
 * that tag point; columns 1 to 3 of row 15 belong to no zoom position. Memory as PRESET_INF.
 */
typedef struct {
    unsigned int focus[16][4];
} FOCUS_POINT;

/*
 * Callbacks. Each returns 0 for success; it has to return. The library holds no mutex while it
 * calls, calls on its own threads (named below), and waits for the result, so that a slow callback
 * delays the lens. A callback may call any function of this header; a preset is neither set nor
 * cleared while a preset callback runs. The library's threads, and the programs that a callback
 * starts, have every signal blocked but those that a fault of their own raises.
 */

/** Switch the camera to night (mode 1) or day (mode 2). Called on the serial thread. */
typedef int (*SetDayNightModeCallBack)(int mode);
/**
 * Keep the lens position (motor steps). Called at the end of start-up, of a reset, a zoom, a manual
 * focus move, an autofocus run and a calibration; not after presets and direct positioning. On the
 * start-up, lens-control or (where the host runs it) manual stepping thread.
 */
typedef int (*SetLensPosition)(unsigned int zp, unsigned int fp);
/** Give back the position kept last, or fail when there is none. Called once, at start-up. */
typedef int (*GetLensPosition)(unsigned int *zp, unsigned int *fp);
/**
 * Keep the whole preset table. Called on the lens-control thread, or on the host's in
 * AF_Mamager_SetPreset_API(); never twice at once, and the table does not change during the call.
 */
typedef int (*SetPresetInfo)(PRESET_INF *info);
/** Fill the preset table, or fail when none is kept. Called once, at start-up. */
typedef int (*GetPresetInfo)(PRESET_INF *info);
/**
 * Keep the infinity curve. Called at the end of a calibration run, on the lens-control or manual
 * stepping thread.
 */
typedef int (*SetFocusPoint)(FOCUS_POINT *point);
/** Fill the infinity curve, or fail when none is kept. Called once, at start-up. */
typedef int (*GetFocusPoint)(FOCUS_POINT *point);

/* ---- Registration: before AF_Manager_Start_API(). A later one replaces the earlier. ---- */

/**
 * Register the day/night callback.
 *
 * @param callBackFun  not NULL.
 * @return 0; -1 with a message when NULL, and the former registration stays.
 */
AUTOFOCUS_EXPORT int AF_Manager_Init_DayNightModeFun_API(SetDayNightModeCallBack callBackFun);

/**
 * Register where the lens position is kept.
 *
 * @param setFun,getFun  neither NULL.
 * @return 0; -1 with a message when either is NULL, and nothing is stored.
 */
AUTOFOCUS_EXPORT int AF_Manager_Init_LensPosition_API(SetLensPosition setFun,
                                                      GetLensPosition getFun);

/** Register where the preset table is kept; rules and results as for the lens position. */
AUTOFOCUS_EXPORT int AF_Manager_Init_PresetInfo_API(SetPresetInfo setFun, GetPresetInfo getFun);

/** Register where the infinity curve is kept; rules and results as for the lens position. */
AUTOFOCUS_EXPORT int AF_Manager_Init_FocusPoint_API(SetFocusPoint setFun, GetFocusPoint getFun);

/**
 * Hand over the serial port on which VISCA and Pelco-D controllers talk to the camera.
 *
 * The port's speed and parity are the host's affair. The serial thread takes the descriptor when it
 * starts: a later call does not reach it.
 *
 * @param fd  open descriptor, 1 or above.
 * @return 0; -1 with a message for a descriptor below 1.
 */
AUTOFOCUS_EXPORT int AF_Manager_Init_UsartFd_API(int fd);

/* ---- Start and stop ---- */

/**
 * Start the serial thread and the start-up thread.
 *
 * Does not wait: the start-up thread resets the driver, homes the lens, parks it at the wide end
 * and starts the lens-control and statistics threads. The file /tmp/afstartok exists when it is
 * done; the library never removes it.
 *
 * @return 0; -1 with a message when a thread cannot be created: what was started keeps running, and
 *         the next call creates what is missing. -1 without a message when nothing is missing or
 *         start-up is under way. A serial thread that has ended is not created anew.
 */
AUTOFOCUS_EXPORT int AF_Manager_Start_API(void);

/**
 * End the lens-control thread after the command in hand.
 *
 * Does not wait. The serial and statistics threads go on; later commands are refused. It cannot be
 * started again in the same process.
 */
AUTOFOCUS_EXPORT void AF_Manager_Stop_API(void);

/* ---- Commands to the lens: stored for the lens-control thread, which polls every 50 ms. ---- */

/** Find home again, park at the wide end, refocus. Dropped before start-up and after stop. */
AUTOFOCUS_EXPORT void AF_Manager_Reset_API(void);

/**
 * Measure the unit's infinity curve in front of a distant, detailed target (minutes).
 *
 * @return 0 when the command was stored; -1 before start-up and after stop.
 */
AUTOFOCUS_EXPORT int AF_Manager_LockFocus_API(void);

/**
 * Let the camera refocus by itself when the picture changes.
 *
 * @param mode  1 on (at load), 0 off.
 * @return 0; -1 for another value, nothing changed.
 */
AUTOFOCUS_EXPORT int AF_Manager_SetFocusMode_API(int mode);

/**
 * Store the current zoom and focus position under preset number @p preset.
 *
 * Hands the whole preset table to the host's callback before it returns; moves nothing.
 *
 * @param preset  preset number, 0 to 254.
 * @return 0 when stored; -1 with a message when the number is 255, the position lies outside the
 *         travel limits or start-up has not come far enough; -1 when the host's callback failed
 *         (then the table in memory has changed); -1 with nothing changed when the callback of
 *         another change has run for a second more, or at once from inside a preset callback.
 * @context Any thread, after start-up. Blocks for as long as the host's callback does, and for a
 *          second at most while another thread's change is with the host.
 */
AUTOFOCUS_EXPORT int AF_Mamager_SetPreset_API(unsigned char preset);

/* ---- Zoom ratio on the screen ---- */

/**
 * Set the zoom ratio that is shown at the tele end and rebuild the zoom-ratio maps.
 *
 * Start-up sets 18, so call it after start-up.
 *
 * @param value  18 to 36.
 * @return 0; -1 with a message for another value, nothing changed.
 */
AUTOFOCUS_EXPORT int AF_Manager_Set_Multiple_API(int value);

/** @return always 0. */
AUTOFOCUS_EXPORT int AF_Manager_Get_Multiple_API(void);

/**
 * Copy the on-screen zoom-ratio text, "X01" to "X36".
 *
 * @param pData  room for AF_OSD_TEXT_SIZE bytes; receives the text and its NUL. The text is empty
 *               until the zoom position is known for the first time.
 * @return 0; -1 when @p pData is NULL.
 */
AUTOFOCUS_EXPORT int AF_Manager_Get_OSDData_API(char *pData);

/* ---- Settings kept for the host's user interface ---- */

/** @return always 4: the speed is fixed. */
AUTOFOCUS_EXPORT int AF_Manager_Get_ZoomSpeed_API(void);

/** @param value 1 to 7; stored nowhere. @return 0; -1 with a message outside that range. */
AUTOFOCUS_EXPORT int AF_Manager_Set_ZoomSpeed_API(int value);

/** @return always 4: the speed is fixed. */
AUTOFOCUS_EXPORT int AF_Manager_Get_FocusSpeed_API(void);

/** @param value 1 to 7; stored nowhere. @return 0; -1 with a message outside that range. */
AUTOFOCUS_EXPORT int AF_Manager_Set_FocusSpeed_API(int value);

/** @return the value set last, 0 at load. */
AUTOFOCUS_EXPORT int AF_Manager_Get_FrameRate_API(void);

/** @param value 0 or 1, kept for the getter. @return 0; -1 for another value, nothing changed. */
AUTOFOCUS_EXPORT int AF_Manager_Set_FrameRate_API(int value);

/* ---- Day and night ---- */

/** @return the IR-cut control type, TYPE_OUTCONTROL at load. */
AUTOFOCUS_EXPORT int AF_Manager_Get_ICUTControlType_API(void);

/** @return the same as AF_Manager_Get_ICUTControlType_API(). */
AUTOFOCUS_EXPORT int AF_Manager_Get_ICUTOfSPISend_API(void);

/**
 * Choose who switches the IR-cut filter.
 *
 * @param value  TYPE_AUTO to TYPE_OUTCONTROL. Only with TYPE_OUTCONTROL are the serial protocol's
 *               IR-cut commands passed to the host's day/night callback.
 * @return 0; -1 with a message for another value, nothing changed.
 */
AUTOFOCUS_EXPORT int AF_Manager_Set_ICUTControlType_API(int value);

/** @return 1 when the host reported night last, 2 when day (at load). */
AUTOFOCUS_EXPORT int AF_Manager_Get_ICUTStatusLast_API(void);

/**
 * Report the state of the IR-cut filter; the autofocus tunes its thresholds by it.
 *
 * @param value  1 night (filter removed), 2 day.
 * @return 0; -1 with a message for another value, nothing changed.
 * @context Any thread. A change blocks the caller for 2 s (less where the host handles a signal on
 *          that thread) and then asks for an autofocus run; a repeated report returns at once.
 */
AUTOFOCUS_EXPORT int AF_Manager_Set_ICUTStatusLast_API(int value);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_H */
