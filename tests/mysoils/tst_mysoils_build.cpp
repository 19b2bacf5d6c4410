// My Soils with the real database builder: a soil added through the dialogs
// is computed by trickle-build in a process of its own while the frame stays
// usable, with progress in My Soils and the status bar, and is at once in the
// soil list, drawn and exported; Cancel stops the builder and leaves the
// user's database as it was; a second soil and its removal, with every window
// kept on the soil its label names; the builder's failures told in the user's
// words with the form given back as typed. The shipped database of these
// tests is a small one, built by trickle-build itself over a short sweep (one
// flow rate, a few hours), so that a soil takes seconds.
#include "tests/simulation/AppFixture.h"

#include "base/UserFolders.h"
#include "data/UserDatabase.h"
#include "graph/GraphEllipse.h"
#include "mysoils/ComputationProgress.h"
#include "mysoils/SoilComputation.h"
#include "mysoils/frmAddSoil.h"
#include "mysoils/frmMySoils.h"
#include "output/basPrint.h"
#include "shell/ResourceImages.h"
#include "tests/common/TestFiles.h"

#include <QApplication>
#include <QBuffer>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QLockFile>
#include <QMdiArea>
#include <QMessageBox>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStatusBar>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QtTest>

#include <functional>
#include <csignal>

namespace {

const char *const ShippedCatalogue =
    "Name,Texture,Clay (%),Soil Classification,theta_r (-),theta_s (-),alpha (1/cm),n (-),Ks (cm/day)\n"
    "Sand,coarse,3,USDA texture class sand,0.045,0.43,0.145,2.68,712.8\n"
    "Loamy Sand,coarse,6,USDA texture class loamy sand,0.057,0.41,0.124,2.28,350.2\n";

// Builds the program folder's trickle.db with the real builder over a short
// sweep, and puts the builder beside it, where the program looks for it;
// empty on success, else what went wrong.
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
    if (!QFile::link(TRICKLE_BUILD_EXE, folder + "/trickle-build"))
        return "cannot link the builder into " + folder;
    return QString();
}

