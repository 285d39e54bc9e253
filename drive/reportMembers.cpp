#include "drive/reportMembers.h"

#include "measure/jsonValues.h"

using jsonValues::orNull;

namespace {

QJsonValue countOrNull(const std::optional<quint32>& count)
{
    return count ? jsonValues::count(*count) : QJsonValue();
}

} // namespace

QJsonValue toJson(const std::optional<HostFacts>& host)
{
    if (!host)
        return {};
    return QJsonObject{{"name", host->name}, {"kernel", host->kernel}, {"machine", host->machine}};
}

QJsonValue toJson(const std::optional<PortAdapter>& adapter)
{
    if (!adapter)
        return {};
    return QJsonObject{{"driver", orNull(adapter->driver)},
                       {"vendorId", orNull(adapter->vendorId)},
                       {"productId", orNull(adapter->productId)},
                       {"serialNumber", orNull(adapter->serialNumber)},
                       {"product", orNull(adapter->product)},
                       {"latencyTimerMs", orNull(adapter->latencyTimerMs)}};
}

QJsonValue toJson(const std::optional<KnownLineErrors>& errors)
{
    if (!errors)
        return {};
    return QJsonObject{{"framing", countOrNull(errors->framing)},
                       {"parity", countOrNull(errors->parity)},
                       {"overrun", countOrNull(errors->overrun)},
                       {"break", countOrNull(errors->lineBreak)},
                       {"bufferOverrun", countOrNull(errors->bufferOverrun)}};
}

QJsonObject toJson(const QMap<QString, QString>& tags)
{
    QJsonObject object;
    for (auto tag = tags.begin(); tag != tags.end(); ++tag)
        object.insert(tag.key(), tag.value());
    return object;
}
