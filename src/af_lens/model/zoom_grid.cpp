#include "af_lens/model/zoom_grid.h"

#include "af_lens/model/lens_state.h"
#include "platform/trace.h"

unsigned int ZM_Step_Run[kTagPoints];

// Sections get shorter toward tele, where the focus line is steep.
static const unsigned short kSectionSteps[kTagPoints - 1] = {
    768, 768, 768, 768, 768, 768, 768, 768, 768, 768, 768, 768, 512, 320, 224,
};

void Lens_Init_ZoomStep(void) {
    ZM_Step_Run[0] = ZM_Wide_Limit;
    for (int i = 1; i < kTagPoints; ++i)
        ZM_Step_Run[i] = ZM_Step_Run[i - 1] + kSectionSteps[i - 1];
    if (ZM_Step_Run[kTeleTag] != ZM_Tele_Limit)
        TRACE_FORMAT("ERROR !!! ZM_Tele_Limit: %d\n", static_cast<int>(ZM_Tele_Limit));
}

int findZoomSection(unsigned int zp) {
    if (zp < ZM_Step_Run[0])
        return -1;
    for (int i = 0; i < kTeleTag; ++i)
        if (zp < ZM_Step_Run[i + 1])
            return i;
    return zp == ZM_Step_Run[kTeleTag] ? kTeleTag : -1;
}

int Lens_Get_FLTagIndex(void) {
    return findZoomSection(zoomPosition());
}

int Lens_Get_ZoomIndex(int *index1, int *index2, unsigned int zp) {
    const int section = findZoomSection(zp);
    if (section < 0) {
        TRACE_TEXT("Error.");
        return -1;
    }
    *index1 = section;
    *index2 = section == kTeleTag
                  ? 0
                  : static_cast<int>((zp - ZM_Step_Run[section]) / quarterLength(section));
    return 0;
}

bool findGridPlace(GridPlace *place) {
    int index1, index2;
    if (Lens_Get_ZoomIndex(&index1, &index2, zoomPosition()) != 0)
        return false;
    const unsigned int quarterPoint = static_cast<unsigned int>(index2);
    place->point = static_cast<unsigned int>(index1 * kQuarters) + quarterPoint;
    place->quarter = index1 == kTeleTag ? 1 : quarterLength(index1);
    place->way = zoomPosition() - ZM_Step_Run[index1] - quarterPoint * place->quarter;
    return true;
}
