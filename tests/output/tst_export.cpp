#include "tests/simulation/AppFixture.h"
#include "tests/output/ModalDriver.h"

#include "graph/GraphEllipse.h"
#include "output/DataFileWriter.h"
#include "output/basPrint.h"
#include "settings/basIndProfile.h"
#include "shell/ResourceImages.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTimer>
#include <QtTest>

// The data export run from the frame's menu on the real program and a test
// database, compared byte for byte with files written by hand.
class TestExport : public QObject
{
    Q_OBJECT

    // Starts the program on a database of three hours, so every block has
    // three rows, with the graph settings' emitter depth at 0.4 m.
    static void startSmall(AppFixture &app, TestDatabase::Options options = {})
    {
        options.hours = 3;
        TestDatabase::create(app.dir.path(), options);
        QDir(app.dir.path()).mkpath("data");
        GraphSettings settings;
        settings.EmitterDepth = 0.4f;
        basIndProfile::SaveGraphSettings(settings);
        app.start();
        QVERIFY(app.frame);
    }

    static QString dataFolder(const AppFixture &app) { return app.dir.path() + "/data"; }

    // Values as a computation leaves them, with more digits than a double
    // holds for sure, in rows the two windows of chooseTwoSelections export:
    // window 1 (buried, soil 1, flow 2) at 2 hours, window 2 (surface, soil 2,
    // flow 3) at 3 hours.
    static void storeComputedValues(const AppFixture &app)
    {
        const QString name = QStringLiteral("computed-values");
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", name);
            db.setDatabaseName(app.dir.filePath("trickle.db"));
            QVERIFY(db.open());
            QSqlQuery q(db);
            QVERIFY(q.prepare("Update BuriedData Set r = ?, zplus = ?, zminus = ? "
                              "Where SoilType = 1 and FlowRate = 2 and Time = 2"));
            q.addBindValue(0.14369305032500043);
            q.addBindValue(0.1 + 0.2);
            q.addBindValue(0.00001234);
            QVERIFY2(q.exec() && q.numRowsAffected() == 1, qPrintable(q.lastError().text()));
            QVERIFY(q.prepare("Update SurfaceData Set z = ?, r = ? "
                              "Where SoilType = 2 and FlowRate = 3 and Time = 3"));
            q.addBindValue(2.0 / 3.0);
            q.addBindValue(100.0);
            QVERIFY2(q.exec() && q.numRowsAffected() == 1, qPrintable(q.lastError().text()));
            db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }

    template <typename T> static T *control(frmMain *w, const char *name)
    {
        T *c = w->findChild<T *>(QString::fromLatin1(name));
        if (!c)
            qFatal("no control %s", name);
        return c;
    }

    // Window 1: soil 1, the second flow rate, wet, buried (0.4 m from the
    // settings). Window 2: soil 2 (as the soil chooser leaves it), the third
    // flow rate, moist, on the surface.
    static void chooseTwoSelections(AppFixture &app)
    {
        frmMain *one = app.window(1);
        control<QCheckBox>(one, "chkWet")->setChecked(true);
        control<QCheckBox>(one, "chkBuried")->setChecked(true);
        control<QComboBox>(one, "cmbFlow")->setCurrentIndex(1);
        QCOMPARE(one->UpdateGraph(), QString());

        frmMain *two = app.window(2);
        control<QLabel>(two, "lblSoilDes")->setText(TestDatabase::soilName(2));
        control<QLabel>(two, "lblSoilDes")->setProperty("Tag", "2");
        control<QCheckBox>(two, "chkMoist")->setChecked(true);
        control<QCheckBox>(two, "chkSurface")->setChecked(true);
        control<QComboBox>(two, "cmbFlow")->setCurrentIndex(2);
        QCOMPARE(two->UpdateGraph(), QString());
        QCOMPARE(one->graph()->EmitterDepth(), 0.4f);
    }

    // Checks that the first line carries the time of the run (between before
    // and after) and returns the bytes with that date replaced by "@DATE@".
    static QByteArray withoutDate(const QByteArray &bytes, const QDateTime &before,
                                  const QDateTime &after)
    {
        const int end = int(bytes.indexOf("\r\n"));
        const QByteArray first = bytes.left(end);
        const QByteArray prefix = "Ulvex Simulation Data         Generated: ";
        if (!first.startsWith(prefix))
            return QByteArray("<bad first line> ") + first;
        const QByteArray date = first.mid(prefix.size());
        bool matched = false;
        for (QDateTime t = before.addMSecs(-before.time().msec()); t <= after; t = t.addSecs(1))
            matched = matched || DataFileWriter::generalDate(t).toLocal8Bit() == date;
        if (!matched)
            return QByteArray("<date not of this run> ") + date;
        return prefix + "@DATE@" + bytes.mid(end);
    }

    static QByteArray readFile(const QString &file)
    {
        QFile f(file);
        if (!f.open(QIODevice::ReadOnly))
            return QByteArray("<no file>");
        return f.readAll();
    }

