#include "graph/GraphDrawing.h"

#include "graph/ColorRef.h"
#include "graph/DrawTarget.h"
#include "base/Twips.h"
#include "base/UlvexError.h"

#include <QtMath>
#include <cmath>
#include <exception>

namespace {

const QString kCollectionOutOfRange =
    QStringLiteral("Procedure Drawgraph, Collection count out of Range 1-8");
const QString kDrawGraphPrefix = QStringLiteral("Procedure DrawGraph, ");

QString incorrectType(const char *procedure)
{
    return QStringLiteral("Incorrect object type, Procedure ") + QLatin1String(procedure);
}

bool isPictureBox(const DrawTarget &target)
{
    return target.TypeName() == DrawTarget::PictureBoxType;
}

bool isPictureOrPrinter(const DrawTarget &target)
{
    return target.TypeName() == DrawTarget::PictureBoxType
        || target.TypeName() == DrawTarget::PrinterType;
}

QColor rgb(int r, int g, int b)
{
    return ColorRef::toQColor(ColorRef::rgb(r, g, b));
}

// Floating-point division does not trap here, so a zero divisor is reported
// the way the arithmetic of the graph always reported it: as an error of the
// drawing that the caller turns into its error text.
float divide(float numerator, float denominator)
{
    if (denominator == 0.0f)
        throw UlvexError(11, QStringLiteral("Division by zero"));
    return numerator / denominator;
}

} // namespace

double GraphDrawing::fontScaleFor(double width, double height, bool *byWidth)
{
    const bool tall = DesignHeightTwips / DesignWidthTwips <= height / width;
    if (byWidth)
        *byWidth = tall;
    // The ratio is the same in any unit; the design size is in twips.
    const double widthTwips = Twips::fromPixels(1.0) * width;
    const double heightTwips = Twips::fromPixels(1.0) * height;
    return tall ? widthTwips / DesignWidthTwips : heightTwips / DesignHeightTwips;
}

QString GraphDrawing::AddEllipse(const clsData &record)
{
    // Keys compare without regard to case, so "2 Hour" and "2 hour" are one key.
    for (const clsData &front : std::as_const(m_fronts)) {
        if (front.label().compare(record.label(), Qt::CaseInsensitive) == 0)
            return QStringLiteral("Could Not Add Ellipse");
    }
    clsData copy;
    copy.setRadius1(record.Radius1());
    copy.setRadius2(record.Radius2());
    copy.setzplus(record.zplus());
    copy.setzminus(record.zminus());
    copy.setlabel(record.label());
    copy.setColor(record.Color());
    m_fronts.append(copy);
    return QString();
}

void GraphDrawing::RemoveAllEllipses()
{
    while (!m_fronts.isEmpty())
        m_fronts.removeFirst();
}

const clsData *GraphDrawing::MaxZminusRecord() const
{
    const clsData *best = nullptr;
    for (const clsData &front : m_fronts) {
        if (!best || front.zminus() > best->zminus())
            best = &front;
    }
    return best;
}

const clsData *GraphDrawing::MaxRadius1Record() const
{
    const clsData *best = nullptr;
    for (const clsData &front : m_fronts) {
        if (!best || front.Radius1() > best->Radius1())
            best = &front;
    }
    return best;
}

float GraphDrawing::verticalExtent() const
{
    if (!m_props.AutoScaleY)
        return m_props.MaxY;
    // Auto-scaling deliberately takes the reach above the emitter (zminus),
    // so a deep front may run below the plotted area.
    const clsData *record = MaxZminusRecord();
    if (!record)
        throw UlvexError(91, QStringLiteral("Object variable not set"));
    return record->zminus() + m_props.EmitterDepth;
}

float GraphDrawing::horizontalExtent() const
{
    if (!m_props.AutoScaleX)
        return m_props.MaxX;
    const clsData *record = MaxRadius1Record();
    if (!record)
        throw UlvexError(91, QStringLiteral("Object variable not set"));
    return record->Radius1();
}

QString GraphDrawing::axisLabel(double value, int decimals)
{
    const double factor = std::pow(10.0, decimals);
    // Ties go to the even neighbour.
    double rounded = std::nearbyint(value * factor) / factor;
    if (rounded == 0.0)
        rounded = 0.0; // no "-0"
    return QString::number(rounded, 'g', 15);
}

