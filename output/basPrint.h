#pragma once

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QSizeF>
#include <QString>

#include <functional>

class GraphEllipse;
class PrintControl;
class QIODevice;
class QWidget;
class frmMain;

// Output of the open simulation windows: the data export to a text file and
// the printed and previewed document of their graphs. Both walk the shared
// collection of simulation windows in its order.
namespace basPrint {

// The title of every printed and previewed document.
QString DocumentTitle(); // "Ulvex Graphical Output"
// The picture printed at the top of each page, when the file exists.
QString LogoFile();      // <program folder>/Images/UlvexLogo.jpg

// The open simulation windows in the collection's order.
QList<frmMain *> OpenWindows();

// ---- Data export -------------------------------------------------------

// Asks for a file (the save dialog, initially in the program folder's
// "data"), then writes the data of every open window into it. A cancelled
// dialog writes nothing and shows nothing. A file that cannot be written, or a
// database failure on the way, is shown in a message box; what was written so
// far stays in the file and the program goes on.
void PrintDataToFile(QWidget *parent = nullptr);

// The save dialog itself: "Simulation Data (*.dat)", the overwrite prompt;
// returns the chosen file, or "" when the user cancelled.
QString ShowSaveDialog(QWidget *parent);

// Replaces the save dialog in PrintDataToFile (tests, batch use): returns the
// file to write or "" to cancel. An empty function restores the dialog.
using SaveFileChooser = std::function<QString(QWidget *parent)>;
void setSaveFileChooser(SaveFileChooser chooser);

// Writes the whole export onto an open device. Throws UlvexError when a
// window's query fails; returns false when the device stopped taking bytes.
bool WriteSimulationData(QIODevice *device, const QDateTime &now);

// ---- Printing and preview ----------------------------------------------

// Prints the graphs of the open windows as one document: the print dialog
// first (its cancel stops without printing), then the pages go to the chosen
// printer or PDF file. Nothing is done when no window is open.
void PrintGraphs(PrintControl &control, QWidget *parent = nullptr);

// Composes the same document as preview pages inside the control. When the
// composition fails the user sees "PrintPRO error: " and the code.
void PreviewGraphs(PrintControl &control, QWidget *parent = nullptr);

// Draws every page into the control's open document: two graphs a page in
// the order of the windows, the page texts on each page. Returns the number
// of pages drawn.
int ComposeGraphPages(PrintControl &control);

// Gives the control the document's title.
void SetPrintTitle(PrintControl &control);

// A graph's picture for a box of the given size in points on a device with
// the given pixels per point: the graph drawn afresh at up to 300 dots per
// inch, so lines and text stay sharp on paper; the graph's own image when it
// cannot be drawn again.
QImage GraphPicture(const GraphEllipse *graph, const QSizeF &points, double pixelsPerPoint);

// Width / height of a graph's picture (its size on screen).
double GraphAspect(const GraphEllipse *graph);

} // namespace basPrint
