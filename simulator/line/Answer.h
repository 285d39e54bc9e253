#pragma once

#include "simulator/line/ModuleCounts.h"

#include <QByteArray>

#include <optional>
#include <vector>

/** A run of bytes for the line. */
struct AnswerPiece
{
    QByteArray bytes;            ///< never empty
    int pauseBeforeMs = 0;       ///< silence between the piece in front and this one
    ModuleCounts tally;          ///< what is to be counted when the last byte is out
    std::optional<quint64> ping; ///< whose answer it belongs to, by arrival; none: no ping's
    bool isLast = false;         ///< of that answer
};

/** All that one request makes the module send; it leaves in one go or not at all. */
struct Answer
{
    std::vector<AnswerPiece> pieces; ///< never empty
};
