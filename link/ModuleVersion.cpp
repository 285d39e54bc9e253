#include "link/ModuleVersion.h"

#include "link/vnPacket.h"

#include <algorithm>
#include <array>

namespace {

constexpr int smallPacket = 22;

template <int flag> int always(const ModuleVersion& /*version*/)
{
    return flag;
}

/** The family's bit changed with version 2.1. */
int changedAt21(const ModuleVersion& version)
{
    const bool below =
        version.versionBMajor < 2 || (version.versionBMajor == 2 && version.versionBMinor == 0);
    return below ? 0x40 : 0x80;
}

/** The family has one bit for minor version 4 and another for all later ones. */
int changedAtMinor4(const ModuleVersion& version)
{
    if (version.versionBMajor <= 0 || version.versionBMinor < 4)
        return 0x200;
    return version.versionBMinor == 4 ? 0x400 : 0x800;
}

struct KnownModel
{
    int model;
    int maxDataLength;
    int (*familyFlag)(const ModuleVersion&);
};

constexpr std::array<KnownModel, 8> knownModels{{
    {101, smallPacket, always<0x8>},
    {102, smallPacket, always<0x10>},
    {103, smallPacket, always<0x20>},
    {104, smallPacket, changedAt21},
    {105, vnMaxDataLength, always<0x100>},
    {106, vnMaxDataLength, changedAtMinor4},
    {107, vnMaxDataLength, always<0x1000>},
    {108, vnMaxDataLength, always<0x2000>},
}};

/** Returns null for a model that is not in the table. */
const KnownModel* findModel(int model)
{
    const auto* const row = std::find_if(knownModels.begin(), knownModels.end(),
                                         [model](const KnownModel& m) { return m.model == model; });
    return row == knownModels.end() ? nullptr : row;
}

/** Returns 0 to 15; -1 for any other character and for an index past the end. */
int digitAt(const QString& text, qsizetype index)
{
    bool isDigit = false;
    const int value = QStringView(text).mid(index, 1).toInt(&isDigit, 16);
    return isDigit ? value : -1;
}

} // namespace

void ModuleVersion::reset()
{
    *this = ModuleVersion{};
}

bool ModuleVersion::parse(const QString& text)
{
    reset();
    const qsizetype colon = text.indexOf(u':');
    if (colon < 5 || !text.contains(u"VNA"))
        return false;
    const QString modelDigits = text.mid(3, 3);
    model = modelDigits.contains(QChar::Null) ? 0 : modelDigits.toInt(); // toInt() stops at a NUL
    versionAMajor = digitAt(text, colon + 2);
    versionAMinor = digitAt(text, colon + 4);
    versionBMajor = digitAt(text, colon + 7);
    versionBMinor = digitAt(text, colon + 9);
    const bool digitsFound =
        std::min({versionAMajor, versionAMinor, versionBMajor, versionBMinor}) >= 0;
    if (model < 1 || model > 1000 || !digitsFound) {
        reset();
        return false;
    }
    valid = true;
    const KnownModel* known = findModel(model);
    familyFlag = known == nullptr ? 0 : known->familyFlag(*this);
    return true;
}

int ModuleVersion::maxDataLength() const
{
    const KnownModel* known = findModel(model);
    return known == nullptr ? vnMaxDataLength : known->maxDataLength;
}
