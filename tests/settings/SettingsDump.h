#pragma once

// One-line texts of the settings records, so a QCOMPARE of two records shows
// every field of both when they differ.

#include "settings/GraphSettings.h"
#include "settings/LVSoilSettings.h"

#include <QString>
#include <QStringList>

// Floats are shown with 9 significant digits, enough to tell any two singles apart.
inline QString num(float f)
{
    return QString::number(double(f), 'g', 9);
}

inline QString dump(const GraphSettings &s)
{
    QStringList parts{num(s.MaxX), num(s.MaxY), num(s.EmitterDepth), num(s.Width)};
    for (qint16 v : {s.AutoScaleX, s.AutoScaleY, s.XDecPlaces, s.YDecPlaces, s.BackOn, s.MaxSim})
        parts << QString::number(v);
    for (int i = 0; i <= 8; ++i)
        parts << QString::number(s.Color[size_t(i)]);
    parts << s.TimeScale;
    return "MaxX,MaxY,EmitterDepth,Width,AutoScaleX,AutoScaleY,XDec,YDec,BackOn,MaxSim,"
           "Color0..8,TimeScale = "
        + parts.join(',');
}

inline QString dump(const LVSoilSettings &s)
{
    return QStringList{num(s.C1), num(s.C2), num(s.C3), num(s.C4), num(s.C5),
                       QString::number(s.Width), QString::number(s.Height)}
        .join(',');
}
