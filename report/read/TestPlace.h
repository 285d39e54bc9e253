#pragma once

#include <QMap>
#include <QString>

#include <optional>

class FieldReader;

/** A figure for which the report may have no measurement. */
using Figure = std::optional<double>;

/** Texts are empty where the report has none. */
struct Adapter
{
    QString driver, vendorId, productId, serialNumber, product;
    Figure latencyTimerMs{};
};

/** Where a report was made and with what; its texts are as the report has them. */
struct TestPlace
{
    QMap<QString, QString> tags;
    QString hostName, kernel, machine; ///< empty: not known
    std::optional<Adapter> adapter;
};

/** The members that every report has of it. */
void readPlace(FieldReader& from, TestPlace& place);
