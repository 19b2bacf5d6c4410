#include "AppFixture.h"

#include "graph/GraphEllipse.h"
#include "shell/ResourceImages.h"
#include "base/Twips.h"
#include "shell/frmSplash.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QMdiArea>
#include <QPushButton>
#include <QTimer>
#include <QToolBar>
#include <QtTest>

class TestFrame : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void startupMakesTwoTiledWindowsFirstFocused()
    {
        AppFixture app;
        app.start();
        QVERIFY(app.frame);
        QCOMPARE(app.frame->windowTitle(), QString("Ulvex"));
        QCOMPARE(basGlobals::colSimWindows().captions(),
                 QStringList({"Ulvex Simulation 1", "Ulvex Simulation 2"}));
        QCOMPARE(basGlobals::intSimCount, qint16(2));
        QMdiSubWindow *one = AppFixture::sub(app.window(1));
        QMdiSubWindow *two = AppFixture::sub(app.window(2));
        QVERIFY(one && two);
        // Side by side: same top, same height, the second to the right of the first.
        QCOMPARE(one->geometry().top(), two->geometry().top());
        QCOMPARE(one->geometry().height(), two->geometry().height());
        QVERIFY(two->geometry().left() >= one->geometry().right());
        QVERIFY(qAbs(one->width() - two->width()) <= 1);
        QCOMPARE(app.frame->mdiArea()->activeSubWindow(), one);
        // Both windows drew their first graph from the database.
        QVERIFY(app.window(1)->graph()->EllipseCount() >= 1);
        QVERIFY(app.window(2)->graph()->EllipseCount() >= 1);
        QVERIFY(app.errors.isEmpty());
        QVERIFY(basMain::startupMilliseconds() >= 0);
    }

    void numbersAreNeverReused()
    {
        AppFixture app;
        app.start();
        AppFixture::sub(app.window(2))->close();
        QCoreApplication::processEvents();
        QCOMPARE(basGlobals::colSimWindows().Count(), 1);
        app.frame->menuItem("mnuNew")->trigger();
        QCOMPARE(basGlobals::colSimWindows().captions(),
                 QStringList({"Ulvex Simulation 1", "Ulvex Simulation 3"}));
        // Closing window 3 of three and making another gives number 4.
        app.frame->menuItem("mnuNew")->trigger();
        AppFixture::sub(app.window(3))->close();
        app.frame->button("graph")->trigger();
        QCOMPARE(basGlobals::colSimWindows().captions(),
                 QStringList({"Ulvex Simulation 1", "Ulvex Simulation 4", "Ulvex Simulation 5"}));
    }

    void fourthWindowDisablesNewAndClosingOneEnablesIt()
    {
        AppFixture app;
        app.start();
        QAction *graph = app.frame->button("graph");
        QAction *mnuNew = app.frame->menuItem("mnuNew");
        QVERIFY(graph->isEnabled() && mnuNew->isEnabled());
        mnuNew->trigger();
        QVERIFY(graph->isEnabled() && mnuNew->isEnabled());
        graph->trigger();
        QCOMPARE(basGlobals::colSimWindows().Count(), 4);
        QVERIFY(!graph->isEnabled());
        QVERIFY(!mnuNew->isEnabled());
        // With four open, a further request does nothing.
        QCOMPARE(app.frame->NewSimWindow(), QString());
        QCOMPARE(basGlobals::colSimWindows().Count(), 4);
        AppFixture::sub(app.window(3))->close();
        QVERIFY(graph->isEnabled());
        QVERIFY(mnuNew->isEnabled());
    }

    void closingLastWindowDisablesPrintUpdateAndSoil()
    {
        AppFixture app;
        app.start();
        const QStringList buttons = {"print", "printpreview", "simulate", "soiltype"};
        const QStringList items = {"mnuPrintData", "mnuPreview", "mnuPrint"};
        for (const QString &b : buttons)
            QVERIFY2(app.frame->button(b)->isEnabled(), qPrintable(b));
        AppFixture::sub(app.window(1))->close();
        for (const QString &b : buttons)
            QVERIFY2(app.frame->button(b)->isEnabled(), qPrintable(b));
        AppFixture::sub(app.window(2))->close();
        for (const QString &b : buttons)
            QVERIFY2(!app.frame->button(b)->isEnabled(), qPrintable(b));
        for (const QString &m : items)
            QVERIFY2(!app.frame->menuItem(m)->isEnabled(), qPrintable(m));
        QVERIFY(app.frame->button("graph")->isEnabled());
        // A new window enables them again.
        app.frame->menuItem("mnuNew")->trigger();
        for (const QString &b : buttons)
            QVERIFY2(app.frame->button(b)->isEnabled(), qPrintable(b));
    }

    void menusAndToolbarAsDesigned()
    {
        AppFixture app;
        app.start();
        const QList<QPair<QString, QString>> menu = {
            {"mnuNew", "&New"}, {"mnuPrintData", "Print &Data to File"},
            {"mnuPreview", "Print Pre&View"}, {"mnuPrint", "&Print"}, {"mnuExit", "&Exit"},
            {"mnuGraph", "Graph"}, {"mnuTile", "Tile"}, {"mnuCascade", "Cascade"},
            {"mnuContents", "Contents"}, {"mnuAbout", "About"}};
        for (const auto &m : menu) {
            QVERIFY2(app.frame->menuItem(m.first), qPrintable(m.first));
            QCOMPARE(app.frame->menuItem(m.first)->text(), m.second);
        }
        QStringList keys;
        for (QAction *a : app.frame->toolbar()->actions())
            keys << (a->isSeparator() ? QString("|") : a->property("Key").toString() + ":" + a->toolTip());
        QCOMPARE(keys, QStringList({"|", "exit:Exit Ulvex Simulator", "|", "print:Print Simulation",
                                    "printpreview:Print PreView of Simulation", "|",
                                    "graph:Create Graph of Simulation", "|",
                                    "simulate:Update Simulation", "soiltype:Select Soil Type"}));
        for (QAction *a : app.frame->toolbar()->actions())
            if (!a->isSeparator())
                QVERIFY(!a->icon().isNull());
        QCOMPARE(app.frame->ImageList2.keys().size(), 7);
        QVERIFY(app.frame->ImageList1.contains("water"));
    }

    void tileAndCascade()
    {
        AppFixture app;
        app.start();
        app.frame->menuItem("mnuNew")->trigger();
        app.frame->menuItem("mnuCascade")->trigger();
        QMdiSubWindow *one = AppFixture::sub(app.window(1));
        QMdiSubWindow *three = AppFixture::sub(app.window(3));
        QVERIFY(one->geometry().top() != three->geometry().top());
        app.frame->menuItem("mnuTile")->trigger();
        QCOMPARE(one->geometry().top(), three->geometry().top());
        QVERIFY(three->geometry().left() > one->geometry().left());
    }

    void frameMinimumSizeSnapsBack()
    {
        AppFixture app;
        app.start();
        app.frame->resize(100, 100);
        QCoreApplication::processEvents();
        const QSize min = Twips::sizeToPixels(6500, 8000);
        QVERIFY(app.frame->width() >= min.width());
        QVERIFY(app.frame->height() >= min.height());
    }

    void closingFrameUnloadsEveryWindow()
    {
        AppFixture app;
        app.start();
        app.frame->close();
        QCOMPARE(basGlobals::colSimWindows().Count(), 0);
    }

    void cancelOnSplashLeavesNoFrame()
    {
        QTemporaryDir dir;
        ProgramFolder::setOverride(dir.path());
        basMain::setSplashAutoAccept(false);
        QTimer::singleShot(50, [] {
            QWidget *splash = QApplication::activeModalWidget();
            QVERIFY(splash);
            auto *cancel = splash->findChild<QPushButton *>("cmdDisagree");
            QVERIFY(cancel);
            QCOMPARE(cancel->text(), QString("Cancel"));
            QTest::mouseClick(cancel, Qt::LeftButton);
        });
        frmMDIMain *frame = basMain::Main();
        QVERIFY(frame == nullptr);
        QCoreApplication::processEvents();
        for (QWidget *w : QApplication::topLevelWidgets())
            QVERIFY2(!w->isVisible(), qPrintable(w->objectName()));
        QCOMPARE(basGlobals::colSimWindows().Count(), 0);
        ProgramFolder::setOverride(QString());
    }

    void everyVisibleControlHasAnAccessibleName()
    {
        AppFixture app;
        app.start();
        QStringList missing;
        const auto check = [&missing](QWidget *root) {
            for (QWidget *w : root->findChildren<QWidget *>()) {
                if (!w->isVisible() || w->focusPolicy() == Qt::NoFocus)
                    continue;
                if (qobject_cast<QMdiSubWindow *>(w) || w->inherits("QMdiArea"))
                    continue;
                QString name = w->accessibleName();
                if (name.isEmpty())
                    if (auto *b = qobject_cast<QAbstractButton *>(w))
                        name = b->text().isEmpty() ? b->toolTip() : b->text();
                if (name.isEmpty())
                    missing << QString("%1 (%2)").arg(w->objectName(), w->metaObject()->className());
            }
        };
        check(app.frame.get());
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(", ")));
    }

    void noDatabaseIsReportedAndTheProgramGoesOn()
    {
        AppFixture app(false);
        app.start();
        QVERIFY(app.frame);
        QCOMPARE(basGlobals::colSimWindows().Count(), 2);
        QVERIFY(!app.errors.isEmpty());
        QVERIFY2(app.errors.first().contains("trickle.db"), qPrintable(app.errors.first()));
        QVERIFY(!QFile::exists(app.dir.filePath("trickle.db"))); // never created
        // The windows keep working: another update reports again, no crash.
        const int before = int(app.errors.size());
        app.window(1)->UpdateGraph();
        QVERIFY(app.errors.size() > before);
    }

    void corruptDatabaseIsReported()
    {
        AppFixture app(false);
        TestDatabase::createNotADatabase(app.dir.path());
        const QByteArray bytes = [&] { QFile f(app.dir.filePath("trickle.db")); f.open(QIODevice::ReadOnly); return f.readAll(); }();
        app.start();
        QVERIFY(app.frame);
        QVERIFY(!app.errors.isEmpty());
        QFile f(app.dir.filePath("trickle.db"));
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), bytes);
    }

    void missingTableIsReportedByName()
    {
        AppFixture app(false);
        TestDatabase::Options options;
        options.omitTables << "SurfaceData-c";
        TestDatabase::create(app.dir.path(), options);
        app.start();
        QVERIFY(app.frame);
        QVERIFY(!app.errors.isEmpty());
        QVERIFY2(app.errors.first().contains("SurfaceData-c"), qPrintable(app.errors.first()));
        // The lists were filled before the graph failed.
        auto *cmbFlow = app.window(1)->findChild<QComboBox *>("cmbFlow");
        QVERIFY(cmbFlow->count() > 0);
        QCOMPARE(app.window(1)->graph()->EllipseCount(), qint16(0));
    }
};

QTEST_MAIN(TestFrame)
#include "tst_frame.moc"
