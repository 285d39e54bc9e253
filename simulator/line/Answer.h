#pragma once

#include "simulator/line/ModuleCounts.h"

#include <QByteArray>

#include <optional>
#include <vector>

/** A sequence of bytes to send. */
struct AnswerPiece
{
    QByteArray bytes;            ///< never empty
    int pauseBeforeMs = 0;       ///< pause between the previous piece and this one
    ModuleCounts tally;          ///< counted when the last byte has been sent
    std::optional<quint64> ping; ///< arrival number of the ping that it answers; no value: no ping
    bool isLast = false;         ///< it is the last piece of that answer
};

/** All bytes that the module sends for one request. They are sent completely or not at all. */
struct Answer
{
    std::vector<AnswerPiece> pieces; ///< never empty
};
