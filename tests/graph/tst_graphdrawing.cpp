#include "graph/ColorRef.h"
#include "graph/DrawTarget.h"
#include "graph/GraphDrawing.h"
#include "base/UlvexError.h"

#include <QCoreApplication>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <QtTest>
#include <cmath>

namespace {

const int kW = 400;
const int kH = 600;

clsData makeFront(const QString &label, float r, float zplus, float zminus, QColor color)
{
    clsData record;
    record.setlabel(label);
    record.setRadius1(r);
    record.setRadius2(r);
    record.setzplus(zplus);
    record.setzminus(zminus);
    record.setColor(ColorRef::fromQColor(color));
    return record;
}

const QColor kRed(255, 0, 0);
const QColor kBlue(0, 0, 255);
const QColor kGreen(0, 160, 0);
const QColor kMagenta(200, 0, 200);

// Four fronts around an emitter 0.25 m deep, fixed extents 0.5 m x 1.5 m.
void addKnownFronts(GraphDrawing &drawing)
{
    QCOMPARE(drawing.AddEllipse(makeFront("2 Hour", 0.3f, 0.5f, 0.2f, kRed)), QString());
    QCOMPARE(drawing.AddEllipse(makeFront("5 Hour", 0.2f, 0.3f, 0.1f, kBlue)), QString());
    QCOMPARE(drawing.AddEllipse(makeFront("8 Hour", 0.4f, 0.8f, 0.25f, kGreen)), QString());
    QCOMPARE(drawing.AddEllipse(makeFront("14 Hour", 0.1f, 0.15f, 0.05f, kMagenta)), QString());
}

QImage blankImage(int w = kW, int h = kH)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(QColor(1, 2, 3));
    return image;
}

QColor at(const QImage &image, double x, double y)
{
    return image.pixelColor(int(std::floor(x)), int(std::floor(y)));
}

QString savePicture(const QImage &image, const QString &name)
{
    const QString path = QCoreApplication::applicationDirPath() + "/graph-" + name + ".png";
    image.save(path);
    return path;
}

bool columnHasColor(const QImage &image, int x, int y0, int y1, const QColor &color)
{
    for (int y = y0; y <= y1; ++y)
        if (image.pixelColor(x, y) == color)
            return true;
    return false;
}

int countColor(const QImage &image, const QRect &area, const QColor &color)
{
    int n = 0;
    const QRect r = area.intersected(image.rect());
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            if (image.pixelColor(x, y) == color)
                ++n;
    return n;
}

} // namespace

