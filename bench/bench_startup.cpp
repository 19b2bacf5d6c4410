// Start-up of the real program - frame, image lists, toolbar, two simulation
// windows each filling its lists and drawing its first graph - measured from
// process start inside the program, without the splash's wait for the user and
// without the fixed half-second pause. Then the redraw of four windows after a
// resize of the frame (the windows are tiled again, so every graph is redrawn
// at its new size). Uses the shipped database when there is one.
#include "BenchProgramFolder.h"
#include "BenchStats.h"

#include "graph/GraphEllipse.h"
#include "base/ProgramFolder.h"
#include "shell/ResourceImages.h"
#include "shell/basGlobals.h"
#include "shell/basMain.h"
#include "shell/frmMDIMain.h"
#include "simulation/frmMain.h"

#include <QApplication>
#include <QTemporaryDir>
#include <memory>

int main(int argc, char **argv)
{
    basMain::markProcessStart();
    QApplication app(argc, argv);
    ResourceImages::registerFontSubstitutes();
    QTemporaryDir dir;
    ProgramFolder::setOverride(dir.path());
    fillBenchProgramFolder(dir.path());

    basMain::setSplashAutoAccept(true);
    std::unique_ptr<frmMDIMain> frame(basMain::Main());
    std::printf("start-up to both first graphs drawn (one process): %8.1f ms\n",
                basMain::startupMilliseconds());

    frame->NewSimWindow();
    frame->NewSimWindow();
    for (const QString &caption : basGlobals::colSimWindows().captions())
        frame->showSimWindow(caption);
    frame->TileVertically();
    QCoreApplication::processEvents();

    const QSize small(1000, 700);
    const QSize large(1600, 1000);
    bool big = false;
    const BenchStats stats = BenchStats::measure(200, [&] {
        big = !big;
        frame->resize(big ? large : small);
        frame->TileVertically();
        QCoreApplication::processEvents();
    });
    stats.print("frame resize, four windows redrawn (200 runs)");
    int drawn = 0;
    for (int i = 0; i < basGlobals::colSimWindows().Count(); ++i)
        drawn += basGlobals::colSimWindows().at(i)->graph()->EllipseCount() > 0 ? 1 : 0;
    std::printf("windows with a drawn graph: %d of %d\n", drawn, basGlobals::colSimWindows().Count());
    frame.reset();
    return 0;
}