    // Runs the menu's export into `file` (chosen in place of the dialog) and
    // returns what was written, with the date of the first line checked and
    // replaced by "@DATE@".
    static QByteArray exportTo(AppFixture &app, const QString &file)
    {
        basPrint::setSaveFileChooser([file](QWidget *) { return file; });
        const QDateTime before = QDateTime::currentDateTime();
        app.frame->menuItem("mnuPrintData")->trigger();
        const QDateTime after = QDateTime::currentDateTime();
        basPrint::setSaveFileChooser({});
        return withoutDate(readFile(file), before, after);
    }

    static QByteArray expectedFile(const char *name)
    {
        QFile f(QStringLiteral(ULVEX_OUTPUT_TEST_DIR "/") + QString::fromLatin1(name));
        if (!f.open(QIODevice::ReadOnly))
            qFatal("expected file %s missing", name);
        return f.readAll();
    }

    static QByteArray header()
    {
        return "Ulvex Simulation Data         Generated: @DATE@\r\n"
               "Zplus is below emitter\r\nZminus is above emitter\r\n\r\n\r\n";
    }

private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void twoWindowsBuriedAndSurfaceByteForByte()
    {
        AppFixture app;
        startSmall(app);
        storeComputedValues(app);
        chooseTwoSelections(app);
        const QString file = dataFolder(app) + "/two.dat";
        QCOMPARE(exportTo(app, file), expectedFile("two_windows.dat"));
        QVERIFY(app.errors.isEmpty());
        // The windows go on as they were.
        QCOMPARE(basGlobals::colSimWindows().Count(), 2);
        QCOMPARE(app.window(1)->UpdateGraph(), QString());
    }

    void noWindowGivesLinesOneToFourOnly()
    {
        AppFixture app;
        startSmall(app);
        AppFixture::sub(app.window(1))->close();
        AppFixture::sub(app.window(2))->close();
        QCOMPARE(basGlobals::colSimWindows().Count(), 0);
        // The menu item is disabled then; the routine itself still writes the header.
        QVERIFY(!app.frame->menuItem("mnuPrintData")->isEnabled());
        const QString file = dataFolder(app) + "/none.dat";
        basPrint::setSaveFileChooser([file](QWidget *) { return file; });
        basPrint::PrintDataToFile(app.frame.get());
        basPrint::setSaveFileChooser({});
        QFile f(file);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = f.readAll().split('\n');
        QCOMPARE(lines.size(), 6); // five lines and nothing after the last CR LF
        QVERIFY(lines[0].startsWith("Ulvex Simulation Data         Generated: "));
        QCOMPARE(lines.mid(1), QList<QByteArray>({"Zplus is below emitter\r", "Zminus is above emitter\r",
                                                   "\r", "\r", ""}));
    }

    void windowWithoutRowsKeepsItsHeaderAndClosingLines()
    {
        AppFixture app;
        startSmall(app);
        AppFixture::sub(app.window(2))->close();
        // Soil 7 is not in the database: the query returns no rows.
        control<QLabel>(app.window(1), "lblSoilDes")->setProperty("Tag", "7");
        const QString file = dataFolder(app) + "/empty.dat";
        QCOMPARE(exportTo(app, file), header() + "Ulvex Simulation 1\r\n"
                                                 "SoilType: Sand\r\n"
                                                 "FlowRate: 0.5L/Hr\r\n"
                                                 "Initial water content: Dry\r\n"
                                                 "Emitter:Surface \r\n"
                                                 "\r\n"
                                                 "TimeStep,Zplus,Radius\r\n"
                                                 "\r\n"
                                                 "\r\n");
        QVERIFY(app.errors.isEmpty());
    }

    void fourColumnTableWritesOneValueARow()
    {
        AppFixture app;
        TestDatabase::Options options;
        options.omitColumns.insert("SurfaceData", {"z", "r"}); // ID, SoilType, FlowRate, Time
        startSmall(app, options);
        AppFixture::sub(app.window(2))->close();
        const QString file = dataFolder(app) + "/four.dat";
        QCOMPARE(exportTo(app, file), header() + "Ulvex Simulation 1\r\n"
                                                 "SoilType: Sand\r\n"
                                                 "FlowRate: 0.5L/Hr\r\n"
                                                 "Initial water content: Dry\r\n"
                                                 "Emitter:Surface \r\n"
                                                 "\r\n"
                                                 "TimeStep,Zplus,Radius\r\n"
                                                 "1\r\n2\r\n3\r\n"
                                                 "\r\n"
                                                 "\r\n");
    }

    void anExistingFileIsReplacedWhole()
    {
        AppFixture app;
        startSmall(app);
        const QString file = dataFolder(app) + "/old.dat";
        {
            QFile f(file);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(QByteArray(20000, '#'));
        }
        const QByteArray written = exportTo(app, file);
        QVERIFY(written.startsWith(header()));
        QVERIFY(!written.contains('#'));
        QVERIFY(QFileInfo(file).size() < 20000);
    }

