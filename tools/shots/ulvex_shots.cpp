// Drives the real program into the states worth looking at and saves a
// screenshot of each: the frame with two windows, three and four tiled in the
// first frame size, four in a wide frame, and a buried emitter on a coloured
// background; given the builder (third argument), "My Soils" adding a soil.
// With "--installed PROGRAMFOLDER OUT" it runs an installed
// program as the user running it and saves the settings through the options
// dialog (see installedRun). Run it under Xvfb through
// tools/screenshots.sh; it accepts the disclaimer for you.
#include "graph/ColorRef.h"
#include "settings/basIndProfile.h"
#include "settings/frmGraphOptions.h"
#include <QEventLoop>
#include "mysoils/frmAddSoil.h"
#include "mysoils/SoilComputation.h"
#include "mysoils/frmMySoils.h"
#include "base/ProgramFolder.h"
#include "shell/ResourceImages.h"
#include "shell/basGlobals.h"
#include "shell/basMain.h"
#include "shell/frmMDIMain.h"
#include "simulation/frmMain.h"
#include "tests/common/TestDatabase.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QPushButton>
#include <QTimer>
#include <QLineEdit>
#include <QTreeWidget>
#include <functional>
#include <QScreen>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <memory>

namespace {

void settle()
{
    for (int i = 0; i < 20; ++i) {
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
}

bool shoot(QWidget *frame, const QString &file)
{
    settle();
    QPixmap picture;
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        picture = frame->screen()->grabWindow(frame->winId());
    if (picture.isNull())
        picture = frame->grab();
    const bool ok = picture.save(file);
    std::printf("%s %s (%dx%d)\n", ok ? "wrote" : "could not write", qPrintable(file), picture.width(),
                picture.height());
    return ok;
}

void choose(frmMain *w, int flow, int time, bool buried, const char *water)
{
    w->findChild<QComboBox *>(QStringLiteral("cmbFlow"))->setCurrentIndex(flow);
    w->findChild<QComboBox *>(QStringLiteral("cmbTime"))->setCurrentIndex(time);
    w->findChild<QCheckBox *>(buried ? QStringLiteral("chkBuried") : QStringLiteral("chkSurface"))->setChecked(true);
    w->findChild<QCheckBox *>(QString::fromLatin1(water))->setChecked(true);
    w->UpdateGraph();
}

// An installed program run by an ordinary user: the program folder is the
// installation's (not the user's to write), the options dialog is opened as on
// a first start, looked at, and accepted; the settings land in the user's
// configuration folder. Prints where they went and what they hold.
int installedRun(const QString &programFolder, const QString &out)
{
    ProgramFolder::setOverride(programFolder);
    basMain::setSplashAutoAccept(true);
    std::unique_ptr<frmMDIMain> frame(basMain::Main());
    if (!frame)
        return 1;
    bool ok = true;
    QTimer::singleShot(300, [&] {
        auto *dialog = qobject_cast<frmGraphOptions *>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            ok = false;
            return;
        }
        ok &= shoot(dialog, out + QStringLiteral("/installed-options-first-opening.png"));
        dialog->findChild<QPushButton *>(QStringLiteral("cmdOK"))->click();
    });
    frame->menuItem(QStringLiteral("mnuGraph"))->trigger();
    ok &= shoot(frame.get(), out + QStringLiteral("/installed-frame.png"));
    const QString settings = basIndProfile::IniPath();
    QFile file(settings);
    std::printf("settings file: %s\n", qPrintable(settings));
    if (file.open(QIODevice::ReadOnly))
        std::printf("%s", file.readAll().constData());
    else
        ok = false;
    frame->close();
    frame.reset();
    basGlobals::colSimWindows().clear();
    return ok ? 0 : 1;
}

// Acts on the next modal window that `act` accepts (it returns false for
// others), polling, so that a dialog opened from a dialog is met too.
void whenModal(const std::function<bool(QWidget *)> &act, int attempts = 3000)
{
    QTimer::singleShot(50, [act, attempts] {
        QWidget *w = QApplication::activeModalWidget();
        if (w && act(w))
            return;
        if (attempts > 0)
            whenModal(act, attempts - 1);
    });
}

// "My Soils" with the real builder: a soil added from the loam class average
// with three times its conductivity, the progress while it is computed, the
// list, and the frame with a graph of the soil next to the loam's.
bool mySoilRun(const QString &builder, const QString &out)
{
    std::unique_ptr<frmMDIMain> frame(basMain::Main());
    if (!frame)
        return false;
    frame->soilComputation()->setProgram(builder);
    frame->resize(1280, 860);
    frame->TileVertically();
    bool ok = true;
    bool progressShot = false;
    frame->menuItem(QStringLiteral("mnuMySoils"))->trigger();
    frmMySoils *my = frame->mySoils();
    my->cmdAdd_Click();
    frmAddSoil *add = my->addForm();
    if (!add)
        return false;
    add->startFrom(3); // Loam
    add->field(frmAddSoil::Name)->setText(QStringLiteral("North field loam"));
    add->field(frmAddSoil::Classification)->setText(QStringLiteral("laboratory sample, 0-30 cm"));
    add->field(frmAddSoil::Ks)->setText(QStringLiteral("75"));
    add->field(frmAddSoil::ThetaS)->setFocus();
    ok &= shoot(add, out + QStringLiteral("/mysoils-add.png"));
    // The computation runs on while the frame is used: its progress shows in
    // My Soils and in the frame's status bar.
    SoilComputation *computation = frame->soilComputation();
    QObject::connect(computation, &SoilComputation::progress, my, [&](int done) {
        if (done >= 4 && !progressShot) {
            progressShot = true;
            ok &= shoot(my, out + QStringLiteral("/mysoils-progress.png"));
            ok &= shoot(frame.get(), out + QStringLiteral("/frame-while-computing.png"));
        }
    });
    QEventLoop wait;
    QObject::connect(computation, &SoilComputation::finished, &wait, &QEventLoop::quit);
    add->findChild<QPushButton *>(QStringLiteral("cmdOK"))->click();
    if (computation->isRunning())
        wait.exec();
    ok &= shoot(my, out + QStringLiteral("/mysoils-list.png"));
    my->close();
    ok &= progressShot;

    // The new soil in window 2 beside the class average in window 1.
    whenModal([](QWidget *d) {
        auto *list = d->findChild<QTreeWidget *>(QStringLiteral("lvSoil"));
        if (!list)
            return false;
        list->setCurrentItem(list->topLevelItem(list->topLevelItemCount() - 1));
        d->findChild<QPushButton *>(QStringLiteral("cmdReturn"))->click();
        return true;
    });
    basGlobals::colSimWindows().at(1)->SelectSoilType();
    whenModal([](QWidget *d) {
        auto *list = d->findChild<QTreeWidget *>(QStringLiteral("lvSoil"));
        if (!list)
            return false;
        list->setCurrentItem(list->topLevelItem(3));
        d->findChild<QPushButton *>(QStringLiteral("cmdReturn"))->click();
        return true;
    });
    basGlobals::colSimWindows().at(0)->SelectSoilType();
    choose(basGlobals::colSimWindows().at(0), 2, 23, false, "chkDry");
    choose(basGlobals::colSimWindows().at(1), 2, 23, false, "chkDry");
    ok &= shoot(frame.get(), out + QStringLiteral("/mysoils-graph.png"));
    frame->close();
    frame.reset();
    basGlobals::colSimWindows().clear();
    return ok;
}

} // namespace

