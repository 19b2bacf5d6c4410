// My Soils with the real database builder: a soil added through the dialogs
// is computed by trickle-build in a process of its own, with progress, and is
// at once in the soil list, drawn and exported; Cancel stops the builder and
// leaves the user's database as it was; a second soil and its removal; the
// builder's own message when it fails. The shipped database of these tests is
// a small one, built by trickle-build itself over a short sweep (one flow
// rate, a few hours), so that a soil takes seconds.
#include "tests/simulation/AppFixture.h"

#include "base/UserFolders.h"
#include "data/UserDatabase.h"
#include "graph/GraphEllipse.h"
#include "mysoils/BuilderProcess.h"
#include "mysoils/frmAddSoil.h"
#include "mysoils/frmBuildProgress.h"
#include "mysoils/frmMySoils.h"
#include "shell/ResourceImages.h"
#include "tests/common/TestFiles.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMessageBox>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

#include <functional>

namespace {

const char *const ShippedCatalogue =
    "Name,Texture,Clay (%),Soil Classification,theta_r (-),theta_s (-),alpha (1/cm),n (-),Ks (cm/day)\n"
    "Sand,coarse,3,USDA texture class sand,0.045,0.43,0.145,2.68,712.8\n"
    "Loamy Sand,coarse,6,USDA texture class loamy sand,0.057,0.41,0.124,2.28,350.2\n";

// Builds the program folder's trickle.db with the real builder over a short
// sweep; empty on success, else what the builder said.
QString buildShipped(const QString &folder, int hours)
{
    const QString catalogue = folder + "/shipped.csv";
    if (!writeAll(catalogue, ShippedCatalogue))
        return "cannot write " + catalogue;
    QProcess p;
    p.setProcessChannelMode(QProcess::MergedChannels);
    p.start(TRICKLE_BUILD_EXE, {"--soils", catalogue, "--out", folder + "/trickle.db", "--flows", "0.5",
                                "--hours", QString::number(hours), "--build-date", "2026-11-01T00:00:00Z"});
    if (!p.waitForFinished(300000) || p.exitCode() != 0)
        return QString::fromLocal8Bit(p.readAll());
    return QString();
}

// Acts on the next window that becomes modal after `after` (so a nested
// dialog is met, not the one that opened it).
void onModal(std::function<bool(QWidget *)> act, QWidget *after = nullptr, int attempts = 600)
{
    QTimer::singleShot(50, [act, after, attempts] {
        QWidget *w = QApplication::activeModalWidget();
        if (w && w != after && act(w))
            return;
        if (attempts > 0)
            onModal(act, after, attempts - 1);
    });
}

// Fills the Add dialog from the first class average under a new name and
// presses Compute.
bool fillAndCompute(QWidget *w, const QString &name)
{
    auto *add = qobject_cast<frmAddSoil *>(w);
    if (!add)
        return false;
    add->startFrom(1);
    add->field(frmAddSoil::Name)->setText(name);
    add->field(frmAddSoil::Ks)->setText("150");
    QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
    return true;
}

} // namespace

