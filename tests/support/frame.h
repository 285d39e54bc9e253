#pragma once

#include "simulator/moduleFrame.h"

/** The frame of a packet with this command and data, CRC included. */
inline QByteArray frame(uint8_t command, const QByteArray& data = {})
{
    return moduleFrame::make(command, data);
}
