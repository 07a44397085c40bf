/*
 * Operate the lens and know what it does: orders with a ticket, status, events, waiting,
 * cancelling.
 *
 * Nothing here is needed, and whoever calls none of it gets the library as it is without. Include
 * it beside autofocus.h; it is valid C99 and later, C++11 and later.
 *
 * Every order returns a ticket above 0 at once, or -1: before start-up has come so far, after stop,
 * or for a bad argument. Orders share one slot with the serial port, the refocus trigger and the
 * service calls: the last one to come before the lens is free is the one that runs. Each ticket
 * ends exactly once, with an outcome. Numbers rise in the order in which orders were placed and
 * wrap to 1. What comes from elsewhere gets a ticket too, when it is taken, and shows in status and
 * events.
 *
 * Unless a function says otherwise it may be called on any thread at any time, and does not block.
 * Focus values are those of the ISP's statistics; positions are motor steps counted from 10000 at
 * the wide end (zoom) and the near end (focus), or the 16-bit scale of the serial protocol.
 */
#ifndef AUTOFOCUS_CONTROL_H
#define AUTOFOCUS_CONTROL_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ==== Settings ==== */

/** What can be switched on; each is 0 at load, and the library then is as it is without. */
typedef enum {
    /** 0: the serial port answers three inquiries and nothing else. 1: VISCA with acknowledge and
     * completion of every command, addresses, errors, presets, direct focus. 2: the same, and
     * Pelco-D with masked pan and tilt, presets and the zoom query. Before start only. */
    AF_SETTING_SERIAL_REPLIES = 0,
    /** 1: a fault of the motor driver's links stops the lens, and home is found again before
     * anything else moves. From the next order on. */
    AF_SETTING_RECOVERY = 1,
    /** 1: autofocus runs use a search that survives slack in the gear, late statistics and noise;
     * it takes the place of the built-in one. From the next run on. */
    AF_SETTING_FOCUS_SEARCH = 2,
    /** Slack of the focus's gear in steps, 0 to 64: every position that the library drives the
     * focus to is then approached in the direction far. From the next move on. */
    AF_SETTING_FOCUS_BACKLASH = 3,
    /** Frames by which the ISP's focus statistics are late, 0 to 4; -1: not known. Then the robust
     * search waits as if it were 4 until a run that is sure of its peak has measured it; the
     * built-in one reckons with none until then. From the next run on. */
    AF_SETTING_STATISTICS_DELAY = 4,
    /** 1: while zooming the focus follows the object on which an autofocus run has ended, once the
     * unit's infinity line was measured. From the next zoom on. */
    AF_SETTING_TRACKING = 5
} AF_Setting_em;

/** Set an AF_Setting_em. @return 0; -1 and nothing changed: no such setting, a value out of its
 * range, or after the first start one that may be set before only. */
AUTOFOCUS_EXPORT int AF_Manager_Set_Setting_API(int setting, int value);

/** Read an AF_Setting_em into @p value. @return 0; -1 and nothing written: no such setting, or
 * @p value is NULL. */
AUTOFOCUS_EXPORT int AF_Manager_Get_Setting_API(int setting, int *value);

/* ==== Orders ==== */

/** Zoom until another order comes; the focus follows. @return a ticket; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Zoom_Tele_API(void);
AUTOFOCUS_EXPORT int AF_Manager_Zoom_Wide_API(void); /**< @return a ticket; -1. */

/** End a zoom and focus: the ticket ends with the verdict of that run. @return a ticket; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Zoom_Stop_API(void);

/** Focus by hand until another order comes. The refocus trigger rests until the next order that
 * focuses by itself. @return a ticket; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Focus_Near_API(void);
AUTOFOCUS_EXPORT int AF_Manager_Focus_Far_API(void);  /**< @return a ticket; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Focus_Stop_API(void); /**< @return a ticket; -1. */

