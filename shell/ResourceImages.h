#pragma once

#include <QIcon>
#include <QList>
#include <QPixmap>
#include <QSize>
#include <QString>

// The program's own icons and bitmaps. They are drawn as SVG, compiled into the
// program through the Qt resource system and looked up by the numeric ids the
// windows and image lists use (114 is the icon of every window).
//
// An id that is not in the table is a programming error: Q_ASSERT stops a debug
// build, and a release build gets an empty icon or a null pixmap, never a crash.
namespace ResourceImages {

enum Id {
    Exit = 105,         // "exit"
    Print = 103,        // "print" (a bitmap in the toolbar's image list)
    Graph = 111,        // "graph": a new simulation window
    PrintPreview = 107, // "printpreview" (bitmap)
    Simulate = 120,     // "simulate": update the active simulation
    SoilType = 106,     // "soiltype"
    Logo = 112,         // "logo": the wide banner (bitmap)
    Water = 114         // "water": the program icon
};

// Every known id, in the order of the toolbar's image list after the program icon.
QList<int> ids();

bool isKnown(int id);

// The image-list key of an id ("water", "exit", ...); empty for an unknown id.
QString key(int id);

// The resource path of the SVG behind an id (":/ulvex/icons/....svg").
QString resourcePath(int id);

// The picture's natural size in SVG units (32 x 32 for the icons, 400 x 100 for
// the logo); an invalid size for an unknown id.
QSize naturalSize(int id);

// An icon with crisp renderings at the usual sizes (16 to 256 px).
QIcon icon(int id);

// A pixmap of exactly `size`, the picture scaled to fit inside it with its
// proportions kept, centred, on a transparent background.
QPixmap pixmap(int id, const QSize &size);

// "Verdana" is asked for by name throughout the program; where it is not
// installed, DejaVu Sans stands in so that text keeps a similar width. Call once
// at start-up, after the QApplication exists.
void registerFontSubstitutes();

} // namespace ResourceImages
