#include "output/basPrint.h"

#include "graph/GraphEllipse.h"
#include "output/DataFileWriter.h"
#include "output/GraphPageLayout.h"
#include "output/PrintControl.h"
#include "shell/ErrorMessage.h"
#include "base/ProgramFolder.h"
#include "base/UserFolders.h"
#include "base/UlvexError.h"
#include "shell/basGlobals.h"
#include "simulation/frmMain.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPainter>

#include <algorithm>

namespace {

basPrint::SaveFileChooser &saveFileChooser()
{
    static basPrint::SaveFileChooser chooser;
    return chooser;
}

// Visual Basic's "Path/File access error", the number users of the earlier
// versions know from this message.
constexpr int FileAccessError = 75;

// Pages are never drawn finer than this; more only makes big files.
constexpr double MaxPicturePixelsPerPoint = 300.0 / 72.0;

bool isBuried(const frmMain *window)
{
    const auto *box = window->findChild<QCheckBox *>(QStringLiteral("chkBuried"));
    return box && box->isChecked();
}

void drawPageTexts(QPainter &painter, const GraphPageLayout &layout, int page,
                   const QString &printed, const QImage &logo)
{
    if (!logo.isNull()) {
        // The logo keeps its proportions inside its box, at the box's left.
        const QRectF box = layout.logoRect();
        QSizeF size = QSizeF(logo.size()).scaled(box.size(), Qt::KeepAspectRatio);
        painter.drawImage(QRectF(box.topLeft(), size), logo);
    }
    // A pixel size in the painter's units (points) gives the text its size on
    // paper whatever the device's resolution.
    QFont font(QStringLiteral("Verdana"));
    font.setPixelSize(int(GraphPageLayout::TextPointSize));
    painter.setFont(font);
    painter.setPen(Qt::black);
    const QRectF line = layout.textLine();
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Printed ") + printed);
    painter.drawText(line, Qt::AlignRight | Qt::AlignVCenter,
                     QStringLiteral("Page Number ") + QString::number(page));
}

void drawGraph(QPainter &painter, const GraphPageLayout &layout, int slot,
               const GraphEllipse *graph, PrintControl &control)
{
    const double aspect = basPrint::GraphAspect(graph);
    const QRectF target = layout.graphRect(slot, aspect);
    const QImage picture =
        basPrint::GraphPicture(graph, target.size(), control.devicePixelsPerPoint());
    if (picture.isNull()) {
        control.setError(PrintControl::ErrPicture);
    } else {
        // A line drawing: stored losslessly, never as a JPEG with its smudges
        // around every line and letter.
        painter.save();
        painter.setRenderHint(QPainter::LosslessImageRendering);
        painter.drawImage(target, picture);
        painter.restore();
    }
    QPen pen(Qt::black);
    pen.setWidthF(0.75);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(layout.frameRect(slot, aspect));
}

} // namespace

