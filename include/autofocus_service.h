/*
 * What service and test tools need beside autofocus.h: the command mailbox, the lens state, the
 * tables, the motor driver and the utilities, as the library itself uses them.
 *
 * None of this is needed to run a camera. Unless stated otherwise, functions that move the lens
 * block until the move is over and may run on one thread at a time: the start-up thread, then the
 * lens-control thread. All positions are motor steps counted from 10000 at the wide end (zoom) and
 * at the near end (focus); "16-bit positions" are the scale of the serial protocol.
 */
#ifndef AUTOFOCUS_SERVICE_H
#define AUTOFOCUS_SERVICE_H

#include "autofocus.h"

#include <pthread.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ==== Shared types ==== */

/** Lens commands, as the mailbox holds them. */
typedef enum {
    CMD_ZSTOP = 0,   /**< Zoom stopped: refocus. */
    CMD_WIDE = 1,    /**< Zoom toward wide until another command comes. */
    CMD_TELE = 2,    /**< Zoom toward tele until another command comes. */
    CMD_NEAR = 3,    /**< Focus toward near until another command comes. */
    CMD_FAR = 4,     /**< Focus toward far until another command comes. */
    CMD_RESET = 5,   /**< Find home, park at the wide end, refocus. */
    CMD_FOCUS = 6,   /**< One autofocus run. */
    CMD_FLINE = 7,   /**< Measure the infinity curve. */
    CMD_SPST = 8,    /**< Set the preset shValue. */
    CMD_CAPST = 9,   /**< Call the preset shValue; 202 enables the refocus trigger. */
    CMD_CLPST = 10,  /**< Clear the preset shValue; 202 disables the refocus trigger. */
    CMD_DZF = 11,    /**< Go to the 16-bit positions in shValue: zoom low half, focus high half. */
    CMD_RST = 12,    /**< Find home, go back to the present position, refocus. */
    CMD_FSTOP = 13,  /**< Manual focus stopped: idle, the refocus trigger stays as it is. */
    CMD_MFMODE = 14, /**< Keep the refocus trigger disarmed. */
    CMD_AFMODE = 15, /**< Keep the refocus trigger armed. */
    CMD_NONE = 16    /**< Idle, the refocus trigger armed; so is every value above. */
} AF_CMD_em;

/** Direction of a move. */
typedef enum {
    MS_Z_WIDE = 0, /**< Zoom counter decreases. */
    MS_Z_TELE = 1, /**< Zoom counter increases. */
    MS_F_NEAR = 2, /**< Focus counter decreases. */
    MS_F_FAR = 3,  /**< Focus counter increases. */
    MS_NONE = 4    /**< No move. */
} MS_Action_em;

/** A channel's LED output, which lights a photo-interrupter; any non-zero value lights it. */
typedef enum { LED_DISABLE = 0, LED_ENABLE = 1, LED_NONE = 2 } MS_LED_em;

/** The shared position record; every field is a word of its own, written and read without a lock.
 */
typedef struct {
    unsigned int shCommand; /**< Pending AF_CMD_em: a mailbox with one slot, last writer wins. */
    unsigned int shValue;   /**< Its argument; a producer stores it just before shCommand. */
    unsigned short shRZPosition; /**< 16-bit zoom position; written by Lens_Map_ZPosition(). */
    unsigned short shRFPosition; /**< 16-bit focus position; written by Lens_Map_FPosition(). */
} Lens_ShaPos_ST;

/** One frame's gains and focus sums; written by the statistics thread. */
typedef struct {
    unsigned int AGain;       /**< Analogue gain, in the ISP's unit. */
    unsigned int DGain;       /**< Sensor digital gain, in the ISP's unit. */
    unsigned int ISPGain;     /**< ISP digital gain, in the ISP's unit. */
    unsigned int vV1SumHalf;  /**< Sum of the first vertical filter over the centre zones. */
    unsigned int vV2SumHalf;  /**< Sum of the second vertical filter over the centre zones. */
    unsigned int vH1SumHalf;  /**< Sum of the first horizontal filter over the centre zones. */
    unsigned int vH2SumHalf;  /**< Sum of the second horizontal filter over the centre zones. */
    unsigned int vwV1SumAll;  /**< Weighted average of the first focus value, whole picture. */
    unsigned int vwV2SumAll;  /**< Weighted average of the second focus value, whole picture. */
    unsigned int vwV1SumHalf; /**< Weighted average of the first focus value, centre. */
    unsigned int vwV2SumHalf; /**< Weighted average of the second focus value, centre. */
} AF_Statistics_Info;

