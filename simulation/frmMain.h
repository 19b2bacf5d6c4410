#pragma once

#include "simulation/ControlScaler.h"

#include <QPointer>
#include <QVariant>
#include <QVector>
#include <QWidget>
#include <memory>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QStatusBar;
class QTimer;
class GraphEllipse;
class clsBusinessLayer;
class frmMDIMain;

// One simulation window: a soil, a flow rate, a maximum time, the soil's initial
// water content and the emitter type, and the graph of the wetting fronts for
// them. The choices are read only when an update is asked for (the toolbar's
// "simulate" or a click on the graph); changing them alone redraws nothing.
class frmMain : public QWidget
{
    Q_OBJECT
public:
    // Design size of the window, in twips.
    static constexpr double sngOrigWidth = 6345;
    static constexpr double sngOrigHeight = 5745;

    explicit frmMain(QWidget *parent = nullptr);
    ~frmMain() override;

    // Redraws the graph for the current choices; the status text goes to
    // basGlobals::strLastResult and is returned.
    QString UpdateGraph();
    // Lets the user choose this window's soil; returns the status text.
    QString SelectSoilType();

    // Keeps the window on the soil its label names when the database it
    // reads has changed since (a soil removed or added before it moves the
    // soils after it to other numbers): the soil is looked up again by name.
    // When it is no longer there, the window says so and shows nothing for
    // it until the user chooses another soil. Runs before every update, soil
    // choice and export, and when My Soils has changed the database.
    void followSoil();
    // The soil the window shows; empty when its soil was removed.
    QString shownSoil() const;
    bool soilGone() const { return m_soilGone; }

    void setFrmParent(frmMDIMain *frame) { frmParent = frame; }
    frmMDIMain *parentFrame() const { return frmParent; }

    // Loads the window (lists filled, first graph drawn) if it has not loaded
    // yet. Showing the window loads it too.
    void ensureLoaded();
    bool isLoaded() const { return m_loaded; }

    // The window's caption ("Ulvex Simulation 3") and number ("3").
    QString caption() const { return windowTitle(); }

    GraphEllipse *graph() const { return GraphEllipse1; }
    // The export rows of this window's soil and flow rate, every time step,
    // indexed [column][row] (the query layer's ReturnDataForPrint). A database
    // failure is thrown as UlvexError to the caller.
    QVector<QVector<QVariant>> exportRows();
    QStatusBar *statusBar() const { return sbrMain; }
    QTimer *mouseTimer() const { return tmrMain; }
    bool isHooked() const { return blnHooked; }

    // Removes the window from the shared collection and updates the frame's
    // commands. Runs once, when the window closes.
    void Unload();

signals:
    void unloaded(frmMain *window);

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void GraphEllipse1_MouseMove(qint16 button, qint16 shift, float x, float y);
    void GraphEllipse1_Click();
    void GraphEllipse1_DblClick();
    void tmrMain_Timer();

private:
    void buildControls();
    void Form_Load();
    void placeStatusBar();
    // Keep the accessible names of the soil label and the graph up to date
    // with what they show.
    void showSoilToScreenReaders();
    void showGraphToScreenReaders();
    void showSoilGone(const QString &name);
    QString soilGoneText() const;
    clsBusinessLayer &business();
    // Runs a data operation, showing a database failure to the user.
    template <typename F> QString guarded(F &&operation);

    frmMDIMain *frmParent = nullptr;
    std::unique_ptr<clsBusinessLayer> m_business;

    QGroupBox *fraSel = nullptr;
    QLabel *lblSoilDes = nullptr;
    QGroupBox *Frame1 = nullptr;
    QLabel *lblFlow = nullptr;
    QComboBox *cmbFlow = nullptr;
    QLabel *lblTime = nullptr;
    QComboBox *cmbTime = nullptr;
    QGroupBox *fraWaterContents = nullptr;
    QCheckBox *chkWet = nullptr;
    QCheckBox *chkMoist = nullptr;
    QCheckBox *chkDry = nullptr;
    QLabel *lblWater[3] = {nullptr, nullptr, nullptr};
    QButtonGroup *grpWater = nullptr;
    QGroupBox *fraEmitter = nullptr;
    QCheckBox *chkBuried = nullptr;
    QCheckBox *chkSurface = nullptr;
    QLabel *lblBuried = nullptr;
    QLabel *lblEmit = nullptr;
    QButtonGroup *grpEmitter = nullptr;
    QGroupBox *fraLeft = nullptr;
    GraphEllipse *GraphEllipse1 = nullptr;
    QStatusBar *sbrMain = nullptr;
    QTimer *tmrMain = nullptr;

    float sngAspect = float(sngOrigHeight / sngOrigWidth);
    bool blnNoResize = true;
    bool blnHooked = false;
    bool m_loaded = false;
    bool m_unloaded = false;
    // The database version the soil number in the label's tag belongs to.
    QString m_databaseSeen;
    bool m_soilGone = false;
    QString m_goneSoil;
    ControlScaler m_scaler;
};
