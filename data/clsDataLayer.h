#pragma once

#include "data/clsDataConLayer.h"
#include "data/clsRecordset.h"

#include <QString>

// The dataset layer: query results kept as named, in-memory datasets. A query
// runs against the database only long enough to copy its rows into a record
// set of this layer's own; the database record set and its connection are
// closed at once. Everything above works on these copies.
class clsDataLayer
{
public:
    // The datasets, keyed by name ("Soil", "Flow", "Time", "Simulation").
    const DatasetCollection &Datasets() const { return m_datasets; }

    // Runs sql and keeps a copy of its rows under name; the copy's cursor is
    // then on its first row (BOF and EOF when there is none). A database
    // failure is thrown (UlvexError) untouched; the error texts of the guarded
    // routines come back as the result, empty on success. The name must not be
    // in use: delete first (sfDatasetDelete), as the query layer does.
    QString sfDatasetLoad(const QString &name, const QString &sql);

    // Adds an empty, open record set under name with Source sql and the given
    // fields (name, type and defined size as the database reported them).
    // A name already in use gives an error text and changes nothing.
    QString sfDatasetCreate(const QString &name, const QString &sql,
                            const QList<clsRecordset::Field> &fields);
    QString sfDatasetCreate(const QString &name, const QString &sql,
                            const clsSourceRecordset &source);

    // Removes a dataset and returns the SQL text it was loaded from; empty,
    // and no error, when there is none of that name.
    QString sfDatasetDelete(const QString &name);

    // Writes every row of a dataset into the table its fields come from,
    // through the connection layer's save path, leaving out fields the
    // database numbers itself. Nothing in the program calls it; it completes
    // the layer. Error text, empty on success; database failures are thrown.
    QString sfDatasetSave(const QString &name);

private:
    DatasetCollection m_datasets;
    clsDataConLayer m_connection;
};