/** A focus line: in-focus focus position at each zoom tag point and quarter; as FOCUS_POINT. */
typedef struct {
    unsigned int tagPosition[16][4];
} FLine_Tagposition_ST;

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

/** Where on the zoom grid a zoom ratio sits. */
typedef struct {
    int index1; /**< Zoom tag point, 0 to 15. */
    int index2; /**< Quarter, 0 to 3. */
    int ratio;  /**< Zoom ratio, 1 to 36; 0 marks an empty entry. */
} Lens_Index_Map;

/* ==== Start-up and settings ==== */

extern AUTOFOCUS_EXPORT int icr_control_mode; /**< IR-cut control type; any host thread writes. */
extern AUTOFOCUS_EXPORT int g_ICUTState;      /**< 1 night, 0 day; host writes, focusing reads. */
extern AUTOFOCUS_EXPORT int g_LensType;       /**< LENS_A, LENS_B; never written by the library. */
extern AUTOFOCUS_EXPORT int g_SensType;       /**< Image sensor variant; 1 is singled out. */

/** Body of the start-up thread; AF_Manager_Start_API() starts it. */
AUTOFOCUS_EXPORT void *afStartThread(void *unused);

/* ==== Host callbacks and their adapters ====
 * Each adapter returns the callback's result, or -1 (with a message, the day/night one excepted)
 * when none is registered. */

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

/* ==== Command mailbox and lens-control thread ==== */

/** The record, NULL before start-up has created it and after stop. It is never freed. */
extern AUTOFOCUS_EXPORT Lens_ShaPos_ST *g_ShaPosInfo;
extern AUTOFOCUS_EXPORT int gLensCtrl; /**< Stop flag of the lens-control thread, never cleared. */

/** @return the pending command, 0xFFFFFFFF without a record. Any thread. */
AUTOFOCUS_EXPORT unsigned int Lens_Get_Command(void);

/** Store @p cmd unchecked. @return 0; -1 without a record. Any thread. */
AUTOFOCUS_EXPORT int Lens_Set_Command(unsigned int cmd);

/** @return 0 while the mailbox holds CMD_ZSTOP, CMD_FOCUS or CMD_FSTOP, else 1. */
AUTOFOCUS_EXPORT int lensFocusInterrupt(void);

/** @return 0 while the mailbox holds @p emCmd or CMD_FOCUS, else 1. */
AUTOFOCUS_EXPORT int lensMotorInterrupt(AF_CMD_em emCmd);

/** Disarm the refocus trigger for CMD_MFMODE, arm it for any other value. */
AUTOFOCUS_EXPORT void lensFocusMode(AF_CMD_em emCmd);

/** Measure the infinity curve, then store CMD_NONE, unless another command has come. Minutes. */
AUTOFOCUS_EXPORT void lensFocusLine(void);

/** Ask the lens-control thread to end. Any thread. */
AUTOFOCUS_EXPORT void lensCtrlStop(void);

/** Body of the lens-control thread. */
AUTOFOCUS_EXPORT void *thLensCtrl(void *unused);

/* ==== Lens state: set once by start-up, then written by the thread that drives the motors ==== */

extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Start, FM_Step_Start; /**< Origins, 10000. */
extern AUTOFOCUS_EXPORT unsigned int PI_Wide_Range, PI_Tele_Range; /**< Zoom PI to either end. */
extern AUTOFOCUS_EXPORT unsigned int PI_Near_Range, PI_Far_Range;  /**< Focus PI to either end. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Correct, ZM_Step_Surplus; /**< Zoom end margins. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Correct, FM_Step_Surplus; /**< Focus end margins. */
extern AUTOFOCUS_EXPORT unsigned int ZM_PI_Position, FM_PI_Position; /**< Counters at the edges. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Wide_Limit, ZM_Tele_Limit;
extern AUTOFOCUS_EXPORT unsigned int FM_Near_Limit, FM_Far_Limit;
extern AUTOFOCUS_EXPORT unsigned int FM_Lock_Start; /**< Where a calibration starts its focus. */
extern AUTOFOCUS_EXPORT unsigned char Step_Level_Uit, Step_Level_Min, Step_Level_Mid;
extern AUTOFOCUS_EXPORT unsigned char Step_Level_Max, Step_Level_Hig, Step_Level_Rst;

extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Local, FM_Step_Local;   /**< Where the lens stands. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Powoff, FM_Step_Powoff; /**< Before power-on. */
extern AUTOFOCUS_EXPORT unsigned int FM_Focus_Flag;  /**< 1: a manual-focus return point is kept. */
extern AUTOFOCUS_EXPORT unsigned int FM_Focus_Start; /**< That point. */
extern AUTOFOCUS_EXPORT int g_ZoomDir; /**< Last zoom direction, MS_Z_WIDE or MS_Z_TELE. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Total, FM_Step_Total, ZM_Step_Average; /**< Unused. */
extern AUTOFOCUS_EXPORT unsigned int ZM_Return_Bad, FM_Return_Bad;                  /**< Unused. */

/** Build every table, find home and park at the wide end. Once, on the start-up thread. */
AUTOFOCUS_EXPORT void Lens_Init(void);

/** Find home and go to the destination of @p emCmd; leaves CMD_FOCUS in the mailbox. */
AUTOFOCUS_EXPORT void lensMotorReset(AF_CMD_em emCmd);

/** Find home and park at the wide end; leaves the mailbox alone. */
AUTOFOCUS_EXPORT void Lens_Reset(void);

/** Copy the counters. @return 0; -1 and nothing written when a pointer is NULL. Any thread. */
AUTOFOCUS_EXPORT int Lens_Get_Location(unsigned int *zLocation, unsigned int *fLocation);

AUTOFOCUS_EXPORT void Lens_Print_Location(void);

/* ==== Moves ==== */

/** Soft start of a tracked zoom: the first step in two periods, a quarter and the rest. */
AUTOFOCUS_EXPORT void Lens_Starting(MS_Action_em zType, unsigned char zStep, MS_Action_em fType,
                                    unsigned char fStep);

/**
 * Clip proposed steps to the room left before the limits.
 *
 * @param zType,fType  directions; one that is not of its axis skips the axis.
 * @param zStep,fStep  in: proposed steps; out: what there is room for. May be NULL when skipped.
 * @return bit 0: no room for the zoom, bit 1: none for the focus.
 */
AUTOFOCUS_EXPORT int Lens_Check_AllowanceForSteps(MS_Action_em zType, unsigned char *zStep,
                                                  MS_Action_em fType, unsigned char *fStep);

/** Go from the photo-interrupter positions to (@p desZP, @p desFP) and store the position. */
AUTOFOCUS_EXPORT void Lens_To_Destination(unsigned int desZP, unsigned int desFP);

/** Advance the counter of @p type's axis and publish its 16-bit position. */
AUTOFOCUS_EXPORT void Lens_Fresh_ZFLocation(MS_Action_em type, unsigned char nStep);

/** Focus-only move that nothing interrupts. @return 0. */
AUTOFOCUS_EXPORT int lensMotorFocusRunSteps(MS_Action_em fType, int fSteps);

/** The same, ended by a command that interrupts focusing. @return 1 when interrupted, else 0. */
AUTOFOCUS_EXPORT int lensMotorFocusRun(MS_Action_em fType, int fSteps);

/** Zoom while @p emCmd stays in the mailbox, the focus following. @return the mailbox value. */
AUTOFOCUS_EXPORT unsigned int lensMotorZoomCtrl(AF_CMD_em emCmd);

/** Move the focus by hand while @p emCmd stays in the mailbox. @return the mailbox value. */
AUTOFOCUS_EXPORT unsigned int lensMotorFocusCtrl(AF_CMD_em emCmd);

/** Steps and focus direction of the next tracking period toward @p type. */
AUTOFOCUS_EXPORT void Lens_Get_DirAndStep2(MS_Action_em type, unsigned char *zStep,
                                           unsigned char *fStep, MS_Action_em *focusDir);

/** Search both photo-interrupters; counters set on success. @return 0; -1, counters unchanged. */
AUTOFOCUS_EXPORT int Lens_Check_PIPosition(void);

/* ==== Focus lines and the zoom grid ==== */

