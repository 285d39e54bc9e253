#pragma once

#include <QList>
#include <QMetaType>
#include <QString>

/** One serial port as discovery found it. */
struct portInfo
{
    QString portName;        ///< absolute path of the device node, such as /dev/ttyUSB0
    QString description;     ///< "ttyUSB0 = MODEL" when the model is known, else "ttyUSB0"
    QString friendlyName;    ///< the same text as `description`
    bool isAvailable = true; ///< true for every listed port
};
Q_DECLARE_METATYPE(portInfo)

/** Lists the serial ports of this machine. Stateless; any thread. */
class vnPortEnumerator
{
public:
    /**
     * The terminals in /dev that may have a module behind them, most recently changed first: names
     * that start with tty., ttyS, ttys, ttyUSB, ttyACM or ttyVN. The device database adds the
     * model where it knows it. Never fails: what cannot be described is listed under its file
     * name, and without a /dev the list is empty.
     */
    QList<portInfo> enumeratePorts();
};
