#include "report/read/TestPlace.h"

#include "report/read/FieldReader.h"
#include "report/weigh/figureText.h"

#include <QStringList>

QString TestPlace::adapterText() const
{
    if (!adapter)
        return {};
    QStringList parts;
    if (!adapter->product.isEmpty())
        parts += adapter->product;
    if (!adapter->vendorId.isEmpty())
        parts += adapter->vendorId + u':' + adapter->productId;
    if (!adapter->serialNumber.isEmpty())
        parts += QStringLiteral("serial number %1").arg(adapter->serialNumber);
    if (!adapter->driver.isEmpty())
        parts += QStringLiteral("driver %1").arg(adapter->driver);
    if (adapter->latencyTimerMs)
        parts += QStringLiteral("latency timer %1 ms").arg(numberText(*adapter->latencyTimerMs, 0));
    return parts.join(QStringLiteral(", "));
}

QString TestPlace::hostText() const
{
    QStringList parts{hostName, kernel, machine};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

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
        place.adapter =
            Adapter{adapter->textOrNull("driver"),    adapter->textOrNull("vendorId"),
                    adapter->textOrNull("productId"), adapter->textOrNull("serialNumber"),
                    adapter->textOrNull("product"),   adapter->figure("latencyTimerMs")};
}
