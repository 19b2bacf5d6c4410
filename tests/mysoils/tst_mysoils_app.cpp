// My Soils in the running program: the user's database read instead of the
// shipped one (soils listed after the shipped ones, drawn, exported), a user
// database that cannot be read (the shipped one read instead, the file named),
// the "My Soils" list and the removal of the last soil, the offer to compute
// the soils again on a newer shipped database, and databases with other
// sweeps (8 flow rates, 48 and 72 hours).
#include "tests/simulation/AppFixture.h"

#include "base/UserFolders.h"
#include "graph/GraphEllipse.h"
#include "mysoils/frmMySoils.h"
#include "shell/ResourceImages.h"
#include "tests/common/TestFiles.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLockFile>
#include <QLabel>
#include <QMdiArea>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

#include <functional>

namespace {

void onNextModal(std::function<void(QWidget *)> act, int delay = 50)
{
    QTimer::singleShot(delay, [act] {
        if (QWidget *w = QApplication::activeModalWidget())
            act(w);
    });
}

// A user database: the test database with one soil more than the shipped one
// (5), soil 6 being the user's, added after a shipped database of `origin`.
QString makeUserDatabase(const QString &origin = "2026-11-01T00:00:00Z")
{
    const QString folder = UserFolders::dataFolder();
    QDir().mkpath(folder);
    TestDatabase::Options six;
    six.soils = 6;
    const QString path = TestDatabase::create(folder, six);
    TestDatabase::addBuildInfo(path, {{"build_date", "2026-11-20T10:00:00Z"},
                                      {"origin_build_date", origin},
                                      {"added_soil_6", "2026-11-20T10:00:00Z"}});
    return path;
}

void markShipped(const QString &programFolder, const QString &buildDate)
{
    TestDatabase::addBuildInfo(programFolder + "/trickle.db", {{"build_date", buildDate}});
}

QStringList chooserRows(frmMDIMain *frame, frmMain *w, int choose = -1)
{
    QStringList rows;
    onNextModal([&rows, choose](QWidget *dialog) {
        auto *list = dialog->findChild<QTreeWidget *>("lvSoil");
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            rows << list->topLevelItem(i)->text(0);
        if (choose >= 0)
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                              list->visualItemRect(list->topLevelItem(choose)).center());
        else
            QTest::keyClick(dialog, Qt::Key_Escape);
    });
    frame->mdiArea()->setActiveSubWindow(AppFixture::sub(w));
    frame->button("soiltype")->trigger();
    return rows;
}

} // namespace

