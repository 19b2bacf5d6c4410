#include "shell/basMain.h"

#include "base/UlvexError.h"
#include "data/DataErrors.h"
#include "data/UserDatabase.h"
#include "data/basSafeRoutines.h"
#include "mysoils/MySoils.h"
#include "mysoils/frmMySoils.h"
#include "shell/ErrorMessage.h"
#include "shell/ResourceImages.h"
#include "shell/basGlobals.h"
#include "shell/frmMDIMain.h"
#include "shell/frmSplash.h"
#include "simulation/frmMain.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMdiArea>
#include <QMdiSubWindow>

namespace {
QElapsedTimer &processClock()
{
    static QElapsedTimer clock;
    return clock;
}
bool g_autoAccept = false;
double g_startupMs = -1;
} // namespace

namespace basMain {

void setSplashAutoAccept(bool accept)
{
    g_autoAccept = accept;
}

void markProcessStart()
{
    processClock().start();
}

double startupMilliseconds()
{
    return g_startupMs;
}

QString LoadImageList(frmMDIMain *frame)
{
    frame->ImageList1.insert(QStringLiteral("water"), ResourceImages::icon(114));
    const struct { const char *key; int id; } images[] = {
        {"exit", 105}, {"print", 103}, {"graph", 111}, {"printpreview", 107},
        {"simulate", 120}, {"soiltype", 106}, {"logo", 112},
    };
    for (const auto &image : images)
        frame->ImageList2.insert(QString::fromLatin1(image.key), ResourceImages::icon(image.id));
    return QString();
}

QString LoadToolbarButtons(frmMDIMain *frame)
{
    frame->addToolbarButton(QString(), QString());
    frame->addToolbarButton(QStringLiteral("exit"), QStringLiteral("Exit Ulvex Simulator"));
    frame->addToolbarButton(QString(), QString());
    frame->addToolbarButton(QStringLiteral("print"), QStringLiteral("Print Simulation"));
    frame->addToolbarButton(QStringLiteral("printpreview"), QStringLiteral("Print PreView of Simulation"));
    frame->addToolbarButton(QString(), QString());
    frame->addToolbarButton(QStringLiteral("graph"), QStringLiteral("Create Graph of Simulation"));
    frame->addToolbarButton(QString(), QString());
    frame->addToolbarButton(QStringLiteral("simulate"), QStringLiteral("Update Simulation"));
    frame->addToolbarButton(QStringLiteral("soiltype"), QStringLiteral("Select Soil Type"));
    return QString();
}

void SetupHelpAndToolbar(frmMDIMain *frame)
{
    // The help lives in the program folder's help/ (HelpViewer::contentsFile);
    // nothing needs setting up for it here.
    basGlobals::strLastResult = LoadImageList(frame);
    basGlobals::strLastResult = LoadToolbarButtons(frame);
}

frmMDIMain *Main()
{
    if (!processClock().isValid())
        processClock().start();
    // 1.-2. The disclaimer must be accepted before anything else appears. The
    // time the user spends reading it is not start-up time.
    qint64 waitedNs = 0;
    if (!g_autoAccept) {
        QElapsedTimer wait;
        wait.start();
        frmSplash splash;
        const int answer = splash.exec();
        waitedNs = wait.nsecsElapsed();
        if (answer != QDialog::Accepted)
            return nullptr;
    }

    // The user's own database, when there is a usable one, is read instead of
    // the shipped one from the first query on.
    const QString userDatabaseTrouble = UserDatabase::choose();

    // 3.-7. The frame.
    auto *frame = new frmMDIMain;
    SetupHelpAndToolbar(frame);
    frame->setWindowIcon(ResourceImages::icon(114));
    frame->setWindowTitle(QStringLiteral("Ulvex"));
    basGlobals::intSimCount = 0;
    frame->resize(frame->minimumSize().expandedTo(QSize(1000, 720)));
    frame->show();

    // 8.-9. Two simulation windows, the first with the focus.
    const QString first = frame->NewSimWindow();
    basGlobals::strLastResult = first;
    const QString second = frame->NewSimWindow();
    basGlobals::strLastResult = second;
    frmMain *one = frame->showSimWindow(first);
    frame->showSimWindow(second);
    if (one && one->parentWidget())
        frame->mdiArea()->setActiveSubWindow(qobject_cast<QMdiSubWindow *>(one->parentWidget()));
    g_startupMs = double(processClock().nsecsElapsed() - waitedNs) / 1e6;

    // 10.-11. Let both windows finish loading and drawing, then side by side.
    basSafeRoutines::sfPause(500);
    frame->TileVertically();

    // A user database that cannot be read costs the user's soils for now, not
    // the program: say which file, and go on with the shipped one. A newer
    // shipped database is offered once to compute the user's soils on.
    if (!userDatabaseTrouble.isEmpty())
        ErrorMessage::show(frame, UlvexError(DataErrors::DatabaseOpen,
                                             userDatabaseTrouble
                                                 + QStringLiteral(". Your own soils cannot be shown; "
                                                                  "Ulvex reads its own database ")
                                                 + UserDatabase::shippedPath()
                                                 + QStringLiteral(" instead.")));
    else
        frame->mySoils()->offerRecompute();
    // What a builder or an earlier run stopped outright left behind.
    MySoils::removeLeftovers();
    return frame;
}

} // namespace basMain
