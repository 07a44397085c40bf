/*
 * Calls three presets and says of each whether the lens has arrived and whether the picture is
 * sharp. A complete host keeps what the library hands it, too: see host.c.
 */
#include <autofocus.h>
#include <autofocus_control.h>

#include <stdio.h>
#include <unistd.h>

static int loadPresets(PRESET_INF *presets) {
    const unsigned zoom[] = {11000, 14000, 18600}, focus[] = {12100, 11450, 10900};
    int i;
    for (i = 0; i < 3; ++i) {
        presets->zoom[i + 1] = zoom[i];
        presets->focus[i + 1] = focus[i];
    }
    return 0;
}

static int storePresets(PRESET_INF *presets) {
    (void)presets;
    return -1; /* these three stay as they are */
}

static const char *const kOutcomes[] = {"not yet",   "done",  "focused",  "unsure",
                                        "flat",      "edge",  "blind",    "replaced",
                                        "cancelled", "fault", "forgotten"};

/* The outcome's name; the lens never takes a minute to a preset. */
static const char *await(int ticket) {
    const int outcome = AF_Manager_Wait_Ticket_API(ticket, 60000);
    return outcome < 0 ? "refused" : kOutcomes[outcome];
}

int main(void) {
    AF_Status_ST status;
    int i;
    AF_Manager_Init_PresetInfo_API(storePresets, loadPresets);
    if (AF_Manager_Start_API() != 0)
        return 1;
    status.size = sizeof status;
    do { /* until home is found and the first autofocus run over */
        sleep(1);
        AF_Manager_Get_Status_API(&status);
    } while (status.runs == 0);
    for (i = 1; i <= 3; ++i) {
        const char *arrival = await(AF_Manager_Preset_Call_API(i));
        const char *verdict = await(AF_Manager_Autofocus_API());
        AF_Manager_Get_Status_API(&status);
        printf("preset %d: %s, zoom %u, picture %s after %u frames\n", i, arrival, status.zoomSteps,
               verdict, status.runFrames);
    }
    return 0;
}
