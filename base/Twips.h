#pragma once

#include <QSize>

// Window geometry of the design is given in twips (1440 per inch). Every
// conversion goes through here, with the screen's logical DPI (15 twips per
// pixel at 96 DPI); without a screen 96 DPI is assumed.
namespace Twips {

double perPixel();
int toPixels(double twips);
double fromPixels(double pixels);
QSize sizeToPixels(double widthTwips, double heightTwips);

} // namespace Twips
