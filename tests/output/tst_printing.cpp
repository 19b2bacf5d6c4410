#include "tests/output/ModalDriver.h"
#include "tests/simulation/AppFixture.h"

#include "graph/GraphEllipse.h"
#include "output/DataFileWriter.h"
#include "output/GraphPageLayout.h"
#include "output/PrintControl.h"
#include "output/basPrint.h"
#include "shell/ResourceImages.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QPageLayout>
#include <QPrintDialog>
#include <QPrinter>
#include <QProcess>
#include <QtTest>

// Printing the graphs of the open windows from the frame into PDF files, read
// back with poppler's command-line tools: page count, page texts, and the
// pixels where logo and graphs stand.
class TestPrinting : public QObject
{
    Q_OBJECT

    struct Pdf
    {
        QString file;
        QPageSize::PageSizeId paper = QPageSize::A4;
    };

    static QString run(const QString &program, const QStringList &args)
    {
        QProcess p;
        p.start(program, args);
        if (!p.waitForFinished(60000) || p.exitCode() != 0)
            return QStringLiteral("<%1 failed: %2>").arg(program, QString::fromLocal8Bit(p.readAllStandardError()));
        return QString::fromLocal8Bit(p.readAllStandardOutput());
    }

    static int pageCount(const QString &pdf)
    {
        const QString info = run("pdfinfo", {pdf});
        const QRegularExpressionMatch m = QRegularExpression("Pages:\\s+(\\d+)").match(info);
        return m.hasMatch() ? m.captured(1).toInt() : -1;
    }

    static QString pageText(const QString &pdf, int page)
    {
        return run("pdftotext", {"-f", QString::number(page), "-l", QString::number(page), "-layout",
                                 pdf, "-"});
    }

    // Page `page` rendered at 72 dots per inch: one pixel per point.
    static QImage pageImage(const QString &pdf, int page, const QString &folder)
    {
        const QString prefix = folder + QStringLiteral("/page%1").arg(page);
        run("pdftoppm", {"-r", "72", "-f", QString::number(page), "-l", QString::number(page),
                         "-png", "-singlefile", pdf, prefix});
        return QImage(prefix + ".png").convertToFormat(QImage::Format_RGB32);
    }

