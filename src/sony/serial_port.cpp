// The host's serial port: reading what is there and dumping what is refused.
#include "autofocus/serial_protocol.h"
#include "platform/shared_word.h"

#include <stdio.h>
#include <unistd.h>

int Usart1_fd = -1;

int InitUsartFd(int fd) {
    storeWord(&Usart1_fd, fd);
    return 0;
}

int RecvVISCACmd(int fd, char *data, int len) {
    int index = 0;
    while (index < len) {
        const ssize_t count = read(fd, data + index, static_cast<size_t>(len - index));
        if (count <= 0) {
            printf("== >> Have No Data Read index %d << ==\n", index);
            return index;
        }
        index += static_cast<int>(count);
    }
    return index;
}

void PrintfVISCA(char *data, int len) {
    for (int i = 0; i < len; ++i)
        printf("data[%d]: 0x%02x\n", i, static_cast<unsigned char>(data[i]));
    putchar('\n');
}