namespace basPrint {

QString DocumentTitle()
{
    return QStringLiteral("Ulvex Graphical Output");
}

QString LogoFile()
{
    return ProgramFolder::file(QStringLiteral("Images/UlvexLogo.jpg"));
}

QList<frmMain *> OpenWindows()
{
    QList<frmMain *> windows;
    SimWindowCollection &collection = basGlobals::colSimWindows();
    for (int i = 0; i < collection.Count(); ++i)
        if (frmMain *w = collection.at(i))
            windows.append(w);
    return windows;
}

// ---- Data export -------------------------------------------------------

void setSaveFileChooser(SaveFileChooser chooser)
{
    saveFileChooser() = std::move(chooser);
}

QString ShowSaveDialog(QWidget *parent)
{
    QFileDialog dialog(parent, QString(), UserFolders::exportFolder(),
                       QStringLiteral("Simulation Data (*.dat)"));
    dialog.setObjectName(QStringLiteral("CommonDialog1"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // A name typed without extension still gets ".dat", as the filter shows.
    dialog.setDefaultSuffix(QStringLiteral("dat"));
    // The overwrite prompt is on (Qt asks unless told not to).
    dialog.setOption(QFileDialog::DontConfirmOverwrite, false);
    if (dialog.exec() != QDialog::Accepted)
        return QString();
    const QStringList files = dialog.selectedFiles();
    return files.isEmpty() ? QString() : files.first();
}

bool WriteSimulationData(QIODevice *device, const QDateTime &now)
{
    DataFileWriter writer(device);
    writer.writeFileHeader(now);
    for (frmMain *window : OpenWindows()) {
        // A window whose soil was removed shows nothing, and writes nothing.
        window->followSoil();
        if (window->soilGone())
            continue;
        const GraphEllipse *graph = window->graph();
        writer.writeBlockHeader(window->caption(), graph->SoilType(), graph->FlowRate(),
                                graph->WaterContent(), isBuried(window), graph->EmitterDepth());
        writer.writeRows(window->exportRows());
        writer.writeBlockEnd();
        if (!writer.ok())
            return false;
    }
    return writer.ok();
}

void PrintDataToFile(QWidget *parent)
{
    const QString fileName =
        saveFileChooser() ? saveFileChooser()(parent) : ShowSaveDialog(parent);
    if (fileName.isEmpty())
        return; // cancelled: no file, no message

    const QString shown = QDir::toNativeSeparators(fileName);
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        ErrorMessage::show(parent, UlvexError(FileAccessError,
                                              QStringLiteral("The file %1 could not be created: %2")
                                                  .arg(shown, file.errorString())));
        return;
    }
    bool written = false;
    try {
        written = WriteSimulationData(&file, QDateTime::currentDateTime());
    } catch (const UlvexError &error) {
        // What was written so far stays in the file.
        file.close();
        ErrorMessage::show(parent, error);
        return;
    }
    if (written)
        written = file.flush();
    const QString reason = file.errorString();
    file.close();
    if (!written)
        ErrorMessage::show(parent, UlvexError(FileAccessError,
                                              QStringLiteral("The file %1 could not be written: %2")
                                                  .arg(shown, reason)));
}

// ---- Printing and preview ----------------------------------------------

void SetPrintTitle(PrintControl &control)
{
    control.setDocName(DocumentTitle());
}

double GraphAspect(const GraphEllipse *graph)
{
    const QImage image = graph ? graph->Image() : QImage();
    const QSize size = image.isNull() ? GraphEllipse::designSizePixels() : image.size();
    return size.height() > 0 ? double(size.width()) / size.height() : 1.0;
}

QImage GraphPicture(const GraphEllipse *graph, const QSizeF &points, double pixelsPerPoint)
{
    if (!graph)
        return QImage();
    const QImage screen = graph->Image();
    const QSize layoutSize = screen.isNull() ? GraphEllipse::designSizePixels() : screen.size();
    const double scale = std::min(pixelsPerPoint, MaxPicturePixelsPerPoint);
    const QSize pixels(qRound(points.width() * scale), qRound(points.height() * scale));
    // Never coarser than the picture on screen.
    const QSize wanted = pixels.expandedTo(layoutSize);
    if (wanted.width() > 0 && wanted.height() > 0 && wanted.width() <= 16384
        && wanted.height() <= 16384) {
        QImage sharp(wanted, QImage::Format_RGB32);
        if (!sharp.isNull()) {
            sharp.fill(Qt::white);
            if (graph->DrawGraphOn(&sharp, layoutSize).isEmpty())
                return sharp;
        }
    }
    return screen;
}

int ComposeGraphPages(PrintControl &control)
{
    const QList<frmMain *> windows = OpenWindows();
    if (!control.inDocument()) {
        control.setError(PrintControl::ErrNoDocument);
        return 0;
    }
    const GraphPageLayout layout(control.pageSizePoints());
    // One time for the whole document, so all its pages agree.
    const QString printed = DataFileWriter::generalDate(QDateTime::currentDateTime());
    QImage logo;
    if (QFileInfo::exists(LogoFile()))
        logo.load(LogoFile()); // a missing or unreadable logo is skipped silently
    int page = 0;
    for (int k = 0; k < windows.size(); ++k) {
        const int slot = GraphPageLayout::slotOf(k);
        if (slot == 0) {
            if (k > 0 && !control.NewPage())
                return page;
            ++page;
            drawPageTexts(*control.painter(), layout, page, printed, logo);
        }
        drawGraph(*control.painter(), layout, slot, windows.at(k)->graph(), control);
    }
    return page;
}

void PrintGraphs(PrintControl &control, QWidget *parent)
{
    if (OpenWindows().isEmpty())
        return;
    SetPrintTitle(control);
    control.setPrintPreview(false);
    if (control.PrintDialog(parent) == PrintControl::StatusCancelled)
        return;
    if (!control.StartDoc())
        return;
    ComposeGraphPages(control);
    control.EndDoc();
}

void PreviewGraphs(PrintControl &control, QWidget *parent)
{
    if (OpenWindows().isEmpty())
        return;
    control.setPrintPreview(true);
    SetPrintTitle(control);
    if (control.StartDoc()) {
        ComposeGraphPages(control);
        control.EndDoc();
    }
    if (control.ErrorCode() != PrintControl::NoError) {
        QMessageBox box(QMessageBox::NoIcon, QStringLiteral("PrintPRO"),
                        QStringLiteral("PrintPRO error: ") + QString::number(control.ErrorCode()),
                        QMessageBox::Ok | QMessageBox::Cancel, parent);
        box.setObjectName(QStringLiteral("PrintPROError"));
        box.exec();
    }
}

} // namespace basPrint
