#pragma once

#include "shell/ErrorMessage.h"
#include "base/ProgramFolder.h"
#include "base/UlvexError.h"
#include "data/UserDatabase.h"
#include "shell/basGlobals.h"
#include "shell/basMain.h"
#include "shell/frmMDIMain.h"
#include "simulation/frmMain.h"
#include "tests/common/TestDatabase.h"

#include <QAction>
#include <QFile>
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
        // The user's own folders lie in the temporary folder too: never the
        // real ones of whoever runs the tests.
        qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath("xdg-data")));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath("xdg-config")));
        UserDatabase::reset();
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
        UserDatabase::reset();
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