/** One autofocus run. @return a ticket, which ends with its verdict; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Autofocus_API(void);

/**
 * Zoom to a position, the focus following, then focus. Ends on a grid point, the next one toward
 * tele; a preset at that position is recalled instead, with its focus, and so is, the first time
 * since start, the position before power-off.
 *
 * @param position  16-bit zoom position; above the tele end's: the tele end.
 * @return a ticket, done when the zoom has arrived and the run that follows is over; -1.
 */
AUTOFOCUS_EXPORT int AF_Manager_Zoom_To_API(unsigned short position);

/**
 * Drive the focus to a position, clipped to the travel. The lens then rests as after focusing by
 * hand. Any other order stops it on its way, as AF_OUTCOME_REPLACED. The mailbox holds CMD_FAR
 * meanwhile: a raw store of just that goes unnoticed.
 *
 * @param position  16-bit focus position, 49152 near to 4096 far.
 * @return a ticket; -1.
 */
AUTOFOCUS_EXPORT int AF_Manager_Focus_To_API(unsigned short position);

/* Presets 0 to 254; -1 for another number. To call or clear number 202 switches the refocus trigger
 * on or off instead. An empty preset, and a host that does not store one, end as faults. */
AUTOFOCUS_EXPORT int AF_Manager_Preset_Call_API(int preset);  /**< @return a ticket; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Preset_Set_API(int preset);   /**< @return a ticket; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Preset_Clear_API(int preset); /**< @return a ticket; -1. */

/** Find home, park at the wide end, focus. @return a ticket; -1. */
AUTOFOCUS_EXPORT int AF_Manager_Home_API(void);

/** Measure the infinity line: minutes, in front of a distant, detailed target. @return a ticket;
 * -1.
 */
AUTOFOCUS_EXPORT int AF_Manager_Calibrate_API(void);

/* ==== Outcomes ==== */

typedef enum {
    AF_OUTCOME_NONE = 0,    /**< Not over yet. */
    AF_OUTCOME_DONE = 1,    /**< A move has arrived, a held one was stopped, a preset is stored. */
    AF_OUTCOME_FOCUSED = 2, /**< The autofocus run found the peak and stands on it. */
    AF_OUTCOME_UNSURE = 3,  /**< It stands at the best position seen, which may not be the peak. */
    AF_OUTCOME_FLAT = 4,    /**< No peak: nothing in the picture gets sharper or less sharp. */
    AF_OUTCOME_EDGE = 5,    /**< No peak: the best position seen is the end of what was searched. */
    AF_OUTCOME_BLIND = 6,   /**< No peak: the ISP delivered no statistics. */
    AF_OUTCOME_REPLACED = 7,  /**< Another order came before it was taken, or stopped it short. */
    AF_OUTCOME_CANCELLED = 8, /**< By AF_Manager_Cancel_API(), or by stop. */
    AF_OUTCOME_FAULT = 9,     /**< Not done: home not found, preset empty, host did not store. */
    AF_OUTCOME_FORGOTTEN = 10 /**< Older than the last 16 that ended, or never given. */
} AF_Outcome_em;

/**
 * Wait until a ticket has ended; looks each 10 ms.
 *
 * @param timeoutMs  most milliseconds to wait, 0 to look once; -1 waits without end.
 * @return its AF_Outcome_em above 0; 0 when the time is over; -1 on one of the library's threads
 *         (callbacks and events run there), or for a bad argument. Blocks the caller only.
 */
AUTOFOCUS_EXPORT int AF_Manager_Wait_Ticket_API(int ticket, int timeoutMs);

/**
 * Cancel a ticket, or with 0 whatever runs or waits.
 *
 * A move is braked at the next VD period, its counters stay true and its position is stored;
 * nothing focuses by itself until the next order. Homing goes on until home is found. A cancelled
 * calibration keeps the former line. An order that is given afterwards runs.
 *
 * @return 0; -1 when that ticket neither runs nor waits.
 */
AUTOFOCUS_EXPORT int AF_Manager_Cancel_API(int ticket);

/* ==== Status ==== */

