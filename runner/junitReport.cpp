#include "runner/junitReport.h"

#include <QXmlStreamWriter>

#include <algorithm>

namespace {

/**
 * Replaces characters that XML cannot represent: most control characters, which a file name or a
 * tag may contain.
 */
QString writable(QString text)
{
    std::replace_if(
        text.begin(), text.end(),
        [](QChar c) { return (c < u' ' && c != u'\t' && c != u'\n') || c >= QChar(0xFFFE); },
        QChar(QChar::ReplacementCharacter));
    return text;
}

qsizetype countOf(const Verdict& verdict, Check::Result result)
{
    return std::count_if(verdict.checks.begin(), verdict.checks.end(),
                         [result](const Check& check) { return check.result == result; });
}

void writeTags(QXmlStreamWriter& xml, const RunOptions& options)
{
    if (options.tags.isEmpty())
        return;
    xml.writeStartElement(QStringLiteral("properties"));
    for (auto tag = options.tags.begin(); tag != options.tags.end(); ++tag) {
        xml.writeEmptyElement(QStringLiteral("property"));
        xml.writeAttribute(QStringLiteral("name"), writable(tag.key()));
        xml.writeAttribute(QStringLiteral("value"), writable(tag.value()));
    }
    xml.writeEndElement();
}

void writeCheck(QXmlStreamWriter& xml, const Check& check)
{
    xml.writeStartElement(QStringLiteral("testcase"));
    xml.writeAttribute(QStringLiteral("classname"), RunFormat::program());
    xml.writeAttribute(QStringLiteral("name"), check.name);
    if (check.result == Check::Result::Broken) {
        xml.writeEmptyElement(QStringLiteral("failure"));
        xml.writeAttribute(QStringLiteral("message"), writable(check.reason));
    } else if (check.result == Check::Result::Disturbed) {
        xml.writeEmptyElement(QStringLiteral("error"));
        xml.writeAttribute(QStringLiteral("message"), writable(check.reason));
    } else if (check.result == Check::Result::Skipped) {
        xml.writeEmptyElement(QStringLiteral("skipped"));
    }
    xml.writeEndElement();
}

} // namespace

QByteArray junitReport(const RunOptions& options, const RunOutcome& outcome, const Verdict& verdict)
{
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuite"));
    const auto attribute = [&xml](const char* name, const QString& value) {
        xml.writeAttribute(QLatin1String(name), value);
    };
    attribute("name", writable(RunFormat::program() + u' ' + options.port));
    attribute("tests", QString::number(verdict.checks.size()));
    attribute("failures", QString::number(countOf(verdict, Check::Result::Broken)));
    attribute("errors", QString::number(countOf(verdict, Check::Result::Disturbed)));
    attribute("skipped", QString::number(countOf(verdict, Check::Result::Skipped)));
    attribute("timestamp", outcome.start().toString(Qt::ISODate));
    attribute("time", QString::number(outcome.sendingSeconds(), 'f', 3));
    writeTags(xml, options);
    for (const Check& check : verdict.checks)
        writeCheck(xml, check);
    xml.writeEndElement();
    xml.writeEndDocument();
    return text;
}
