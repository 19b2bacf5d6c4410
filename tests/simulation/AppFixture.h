#pragma once

#include "shell/ErrorMessage.h"
#include "base/ProgramFolder.h"
#include "base/UlvexError.h"
#include "shell/basGlobals.h"
#include "shell/basMain.h"
#include "shell/frmMDIMain.h"
#include "simulation/frmMain.h"
#include "tests/common/TestDatabase.h"

#include <QAction>
#include <QMdiSubWindow>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

// Starts the real program (without the splash's wait for a user) on a test
// database in a temporary program folder, and records the error messages the
// windows would show.
struct AppFixture
{
    QTemporaryDir dir;
    std::unique_ptr<frmMDIMain> frame;
    QStringList errors;

    explicit AppFixture(bool withDatabase = true)
    {
        ProgramFolder::setOverride(dir.path());
        if (withDatabase)
            TestDatabase::create(dir.path());
        ErrorMessage::setSink([this](QWidget *, const UlvexError &e) {
            errors << ErrorMessage::text(e);
        });
    }
    ~AppFixture()
    {
        frame.reset();
        basGlobals::colSimWindows().clear();
        ErrorMessage::setSink({});
        ProgramFolder::setOverride(QString());
    }
    void start()
    {
        basMain::setSplashAutoAccept(true);
        frame.reset(basMain::Main());
    }
    // Starts the program and leaves n simulation windows open: the frame opens
    // with two, so the second is closed for n == 1 and more come from File, New.
    // False when the frame did not start.
    bool startWithWindows(int n)
    {
        start();
        if (!frame)
            return false;
        if (n == 1)
            sub(window(2))->close();
        for (int i = 2; i < n; ++i)
            frame->menuItem("mnuNew")->trigger();
        return true;
    }
    frmMain *window(int n) const
    {
        return basGlobals::colSimWindows().Item(QStringLiteral("Ulvex Simulation %1").arg(n));
    }
    static QMdiSubWindow *sub(frmMain *w) { return qobject_cast<QMdiSubWindow *>(w->parentWidget()); }
};
