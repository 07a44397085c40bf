// A System V shared-memory segment for the host's own tools. Nothing inside the library uses it.
#include "autofocus/shared_memory.h"

#include <stdio.h>
#include <sys/ipc.h>
#include <sys/shm.h>

static const int kSegmentMode = 0660;

void *pShMemInit(int key, int size) {
    printf("__%s__\n", __func__);
    int id = shmget(key, static_cast<size_t>(size), IPC_CREAT | kSegmentMode);
    if (id < 0) { // it exists with a smaller size
        puts("memory already create");
        id = shmget(key, 0, 0);
    }
    printf("shared memory size:%d id:%d\n", size, id);
    return id < 0 ? nullptr : shmat(id, nullptr, 0);
}
