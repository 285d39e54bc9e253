#include "report/read/TestPlace.h"

#include "report/read/FieldReader.h"

void readPlace(FieldReader& from, TestPlace& place)
{
    FieldReader host = from.object("host");
    place.hostName = host.textOrNull("name");
    place.kernel = host.textOrNull("kernel");
    place.machine = host.textOrNull("machine");
    const QJsonObject tags = from.object("tags").all();
    for (auto tag = tags.begin(); tag != tags.end(); ++tag)
        place.tags.insert(tag.key(), tag->toString());
    if (std::optional<FieldReader> adapter = from.objectOrNull("adapter"))
        place.adapter = Adapter{.driver = adapter->textOrNull("driver"),
                                .vendorId = adapter->textOrNull("vendorId"),
                                .productId = adapter->textOrNull("productId"),
                                .serialNumber = adapter->textOrNull("serialNumber"),
                                .product = adapter->textOrNull("product"),
                                .latencyTimerMs = adapter->figure("latencyTimerMs")};
}