int main(int argc, char **argv)
{
    basMain::markProcessStart();
    QApplication app(argc, argv);
    ResourceImages::registerFontSubstitutes();
    if (argc == 4 && QLatin1String(argv[1]) == QLatin1String("--installed")) {
        const QString out = QString::fromLocal8Bit(argv[3]);
        QDir().mkpath(out);
        return installedRun(QString::fromLocal8Bit(argv[2]), out);
    }
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("screenshots");
    QDir().mkpath(out);
    const QString database = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QString();
    const QString builder = argc > 3 ? QString::fromLocal8Bit(argv[3]) : QString();

    QTemporaryDir folder;
    ProgramFolder::setOverride(folder.path());
    // The user's own folders of this run lie in the temporary folder.
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder.filePath(QStringLiteral("xdg-data"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(folder.filePath(QStringLiteral("xdg-config"))));
    if (!database.isEmpty() && QFile::exists(database))
        QFile::copy(database, folder.filePath(QStringLiteral("trickle.db")));
    else
        TestDatabase::create(folder.path());
    basMain::setSplashAutoAccept(true);

    bool ok = true;
    {
        std::unique_ptr<frmMDIMain> frame(basMain::Main());
        frame->resize(1280, 860);
        frame->TileVertically();
        choose(basGlobals::colSimWindows().at(0), 2, 23, false, "chkDry");
        choose(basGlobals::colSimWindows().at(1), 2, 23, false, "chkWet");
        ok &= shoot(frame.get(), out + QStringLiteral("/frame-two-windows.png"));

        // Three and four windows tiled in the frame's first size: columns at
        // the windows' smallest width, the area scrolling sideways.
        frame->resize(frame->minimumSize().expandedTo(QSize(1000, 720)));
        frame->menuItem(QStringLiteral("mnuNew"))->trigger();
        frame->menuItem(QStringLiteral("mnuTile"))->trigger();
        choose(basGlobals::colSimWindows().at(2), 4, 23, true, "chkMoist");
        ok &= shoot(frame.get(), out + QStringLiteral("/tile-three-default-frame.png"));
        frame->menuItem(QStringLiteral("mnuNew"))->trigger();
        frame->menuItem(QStringLiteral("mnuTile"))->trigger();
        choose(basGlobals::colSimWindows().at(3), 0, 11, false, "chkWet");
        ok &= shoot(frame.get(), out + QStringLiteral("/tile-four-default-frame.png"));

        frame->resize(1900, 1000);
        frame->TileVertically();
        choose(basGlobals::colSimWindows().at(2), 4, 23, true, "chkMoist");
        choose(basGlobals::colSimWindows().at(3), 0, 11, false, "chkWet");
        ok &= shoot(frame.get(), out + QStringLiteral("/frame-four-windows.png"));
        frame->close();
    }
    basGlobals::colSimWindows().clear();

    // Coloured background and colours for the curves, as the options dialog
    // would save them.
    GraphSettings settings;
    basIndProfile::LoadGraphSettings(settings);
    settings.BackOn = 1;
    settings.Width = 2;
    settings.EmitterDepth = 0.3f;
    const int colours[7] = {0, ColorRef::rgb(200, 0, 0), ColorRef::rgb(0, 0, 200), ColorRef::rgb(0, 130, 0),
                            ColorRef::rgb(160, 0, 160), ColorRef::rgb(0, 120, 140), ColorRef::rgb(110, 60, 0)};
    for (int i = 1; i <= 6; ++i)
        settings.Color[size_t(i)] = colours[i];
    basIndProfile::SaveGraphSettings(settings);
    {
        std::unique_ptr<frmMDIMain> frame(basMain::Main());
        frame->resize(1280, 860);
        frame->TileVertically();
        choose(basGlobals::colSimWindows().at(0), 3, 23, true, "chkDry");
        choose(basGlobals::colSimWindows().at(1), 3, 23, true, "chkWet");
        ok &= shoot(frame.get(), out + QStringLiteral("/frame-buried-background.png"));
        frame->close();
    }
    basGlobals::colSimWindows().clear();
    if (!builder.isEmpty() && !database.isEmpty()) {
        // The settings as they were at first, for the My Soils pictures.
        QFile::remove(basIndProfile::IniPath());
        ok &= mySoilRun(builder, out);
    }
    return ok ? 0 : 1;
}
