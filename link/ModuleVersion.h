#pragma once

#include <QString>

/**
 * The model and the two version numbers in a module's version text.
 *
 * The text begins with "VNA" and three decimal digits of the model. It has a colon at index 5 or
 * later; the digits of the two versions stand at fixed places after it (docs/protocol.md shows
 * them). "VNA" is accepted anywhere, and the model may be padded with blanks or signed. A version
 * digit is 0-9, or a-f in either case for 10 to 15. Value type; any thread.
 */
struct ModuleVersion
{
    bool valid = false;
    int model = 0;          ///< 1 to 1000 when valid
    int versionAMajor = -1; ///< this and the next three: 0 to 15 when valid
    int versionAMinor = -1;
    int versionBMajor = -1;
    int versionBMinor = -1;
    int familyFlag = 0; ///< one bit for the model's family; 0: unknown model

    /** Sets every field to its initial value. */
    void reset();
    /**
     * Fills the record from `text`, which may be any text, and returns `valid`. If a check fails,
     * the record is reset.
     */
    bool parse(const QString& text);
    /**
     * Largest number of data bytes that the model accepts in one packet: 22 for some models, 124
     * for all others.
     */
    int maxDataLength() const;
};