extern AUTOFOCUS_EXPORT unsigned int ZM_Step_Run[16];         /**< Zoom tag points. */
extern AUTOFOCUS_EXPORT FLine_Tagposition_ST g_FLineInfo;     /**< Infinity line. */
extern AUTOFOCUS_EXPORT FLine_Tagposition_ST g_FLineInfo_2M;  /**< 2 m line. */
extern AUTOFOCUS_EXPORT FLine_Tagposition_ST g_FLineInfo_Tmp; /**< Line between the two. */
extern AUTOFOCUS_EXPORT unsigned int g_Interpolation[16][4];  /**< Distance between the two. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Run[16][4];      /**< Quarter steps, infinity. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Run_2M[16][4];   /**< Quarter steps, 2 m. */
extern AUTOFOCUS_EXPORT unsigned int FM_Step_Run_Tmp[16][4];  /**< Quarter steps, between. */
extern AUTOFOCUS_EXPORT int g_FLineFlag; /**< Line to follow: 0 infinity, 1 2 m, 2 between. */
extern AUTOFOCUS_EXPORT unsigned int tagGroup[5][40];    /**< 2 m lines, sensor 1. */
extern AUTOFOCUS_EXPORT unsigned int tagGroup290[5][40]; /**< 2 m lines, other sensors. */

AUTOFOCUS_EXPORT void Lens_Init_FLineInfo(void);     /**< Built-in infinity line. */
AUTOFOCUS_EXPORT void Lens_Init_2MFocusLine(void);   /**< 2 m line that fits the infinity line. */
AUTOFOCUS_EXPORT void Lens_Init_Interpolation(void); /**< Distances between the two. */
AUTOFOCUS_EXPORT void Lens_Set_FocusStep(void);      /**< Quarter steps of both. */

/** Build the line @p ratio (0 infinity to 1 2 m) of the way, and its quarter steps. */
AUTOFOCUS_EXPORT void Lens_Set_FocusStepTmp(float ratio);

/** @return the line that g_FLineFlag selects. */
AUTOFOCUS_EXPORT FLine_Tagposition_ST *Lens_Get_FocusLine(void);

/** @return the focus steps of quarter (@p i, @p j) on that line, low 8 bits; 0 for a bad flag. */
AUTOFOCUS_EXPORT unsigned char Lens_Get_FocusStep(int i, int j);

/** @return the zoom tag segment of the present zoom position, 15 at the tele end; -1 outside. */
AUTOFOCUS_EXPORT int Lens_Get_FLTagIndex(void);

/**
 * @return the in-focus position on the infinity line at the present zoom position, interpolated
 *         between the tag points around it; -1 outside the grid.
 */
AUTOFOCUS_EXPORT int Lens_Get_FLTagPosition(void);

/** Grid point at or below @p zp. @return 0; -1 with a message and nothing written outside. */
AUTOFOCUS_EXPORT int Lens_Get_ZoomIndex(int *index1, int *index2, unsigned int zp);

/** Focus range at a grid point: 2 m line (near) to infinity line (far), in the limits. @return 0.
 */
AUTOFOCUS_EXPORT int Lens_Get_SearchRange(int index1, int index2, unsigned int *nP,
                                          unsigned int *fP);

/** Choose the line that zoom tracking follows from where the focus stands. */
AUTOFOCUS_EXPORT void Lens_FCurve_Choise(int index1, int index2);

/* ==== Persistence through the host ==== */

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

/* ==== Zoom ratios, 16-bit positions, direct positioning ==== */

extern AUTOFOCUS_EXPORT const unsigned short gZRPosition[36]; /**< 16-bit position of 1x to 36x. */
extern AUTOFOCUS_EXPORT unsigned int gOSDMultipleMax;         /**< Ratio at the tele end, 18..36. */
extern AUTOFOCUS_EXPORT Lens_Index_Map gOSDMultipleMap[36];   /**< Grid point of each ratio. */
extern AUTOFOCUS_EXPORT int g_Average, g_Remainder;           /**< Quarters a gap, and left over. */
extern AUTOFOCUS_EXPORT unsigned short gPositionMap[16][4];   /**< 16-bit position of each point. */

