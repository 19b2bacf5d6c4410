#pragma once

#include "graph/GraphDrawing.h"
#include "graph/clsData.h"

#include <QImage>
#include <QList>
#include <QPixmap>
#include <QRect>
#include <QVariantMap>
#include <QWidget>

class DrawTarget;
class PictureBox;

// The wetting-pattern graph control: a picture box ("Picture1") that shows
// the graph, the collection of wetting fronts and the display properties.
// The data side fills it with AddEllipse and asks it to DrawGraph; the
// options and the settings set its properties; printing takes its Image.
//
// Every property write emits propertyChanged with the property's name so the
// host can persist it; saveProperties/loadProperties read and write them under
// their names, with the defaults below for missing values.
//
// The drawing itself lives in GraphDrawing, which holds no widget.
class GraphEllipse : public QWidget
{
    Q_OBJECT
public:
    explicit GraphEllipse(QWidget *parent = nullptr);
    ~GraphEllipse() override;

    // Operations. Errors come back as text, empty on success.
    QString DrawGraph();
    // The same graph through the same procedures on another paint device
    // (an image, PDF or SVG generator), laid out for the given size. The
    // control's own picture and scales are left as they are.
    QString DrawGraphOn(QPaintDevice *device, const QSize &size) const;
    QString DrawLegend(DrawTarget &target);
    QString AddEllipse(const clsData &record);
    void Cls();
    void Refresh();
    void RemoveAllEllipses();
    qint16 EllipseCount() const;

    // Read-only access to the fronts for the printing and export code.
    const QList<clsData> &fronts() const;
    clsData front(int index) const;

    // Display properties (defaults in brackets).
    bool DrawBackground() const;           // false
    void setDrawBackground(bool value);
    float EmitterDepth() const;            // 0.25 m
    void setEmitterDepth(float value);
    bool AutoScaleX() const;               // false
    void setAutoScaleX(bool value);
    bool AutoScaleY() const;               // false
    void setAutoScaleY(bool value);
    float MaxX() const;                    // 0.5 m
    void setMaxX(float value);
    float MaxY() const;                    // 1.5 m
    void setMaxY(float value);
    qint16 XDecPlaces() const;             // 1
    void setXDecPlaces(qint16 value);
    qint16 YDecPlaces() const;             // 1
    void setYDecPlaces(qint16 value);
    qint16 MaxSim() const;                 // 6
    void setMaxSim(qint16 value);
    float LineWidth() const;               // 1
    void setLineWidth(float value);
    QString TimeScale() const;             // "LOG"
    void setTimeScale(const QString &value);
    QString SoilType() const;              // "Sand"
    void setSoilType(const QString &value);
    QString FlowRate() const;              // "0"
    void setFlowRate(const QString &value);
    QImage Image() const;                  // what has been drawn on Picture1
    QPixmap Picture() const;               // background picture of Picture1 (none)
    void setPicture(const QPixmap &value);
    QWidget *hWnd() const;                 // the Picture1 widget
    QString WaterContent() const;          // "0"
    void setWaterContent(const QString &value);

    // The persisted property bag.
    void saveProperties(QVariantMap &bag) const;
    void loadProperties(const QVariantMap &bag);

    // The drawing scales (drawing units per metre) and the picture box.
    float VerticalScale() const;
    float HorizontalScale() const;
    PictureBox *Picture1() const { return m_picture1; }
    // A drawing target on Picture1, for the procedures that take a target.
    DrawTarget PictureTarget();
    const GraphDrawing &drawing() const { return m_drawing; }
    GraphDrawing &drawing() { return m_drawing; }

    // The resize rule; runs on every resize of the control and may be called
    // again to re-apply the current size (it always redraws).
    void applyResize();
    // The design size of the control and the last size seen, twips.
    static QSize designSizePixels();
    double lastWidthTwips() const { return m_lastWidth; }
    double lastHeightTwips() const { return m_lastHeight; }

signals:
    // X and Y are in metres (see the implementation of forwardMouseMove).
    void MouseMove(qint16 button, qint16 shift, float x, float y);
    void Click();
    void DblClick();
    void GraphLostFocus();
    void propertyChanged(const QString &name);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void forwardMouseMove(qint16 button, qint16 shift, float x, float y);
    void changed(const char *name);

    GraphDrawing m_drawing;
    PictureBox *m_picture1 = nullptr;
    // Geometry captured at load time; every resize scales from it, so
    // repeated resizes do not compound rounding.
    QSize m_designSize;
    QRect m_designPictureGeometry;
    double m_lastWidth = 0;
    double m_lastHeight = 0;
};
