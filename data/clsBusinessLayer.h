#pragma once

#include "data/clsDataLayer.h"
#include "data/clsUserConLayer.h"

#include <QString>
#include <QVariant>
#include <QVector>

#include <memory>

class QWidget;

// The query layer: the one place where windows ask for data. Each operation
// builds one SQL statement from the calling window's selection (its controls
// are read by name), loads it as a named dataset and hands it to the control
// binding layer, or returns its rows. Nothing is trapped here: the error texts
// come back as results and database failures (UlvexError) pass through to the
// window that asked.
class clsBusinessLayer
{
public:
    // "Soil": the soil rows; the current one is shown in the soil label.
    QString ShowComboSoil(QWidget *window);
    // "Flow": fills cmbFlow and selects its first entry.
    QString ShowComboFlow(QWidget *window);
    // "Time": fills cmbTime and selects its first entry.
    QString ShowComboTime(QWidget *window);
    // "Simulation": the rows of the window's selection, drawn by UpdateGraph.
    QString ShowGraph(QWidget *window);
    // "Simulation": every time step of the window's soil and flow rate from
    // the export table (BuriedData or SurfaceData), indexed [column][row];
    // empty when a guarded routine reports an error or there are no rows.
    QVector<QVector<QVariant>> ReturnDataForPrint(QWidget *window);
    // "Soil": the soil chooser's list view.
    QString ShowSoilLV(QWidget *window);

    // The layers, created on first use and kept for the object's lifetime.
    clsDataLayer &dataLayer();
    clsUserConLayer &userConLayer();

    // The display table for the window's emitter and water-content options,
    // in brackets ("[BuriedData-c6]"); empty when no water content is chosen.
    static QString SimulationTable(QWidget *window);

private:
    QString showFixed(const QString &dataset, const QString &sql, QWidget *window,
                      QString (clsUserConLayer::*show)(const QString &,
                                                       const DatasetCollection &, QWidget *));

    std::unique_ptr<clsDataLayer> m_dataLayer;
    std::unique_ptr<clsUserConLayer> m_userConLayer;
};
