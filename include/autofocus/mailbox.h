/*
 * The record that all threads share: the pending command with its argument, and where the lens
 * stands.
 */
#ifndef AUTOFOCUS_MAILBOX_H
#define AUTOFOCUS_MAILBOX_H

#include "autofocus.h"
#include "autofocus/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The shared position record; every field is a word of its own, written and read without a lock.
 */
typedef struct {
    unsigned int shCommand; /**< Pending AF_CMD_em: a mailbox with one slot, last writer wins. */
    unsigned int shValue;   /**< Its argument; a producer stores it just before shCommand. */
    unsigned short shRZPosition; /**< 16-bit zoom position; written by Lens_Map_ZPosition(). */
    unsigned short shRFPosition; /**< 16-bit focus position; written by Lens_Map_FPosition(). */
} Lens_ShaPos_ST;

/** The record, NULL before start-up has created it and after stop. It is never freed. */
extern AUTOFOCUS_EXPORT Lens_ShaPos_ST *g_ShaPosInfo;

/** @return the pending command, 0xFFFFFFFF without a record. Any thread. */
AUTOFOCUS_EXPORT unsigned int Lens_Get_Command(void);

/** Store @p cmd unchecked. @return 0; -1 without a record. Any thread. */
AUTOFOCUS_EXPORT int Lens_Set_Command(unsigned int cmd);

/** Store @p zp as argument, then @p cmd. @return 0; -1 without a record. Any thread. */
AUTOFOCUS_EXPORT int lensDirectZPosition(unsigned int cmd, unsigned short zp);

AUTOFOCUS_EXPORT int lensGetZMapPosition(unsigned short *zp); /**< @return 0; -1: no record. */
AUTOFOCUS_EXPORT int lensGetFMapPosition(unsigned short *fp); /**< @return 0; -1: no record. */

/** @return 0 while the mailbox holds CMD_ZSTOP, CMD_FOCUS or CMD_FSTOP, else 1. */
AUTOFOCUS_EXPORT int lensFocusInterrupt(void);

/** @return 0 while the mailbox holds @p emCmd or CMD_FOCUS, else 1. */
AUTOFOCUS_EXPORT int lensMotorInterrupt(AF_CMD_em emCmd);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_MAILBOX_H */
