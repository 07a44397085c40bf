/*
 * VISCA and Pelco-D on the host's serial port.
 */
#ifndef AUTOFOCUS_SERIAL_PROTOCOL_H
#define AUTOFOCUS_SERIAL_PROTOCOL_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT int Usart1_fd; /**< The host's serial port, -1 until handed over. */

AUTOFOCUS_EXPORT void *SonyViscaProtocol(void *unused); /**< Body of the serial thread. */
AUTOFOCUS_EXPORT int InitUsartFd(int fd);               /**< @return 0. */
/** Read until @p len bytes have come or the port has none. @return bytes read. */
AUTOFOCUS_EXPORT int RecvVISCACmd(int fd, char *data, int len);
/** @return bytes still due of the frame that starts with @p data; -1 when it starts none. */
AUTOFOCUS_EXPORT int CheckVISCACmd(char *data, int size, int *type);
AUTOFOCUS_EXPORT void PrintfVISCA(char *data, int len);
AUTOFOCUS_EXPORT int SonyViscaProcess(unsigned char *buf, int len); /**< @return 0; -1. */
AUTOFOCUS_EXPORT int PelcodProcess(unsigned char *buf, int len);    /**< @return 0; -1. */

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_SERIAL_PROTOCOL_H */
