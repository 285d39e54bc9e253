#include "engine/metaTypes.h"

#include "engine/TestStats.h"
#include "engine/timing/TestConfig.h"
#include "link/vnPortEnumerator.h"

void registerEngineTypes()
{
    qRegisterMetaType<QList<portInfo>>("QList<portInfo>");
    qRegisterMetaType<TestStats>("TestStats");
    qRegisterMetaType<TestConfig>("TestConfig");
    qRegisterMetaType<portInfo>("portInfo");
}
