#include "af_lens/model/mailbox.h"

#include "platform/shared_word.h"

#include <stdlib.h>

Lens_ShaPos_ST *g_ShaPosInfo = nullptr;

bool createRecord(void) {
    storeWord(&g_ShaPosInfo, static_cast<Lens_ShaPos_ST *>(calloc(1, sizeof(Lens_ShaPos_ST))));
    return hasRecord();
}

void withdrawRecord(void) {
    storeWord(&g_ShaPosInfo, nullptr);
}

bool hasRecord(void) {
    return loadWord(&g_ShaPosInfo) != nullptr;
}

unsigned int Lens_Get_Command(void) {
    const Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    return record == nullptr ? kNoRecord : loadWord(&record->shCommand);
}

int Lens_Set_Command(unsigned int cmd) {
    Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    if (record == nullptr)
        return -1;
    storeWord(&record->shCommand, cmd);
    return 0;
}

unsigned int leaveFollowUp(AF_CMD_em followUp) {
    if (Lens_Get_Command() != static_cast<unsigned int>(followUp))
        Lens_Set_Command(followUp);
    return Lens_Get_Command();
}

int lensDirectZPosition(unsigned int cmd, unsigned short zp) {
    Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    if (record == nullptr)
        return -1;
    storeWord(&record->shValue, zp); // before the command that needs it
    storeWord(&record->shCommand, cmd);
    return 0;
}

unsigned int readCommandArgument(void) {
    const Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    return record == nullptr ? 0 : loadWord(&record->shValue);
}

void publishZoomPosition16(unsigned short position16) {
    Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    if (record != nullptr)
        storeWord(&record->shRZPosition, position16);
}

void publishFocusPosition16(unsigned short position16) {
    Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    if (record != nullptr)
        storeWord(&record->shRFPosition, position16);
}

int lensGetZMapPosition(unsigned short *zp) {
    const Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    if (record == nullptr)
        return -1;
    *zp = loadWord(&record->shRZPosition);
    return 0;
}

int lensGetFMapPosition(unsigned short *fp) {
    const Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    if (record == nullptr)
        return -1;
    *fp = loadWord(&record->shRFPosition);
    return 0;
}

int lensFocusInterrupt(void) {
    const unsigned int command = Lens_Get_Command();
    const bool goesOn = command == CMD_ZSTOP || command == CMD_FOCUS || command == CMD_FSTOP;
    return goesOn ? 0 : 1;
}

int lensMotorInterrupt(AF_CMD_em emCmd) {
    const unsigned int command = Lens_Get_Command();
    const bool goesOn = command == static_cast<unsigned int>(emCmd) || command == CMD_FOCUS;
    return goesOn ? 0 : 1;
}