// A stand-in for the builder in the program folder: it writes its process
// number, reports a case a second for `cases` seconds and ends with `ending`
// (shell commands); SIGTERM stops it at once, as it stops the real one.
QString fakeBuilder(const QString &folder, int cases, const QString &ending = "exit 0")
{
    const QString path = folder + "/trickle-build";
    QFile::remove(path);
    const QString script = QString("#!/bin/sh\n"
                                   "echo $$ > '%1/builder.pid'\n"
                                   "trap 'exit 143' TERM\n"
                                   "i=1\n"
                                   "while [ $i -le %2 ]; do\n"
                                   "  sleep 0.2 & wait $!\n"
                                   "  echo \"[$i/%2] soil 9 (X), 0.5 L/h, -3 m, surface: 0.2 s, mass balance 0.001 %; "
                                   "elapsed 0:01, about 0:09 left\" >&2\n"
                                   "  i=$((i+1))\n"
                                   "done\n%3\n")
                               .arg(folder)
                               .arg(cases)
                               .arg(ending);
    if (!writeAll(path, script.toUtf8()))
        return QString();
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

bool processAlive(const QString &pidFile)
{
    const qint64 pid = readAll(pidFile).trimmed().toLongLong();
    return pid > 0 && ::kill(pid_t(pid), 0) == 0;
}

// Acts on the next window that becomes modal (so a message shown in a slot is
// met); `act` returns false for windows it does not want.
void onModal(std::function<bool(QWidget *)> act, int attempts = 600)
{
    QTimer::singleShot(50, [act, attempts] {
        QWidget *w = QApplication::activeModalWidget();
        if (w && act(w))
            return;
        if (attempts > 0)
            onModal(act, attempts - 1);
    });
}

// Answers the next message box with `button`, keeping its text.
void answerNextBox(QMessageBox::StandardButton button, QString *text = nullptr, QString *details = nullptr,
                   QString *name = nullptr)
{
    onModal([=](QWidget *w) {
        auto *box = qobject_cast<QMessageBox *>(w);
        if (!box)
            return false;
        if (text)
            *text = box->text();
        if (details)
            *details = box->detailedText();
        if (name)
            *name = box->objectName();
        box->button(button)->click();
        return true;
    });
}

frmMySoils *openMySoils(frmMDIMain *frame)
{
    frame->menuItem("mnuMySoils")->trigger();
    return frame->mySoils();
}

// Opens the Add form from My Soils, as the user does.
frmAddSoil *openAddForm(frmMDIMain *frame)
{
    frmMySoils *my = openMySoils(frame);
    QTest::mouseClick(my->findChild<QPushButton *>("cmdAdd"), Qt::LeftButton);
    return my->addForm();
}

// Fills the Add form with a loamy sand under a new name (the values of the
// class average, typed in, so that any shipped database will do).
void fill(frmAddSoil *add, const QString &name, const QString &ks = "150")
{
    add->findChild<QComboBox *>("cmbAlphaUnit")->setCurrentIndex(1); // 1/cm
    add->findChild<QComboBox *>("cmbKsUnit")->setCurrentIndex(1);    // cm/day
    add->field(frmAddSoil::Name)->setText(name);
    add->field(frmAddSoil::ThetaR)->setText("0.057");
    add->field(frmAddSoil::ThetaS)->setText("0.41");
    add->field(frmAddSoil::Alpha)->setText("0.124");
    add->field(frmAddSoil::N)->setText("2.28");
    add->field(frmAddSoil::Ks)->setText(ks);
}

// Adds a soil through the Add form and waits until the builder is done; the
// builder's verdict.
bool addSoil(frmMDIMain *frame, const QString &name)
{
    frmAddSoil *add = openAddForm(frame);
    if (!add)
        return false;
    fill(add, name);
    QSignalSpy done(frame->soilComputation(), &SoilComputation::finished);
    QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
    return done.wait(300000) && done.first().at(0).toBool();
}

// The program on a small shipped database with two soils of the user's,
// "First" and "Second" (numbers 3 and 4).
void startWithTwoSoils(AppFixture &app)
{
    const QString trouble = buildShipped(app.dir.path(), 2);
    QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
    app.start();
    QVERIFY(addSoil(app.frame.get(), "First"));
    QVERIFY(addSoil(app.frame.get(), "Second"));
}

QLabel *soilLabel(frmMain *w)
{
    return w->findChild<QLabel *>("lblSoilDes");
}

// Chooses row `row` (0-based) of the soil chooser for window `w`.
void chooseSoil(frmMain *w, int row)
{
    onModal([row](QWidget *dialog) {
        auto *list = dialog->findChild<QTreeWidget *>("lvSoil");
        if (!list)
            return false;
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(list->topLevelItem(row)).center());
        return true;
    });
    w->SelectSoilType();
}

// The toolbar's update on the window, as the user presses it.
void update(frmMDIMain *frame, frmMain *w)
{
    frame->mdiArea()->setActiveSubWindow(AppFixture::sub(w));
    frame->button("simulate")->trigger();
}

// The rows of one table of a database for a soil, flow position 1, by time.
QList<QVariantList> rowsOf(const QString &path, const QString &sql)
{
    QList<QVariantList> rows;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "check");
        db.setDatabaseName(path);
        db.open();
        QSqlQuery q(db);
        q.exec(sql);
        while (q.next()) {
            QVariantList row;
            for (int i = 0; i < q.record().count(); ++i)
                row << q.value(i);
            rows << row;
        }
    }
    QSqlDatabase::removeDatabase("check");
    return rows;
}

int soilNumber(const QString &path, const QString &name)
{
    const auto rows = rowsOf(path, QString("SELECT SoilTypeNo FROM SoilTypeData WHERE Name = '%1'").arg(name));
    return rows.isEmpty() ? 0 : rows.first().first().toInt();
}

