#include "af_interface/statistics/statistics.h"

#include "af_interface/statistics/shown_position.h"
#include "platform/shared_word.h"
#include "platform/timed_wait.h"

#include <pthread.h>

AF_Statistics_Info g_AFStatistics;
pthread_mutex_t afv_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t afv_ready = PTHREAD_COND_INITIALIZER;

static const int kLastCentreTag = 12;
static unsigned int records = 0;

void publishStatistics(const AF_Statistics_Info &record) {
    pthread_mutex_lock(&afv_lock);
    g_AFStatistics = record;
    noteShownPosition(records + 1);
    storeWord(&records, records + 1);
    pthread_cond_signal(&afv_ready);
    pthread_mutex_unlock(&afv_lock);
}

unsigned int countRecords() {
    return loadWord(&records);
}

AF_Statistics_Info latestStatistics() {
    pthread_mutex_lock(&afv_lock);
    const AF_Statistics_Info record = g_AFStatistics;
    pthread_mutex_unlock(&afv_lock);
    return record;
}

// One bare wait for the NEXT record: a record published before the call does not count. A signal, a
// timeout and a spurious wake-up all lead on, with the last record there is.
void afStatisticsFresh(AF_Statistics_Info *statistics) {
    pthread_mutex_lock(&afv_lock);
    waitAtMostOneSecond(&afv_ready, &afv_lock);
    *statistics = g_AFStatistics;
    pthread_mutex_unlock(&afv_lock);
}

bool isJudgedByAll(int index1) {
    return index1 > kLastCentreTag;
}

unsigned int focusValueAt(int index1, const AF_Statistics_Info &record) {
    return isJudgedByAll(index1) ? record.vwV1SumAll : record.vwV1SumHalf;
}

unsigned int secondFocusValueAt(int index1, const AF_Statistics_Info &record) {
    return isJudgedByAll(index1) ? record.vwV2SumAll : record.vwV2SumHalf;
}
