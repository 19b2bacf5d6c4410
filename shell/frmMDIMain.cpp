#include "shell/frmMDIMain.h"

#include "shell/HelpViewer.h"
#include "shell/ResourceImages.h"
#include "shell/SimSubWindow.h"
#include "base/Twips.h"
#include "shell/basGlobals.h"
#include "shell/frmAbout.h"
#include "output/PrintControl.h"
#include "output/basPrint.h"
#include "output/frmPrintPreview.h"
#include "settings/frmGraphOptions.h"
#include "shell/ErrorMessage.h"
#include "base/UlvexError.h"
#include "simulation/frmMain.h"
#include "mysoils/ComputationProgress.h"
#include "mysoils/MySoils.h"
#include "mysoils/SoilComputation.h"
#include "mysoils/frmMySoils.h"

#include <QAction>
#include <QCloseEvent>
#include <QDialog>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QScrollBar>
#include <QStatusBar>
#include <QToolBar>
#include <cstdio>
#include <unistd.h>

frmMDIMain::frmMDIMain(QWidget *parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("frmMDIMain"));
    setWindowTitle(QStringLiteral("Ulvex"));
    m_mdi = new QMdiArea(this);
    m_mdi->setObjectName(QStringLiteral("mdiArea"));
    m_mdi->setAccessibleName(QStringLiteral("Simulation windows"));
    // Windows never shrink below the size at which their graphs are whole, so
    // when they do not fit the frame the area scrolls to reach them.
    m_mdi->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_mdi->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setCentralWidget(m_mdi);
    buildMenus();
    buildCoolBar();
    auto *sbrMain = new QStatusBar(this);
    sbrMain->setObjectName(QStringLiteral("sbrMain"));
    setStatusBar(sbrMain);
    m_computation = new SoilComputation(this);
    sbrMain->addPermanentWidget(new ComputationProgress(m_computation, sbrMain), 1);
    setMinimumSize(Twips::sizeToPixels(MinWidthTwips, MinHeightTwips));
    // Frame load: band 2 (the logo) keeps its height.
    setBand2MinimumHeight();
    updateEnabledStates(0);
}

frmMDIMain::~frmMDIMain()
{
    // When the frame goes, every simulation window still open is unloaded one
    // after another, each removing itself from the shared collection.
    unloadAll();
}