// The graph of `w` against the soil's own fronts in the database (dry,
// surface, the first flow rate): each front's radius and depth at its hour.
void compareGraphWithDatabase(frmMain *w, const QString &database, const QString &soil)
{
    const int number = soilNumber(database, soil);
    QVERIFY(number > 0);
    QCOMPARE(w->graph()->SoilType(), soil);
    QVERIFY(w->graph()->EllipseCount() >= 1);
    for (int i = 0; i < w->graph()->EllipseCount(); ++i) {
        const clsData front = w->graph()->front(i);
        const int hour = front.label().section(' ', 0, 0).toInt();
        const auto rows = rowsOf(database, QString("SELECT r, z FROM [SurfaceData-c] WHERE SoilType = %1 "
                                                   "AND FlowRate = 1 AND Time = %2").arg(number).arg(hour));
        QCOMPARE(rows.size(), 1);
        QCOMPARE(front.Radius1(), float(rows.first().at(0).toDouble()));
    }
}

// The blocks of an export: the lines of each block by the soil it names.
QMap<QString, QStringList> exportBlocks()
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    basPrint::WriteSimulationData(&buffer, QDateTime::currentDateTime());
    QMap<QString, QStringList> blocks;
    QString soil;
    for (const QString &line : QString::fromUtf8(buffer.data()).split('\n')) {
        if (line.startsWith("SoilType: "))
            soil = line.mid(10).trimmed();
        else if (!soil.isEmpty() && !line.trimmed().isEmpty())
            blocks[soil] << line.trimmed();
    }
    return blocks;
}

} // namespace

