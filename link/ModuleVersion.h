#pragma once

#include <QString>

/**
 * What a module's version text says of it: its model and two version numbers.
 *
 * A module's text begins "VNA" and three decimal digits of the model, and has a colon at index 5 or
 * later, behind which the digits of the two versions stand at fixed places; docs/protocol.md draws
 * it. "VNA" is accepted anywhere, and the model may be padded with blanks or signed. A version
 * digit is 0-9 or a-f for 10 to 15, in either case. A plain record; any thread.
 */
struct ModuleVersion
{
    bool valid = false;
    int model = 0;          ///< 1 to 1000 when valid
    int versionAMajor = -1; ///< this and the next three: 0 to 15 when valid
    int versionAMinor = -1;
    int versionBMajor = -1;
    int versionBMinor = -1;
    int familyFlag = 0; ///< one bit for the model's family; 0 for a model that is not known

    /** Sets every field to its initial value. */
    void reset();
    /**
     * Fills the record from `text` and returns `valid`. What fails any check leaves the record
     * reset; any text is allowed.
     */
    bool parse(const QString& text);
    /** Most data bytes that the model takes in one packet: 22 for some, 124 for all others. */
    int maxDataLength() const;
};
