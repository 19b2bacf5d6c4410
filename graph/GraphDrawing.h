#pragma once

#include "graph/clsData.h"

#include <QList>
#include <QSize>
#include <QString>

class DrawTarget;
class QPaintDevice;

// The wetting-pattern graph without any widget: the collection of fronts, the
// display properties, the drawing scales and every drawing procedure. The
// graph control keeps one of these and draws it on its picture box; a
// command-line renderer can use one directly with DrawGraphOn.
//
// Layout: all positions are fractions of the target's scale width W and
// scale height H. The sky fills 0 .. 0.3 H, the plotted ground 0.3 H ..
// 0.875 H, the axis labels live below 0.875 H and left of the vertical axis.
// The fronts are drawn first and then clipped by painting the cover strips,
// the sky and the side strips over them.
//
// The procedures return an error text, empty on success. A target whose type
// name is neither "PictureBox" nor "Printer" is refused with
// "Incorrect object type, Procedure <name>"; DrawGround and CoverSpillOver take
// the picture box only.
class GraphDrawing
{
public:
    // Display properties with their defaults for a new graph.
    struct Properties
    {
        float EmitterDepth = 0.25f; // metres below the surface; the fronts are centred there
        bool DrawBackground = false;
        bool AutoScaleX = false;
        bool AutoScaleY = false;
        float MaxX = 0.5f;
        float MaxY = 1.5f;
        qint16 XDecPlaces = 1;
        qint16 YDecPlaces = 1;
        qint16 MaxSim = 6; // only stored for the data side
        float LineWidth = 1.0f;
        QString TimeScale = QStringLiteral("LOG"); // only stored for the data side
        QString SoilType = QStringLiteral("Sand");
        QString FlowRate = QStringLiteral("0");
        QString WaterContent = QStringLiteral("0");
    };

    // Design size of the graph, twips; text is 8 points at this size.
    static constexpr double DesignWidthTwips = 2895.0;
    static constexpr double DesignHeightTwips = 4335.0;
    static constexpr double DesignFontSize = 8.0;

    // The font scale for a graph of the given size in pixels:
    // a graph at least as tall as the design proportion scales by its width,
    // a wider one by its height. byWidth tells which rule was taken.
    static double fontScaleFor(double width, double height, bool *byWidth = nullptr);

    Properties &properties() { return m_props; }
    const Properties &properties() const { return m_props; }

    // The collection of fronts, in order of addition, keyed by label.
    // AddEllipse keeps its own copy of Radius1, Radius2, zplus, zminus, label
    // and Color; it returns "" or "Could Not Add Ellipse" (repeated label).
    QString AddEllipse(const clsData &record);
    void RemoveAllEllipses();
    qint16 EllipseCount() const { return qint16(m_fronts.size()); }
    const QList<clsData> &fronts() const { return m_fronts; }

    // The front with the largest zminus and the one with the largest Radius1:
    // the earliest wins among equals; nullptr for an empty collection.
    const clsData *MaxZminusRecord() const;
    const clsData *MaxRadius1Record() const;

    // Drawing units per metre, set by DrawGraph; 0 before the first drawing.
    float VerticalScale() const { return m_verticalScale; }
    float HorizontalScale() const { return m_horizontalScale; }
    // Width of the widest vertical-axis label, set by DrawYAxis.
    float YLabelWidth() const { return m_yLabelWidth; }
    // Scale height of the picture box. The fronts take their centre's height
    // from it even on the printer; DrawGraph keeps it up to date.
    void setPictureScaleHeight(double height) { m_pictureScaleHeight = height; }
    double PictureScaleHeight() const { return m_pictureScaleHeight; }

    // The whole graph on the picture target: scales, then ground, fronts,
    // cover strip, sky, emitter, axes and legend in that order.
    QString DrawGraph(DrawTarget &picture);
    // The whole graph through the same procedures on any paint device, laid
    // out for a surface of the given size in drawing units (pixels at the
    // screen's resolution) and with the font the graph control would use at
    // that size. The device is painted edge to edge.
    QString DrawGraphOn(QPaintDevice *device, const QSize &size);

    // DrawGround paints the ground between two x bounds (the full width or a strip).
    QString DrawGround(DrawTarget &target, double left, double right);
    // Nothing guards a front whose Radius1 is 0 (or an extent of 0 in the
    // scales): the division by zero is raised as UlvexError 11 "Division by
    // zero", which DrawGraph reports as "Procedure DrawGraph, Division by zero".
    QString DrawEllipse(DrawTarget &target);
    QString CoverSpillOver(DrawTarget &target);
    QString DrawSky(DrawTarget &target);
    QString DrawEmitter(DrawTarget &target);
    QString DrawYAxis(DrawTarget &target);
    QString DrawXAxis(DrawTarget &target);
    QString DrawLegend(DrawTarget &target);

    // An axis label: the value rounded to the given decimals, shown without
    // trailing zeros (0, 0.3, 1.2).
    static QString axisLabel(double value, int decimals);

private:
    // The axis extents in metres, as the scales use them.
    float verticalExtent() const;
    float horizontalExtent() const;

    Properties m_props;
    QList<clsData> m_fronts;
    float m_verticalScale = 0.0f;
    float m_horizontalScale = 0.0f;
    float m_yLabelWidth = 0.0f;
    double m_pictureScaleHeight = 0.0;
};