/** Set the ratio count without building the maps. @return 0; -1 with a message outside 18..36. */
AUTOFOCUS_EXPORT int Lens_Init_OSDMultiple(unsigned int multiple);
AUTOFOCUS_EXPORT void Lens_Init_OSDMULMAP(void); /**< Spread the ratios over the zoom range. */
/** Set the ratio count and build the maps. @return 0; -1 with a message outside 18..36. */
AUTOFOCUS_EXPORT int Lens_Reset_OSDMULMAP(unsigned int multiple);
/** Publish @p azp's 16-bit position and ratio. @return the position; 65535 outside the grid. */
AUTOFOCUS_EXPORT unsigned short Lens_Map_ZPosition(unsigned int azp);
/** Publish @p afp's 16-bit position. @return it; 49152 near to 4096 far. */
AUTOFOCUS_EXPORT unsigned short Lens_Map_FPosition(unsigned int afp);
AUTOFOCUS_EXPORT int Lens_Set_Multiple(int value); /**< On-screen ratio. @return 0. */
/** Zoom to 16-bit position @p rzp with the focus following; not stored. @return 0. */
AUTOFOCUS_EXPORT int Lens_Direct_ZPosition(unsigned short rzp);
/** Restore, preset or direct zoom. @return 1 when an autofocus run is to follow, else 0. */
AUTOFOCUS_EXPORT int Lens_Direct_ZFPosition(unsigned short rzp, unsigned short rfp);
AUTOFOCUS_EXPORT int lensGetZMapPosition(unsigned short *zp); /**< @return 0; -1: no record. */
AUTOFOCUS_EXPORT int lensGetFMapPosition(unsigned short *fp); /**< @return 0; -1: no record. */
/** Store @p zp as argument, then @p cmd. @return 0; -1 without a record. Any thread. */
AUTOFOCUS_EXPORT int lensDirectZPosition(unsigned int cmd, unsigned short zp);

/* ==== Presets ==== */

extern AUTOFOCUS_EXPORT Lens_AP_ST g_APGroupInfo;
extern AUTOFOCUS_EXPORT Lens_RP_ST g_RPGroupInfo;

/** Create the shared record and load the presets. Waits for a preset callback that still runs; -1
 * from inside one. @return 0, -1. */
AUTOFOCUS_EXPORT int Lens_Init_PresetInfo(void);
/* Both wait a second at most while another change is with the host's callback, then return -1 with
 * nothing changed; at once from inside a preset callback. Any thread. */
AUTOFOCUS_EXPORT int Lens_Set_Preset(int pst);   /**< @return 0; -1. */
AUTOFOCUS_EXPORT int Lens_Clear_Preset(int pst); /**< @return the host's result; -1. */
/** @return 0 when a move was attempted or none needed; -1 for a bad number or empty preset. */
AUTOFOCUS_EXPORT int Lens_Goto_Preset(int pst);
/** Act on shValue; leaves CMD_FOCUS after a direct zoom, else CMD_NONE, unless the mailbox has
 * changed meanwhile. */
AUTOFOCUS_EXPORT void lensMotorPreset(AF_CMD_em emCmd);

/* ==== Calibration runs: minutes, in front of a distant, detailed target ==== */

extern AUTOFOCUS_EXPORT unsigned int g_AFVDLimit; /**< Focus value a pass must exceed, 4000. */
extern AUTOFOCUS_EXPORT unsigned int g_AFVULimit; /**< Starting value of a pass minimum. */

/** Measure the infinity line, rebuild the tables, hand the line to the host. */
AUTOFOCUS_EXPORT void Lens_Generate_FocusLine2(void);
/** Write zoom, in-focus position and difference to /mnt/flash/data/ZFCurve.txt. */
AUTOFOCUS_EXPORT void Lens_Draw_CurveOfZoomAndFocus(void);
/** The same at quarter points, relative to the limits, to /mnt/flash/data/ZFCurve2.txt. */
AUTOFOCUS_EXPORT void Lens_Draw_CurveOfZoomAndFocus2(void);

/* ==== Autofocus ==== */

extern AUTOFOCUS_EXPORT const int Weight[8][8];            /**< Zone weights, row and column. */
extern AUTOFOCUS_EXPORT AF_Statistics_Info g_AFStatistics; /**< Last record; under afv_lock. */
extern AUTOFOCUS_EXPORT pthread_mutex_t afv_lock;
extern AUTOFOCUS_EXPORT pthread_cond_t afv_ready; /**< Signalled once a record. */

/** Body of the statistics thread. */
AUTOFOCUS_EXPORT void *afvManageThread(void *unused);

/** Wait for the next record, at most about 1 s, and copy the last one published. */
AUTOFOCUS_EXPORT void afStatisticsFresh(AF_Statistics_Info *statistics);

/** One autofocus run. @return the command that is to run next. */
AUTOFOCUS_EXPORT unsigned int lensFocusCtrl(AF_CMD_em emCmd);

