#pragma once

#include "report/read/Figure.h"

#include <QMap>
#include <QString>

class FieldReader;

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

    /** In one line; empty: nothing is known. */
    QString adapterText() const;
    QString hostText() const;
};

/** The members that every report has of it. */
void readPlace(FieldReader& from, TestPlace& place);
