#include "link/vnPacketComs.h"

#include <algorithm>
#include <array>

namespace {

struct InterfaceRow
{
    uint32_t id;
    char name[16];
};

struct ErrorRow
{
    uint32_t code;
    char text[48];
};

constexpr std::array<InterfaceRow, 7> interfaceRows{{
    {0, "Serial"},
    {1, "USB"},
    {2, "SPI"},
    {3, "I2C"},
    {4, "CANBus"},
    {0xFF, "All"},
    {0xFE, "Unknown"},
}};

/** Number of interfaces with a name; "All" and "Unknown" are not single interfaces. */
constexpr int namedInterfaces = 5;

constexpr std::array<ErrorRow, 35> errorRows{{
    {0x00, "Ok"},
    {0x01, "Unknown error"},
    {0x02, "Unknown command"},
    {0x03, "Invalid command length/options"},
    {0x04, "Writing flash mem failed"},
    {0x05, "Reading flash mem failed"},
    {0x06, "KELPAD not present at index"},
    {0x07, "KELPAD did not reply to request"},
    {0x08, "Storage not inserted or hw error"},
    {0x09, "Storage not formatted"},
    {0x0A, "File could not be found/opened"},
    {0x0B, "Storage unknown error"},
    {0x0C, "File could not be read"},
    {0x0D, "File could not be written"},
    {0x0E, "File format is invalid"},
    {0x0F, "File is already open"},
    {0x10, "Storage file operation failed"},
    {0x11, "File has not been opened"},
    {0x12, "Graphics stream already started"},
    {0x13, "Graphics size is not valid"},
    {0x14, "Video is not open in slot"},
    {0x15, "Graphics stream has timed out"},
    {0x16, "GPIO not set for ATX use"},
    {0x17, "Interface not enabled"},
    {0x18, "Interface not available"},
    {0x19, "Reached end of file"},
    {0x1A, "Storage is full"},
    {0x1E, "Out of memory"},
    {0x1F, "Graphics ID already in use"},
    {0x20, "Graphics ID not in use"},
    {0x21, "Graphics IDs all used"},
    {0x23, "Graphics ID not correct type"},
    {0x25, "Image is already loaded"},
    {0x26, "No font loaded in slot"},
    {0x27, "Font slot already in use"},
}};

constexpr const ErrorRow& unknownError = errorRows[1];

} // namespace

const char* vnPacketComs::errorText(uint32_t code)
{
    const auto* const row = std::find_if(errorRows.begin(), errorRows.end(),
                                         [code](const ErrorRow& r) { return r.code == code; });
    return row == errorRows.end() ? unknownError.text : row->text;
}

const char* vnPacketComs::interfaceName(int id)
{
    if (id < 0 || id >= namedInterfaces)
        return nullptr;
    return interfaceRows[static_cast<size_t>(id)].name;
}