    // Mean difference per channel (0..255) between the page and a picture
    // standing at `place` (the picture is scaled to the place's size), over
    // the inside of the place (two pixels in from its edges, where rounding
    // of the place's bounds does not count).
    static double difference(const QImage &page, const QRectF &place, const QImage &picture)
    {
        const QRect where = place.toRect();
        const QImage scaled = picture.convertToFormat(QImage::Format_RGB32)
                                  .scaled(where.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        double sum = 0;
        int count = 0;
        for (int y = 2; y < where.height() - 2; ++y)
            for (int x = 2; x < where.width() - 2; ++x) {
                const QRgb a = page.pixel(where.left() + x, where.top() + y);
                const QRgb b = scaled.pixel(x, y);
                sum += qAbs(qRed(a) - qRed(b)) + qAbs(qGreen(a) - qGreen(b)) + qAbs(qBlue(a) - qBlue(b));
                ++count;
            }
        return count ? sum / (3.0 * count) : 255;
    }

    static double whiteFraction(const QImage &page, const QRect &region)
    {
        int white = 0;
        for (int y = region.top(); y <= region.bottom(); ++y)
            for (int x = region.left(); x <= region.right(); ++x)
                if (qGray(page.pixel(x, y)) >= 250)
                    ++white;
        return double(white) / (region.width() * region.height());
    }

    // The program with n windows, each with its own selection so that every
    // graph looks different.
    static void openWindows(AppFixture &app, int n)
    {
        QVERIFY(app.startWithWindows(n));
        const QList<frmMain *> windows = basPrint::OpenWindows();
        QCOMPARE(windows.size(), n);
        const char *water[] = {"chkDry", "chkWet", "chkMoist", "chkWet"};
        for (int i = 0; i < n; ++i) {
            frmMain *w = windows[i];
            w->findChild<QCheckBox *>(water[i])->setChecked(true);
            w->findChild<QCheckBox *>(i % 2 ? "chkBuried" : "chkSurface")->setChecked(true);
            w->findChild<QComboBox *>("cmbFlow")->setCurrentIndex(i);
            w->findChild<QComboBox *>("cmbTime")->setCurrentIndex(4 + 6 * i);
            QCOMPARE(w->UpdateGraph(), QString());
        }
    }

    static void printToPdf(AppFixture &app, const Pdf &pdf)
    {
        PrintControl::setPrinterSetup([pdf](QPrinter &printer, QWidget *) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdf.file);
            printer.setPageSize(QPageSize(pdf.paper));
            return true;
        });
        app.frame->menuItem("mnuPrint")->trigger();
        PrintControl::setPrinterSetup({});
    }

    static bool printedOnPage(const QString &text, const QDateTime &before, const QDateTime &after)
    {
        for (QDateTime t = before.addMSecs(-before.time().msec()); t <= after; t = t.addSecs(1))
            if (text.contains("Printed " + DataFileWriter::generalDate(t)))
                return true;
        return false;
    }

    // Checks every page of a document printed from the given windows.
    static void checkDocument(const QString &pdfFile, QPageSize::PageSizeId paper,
                              const QList<frmMain *> &windows, const QDateTime &before,
                              const QDateTime &after, bool withLogo, const QString &folder)
    {
        // Pages kept for a look when asked for.
        const QString keep = qEnvironmentVariable("ULVEX_PRINT_SAMPLES");
        if (!keep.isEmpty()) {
            QDir().mkpath(keep);
            const QString name = QStringLiteral("%1/%2-%3.pdf").arg(keep).arg(windows.size())
                                     .arg(paper == QPageSize::A4 ? "a4" : "letter");
            QFile::remove(name);
            QFile::copy(pdfFile, name);
        }
        const int pages = GraphPageLayout::pageCount(int(windows.size()));
        QCOMPARE(pageCount(pdfFile), pages);
        // Every graph reaches the page as a lossless picture (the logo, a
        // photograph, may stay a JPEG): one per window, none smudged.
        const QStringList images = run("pdfimages", {"-list", pdfFile}).split('\n', Qt::SkipEmptyParts).mid(2);
        int lossless = 0, jpeg = 0;
        for (const QString &line : images) {
            const QStringList cells = line.simplified().split(' ');
            QVERIFY2(cells.size() > 8, qPrintable(line));
            (cells.at(8) == "jpeg" ? jpeg : lossless) += 1;
            QVERIFY2(cells.at(8) == "jpeg" || cells.at(8) == "image", qPrintable(line));
        }
        QCOMPARE(lossless, int(windows.size()));
        QCOMPARE(jpeg, withLogo ? pages : 0);
        const QString info = run("pdfinfo", {pdfFile});
        QVERIFY2(info.contains("Title:") && info.contains("Ulvex Graphical Output"), qPrintable(info));
        const QSizeF paperPoints = QPageSize(paper).size(QPageSize::Point);
        QVERIFY2(info.contains(QString("Page size:")), qPrintable(info));

        // The printable area as the control lays it out (15 mm margins).
        QPageLayout pageLayout(QPageSize(paper), QPageLayout::Portrait, QMarginsF(15, 15, 15, 15),
                               QPageLayout::Millimeter);
        const QRectF paint = pageLayout.paintRectPoints();
        const GraphPageLayout layout(paint.size());
        const auto onPage = [&](const QRectF &r) {
            return r.translated(paint.topLeft()).toAlignedRect().adjusted(2, 2, -2, -2);
        };

        for (int page = 1; page <= pages; ++page) {
            const QString text = pageText(pdfFile, page);
            QVERIFY2(text.contains(QStringLiteral("Page Number %1").arg(page)), qPrintable(text));
            QVERIFY2(printedOnPage(text.simplified(), before, after) || printedOnPage(text, before, after),
                     qPrintable(text));
            QCOMPARE(text.count("Page Number"), 1);

            const QImage image = pageImage(pdfFile, page, folder);
            QCOMPARE(image.size(), paperPoints.toSize());
            // The logo stands at the top left when its file is there.
            const double logoWhite = whiteFraction(image, onPage(layout.logoRect()));
            if (withLogo)
                QVERIFY2(logoWhite < 0.9, qPrintable(QString::number(logoWhite)));
            else
                QCOMPARE(logoWhite, 1.0);

            for (int slot = 0; slot < 2; ++slot) {
                const int k = (page - 1) * 2 + slot;
                if (k >= windows.size()) {
                    const QRect column = onPage(layout.slotRect(slot));
                    // An empty column stays white.
                    QCOMPARE(whiteFraction(image, column), 1.0);
                    continue;
                }
                const QRectF place = layout.graphRect(slot, basPrint::GraphAspect(windows[k]->graph()))
                                         .translated(paint.topLeft());
                // The window's own graph stands here, more like it than any
                // other window's graph. Each is drawn by the graph control at
                // the region's size for the comparison.
                const auto drawn = [&](int window) {
                    const GraphEllipse *graph = windows[window]->graph();
                    QImage picture(place.toRect().size(), QImage::Format_RGB32);
                    picture.fill(Qt::white);
                    graph->DrawGraphOn(&picture, graph->Image().size());
                    return picture;
                };
                const double own = difference(image, place, drawn(k));
                QVERIFY2(own < 8, qPrintable(QString("page %1 slot %2: %3").arg(page).arg(slot).arg(own)));
                for (int other = 0; other < windows.size(); ++other)
                    if (other != k) {
                        const double d = difference(image, place, drawn(other));
                        QVERIFY2(own < d, qPrintable(QString("window %1 vs %2: %3 / %4")
                                                         .arg(k + 1).arg(other + 1).arg(own).arg(d)));
                    }
            }
            // Nothing reaches into the margins.
            const QRect inside = paint.toAlignedRect().adjusted(-1, -1, 1, 1);
            for (int y = 0; y < image.height(); y += 2)
                for (int x = 0; x < image.width(); x += 2)
                    if (!inside.contains(x, y) && qGray(image.pixel(x, y)) < 250)
                        QFAIL(qPrintable(QString("ink in the margin at %1,%2").arg(x).arg(y)));
        }
    }

    void printAndCheck(int windows, QPageSize::PageSizeId paper, bool withLogo)
    {
        AppFixture app;
        if (withLogo) {
            QDir(app.dir.path()).mkpath("Images");
            QVERIFY(QFile::copy(ULVEX_SOURCE_DIR "/assets/Images/UlvexLogo.jpg",
                                app.dir.path() + "/Images/UlvexLogo.jpg"));
        }
        openWindows(app, windows);
        if (QTest::currentTestFailed())
            return;
        const QString pdf = app.dir.path() + "/out.pdf";
        const QDateTime before = QDateTime::currentDateTime();
        printToPdf(app, {pdf, paper});
        const QDateTime after = QDateTime::currentDateTime();
        QVERIFY(QFileInfo::exists(pdf));
        checkDocument(pdf, paper, basPrint::OpenWindows(), before, after, withLogo, app.dir.path());
        QVERIFY(app.errors.isEmpty());
    }

