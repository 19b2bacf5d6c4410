#include "graph/GraphEllipse.h"

#include "graph/DrawTarget.h"
#include "graph/PictureBox.h"
#include "base/Twips.h"

#include <QResizeEvent>
#include <cmath>

namespace {

const char *const kFontName = "Verdana";

} // namespace

GraphEllipse::GraphEllipse(QWidget *parent) : QWidget(parent)
{
    m_designSize = designSizePixels();
    resize(m_designSize);

    m_picture1 = new PictureBox(this);
    m_picture1->setObjectName(QStringLiteral("Picture1"));
    m_designPictureGeometry = QRect(QPoint(0, 0), m_designSize);
    m_picture1->setGeometry(m_designPictureGeometry);
    QFont font(QString::fromLatin1(kFontName));
    font.setPointSizeF(GraphDrawing::DesignFontSize);
    m_picture1->setFont(font);

    // The first resize scales relative to the size at initialisation.
    m_lastWidth = Twips::fromPixels(width());
    m_lastHeight = Twips::fromPixels(height());

    connect(m_picture1, &PictureBox::mouseMoved, this, &GraphEllipse::forwardMouseMove);
    connect(m_picture1, &PictureBox::clicked, this, &GraphEllipse::Click);
    connect(m_picture1, &PictureBox::doubleClicked, this, &GraphEllipse::DblClick);
    connect(m_picture1, &PictureBox::focusLost, this, &GraphEllipse::GraphLostFocus);
}

GraphEllipse::~GraphEllipse() = default;

QSize GraphEllipse::designSizePixels()
{
    return Twips::sizeToPixels(GraphDrawing::DesignWidthTwips, GraphDrawing::DesignHeightTwips);
}

DrawTarget GraphEllipse::PictureTarget()
{
    DrawTarget target = DrawTarget::forImage(&m_picture1->image());
    target.setFont(m_picture1->font());
    return target;
}

QString GraphEllipse::DrawGraph()
{
    QString result;
    {
        DrawTarget target = PictureTarget();
        result = m_drawing.DrawGraph(target);
    }
    m_picture1->update();
    return result;
}

QString GraphEllipse::DrawGraphOn(QPaintDevice *device, const QSize &size) const
{
    // A copy takes the scaled values and scales of this drawing, so the mouse
    // position keeps following what Picture1 shows.
    GraphDrawing copy = m_drawing;
    return copy.DrawGraphOn(device, size);
}

QString GraphEllipse::DrawLegend(DrawTarget &target)
{
    m_drawing.setPictureScaleHeight(m_picture1->ScaleHeight());
    const QString result = m_drawing.DrawLegend(target);
    m_picture1->update();
    return result;
}

QString GraphEllipse::AddEllipse(const clsData &record)
{
    return m_drawing.AddEllipse(record);
}

void GraphEllipse::Cls()
{
    m_picture1->Cls();
}

void GraphEllipse::Refresh()
{
    m_picture1->Refresh();
}

void GraphEllipse::RemoveAllEllipses()
{
    m_drawing.RemoveAllEllipses();
}

qint16 GraphEllipse::EllipseCount() const
{
    return m_drawing.EllipseCount();
}

const QList<clsData> &GraphEllipse::fronts() const
{
    return m_drawing.fronts();
}

clsData GraphEllipse::front(int index) const
{
    return m_drawing.fronts().at(index);
}

void GraphEllipse::changed(const char *name)
{
    emit propertyChanged(QString::fromLatin1(name));
}

bool GraphEllipse::DrawBackground() const { return m_drawing.properties().DrawBackground; }
void GraphEllipse::setDrawBackground(bool value)
{
    m_drawing.properties().DrawBackground = value;
    changed("DrawBackground");
}

float GraphEllipse::EmitterDepth() const { return m_drawing.properties().EmitterDepth; }
void GraphEllipse::setEmitterDepth(float value)
{
    m_drawing.properties().EmitterDepth = value;
    changed("EmitterDepth");
}

bool GraphEllipse::AutoScaleX() const { return m_drawing.properties().AutoScaleX; }
void GraphEllipse::setAutoScaleX(bool value)
{
    m_drawing.properties().AutoScaleX = value;
    changed("AutoScaleX");
}

