#include "base/Twips.h"

#include <QGuiApplication>
#include <QScreen>
#include <cmath>

namespace Twips {

double perPixel()
{
    double dpi = 96.0;
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        if (const QScreen *screen = QGuiApplication::primaryScreen()) {
            const double logical = screen->logicalDotsPerInch();
            if (logical > 0)
                dpi = logical;
        }
    }
    return 1440.0 / dpi;
}

int toPixels(double twips)
{
    return int(std::lround(twips / perPixel()));
}

double fromPixels(double pixels)
{
    return pixels * perPixel();
}

QSize sizeToPixels(double widthTwips, double heightTwips)
{
    return QSize(toPixels(widthTwips), toPixels(heightTwips));
}

} // namespace Twips
