/*
 * The words that several modules share: lens commands, directions of a move, LED outputs.
 */
#ifndef AUTOFOCUS_TYPES_H
#define AUTOFOCUS_TYPES_H

#ifdef __cplusplus
extern "C" {
#endif

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

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_TYPES_H */
