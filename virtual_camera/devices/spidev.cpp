// A transfer is legal only once the link has been set up as the chip needs it: mode 3, low bit
// first, 8 bits a word, 1 MHz. Runs on the thread that makes the call.
#include "devices/spidev.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <linux/spi/spidev.h>

#include "clock/trace.h"
#include "devices/driver_chip.h"

namespace vcam {

static constexpr uint8_t kChipMode = SPI_MODE_3 | SPI_LSB_FIRST;
static constexpr uint8_t kChipBits = 8;
static constexpr uint32_t kChipHz = 1000000;
static constexpr uint32_t kFrameBytes = 3;

namespace {
struct Link {
    uint8_t mode = SPI_MODE_0;
    uint8_t bits = kChipBits;
    uint32_t speedHz = 0;
    bool modeSet = false;
    bool bitsSet = false;
};
} // namespace

static Link spiLink;

/// The kernel hands buffers over as 64-bit integers.
static uint8_t *toPointer(uint64_t address) {
    return reinterpret_cast<uint8_t *>(static_cast<uintptr_t>(address));
}

static void checkLink(const spi_ioc_transfer &transfer) {
    const uint32_t speedHz = transfer.speed_hz != 0 ? transfer.speed_hz : spiLink.speedHz;
    const uint8_t bits = transfer.bits_per_word != 0 ? transfer.bits_per_word : spiLink.bits;
    const bool isSetUp = spiLink.modeSet && spiLink.bitsSet && spiLink.speedHz != 0;
    const bool suitsChip = spiLink.mode == kChipMode && bits == kChipBits && speedHz == kChipHz;
    if (!isSetUp || !suitsChip) {
        recordViolation("spi", "transfer with mode %u, %u bits, %u Hz%s", spiLink.mode, bits,
                        speedHz, isSetUp ? "" : " before set-up");
    }
}

static int transferFrame(const spi_ioc_transfer &transfer) {
    checkLink(transfer);
    const uint8_t *sent = toPointer(transfer.tx_buf);
    if (transfer.len != kFrameBytes || sent == nullptr) {
        recordViolation("spi", "frame of %u bytes", transfer.len);
        return static_cast<int>(transfer.len);
    }
    const uint32_t frame =
        sent[0] | static_cast<uint32_t>(sent[1]) << 8 | static_cast<uint32_t>(sent[2]) << 16;
    const uint32_t answer = exchangeFrame(frame);
    if (uint8_t *received = toPointer(transfer.rx_buf)) {
        for (uint32_t index = 0; index < kFrameBytes; ++index)
            received[index] = static_cast<uint8_t>(answer >> (8 * index));
    }
    trace("spi", "frame", "sent=%02x%02x%02x received=%06x", sent[0], sent[1], sent[2], answer);
    return static_cast<int>(transfer.len);
}

template <typename Value> static int store(void *argument, const Value &value) {
    std::memcpy(argument, &value, sizeof value);
    return 0;
}

template <typename Value> static int take(Value &value, const void *argument) {
    std::memcpy(&value, argument, sizeof value);
    return 0;
}

int spidevIoctl(unsigned long request, void *argument) {
    if (argument == nullptr) {
        errno = EFAULT;
        return -1;
    }
    switch (request) {
    case SPI_IOC_WR_MODE:
        spiLink.modeSet = true;
        return take(spiLink.mode, argument);
    case SPI_IOC_RD_MODE:
        return store(argument, spiLink.mode);
    case SPI_IOC_WR_BITS_PER_WORD:
        spiLink.bitsSet = true;
        return take(spiLink.bits, argument);
    case SPI_IOC_RD_BITS_PER_WORD:
        return store(argument, spiLink.bits);
    case SPI_IOC_WR_MAX_SPEED_HZ:
        return take(spiLink.speedHz, argument);
    case SPI_IOC_RD_MAX_SPEED_HZ:
        return store(argument, spiLink.speedHz);
    case SPI_IOC_MESSAGE(1):
        return transferFrame(*static_cast<const spi_ioc_transfer *>(argument));
    default:
        errno = ENOTTY;
        return -1;
    }
}

void powerOnSpidev(const CameraOptions &) {
    spiLink = Link{};
}

} // namespace vcam