    void cancelledChoiceWritesAndShowsNothing()
    {
        AppFixture app;
        startSmall(app);
        basPrint::setSaveFileChooser([](QWidget *) { return QString(); });
        app.frame->menuItem("mnuPrintData")->trigger();
        basPrint::setSaveFileChooser({});
        QVERIFY(QDir(dataFolder(app)).entryList(QDir::Files).isEmpty());
        QVERIFY(app.errors.isEmpty());
    }

    void theRealSaveDialogCancelled()
    {
        AppFixture app;
        startSmall(app);
        bool seen = false;
        whenShown<QFileDialog>([&](QFileDialog *dialog) {
            seen = true;
            QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
            QCOMPARE(dialog->nameFilters(), QStringList({"Simulation Data (*.dat)"}));
            QCOMPARE(QDir(dialog->directory()).canonicalPath(), QDir(dataFolder(app)).canonicalPath());
            QVERIFY(!dialog->testOption(QFileDialog::DontConfirmOverwrite));
            dialog->reject();
        });
        app.frame->menuItem("mnuPrintData")->trigger();
        QVERIFY(seen);
        QVERIFY(QDir(dataFolder(app)).entryList(QDir::Files).isEmpty());
        QVERIFY(app.errors.isEmpty());
    }

    void theRealSaveDialogAsksBeforeReplacing()
    {
        AppFixture app;
        startSmall(app);
        storeComputedValues(app);
        chooseTwoSelections(app);
        const QString file = dataFolder(app) + "/chosen.dat";
        {
            QFile f(file);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("an older export\r\n");
        }
        bool asked = false;
        bool chosen = false;
        bool missed = false;
        whenShown<QFileDialog>([&](QFileDialog *dialog) {
            // The replace question comes while the dialog is accepting.
            whenShown<QMessageBox>([&](QMessageBox *box) {
                asked = box->text().contains("chosen.dat");
                box->button(QMessageBox::Yes)->click();
            }, &missed);
            // Typed as a user would, into the dialog's name field.
            auto *name = dialog->findChild<QLineEdit *>("fileNameEdit");
            QVERIFY(name);
            name->setText("chosen.dat");
            chosen = dialog->selectedFiles() == QStringList({file});
            QMetaObject::invokeMethod(dialog, "accept");
        }, &missed);
        const QDateTime before = QDateTime::currentDateTime();
        app.frame->menuItem("mnuPrintData")->trigger();
        const QDateTime after = QDateTime::currentDateTime();
        QVERIFY(!missed);
        QVERIFY(chosen);
        QVERIFY(asked);
        QCOMPARE(withoutDate(readFile(file), before, after), expectedFile("two_windows.dat"));
        QVERIFY(app.errors.isEmpty());
    }

    void aFileThatCannotBeWrittenIsReported()
    {
        AppFixture app;
        startSmall(app);
        // A folder in place of the file: it cannot be opened for writing, not
        // even by root.
        const QString file = dataFolder(app) + "/taken.dat";
        QVERIFY(QDir().mkpath(file));
        basPrint::setSaveFileChooser([file](QWidget *) { return file; });
        app.frame->menuItem("mnuPrintData")->trigger();
        basPrint::setSaveFileChooser({});
        QCOMPARE(app.errors.size(), 1);
        QVERIFY(app.errors.first().startsWith("Error 75\n"));
        QVERIFY(app.errors.first().contains("taken.dat"));
        // Nothing else is lost: the windows stay and the next export works.
        QCOMPARE(basGlobals::colSimWindows().Count(), 2);
        const QByteArray written = exportTo(app, dataFolder(app) + "/next.dat");
        QVERIFY(written.startsWith(header() + "Ulvex Simulation 1\r\n"));
        QVERIFY(written.contains("Ulvex Simulation 2\r\n"));
        QCOMPARE(app.errors.size(), 1);
    }

    void aDatabaseFailureIsReportedAndTheFileKeepsWhatWasWritten()
    {
        AppFixture app;
        TestDatabase::Options options;
        options.omitTables << "SurfaceData"; // the export table of surface windows
        startSmall(app, options);
        const QString file = dataFolder(app) + "/broken.dat";
        const QByteArray written = exportTo(app, file);
        QCOMPARE(app.errors.size(), 1);
        QVERIFY(app.errors.first().contains("SurfaceData"));
        // The first window's header lines are there; the export stopped at its rows.
        QCOMPARE(written, header() + "Ulvex Simulation 1\r\n"
                                     "SoilType: Sand\r\n"
                                     "FlowRate: 0.5L/Hr\r\n"
                                     "Initial water content: Dry\r\n"
                                     "Emitter:Surface \r\n"
                                     "\r\n"
                                     "TimeStep,Zplus,Radius\r\n");
        QCOMPARE(basGlobals::colSimWindows().Count(), 2);
    }
};

QTEST_MAIN(TestExport)
#include "tst_export.moc"