bool GraphEllipse::AutoScaleY() const { return m_drawing.properties().AutoScaleY; }
void GraphEllipse::setAutoScaleY(bool value)
{
    m_drawing.properties().AutoScaleY = value;
    changed("AutoScaleY");
}

float GraphEllipse::MaxX() const { return m_drawing.properties().MaxX; }
void GraphEllipse::setMaxX(float value)
{
    m_drawing.properties().MaxX = value;
    changed("MaxX");
}

float GraphEllipse::MaxY() const { return m_drawing.properties().MaxY; }
void GraphEllipse::setMaxY(float value)
{
    m_drawing.properties().MaxY = value;
    changed("MaxY");
}

qint16 GraphEllipse::XDecPlaces() const { return m_drawing.properties().XDecPlaces; }
void GraphEllipse::setXDecPlaces(qint16 value)
{
    m_drawing.properties().XDecPlaces = value;
    changed("XDecPlaces");
}

qint16 GraphEllipse::YDecPlaces() const { return m_drawing.properties().YDecPlaces; }
void GraphEllipse::setYDecPlaces(qint16 value)
{
    m_drawing.properties().YDecPlaces = value;
    changed("YDecPlaces");
}

qint16 GraphEllipse::MaxSim() const { return m_drawing.properties().MaxSim; }
void GraphEllipse::setMaxSim(qint16 value)
{
    m_drawing.properties().MaxSim = value;
    changed("MaxSim");
}

float GraphEllipse::LineWidth() const { return m_drawing.properties().LineWidth; }
void GraphEllipse::setLineWidth(float value)
{
    m_drawing.properties().LineWidth = value;
    changed("LineWidth");
}

QString GraphEllipse::TimeScale() const { return m_drawing.properties().TimeScale; }
void GraphEllipse::setTimeScale(const QString &value)
{
    m_drawing.properties().TimeScale = value;
    changed("TimeScale");
}

QString GraphEllipse::SoilType() const { return m_drawing.properties().SoilType; }
void GraphEllipse::setSoilType(const QString &value)
{
    m_drawing.properties().SoilType = value;
    changed("SoilType");
}

QString GraphEllipse::FlowRate() const { return m_drawing.properties().FlowRate; }
void GraphEllipse::setFlowRate(const QString &value)
{
    m_drawing.properties().FlowRate = value;
    changed("FlowRate");
}

QImage GraphEllipse::Image() const { return m_picture1->Image(); }

QPixmap GraphEllipse::Picture() const { return m_picture1->Picture(); }
void GraphEllipse::setPicture(const QPixmap &value)
{
    m_picture1->setPicture(value);
    changed("Picture");
}

QWidget *GraphEllipse::hWnd() const { return m_picture1; }

QString GraphEllipse::WaterContent() const { return m_drawing.properties().WaterContent; }
void GraphEllipse::setWaterContent(const QString &value)
{
    m_drawing.properties().WaterContent = value;
    changed("WaterContent");
}

float GraphEllipse::VerticalScale() const { return m_drawing.VerticalScale(); }
float GraphEllipse::HorizontalScale() const { return m_drawing.HorizontalScale(); }

void GraphEllipse::saveProperties(QVariantMap &bag) const
{
    const GraphDrawing::Properties &p = m_drawing.properties();
    bag.insert(QStringLiteral("DrawBackground"), p.DrawBackground);
    bag.insert(QStringLiteral("EmitterDepth"), p.EmitterDepth);
    bag.insert(QStringLiteral("AutoScaleX"), p.AutoScaleX);
    bag.insert(QStringLiteral("AutoScaleY"), p.AutoScaleY);
    bag.insert(QStringLiteral("MaxX"), p.MaxX);
    bag.insert(QStringLiteral("MaxY"), p.MaxY);
    bag.insert(QStringLiteral("XDecPlaces"), p.XDecPlaces);
    bag.insert(QStringLiteral("YDecPlaces"), p.YDecPlaces);
    bag.insert(QStringLiteral("MaxSim"), p.MaxSim);
    bag.insert(QStringLiteral("LineWidth"), p.LineWidth);
    bag.insert(QStringLiteral("TimeScale"), p.TimeScale);
    bag.insert(QStringLiteral("SoilType"), p.SoilType);
    bag.insert(QStringLiteral("FlowRate"), p.FlowRate);
    bag.insert(QStringLiteral("WaterContent"), p.WaterContent);
    if (!m_picture1->Picture().isNull())
        bag.insert(QStringLiteral("Picture"), m_picture1->Picture());
}