void frmMDIMain::buildMenus()
{
    const auto item = [this](QMenu *menu, const QString &name, const QString &caption) {
        QAction *a = menu->addAction(caption);
        a->setObjectName(name);
        m_menuItems.insert(name, a);
        return a;
    };
    QMenu *mnuFile = menuBar()->addMenu(QStringLiteral("File"));
    mnuFile->setObjectName(QStringLiteral("mnuFile"));
    mnuNew = item(mnuFile, QStringLiteral("mnuNew"), QStringLiteral("&New"));
    mnuFile->addSeparator()->setObjectName(QStringLiteral("mnuSep1"));
    mnuPrintData = item(mnuFile, QStringLiteral("mnuPrintData"), QStringLiteral("Print &Data to File"));
    mnuPreview = item(mnuFile, QStringLiteral("mnuPreview"), QStringLiteral("Print Pre&View"));
    mnuPrint = item(mnuFile, QStringLiteral("mnuPrint"), QStringLiteral("&Print"));
    mnuFile->addSeparator()->setObjectName(QStringLiteral("mnuSep2"));
    QAction *mnuExit = item(mnuFile, QStringLiteral("mnuExit"), QStringLiteral("&Exit"));

    QMenu *mnuOptions = menuBar()->addMenu(QStringLiteral("Options"));
    mnuOptions->setObjectName(QStringLiteral("mnuOptions"));
    QAction *mnuGraph = item(mnuOptions, QStringLiteral("mnuGraph"), QStringLiteral("Graph"));
    QAction *mnuMySoils = item(mnuOptions, QStringLiteral("mnuMySoils"), QStringLiteral("My Soils..."));

    QMenu *mnuWindows = menuBar()->addMenu(QStringLiteral("Windows"));
    mnuWindows->setObjectName(QStringLiteral("mnuWindows"));
    QAction *mnuTile = item(mnuWindows, QStringLiteral("mnuTile"), QStringLiteral("Tile"));
    QAction *mnuCascade = item(mnuWindows, QStringLiteral("mnuCascade"), QStringLiteral("Cascade"));
    // Below the arrangements, the open windows, so that one out of sight can
    // be reached: filled each time the menu opens.
    connect(mnuWindows, &QMenu::aboutToShow, this, [this, mnuWindows] { listWindows(mnuWindows); });

    QMenu *mnuHelp = menuBar()->addMenu(QStringLiteral("Help"));
    mnuHelp->setObjectName(QStringLiteral("mnuHelp"));
    QAction *mnuContents = item(mnuHelp, QStringLiteral("mnuContents"), QStringLiteral("Contents"));
    QAction *mnuAbout = item(mnuHelp, QStringLiteral("mnuAbout"), QStringLiteral("About"));

    // Keys for the commands used most. The menus show them beside the
    // captions; the toolbar's tooltips stay as they are, and the help lists
    // every key.
    mnuNew->setShortcut(QKeySequence::New);
    mnuPrint->setShortcut(QKeySequence::Print);
    mnuContents->setShortcut(QKeySequence::HelpContents);

    connect(mnuNew, &QAction::triggered, this, &frmMDIMain::mnuNew_Click);
    connect(mnuExit, &QAction::triggered, this, &frmMDIMain::mnuExit_Click);
    connect(mnuGraph, &QAction::triggered, this, &frmMDIMain::showGraphOptions);
    connect(mnuMySoils, &QAction::triggered, this, &frmMDIMain::showMySoils);
    connect(mnuTile, &QAction::triggered, this, &frmMDIMain::TileVertically);
    connect(mnuCascade, &QAction::triggered, this, &frmMDIMain::Cascade);
    connect(mnuContents, &QAction::triggered, this, &frmMDIMain::mnuContents_Click);
    connect(mnuAbout, &QAction::triggered, this, &frmMDIMain::mnuAbout_Click);

    // Output: the export, the preview and printing through the frame's own
    // print control, which keeps the chosen printer for the next print.
    auto *PrintPRO1 = new PrintControl(QStringLiteral("PrintPRO Document"), this);
    PrintPRO1->setObjectName(QStringLiteral("PrintPRO1"));
    connect(mnuPrintData, &QAction::triggered, this, [this] { basPrint::PrintDataToFile(this); });
    connect(mnuPreview, &QAction::triggered, this, [this] {
        frmPrintPreview preview(this);
        preview.exec();
    });
    connect(mnuPrint, &QAction::triggered, this,
            [this, PrintPRO1] { basPrint::PrintGraphs(*PrintPRO1, this); });
}

void frmMDIMain::buildCoolBar()
{
    // The cool bar: band 1 holds the toolbar, band 2 the logo picture.
    clbMain = addToolBar(QStringLiteral("Toolbar"));
    clbMain->setObjectName(QStringLiteral("clbMain"));
    clbMain->setMovable(false);
    clbMain->setFloatable(false);
    tlbMain = new QToolBar(clbMain);
    tlbMain->setObjectName(QStringLiteral("tlbMain"));
    tlbMain->setIconSize(QSize(24, 24));
    tlbMain->setAccessibleName(QStringLiteral("Toolbar"));
    clbMain->addWidget(tlbMain);
    picMain = new QLabel(clbMain);
    picMain->setObjectName(QStringLiteral("picMain"));
    picMain->setAccessibleName(QStringLiteral("Ulvex logo"));
    picMain->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    clbMain->addWidget(picMain);
    connect(tlbMain, &QToolBar::actionTriggered, this, &frmMDIMain::tlbMain_ButtonClick);
}

void frmMDIMain::setBand2MinimumHeight()
{
    const int h = Twips::toPixels(Band2MinHeightTwips);
    picMain->setMinimumHeight(h);
    const QPixmap logo = ResourceImages::pixmap(112, QSize(h * 4, h - 6));
    picMain->setPixmap(logo);
}

void frmMDIMain::addToolbarButton(const QString &key, const QString &toolTip)
{
    if (key.isEmpty()) {
        tlbMain->addSeparator();
        return;
    }
    QAction *a = tlbMain->addAction(ImageList2.value(key), toolTip);
    a->setObjectName(key);
    a->setProperty("Key", key);
    a->setToolTip(toolTip);
    a->setStatusTip(toolTip); // the button's description
    // The two commands on the active window have no menu item: their keys
    // live on the buttons.
    QString keyText;
    if (key == QLatin1String("simulate"))
        a->setShortcut(QKeySequence(Qt::Key_F5));
    else if (key == QLatin1String("soiltype"))
        a->setShortcut(QKeySequence(Qt::Key_F4));
    if (!a->shortcut().isEmpty()) {
        keyText = QStringLiteral(" (%1)").arg(a->shortcut().toString(QKeySequence::NativeText));
    }
    m_buttons.insert(key, a);
    if (QWidget *w = tlbMain->widgetForAction(a)) {
        w->setAccessibleName(toolTip);
        // A screen reader announces the key with the description.
        w->setAccessibleDescription(toolTip + keyText);
    }
    updateEnabledStates(basGlobals::colSimWindows().Count());
}

