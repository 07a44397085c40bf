// The host's callbacks and the adapters through which the library calls them. An adapter turns a
// missing registration into an error, so that lens code never calls through a null pointer.
#include "autofocus/callbacks.h"
#include "autofocus.h"
#include "platform/shared_word.h"

#include <stdio.h>

static SetDayNightModeCallBack fSetDayNightMode = nullptr;

SetLensPosition fpSetLensPosition = nullptr;
GetLensPosition fpGetLensPosition = nullptr;
SetPresetInfo fpSetPresetInfo = nullptr;
GetPresetInfo fpGetPresetInfo = nullptr;
SetFocusPoint fpSetFocusPoint = nullptr;
GetFocusPoint fpGetFocusPoint = nullptr;

static int reportError(const char *function) {
    printf("%s Error!\n", function);
    return -1;
}

int AF_Manager_Init_DayNightModeFun_API(SetDayNightModeCallBack callBackFun) {
    if (callBackFun == nullptr) {
        puts("AF_Manager_Init_DayNightMode_Fun Failure !");
        return -1;
    }
    storeWord(&fSetDayNightMode, callBackFun);
    return 0;
}

int AF_Manager_Init_LensPosition_API(SetLensPosition setFun, GetLensPosition getFun) {
    if (setFun == nullptr || getFun == nullptr)
        return reportError(__func__);
    storeWord(&fpSetLensPosition, setFun);
    storeWord(&fpGetLensPosition, getFun);
    return 0;
}

int AF_Manager_Init_PresetInfo_API(SetPresetInfo setFun, GetPresetInfo getFun) {
    if (setFun == nullptr || getFun == nullptr)
        return reportError(__func__);
    storeWord(&fpSetPresetInfo, setFun);
    storeWord(&fpGetPresetInfo, getFun);
    return 0;
}

int AF_Manager_Init_FocusPoint_API(SetFocusPoint setFun, GetFocusPoint getFun) {
    if (setFun == nullptr || getFun == nullptr)
        return reportError(__func__);
    storeWord(&fpSetFocusPoint, setFun);
    storeWord(&fpGetFocusPoint, getFun);
    return 0;
}

int fCallbackSetIcutMode(int mode) {
    const SetDayNightModeCallBack call = loadWord(&fSetDayNightMode);
    return call == nullptr ? -1 : call(mode);
}

int fCallbakSetZMPosition(unsigned int zp, unsigned int fp) {
    const SetLensPosition call = loadWord(&fpSetLensPosition);
    return call == nullptr ? reportError(__func__) : call(zp, fp);
}

int fCallbakGetZMPosition(unsigned int *zp, unsigned int *fp) {
    const GetLensPosition call = loadWord(&fpGetLensPosition);
    return call == nullptr ? reportError(__func__) : call(zp, fp);
}

int fCallbakSetPreset(void *preset) {
    const SetPresetInfo call = loadWord(&fpSetPresetInfo);
    return call == nullptr ? reportError(__func__) : call(static_cast<PRESET_INF *>(preset));
}

int fCallbakGetPreset(void *preset) {
    const GetPresetInfo call = loadWord(&fpGetPresetInfo);
    return call == nullptr ? reportError(__func__) : call(static_cast<PRESET_INF *>(preset));
}

int fCallbakSetFocusLine(void *point) {
    const SetFocusPoint call = loadWord(&fpSetFocusPoint);
    return call == nullptr ? reportError(__func__) : call(static_cast<FOCUS_POINT *>(point));
}

int fCallbakGetFocusLine(void *point) {
    const GetFocusPoint call = loadWord(&fpGetFocusPoint);
    return call == nullptr ? reportError(__func__) : call(static_cast<FOCUS_POINT *>(point));
}
