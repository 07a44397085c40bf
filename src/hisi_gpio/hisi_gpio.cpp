#include "hisi_gpio/hisi_gpio.h"

#include "platform/device_file.h"
#include "platform/faults.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

static const char kGpioDevice[] = "/dev/hi_gpio";
static const unsigned int kPinsPerGroup = 8;

static const int kMostRepeats = 100;
static const useconds_t kRepeatUs = 10000;

static int request(unsigned int num, GPIO_CMD_EM cmd, unsigned int value) {
    GPIO_GroupBit_Info info;
    info.groupnumber = (num - 1) / kPinsPerGroup;
    info.bitnumber = (num - 1) % kPinsPerGroup;
    info.value = value;

    const int fd = openAboveStandard(kGpioDevice, O_RDONLY);
    if (fd < 0) {
        perror("open hi_gpio");
        return kNotRequested;
    }
    if (ioctl(fd, static_cast<unsigned int>(cmd), &info) < 0) {
        perror("ioctl");
        printf("fail to read gpio:group%d,bit%d\n", static_cast<int>(info.groupnumber),
               static_cast<int>(info.bitnumber));
        close(fd);
        return -1;
    }
    close(fd);
    return static_cast<int>(info.value);
}

int requestGpio(unsigned int num, GPIO_CMD_EM cmd, unsigned int value) {
    const int result = request(num, cmd, value);
    noteCall(kFaultGpio, result >= 0);
    return result;
}

// A line that did not answer for so long is not asked again until one has.
static int requestWhile(unsigned int num, GPIO_CMD_EM cmd, unsigned int value) {
    int repeats = isRecovering() && !isPresent(kFaultGpio) ? kMostRepeats : 0;
    int result = requestGpio(num, cmd, value);
    for (; result < 0 && repeats > 0; --repeats) {
        usleep(kRepeatUs);
        result = requestGpio(num, cmd, value);
    }
    return result;
}

// A pulse that may not have come leaves nobody knowing where the motors are.
int Hisi_Gpio_Option(unsigned int num, GPIO_CMD_EM cmd, unsigned int value) {
    const bool isPulse = cmd == GPIO_G_VDF;
    const bool isRepeatable = cmd == GPIO_W_BIT || cmd == GPIO_S_DIR;
    const int result = isRepeatable ? requestWhile(num, cmd, value) : requestGpio(num, cmd, value);
    if (result < 0 && isPulse)
        noteCall(kFaultPosition, false);
    return result < 0 ? -1 : result;
}

int Hisi_Gpio_Read(unsigned int num) {
    return Hisi_Gpio_Option(num, GPIO_R_BIT, 0);
}

int Hisi_Gpio_Write(unsigned int num, unsigned int value) {
    return Hisi_Gpio_Option(num, GPIO_W_BIT, value);
}

int Hisi_Gpio_SetVDF(unsigned int num, unsigned int value) {
    return Hisi_Gpio_Option(num, GPIO_G_VDF, value);
}

int Hisi_Gpio_CheckPLS(unsigned int num) {
    return Hisi_Gpio_Option(num, GPIO_C_PLS, 0);
}

int Hisi_Gpio_Getdir(unsigned int num) {
    return Hisi_Gpio_Option(num, GPIO_G_DIR, 0);
}

int Hisi_Gpio_Setdir(unsigned int num, unsigned int value) {
    return Hisi_Gpio_Option(num, GPIO_S_DIR, value);
}
