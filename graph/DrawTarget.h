#pragma once

#include <QColor>
#include <QFont>
#include <QPointF>
#include <QString>
#include <memory>

class QPaintDevice;
class QPainter;
class QImage;

// A surface the graph procedures draw on: the graph's picture box or the
// printer. It carries the surface's type name ("PictureBox" or "Printer";
// the procedures refuse anything else), its scale width and height (the
// drawing units the layout fractions refer to) and the drawing state the
// procedures set: pen width and font.
//
// It holds no widget. A picture box target paints on the picture's QImage;
// a printer target paints on a QPrinter or any other QPaintDevice (a PDF or
// SVG generator as well), so every output goes through the same procedures.
//
// Font sizes are in points. unitsPerPoint says how many drawing units one
// point spans on this surface (screen pixels per point for a picture, device
// pixels per point for a printer), so text keeps its size in the layout even
// when the painter maps the drawing units onto a device of another resolution.
class DrawTarget
{
public:
    static const QString PictureBoxType; // "PictureBox"
    static const QString PrinterType;    // "Printer"

    // Begins its own painter on the device. The drawing units are scaled to
    // the device so that scaleWidth x scaleHeight covers it.
    DrawTarget(QPaintDevice *device, const QString &typeName, double scaleWidth,
               double scaleHeight, double unitsPerPoint);
    // Draws through a painter that is already active on its device (for
    // example a printing routine composing a page); the painter is not ended.
    DrawTarget(QPainter *activePainter, const QString &typeName, double scaleWidth,
               double scaleHeight, double unitsPerPoint);
    ~DrawTarget();
    DrawTarget(DrawTarget &&) noexcept;
    DrawTarget &operator=(DrawTarget &&) noexcept;
    DrawTarget(const DrawTarget &) = delete;
    DrawTarget &operator=(const DrawTarget &) = delete;

    // A picture-box target on an image, in image pixels, 96 DPI text.
    static DrawTarget forImage(QImage *image, const QString &typeName = PictureBoxType);
    // A printer target on a printer or other device, in device pixels.
    static DrawTarget forPrinter(QPaintDevice *printer);
    // Drawing units per point at the screen's resolution (20 twips a point).
    static double screenUnitsPerPoint();

    const QString &TypeName() const { return m_typeName; }
    double ScaleWidth() const { return m_scaleWidth; }
    double ScaleHeight() const { return m_scaleHeight; }
    bool isActive() const;
    QPainter &painter() { return *m_painter; }

    // Drawing state.
    void setDrawWidth(double width) { m_drawWidth = width; }
    double DrawWidth() const { return m_drawWidth; }
    void setFont(const QFont &font); // name, point size, bold, italic are taken
    void setFontName(const QString &name) { m_fontName = name; }
    void setFontSize(double points) { m_fontSize = points; }
    void setFontBold(bool on) { m_fontBold = on; }
    void setFontItalic(bool on) { m_fontItalic = on; }
    QString FontName() const { return m_fontName; }
    double FontSize() const { return m_fontSize; }
    bool FontBold() const { return m_fontBold; }
    bool FontItalic() const { return m_fontItalic; }

    // A box whose outline and fill are both the colour, corners (x1, y1) and
    // (x2, y2). Never antialiased, so neighbouring bands meet without seams
    // and their colours stay exact.
    void box(double x1, double y1, double x2, double y2, const QColor &color);
    // A straight line in the current draw width.
    void line(double x1, double y1, double x2, double y2, const QColor &color);
    // An elliptical arc about (cx, cy) with horizontal semi-axis rx and
    // vertical semi-axis ry, from startAngle to endAngle (radians, counter-
    // clockwise on the screen, 0 pointing right), in the current draw width.
    void arc(double cx, double cy, double rx, double ry, double startAngle,
             double endAngle, const QColor &color);
    // A filled circle (outline and fill in the colour).
    void disc(double cx, double cy, double radius, const QColor &color);
    // Text with its top-left corner at (x, y), in the current font.
    void print(double x, double y, const QString &text, const QColor &color);
    double TextWidth(const QString &text);
    double TextHeight(const QString &text);

private:
    QFont currentFont() const;
    void setupPainter(QPaintDevice *device);

    std::unique_ptr<QPainter> m_ownPainter;
    QPainter *m_painter = nullptr;
    QString m_typeName;
    double m_scaleWidth = 0;
    double m_scaleHeight = 0;
    double m_unitsPerPoint = 1;
    double m_deviceDpi = 96;
    double m_drawWidth = 1;
    QString m_fontName = QStringLiteral("Verdana");
    double m_fontSize = 8;
    bool m_fontBold = false;
    bool m_fontItalic = false;
};
