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
    // UARTs like the 16550 give a status with each byte, and the driver counts errors before it
    // checks any setting. Related drivers that may use DMA are not listed: they miss some errors.
    {"serial", all}, // on the mainboard, and on PCI cards
    {"serial8250", all},
    {"exar_serial", all},
    {"8250_pericom", all},
    // Like the above, but with DMA a full buffer is only logged.
    {"uart-pl011", ofTheChip},
    // The adapter sends a status with each packet of bytes. No USB driver counts a full buffer.
    {"ftdi_sio", ofTheChip},
    // The driver gets errors only while INPCK is set; a raw line clears it.
    {"cp210x", none},
    // The driver counts what the device reports, but a device need not report errors.
    {"cdc_acm", none},
    // These drivers do not count errors and do not answer requests for counts.
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
