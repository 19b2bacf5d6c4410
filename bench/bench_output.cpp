// Output of four simulation windows on the real program: the data export into
// a .dat file (four export queries and the file), and the four-window document
// composed and written as a two-page PDF (each graph drawn afresh at 300 dpi).
// Also the same document composed as preview pages. Uses the shipped database
// when there is one, otherwise the test database.
#include "BenchProgramFolder.h"
#include "BenchStats.h"

#include "output/PrintControl.h"
#include "output/basPrint.h"
#include "base/ProgramFolder.h"
#include "shell/ResourceImages.h"
#include "shell/basGlobals.h"
#include "shell/basMain.h"
#include "shell/frmMDIMain.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPrinter>
#include <QTemporaryDir>
#include <memory>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    ResourceImages::registerFontSubstitutes();
    QTemporaryDir dir;
    ProgramFolder::setOverride(dir.path());
    fillBenchProgramFolder(dir.path());
    QDir(dir.path()).mkpath(QStringLiteral("Images"));
    QFile::copy(QStringLiteral(ULVEX_LOGO), dir.filePath(QStringLiteral("Images/UlvexLogo.jpg")));

    basMain::setSplashAutoAccept(true);
    std::unique_ptr<frmMDIMain> frame(basMain::Main());
    frame->showSimWindow(frame->NewSimWindow());
    frame->showSimWindow(frame->NewSimWindow());
    frame->TileVertically();
    QCoreApplication::processEvents();
    std::printf("open simulation windows: %d\n", basGlobals::colSimWindows().Count());

    const QString dat = dir.filePath(QStringLiteral("bench.dat"));
    basPrint::setSaveFileChooser([dat](QWidget *) { return dat; });
    const BenchStats exportStats = BenchStats::measure(50, [&] { basPrint::PrintDataToFile(frame.get()); });
    exportStats.print("export of four windows (50 runs)");
    std::printf("export file size: %lld bytes\n", QFileInfo(dat).size());

    const QString pdf = dir.filePath(QStringLiteral("bench.pdf"));
    PrintControl::setPrinterSetup([pdf](QPrinter &printer, QWidget *) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(pdf);
        return true;
    });
    PrintControl control;
    const BenchStats pdfStats =
        BenchStats::measure(20, [&] { basPrint::PrintGraphs(control, frame.get()); }, 2);
    pdfStats.print("four-window document to PDF (20 runs)");
    std::printf("PDF size: %lld bytes, composition errors: %d\n", QFileInfo(pdf).size(),
                control.ErrorCode());

    PrintControl preview;
    const BenchStats previewStats =
        BenchStats::measure(20, [&] { basPrint::PreviewGraphs(preview, frame.get()); }, 2);
    previewStats.print("four-window document as preview (20 runs)");
    std::printf("preview pages: %d\n", preview.PageCount());
    std::fflush(stdout);

    basPrint::setSaveFileChooser({});
    PrintControl::setPrinterSetup({});
    frame.reset();
    return 0;
}
