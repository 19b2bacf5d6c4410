#pragma once

#include <QDialog>

class QListWidget;
class clsBusinessLayer;

// A plain modal list of the soils of the window's "Soil" dataset, standing in
// for the full soil type chooser. It takes and gives back the same members:
// intSelectedIndex (the soil's row number, 1-based) and strSelectedSoil.
class SoilChooser : public QDialog
{
    Q_OBJECT
public:
    SoilChooser(clsBusinessLayer &business, QWidget *parent = nullptr);

    // Fills the list and highlights row intSelectedIndex; false when there is
    // no soil to choose from.
    bool load();

    qint16 intSelectedIndex = 1;
    QString strSelectedSoil;

    QListWidget *list() const { return lvSoil; }

private:
    void choose();

    clsBusinessLayer &m_business;
    QListWidget *lvSoil = nullptr;
};
