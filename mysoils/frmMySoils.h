#pragma once

#include <QDialog>

class QLabel;
class QPushButton;
class QTreeWidget;

// "My Soils": the soils the user added, with their texture, conductivity and
// the date they were added; "Add..." describes a new soil and has the
// database builder compute it, "Remove" has the builder write the user's
// database without the chosen soil. The soils go into the user's own
// database, which the program reads from then on.
class frmMySoils : public QDialog
{
    Q_OBJECT
public:
    explicit frmMySoils(QWidget *parent = nullptr);

    // Reads the user's soils into the list.
    void refresh();
    void cmdAdd_Click();
    void cmdRemove_Click();

    // Once for each newer shipped database: tells the user that the soils
    // were computed on an older one and offers to compute them afresh.
    static void offerRecompute(QWidget *parent);

    // Runs the builder with a progress dialog; true when it wrote its
    // database. Shows the builder's message when it failed (not when the
    // user stopped it). The program reads the user's database afresh after.
    static bool build(QWidget *parent, const QString &title, const QStringList &arguments);

    // Where the builder is (tests may point elsewhere; empty: beside the program).
    static void setBuilderProgram(const QString &program);

private:
    QTreeWidget *lvMySoils = nullptr;
    QPushButton *cmdAdd = nullptr;
    QPushButton *cmdRemove = nullptr;
    QPushButton *cmdClose = nullptr;
    QLabel *lblWhere = nullptr;
};