typedef enum {
    AF_ACTIVITY_STOPPED = 0,  /**< Not started yet, or stopped. */
    AF_ACTIVITY_STARTING = 1, /**< Finding home at start-up. */
    AF_ACTIVITY_IDLE = 2,
    AF_ACTIVITY_ZOOMING = 3,
    AF_ACTIVITY_FOCUSING = 4, /**< By hand. */
    AF_ACTIVITY_AUTOFOCUS = 5,
    AF_ACTIVITY_POSITIONING = 6, /**< To a position: preset, zoom to, focus to. */
    AF_ACTIVITY_HOMING = 7,
    AF_ACTIVITY_CALIBRATING = 8,
    AF_ACTIVITY_STEPPING = 9 /**< Single steps by a service tool. */
} AF_Activity_em;

/* Faults. Each of the first three stands until a call of its kind succeeds, the others until home
 * is found. */
#define AF_FAULT_DRIVER 0x01 /**< The motor driver's bus refused a transfer. */
#define AF_FAULT_GPIO   0x02 /**< A GPIO call failed. */
#define AF_FAULT_ISP    0x04 /**< An ISP call failed. */
#define AF_FAULT_HOMING 0x08 /**< The last search did not find home. */
#define AF_FAULT_POSITION                                                                          \
    0x10 /**< Position doubtful: the counters may not say where the lens is. */

/** What the lens does and where it stands. */
typedef struct {
    unsigned int size;         /**< In: sizeof(AF_Status_ST) of the caller. */
    unsigned int activity;     /**< AF_Activity_em. */
    unsigned int faults;       /**< AF_FAULT_... bits. */
    int ticket;                /**< In hand; 0: none. */
    int endedTicket;           /**< The one that ended last; 0: none yet. */
    unsigned int endedOutcome; /**< Its AF_Outcome_em. */
    unsigned int zoomSteps;    /**< Zoom position in motor steps; all four 0 until start-up ends. */
    unsigned int focusSteps;   /**< Focus position in motor steps. */
    unsigned int zoomPosition; /**< Zoom position, 16 bits. */
    unsigned int focusPosition; /**< Focus position, 16 bits. */
    unsigned int runs;          /**< Autofocus runs since start; what follows is of the last one. */
    unsigned int runOutcome;    /**< Its verdict, AF_OUTCOME_FOCUSED to _CANCELLED; 0 before. */
    unsigned int runFrames;     /**< Frames that it looked at. */
    unsigned int runStart;      /**< Focus value at its start, */
    unsigned int runPeak;       /**< the highest that it met, */
    unsigned int runFloor;      /**< and the lowest. */
    int lostZoomSteps;  /**< What the last home search found the zoom counter short of the truth. */
    int lostFocusSteps; /**< The same of the focus. 0 until home was found twice. */
} AF_Status_ST;

/**
 * Copy what is true of one moment. Never blocks.
 *
 * @param status  its field size says how much is copied, so that a host of an older version may
 * ask.
 * @return 0; -1 and nothing written when @p status is NULL or smaller than two fields.
 */
AUTOFOCUS_EXPORT int AF_Manager_Get_Status_API(AF_Status_ST *status);

/* ==== Events ==== */

/** A ticket's start or end. One that was replaced or cancelled before it was taken only ends. */
typedef struct {
    unsigned int size; /**< sizeof(AF_Event_ST) of the library. */
    int ticket;
    unsigned int activity; /**< AF_Activity_em that begins or ends. */
    unsigned int outcome;  /**< AF_OUTCOME_NONE at the start, else how it ended. */
} AF_Event_ST;

/**
 * Called at every start and end, on the lens-control thread (on the start-up thread for start-up
 * itself), no lock held. It may place orders and cancel; it must not wait, for the lens waits with
 * it.
 */
typedef void (*AF_EventFun)(const AF_Event_ST *event, void *user);

/**
 * Register the one event callback; NULL takes it away. A call that has begun goes on.
 *
 * @param user  handed to each call.
 * @return 0.
 */
AUTOFOCUS_EXPORT int AF_Manager_Init_EventFun_API(AF_EventFun callBackFun, void *user);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_CONTROL_H */
