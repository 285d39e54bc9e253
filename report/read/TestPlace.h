#pragma once

#include <QMap>
#include <QString>

#include <optional>

class FieldReader;

/** A figure; no value if the report has no measurement of it. */
using Figure = std::optional<double>;

/** An adapter. Texts are empty if the report has none. */
struct Adapter
{
    QString driver, vendorId, productId, serialNumber, product;
    Figure latencyTimerMs{};
};

/** Where and with what a report was made. Texts come unchecked from the report. */
struct TestPlace
{
    QMap<QString, QString> tags;
    QString hostName, kernel, machine; ///< empty: unknown
    std::optional<Adapter> adapter;
};

/** Reads the members about the place, which every report has, into `place`. */
void readPlace(FieldReader& from, TestPlace& place);
