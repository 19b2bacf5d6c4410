#pragma once

#include <QtGlobal>

// The "LVSoil Settings" section of the settings file: the share of the soil
// list's width given to each of its five columns, and the size of the soil type
// chooser window in twips. Width comes before Height here, although the file
// is always written Height first.
// The initialisers are the values written when the section is missing.
struct LVSoilSettings
{
    float C1 = 0.25f, C2 = 0.3f, C3 = 0.2f, C4 = 0.12f, C5 = 0.13f;
    qint16 Width = 6825, Height = 4200;
};