class TestGraphDrawing : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QFont::insertSubstitution("Verdana", "DejaVu Sans");
    }

    // The picture: known fronts on a 400 x 600 surface, background on.
    void pictureWithBackground()
    {
        GraphDrawing drawing;
        addKnownFronts(drawing);
        drawing.properties().DrawBackground = true;
        drawing.properties().LineWidth = 3;
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        savePicture(image, "background");

        // Scales: 0.45 H over 1.5 m, one third of W over 0.5 m.
        QCOMPARE(drawing.VerticalScale(), 0.45f * kH / 1.5f);
        QVERIFY(std::fabs(drawing.HorizontalScale() - (0.5 * kW - 0.167 * kW) / 0.5) < 1e-3);
        const double vs = 0.45 * kH / 1.5;
        const double cx = kW / 2.0;
        const double cy = 0.3 * kH + 0.25 * vs;

        // Sky: 20 bands of 0.3 H / 20, the lightest on the surface.
        const double skyBand = 0.3 * kH / 20.0;
        for (int i = 0; i < 20; ++i) {
            const double y = 0.3 * kH - (i + 0.5) * skyBand;
            QCOMPARE(at(image, 2, y), QColor(204 - 5 * i, 255, 255));
        }
        // Ground: 17 bands of 0.575 H / 17, seen in the right side strip.
        const double groundBand = 0.575 * kH / 17.0;
        for (int i = 0; i < 17; ++i) {
            const double y = 0.3 * kH + (i + 0.5) * groundBand;
            QCOMPARE(at(image, 0.96 * kW, y), QColor(255, 255 - 5 * i, 153 - 5 * i));
            // The middle of the ground is the same band series (away from the fronts).
            QCOMPARE(at(image, 0.88 * kW, y), QColor(255, 255 - 5 * i, 153 - 5 * i));
        }
        // Below 0.875 H the series goes on with bands 17, 18 and 19.
        const double coverBand = 0.125 * kH / 3.0;
        for (int i = 17; i < 20; ++i) {
            const double y = 0.875 * kH + (i - 17 + 0.5) * coverBand;
            QCOMPARE(at(image, 2, y), QColor(255, 255 - 5 * i, 153 - 5 * i));
        }
        // The surface line at 0.3 H in black, across the plotted width.
        QVERIFY(columnHasColor(image, int(0.75 * kW), int(0.3 * kH) - 1, int(0.3 * kH) + 1, Qt::black));
        QVERIFY(columnHasColor(image, int(0.3 * kW), int(0.3 * kH) - 1, int(0.3 * kH) + 1, Qt::black));
        // The emitter disc at the centre, radius 0.0083 W.
        QCOMPARE(at(image, cx, cy), QColor(Qt::black));
        QCOMPARE(at(image, cx + 2, cy), QColor(Qt::black));
        QCOMPARE(at(image, cx, cy - 2), QColor(Qt::black));
        QVERIFY(at(image, cx + 0.0083 * kW + 3, cy) != QColor(Qt::black));
        // Each front's lowest point lies zplus x vertical scale below the centre.
        QCOMPARE(at(image, cx, cy + 0.5 * vs), kRed);
        QCOMPARE(at(image, cx, cy + 0.3 * vs), kBlue);
        QCOMPARE(at(image, cx, cy + 0.8 * vs), kGreen);
        QCOMPARE(at(image, cx, cy + 0.15 * vs), kMagenta);
        // The upper half reaches zminus x vertical scale above the centre.
        QVERIFY(columnHasColor(image, int(cx), int(cy - 0.2 * vs) - 1, int(cy - 0.2 * vs) + 1, kRed));
        // And the horizontal semi-axis Radius1 x horizontal scale.
        const double hs = drawing.HorizontalScale();
        QVERIFY(countColor(image, QRect(int(cx + 0.3 * hs) - 2, int(cy) - 2, 4, 4), kRed) > 0);
        QVERIFY(countColor(image, QRect(int(cx - 0.3 * hs) - 2, int(cy) - 2, 4, 4), kRed) > 0);

        // Vertical axis at 0.042 W + label width, from 0.3 H to 0.875 H.
        const double axisX = 0.042 * kW + drawing.YLabelWidth();
        QVERIFY(drawing.YLabelWidth() > 0);
        for (double f : {0.35, 0.6, 0.85}) {
            bool black = false;
            for (int dx = -1; dx <= 1; ++dx)
                black = black || at(image, axisX + dx, f * kH) == QColor(Qt::black);
            QVERIFY2(black, qPrintable(QString("vertical axis at %1 H").arg(f)));
        }
        // Horizontal axis on the right half only.
        QVERIFY(columnHasColor(image, int(0.7 * kW), int(0.875 * kH) - 1, int(0.875 * kH) + 1, Qt::black));
        QVERIFY(!columnHasColor(image, int(0.3 * kW), int(0.875 * kH) - 1, int(0.875 * kH) + 1, Qt::black));
        // A tick at two fifths of the extent on the left side, 0.875 H .. 0.892 H.
        const double tickLeft = cx - 2.0 * 0.5 * hs / 5.0;
        bool tick = false;
        for (int dx = -1; dx <= 1; ++dx)
            tick = tick || at(image, tickLeft + dx, 0.884 * kH) == QColor(Qt::black);
        QVERIFY(tick);

        // Legend samples: three rows a column at 0.15, 0.2, 0.25 H, from 0.167 W.
        QCOMPARE(at(image, 0.188 * kW, 0.15 * kH), kRed);
        QCOMPARE(at(image, 0.188 * kW, 0.20 * kH), kBlue);
        QCOMPARE(at(image, 0.188 * kW, 0.25 * kH), kGreen);
        QCOMPARE(at(image, (0.375 + 0.188) * kW, 0.15 * kH), kMagenta);
        // Labels in black right of the samples; heading in dark blue.
        QVERIFY(countColor(image, QRect(int(0.25 * kW), int(0.13 * kH), int(0.1 * kW), int(0.04 * kH)),
                           Qt::black) > 5);
        QVERIFY(countColor(image, QRect(0, 0, kW, int(0.14 * kH)), QColor(0, 0, 128)) > 20);
    }

    void pictureWithoutBackground()
    {
        GraphDrawing drawing;
        addKnownFronts(drawing);
        drawing.properties().LineWidth = 3;
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        savePicture(image, "plain");
        const QColor white(Qt::white);
        for (double f : {0.02, 0.1, 0.2, 0.29})
            QCOMPARE(at(image, 2, f * kH), white);          // sky
        for (double f : {0.31, 0.5, 0.86})
            QCOMPARE(at(image, 0.96 * kW, f * kH), white);  // ground
        for (double f : {0.88, 0.95, 0.99})
            QCOMPARE(at(image, 2, f * kH), white);          // cover strip
        // Nothing is left of the blank image: the whole surface is repainted.
        QCOMPARE(countColor(image, image.rect(), QColor(1, 2, 3)), 0);
        const double vs = 0.45 * kH / 1.5;
        QCOMPARE(at(image, kW / 2.0, 0.3 * kH + 0.25 * vs + 0.5 * vs), kRed);
        QCOMPARE(at(image, kW / 2.0, 0.3 * kH + 0.25 * vs), QColor(Qt::black));
    }

    void drawGraphOnScalesToTheDevice()
    {
        // A device twice the layout size shows the same picture twice as large.
        GraphDrawing drawing;
        addKnownFronts(drawing);
        drawing.properties().DrawBackground = true;
        drawing.properties().LineWidth = 3;
        QImage image = blankImage(2 * kW, 2 * kH);
        QCOMPARE(drawing.DrawGraphOn(&image, QSize(kW, kH)), QString());
        const double vs = 0.45 * kH / 1.5;
        QCOMPARE(at(image, kW, 2 * (0.3 * kH + 0.25 * vs)), QColor(Qt::black));
        QCOMPARE(at(image, 2, 2 * 0.3 * kH - 5), QColor(204, 255, 255));
        QVERIFY(columnHasColor(image, kW, int(2 * (0.3 * kH + 0.75 * vs)) - 2,
                               int(2 * (0.3 * kH + 0.75 * vs)) + 2, kRed));
    }

    void drawGraphOnPdf()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("graph.pdf");
        {
            GraphDrawing drawing;
            addKnownFronts(drawing);
            QPdfWriter writer(path);
            QCOMPARE(drawing.DrawGraphOn(&writer, QSize(kW, kH)), QString());
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.read(5) == "%PDF-");
        QVERIFY(file.size() > 1000);
    }

    void nineFrontsAreRefusedEightAreDrawn()
    {
        GraphDrawing drawing;
        const QColor colors[9] = {kRed, kBlue, kGreen, kMagenta, QColor(0, 200, 200),
                                  QColor(120, 60, 0), QColor(90, 90, 90), QColor(0, 90, 0),
                                  QColor(200, 100, 0)};
        for (int i = 0; i < 8; ++i)
            QCOMPARE(drawing.AddEllipse(makeFront(QString("%1 Hour").arg(i + 1), 0.05f * (i + 1),
                                                  0.1f * (i + 1), 0.02f, colors[i])),
                     QString());
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        savePicture(image, "eight");
        // Eight fronts fill legend columns of 3, 3 and 2, 0.375 W apart.
        for (int i = 0; i < 8; ++i) {
            const double x = (0.375 * (i / 3) + 0.188) * kW;
            const double y = (0.15 + 0.05 * (i % 3)) * kH;
            QCOMPARE(at(image, x, y), colors[i]);
        }

        QCOMPARE(drawing.AddEllipse(makeFront("9 Hour", 0.5f, 0.9f, 0.02f, colors[8])), QString());
        QCOMPARE(drawing.EllipseCount(), qint16(9));
        QImage untouched = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&untouched, untouched.size()),
                 QString("Procedure Drawgraph, Collection count out of Range 1-8"));
        QCOMPARE(untouched, blankImage());

        GraphDrawing empty;
        QCOMPARE(empty.DrawGraphOn(&untouched, untouched.size()),
                 QString("Procedure Drawgraph, Collection count out of Range 1-8"));
        QCOMPARE(untouched, blankImage());
    }

    void frontWithZplusEqualToRadiusIsAHalfCircle()
    {
        // Extents chosen so that a metre spans as many pixels both ways.
        GraphDrawing drawing;
        drawing.properties().MaxY = 1.0f;
        drawing.properties().MaxX = float((0.5 * kW - 0.167 * kW) / (0.45 * kH));
        drawing.properties().LineWidth = 3;
        QCOMPARE(drawing.AddEllipse(makeFront("1 Hour", 0.2f, 0.2f, 0.05f, kRed)), QString());
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        QVERIFY(std::fabs(drawing.HorizontalScale() - drawing.VerticalScale()) < 1e-3);
        const double r = 0.2 * drawing.VerticalScale();
        const double cx = kW / 2.0;
        const double cy = 0.3 * kH + 0.25 * drawing.VerticalScale();
        for (int degrees = 190; degrees <= 350; degrees += 20) {
            const double a = qDegreesToRadians(double(degrees));
            // Counter-clockwise on the screen: y grows downward.
            const double x = cx + r * std::cos(a);
            const double y = cy - r * std::sin(a);
            QVERIFY2(countColor(image, QRect(int(x) - 1, int(y) - 1, 3, 3), kRed) > 0,
                     qPrintable(QString("no arc at %1 degrees").arg(degrees)));
        }
        // Nothing of the circle where an ellipse of another aspect would pass.
        QCOMPARE(countColor(image, QRect(int(cx) - 1, int(cy + 0.8 * r) - 1, 3, 3), kRed), 0);
        QCOMPARE(countColor(image, QRect(int(cx) - 1, int(cy + 1.2 * r) - 1, 3, 3), kRed), 0);
    }

    void emitterOnTheSurfaceHidesUpperHalves()
    {
        for (float depth : {0.25f, 0.0f}) {
            GraphDrawing drawing;
            drawing.properties().EmitterDepth = depth;
            drawing.properties().DrawBackground = true;
            drawing.properties().LineWidth = 3;
            QCOMPARE(drawing.AddEllipse(makeFront("1 Hour", 0.3f, 0.5f, 0.2f, kRed)), QString());
            QImage image = blankImage();
            QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
            const double vs = drawing.VerticalScale();
            const double cy = 0.3 * kH + depth * vs;
            const double top = cy - 0.2 * vs;
            const bool upperVisible = columnHasColor(image, kW / 2, int(top) - 2, int(top) + 2, kRed);
            if (depth > 0) {
                QVERIFY(upperVisible); // the same front, emitter buried: upper half shows
            } else {
                savePicture(image, "surface-emitter");
                QVERIFY(!upperVisible);
                // No trace of the front anywhere in the sky (the one legend
                // sample lies left of 0.22 W).
                QCOMPARE(countColor(image, QRect(int(0.22 * kW), 0, kW, int(0.3 * kH) - 1), kRed), 0);
                // The lower half is centred on the surface line.
                QCOMPARE(at(image, kW / 2.0, 0.3 * kH + 0.5 * vs), kRed);
                QCOMPARE(at(image, kW / 2.0, 0.3 * kH), QColor(Qt::black)); // emitter on the line
            }
        }
    }

    void frontWithoutUpwardReachHasAFlatUpperHalf()
    {
        // zminus 0: the upper half-ellipse has no height and is drawn as the
        // straight line along the horizontal semi-axis.
        GraphDrawing drawing;
        drawing.properties().LineWidth = 3;
        QCOMPARE(drawing.AddEllipse(makeFront("1 Hour", 0.3f, 0.5f, 0.0f, kRed)), QString());
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        const double r = 0.3 * drawing.HorizontalScale();
        const double cy = 0.3 * kH + 0.25 * drawing.VerticalScale();
        for (double f : {-0.9, -0.5, 0.25, 0.6, 0.9})
            QCOMPARE(at(image, kW / 2.0 + f * r, cy), kRed);
        QCOMPARE(at(image, kW / 2.0, cy + 0.5 * drawing.VerticalScale()), kRed);
        // Nothing above the line.
        QCOMPARE(countColor(image, QRect(int(kW / 2.0 - r), int(0.3 * kH) + 2, int(2 * r),
                                         int(cy) - int(0.3 * kH) - 6), kRed), 0);
    }

    void frontsAreClippedToThePlottedArea()
    {
        GraphDrawing drawing;
        drawing.properties().LineWidth = 3;
        // Deeper than 1.5 m below the surface and wider than 0.5 m.
        QCOMPARE(drawing.AddEllipse(makeFront("1 Hour", 0.8f, 2.0f, 0.1f, kRed)), QString());
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        savePicture(image, "clipped");
        const double axisX = 0.042 * kW + drawing.YLabelWidth();
        // Cut off at 0.875 H ...
        QCOMPARE(countColor(image, QRect(0, int(0.875 * kH) + 1, kW, kH), kRed), 0);
        // ... at 0.917 W on the right and at the vertical axis on the left ...
        QCOMPARE(countColor(image, QRect(int(std::ceil(0.917 * kW)), 0, kW, kH), kRed), 0);
        QCOMPARE(countColor(image, QRect(0, 0, int(axisX) - 1, kH), kRed), 0);
        // ... while the rest of it shows inside the plotted area.
        QVERIFY(countColor(image, QRect(int(0.85 * kW), int(0.3 * kH), int(0.06 * kW), int(0.5 * kH)), kRed) > 0);
        QVERIFY(countColor(image, QRect(int(axisX) + 2, int(0.3 * kH), 20, int(0.5 * kH)), kRed) > 0);
    }

    void autoScaleXPutsTheWidestFrontAtFiveSixths()
    {
        GraphDrawing drawing;
        drawing.properties().AutoScaleX = true;
        drawing.properties().LineWidth = 3;
        QCOMPARE(drawing.AddEllipse(makeFront("1 Hour", 0.2f, 0.3f, 0.1f, kBlue)), QString());
        QCOMPARE(drawing.AddEllipse(makeFront("2 Hour", 0.35f, 0.5f, 0.1f, kRed)), QString());
        QCOMPARE(drawing.AddEllipse(makeFront("3 Hour", 0.35f, 0.6f, 0.1f, kGreen)), QString());
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        savePicture(image, "autoscale");
        QVERIFY(std::fabs(drawing.HorizontalScale() - (0.333 * kW) / 0.35) < 1e-3);
        const double cy = 0.3 * kH + 0.25 * drawing.VerticalScale();
        // The widest fronts end at 0.833 W; the later of the two equal ones is drawn last.
        const QRect end(int(0.833 * kW) - 2, int(cy) - 1, 4, 3);
        QVERIFY(countColor(image, end, kGreen) + countColor(image, end, kRed) > 0);
        QCOMPARE(countColor(image, QRect(int(0.833 * kW) + 3, 0, kW, kH), kGreen), 0);
        // The last tick stands at four fifths of the extent, short of the front's end.
        const double lastTick = kW / 2.0 + 0.8 * 0.333 * kW;
        QVERIFY(columnHasColor(image, int(lastTick), int(0.88 * kH), int(0.89 * kH), Qt::black)
                || columnHasColor(image, int(lastTick) + 1, int(0.88 * kH), int(0.89 * kH), Qt::black));
        QVERIFY(!columnHasColor(image, int(0.833 * kW), int(0.877 * kH), int(0.89 * kH), Qt::black));
    }

    void autoScaleYUsesZminusPlusEmitterDepth()
    {
        GraphDrawing drawing;
        drawing.properties().AutoScaleY = true;
        drawing.AddEllipse(makeFront("1 Hour", 0.2f, 2.0f, 0.15f, kBlue));
        drawing.AddEllipse(makeFront("2 Hour", 0.3f, 0.4f, 0.35f, kRed));
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        // Not zplus: the deep front runs out of the plotted area.
        QCOMPARE(drawing.VerticalScale(), 0.45f * kH / (0.35f + 0.25f));
    }

    void printerTargetTakesItsWidthButThePicturesHeight()
    {
        GraphDrawing drawing;
        drawing.properties().LineWidth = 3;
        drawing.AddEllipse(makeFront("1 Hour", 0.3f, 0.5f, 0.2f, kRed));
        QImage picture = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&picture, picture.size()), QString());
        const double vs = drawing.VerticalScale();

        QImage paper(800, 1000, QImage::Format_RGB32);
        paper.fill(Qt::white);
        {
            DrawTarget printer(&paper, DrawTarget::PrinterType, paper.width(), paper.height(), 1.0);
            QCOMPARE(drawing.DrawEllipse(printer), QString());
        }
        savePicture(paper, "printer-fronts");
        const double lowest = 0.3 * kH + 0.25 * vs + 0.5 * vs; // from the picture's height
        QCOMPARE(at(paper, 400, lowest), kRed);
        // Not where the printer's own height would put it.
        const double wrong = 0.3 * paper.height() + 0.25 * vs + 0.5 * vs;
        QCOMPARE(countColor(paper, QRect(397, int(wrong) - 3, 6, 6), kRed), 0);
        // Nor at the picture's centre.
        QCOMPARE(countColor(paper, QRect(kW / 2 - 3, int(lowest) - 3, 6, 6), kRed), 0);
    }

    void wrongTargetsAreRefused()
    {
        GraphDrawing drawing;
        drawing.AddEllipse(makeFront("1 Hour", 0.3f, 0.5f, 0.2f, kRed));
        QImage picture = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&picture, picture.size()), QString());

        QImage image = blankImage();
        {
            DrawTarget form(&image, "Form", kW, kH, 1.0);
            QCOMPARE(drawing.DrawGround(form, 0, kW), QString("Incorrect object type, Procedure DrawGround"));
            QCOMPARE(drawing.DrawEllipse(form), QString("Incorrect object type, Procedure DrawEllipse"));
            QCOMPARE(drawing.CoverSpillOver(form), QString("Incorrect object type, Procedure CoverSpillOver"));
            QCOMPARE(drawing.DrawSky(form), QString("Incorrect object type, Procedure DrawSky"));
            QCOMPARE(drawing.DrawEmitter(form), QString("Incorrect object type, Procedure DrawEmitter"));
            QCOMPARE(drawing.DrawYAxis(form), QString("Incorrect object type, Procedure DrawYAxis"));
            QCOMPARE(drawing.DrawXAxis(form), QString("Incorrect object type, Procedure DrawXAxis"));
            QCOMPARE(drawing.DrawLegend(form), QString("Incorrect object type, Procedure DrawLegend"));
            QCOMPARE(drawing.DrawGraph(form),
                     QString("Procedure DrawGraph, Incorrect object type, Procedure DrawGround"));
        }
        QCOMPARE(image, blankImage());

        // The printer takes everything but the ground and the cover strip.
        {
            DrawTarget printer(&image, DrawTarget::PrinterType, kW, kH, 1.0);
            QCOMPARE(drawing.DrawGround(printer, 0, kW), QString("Incorrect object type, Procedure DrawGround"));
            QCOMPARE(drawing.CoverSpillOver(printer), QString("Incorrect object type, Procedure CoverSpillOver"));
        }
        QCOMPARE(image, blankImage());
        {
            DrawTarget printer(&image, DrawTarget::PrinterType, kW, kH, 1.0);
            QCOMPARE(drawing.DrawSky(printer), QString());
            QCOMPARE(drawing.DrawEmitter(printer), QString());
            QCOMPARE(drawing.DrawEllipse(printer), QString());
            QCOMPARE(drawing.DrawYAxis(printer), QString());
            QCOMPARE(drawing.DrawXAxis(printer), QString());
            QCOMPARE(drawing.DrawLegend(printer), QString());
        }
        QCOMPARE(at(image, 2, 0.2 * kH), QColor(Qt::white)); // the sky reached the printer
        QCOMPARE(at(image, 0.188 * kW, 0.15 * kH), kRed);    // and the legend
    }

    void zeroRadiusIsADivisionByZero()
    {
        GraphDrawing drawing;
        drawing.AddEllipse(makeFront("1 Hour", 0.0f, 0.5f, 0.2f, kRed));
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString("Procedure DrawGraph, Division by zero"));
        // Called on its own the procedure raises it.
        DrawTarget target = DrawTarget::forImage(&image);
        try {
            drawing.DrawEllipse(target);
            QFAIL("no error raised");
        } catch (const UlvexError &error) {
            QCOMPARE(error.number(), 11);
        }
    }

    void zeroExtentIsADivisionByZero()
    {
        GraphDrawing drawing;
        drawing.properties().MaxX = 0.0f;
        drawing.AddEllipse(makeFront("1 Hour", 0.3f, 0.5f, 0.2f, kRed));
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString("Procedure DrawGraph, Division by zero"));
    }

    void drawEllipseStoresTheScaledValues()
    {
        GraphDrawing drawing;
        drawing.AddEllipse(makeFront("1 Hour", 0.3f, 0.5f, 0.2f, kRed));
        QImage image = blankImage();
        QCOMPARE(drawing.DrawGraphOn(&image, image.size()), QString());
        const clsData &front = drawing.fronts().first();
        QCOMPARE(front.Scaledr().toFloat(), 0.3f * drawing.HorizontalScale());
        QCOMPARE(front.ScaledZplus().toFloat(), 0.5f * drawing.VerticalScale());
        QCOMPARE(front.ScaledZminus().toFloat(), 0.2f * drawing.VerticalScale());
        QVERIFY(!front.AspectRatio().isValid()); // nobody computes it
    }

    void searchRoutinesKeepTheEarliestOfEquals()
    {
        GraphDrawing drawing;
        QVERIFY(drawing.MaxZminusRecord() == nullptr);
        QVERIFY(drawing.MaxRadius1Record() == nullptr);
        drawing.AddEllipse(makeFront("a", 0.1f, 0.1f, 0.3f, kRed));
        drawing.AddEllipse(makeFront("b", 0.4f, 0.1f, 0.3f, kRed));
        drawing.AddEllipse(makeFront("c", 0.4f, 0.1f, 0.2f, kRed));
        drawing.AddEllipse(makeFront("d", 0.2f, 0.1f, 0.31f, kRed));
        QCOMPARE(drawing.MaxRadius1Record()->label(), QString("b"));
        QCOMPARE(drawing.MaxZminusRecord()->label(), QString("d"));
        GraphDrawing ties;
        ties.AddEllipse(makeFront("first", 0.4f, 0.1f, 0.3f, kRed));
        ties.AddEllipse(makeFront("second", 0.4f, 0.1f, 0.3f, kRed));
        QCOMPARE(ties.MaxRadius1Record()->label(), QString("first"));
        QCOMPARE(ties.MaxZminusRecord()->label(), QString("first"));
    }

    void textOnImagesMatchesDirectDrawing()
    {
        // Large text on raster images is rendered once and then blended from
        // a cache; small or large, first time or again, it must come out as
        // if drawn directly.
        for (double points : {8.0, 60.0}) {
            for (int pass = 0; pass < 2; ++pass) {
                QImage cached(700, 200, QImage::Format_RGB32);
                cached.fill(QColor(204, 255, 255));
                QImage direct = cached;
                {
                    DrawTarget target = DrawTarget::forImage(&cached);
                    target.setFontSize(points);
                    target.setFontBold(true);
                    target.print(10, 20, "Sand 1.5", QColor(0, 0, 128));
                }
                QFont font("Verdana");
                font.setPointSizeF(points * DrawTarget::screenUnitsPerPoint() * 72.0
                                   / cached.logicalDpiY());
                font.setBold(true);
                {
                    QPainter painter(&direct);
                    painter.setFont(font);
                    painter.setPen(QColor(0, 0, 128));
                    const QFontMetricsF metrics(font, &direct);
                    painter.drawText(QPoint(10, qRound(20 + metrics.ascent())), "Sand 1.5");
                }
                int differing = 0;
                for (int y = 0; y < cached.height(); ++y)
                    for (int x = 0; x < cached.width(); ++x)
                        if (cached.pixel(x, y) != direct.pixel(x, y))
                            ++differing;
                QVERIFY2(differing == 0, qPrintable(QString("%1 pixels differ at %2 pt, pass %3")
                                                        .arg(differing).arg(points).arg(pass)));
                QVERIFY(countColor(cached, cached.rect(), QColor(0, 0, 128)) > 10);
            }
        }
    }

    void axisLabelsAreRounded()
    {
        QCOMPARE(GraphDrawing::axisLabel(0.0, 1), QString("0"));
        QCOMPARE(GraphDrawing::axisLabel(0.30000001192, 1), QString("0.3"));
        QCOMPARE(GraphDrawing::axisLabel(1.2, 0), QString("1"));
        QCOMPARE(GraphDrawing::axisLabel(0.123456, 2), QString("0.12"));
        QCOMPARE(GraphDrawing::axisLabel(-0.01, 1), QString("0"));
    }

    void fontScaleAtTheDesignProportionTakesTheWidthRule()
    {
        bool byWidth = false;
        // 579 x 867 is exactly 2895 x 4335 / 5.
        GraphDrawing::fontScaleFor(579, 867, &byWidth);
        QVERIFY(byWidth);
        GraphDrawing::fontScaleFor(579, 866, &byWidth);
        QVERIFY(!byWidth);
        // A wide graph scales by its height, a tall one by its width.
        const double design = GraphDrawing::fontScaleFor(579, 867);
        QVERIFY(std::fabs(GraphDrawing::fontScaleFor(1000, 866) - design * 866.0 / 867.0) < 1e-9);
        QVERIFY(std::fabs(GraphDrawing::fontScaleFor(579, 2000) - design) < 1e-9);
        // At the design size itself the text is 8 points.
        QVERIFY(std::fabs(GraphDrawing::fontScaleFor(2895.0 / 15.0, 4335.0 / 15.0) - 1.0) < 1e-9);
    }
};

QTEST_MAIN(TestGraphDrawing)
#include "tst_graphdrawing.moc"
