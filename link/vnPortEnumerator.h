#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

/** One serial port found. */
struct portInfo
{
    QString portName;        ///< absolute path of the device node, for example /dev/ttyUSB0
    QString description;     ///< "ttyUSB0 = MODEL" if the model is known, else "ttyUSB0"
    QString friendlyName;    ///< the same text as `description`
    bool isAvailable = true; ///< true for every listed port
};
Q_DECLARE_METATYPE(portInfo)

/** Lists the serial ports of this machine. Stateless; any thread. */
class vnPortEnumerator
{
public:
    /**
     * Returns the terminals in /dev that may have a module, most recently changed first: names that
     * start with tty., ttyS, ttys, ttyUSB, ttyACM or ttyVN. The device database gives the model if
     * it knows it; otherwise the description is the file name. Never fails; the list is empty
     * without a /dev.
     */
    QList<portInfo> enumeratePorts();
};
