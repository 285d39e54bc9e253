#include "port/countedErrors.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr CountedErrors all{true, true, true, true, true};
constexpr CountedErrors ofTheChip{true, true, true, true, false};
constexpr CountedErrors none{};

struct Driver
{
    const char* name{};
    CountedErrors counted;
};

/** From the drivers' sources in Linux 6.1. docs/ports.md shows the same table. */
constexpr Driver drivers[]{
    // Chips like the 16550 give a status with each byte, and the driver counts by it before it
    // heeds any setting. Relatives that may move bytes by DMA are left out: they lose some errors.
    {"serial", all}, // on the mainboard, and on PCI cards
    {"serial8250", all},
    {"exar_serial", all},
    {"8250_pericom", all},
    // The same, but with DMA a full buffer is only logged.
    {"uart-pl011", ofTheChip},
    // The adapter sends a status with each packet of bytes. No USB driver counts a full buffer.
    {"ftdi_sio", ofTheChip},
    // It is told of errors only while INPCK is set, which a raw line clears.
    {"cp210x", none},
    // It counts what the device reports by itself, and a device need not report anything.
    {"cdc_acm", none},
    // They neither count nor answer when asked for counts.
    {"ch341-uart", none},
    {"pl2303", none},
};

} // namespace

CountedErrors countedErrors(const QString& driver)
{
    const auto* const row =
        std::find_if(std::begin(drivers), std::end(drivers),
                     [&](const Driver& each) { return driver == QLatin1String(each.name); });
    return row == std::end(drivers) ? none : row->counted;
}