void GraphEllipse::loadProperties(const QVariantMap &bag)
{
    const GraphDrawing::Properties defaults;
    GraphDrawing::Properties &p = m_drawing.properties();
    auto get = [&bag](const char *name, const QVariant &fallback) {
        return bag.value(QString::fromLatin1(name), fallback);
    };
    p.EmitterDepth = get("EmitterDepth", defaults.EmitterDepth).toFloat();
    p.DrawBackground = get("DrawBackground", defaults.DrawBackground).toBool();
    p.AutoScaleX = get("AutoScaleX", defaults.AutoScaleX).toBool();
    p.AutoScaleY = get("AutoScaleY", defaults.AutoScaleY).toBool();
    p.MaxX = get("MaxX", defaults.MaxX).toFloat();
    p.MaxY = get("MaxY", defaults.MaxY).toFloat();
    p.XDecPlaces = qint16(get("XDecPlaces", defaults.XDecPlaces).toInt());
    p.YDecPlaces = qint16(get("YDecPlaces", defaults.YDecPlaces).toInt());
    p.MaxSim = qint16(get("MaxSim", defaults.MaxSim).toInt());
    p.LineWidth = get("LineWidth", defaults.LineWidth).toFloat();
    p.TimeScale = get("TimeScale", defaults.TimeScale).toString();
    p.SoilType = get("SoilType", defaults.SoilType).toString();
    p.FlowRate = get("FlowRate", defaults.FlowRate).toString();
    p.WaterContent = get("WaterContent", defaults.WaterContent).toString();
    m_picture1->setPicture(get("Picture", QPixmap()).value<QPixmap>());
}

void GraphEllipse::forwardMouseMove(qint16 button, qint16 shift, float x, float y)
{
    // Picture1 reports pixels; the host shows metres. With the scales of the
    // last drawing (pixels per metre): X is the horizontal distance from the
    // emitter's axis at W/2, |x - W/2| / horizontal scale; Y is the depth
    // below the soil surface at 0.3 H, (y - 0.3 H) / vertical scale, negative
    // in the sky. Before the first drawing there are no scales and both are 0.
    const float W = float(m_picture1->ScaleWidth());
    const float H = float(m_picture1->ScaleHeight());
    const float hs = m_drawing.HorizontalScale();
    const float vs = m_drawing.VerticalScale();
    const float metresX = hs > 0.0f ? std::fabs(x - W / 2.0f) / hs : 0.0f;
    const float metresY = vs > 0.0f ? (y - 0.3f * H) / vs : 0.0f;
    emit MouseMove(button, shift, metresX, metresY);
}

void GraphEllipse::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    applyResize();
}

void GraphEllipse::applyResize()
{
    if (!m_picture1)
        return;
    const double newWidth = width();
    const double newHeight = height();
    const double xRatio = newWidth / m_designSize.width();
    const double yRatio = newHeight / m_designSize.height();
    const double fontScale = GraphDrawing::fontScaleFor(newWidth, newHeight);

    const QRect &g = m_designPictureGeometry;
    m_picture1->setGeometry(int(std::lround(g.left() * xRatio)), int(std::lround(g.top() * yRatio)),
                            int(std::lround(g.width() * xRatio)),
                            int(std::lround(g.height() * yRatio)));
    QFont font = m_picture1->font();
    font.setPointSizeF(qMax(0.5, GraphDrawing::DesignFontSize * fontScale));
    m_picture1->setFont(font);
    m_picture1->Refresh();

    Cls();
    m_lastWidth = Twips::fromPixels(newWidth);
    m_lastHeight = Twips::fromPixels(newHeight);
    // With no fronts this reports the empty collection and leaves the surface clear.
    DrawGraph();
}