class TestMySoilsBuild : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        ResourceImages::registerFontSubstitutes();
        frmMySoils::setBuilderProgram(TRICKLE_BUILD_EXE);
    }

    void addedSoilIsComputedListedDrawnAndExported()
    {
        AppFixture app(false);
        const QString trouble = buildShipped(app.dir.path(), 3);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        QVERIFY(app.frame);
        const QString user = UserDatabase::userPath();
        QVERIFY(!QFile::exists(user));

        int progressSeen = 0;
        QString screenshot;
        QStringList listed;
        onModal([&](QWidget *w) {
            auto *my = qobject_cast<frmMySoils *>(w);
            if (!my)
                return false;
            onModal([&](QWidget *add) { return fillAndCompute(add, "Field Sand, plot 3"); }, my);
            // The progress dialog: it shows the cases as they finish.
            onModal([&](QWidget *p) {
                auto *progress = qobject_cast<frmBuildProgress *>(p);
                if (!progress)
                    return false;
                connect(progress->builder(), &BuilderProcess::progress, progress, [&, progress](int done, int total) {
                    ++progressSeen;
                    QCOMPARE(total, 6);
                    QVERIFY(done >= 1 && done <= total);
                    auto *bar = progress->findChild<QProgressBar *>("prgCases");
                    QCOMPARE(bar->maximum(), total);
                    QVERIFY(progress->findChild<QLabel *>("lblCases")->text().contains(QString("of %1 cases").arg(total)));
                    if (screenshot.isEmpty()) {
                        const QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR", QDir::temp().filePath("ulvex-screenshots"));
                        QDir().mkpath(folder);
                        screenshot = QDir(folder).filePath("mysoils-progress.png");
                        progress->grab().save(screenshot);
                    }
                });
                return true;
            }, my);
            QTest::mouseClick(my->findChild<QPushButton *>("cmdAdd"), Qt::LeftButton);
            // Back in My Soils: what it lists now.
            auto *list = my->findChild<QTreeWidget *>("lvMySoils");
            for (int i = 0; i < list->topLevelItemCount(); ++i)
                listed << QStringList{list->topLevelItem(i)->text(0), list->topLevelItem(i)->text(1),
                                      list->topLevelItem(i)->text(2)}.join('|');
            my->accept();
            return true;
        });
        app.frame->menuItem("mnuMySoils")->trigger();
        QCOMPARE(listed, QStringList{"Field Sand, plot 3|coarse|150"});
        QVERIFY(progressSeen >= 1);
        QVERIFY(QFile::exists(user));
        QCOMPARE(UserDatabase::activePath(), user);
        QCOMPARE(UserDatabase::problem(user), QString());
        // Nothing left beside it: no catalogue, no temporary database.
        QCOMPARE(QDir(UserFolders::dataFolder()).entryList(QDir::Files | QDir::Hidden), QStringList{"trickle.db"});

        // The soil list shows it after the shipped soils, and the graph draws it.
        frmMain *w = app.window(1);
        onModal([](QWidget *dialog) {
            auto *list = dialog->findChild<QTreeWidget *>("lvSoil");
            if (!list)
                return false;
            if (list->topLevelItemCount() == 3 && list->topLevelItem(2)->text(0) == "Field Sand, plot 3")
                QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                                  list->visualItemRect(list->topLevelItem(2)).center());
            else
                QTest::keyClick(dialog, Qt::Key_Escape);
            return true;
        });
        w->SelectSoilType();
        QCOMPARE(w->findChild<QLabel *>("lblSoilDes")->property("Tag").toString(), QString("3"));
        auto *time = w->findChild<QComboBox *>("cmbTime");
        QCOMPARE(time->count(), 3);
        time->setCurrentIndex(2);
        w->UpdateGraph();
        QCOMPARE(w->graph()->SoilType(), QString("Field Sand, plot 3"));
        QCOMPARE(w->graph()->EllipseCount(), qint16(3));
        QVERIFY(w->graph()->front(2).Radius1() > w->graph()->front(0).Radius1());
        const QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR", QDir::temp().filePath("ulvex-screenshots"));
        QVERIFY(w->graph()->Image().save(QDir(folder).filePath("mysoils-graph.png")));
        // The export reads the new soil's rows.
        const auto rows = w->exportRows();
        QVERIFY(!rows.isEmpty() && rows.at(1).size() == 3);
        QCOMPARE(rows.at(1).at(0).toInt(), 3);
        QVERIFY(app.errors.isEmpty());
    }

    void cancelLeavesTheUsersDatabaseAsItWas()
    {
        AppFixture app(false);
        const QString trouble = buildShipped(app.dir.path(), 8);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        // A first soil, so that there is a user's database to keep.
        {
            frmMySoils my(app.frame.get());
            onModal([](QWidget *add) { return fillAndCompute(add, "Kept"); }, &my);
            my.cmdAdd_Click();
        }
        const QString user = UserDatabase::userPath();
        QVERIFY(QFile::exists(user));
        const QByteArray before = readAll(user);

        frmMySoils my(app.frame.get());
        bool stopped = false;
        onModal([](QWidget *add) { return fillAndCompute(add, "Stopped"); }, &my);
        onModal([&stopped](QWidget *p) {
            auto *progress = qobject_cast<frmBuildProgress *>(p);
            if (!progress)
                return false;
            // Cancel as soon as the builder runs: Escape first, as users do.
            QTimer::singleShot(300, progress, [progress, &stopped] {
                QTest::keyClick(progress, Qt::Key_Escape);
                stopped = true;
            });
            return true;
        }, &my);
        QElapsedTimer clock;
        clock.start();
        my.cmdAdd_Click();
        QVERIFY(stopped);
        QVERIFY2(clock.elapsed() < 60000, "the builder was not stopped");
        QCOMPARE(readAll(user), before);
        QCOMPARE(QDir(UserFolders::dataFolder()).entryList(QDir::Files | QDir::Hidden), QStringList{"trickle.db"});
        QCOMPARE(my.findChild<QTreeWidget *>("lvMySoils")->topLevelItemCount(), 1);
        QCOMPARE(UserDatabase::activePath(), user);
    }

    void secondSoilAndItsRemoval()
    {
        AppFixture app(false);
        const QString trouble = buildShipped(app.dir.path(), 2);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        frmMySoils my(app.frame.get());
        for (const char *name : {"First", "Second"}) {
            onModal([name](QWidget *add) { return fillAndCompute(add, name); }, &my);
            my.cmdAdd_Click();
        }
        auto *list = my.findChild<QTreeWidget *>("lvMySoils");
        QCOMPARE(list->topLevelItemCount(), 2);
        QCOMPARE(UserDatabase::soilNames(UserDatabase::userPath()),
                 QStringList({"Sand", "Loamy Sand", "First", "Second"}));
        // Remove the first of the two: the second keeps its fronts.
        list->setCurrentItem(list->topLevelItem(0));
        onModal([](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            box->button(QMessageBox::Yes)->click();
            return true;
        }, &my);
        my.cmdRemove_Click();
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(0), QString("Second"));
        const QStringList names = UserDatabase::soilNames(UserDatabase::userPath());
        QCOMPARE(names, QStringList({"Sand", "Loamy Sand", "Second"}));
        // The soil list and the soil numbers agree: row 3 is "Second" and draws.
        frmMain *w = app.window(1);
        onModal([](QWidget *dialog) {
            auto *l = dialog->findChild<QTreeWidget *>("lvSoil");
            if (!l)
                return false;
            QTest::mouseClick(l->viewport(), Qt::LeftButton, {}, l->visualItemRect(l->topLevelItem(2)).center());
            return true;
        });
        w->SelectSoilType();
        w->UpdateGraph();
        QCOMPARE(w->graph()->SoilType(), QString("Second"));
        QVERIFY(w->graph()->EllipseCount() >= 1);
        QVERIFY(app.errors.isEmpty());
    }

    void soilsAreComputedAgainOnANewerShippedDatabase()
    {
        AppFixture app(false);
        QString trouble = buildShipped(app.dir.path(), 2);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        {
            frmMySoils my(app.frame.get());
            onModal([](QWidget *add) { return fillAndCompute(add, "Kept soil"); }, &my);
            my.cmdAdd_Click();
        }
        const QString user = UserDatabase::userPath();
        QCOMPARE(UserDatabase::buildInfo(user).value("origin_build_date"), QString("2026-11-01T00:00:00Z"));
        app.frame.reset();
        basGlobals::colSimWindows().clear();

        // A newer program comes with a newer database: told once, and Yes
        // computes the user's soils on it.
        const QString shipped = app.dir.filePath("trickle.db");
        QVERIFY(QFile::remove(shipped));
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(TRICKLE_BUILD_EXE, {"--soils", app.dir.filePath("shipped.csv"), "--out", shipped, "--flows", "0.5",
                                    "--hours", "2", "--build-date", "2026-12-24T00:00:00Z"});
        QVERIFY(p.waitForFinished(300000) && p.exitCode() == 0);
        QString asked;
        onModal([&asked](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            asked = box->objectName();
            box->button(QMessageBox::Yes)->click();
            return true;
        });
        app.start();
        QCOMPARE(asked, QString("RecomputeQuestion"));
        const QMap<QString, QString> info = UserDatabase::buildInfo(user);
        QCOMPARE(info.value("origin_build_date"), QString("2026-12-24T00:00:00Z"));
        QCOMPARE(UserDatabase::soilNames(user), QStringList({"Sand", "Loamy Sand", "Kept soil"}));
        QCOMPARE(UserDatabase::addedSoils(user).size(), 1);
        QVERIFY(!UserDatabase::shippedIsNewer());
        QCOMPARE(QDir(UserFolders::dataFolder()).entryList(QDir::Files | QDir::Hidden), QStringList{"trickle.db"});
        QVERIFY(app.errors.isEmpty());
    }

    void aFailingBuilderIsReportedInItsOwnWords()
    {
        AppFixture app;
        app.start();
        const QString script = app.dir.filePath("failing-builder");
        QVERIFY(writeAll(script, "#!/bin/sh\necho 'trickle-build: the folder /nowhere cannot be written' >&2\nexit 1\n"));
        QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        frmMySoils::setBuilderProgram(script);
        QString shown;
        onModal([&shown](QWidget *w) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box)
                return false;
            shown = box->text();
            box->accept();
            return true;
        });
        QVERIFY(!frmMySoils::build(app.frame.get(), "Computing", {"--soils", "x.csv"}));
        frmMySoils::setBuilderProgram(TRICKLE_BUILD_EXE);
        QVERIFY2(shown.contains("the folder /nowhere cannot be written"), qPrintable(shown));
        QVERIFY(!QFile::exists(UserDatabase::userPath()));
    }
};

QTEST_MAIN(TestMySoilsBuild)
#include "tst_mysoils_build.moc"
