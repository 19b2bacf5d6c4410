#pragma once

#include <QIcon>
#include <QMainWindow>
#include <QMap>
#include <QPointer>

class QAction;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QToolBar;
class frmMain;
class frmMySoils;
class SoilComputation;

// The program's main window: a multiple-document frame holding up to four
// simulation windows, with the cool bar (toolbar and logo), menus and status
// bar. Menus and toolbar act on the frame (new window, print, exit, arrange,
// help) or on the active simulation window (update, soil choice).
class frmMDIMain : public QMainWindow
{
    Q_OBJECT
public:
    static constexpr int MaxWindows = 4;
    // Smallest frame, in twips.
    static constexpr double MinWidthTwips = 6500;
    static constexpr double MinHeightTwips = 8000;
    static constexpr double Band2MinHeightTwips = 950;

    explicit frmMDIMain(QWidget *parent = nullptr);
    ~frmMDIMain() override;

    // Creates and numbers a new simulation window ("Ulvex Simulation 3") and
    // returns its caption, or "" when four are open already. The window is
    // shown by the caller.
    QString NewSimWindow();
    // Shows the window with this caption (loading it on first show).
    frmMain *showSimWindow(const QString &caption);

    // Image lists: keyed icon maps filled at start-up.
    QMap<QString, QIcon> ImageList1;
    QMap<QString, QIcon> ImageList2;
    QToolBar *toolbar() const { return tlbMain; }
    // Adds a toolbar button (empty key: a separator) with the image of the same
    // key from ImageList2.
    void addToolbarButton(const QString &key, const QString &toolTip);

    // The toolbar button with this key ("exit", "print", ...), or null.
    QAction *button(const QString &key) const;
    // The menu item with this name ("mnuNew", "mnuPrint", ...), or null.
    QAction *menuItem(const QString &name) const;

    QMdiArea *mdiArea() const { return m_mdi; }
    frmMain *activeSimWindow() const;

    // Arrangements: "Tile" puts the windows side by side in equal columns.
    void TileVertically();
    void Cascade();
    void ArrangeIcons();

    // Called by a simulation window as it unloads, with the windows left.
    void simulationWindowUnloaded(int remaining);

    // The graph options dialog, opened from the menu and by a double click on
    // a graph.
    void showGraphOptions();
    // "My Soils": the user's own soils, added and removed through the
    // database builder. The dialog is not modal: the frame stays usable
    // while a soil is computed.
    void showMySoils();
    // The My Soils dialog (made hidden on first use) and the computation of
    // soils it starts, whose progress also shows in the status bar.
    frmMySoils *mySoils();
    SoilComputation *soilComputation() const { return m_computation; }
    // After My Soils changed the database: every window keeps its soil.
    void soilsChanged();

    // Where print, preview and export are wired to their routines.
    QAction *printDataAction() const { return mnuPrintData; }

    // No context menu for the tool bar: it cannot be hidden.
    QMenu *createPopupMenu() override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private slots:
    void tlbMain_ButtonClick(QAction *button);
    void mnuNew_Click();
    void mnuExit_Click();
    void mnuContents_Click();
    void mnuAbout_Click();

private:
    void buildMenus();
    void buildCoolBar();
    void updateEnabledStates(int openWindows);
    void setBand2MinimumHeight();
    // The Windows menu's list of the open windows, the active one checked.
    void listWindows(QMenu *menu);
    void unloadAll();
    // Asked before the program closes while a soil is computed: true when
    // the user agrees to stop the computation (which is then stopped).
    bool stopComputationToClose();

    QMdiArea *m_mdi = nullptr;
    QToolBar *clbMain = nullptr;
    QToolBar *tlbMain = nullptr;
    QLabel *picMain = nullptr;
    QMap<QString, QAction *> m_buttons;
    QMap<QString, QAction *> m_menuItems;
    QAction *mnuNew = nullptr;
    QAction *mnuPrintData = nullptr;
    QAction *mnuPreview = nullptr;
    QAction *mnuPrint = nullptr;
    bool m_unloading = false;
    SoilComputation *m_computation = nullptr;
    QPointer<frmMySoils> m_mySoils;
};
