#pragma once

#include <QString>
#include <QtGlobal>

#include <array>

// The "Graph Settings" section of the settings file: how the wetting-pattern
// graphs are scaled, labelled and coloured. One record is shared by all
// simulation windows; the options dialog edits it and the graph update reads it.
// The member initialisers are the defaults the file is created with.
struct GraphSettings
{
    qint16 AutoScaleX = 0, AutoScaleY = 0;
    float MaxX = 1.5f, MaxY = 1.5f;
    qint16 XDecPlaces = 1, YDecPlaces = 1, BackOn = 0;
    float EmitterDepth = 0.25f;
    qint16 MaxSim = 6;
    // Colour of the curve of time step i in element i (1..8), as colour values
    // with red in the low byte. The defaults are the plain numbers 0..7 used as
    // colour values, not palette indexes. Element 0 is never read nor written.
    std::array<qint32, 9> Color{{0, 0, 1, 2, 3, 4, 5, 6, 7}};
    float Width = 1.5f;
    QString TimeScale = QStringLiteral("LOG");
};