private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void oneWindowOnePageA4() { printAndCheck(1, QPageSize::A4, true); }
    void threeWindowsTwoPagesA4() { printAndCheck(3, QPageSize::A4, true); }
    void fourWindowsTwoPagesA4() { printAndCheck(4, QPageSize::A4, true); }
    void fourWindowsTwoPagesLetter() { printAndCheck(4, QPageSize::Letter, true); }
    void threeWindowsLetterWithoutLogo() { printAndCheck(3, QPageSize::Letter, false); }

    void noWindowPrintsNothing()
    {
        AppFixture app;
        openWindows(app, 1);
        AppFixture::sub(app.window(1))->close();
        bool asked = false;
        PrintControl::setPrinterSetup([&](QPrinter &, QWidget *) { return asked = true; });
        PrintControl control;
        basPrint::PrintGraphs(control, app.frame.get());
        basPrint::PreviewGraphs(control, app.frame.get());
        PrintControl::setPrinterSetup({});
        QVERIFY(!asked);
        QCOMPARE(control.PageCount(), 0);
        QCOMPARE(control.ErrorCode(), 0);
    }

    void toolbarButtonPrintsToo()
    {
        AppFixture app;
        openWindows(app, 2);
        const QString pdf = app.dir.path() + "/button.pdf";
        PrintControl::setPrinterSetup([pdf](QPrinter &printer, QWidget *) {
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(pdf);
            return true;
        });
        app.frame->button("print")->trigger();
        PrintControl::setPrinterSetup({});
        QCOMPARE(pageCount(pdf), 1);
    }

    void theRealPrintDialogPrintsToTheChosenFile()
    {
        AppFixture app;
        openWindows(app, 3);
        auto *control = app.frame->findChild<PrintControl *>("PrintPRO1");
        QVERIFY(control);
        const QString pdf = app.dir.path() + "/dialog.pdf";
        control->printer().setOutputFormat(QPrinter::PdfFormat);
        control->printer().setOutputFileName(pdf);
        bool missed = false;
        bool seen = false;
        whenShown<QPrintDialog>([&](QPrintDialog *dialog) {
            seen = true;
            QVERIFY(!dialog->testOption(QAbstractPrintDialog::PrintPageRange));
            const QString keep = qEnvironmentVariable("ULVEX_PRINT_SAMPLES");
            if (!keep.isEmpty() && QDir().mkpath(keep))
                dialog->grab().save(keep + "/print-dialog.png");
            dialog->accept();
        }, &missed);
        app.frame->menuItem("mnuPrint")->trigger();
        QVERIFY(!missed);
        QVERIFY(seen);
        QCOMPARE(control->Status(), 0);
        QCOMPARE(pageCount(pdf), 2);
        QVERIFY(pageText(pdf, 2).contains("Page Number 2"));
    }

    void cancellingThePrintDialogPrintsNothing()
    {
        AppFixture app;
        openWindows(app, 2);
        auto *control = app.frame->findChild<PrintControl *>("PrintPRO1");
        QVERIFY(control);
        const QString pdf = app.dir.path() + "/cancelled.pdf";
        control->printer().setOutputFormat(QPrinter::PdfFormat);
        control->printer().setOutputFileName(pdf);
        bool missed = false;
        whenShown<QPrintDialog>([&](QPrintDialog *dialog) { dialog->reject(); }, &missed);
        app.frame->menuItem("mnuPrint")->trigger();
        QVERIFY(!missed);
        QCOMPARE(control->Status(), PrintControl::StatusCancelled);
        QVERIFY(!QFileInfo::exists(pdf));
        QVERIFY(app.errors.isEmpty());
    }
};

QTEST_MAIN(TestPrinting)
#include "tst_printing.moc"