QAction *frmMDIMain::button(const QString &key) const
{
    return m_buttons.value(key);
}

QAction *frmMDIMain::menuItem(const QString &name) const
{
    return m_menuItems.value(name);
}

QString frmMDIMain::NewSimWindow()
{
    setCursor(Qt::WaitCursor);
    SimWindowCollection &windows = basGlobals::colSimWindows();
    if (windows.Count() >= MaxWindows)
        return QString(); // unreachable from the UI: its commands are disabled at four
    auto *window = new frmMain;
    window->setFrmParent(this);
    basGlobals::intSimCount = qint16(basGlobals::intSimCount + 1);
    const QString caption = QStringLiteral("Ulvex Simulation ") + QString::number(basGlobals::intSimCount);
    window->setWindowTitle(caption);
    window->setProperty("Tag", QString::number(basGlobals::intSimCount));
    auto *sub = new SimSubWindow;
    sub->setWidget(window);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    m_mdi->addSubWindow(sub);
    sub->setWindowIcon(ResourceImages::icon(114));
    sub->setObjectName(caption);
    windows.Add(caption, window);
    updateEnabledStates(windows.Count());
    unsetCursor();
    return caption;
}

frmMain *frmMDIMain::showSimWindow(const QString &caption)
{
    frmMain *window = basGlobals::colSimWindows().Item(caption);
    if (!window)
        return nullptr;
    window->ensureLoaded();
    if (auto *sub = qobject_cast<SimSubWindow *>(window->parentWidget())) {
        sub->keepContentWhole();
        sub->show();
        sub->resize(sub->sizeHint().expandedTo(sub->minimumSize()));
    }
    window->show();
    return window;
}

frmMain *frmMDIMain::activeSimWindow() const
{
    QMdiSubWindow *sub = m_mdi->activeSubWindow();
    if (!sub && !m_mdi->subWindowList().isEmpty())
        sub = m_mdi->currentSubWindow();
    return sub ? qobject_cast<frmMain *>(sub->widget()) : nullptr;
}

void frmMDIMain::updateEnabledStates(int openWindows)
{
    const bool room = openWindows < MaxWindows;
    const bool any = openWindows >= 1;
    if (QAction *a = button(QStringLiteral("graph")))
        a->setEnabled(room);
    mnuNew->setEnabled(room);
    for (const char *key : {"simulate", "soiltype", "print", "printpreview"})
        if (QAction *a = button(QString::fromLatin1(key)))
            a->setEnabled(any);
    mnuPrintData->setEnabled(any);
    mnuPreview->setEnabled(any);
    mnuPrint->setEnabled(any);
}

void frmMDIMain::simulationWindowUnloaded(int remaining)
{
    // Below four windows a new one may be made; with none left there is
    // nothing to print, update or choose a soil for.
    if (remaining < MaxWindows) {
        if (QAction *a = button(QStringLiteral("graph")))
            a->setEnabled(true);
        mnuNew->setEnabled(true);
    }
    if (remaining == 0) {
        for (const char *key : {"print", "printpreview", "simulate", "soiltype"})
            if (QAction *a = button(QString::fromLatin1(key)))
                a->setEnabled(false);
        mnuPrintData->setEnabled(false);
        mnuPreview->setEnabled(false);
        mnuPrint->setEnabled(false);
    }
}

