#include "tests/output/ModalDriver.h"
#include "tests/simulation/AppFixture.h"

#include "graph/GraphEllipse.h"
#include "output/PrintControl.h"
#include "output/basPrint.h"
#include "output/frmPrintPreview.h"
#include "shell/ResourceImages.h"

#include <QAction>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPrinter>
#include <QPushButton>
#include <QtTest>

// The print preview window: its controls, leafing through one and two pages,
// printing from it, and the message of a document that could not be composed.
class TestPreview : public QObject
{
    Q_OBJECT

    static void openWindows(AppFixture &app, int n)
    {
        QVERIFY(app.startWithWindows(n));
        QCOMPARE(basGlobals::colSimWindows().Count(), n);
    }

    // True when the label shows a page: white paper with some ink on it.
    static bool showsPage(const QLabel *label)
    {
        const QPixmap pixmap = label->pixmap();
        if (pixmap.isNull())
            return false;
        const QImage image = pixmap.toImage();
        int white = 0, ink = 0;
        for (int y = 0; y < image.height(); y += 3)
            for (int x = 0; x < image.width(); x += 3) {
                const int g = qGray(image.pixel(x, y));
                (g >= 250 ? white : ink) += 1;
            }
        return white > ink && ink > 0;
    }

private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void printControlAlone()
    {
        PrintControl control;
        QCOMPARE(control.DocName(), QString("PrintPRO Document"));
        // Nothing can be drawn outside a document.
        QVERIFY(!control.NewPage());
        QCOMPARE(control.ErrorCode(), int(PrintControl::ErrNoDocument));
        control.setPrintPreview(true);
        control.setPreviewResolution(36);
        QVERIFY(control.StartDoc());
        QCOMPARE(control.ErrorCode(), 0);
        QVERIFY(control.painter() && control.painter()->isActive());
        control.painter()->fillRect(QRectF(0, 0, 72, 72), Qt::black); // one inch
        QVERIFY(control.NewPage());
        QVERIFY(control.NewPage());
        QVERIFY(control.EndDoc());
        QVERIFY(!control.painter());
        QCOMPARE(control.PageCount(), 3);
        QVERIFY(control.PagePicture(0).isNull());
        QVERIFY(control.PagePicture(4).isNull());
        // The inch square stands at the printable area's corner of page 1 only.
        const QImage first = control.PagePicture(1);
        const QRectF paint = control.printer().pageLayout().paintRectPoints();
        const QPoint corner(qRound(paint.left() / 2) + 2, qRound(paint.top() / 2) + 2);
        QCOMPARE(first.pixel(corner), qRgb(0, 0, 0));
        QCOMPARE(first.pixel(corner + QPoint(36 - 4, 36 - 4)), qRgb(0, 0, 0));
        QCOMPARE(first.pixel(corner + QPoint(36 + 2, 0)), qRgb(255, 255, 255));
        QCOMPARE(first.pixel(corner - QPoint(4, 4)), qRgb(255, 255, 255));
        QCOMPARE(control.PagePicture(2).pixel(corner), qRgb(255, 255, 255));
        // A new document starts from nothing.
        QVERIFY(control.StartDoc());
        QVERIFY(control.EndDoc());
        QCOMPARE(control.PageCount(), 1);
    }

    void controlsAsDesigned()
    {
        AppFixture app;
        openWindows(app, 2);
        frmPrintPreview preview(app.frame.get());
        QCOMPARE(preview.windowTitle(), QString("Print Preview"));
        QCOMPARE(preview.printButton()->text(), QString("Print"));
        QCOMPARE(preview.nextButton()->text(), QString("Next"));
        QCOMPARE(preview.previousButton()->text(), QString("Previous"));
        QCOMPARE(preview.returnButton()->text(), QString("Return"));
        QCOMPARE(preview.nextButton()->toolTip(), QString("Click to see next page"));
        QCOMPARE(preview.previousButton()->toolTip(), QString("Click to see previous page"));
        QCOMPARE(preview.returnButton()->toolTip(), QString("Click OK to return to Ulvex"));
        QCOMPARE(preview.printButton()->objectName(), QString("cmdPrint"));
        QCOMPARE(preview.nextButton()->objectName(), QString("cmdNext"));
        QCOMPARE(preview.previousButton()->objectName(), QString("cmdPrev"));
        QCOMPARE(preview.returnButton()->objectName(), QString("cmdOK"));
        QCOMPARE(preview.pagePicture()->objectName(), QString("imgPrintPreview"));
        QCOMPARE(preview.printControl().objectName(), QString("myPrintpp"));
        QCOMPARE(preview.printControl().DocName(), QString("Ulvex Graphical Output"));
        QVERIFY(preview.printControl().PrintPreview());
        QVERIFY(!preview.printButton()->icon().isNull());
    }

    void onePageDisablesBothDirections()
    {
        AppFixture app;
        openWindows(app, 1);
        frmPrintPreview preview(app.frame.get());
        preview.show();
        QCOMPARE(preview.printControl().PageCount(), 1);
        QCOMPARE(preview.pageNumber(), qint16(1));
        QVERIFY(!preview.previousButton()->isEnabled());
        QVERIFY(!preview.nextButton()->isEnabled());
        QVERIFY(preview.printButton()->isEnabled());
        QVERIFY(showsPage(preview.pagePicture()));
    }