QString GraphDrawing::DrawGraph(DrawTarget &picture)
{
    const int count = m_fronts.size();
    if (count < 1 || count >= 9)
        return kCollectionOutOfRange;

    try {
        const float W = float(picture.ScaleWidth());
        const float H = float(picture.ScaleHeight());
        m_pictureScaleHeight = H;

        // 0.45 H is what is left of H below the sky (0.3 H) and above the
        // bottom margin (0.25 H).
        m_verticalScale = divide(0.45f * H, verticalExtent());
        // The horizontal extent lands one third of the width right of the centre.
        m_horizontalScale = divide(0.5f * W - 0.167f * W, horizontalExtent());

        QString result = DrawGround(picture, 0, W);
        if (result.isEmpty())
            result = DrawEllipse(picture);
        if (result.isEmpty())
            result = CoverSpillOver(picture);
        if (result.isEmpty())
            result = DrawSky(picture);
        if (result.isEmpty())
            result = DrawEmitter(picture);
        if (result.isEmpty())
            result = DrawYAxis(picture);
        if (result.isEmpty())
            result = DrawGround(picture, 0, 0.042f * W + m_yLabelWidth);
        if (result.isEmpty())
            result = DrawGround(picture, 0.917f * W, W);
        // The side strips painted over the labels of the vertical axis.
        if (result.isEmpty())
            result = DrawYAxis(picture);
        if (result.isEmpty())
            result = DrawXAxis(picture);
        if (result.isEmpty())
            result = DrawLegend(picture);
        if (!result.isEmpty())
            return kDrawGraphPrefix + result;
    } catch (const UlvexError &error) {
        return kDrawGraphPrefix + error.description();
    } catch (const std::exception &error) {
        return kDrawGraphPrefix + QString::fromLocal8Bit(error.what());
    }
    return QString();
}

QString GraphDrawing::DrawGraphOn(QPaintDevice *device, const QSize &size)
{
    DrawTarget target(device, DrawTarget::PictureBoxType, size.width(), size.height(),
                      DrawTarget::screenUnitsPerPoint());
    target.setFontName(QStringLiteral("Verdana"));
    target.setFontSize(DesignFontSize * fontScaleFor(size.width(), size.height()));
    return DrawGraph(target);
}

QString GraphDrawing::DrawGround(DrawTarget &target, double left, double right)
{
    if (!isPictureBox(target))
        return incorrectType("DrawGround");
    const double H = target.ScaleHeight();
    if (!m_props.DrawBackground) {
        target.box(left, 0.3 * H, right, 0.875 * H, rgb(255, 255, 255));
        return QString();
    }
    const double band = 0.575 * H / 17.0;
    for (int i = 0; i < 17; ++i) {
        const double top = 0.3 * H + i * band;
        target.box(left, top, right, top + band, rgb(255, 255 - 5 * i, 153 - 5 * i));
    }
    return QString();
}

QString GraphDrawing::CoverSpillOver(DrawTarget &target)
{
    if (!isPictureBox(target))
        return incorrectType("CoverSpillOver");
    const double W = target.ScaleWidth();
    const double H = target.ScaleHeight();
    if (!m_props.DrawBackground) {
        target.box(0, 0.875 * H, W, H, rgb(255, 255, 255));
        return QString();
    }
    // The ground's colour series goes on below the plotted area.
    const double band = 0.125 * H / 3.0;
    for (int i = 17; i < 20; ++i) {
        const double top = 0.875 * H + (i - 17) * band;
        target.box(0, top, W, top + band, rgb(255, 255 - 5 * i, 153 - 5 * i));
    }
    return QString();
}

QString GraphDrawing::DrawSky(DrawTarget &target)
{
    if (!isPictureOrPrinter(target))
        return incorrectType("DrawSky");
    const double W = target.ScaleWidth();
    const double H = target.ScaleHeight();
    if (!m_props.DrawBackground) {
        target.box(0, 0, W, 0.3 * H, rgb(255, 255, 255));
    } else {
        // Band 0 is the lightest and lies on the surface; the sky darkens upward.
        const double band = 0.3 * H / 20.0;
        for (int i = 0; i < 20; ++i) {
            const double bottom = 0.3 * H - i * band;
            target.box(0, bottom - band, W, bottom, rgb(204 - 5 * i, 255, 255));
        }
    }
    target.line(0, 0.3 * H, W, 0.3 * H, rgb(0, 0, 0));
    return QString();
}

QString GraphDrawing::DrawEmitter(DrawTarget &target)
{
    if (!isPictureOrPrinter(target))
        return incorrectType("DrawEmitter");
    const double W = target.ScaleWidth();
    const double H = target.ScaleHeight();
    target.disc(W / 2.0, 0.3 * H + m_props.EmitterDepth * m_verticalScale, 0.0083 * W,
                rgb(0, 0, 0));
    return QString();
}