void frmMDIMain::TileVertically()
{
    // Side by side in equal columns, in the order the windows were made. A
    // column is never narrower than a window can be: when the columns do not
    // fit at that width they keep it and the area scrolls sideways to the
    // rest. Likewise a window keeps its smallest height in a low frame.
    QList<QMdiSubWindow *> subs;
    for (QMdiSubWindow *sub : m_mdi->subWindowList(QMdiArea::CreationOrder))
        if (sub->isVisible() && !sub->isMinimized())
            subs.append(sub);
    if (subs.isEmpty())
        return;
    for (QMdiSubWindow *sub : std::as_const(subs))
        if (sub->isMaximized() || sub->isShaded())
            sub->showNormal();
    const int n = int(subs.size());
    QSize minimum(0, 0);
    for (QMdiSubWindow *sub : std::as_const(subs))
        minimum = minimum.expandedTo(sub->minimumSize());
    // The area without scroll bars; a scroll bar that the arrangement needs
    // takes its room from the other direction.
    QSize room = m_mdi->maximumViewportSize();
    const int hbar = m_mdi->horizontalScrollBar()->sizeHint().height();
    const int vbar = m_mdi->verticalScrollBar()->sizeHint().width();
    const bool scrollsSideways = room.width() / n < minimum.width();
    if (scrollsSideways)
        room.rheight() -= hbar;
    const bool scrollsDown = room.height() < minimum.height();
    if (scrollsDown && !scrollsSideways)
        room.rwidth() -= vbar;
    const int columnWidth = std::max(room.width() / n, minimum.width());
    const int height = std::max(room.height(), minimum.height());
    // Scrolled areas start again from their top left corner.
    m_mdi->horizontalScrollBar()->setValue(0);
    m_mdi->verticalScrollBar()->setValue(0);
    for (int i = 0; i < n; ++i) {
        const bool last = i == n - 1 && !scrollsSideways;
        const int w = last ? std::max(room.width() - columnWidth * (n - 1), minimum.width()) : columnWidth;
        subs.at(i)->setGeometry(QRect(i * columnWidth, 0, w, height));
    }
}

void frmMDIMain::listWindows(QMenu *menu)
{
    for (QAction *a : menu->actions())
        if (a->property("WindowEntry").toBool()) {
            menu->removeAction(a);
            a->deleteLater();
        }
    const QList<QMdiSubWindow *> subs = m_mdi->subWindowList(QMdiArea::CreationOrder);
    if (subs.isEmpty())
        return;
    QAction *separator = menu->addSeparator();
    separator->setProperty("WindowEntry", true);
    int n = 0;
    for (QMdiSubWindow *sub : subs) {
        ++n;
        const QString caption = sub->widget() ? sub->widget()->windowTitle() : sub->windowTitle();
        // The first nine get their number as the key, as in every such list.
        QAction *a = menu->addAction(n <= 9 ? QStringLiteral("&%1 %2").arg(n).arg(caption) : caption);
        a->setObjectName(QStringLiteral("mnuWindow%1").arg(n));
        a->setProperty("WindowEntry", true);
        a->setCheckable(true);
        a->setChecked(sub == m_mdi->activeSubWindow());
        connect(a, &QAction::triggered, this, [this, sub = QPointer<QMdiSubWindow>(sub)] {
            if (!sub)
                return;
            if (sub->isMinimized())
                sub->showNormal();
            m_mdi->setActiveSubWindow(sub);
            // A window scrolled out of sight: the area scrolls to its corner.
            const QRect r = sub->geometry();
            if (!m_mdi->viewport()->rect().contains(r.topLeft())) {
                m_mdi->horizontalScrollBar()->setValue(m_mdi->horizontalScrollBar()->value() + r.left());
                m_mdi->verticalScrollBar()->setValue(m_mdi->verticalScrollBar()->value() + r.top());
            }
        });
    }
}

void frmMDIMain::Cascade()
{
    m_mdi->cascadeSubWindows();
}

void frmMDIMain::ArrangeIcons()
{
    // Minimized windows line up along the bottom of the area.
    const QRect area = m_mdi->viewport()->rect();
    int x = 0;
    for (QMdiSubWindow *sub : m_mdi->subWindowList(QMdiArea::CreationOrder)) {
        if (!sub->isMinimized())
            continue;
        const QSize s = sub->size();
        sub->move(x, area.bottom() - s.height() + 1);
        x += s.width();
    }
}

QMenu *frmMDIMain::createPopupMenu()
{
    // The cool bar is always there: it holds the only buttons for updating a
    // graph and choosing its soil. So no menu offers to hide it.
    return nullptr;
}

void frmMDIMain::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    if (isMinimized())
        return;
    const QSize minimum = Twips::sizeToPixels(MinWidthTwips, MinHeightTwips);
    if (width() < minimum.width() || height() < minimum.height())
        resize(std::max(width(), minimum.width()), std::max(height(), minimum.height()));
    setBand2MinimumHeight();
}

void frmMDIMain::closeEvent(QCloseEvent *event)
{
    if (!stopComputationToClose()) {
        event->ignore();
        return;
    }
    unloadAll();
    event->accept();
}

