#include "af_lens/model/focus_lines.h"

#include "af_lens/model/focus_line_tables.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "autofocus/host/settings.h"
#include "platform/arithmetic.h"
#include "platform/trace.h"

#include <string.h>

FLine_Tagposition_ST g_FLineInfo;
FLine_Tagposition_ST g_FLineInfo_2M;
FLine_Tagposition_ST g_FLineInfo_Tmp;
unsigned int g_Interpolation[kTagPoints][kQuarters];
unsigned int FM_Step_Run[kTagPoints][kQuarters];
unsigned int FM_Step_Run_2M[kTagPoints][kQuarters];
unsigned int FM_Step_Run_Tmp[kTagPoints][kQuarters];
int g_FLineFlag = kLineInfinity;

static_assert(kFirstFullRow == kAnchorRows - 1, "the tables give the same rows in full");

static const int kReferenceTolerance = 8; // a unit this close below a group belongs to it

void fillQuarters(FLine_Tagposition_ST *line, LineCourse course) {
    for (int i = 0; i < kFirstFullRow; ++i) {
        unsigned int *row = line->tagPosition[i];
        const unsigned int next = line->tagPosition[i + 1][0];
        const bool rising = course == kMayRise && next > row[0];
        const unsigned int difference = rising ? next - row[0] : row[0] - next;
        const unsigned int quarter = difference >> 2;
        const bool hasRemainder = (difference & 3) != 0;
        for (int j = 0; j < kQuarters - 1; ++j) {
            const bool takesRemainder = j == kQuarters - 2 && hasRemainder;
            const unsigned int step = quarter + (takesRemainder ? 1 : 0);
            row[j + 1] = rising ? row[j] + step : row[j] - step;
        }
    }
}

static void buildInfinityLine(FLine_Tagposition_ST *line) {
    const InfinityAnchors &anchors =
        g_SensType == kSensorSingledOut ? kInfinitySensor1 : kInfinityOtherSensors;
    for (int i = 0; i < kAnchorRows; ++i)
        line->tagPosition[i][0] = anchors.firstColumn[i];
    fillQuarters(line, kFalls);
    for (int k = 0; k < kFullRowsEntries; ++k) {
        const int point = kFirstFullRow * kQuarters + 1 + k;
        line->tagPosition[point / kQuarters][point % kQuarters] = anchors.fullRows[k];
    }
}

void Lens_Init_FLineInfo(void) {
    buildInfinityLine(&g_FLineInfo);
}

// The group whose reference is the largest not above @p focus, unless the next one up lies within
// the tolerance.
static int choose2MGroup(const unsigned short *references, unsigned int focus) {
    int k = 0;
    while (k < kGroups && references[k] <= focus)
        ++k;
    if (k == 0)
        return 0;
    if (k == kGroups)
        return kGroups - 1;
    const int below = static_cast<int>(references[k] - focus);
    return below <= kReferenceTolerance ? k : k - 1;
}

static void expandGroup(const unsigned int *values, FLine_Tagposition_ST *line) {
    memset(line, 0, sizeof *line);
    for (int i = 0; i < kFirstFullRow; ++i)
        line->tagPosition[i][0] = *values++;
    for (int i = kFirstFullRow; i < kTeleTag; ++i)
        for (int j = 0; j < kQuarters; ++j)
            line->tagPosition[i][j] = *values++;
    line->tagPosition[kTeleTag][0] = *values;
    fillQuarters(line, kFalls);
}

// The one that goes with an infinity line.
static void build2MLine(const FLine_Tagposition_ST &infinity, FLine_Tagposition_ST *line) {
    const bool singledOut = g_SensType == kSensorSingledOut;
    const unsigned short *references =
        singledOut ? kGroupReferenceSensor1 : kGroupReferenceOtherSensors;
    const int group = choose2MGroup(references, infinity.tagPosition[0][0]);
    expandGroup(singledOut ? tagGroup[group] : tagGroup290[group], line);
}

void Lens_Init_2MFocusLine(void) {
    build2MLine(g_FLineInfo, &g_FLineInfo_2M);
}

static unsigned int distance(unsigned int a, unsigned int b) {
    const unsigned int difference = a - b;
    return static_cast<int>(difference) < 0 ? 0 - difference : difference;
}

void Lens_Init_Interpolation(void) {
    for (int i = 0; i < kTagPoints; ++i) {
        for (int j = 0; j < kQuarters; ++j) {
            g_Interpolation[i][j] =
                distance(g_FLineInfo.tagPosition[i][j], g_FLineInfo_2M.tagPosition[i][j]);
            TRACE_FORMAT("Interpolation[%d][%d]=%d\n", i, j,
                         static_cast<int>(g_Interpolation[i][j]));
        }
    }
}

static void fillQuarterSteps(const FLine_Tagposition_ST *line, unsigned int (*steps)[kQuarters]) {
    for (int i = 0; i < kTeleTag; ++i) {
        for (int j = 0; j < kQuarters; ++j) {
            const bool lastQuarter = j == kQuarters - 1;
            const unsigned int next =
                lastQuarter ? line->tagPosition[i + 1][0] : line->tagPosition[i][j + 1];
            steps[i][j] = distance(next, line->tagPosition[i][j]);
        }
    }
}

