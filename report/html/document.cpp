#include "report/html/document.h"

#include "report/html/htmlText.h"

#include <QFile>

#include <utility>
#include <vector>

namespace {

QString resource(const char* name)
{
    QFile file(QStringLiteral(":/report/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

QString htmlDocument(const QString& title, const QString& body, const QJsonObject& data)
{
    const std::vector<std::pair<QString, QString>> parts{
        {QStringLiteral("{{title}}"), html(title)},
        {QStringLiteral("{{style}}"), resource("page.css")},
        {QStringLiteral("{{body}}"), body},
        {QStringLiteral("{{data}}"), scriptJson(data)},
        {QStringLiteral("{{library}}"), resource("chart.min.js")},
        {QStringLiteral("{{script}}"), resource("page.js")}};
    // Each marker is replaced once, and inserted text is not searched for markers.
    QString rest = resource("page.html");
    QString page;
    for (const auto& [marker, text] : parts) {
        const qsizetype at = rest.indexOf(marker);
        page += rest.left(at) + text;
        rest = rest.mid(at + marker.size());
    }
    return page + rest;
}

QString pageHeading(const QString& title, const QString& line)
{
    return QStringLiteral(
               "<header><p class=\"quiet\">PacketBrask</p><h1>%1</h1><p>%2</p></header>\n")
        .arg(title, line);
}
