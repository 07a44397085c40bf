/*
 * The SPI link to the motor driver, and the pins about it.
 */
#ifndef AUTOFOCUS_SPI_H
#define AUTOFOCUS_SPI_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

extern AUTOFOCUS_EXPORT int g_SPIFd;               /**< Descriptor; -1 after SPI_Release(). */
extern AUTOFOCUS_EXPORT unsigned char g_RxBuff[3]; /**< Bytes clocked in last. */

AUTOFOCUS_EXPORT int SPI_Init(void); /**< @return 0; -1 when the device does not open. */
AUTOFOCUS_EXPORT void SPI_Release(void);
/** One transfer of @p len bytes, of which at most 3 are sent. */
AUTOFOCUS_EXPORT void SPI_SendByte(unsigned char *data, int len);
AUTOFOCUS_EXPORT void Spi_Write(unsigned char addr, unsigned int data);
AUTOFOCUS_EXPORT int Spi_Read(unsigned char addr); /**< @p addr with the read flag 0x40. */
AUTOFOCUS_EXPORT void Af_Gpio_Init(void);          /**< Directions of the pins about the driver. */

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_SPI_H */