class TestMySoilsBuild : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void addedSoilIsComputedListedDrawnAndExported()
    {
        AppFixture app(false);
        const QString trouble = buildShipped(app.dir.path(), 3);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        QVERIFY(app.frame);
        const QString user = UserDatabase::userPath();
        QVERIFY(!QFile::exists(user));

        frmAddSoil *add = openAddForm(app.frame.get());
        QVERIFY(add);
        fill(add, "Field Sand, plot 3");
        frmMySoils *my = app.frame->mySoils();
        // Progress in My Soils and in the frame's status bar, as the cases finish.
        int progressSeen = 0;
        connect(app.frame->soilComputation(), &SoilComputation::progress, my, [&](int done, int total) {
            ++progressSeen;
            QCOMPARE(total, 6);
            QVERIFY(done >= 1 && done <= total);
            for (QWidget *where : {static_cast<QWidget *>(my), static_cast<QWidget *>(app.frame->statusBar())}) {
                auto *progress = where->findChild<ComputationProgress *>();
                QVERIFY(progress && progress->isVisible());
                QCOMPARE(progress->findChild<QProgressBar *>("prgCases")->maximum(), total);
                QVERIFY(progress->findChild<QLabel *>("lblWhat")->text().contains(
                    QString("Computing Field Sand, plot 3: %1 of %2 cases done").arg(done).arg(total)));
            }
            if (progressSeen == 1) {
                const QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR", QDir::temp().filePath("ulvex-screenshots"));
                QDir().mkpath(folder);
                my->grab().save(QDir(folder).filePath("mysoils-progress.png"));
            }
        });
        QSignalSpy done(app.frame->soilComputation(), &SoilComputation::finished);
        QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
        QVERIFY(done.wait(300000));
        QCOMPARE(done.first().at(0).toBool(), true);
        QVERIFY(progressSeen >= 1);
        QVERIFY(!app.frame->statusBar()->findChild<ComputationProgress *>()->isVisible());

        auto *list = my->findChild<QTreeWidget *>("lvMySoils");
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(0), QString("Field Sand, plot 3"));
        QCOMPARE(list->topLevelItem(0)->text(2), QString("150"));
        QVERIFY(QFile::exists(user));
        QCOMPARE(UserDatabase::activePath(), user);
        QCOMPARE(UserDatabase::problem(user), QString());
        // Nothing left beside it: no catalogue, no temporary database, no lock.
        QCOMPARE(QDir(UserFolders::dataFolder()).entryList(QDir::Files | QDir::Hidden), QStringList{"trickle.db"});

        // The soil list shows it after the shipped soils, and the graph draws it.
        frmMain *w = app.window(1);
        chooseSoil(w, 2);
        QCOMPARE(soilLabel(w)->property("Tag").toString(), QString("3"));
        auto *time = w->findChild<QComboBox *>("cmbTime");
        QCOMPARE(time->count(), 3);
        time->setCurrentIndex(2);
        update(app.frame.get(), w);
        QCOMPARE(w->graph()->EllipseCount(), qint16(3));
        compareGraphWithDatabase(w, user, "Field Sand, plot 3");
        QVERIFY(w->graph()->front(2).Radius1() > w->graph()->front(0).Radius1());
        const QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR", QDir::temp().filePath("ulvex-screenshots"));
        QVERIFY(w->graph()->Image().save(QDir(folder).filePath("mysoils-graph.png")));
        // The export reads the new soil's rows.
        const auto rows = w->exportRows();
        QVERIFY(!rows.isEmpty() && rows.at(1).size() == 3);
        QCOMPARE(rows.at(1).at(0).toInt(), 3);
        QVERIFY(app.errors.isEmpty());
    }

    // A removal moves the soils after it up one number. Every window keeps
    // showing the soil its label names, also after an update and in the
    // export; the window of the removed soil says so and shows nothing.
    void removingASoilKeepsEveryWindowOnItsOwnSoil()
    {
        AppFixture app(false);
        startWithTwoSoils(app);
        if (QTest::currentTestFailed())
            return;
        const QString user = UserDatabase::userPath();
        QCOMPARE(UserDatabase::soilNames(user), QStringList({"Sand", "Loamy Sand", "First", "Second"}));
        frmMain *one = app.window(1);
        frmMain *two = app.window(2);
        chooseSoil(one, 2);
        chooseSoil(two, 3);
        update(app.frame.get(), one);
        update(app.frame.get(), two);
        compareGraphWithDatabase(one, user, "First");
        compareGraphWithDatabase(two, user, "Second");

        // The question names the window that shows the soil.
        frmMySoils *my = openMySoils(app.frame.get());
        auto *list = my->findChild<QTreeWidget *>("lvMySoils");
        list->setCurrentItem(list->topLevelItem(0));
        QString question;
        answerNextBox(QMessageBox::Yes, &question);
        QSignalSpy done(app.frame->soilComputation(), &SoilComputation::finished);
        QTest::mouseClick(my->findChild<QPushButton *>("cmdRemove"), Qt::LeftButton);
        QVERIFY2(question.contains("\"First\"") && question.contains("Ulvex Simulation 1 shows it")
                     && !question.contains("Ulvex Simulation 2"),
                 qPrintable(question));
        QVERIFY(done.wait(300000));
        QCOMPARE(done.first().at(0).toBool(), true);
        QCOMPARE(UserDatabase::soilNames(user), QStringList({"Sand", "Loamy Sand", "Second"}));

        // At once, before any update: window 1 says its soil is gone.
        QCOMPARE(soilLabel(one)->text(), QString("Removed: First"));
        QCOMPARE(one->graph()->EllipseCount(), qint16(0));
        QVERIFY(one->statusBar()->currentMessage().contains("\"First\" was removed"));
        QCOMPARE(soilLabel(two)->text(), QString("Second"));
        QCOMPARE(soilLabel(two)->property("Tag").toString(), QString("3"));
        // F5 on both: nothing for the removed soil, Second's own fronts for Second.
        update(app.frame.get(), one);
        update(app.frame.get(), two);
        QCOMPARE(one->graph()->EllipseCount(), qint16(0));
        compareGraphWithDatabase(two, user, "Second");
        // The export: a block for Second with Second's rows, none under First.
        const QMap<QString, QStringList> blocks = exportBlocks();
        QCOMPARE(blocks.keys(), QStringList({"Second"}));
        const auto expected = rowsOf(user, QString("SELECT Time, z, r FROM SurfaceData WHERE SoilType = %1 "
                                                   "AND FlowRate = 1 ORDER BY Time").arg(soilNumber(user, "Second")));
        QStringList numbers;
        for (const QString &line : blocks.value("Second"))
            if (!line.isEmpty() && line.at(0).isDigit())
                numbers << line;
        QCOMPARE(numbers.size(), expected.size());
        for (int i = 0; i < numbers.size(); ++i) {
            const QStringList cells = numbers.at(i).split(',');
            QCOMPARE(cells.size(), 3);
            for (int c = 0; c < 3; ++c)
                QVERIFY2(qAbs(cells.at(c).toDouble() - expected.at(i).at(c).toDouble()) <= 1e-6,
                         qPrintable(numbers.at(i)));
        }

        // The soil added again comes last; window 1 stays without a soil until
        // one is chosen, window 2 stays on Second.
        QVERIFY(addSoil(app.frame.get(), "First"));
        update(app.frame.get(), one);
        update(app.frame.get(), two);
        QCOMPARE(one->graph()->EllipseCount(), qint16(0));
        compareGraphWithDatabase(two, user, "Second");
        chooseSoil(one, 3);
        QCOMPARE(soilLabel(one)->text(), QString("First"));
        update(app.frame.get(), one);
        compareGraphWithDatabase(one, user, "First");
        QCOMPARE(exportBlocks().keys(), QStringList({"First", "Second"}));
        QVERIFY(app.errors.isEmpty());
    }

    // A database changed behind the program's back (another Ulvex, or the
    // command line) is met the same way at the next update.
    void aDatabaseChangedElsewhereIsFollowedAtTheNextUpdate()
    {
        AppFixture app(false);
        startWithTwoSoils(app);
        if (QTest::currentTestFailed())
            return;
        frmMain *two = app.window(2);
        chooseSoil(two, 3);
        update(app.frame.get(), two);
        const QString user = UserDatabase::userPath();
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(TRICKLE_BUILD_EXE, {"--base", user, "--drop-soil", "3", "--out", user, "--force"});
        QVERIFY(p.waitForFinished(60000));
        QCOMPARE(p.exitCode(), 0);
        update(app.frame.get(), two);
        QCOMPARE(soilLabel(two)->property("Tag").toString(), QString("3"));
        compareGraphWithDatabase(two, user, "Second");
    }

    // Another program writing the user's database (another Ulvex, or the
    // command line) holds its lock: the computation says that it waits, then
    // builds on what the other wrote. Both soils are kept.
    void aSecondWriterWaitsAndNoSoilIsLost()
    {
        AppFixture app(false);
        const QString trouble = buildShipped(app.dir.path(), 2);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        const QString user = UserDatabase::userPath();
        QDir().mkpath(UserFolders::dataFolder());
        // The other program: a build of its own, run while the lock is held
        // here, so that it surely comes first.
        QLockFile held(user + ".lock");
        held.setStaleLockTime(0);
        QVERIFY(held.tryLock(0));
        frmAddSoil *add = openAddForm(app.frame.get());
        fill(add, "Mine");
        SoilComputation *computation = app.frame->soilComputation();
        QSignalSpy waiting(computation, &SoilComputation::waiting);
        QSignalSpy done(computation, &SoilComputation::finished);
        QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
        QVERIFY(waiting.wait(30000));
        auto *status = app.frame->statusBar()->findChild<ComputationProgress *>();
        QVERIFY2(status->findChild<QLabel *>("lblWhat")->text().contains("waiting until"),
                 qPrintable(status->findChild<QLabel *>("lblWhat")->text()));
        // The other program's soil goes in first, under the same lock.
        SoilEntry other;
        other.name = "Theirs";
        other.texture = "coarse";
        other.thetaR = 0.057;
        other.thetaS = 0.41;
        other.alpha = 0.124;
        other.n = 2.28;
        other.ks = 350.2;
        const QString catalogue = app.dir.filePath("theirs.csv");
        QVERIFY(writeAll(catalogue, SoilEntry::catalogue({other}).toUtf8()));
        held.unlock();
        QProcess theirs;
        theirs.setProcessChannelMode(QProcess::MergedChannels);
        theirs.start(TRICKLE_BUILD_EXE, {"--soils", catalogue, "--base-if-missing", app.dir.filePath("trickle.db"),
                                         "--out", user, "--force"});
        QVERIFY(theirs.waitForFinished(300000));
        QCOMPARE(theirs.exitCode(), 0);
        QVERIFY(done.count() > 0 || done.wait(300000));
        QCOMPARE(done.first().at(0).toBool(), true);
        const QStringList names = UserDatabase::soilNames(user);
        QVERIFY2(names.contains("Mine") && names.contains("Theirs"), qPrintable(names.join(", ")));
        QCOMPARE(names.size(), 4);
    }

    // While a soil is computed the frame, its menus, windows and soil choice
    // go on working; a second computation is refused with a message; closing
    // asks, and Yes stops the builder before the program ends.
    void theFrameStaysUsableWhileASoilIsComputed()
    {
        AppFixture app;
        app.start();
        QVERIFY(!fakeBuilder(app.dir.path(), 300).isEmpty());
        frmAddSoil *add = openAddForm(app.frame.get());
        QVERIFY(add);
        fill(add, "Slow Soil");
        QSignalSpy started(app.frame->soilComputation(), &SoilComputation::progress);
        QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
        QVERIFY(started.wait(10000));
        QVERIFY(app.frame->soilComputation()->isRunning());
        const QString pidFile = app.dir.filePath("builder.pid");
        QVERIFY(processAlive(pidFile));
        // My Soils is not modal; nothing is.
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        auto *status = app.frame->statusBar()->findChild<ComputationProgress *>();
        QVERIFY(status && status->isVisible());

        // Update a graph with other choices: it is drawn at once.
        frmMain *w = app.window(2);
        w->findChild<QComboBox *>("cmbFlow")->setCurrentIndex(3);
        w->findChild<QComboBox *>("cmbTime")->setCurrentIndex(11);
        update(app.frame.get(), w);
        QCOMPARE(w->graph()->FlowRate(), QString::number(TestDatabase::flowRate(4)));
        QCOMPARE(w->graph()->front(w->graph()->EllipseCount() - 1).Radius1(),
                 float(TestDatabase::frontValue("SurfaceData-c", "r", 1, 4, 12)));
        // The soil choice and the window commands work too.
        chooseSoil(w, 4);
        QCOMPARE(soilLabel(w)->text(), TestDatabase::soilName(5));
        app.frame->menuItem("mnuNew")->trigger();
        QVERIFY(app.window(3));
        app.frame->menuItem("mnuTile")->trigger();
        QVERIFY(app.frame->soilComputation()->isRunning());

        // A second soil is refused while the first is computed.
        QString refusal;
        answerNextBox(QMessageBox::Ok, &refusal);
        QTest::mouseClick(app.frame->mySoils()->findChild<QPushButton *>("cmdAdd"), Qt::LeftButton);
        QVERIFY2(refusal.contains("Computing Slow Soil"), qPrintable(refusal));
        QVERIFY(!app.frame->mySoils()->addForm());

        // Exit asks too (Yes would end the test's process, as it ends Ulvex).
        QString exitAsked;
        answerNextBox(QMessageBox::No, nullptr, nullptr, &exitAsked);
        app.frame->button("exit")->trigger();
        QCOMPARE(exitAsked, QString("StopComputationQuestion"));
        QVERIFY(processAlive(pidFile));
        // Closing asks: No keeps everything as it is.
        QString asked;
        answerNextBox(QMessageBox::No, nullptr, nullptr, &asked);
        QVERIFY(!app.frame->close());
        QCOMPARE(asked, QString("StopComputationQuestion"));
        QVERIFY(app.frame->isVisible());
        QVERIFY(processAlive(pidFile));
        // Yes stops the builder, then the frame closes.
        answerNextBox(QMessageBox::Yes);
        QVERIFY(app.frame->close());
        QVERIFY(!app.frame->soilComputation()->isRunning());
        QVERIFY(!processAlive(pidFile));
        QVERIFY(!QFile::exists(UserDatabase::userPath()));
    }

    void cancelLeavesTheUsersDatabaseAsItWasAndGivesTheFormBack()
    {
        AppFixture app(false);
        const QString trouble = buildShipped(app.dir.path(), 8);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        // A first soil, so that there is a user's database to keep.
        QVERIFY(addSoil(app.frame.get(), "Kept"));
        const QString user = UserDatabase::userPath();
        QVERIFY(QFile::exists(user));
        const QByteArray before = readAll(user);

        frmAddSoil *add = openAddForm(app.frame.get());
        fill(add, "Stopped");
        add->field(frmAddSoil::Clay)->setText("12.50");
        const frmAddSoil::Typed typed = add->typed();
        SoilComputation *computation = app.frame->soilComputation();
        QSignalSpy started(computation, &SoilComputation::started);
        QSignalSpy done(computation, &SoilComputation::finished);
        QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
        QVERIFY(started.wait(10000) || computation->isRunning());
        // Cancel in the frame's status bar.
        QElapsedTimer clock;
        clock.start();
        QTest::mouseClick(app.frame->statusBar()->findChild<QToolButton *>("cmdCancel"), Qt::LeftButton);
        QVERIFY(done.wait(60000));
        QCOMPARE(done.first().at(1).toBool(), true); // cancelled
        QVERIFY2(clock.elapsed() < 60000, "the builder was not stopped");
        QCOMPARE(readAll(user), before);
        QCOMPARE(QDir(UserFolders::dataFolder()).entryList(QDir::Files | QDir::Hidden), QStringList{"trickle.db"});
        frmMySoils *my = app.frame->mySoils();
        QCOMPARE(my->findChild<QTreeWidget *>("lvMySoils")->topLevelItemCount(), 1);
        QCOMPARE(UserDatabase::activePath(), user);
        // The form comes back with every value as typed.
        QVERIFY(my->addForm());
        QCOMPARE(my->addForm()->typed().texts, typed.texts);
        QCOMPARE(my->addForm()->field(frmAddSoil::Clay)->text(), QString("12.50"));
        QVERIFY(my->addForm()->isVisible());
    }

    // A failed case is told in the user's words, the builder's own text
    // under the details, and the form comes back as typed.
    void aFailedCaseIsToldInWordsAndGivesTheFormBack()
    {
        AppFixture app;
        app.start();
        const QString builderLine = "trickle-build: error 3005: case soil 6 (Odd), 0.5 L/h, -10 m, buried: "
                                    "mass balance: the water balance is off by 29.8 % of the water given (at most 0.1 % is "
                                    "accepted); no database written";
        QVERIFY(!fakeBuilder(app.dir.path(), 2, QString("echo '%1' >&2; exit 1").arg(builderLine)).isEmpty());
        frmAddSoil *add = openAddForm(app.frame.get());
        fill(add, "Odd");
        // n near the high end of what may be entered, alpha shown in 1/m.
        add->findChild<QComboBox *>("cmbAlphaUnit")->setCurrentIndex(0);
        const QString n = SoilEntry::numberText(1 + (SoilEntry::nRange().high - 1) * 0.97);
        add->field(frmAddSoil::N)->setText(n);
        const frmAddSoil::Typed typed = add->typed();
        QString text, details;
        answerNextBox(QMessageBox::Ok, &text, &details);
        QSignalSpy done(app.frame->soilComputation(), &SoilComputation::finished);
        QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
        QVERIFY2(done.wait(30000), qPrintable(text));
        QVERIFY2(text.contains("Ulvex could not compute the soil \"Odd\""), qPrintable(text));
        QVERIFY2(text.contains("0.5 L/h from a buried emitter in dry soil"), qPrintable(text));
        QVERIFY2(text.contains("lost track of the water"), qPrintable(text));
        QVERIFY2(text.contains("n (" + n + ") is at the high end"), qPrintable(text));
        QVERIFY2(!text.contains("error 3005"), qPrintable(text));
        QVERIFY2(details.contains(builderLine), qPrintable(details));
        frmMySoils *my = app.frame->mySoils();
        QVERIFY(my->addForm());
        QCOMPARE(my->addForm()->typed().texts, typed.texts);
        QCOMPARE(my->addForm()->typed().alphaUnit, 0);
        QVERIFY(!QFile::exists(UserDatabase::userPath()));
    }

    void soilsAreComputedAgainOnANewerShippedDatabase()
    {
        AppFixture app(false);
        QString trouble = buildShipped(app.dir.path(), 2);
        QVERIFY2(trouble.isEmpty(), qPrintable(trouble));
        app.start();
        QVERIFY(addSoil(app.frame.get(), "Kept soil"));
        const QString user = UserDatabase::userPath();
        QCOMPARE(UserDatabase::buildInfo(user).value("origin_build_date"), QString("2026-11-01T00:00:00Z"));
        app.frame.reset();
        basGlobals::colSimWindows().clear();

        // A newer program comes with a newer database: told once, and Yes
        // computes the user's soils on it while the program is used.
        const QString shipped = app.dir.filePath("trickle.db");
        QVERIFY(QFile::remove(shipped));
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        p.start(TRICKLE_BUILD_EXE, {"--soils", app.dir.filePath("shipped.csv"), "--out", shipped, "--flows", "0.5",
                                    "--hours", "2", "--build-date", "2026-12-24T00:00:00Z"});
        QVERIFY(p.waitForFinished(300000) && p.exitCode() == 0);
        QString asked;
        answerNextBox(QMessageBox::Yes, nullptr, nullptr, &asked);
        app.start();
        QCOMPARE(asked, QString("RecomputeQuestion"));
        SoilComputation *computation = app.frame->soilComputation();
        QSignalSpy done(computation, &SoilComputation::finished);
        if (computation->isRunning())
            QVERIFY(done.wait(300000));
        const QMap<QString, QString> info = UserDatabase::buildInfo(user);
        QCOMPARE(info.value("origin_build_date"), QString("2026-12-24T00:00:00Z"));
        QCOMPARE(UserDatabase::soilNames(user), QStringList({"Sand", "Loamy Sand", "Kept soil"}));
        QCOMPARE(UserDatabase::addedSoils(user).size(), 1);
        QVERIFY(!UserDatabase::shippedIsNewer());
        QCOMPARE(QDir(UserFolders::dataFolder()).entryList(QDir::Files | QDir::Hidden), QStringList{"trickle.db"});
        QVERIFY(app.errors.isEmpty());
    }

    void aBuilderThatCannotStartIsToldPlainly()
    {
        AppFixture app;
        app.start();
        QFile::remove(app.dir.filePath("trickle-build"));
        frmAddSoil *add = openAddForm(app.frame.get());
        fill(add, "Nowhere");
        QString text, details;
        answerNextBox(QMessageBox::Ok, &text, &details);
        QSignalSpy done(app.frame->soilComputation(), &SoilComputation::finished);
        QTest::mouseClick(add->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
        QVERIFY(done.count() > 0 || done.wait(10000));
        QVERIFY2(text.contains("could not start its database builder"), qPrintable(text));
        QVERIFY2(details.contains(app.dir.filePath("trickle-build")), qPrintable(details));
        QVERIFY(!QFile::exists(UserDatabase::userPath()));
    }
};

QTEST_MAIN(TestMySoilsBuild)
#include "tst_mysoils_build.moc"