    void twoPagesLeafForwardAndBack()
    {
        AppFixture app;
        openWindows(app, 3);
        frmPrintPreview preview(app.frame.get());
        preview.show();
        QCOMPARE(preview.printControl().PageCount(), 2);
        QCOMPARE(preview.pageNumber(), qint16(1));
        QVERIFY(!preview.previousButton()->isEnabled());
        QVERIFY(preview.nextButton()->isEnabled());
        const QImage first = preview.pagePicture()->pixmap().toImage();
        QVERIFY(showsPage(preview.pagePicture()));
        // A picture of the window for a look when asked for.
        const QString keep = qEnvironmentVariable("ULVEX_PRINT_SAMPLES");
        if (!keep.isEmpty() && QDir().mkpath(keep))
            preview.grab().save(keep + "/preview.png");

        QTest::mouseClick(preview.nextButton(), Qt::LeftButton);
        QCOMPARE(preview.pageNumber(), qint16(2));
        QVERIFY(preview.previousButton()->isEnabled());
        QVERIFY(!preview.nextButton()->isEnabled());
        QVERIFY(showsPage(preview.pagePicture()));
        QVERIFY(preview.pagePicture()->pixmap().toImage() != first);
        // The page picture is the control's second page, scaled to the window.
        const QImage second = preview.printControl().PagePicture(2);
        QVERIFY(!second.isNull());
        QVERIFY(second != preview.printControl().PagePicture(1));

        QTest::mouseClick(preview.previousButton(), Qt::LeftButton);
        QCOMPARE(preview.pageNumber(), qint16(1));
        QVERIFY(!preview.previousButton()->isEnabled());
        QVERIFY(preview.nextButton()->isEnabled());
        QCOMPARE(preview.pagePicture()->pixmap().toImage(), first);
    }

    void previewPagesMatchPrintedPages()
    {
        AppFixture app;
        openWindows(app, 4);
        frmPrintPreview preview(app.frame.get());
        const QImage page = preview.printControl().PagePicture(1);
        // The whole A4 or Letter sheet at the preview's resolution.
        const QSizeF sheet = preview.printControl().printer().pageLayout().fullRectPoints().size();
        const double scale = preview.printControl().previewResolution() / 72.0;
        QCOMPARE(page.size(), QSize(qRound(sheet.width() * scale), qRound(sheet.height() * scale)));
        QCOMPARE(preview.printControl().PageCount(), 2);
        QVERIFY(preview.printControl().PagePicture(3).isNull());
    }

    void printButtonPrintsTheDocument()
    {
        AppFixture app;
        openWindows(app, 3);
        frmPrintPreview preview(app.frame.get());
        const QString pdf = app.dir.path() + "/preview.pdf";
        PrintControl::setPrinterSetup([pdf](QPrinter &printer, QWidget *) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdf);
            return true;
        });
        QTest::mouseClick(preview.printButton(), Qt::LeftButton);
        PrintControl::setPrinterSetup({});
        QVERIFY(QFileInfo(pdf).size() > 1000);
        QVERIFY(!preview.printControl().PrintPreview());
        // The pages shown stay.
        QCOMPARE(preview.printControl().PageCount(), 2);
    }

    void menuOpensThePreviewModallyAndReturnCloses()
    {
        AppFixture app;
        openWindows(app, 2);
        bool missed = false;
        int pages = -1;
        whenShown<frmPrintPreview>([&](frmPrintPreview *preview) {
            pages = preview->printControl().PageCount();
            QVERIFY(preview->isModal());
            QTest::mouseClick(preview->returnButton(), Qt::LeftButton);
        }, &missed);
        app.frame->button("printpreview")->trigger();
        QVERIFY(!missed);
        QCOMPARE(pages, 1);
        // The preview is gone once it returns.
        QVERIFY(app.frame->findChildren<frmPrintPreview *>().isEmpty());
    }

    void aFailedCompositionShowsThePrintProError()
    {
        AppFixture app;
        openWindows(app, 2);
        PrintControl control;
        // Page pictures this fine cannot be made: the first page fails.
        control.setPreviewResolution(1000000);
        bool missed = false;
        QString title, text;
        QMessageBox::StandardButtons buttons;
        whenShown<QMessageBox>([&](QMessageBox *box) {
            title = box->windowTitle();
            text = box->text();
            buttons = box->standardButtons();
            box->button(QMessageBox::Ok)->click();
        }, &missed);
        basPrint::PreviewGraphs(control, app.frame.get());
        QVERIFY(!missed);
        QCOMPARE(title, QString("PrintPRO"));
        QCOMPARE(text, QString("PrintPRO error: %1").arg(int(PrintControl::ErrStartDoc)));
        QCOMPARE(buttons, QMessageBox::Ok | QMessageBox::Cancel);
        QCOMPARE(control.PageCount(), 0);

        // A good composition afterwards shows no message.
        control.setPreviewResolution(72);
        basPrint::PreviewGraphs(control, app.frame.get());
        QCOMPARE(control.ErrorCode(), 0);
        QCOMPARE(control.PageCount(), 1);
    }
};

QTEST_MAIN(TestPreview)
#include "tst_preview.moc"