QString GraphDrawing::DrawEllipse(DrawTarget &target)
{
    if (!isPictureOrPrinter(target))
        return incorrectType("DrawEllipse");
    target.setDrawWidth(m_props.LineWidth);
    for (clsData &front : m_fronts) {
        front.setScaledZminus(front.zminus() * m_verticalScale);
        front.setScaledZplus(front.zplus() * m_verticalScale);
        front.setScaledr(front.Radius1() * m_horizontalScale);

        const float scaledr = front.Scaledr().toFloat();
        const float scaledZplus = front.ScaledZplus().toFloat();
        const float scaledZminus = front.ScaledZminus().toFloat();
        // Aspect is vertical over horizontal; an arc's radius is measured
        // along its longer semi-axis.
        const float zplusAspect = divide(scaledZplus, scaledr);
        const float zminusAspect = divide(scaledZminus, scaledr);
        const float zplusRadius = zplusAspect >= 1.0f ? scaledZplus : scaledr;
        const float zminusRadius = zminusAspect >= 1.0f ? scaledZminus : scaledr;

        const QColor color = ColorRef::toQColor(front.Color());
        // The width is the target's own, the height always the picture's:
        // on the printer the centre keeps the picture's vertical position.
        const double cx = target.ScaleWidth() / 2.0;
        const double cy = 0.3 * m_pictureScaleHeight + m_props.EmitterDepth * m_verticalScale;

        auto halfEllipse = [&](float radius, float aspect, double start, double end) {
            const double rx = aspect >= 1.0f ? radius / aspect : radius;
            const double ry = aspect >= 1.0f ? radius : radius * aspect;
            target.arc(cx, cy, rx, ry, start, end, color);
        };
        // pi .. 2 pi is the lower half (below the emitter), 0 .. pi the upper.
        halfEllipse(zplusRadius, zplusAspect, M_PI, 2.0 * M_PI);
        halfEllipse(zminusRadius, zminusAspect, 0.0, M_PI);
    }
    target.setDrawWidth(1);
    return QString();
}

QString GraphDrawing::DrawYAxis(DrawTarget &target)
{
    if (!isPictureOrPrinter(target))
        return incorrectType("DrawYAxis");
    const double W = target.ScaleWidth();
    const double H = target.ScaleHeight();
    const QColor black = rgb(0, 0, 0);
    target.setDrawWidth(1);

    const float step = verticalExtent() * m_verticalScale / 5.0f;
    QString labels[6];
    float widest = 0.0f;
    for (int k = 0; k < 6; ++k) {
        labels[k] = axisLabel(divide(k * step, m_verticalScale), m_props.YDecPlaces);
        widest = qMax(widest, float(target.TextWidth(labels[k])));
    }
    m_yLabelWidth = widest;

    const double axisX = 0.042 * W + m_yLabelWidth;
    const double tickX = 0.025 * W + m_yLabelWidth;
    target.line(axisX, 0.3 * H, axisX, 0.875 * H, black);
    for (int k = 0; k < 6; ++k) {
        const double y = 0.3 * H + k * step;
        target.line(tickX, y, axisX, y, black);
        // Right-aligned against the tick, centred on it.
        target.print(tickX - target.TextWidth(labels[k]), y - target.TextHeight(labels[k]) / 2.0,
                     labels[k], black);
    }
    return QString();
}

QString GraphDrawing::DrawXAxis(DrawTarget &target)
{
    if (!isPictureOrPrinter(target))
        return incorrectType("DrawXAxis");
    const double W = target.ScaleWidth();
    const double H = target.ScaleHeight();
    const QColor black = rgb(0, 0, 0);

    // Two fifths of the extent per tick: the ticks stand at 0, 0.4 and 0.8 of
    // the extent on both sides, while the line is drawn on the right half only.
    const float step = 2.0f * horizontalExtent() * m_horizontalScale / 5.0f;
    target.line(W / 2.0, 0.875 * H, 0.917 * W, 0.875 * H, black);

    auto tick = [&](int k, int side) {
        const double x = W / 2.0 + side * k * step;
        target.line(x, 0.875 * H, x, 0.892 * H, black);
        const QString text = axisLabel(divide(k * step, m_horizontalScale), m_props.XDecPlaces);
        target.print(x - target.TextWidth(text) / 2.0, 0.908 * H, text, black);
    };
    for (int k = 0; k <= 2; ++k)
        tick(k, +1);
    for (int k = 1; k <= 2; ++k)
        tick(k, -1);
    return QString();
}

QString GraphDrawing::DrawLegend(DrawTarget &target)
{
    if (!isPictureOrPrinter(target))
        return incorrectType("DrawLegend");
    const double W = target.ScaleWidth();
    const double H = target.ScaleHeight();
    const QColor black = rgb(0, 0, 0);

    target.setDrawWidth(4);
    int row = 0;
    double column = 0.0;
    for (const clsData &front : std::as_const(m_fronts)) {
        const double y = (0.15 + 0.05 * row) * H;
        target.line((column + 0.167) * W, y, (column + 0.209) * W, y,
                    ColorRef::toQColor(front.Color()));
        target.print((column + 0.25) * W, y - target.TextHeight(front.label()) / 2.0,
                     front.label(), black);
        ++row;
        // Three rows a column, the columns 0.375 W apart.
        if (0.05 * row + 0.083 > 0.192) {
            column += 0.375;
            row = 0;
        }
    }

    const QColor darkBlue = rgb(0, 0, 128);
    target.setFontBold(true);
    target.setFontItalic(false);
    target.print(0.02 * W, 0.01 * H, m_props.SoilType, darkBlue);
    target.setFontBold(false);
    target.print(0.1 * W, 0.07 * H, QStringLiteral("( ") + m_props.FlowRate + QStringLiteral(" L/Hr )"),
                 darkBlue);
    target.setFontBold(true);
    target.setFontItalic(true);
    target.print(0.75 * W, 0.07 * H, m_props.WaterContent, darkBlue);
    return QString();
}
