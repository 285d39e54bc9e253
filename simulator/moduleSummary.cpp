#include "simulator/moduleSummary.h"

#include "simulator/SimulatedModule.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

bool writeModuleSummary(const SimulatedModule& module, const QString& path, QString& errorText)
{
    const ModuleCounts counts = module.counts();
    QJsonObject summary;
    for (const ModuleCountField& field : moduleCountFields)
        summary.insert(QLatin1String(field.name), static_cast<qint64>(counts.*field.value));
    summary.insert(QLatin1String("screen"), QJsonArray::fromStringList(module.screen()));

    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(summary).toJson()) > 0 &&
        file.commit())
        return true;
    errorText = QStringLiteral("cannot write the summary \"%1\": %2").arg(path, file.errorString());
    return false;
}
