#pragma once

#include "mysoils/SoilComputation.h"
#include "mysoils/frmAddSoil.h"

#include <QDialog>
#include <QPointer>

#include <functional>
#include <optional>

class ComputationProgress;
class QLabel;
class QPushButton;
class QTreeWidget;

// "My Soils": the soils the user added, with their texture, conductivity and
// the date they were added; "Add..." describes a new soil and has the
// database builder compute it, "Remove" has the builder write the user's
// database without the chosen soil. The soils go into the user's own
// database, which the program reads from then on.
//
// The dialog does not hold the program up: the builder runs as a process of
// its own (one computation at a time, see SoilComputation), its progress
// shows here and in the frame's status bar, and the frame, its menus and
// windows stay usable meanwhile. When a computation ends the program reads
// the databases afresh and says so (databaseChanged); a failed or stopped
// addition opens the Add form again with the soil as it was typed.
class frmMySoils : public QDialog
{
    Q_OBJECT
public:
    explicit frmMySoils(SoilComputation *computation, QWidget *parent = nullptr);
    ~frmMySoils() override;

    // Reads the user's soils into the list.
    void refresh();
    void cmdAdd_Click();
    void cmdRemove_Click();

    // The captions of the windows that show the soil of this name (the frame
    // knows its windows); the removal question names them.
    using WindowsShowing = std::function<QStringList(const QString &soilName)>;
    void setWindowsShowing(WindowsShowing windowsShowing) { m_windowsShowing = std::move(windowsShowing); }

    // Once for each newer shipped database: tells the user that the soils
    // were computed on an older one and offers to compute them afresh.
    void offerRecompute();

    // The Add form open now (tests and the computation's end reach it), or null.
    frmAddSoil *addForm() const { return m_addForm; }

signals:
    // The database the program reads was written or chosen afresh: soils may
    // have come, gone or moved to other numbers.
    void databaseChanged();

private:
    // Opens the Add form, filled as `typed` when given.
    void openAddForm(const std::optional<frmAddSoil::Typed> &typed);
    void addFormClosed(int result);
    // Starts a computation; refuses with a message while another one runs.
    bool startJob(const SoilComputation::Job &job);
    bool refuseWhileComputing();
    void computationFinished(bool ok, bool cancelled, const QString &message);
    void readDatabasesAgain(bool tellTrouble);
    QWidget *messageParent();

    SoilComputation *m_computation = nullptr;
    WindowsShowing m_windowsShowing;
    QPointer<frmAddSoil> m_addForm;
    // The Add form as it was when the last addition was asked for.
    std::optional<frmAddSoil::Typed> m_typed;
    QTreeWidget *lvMySoils = nullptr;
    QPushButton *cmdAdd = nullptr;
    QPushButton *cmdRemove = nullptr;
    QPushButton *cmdClose = nullptr;
    QLabel *lblWhere = nullptr;
    ComputationProgress *prgComputation = nullptr;
};
