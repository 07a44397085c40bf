/*
 * GPIO records of the camera's kernel module, a call a device file. Pins count from
 * 1. Each call returns the record's value after it, or -1 with a message.
 */
#ifndef AUTOFOCUS_GPIO_H
#define AUTOFOCUS_GPIO_H

#include "autofocus.h"

#ifdef __cplusplus
extern "C" {
#endif

AUTOFOCUS_EXPORT int Hisi_Gpio_Read(unsigned int num);
AUTOFOCUS_EXPORT int Hisi_Gpio_Write(unsigned int num, unsigned int value);
AUTOFOCUS_EXPORT int Hisi_Gpio_SetVDF(unsigned int num, unsigned int value); /**< Blocks. */
AUTOFOCUS_EXPORT int Hisi_Gpio_CheckPLS(unsigned int num);
AUTOFOCUS_EXPORT int Hisi_Gpio_Getdir(unsigned int num);
AUTOFOCUS_EXPORT int Hisi_Gpio_Setdir(unsigned int num, unsigned int value);

#ifdef __cplusplus
}
#endif

#endif /* AUTOFOCUS_GPIO_H */