bool frmMDIMain::stopComputationToClose()
{
    if (!m_computation->isRunning())
        return true;
    QMessageBox ask(QMessageBox::Question, QStringLiteral("Ulvex"),
                    QStringLiteral("Ulvex is still busy: %1. Stop it and close Ulvex? Your soils stay "
                                   "as they were before it started.")
                        .arg(m_computation->job().title),
                    QMessageBox::Yes | QMessageBox::No, this);
    ask.setObjectName(QStringLiteral("StopComputationQuestion"));
    ask.setDefaultButton(QMessageBox::No);
    if (ask.exec() != QMessageBox::Yes)
        return false;
    // The builder removes its temporary file before it ends; the user's
    // database is left as it was.
    m_computation->stopAndWait();
    return true;
}

void frmMDIMain::unloadAll()
{
    if (m_unloading)
        return;
    m_unloading = true;
    SimWindowCollection &windows = basGlobals::colSimWindows();
    while (windows.Count() > 0) {
        frmMain *w = windows.at(0);
        if (!w) {
            windows.Remove(windows.captions().first());
            continue;
        }
        w->Unload();
        if (QWidget *sub = w->parentWidget())
            sub->deleteLater();
    }
    m_unloading = false;
}

void frmMDIMain::tlbMain_ButtonClick(QAction *button)
{
    const QString key = button->property("Key").toString();
    if (key == QLatin1String("exit")) {
        mnuExit_Click();
    } else if (key == QLatin1String("print")) {
        mnuPrint->trigger();
    } else if (key == QLatin1String("printpreview")) {
        mnuPreview->trigger();
    } else if (key == QLatin1String("graph")) {
        mnuNew_Click();
    } else if (key == QLatin1String("simulate")) {
        if (frmMain *w = activeSimWindow())
            w->UpdateGraph();
    } else if (key == QLatin1String("soiltype")) {
        if (frmMain *w = activeSimWindow())
            w->SelectSoilType();
    }
}

void frmMDIMain::mnuNew_Click()
{
    const QString caption = NewSimWindow();
    basGlobals::strLastResult = caption;
    if (!caption.isEmpty())
        showSimWindow(caption);
}

void frmMDIMain::mnuExit_Click()
{
    // Ends the process at once: no window is unloaded and nothing is saved.
    // Only a soil being computed is asked about first, and stopped cleanly.
    if (!stopComputationToClose())
        return;
    std::fflush(nullptr);
    ::_exit(0);
}

void frmMDIMain::showGraphOptions()
{
    frmGraphOptions dialog(this);
    dialog.Form_Load();
    // Values of the settings file that cannot be used are shown at their
    // defaults; the user hears which, and where, before repairing them.
    if (!dialog.loadProblems().isEmpty())
        ErrorMessage::show(this, UlvexError(13, QStringLiteral("Some settings cannot be used; the "
                                                               "options show their defaults instead, "
                                                               "and Accept saves them.\n")
                                                    + dialog.loadProblems().join(QLatin1Char('\n'))));
    dialog.exec();
}

frmMySoils *frmMDIMain::mySoils()
{
    if (!m_mySoils) {
        m_mySoils = new frmMySoils(m_computation, this);
        m_mySoils->setWindowsShowing([](const QString &soil) {
            QStringList captions;
            SimWindowCollection &windows = basGlobals::colSimWindows();
            for (int i = 0; i < windows.Count(); ++i)
                if (frmMain *w = windows.at(i); w && w->shownSoil().compare(soil, Qt::CaseInsensitive) == 0)
                    captions << w->caption();
            return captions;
        });
        connect(m_mySoils, &frmMySoils::databaseChanged, this, &frmMDIMain::soilsChanged);
    }
    return m_mySoils;
}

void frmMDIMain::showMySoils()
{
    frmMySoils *dialog = mySoils();
    MySoils::removeLeftovers();
    dialog->refresh();
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}

void frmMDIMain::soilsChanged()
{
    SimWindowCollection &windows = basGlobals::colSimWindows();
    for (int i = 0; i < windows.Count(); ++i)
        if (frmMain *w = windows.at(i))
            w->followSoil();
}

void frmMDIMain::mnuContents_Click()
{
    auto *viewer = new HelpViewer(this);
    viewer->setAttribute(Qt::WA_DeleteOnClose);
    viewer->openContents();
    viewer->show();
}

void frmMDIMain::mnuAbout_Click()
{
    frmAbout about(this);
    about.setWindowIcon(ResourceImages::icon(114));
    about.setWindowTitle(QStringLiteral("About Ulvex"));
    about.exec();
    about.hide();
}