void Lens_Set_FocusStep(void) {
    fillQuarterSteps(&g_FLineInfo, FM_Step_Run);
    fillQuarterSteps(&g_FLineInfo_2M, FM_Step_Run_2M);
}

static void buildLineBetween(const unsigned int (*separations)[kQuarters], float ratio) {
    for (int i = 0; i < kTagPoints; ++i) {
        for (int j = 0; j < kQuarters; ++j) {
            const float share = static_cast<float>(separations[i][j]) * ratio;
            g_FLineInfo_Tmp.tagPosition[i][j] =
                g_FLineInfo.tagPosition[i][j] - static_cast<unsigned int>(static_cast<int>(share));
        }
    }
    fillQuarterSteps(&g_FLineInfo_Tmp, FM_Step_Run_Tmp);
}

void Lens_Set_FocusStepTmp(float ratio) {
    buildLineBetween(g_Interpolation, ratio);
}

// ---- Behind a measured infinity line the 2 m line lies as far as behind the built-in one

static FLine_Tagposition_ST builtInSeparations;

const unsigned int (*measureSeparations())[kQuarters] {
    static FLine_Tagposition_ST twoMetres;
    buildInfinityLine(&builtInSeparations);
    if (memcmp(&builtInSeparations, &g_FLineInfo, sizeof g_FLineInfo) == 0)
        return nullptr;
    build2MLine(builtInSeparations, &twoMetres);
    for (int i = 0; i < kTagPoints; ++i)
        for (int j = 0; j < kQuarters; ++j)
            builtInSeparations.tagPosition[i][j] -= twoMetres.tagPosition[i][j];
    return builtInSeparations.tagPosition;
}

void followLineBehind(const unsigned int (*separations)[kQuarters], float ratio) {
    buildLineBetween(separations, ratio);
    g_FLineFlag = kLineBetween;
}

FLine_Tagposition_ST *Lens_Get_FocusLine(void) {
    switch (g_FLineFlag) {
    case kLine2M:
        return &g_FLineInfo_2M;
    case kLineBetween:
        return &g_FLineInfo_Tmp;
    default:
        return &g_FLineInfo;
    }
}

unsigned char Lens_Get_FocusStep(int i, int j) {
    switch (g_FLineFlag) {
    case kLineInfinity:
        return static_cast<unsigned char>(FM_Step_Run[i][j] & 0xFF);
    case kLine2M:
        return static_cast<unsigned char>(FM_Step_Run_2M[i][j] & 0xFF);
    case kLineBetween:
        return static_cast<unsigned char>(FM_Step_Run_Tmp[i][j] & 0xFF);
    default:
        return 0;
    }
}

int Lens_Get_FLTagPosition(void) {
    const int section = Lens_Get_FLTagIndex();
    if (section < 0 || section == kTeleTag)
        return section < 0 ? -1 : static_cast<int>(g_FLineInfo.tagPosition[kTeleTag][0]);
    const unsigned int here = g_FLineInfo.tagPosition[section][0];
    const unsigned int next = g_FLineInfo.tagPosition[section + 1][0];
    const unsigned int offset = zoomPosition() - ZM_Step_Run[section];
    const unsigned int way = distance(next, here) * offset / sectionLength(section);
    return static_cast<int>(next < here ? here - way : here + way);
}

int Lens_Get_SearchRange(int index1, int index2, unsigned int *nP, unsigned int *fP) {
    *nP = maxOf(g_FLineInfo_2M.tagPosition[index1][index2], FM_Near_Limit);
    *fP = minOf(g_FLineInfo.tagPosition[index1][index2], FM_Far_Limit);
    return 0;
}

bool chooseLineToward(MS_Action_em zType) {
    if (zType == MS_Z_TELE) {
        g_FLineFlag = kLineInfinity;
        return true;
    }
    int index1, index2;
    if (Lens_Get_ZoomIndex(&index1, &index2, zoomPosition()) != 0)
        return false;
    Lens_FCurve_Choise(index1, index2);
    return true;
}

void Lens_FCurve_Choise(int index1, int index2) {
    unsigned int nearEnd, farEnd;
    Lens_Get_SearchRange(index1, index2, &nearEnd, &farEnd);
    const unsigned int focus = focusPosition();
    if (focus >= farEnd) {
        g_FLineFlag = kLineInfinity;
        TRACE_TEXT("@@__INF__@@.\n");
    } else if (focus <= nearEnd) {
        g_FLineFlag = kLine2M;
        TRACE_TEXT("@@__222__@@.\n");
    } else {
        const float ratio =
            static_cast<float>(farEnd - focus) / static_cast<float>(farEnd - nearEnd);
        Lens_Set_FocusStepTmp(ratio);
        g_FLineFlag = kLineBetween;
        TRACE_TEXT("@@__TMP__@@.\n");
    }
}
