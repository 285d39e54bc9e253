#include "simulator/program/moduleSummary.h"

#include "simulator/SimulatedModule.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

QByteArray moduleSummary(const SimulatedModule& module)
{
    const ModuleCounts counts = module.counts();
    QJsonObject summary;
    for (const ModuleCountField& field : moduleCountFields)
        summary.insert(QLatin1String(field.name), static_cast<qint64>(counts.*field.value));
    summary.insert(QLatin1String("screen"), QJsonArray::fromStringList(module.screen()));
    return QJsonDocument(summary).toJson();
}
