#include "drive/LineWatch.h"

bool LineWatch::failed(qint64 atNs)
{
    if (!failingSinceNs)
        failingSinceNs = atNs;
    return atNs - *failingSinceNs > toleranceNs;
}
