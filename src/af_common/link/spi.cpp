// The SPI link to the motor driver: 24-bit register frames over spidev, low bit first.
// One thread at a time uses it, the one that drives the motors.
#include "autofocus/spi.h"
#include "platform/device_file.h"
#include "platform/faults.h"
#include "platform/shared_word.h"

#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

static const char kSpiDevice[] = "/dev/spidev1.0";
static const int kFrameBytes = 3;
static const unsigned char kReadFlag = 0x40;

int g_SPIFd = 0;
unsigned char g_RxBuff[kFrameBytes];

static const unsigned char kMode = SPI_LSB_FIRST | SPI_CPOL | SPI_CPHA;
static const unsigned char kBits = 8;
static const unsigned int kClockHz = 1000000;

// As the device has them: asked for, and read back.
static unsigned char g_SPIMode = kMode;
static unsigned char g_SPIBits = kBits;
static unsigned int g_SPICLK = kClockHz;
static unsigned short g_SPIDelay = 0;

static const int kMostRepeats = 100;
static const useconds_t kRepeatUs = 10000;

// C libraries differ in the type of a request; its 32 bits fit them all. While recovering it is
// repeated for up to a second, unless that was in vain before.
static void requestSetting(int fd, unsigned int request, void *setting, const char *failure) {
    int repeats = isRecovering() && !isPresent(kFaultDriver) ? kMostRepeats : 0;
    int result = ioctl(fd, request, setting);
    for (; result < 0 && repeats > 0; --repeats) {
        usleep(kRepeatUs);
        result = ioctl(fd, request, setting);
    }
    noteCall(kFaultDriver, result >= 0);
    if (result < 0)
        perror(failure);
}

int SPI_Init(void) {
    const int fd = openAboveStandard(kSpiDevice, O_RDWR);
    storeWord(&g_SPIFd, fd);
    if (fd < 0) {
        noteCall(kFaultDriver, false);
        puts("__can't open spi device");
        return -1;
    }
    g_SPIMode = kMode;
    g_SPIBits = kBits;
    g_SPICLK = kClockHz;
    requestSetting(fd, SPI_IOC_WR_MODE, &g_SPIMode, "can't set spi mode");
    requestSetting(fd, SPI_IOC_RD_MODE, &g_SPIMode, "can't get spi mode");
    requestSetting(fd, SPI_IOC_WR_BITS_PER_WORD, &g_SPIBits, "can't set bits per word");
    requestSetting(fd, SPI_IOC_RD_BITS_PER_WORD, &g_SPIBits, "can't get bits per word");
    requestSetting(fd, SPI_IOC_WR_MAX_SPEED_HZ, &g_SPICLK, "can't set max speed hz");
    requestSetting(fd, SPI_IOC_RD_MAX_SPEED_HZ, &g_SPICLK, "can't get max speed hz");
    printf("==== >>> spi mode: %d\n", g_SPIMode);
    printf("==== >>> bits per word: %d\n", g_SPIBits);
    printf("==== >>> max speed: %d Hz (%d KHz)\n", static_cast<int>(g_SPICLK),
           static_cast<int>(g_SPICLK / 1000));
    return 0;
}

// The statistics thread releases the link when it gives up, while the lens-control thread may be
// in the middle of a move. The number of a closed descriptor is soon another file's, so -1 takes
// its place before the close: a transfer that starts later fails instead of reaching that file.
void SPI_Release(void) {
    const int fd = loadWord(&g_SPIFd);
    storeWord(&g_SPIFd, -1);
    close(fd);
    printf("__%s ok.\n", __func__);
}

void SPI_SendByte(unsigned char *data, int len) {
    static unsigned char tx[kFrameBytes]; // off the stack, like the transfer: one thread sends
    static struct spi_ioc_transfer transfer;
    memset(tx, 0, sizeof tx);
    memset(g_RxBuff, 0, sizeof g_RxBuff);
    if (len > kFrameBytes)
        len = kFrameBytes;
    if (len < 0)
        len = 0;
    memcpy(tx, data, static_cast<size_t>(len));

    transfer.tx_buf = reinterpret_cast<uintptr_t>(tx);
    transfer.rx_buf = reinterpret_cast<uintptr_t>(g_RxBuff);
    transfer.len = static_cast<uint32_t>(len);
    transfer.speed_hz = g_SPICLK;
    transfer.delay_usecs = g_SPIDelay;
    transfer.bits_per_word = g_SPIBits;
    transfer.cs_change = 1;
    const bool isSent = ioctl(loadWord(&g_SPIFd), SPI_IOC_MESSAGE(1), &transfer) >= 1;
    if (!isSent)
        perror("can't send spi message");
    noteCall(kFaultDriver, isSent);
    if (!isSent && !isRecovering())
        noteCall(kFaultPosition, false);
}

void Spi_Write(unsigned char addr, unsigned int data) {
    unsigned char frame[kFrameBytes] = {
        static_cast<unsigned char>(addr & (kReadFlag - 1)),
        static_cast<unsigned char>(data & 0xFF),
        static_cast<unsigned char>((data >> 8) & 0xFF),
    };
    SPI_SendByte(frame, kFrameBytes);
}

int Spi_Read(unsigned char addr) {
    unsigned char frame[kFrameBytes] = {addr, 0, 0};
    SPI_SendByte(frame, kFrameBytes);
    const int value = g_RxBuff[2] * 256 + g_RxBuff[1];
    printf("__%s Regaddr 0x%x data=0x%x\n", __func__, static_cast<unsigned>(addr - kReadFlag),
           static_cast<unsigned>(value));
    return value;
}
