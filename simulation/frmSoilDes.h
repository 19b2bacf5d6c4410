#pragma once

#include "settings/LVSoilSettings.h"
#include "simulation/ControlScaler.h"

#include <QDialog>
#include <QSize>
#include <memory>

class QGroupBox;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class clsBusinessLayer;

// The soil type chooser: a modal list of every soil in the database, from
// which one click (or "Return") chooses the soil of a simulation window. The
// window sets intSelectedIndex before loading it and reads intSelectedIndex and
// strSelectedSoil back once it has closed. The list's column widths and the
// chooser's own size are kept in the settings file from one opening to the next.
class frmSoilDes : public QDialog
{
    Q_OBJECT
public:
    // Design size of the window, which is also its smallest size, in twips.
    static constexpr double DesignWidth = 6825;
    static constexpr double DesignHeight = 4200;

    explicit frmSoilDes(QWidget *parent = nullptr);
    ~frmSoilDes() override;

    // Fills the list from the database with the remembered layout and
    // highlights row intSelectedIndex. Returns the query's status text (empty
    // on success); a database failure (UlvexError) passes to the caller.
    QString Form_Load();

    // In: the current soil's row number (1-based). Out: the chosen row's.
    qint16 intSelectedIndex = 0;
    // Out: the chosen row's text, the soil's name.
    QString strSelectedSoil;

    QTreeWidget *list() const { return lvSoil; }

    // Saves the list's layout and the window's size, takes the highlighted row
    // and closes the window. Without a highlighted row (an empty list) the
    // window closes as cancelled and nothing is taken.
    void Choose();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildControls();
    void SaveLayout();

    std::unique_ptr<clsBusinessLayer> m_business;
    QGroupBox *Frame1 = nullptr;
    QLabel *Label1 = nullptr;
    QTreeWidget *lvSoil = nullptr;
    QPushButton *cmdReturn = nullptr;
    ControlScaler m_scaler;
    QSize m_loadSize;
    // The fifth width share has no column to measure; it is kept as loaded.
    LVSoilSettings m_layout;
};
