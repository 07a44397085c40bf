/*
 * The calls and records of the image signal processor that the library uses, and nothing more.
 *
 * A build for a camera puts the platform's own header in the place of this one (build option
 * AUTOFOCUS_ISP_HEADER); the library uses the members by name and never relies on their layout.
 * The library leaves the calls undefined: the program that loads it provides them.
 */
#pragma once // IWYU pragma: private, include "platform/isp.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint8_t HI_U8;
typedef uint16_t HI_U16;
typedef uint32_t HI_U32;
typedef uint64_t HI_U64;
typedef int16_t HI_S16;
typedef int32_t HI_S32;

typedef enum { HI_FALSE = 0, HI_TRUE = 1 } HI_BOOL;

typedef HI_S32 ISP_DEV;

/** Rows and columns of the focus zone grid that the hardware offers at most. */
#define AF_ZONE_ROW    15
#define AF_ZONE_COLUMN 17

typedef enum { ISP_AF_STA_NORM = 0, ISP_AF_STA_PEAK = 1 } ISP_AF_PEAK_MODE_E;
typedef enum { ISP_AF_STA_SUM_NORM = 0, ISP_AF_STA_SUM_SQU = 1 } ISP_AF_SQU_MODE_E;

/** Grid, window and modes of the focus statistics engine. Sizes in pixels. */
typedef struct {
    HI_BOOL bEnable;
    HI_U16 u16Hwnd;
    HI_U16 u16Vwnd;
    HI_U16 u16Hsize;
    HI_U16 u16Vsize;
    ISP_AF_PEAK_MODE_E enPeakMode;
    ISP_AF_SQU_MODE_E enSquMode;
} ISP_AF_CFG_S;

/** One horizontal IIR filter: three stages, gains and shifts in the engine's fixed point. */
typedef struct {
    HI_BOOL abIIREn[3];
    HI_S16 as16IIRGain[7];
    HI_U16 au16IIRShift[4];
    HI_U16 u16IIRThd;
} ISP_AF_H_PARAM_S;

/** One vertical five-tap FIR filter. */
typedef struct {
    HI_S16 as16FIRH[5];
    HI_U16 u16FIRThd;
} ISP_AF_V_PARAM_S;

/** Right shifts of the accumulators: luminance, two horizontal and two vertical filters. */
typedef struct {
    HI_U16 u16AccShiftY;
    HI_U16 au16AccShiftH[2];
    HI_U16 au16AccShiftV[2];
} ISP_AF_FV_PARAM_S;

typedef struct {
    ISP_AF_CFG_S stConfig;
    ISP_AF_H_PARAM_S stHParam_IIR0;
    ISP_AF_H_PARAM_S stHParam_IIR1;
    ISP_AF_V_PARAM_S stVParam_FIR0;
    ISP_AF_V_PARAM_S stVParam_FIR1;
    ISP_AF_FV_PARAM_S stFVParam;
} ISP_FOCUS_STATISTICS_CFG_S;

/** All statistics engines' configuration; this library changes the focus member only. */
typedef struct {
    HI_U64 u64OtherEngines[16];
    ISP_FOCUS_STATISTICS_CFG_S stFocusCfg;
} ISP_STATISTICS_CFG_S;

/** What one zone's filters have accumulated over a frame, and its mean luminance. */
typedef struct {
    HI_U16 u16v1;
    HI_U16 u16h1;
    HI_U16 u16v2;
    HI_U16 u16h2;
    HI_U16 u16y;
} ISP_FOCUS_ZONE_S;

typedef struct {
    ISP_FOCUS_ZONE_S stZoneMetrics[AF_ZONE_ROW][AF_ZONE_COLUMN];
} ISP_FOCUS_STATISTICS_S;

typedef struct {
    ISP_FOCUS_STATISTICS_S stFocusStat;
} ISP_STATISTICS_S;

typedef struct {
    HI_S32 s32X;
    HI_S32 s32Y;
    HI_U32 u32Width;
    HI_U32 u32Height;
} RECT_S;

typedef struct {
    RECT_S stWndRect;
} ISP_PUB_ATTR_S;

/** Gains of the current exposure, each with 10 fractional bits (1024 is a gain of 1). */
typedef struct {
    HI_U32 u32AGain;
    HI_U32 u32DGain;
    HI_U32 u32ISPDGain;
} ISP_EXP_INFO_S;

typedef struct {
    HI_U32 u32FrameCnt;
} ISP_VD_INFO_S;

/* Each returns 0 on success and the platform's error code otherwise. */
HI_S32 HI_MPI_ISP_GetStatisticsConfig(ISP_DEV IspDev, ISP_STATISTICS_CFG_S *pstStatCfg);
HI_S32 HI_MPI_ISP_SetStatisticsConfig(ISP_DEV IspDev, const ISP_STATISTICS_CFG_S *pstStatCfg);
HI_S32 HI_MPI_ISP_GetPubAttr(ISP_DEV IspDev, ISP_PUB_ATTR_S *pstPubAttr);
HI_S32 HI_MPI_ISP_GetVDTimeOut(ISP_DEV IspDev, ISP_VD_INFO_S *pstIspVdInfo, HI_U32 u32MilliSec);
HI_S32 HI_MPI_ISP_GetStatistics(ISP_DEV IspDev, ISP_STATISTICS_S *pstStat);
HI_S32 HI_MPI_ISP_QueryExposureInfo(ISP_DEV IspDev, ISP_EXP_INFO_S *pstExpInfo);

#ifdef __cplusplus
}
#endif
