#include "autofocus/host/settings.h"

#include "autofocus.h"

int icr_control_mode = TYPE_OUTCONTROL;
int g_ICUTState = kIcutDay;
int g_LensType = LENS_B;
int g_SensType = 2;