class TestMySoilsApp : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void addedSoilIsListedAfterTheShippedOnesAndDrawn()
    {
        AppFixture app;
        markShipped(app.dir.path(), "2026-11-01T00:00:00Z");
        makeUserDatabase();
        app.start();
        QVERIFY(app.errors.isEmpty());
        frmMain *w = app.window(1);
        const QStringList rows = chooserRows(app.frame.get(), w, 5);
        QCOMPARE(rows.size(), 6);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(rows.at(i), TestDatabase::soilName(i + 1));
        QCOMPARE(rows.at(5), TestDatabase::soilName(6));
        auto *label = w->findChild<QLabel *>("lblSoilDes");
        QCOMPARE(label->text(), TestDatabase::soilName(6));
        QCOMPARE(label->property("Tag").toString(), QString("6"));
        w->UpdateGraph();
        QCOMPARE(w->graph()->SoilType(), TestDatabase::soilName(6));
        QCOMPARE(w->graph()->front(0).Radius1(), float(TestDatabase::frontValue("SurfaceData-c", "r", 6, 1, 1)));
        // The export reads it like any soil.
        const auto rows6 = w->exportRows();
        QVERIFY(!rows6.isEmpty() && !rows6.first().isEmpty());
        QCOMPARE(rows6.at(1).at(0).toInt(), 6); // [column][row]: ID, SoilType, ...
    }

    void unreadableUserDatabaseFallsBackToTheShippedOne()
    {
        AppFixture app;
        QDir().mkpath(UserFolders::dataFolder());
        const QString user = TestDatabase::createNotADatabase(UserFolders::dataFolder());
        const QByteArray before = readAll(user);
        app.start();
        QVERIFY(app.frame);
        QCOMPARE(app.errors.size(), 1);
        QVERIFY2(app.errors.first().contains(user), qPrintable(app.errors.first()));
        QVERIFY2(app.errors.first().contains(app.dir.filePath("trickle.db")), qPrintable(app.errors.first()));
        // The program goes on with the shipped soils.
        QCOMPARE(chooserRows(app.frame.get(), app.window(1)).size(), 5);
        QVERIFY(app.window(1)->graph()->EllipseCount() >= 1);
        QCOMPARE(readAll(user), before);
    }

    void mySoilsListsTheUsersSoilsAndRemovesTheLast()
    {
        AppFixture app;
        const QString user = makeUserDatabase();
        app.start();
        QVERIFY(app.frame->menuItem("mnuMySoils"));
        QCOMPARE(app.frame->menuItem("mnuMySoils")->text(), QString("My Soils..."));
        // The window that shows the user's soil.
        chooserRows(app.frame.get(), app.window(2), 5);
        app.frame->menuItem("mnuMySoils")->trigger();
        // My Soils does not hold the frame up.
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        frmMySoils *d = app.frame->findChild<frmMySoils *>();
        QVERIFY(d && d->isVisible());
        QCOMPARE(d->windowTitle(), QString("My Soils"));
        auto *list = d->findChild<QTreeWidget *>("lvMySoils");
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(0), TestDatabase::soilName(6));
        QCOMPARE(list->headerItem()->text(3), QString("Added"));
        QVERIFY(d->findChild<QLabel *>("lblWhere")->text().contains(user));
        QStringList captions;
        for (const char *name : {"cmdAdd", "cmdRemove", "cmdClose"})
            captions << d->findChild<QPushButton *>(name)->text();
        QCOMPARE(captions, QStringList({"Add...", "Remove", "Close"}));
        const QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR", QDir::temp().filePath("ulvex-screenshots"));
        QDir().mkpath(folder);
        QVERIFY(d->grab().save(QDir(folder).filePath("mysoils-list.png")));
        // Remove, confirmed: the last soil takes the user's database with it.
        QString question;
        onNextModal([&question](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            QVERIFY(box);
            question = box->text();
            box->button(QMessageBox::Yes)->click();
        });
        QTest::mouseClick(d->findChild<QPushButton *>("cmdRemove"), Qt::LeftButton);
        QVERIFY2(question.contains(TestDatabase::soilName(6)), qPrintable(question));
        QVERIFY2(question.contains("Ulvex Simulation 2 shows it"), qPrintable(question));
        QCOMPARE(list->topLevelItemCount(), 0);
        QVERIFY(!d->findChild<QPushButton *>("cmdRemove")->isEnabled());
        QTest::mouseClick(d->findChild<QPushButton *>("cmdClose"), Qt::LeftButton);
        QVERIFY(!d->isVisible());
        QVERIFY(!QFile::exists(user));
        // The window that showed it says so at once; the other is untouched.
        auto *label = app.window(2)->findChild<QLabel *>("lblSoilDes");
        QCOMPARE(label->text(), "Removed: " + TestDatabase::soilName(6));
        QCOMPARE(app.window(2)->graph()->EllipseCount(), qint16(0));
        QCOMPARE(app.window(1)->findChild<QLabel *>("lblSoilDes")->text(), TestDatabase::soilName(1));
        QCOMPARE(chooserRows(app.frame.get(), app.window(1)).size(), 5);
    }

    void leftoversOfAStoppedBuilderAreRemovedAndNothingElse()
    {
        AppFixture app;
        const QString user = makeUserDatabase();
        const QDir folder(UserFolders::dataFolder());
        const QStringList leftovers = {".trickle.db.a1B2c3.part", ".trickle.db.a1B2c3.part-journal"};
        const QStringList others = {".other.db.a1B2c3.part", "trickle.db.a1B2c3.part", "notes.txt",
                                    ".trickle.db.a1B2c3.part.keep"};
        for (const QString &name : leftovers + others)
            QVERIFY(writeAll(folder.filePath(name), "x"));
        // A catalogue written a moment ago may belong to a builder about to
        // start; one from yesterday is left over.
        QVERIFY(writeAll(folder.filePath("added-soils-Ab12Cd.csv"), "x"));
        QVERIFY(writeAll(folder.filePath("added-soils-Xy34Zw.csv"), "x"));
        {
            QFile old(folder.filePath("added-soils-Xy34Zw.csv"));
            QVERIFY(old.open(QIODevice::ReadWrite));
            QVERIFY(old.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
        }
        // While a builder holds the lock nothing is touched.
        {
            QLockFile held(user + ".lock");
            QVERIFY(held.tryLock(0));
            app.start();
            QVERIFY(QFile::exists(folder.filePath(leftovers.first())));
            app.frame.reset();
            basGlobals::colSimWindows().clear();
        }
        app.start();
        QStringList expected = others + QStringList{"added-soils-Ab12Cd.csv", "trickle.db"};
        expected.sort();
        QStringList present = folder.entryList(QDir::Files | QDir::Hidden);
        present.sort();
        QCOMPARE(present, expected);
    }

    void newerShippedDatabaseIsToldOnce()
    {
        AppFixture app;
        markShipped(app.dir.path(), "2026-12-01T00:00:00Z");
        makeUserDatabase("2026-11-01T00:00:00Z");
        QStringList asked;
        onNextModal([&asked](QWidget *w) {
            asked << w->objectName();
            qobject_cast<QMessageBox *>(w)->button(QMessageBox::No)->click();
        }, 700);
        app.start();
        QCOMPARE(asked, QStringList({"RecomputeQuestion"}));
        // Still the user's soils, as they were computed.
        QCOMPARE(chooserRows(app.frame.get(), app.window(1)).size(), 6);
        app.frame.reset();
        basGlobals::colSimWindows().clear();
        // Once only for this shipped database.
        onNextModal([&asked](QWidget *w) {
            asked << w->objectName();
            w->close();
        }, 700);
        app.start();
        QTest::qWait(800);
        QCOMPARE(asked, QStringList({"RecomputeQuestion"}));
    }

    void otherSweepsAreShownAsTheDatabaseHoldsThem_data()
    {
        QTest::addColumn<int>("flows");
        QTest::addColumn<int>("hours");
        QTest::newRow("8 flows, 48 hours") << 8 << 48;
        QTest::newRow("5 flows, 72 hours") << 5 << 72;
    }
    void otherSweepsAreShownAsTheDatabaseHoldsThem()
    {
        QFETCH(int, flows);
        QFETCH(int, hours);
        AppFixture app(false);
        TestDatabase::Options o;
        o.flows = flows;
        o.hours = hours;
        TestDatabase::create(app.dir.path(), o);
        app.start();
        frmMain *w = app.window(1);
        auto *flow = w->findChild<QComboBox *>("cmbFlow");
        auto *time = w->findChild<QComboBox *>("cmbTime");
        QCOMPARE(flow->count(), flows);
        QCOMPARE(flow->itemText(flows - 1), QString::number(TestDatabase::flowRate(flows)));
        QCOMPARE(time->count(), hours);
        QCOMPARE(time->itemText(hours - 1), QString::number(hours));
        flow->setCurrentIndex(flows - 1);
        time->setCurrentIndex(hours - 1);
        w->UpdateGraph();
        QVERIFY(app.errors.isEmpty());
        QCOMPARE(w->graph()->EllipseCount(), qint16(6));
        QCOMPARE(w->graph()->FlowRate(), QString::number(TestDatabase::flowRate(flows)));
        // Log-spaced time steps ending at the last hour; the legend names them.
        int previous = 0;
        for (int i = 0; i < 6; ++i) {
            const QString label = w->graph()->front(i).label();
            QVERIFY2(label.endsWith(" Hour"), qPrintable(label));
            const int hour = label.section(' ', 0, 0).toInt();
            QVERIFY2(hour > previous, qPrintable(label));
            previous = hour;
        }
        QCOMPARE(previous, hours);
        QCOMPARE(w->graph()->front(5).Radius1(),
                 float(TestDatabase::frontValue("SurfaceData-c", "r", 1, flows, hours)));
        // The picture shows the legend of the last hour whole: saved for a look.
        const QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR", QDir::temp().filePath("ulvex-screenshots"));
        QDir().mkpath(folder);
        QVERIFY(w->graph()->Image().save(QDir(folder).filePath(QString("graph-%1-flows-%2-hours.png").arg(flows).arg(hours))));
    }
};

QTEST_MAIN(TestMySoilsApp)
#include "tst_mysoils_app.moc"
