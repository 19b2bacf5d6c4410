#include "graph/ColorRef.h"
#include "graph/DrawTarget.h"
#include "graph/GraphEllipse.h"
#include "graph/PictureBox.h"

#include <QApplication>
#include <QLineEdit>
#include <QPrinter>
#include <QTemporaryDir>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest>
#include <cmath>

namespace {

clsData makeFront(const QString &label, float r, float zplus, float zminus, QColor color)
{
    clsData record;
    record.setlabel(label);
    record.setRadius1(r);
    record.setRadius2(r * 0.5f);
    record.setzplus(zplus);
    record.setzminus(zminus);
    record.setColor(ColorRef::fromQColor(color));
    return record;
}

void fill(GraphEllipse &graph)
{
    graph.AddEllipse(makeFront("2 Hour", 0.2f, 0.3f, 0.1f, QColor(255, 0, 0)));
    graph.AddEllipse(makeFront("5 Hour", 0.3f, 0.5f, 0.15f, QColor(0, 0, 255)));
}

} // namespace

class TestGraphEllipse : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QFont::insertSubstitution("Verdana", "DejaVu Sans");
    }

    void newControlHasTheDefaults()
    {
        GraphEllipse graph;
        QCOMPARE(graph.EmitterDepth(), 0.25f);
        QCOMPARE(graph.DrawBackground(), false);
        QCOMPARE(graph.AutoScaleX(), false);
        QCOMPARE(graph.AutoScaleY(), false);
        QCOMPARE(graph.MaxX(), 0.5f);
        QCOMPARE(graph.MaxY(), 1.5f);
        QCOMPARE(graph.XDecPlaces(), qint16(1));
        QCOMPARE(graph.YDecPlaces(), qint16(1));
        QCOMPARE(graph.MaxSim(), qint16(6));
        QCOMPARE(graph.LineWidth(), 1.0f);
        QCOMPARE(graph.TimeScale(), QString("LOG"));
        QCOMPARE(graph.SoilType(), QString("Sand"));
        QCOMPARE(graph.FlowRate(), QString("0"));
        QCOMPARE(graph.WaterContent(), QString("0"));
        QVERIFY(graph.Picture().isNull());
        QCOMPARE(graph.EllipseCount(), qint16(0));
        // The drawing surface is the child "Picture1", a picture box.
        auto *picture = graph.findChild<PictureBox *>("Picture1");
        QVERIFY(picture);
        QCOMPARE(graph.hWnd(), static_cast<QWidget *>(picture));
        QCOMPARE(PictureBox::typeName(), QString("PictureBox"));
        // Design size 2895 x 4335 twips, the picture filling it.
        QCOMPARE(graph.size(), QSize(193, 289));
        QCOMPARE(picture->geometry(), QRect(0, 0, 193, 289));
        QCOMPARE(graph.lastWidthTwips(), 2895.0);
        QCOMPARE(graph.lastHeightTwips(), 4335.0);
        QCOMPARE(picture->font().pointSizeF(), 8.0);
        QCOMPARE(picture->font().family(), QString("Verdana"));
    }

    void everyWriteIsRecorded()
    {
        GraphEllipse graph;
        QSignalSpy spy(&graph, &GraphEllipse::propertyChanged);
        graph.setDrawBackground(true);
        graph.setEmitterDepth(0.4f);
        graph.setAutoScaleX(true);
        graph.setAutoScaleY(true);
        graph.setMaxX(0.8f);
        graph.setMaxY(2.0f);
        graph.setXDecPlaces(2);
        graph.setYDecPlaces(3);
        graph.setMaxSim(8);
        graph.setLineWidth(2.5f);
        graph.setTimeScale("LIN");
        graph.setSoilType("Clay");
        graph.setFlowRate("4");
        graph.setWaterContent("Dry");
        QPixmap picture(10, 10);
        picture.fill(Qt::green);
        graph.setPicture(picture);
        const QStringList expected = {"DrawBackground", "EmitterDepth", "AutoScaleX", "AutoScaleY",
                                      "MaxX", "MaxY", "XDecPlaces", "YDecPlaces", "MaxSim",
                                      "LineWidth", "TimeScale", "SoilType", "FlowRate",
                                      "WaterContent", "Picture"};
        QCOMPARE(spy.count(), expected.size());
        for (int i = 0; i < expected.size(); ++i)
            QCOMPARE(spy.at(i).at(0).toString(), expected.at(i));
        // Written again with the same value: still recorded.
        graph.setMaxX(0.8f);
        QCOMPARE(spy.count(), expected.size() + 1);

        QVariantMap bag;
        graph.saveProperties(bag);
        QCOMPARE(bag.value("EmitterDepth").toFloat(), 0.4f);
        QCOMPARE(bag.value("DrawBackground").toBool(), true);
        QCOMPARE(bag.value("MaxSim").toInt(), 8);
        QCOMPARE(bag.value("TimeScale").toString(), QString("LIN"));
        QVERIFY(bag.contains("Picture"));

        GraphEllipse other;
        other.loadProperties(bag);
        QCOMPARE(other.DrawBackground(), true);
        QCOMPARE(other.EmitterDepth(), 0.4f);
        QCOMPARE(other.AutoScaleX(), true);
        QCOMPARE(other.AutoScaleY(), true);
        QCOMPARE(other.MaxX(), 0.8f);
        QCOMPARE(other.MaxY(), 2.0f);
        QCOMPARE(other.XDecPlaces(), qint16(2));
        QCOMPARE(other.YDecPlaces(), qint16(3));
        QCOMPARE(other.MaxSim(), qint16(8));
        QCOMPARE(other.LineWidth(), 2.5f);
        QCOMPARE(other.TimeScale(), QString("LIN"));
        QCOMPARE(other.SoilType(), QString("Clay"));
        QCOMPARE(other.FlowRate(), QString("4"));
        QCOMPARE(other.WaterContent(), QString("Dry"));
        QCOMPARE(other.Picture().toImage().pixelColor(5, 5), QColor(Qt::green));
    }

    void missingSavedValuesTakeTheDefaults()
    {
        GraphEllipse graph;
        graph.setMaxY(3.0f);
        graph.setSoilType("Loam");
        graph.setDrawBackground(true);
        QVariantMap bag;
        bag.insert("MaxX", 0.75f);
        graph.loadProperties(bag);
        QCOMPARE(graph.MaxX(), 0.75f);
        QCOMPARE(graph.MaxY(), 1.5f);
        QCOMPARE(graph.SoilType(), QString("Sand"));
        QCOMPARE(graph.DrawBackground(), false);
        QCOMPARE(graph.EmitterDepth(), 0.25f);
        QCOMPARE(graph.TimeScale(), QString("LOG"));
        QCOMPARE(graph.MaxSim(), qint16(6));
    }

    void addEllipseKeepsItsOwnCopy()
    {
        GraphEllipse graph;
        clsData record = makeFront("2 Hour", 0.2f, 0.3f, 0.1f, QColor(255, 0, 0));
        record.setScaledr(99.0f);
        record.setAspectRatio(2.0f);
        QCOMPARE(graph.AddEllipse(record), QString());
        record.setRadius1(7.0f);
        record.setlabel("changed");
        QCOMPARE(graph.EllipseCount(), qint16(1));
        const clsData copy = graph.front(0);
        QCOMPARE(copy.Radius1(), 0.2f);
        QCOMPARE(copy.Radius2(), 0.1f);
        QCOMPARE(copy.zplus(), 0.3f);
        QCOMPARE(copy.zminus(), 0.1f);
        QCOMPARE(copy.label(), QString("2 Hour"));
        QCOMPARE(copy.Color(), ColorRef::rgb(255, 0, 0));
        // Only the six data properties are copied.
        QVERIFY(!copy.Scaledr().isValid());
        QVERIFY(!copy.AspectRatio().isValid());
    }

    void repeatedLabelIsRefused()
    {
        GraphEllipse graph;
        QCOMPARE(graph.AddEllipse(makeFront("2 Hour", 0.2f, 0.3f, 0.1f, Qt::red)), QString());
        QCOMPARE(graph.AddEllipse(makeFront("2 Hour", 0.9f, 0.9f, 0.9f, Qt::blue)),
                 QString("Could Not Add Ellipse"));
        // Keys compare without regard to case.
        QCOMPARE(graph.AddEllipse(makeFront("2 HOUR", 0.9f, 0.9f, 0.9f, Qt::blue)),
                 QString("Could Not Add Ellipse"));
        QCOMPARE(graph.EllipseCount(), qint16(1));
        QCOMPARE(graph.front(0).Radius1(), 0.2f);
        QCOMPARE(graph.AddEllipse(makeFront("3 Hour", 0.3f, 0.3f, 0.1f, Qt::blue)), QString());
        QCOMPARE(graph.EllipseCount(), qint16(2));
        QCOMPARE(graph.fronts().at(1).label(), QString("3 Hour"));
    }

    void removeAllEllipses()
    {
        GraphEllipse graph;
        graph.RemoveAllEllipses();
        QCOMPARE(graph.EllipseCount(), qint16(0));
        fill(graph);
        QCOMPARE(graph.EllipseCount(), qint16(2));
        graph.RemoveAllEllipses();
        QCOMPARE(graph.EllipseCount(), qint16(0));
        QVERIFY(graph.fronts().isEmpty());
        // An empty graph is not drawn.
        QCOMPARE(graph.DrawGraph(), QString("Procedure Drawgraph, Collection count out of Range 1-8"));
    }

    void drawGraphPaintsThePicture()
    {
        GraphEllipse graph;
        graph.resize(400, 600);
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        fill(graph);
        graph.setDrawBackground(true);
        graph.setLineWidth(3);
        graph.Cls();
        QCOMPARE(graph.Image().pixelColor(10, 10), QColor(Qt::white));
        QCOMPARE(graph.DrawGraph(), QString());
        const QImage image = graph.Image();
        image.save(QCoreApplication::applicationDirPath() + "/graph-control.png");
        QCOMPARE(image.size(), QSize(400, 600));
        QCOMPARE(image.pixelColor(2, 175), QColor(204, 255, 255));
        const double vs = graph.VerticalScale();
        QCOMPARE(vs, 0.45f * 600 / 1.5f);
        QCOMPARE(image.pixelColor(200, int(180 + 0.25 * vs + 0.5 * vs)), QColor(0, 0, 255));
        QCOMPARE(image.pixelColor(200, int(180 + 0.25 * vs)), QColor(Qt::black));
        // What is shown on the screen is the persistent image.
        const QImage shown = graph.Picture1()->grab().toImage();
        QCOMPARE(shown.pixelColor(200, int(180 + 0.25 * vs + 0.5 * vs)), QColor(0, 0, 255));
        QCOMPARE(shown.pixelColor(2, 175), QColor(204, 255, 255));

        graph.Cls();
        QCOMPARE(graph.Image().pixelColor(200, int(180 + 0.25 * vs)), QColor(Qt::white));
    }

    void clsShowsTheBackgroundPicture()
    {
        GraphEllipse graph;
        QPixmap picture(20, 20);
        picture.fill(Qt::green);
        graph.setPicture(picture);
        graph.Cls();
        QCOMPARE(graph.Image().pixelColor(5, 5), QColor(Qt::green));
        QCOMPARE(graph.Image().pixelColor(50, 50), QColor(Qt::white));
    }

    void drawLegendOnTargets()
    {
        GraphEllipse graph;
        fill(graph);
        QCOMPARE(graph.DrawGraph(), QString());
        graph.Cls();
        {
            DrawTarget target = graph.PictureTarget();
            QCOMPARE(graph.DrawLegend(target), QString());
        }
        const int w = graph.Picture1()->width();
        const int h = graph.Picture1()->height();
        QCOMPARE(graph.Image().pixelColor(int(0.188 * w), int(0.15 * h)), QColor(255, 0, 0));
        QCOMPARE(graph.Image().pixelColor(int(0.188 * w), int(0.20 * h)), QColor(0, 0, 255));

        QImage paper(300, 400, QImage::Format_RGB32);
        paper.fill(Qt::white);
        {
            DrawTarget printer = DrawTarget::forPrinter(&paper);
            QCOMPARE(printer.TypeName(), QString("Printer"));
            QCOMPARE(graph.DrawLegend(printer), QString());
        }
        QCOMPARE(paper.pixelColor(int(0.188 * 300), int(0.15 * 400)), QColor(255, 0, 0));

        QImage other(300, 400, QImage::Format_RGB32);
        other.fill(Qt::white);
        const QImage before = other;
        {
            DrawTarget form(&other, "Form", 300, 400, 1.0);
            QCOMPARE(graph.DrawLegend(form), QString("Incorrect object type, Procedure DrawLegend"));
        }
        QCOMPARE(other, before);
    }

    void drawGraphOnAnotherDeviceLeavesThePictureAlone()
    {
        GraphEllipse graph;
        fill(graph);
        graph.setDrawBackground(true);
        QCOMPARE(graph.DrawGraph(), QString());
        const QImage before = graph.Image();
        const float vs = graph.VerticalScale();
        QImage big(800, 1200, QImage::Format_RGB32);
        big.fill(Qt::black);
        QCOMPARE(graph.DrawGraphOn(&big, big.size()), QString());
        QCOMPARE(big.pixelColor(2, 2), QColor(204 - 5 * 19, 255, 255));
        QCOMPARE(big.pixelColor(int(0.188 * 800), int(0.15 * 1200)), QColor(255, 0, 0));
        QCOMPARE(graph.Image(), before);
        QCOMPARE(graph.VerticalScale(), vs);
    }

    void printerTargetOnAPrinter()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("legend.pdf");
        GraphEllipse graph;
        fill(graph);
        QCOMPARE(graph.DrawGraph(), QString());
        {
            QPrinter printer(QPrinter::HighResolution);
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(path);
            DrawTarget target = DrawTarget::forPrinter(&printer);
            QCOMPARE(target.TypeName(), QString("Printer"));
            QVERIFY(target.isActive());
            QCOMPARE(target.ScaleWidth(), double(printer.width()));
            QCOMPARE(graph.DrawLegend(target), QString());
            QCOMPARE(graph.drawing().DrawEllipse(target), QString());
            QCOMPARE(graph.drawing().DrawGround(target, 0, 10),
                     QString("Incorrect object type, Procedure DrawGround"));
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.read(5) == "%PDF-");
        QVERIFY(file.size() > 1000);
    }

    void resizeScalesThePictureAndRedraws()
    {
        GraphEllipse graph;
        fill(graph);
        graph.setDrawBackground(true);
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        graph.resize(400, 600);
        QCoreApplication::processEvents();
        PictureBox *picture = graph.Picture1();
        QCOMPARE(picture->geometry(), QRect(0, 0, 400, 600));
        QCOMPARE(graph.lastWidthTwips(), 6000.0);
        QCOMPARE(graph.lastHeightTwips(), 9000.0);
        // 400 x 600 is taller than the design: the width rule, 8 x 6000 / 2895.
        QVERIFY(std::fabs(picture->font().pointSizeF() - 8.0 * 6000.0 / 2895.0) < 0.01);
        // Redrawn at the new size.
        QCOMPARE(graph.Image().size(), QSize(400, 600));
        QCOMPARE(graph.Image().pixelColor(2, 175), QColor(204, 255, 255));

        // A wide size takes the height rule.
        graph.resize(900, 600);
        QCoreApplication::processEvents();
        QVERIFY(std::fabs(picture->font().pointSizeF() - 8.0 * 9000.0 / 4335.0) < 0.01);
        QCOMPARE(picture->geometry(), QRect(0, 0, 900, 600));

        // Many odd sizes in a row do not compound: back at 400 x 600 all is as before.
        for (int i = 0; i < 25; ++i) {
            graph.resize(211 + 7 * i, 307 + 13 * i);
            QCoreApplication::processEvents();
        }
        graph.resize(400, 600);
        QCoreApplication::processEvents();
        QCOMPARE(picture->geometry(), QRect(0, 0, 400, 600));
        QVERIFY(std::fabs(picture->font().pointSizeF() - 8.0 * 6000.0 / 2895.0) < 0.01);
    }

    void resizeAtTheDesignProportionTakesTheWidthRule()
    {
        GraphEllipse graph;
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        graph.resize(579, 867); // exactly 2895 x 4335 / 5 in pixels
        QCoreApplication::processEvents();
        QCOMPARE(graph.Picture1()->geometry(), QRect(0, 0, 579, 867));
        bool byWidth = false;
        const double scale = GraphDrawing::fontScaleFor(579, 867, &byWidth);
        QVERIFY(byWidth);
        QVERIFY(std::fabs(scale - 579.0 * 15.0 / 2895.0) < 1e-9);
        QVERIFY(std::fabs(graph.Picture1()->font().pointSizeF() - 8.0 * scale) < 0.01);
    }

    void resizeWithAnUnchangedSizeStillRedraws()
    {
        GraphEllipse graph;
        fill(graph);
        graph.setDrawBackground(true);
        const QRect before = graph.Picture1()->geometry();
        const double fontBefore = graph.Picture1()->font().pointSizeF();
        graph.Cls();
        QCOMPARE(graph.Image().pixelColor(2, 2), QColor(Qt::white));
        graph.applyResize();
        QCOMPARE(graph.size(), GraphEllipse::designSizePixels());
        QCOMPARE(graph.Picture1()->geometry(), before);
        QCOMPARE(graph.Picture1()->font().pointSizeF(), fontBefore);
        // Redrawn: the top band of the sky.
        QCOMPARE(graph.Image().pixelColor(2, 2), QColor(204 - 5 * 19, 255, 255));
    }

    void clicksAndDoubleClicksOnThePicture()
    {
        GraphEllipse graph;
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        QSignalSpy click(&graph, &GraphEllipse::Click);
        QSignalSpy dblClick(&graph, &GraphEllipse::DblClick);
        QTest::mouseClick(graph.Picture1(), Qt::LeftButton, {}, QPoint(50, 60));
        QCOMPARE(click.count(), 1);
        QCOMPARE(dblClick.count(), 0);
        // A double click arrives as press, release, double click, release: the
        // first release is a click, the double click is not a second one.
        QTest::mousePress(graph.Picture1(), Qt::LeftButton, {}, QPoint(50, 60));
        QTest::mouseRelease(graph.Picture1(), Qt::LeftButton, {}, QPoint(50, 60));
        QTest::mouseDClick(graph.Picture1(), Qt::LeftButton, {}, QPoint(50, 60));
        QTest::mouseRelease(graph.Picture1(), Qt::LeftButton, {}, QPoint(50, 60));
        QCOMPARE(dblClick.count(), 1);
        QCOMPARE(click.count(), 2);
        QTest::mouseClick(graph.Picture1(), Qt::RightButton, {}, QPoint(10, 10));
        QCOMPARE(click.count(), 3);
        QCOMPARE(dblClick.count(), 1);
        // Released outside the surface: no click.
        QTest::mousePress(graph.Picture1(), Qt::LeftButton, {}, QPoint(10, 10));
        QTest::mouseRelease(graph.Picture1(), Qt::LeftButton, {}, QPoint(-20, 10));
        QCOMPARE(click.count(), 3);
    }

    void mouseMoveReportsMetres()
    {
        GraphEllipse graph;
        fill(graph);
        graph.resize(400, 600);
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        QCOMPARE(graph.DrawGraph(), QString());
        QSignalSpy move(&graph, &GraphEllipse::MouseMove);
        const double hs = graph.HorizontalScale();
        const double vs = graph.VerticalScale();
        // 0.1 m left of the emitter's axis, 0.5 m below the surface.
        const QPoint p(qRound(200 - 0.1 * hs), qRound(180 + 0.5 * vs));
        // Through the window system, as a real pointer would move.
        QTest::mouseMove(graph.windowHandle(), graph.Picture1()->mapTo(&graph, p));
        QTRY_VERIFY(move.count() >= 1);
        const QList<QVariant> args = move.last();
        QCOMPARE(args.size(), 4);
        QCOMPARE(args.at(0).value<qint16>(), qint16(0));
        QCOMPARE(args.at(1).value<qint16>(), qint16(0));
        QVERIFY(std::fabs(args.at(2).toFloat() - 0.1f) < 0.005f);
        QVERIFY(std::fabs(args.at(3).toFloat() - 0.5f) < 0.005f);

        // In the sky the depth is negative.
        move.clear();
        QTest::mouseMove(graph.windowHandle(), QPoint(qRound(200 + 0.2 * hs), qRound(180 - 0.1 * vs)));
        QTRY_VERIFY(move.count() >= 1);
        QVERIFY(std::fabs(move.last().at(2).toFloat() - 0.2f) < 0.005f);
        QVERIFY(std::fabs(move.last().at(3).toFloat() + 0.1f) < 0.005f);

        // Moving with the left button held reports button 1.
        move.clear();
        QTest::mousePress(graph.windowHandle(), Qt::LeftButton, {}, QPoint(100, 300));
        QTest::mouseMove(graph.windowHandle(), QPoint(120, 310));
        QTRY_VERIFY(move.count() >= 1);
        QCOMPARE(move.last().at(0).value<qint16>(), qint16(1));
        QTest::mouseRelease(graph.windowHandle(), Qt::LeftButton, {}, QPoint(120, 310));
    }

    void mouseMoveBeforeAnyDrawingReportsZero()
    {
        GraphEllipse graph;
        graph.show();
        QVERIFY(QTest::qWaitForWindowExposed(&graph));
        QSignalSpy move(&graph, &GraphEllipse::MouseMove);
        QTest::mouseMove(graph.windowHandle(), QPoint(30, 40));
        QTRY_VERIFY(move.count() >= 1);
        QCOMPARE(move.last().at(2).toFloat(), 0.0f);
        QCOMPARE(move.last().at(3).toFloat(), 0.0f);
    }

    void losingTheFocus()
    {
        QWidget window;
        auto *layout = new QVBoxLayout(&window);
        auto *graph = new GraphEllipse;
        auto *edit = new QLineEdit;
        layout->addWidget(graph);
        layout->addWidget(edit);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QSignalSpy lost(graph, &GraphEllipse::GraphLostFocus);
        QTest::mouseClick(graph->Picture1(), Qt::LeftButton, {}, QPoint(5, 5));
        QTRY_VERIFY(graph->Picture1()->hasFocus());
        QCOMPARE(lost.count(), 0);
        edit->setFocus(Qt::MouseFocusReason);
        QTRY_COMPARE(lost.count(), 1);
    }
};

QTEST_MAIN(TestGraphEllipse)
#include "tst_graphellipse.moc"