/** Step of the next coarse sample, from the slopes since the reference record. */
AUTOFOCUS_EXPORT unsigned char Lens_ImageDefinition_Check(AF_Statistics_Info *pOld,
                                                          AF_Statistics_Info *pNew, int *xStep,
                                                          int afvMax, unsigned char stepMax);

/** Wide search. @return 0 not far out of focus, 1 interrupted, 2 peak found, -1 gave up. */
AUTOFOCUS_EXPORT int GreatlyOutOfFocus(int index1, int index2, int limitN, int limitF,
                                       MS_Action_em *type, unsigned int *tag, unsigned int *afvMax);

/** A hook that does nothing. */
AUTOFOCUS_EXPORT void Lens_Peak_Detect(AF_Statistics_Info *pOld, AF_Statistics_Info *pNew,
                                       int *xStep, unsigned char fStep);

extern AUTOFOCUS_EXPORT int g_AutoCheckEnable; /**< Master enable of the refocus trigger. */
extern AUTOFOCUS_EXPORT int g_AutoCheckFlag;   /**< 1 armed, 0 disarmed. */
extern AUTOFOCUS_EXPORT int g_AFVClearMax;     /**< Focus value of the last peak. */
extern AUTOFOCUS_EXPORT float g_AFRatio;       /**< Relative tolerance around it, 0.2. */

/** Refocus trigger, once a frame on the statistics thread. */
AUTOFOCUS_EXPORT void lensAutoFocusCheck(unsigned int afv1, unsigned int afv2);

/* ==== Manual stepping ==== */

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

/* ==== Motor driver: channel AB drives the zoom, CD the focus ==== */

/** One row of the VD timing table. */
typedef struct {
    unsigned char step[2];   /**< Steps it serves: [0] first period of a soft start, [1] running. */
    unsigned int psumxintct; /**< Period total in the chip's units, and VD period in us. */
} MS_VDTime_ST;

extern AUTOFOCUS_EXPORT const MS_VDTime_ST g_VDTAndStep[7];

AUTOFOCUS_EXPORT void MS419XX_Init(void);            /**< SPI, GPIO lines, reset, registers. */
AUTOFOCUS_EXPORT void MS419XX_Rest(void);            /**< Reset pulse, 10 ms low. */
AUTOFOCUS_EXPORT void MS419XX_Init_Register(void);   /**< Start-up register list, one VD. */
AUTOFOCUS_EXPORT void MS419XX_Printf_Register(void); /**< Read back and print. */

/** Program @p type's channel for a 25 ms period. @return 0; -1 with a message, nothing written. */
AUTOFOCUS_EXPORT int MS419XX_Set_PSUM_ICNT_Register(MS_Action_em type, unsigned char nStep,
                                                    MS_LED_em emLed);
/** Program both channels for a period of column @p flag (0 or 1) of the timing table. @return 0; -1
 * for another flag, nothing written. */
AUTOFOCUS_EXPORT int MS419XX_Set_PSUM_ICNT_RegSync(int flag, MS_Action_em zType,
                                                   unsigned char zStep, MS_Action_em fType,
                                                   unsigned char fStep, MS_LED_em emLed);
/** Program the focus channel for a 10 ms period. @return 0; -1 with a message, nothing written. */
AUTOFOCUS_EXPORT int MS419XX_Set_PSUM_ICNT_RegofFocus(MS_Action_em type, unsigned char nStep);

AUTOFOCUS_EXPORT void MS419XX_Break_MotorAB(MS_LED_em emLed); /**< Stand and hold, zoom. */
AUTOFOCUS_EXPORT void MS419XX_Break_MotorCD(MS_LED_em emLed); /**< Stand and hold, focus. */
AUTOFOCUS_EXPORT void MS419XX_Stop_MotorAB(void);
AUTOFOCUS_EXPORT void MS419XX_Stop_MotorCD(void);

/* VD pulses: each returns when its period has passed. */
AUTOFOCUS_EXPORT void MS419XX_VDFZ(void); /**< 25000 us. */
AUTOFOCUS_EXPORT void MS419XX_VDF(void);  /**< 10000 us. */
/** Period from column @p flag of the timing table for the larger of the two steps; none for a flag
 * other than 0 and 1. */
