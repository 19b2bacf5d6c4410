#include "graph/DrawTarget.h"

#include "base/Twips.h"

#include <QCache>
#include <QFontMetricsF>
#include <QImage>
#include <QPaintDevice>
#include <QPainter>
#include <QPen>
#include <QRectF>
#include <QPolygonF>
#include <QtMath>
#include <cmath>

const QString DrawTarget::PictureBoxType = QStringLiteral("PictureBox");
const QString DrawTarget::PrinterType = QStringLiteral("Printer");

DrawTarget::DrawTarget(QPaintDevice *device, const QString &typeName, double scaleWidth,
                       double scaleHeight, double unitsPerPoint)
    : m_ownPainter(std::make_unique<QPainter>()),
      m_typeName(typeName),
      m_scaleWidth(scaleWidth),
      m_scaleHeight(scaleHeight),
      m_unitsPerPoint(unitsPerPoint)
{
    m_painter = m_ownPainter.get();
    if (device && m_painter->begin(device)) {
        // Map the drawing units onto the whole device.
        if (scaleWidth > 0 && scaleHeight > 0
            && (device->width() != scaleWidth || device->height() != scaleHeight))
            m_painter->scale(device->width() / scaleWidth, device->height() / scaleHeight);
    }
    setupPainter(device);
}

DrawTarget::DrawTarget(QPainter *activePainter, const QString &typeName, double scaleWidth,
                       double scaleHeight, double unitsPerPoint)
    : m_painter(activePainter),
      m_typeName(typeName),
      m_scaleWidth(scaleWidth),
      m_scaleHeight(scaleHeight),
      m_unitsPerPoint(unitsPerPoint)
{
    // The caller's painter keeps its own state once we are done with it.
    if (m_painter && m_painter->isActive())
        m_painter->save();
    setupPainter(m_painter ? m_painter->device() : nullptr);
}

DrawTarget::~DrawTarget()
{
    if (m_ownPainter) {
        if (m_ownPainter->isActive())
            m_ownPainter->end();
    } else if (m_painter && m_painter->isActive()) {
        m_painter->restore();
    }
}

DrawTarget::DrawTarget(DrawTarget &&other) noexcept
{
    *this = std::move(other);
}

DrawTarget &DrawTarget::operator=(DrawTarget &&other) noexcept
{
    if (this == &other)
        return *this;
    // Only one of the two may end (or restore) the painter.
    m_ownPainter = std::move(other.m_ownPainter);
    m_painter = other.m_painter;
    other.m_painter = nullptr;
    m_typeName = other.m_typeName;
    m_scaleWidth = other.m_scaleWidth;
    m_scaleHeight = other.m_scaleHeight;
    m_unitsPerPoint = other.m_unitsPerPoint;
    m_deviceDpi = other.m_deviceDpi;
    m_drawWidth = other.m_drawWidth;
    m_fontName = other.m_fontName;
    m_fontSize = other.m_fontSize;
    m_fontBold = other.m_fontBold;
    m_fontItalic = other.m_fontItalic;
    return *this;
}

void DrawTarget::setupPainter(QPaintDevice *device)
{
    if (device && device->logicalDpiY() > 0)
        m_deviceDpi = device->logicalDpiY();
    if (m_painter && m_painter->isActive())
        m_painter->setRenderHint(QPainter::TextAntialiasing, true);
}

DrawTarget DrawTarget::forImage(QImage *image, const QString &typeName)
{
    return DrawTarget(image, typeName, image->width(), image->height(), screenUnitsPerPoint());
}

DrawTarget DrawTarget::forPrinter(QPaintDevice *printer)
{
    const double dpi = printer->logicalDpiY() > 0 ? printer->logicalDpiY() : 72.0;
    return DrawTarget(printer, PrinterType, printer->width(), printer->height(), dpi / 72.0);
}

double DrawTarget::screenUnitsPerPoint()
{
    // A point is 20 twips.
    return 20.0 / Twips::perPixel();
}

bool DrawTarget::isActive() const
{
    return m_painter && m_painter->isActive();
}

void DrawTarget::setFont(const QFont &font)
{
    m_fontName = font.family();
    if (font.pointSizeF() > 0)
        m_fontSize = font.pointSizeF();
    m_fontBold = font.bold();
    m_fontItalic = font.italic();
}

QFont DrawTarget::currentFont() const
{
    QFont font(m_fontName);
    // Points -> drawing units -> points of the device, so that the text spans
    // the same drawing units whatever the device's resolution.
    const double units = m_fontSize * m_unitsPerPoint;
    font.setPointSizeF(qMax(0.01, units * 72.0 / m_deviceDpi));
    font.setBold(m_fontBold);
    font.setItalic(m_fontItalic);
    return font;
}

void DrawTarget::box(double x1, double y1, double x2, double y2, const QColor &color)
{
    if (!isActive())
        return;
    m_painter->setRenderHint(QPainter::Antialiasing, false);
    m_painter->fillRect(QRectF(QPointF(x1, y1), QPointF(x2, y2)).normalized(), color);
}

void DrawTarget::line(double x1, double y1, double x2, double y2, const QColor &color)
{
    if (!isActive())
        return;
    m_painter->setRenderHint(QPainter::Antialiasing, false);
    QPen pen(color, m_drawWidth, Qt::SolidLine, m_drawWidth > 1 ? Qt::RoundCap : Qt::SquareCap);
    m_painter->setPen(pen);
    m_painter->drawLine(QPointF(x1, y1), QPointF(x2, y2));
}