AUTOFOCUS_EXPORT void MS419XX_VDZ(int flag, unsigned char zStep, unsigned char fStep);
AUTOFOCUS_EXPORT void MS419XX_VDIR(void);         /**< Second VD line, 17000 us. */
AUTOFOCUS_EXPORT void MS419XX_VD_Test(int delay); /**< @p delay us. */

/* Poll the chip's busy lines every 100 us until they read 0, or cannot be read. */
AUTOFOCUS_EXPORT void MS419XX_Wait_Motor_Stop(void);
AUTOFOCUS_EXPORT void MS419XX_Wait_MotorAB_Stop(void);
AUTOFOCUS_EXPORT void MS419XX_Wait_MotorCD_Stop(void);

AUTOFOCUS_EXPORT void MS419XX_Set_PPWAB_Register(unsigned int ppw); /**< Peak pulse width. */
AUTOFOCUS_EXPORT void MS419XX_Set_PPWCD_Register(unsigned int ppw);

/* ==== SPI and GPIO ==== */

extern AUTOFOCUS_EXPORT int g_SPIFd;               /**< Descriptor; -1 after SPI_Release(). */
extern AUTOFOCUS_EXPORT unsigned char g_RxBuff[3]; /**< Bytes clocked in last. */

AUTOFOCUS_EXPORT int SPI_Init(void); /**< @return 0; -1 when the device does not open. */
AUTOFOCUS_EXPORT void SPI_Release(void);
/** One transfer of @p len bytes, of which at most 3 are sent. */
AUTOFOCUS_EXPORT void SPI_SendByte(unsigned char *data, int len);
AUTOFOCUS_EXPORT void Spi_Write(unsigned char addr, unsigned int data);
AUTOFOCUS_EXPORT int Spi_Read(unsigned char addr); /**< @p addr with the read flag 0x40. */
AUTOFOCUS_EXPORT void Af_Gpio_Init(void);

/* Pins count from 1. Each returns the record's value after the call, or -1 with a message. */
AUTOFOCUS_EXPORT int Hisi_Gpio_Read(unsigned int num);
AUTOFOCUS_EXPORT int Hisi_Gpio_Write(unsigned int num, unsigned int value);
AUTOFOCUS_EXPORT int Hisi_Gpio_SetVDF(unsigned int num, unsigned int value); /**< Blocks. */
AUTOFOCUS_EXPORT int Hisi_Gpio_CheckPLS(unsigned int num);
AUTOFOCUS_EXPORT int Hisi_Gpio_Getdir(unsigned int num);
AUTOFOCUS_EXPORT int Hisi_Gpio_Setdir(unsigned int num, unsigned int value);

/* ==== Log, local socket, shared memory: for the host, without a caller in the library ==== */

/** Append a time-stamped line to /tmp/aflog, never through a link; a text above 107 bytes is cut,
 * its line end kept. */
AUTOFOCUS_EXPORT void aflog(char *buf);
/** @return a listening Unix-domain socket at @p ser_path; -1. */
AUTOFOCUS_EXPORT int Af_Create_Server(char *ser_path);
/** Block until a client connects. @return its descriptor; -1 with a message. */
AUTOFOCUS_EXPORT int AF_Accept_Connect(int fd);
/** @return the segment attached; NULL when there is none to be had; (void *)-1 from shmat. */
AUTOFOCUS_EXPORT void *pShMemInit(int key, int size);

/* ==== Serial protocol ==== */

extern AUTOFOCUS_EXPORT int Usart1_fd; /**< The host's serial port, -1 until handed over. */

AUTOFOCUS_EXPORT void *SonyViscaProtocol(void *unused); /**< Body of the serial thread. */
AUTOFOCUS_EXPORT int InitUsartFd(int fd);               /**< @return 0. */
/** Read until @p len bytes have come or the port has none. @return bytes read. */
AUTOFOCUS_EXPORT int RecvVISCACmd(int fd, char *data, int len);
/** @return bytes still due of the frame that starts with @p data; -1 when it starts none. */
AUTOFOCUS_EXPORT int CheckVISCACmd(char *data, int size, int *type);
AUTOFOCUS_EXPORT void PrintfVISCA(char *data, int len);
AUTOFOCUS_EXPORT int SonyViscaProcess(unsigned char *buf, int len); /**< @return 0; -1. */
AUTOFOCUS_EXPORT int PelcodProcess(unsigned char *buf, int len);    /**< @return 0; -1. */

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_SERVICE_H */