void DrawTarget::arc(double cx, double cy, double rx, double ry, double startAngle,
                     double endAngle, const QColor &color)
{
    if (!isActive())
        return;
    m_painter->setRenderHint(QPainter::Antialiasing, true);
    m_painter->setPen(QPen(color, m_drawWidth, Qt::SolidLine, Qt::RoundCap));
    m_painter->setBrush(Qt::NoBrush);
    if (rx == 0.0 || ry == 0.0) {
        // A flat arc (a front that does not reach above the emitter, say) is
        // the straight path the arc would run along: from its start through
        // every quarter point it passes to its end.
        QPolygonF path;
        const auto pointAt = [&](double angle) {
            return QPointF(cx + rx * std::cos(angle), cy - ry * std::sin(angle));
        };
        path << pointAt(startAngle);
        for (double quarter = std::floor(startAngle / M_PI_2 + 1.0) * M_PI_2; quarter < endAngle;
             quarter += M_PI_2)
            path << pointAt(quarter);
        path << pointAt(endAngle);
        m_painter->drawPolyline(path);
        return;
    }
    // QPainter counts angles in sixteenths of a degree, counter-clockwise from
    // three o'clock, the same convention as the angles given here.
    const int start = qRound(qRadiansToDegrees(startAngle) * 16.0);
    const int span = qRound(qRadiansToDegrees(endAngle - startAngle) * 16.0);
    m_painter->drawArc(QRectF(cx - rx, cy - ry, 2 * rx, 2 * ry), start, span);
}

void DrawTarget::disc(double cx, double cy, double radius, const QColor &color)
{
    if (!isActive())
        return;
    m_painter->setRenderHint(QPainter::Antialiasing, true);
    m_painter->setPen(QPen(color, 1));
    m_painter->setBrush(color);
    m_painter->drawEllipse(QPointF(cx, cy), radius, radius);
    m_painter->setBrush(Qt::NoBrush);
}

namespace {

// Large text is not held in the glyph cache of the raster engine and would be
// outlined anew on every redraw, which costs more than the rest of the graph
// together. On raster surfaces each text is therefore rendered once into an
// image with alpha and then only blended in place.
struct RenderedText
{
    QImage image;
    QPoint offset; // of the image's top-left corner from the text's origin
};

QCache<QString, RenderedText> &renderedTextCache()
{
    // Cost in kilobytes: room for the texts of several large graphs.
    thread_local QCache<QString, RenderedText> cache(64 * 1024);
    return cache;
}

bool isRasterImage(const QPainter *painter)
{
    return painter->device()->devType() == QInternal::Image
        && painter->worldTransform().type() <= QTransform::TxTranslate;
}

} // namespace

void DrawTarget::print(double x, double y, const QString &text, const QColor &color)
{
    if (!isActive() || text.isEmpty())
        return;
    const QFont font = currentFont();
    const QFontMetricsF metrics(font, m_painter->device());
    if (!isRasterImage(m_painter)) {
        m_painter->setFont(font);
        m_painter->setPen(color);
        m_painter->drawText(QPointF(x, y + metrics.ascent()), text);
        return;
    }
    // On images text starts on whole pixels, whichever way it is drawn.
    const QPoint origin(qRound(x), qRound(y + metrics.ascent()));
    // Small text is cached by the raster engine itself and drawn directly.
    if (metrics.height() < 48.0) {
        m_painter->setFont(font);
        m_painter->setPen(color);
        m_painter->drawText(origin, text);
        return;
    }

    const QString key = font.key() + QLatin1Char('\x1f') + QString::number(m_deviceDpi)
        + QLatin1Char('\x1f') + QString::number(color.rgba(), 16) + QLatin1Char('\x1f') + text;
    RenderedText *rendered = renderedTextCache().object(key);
    if (!rendered) {
        const QRect bounds = metrics.boundingRect(text).toAlignedRect().adjusted(-2, -2, 2, 2);
        auto made = std::make_unique<RenderedText>();
        made->image = QImage(bounds.size(), QImage::Format_ARGB32_Premultiplied);
        made->image.fill(Qt::transparent);
        made->offset = bounds.topLeft();
        {
            QPainter painter(&made->image);
            painter.setRenderHint(QPainter::TextAntialiasing, true);
            painter.setFont(font);
            painter.setPen(color);
            painter.drawText(QPointF(-bounds.left(), -bounds.top()), text);
        }
        const int cost = qMax(1, int(made->image.sizeInBytes() / 1024));
        rendered = made.get();
        if (!renderedTextCache().insert(key, made.release(), cost))
            rendered = nullptr; // larger than the whole cache: drawn directly below
    }
    if (rendered) {
        m_painter->drawImage(origin + rendered->offset, rendered->image);
    } else {
        m_painter->setFont(font);
        m_painter->setPen(color);
        m_painter->drawText(origin, text);
    }
}

double DrawTarget::TextWidth(const QString &text)
{
    const QFontMetricsF metrics(currentFont(), m_painter ? m_painter->device() : nullptr);
    return metrics.horizontalAdvance(text);
}

double DrawTarget::TextHeight(const QString &)
{
    const QFontMetricsF metrics(currentFont(), m_painter ? m_painter->device() : nullptr);
    return metrics.height();
}
