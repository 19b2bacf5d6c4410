#include "AppFixture.h"

#include "graph/GraphEllipse.h"
#include "graph/PictureBox.h"
#include "shell/ResourceImages.h"
#include "base/Twips.h"
#include "simulation/frmSoilDes.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QMdiArea>
#include <QPushButton>
#include <QLabel>
#include <QTreeWidget>
#include <QMessageBox>
#include <QStatusBar>
#include <QTimer>
#include <QtTest>

namespace {

QStringList labels(GraphEllipse *g)
{
    QStringList list;
    for (const clsData &d : g->fronts())
        list << d.label();
    return list;
}

// Closes the next modal window that opens, after letting `act` work on it.
void onNextModal(std::function<void(QWidget *)> act)
{
    QTimer::singleShot(30, [act] {
        QWidget *w = QApplication::activeModalWidget();
        if (!w)
            return;
        act(w);
    });
}

} // namespace

class TestSimWindow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void controlsAsDesigned()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        QCOMPARE(w->findChild<QGroupBox *>("fraWaterContents")->title(), QString("Initial Water Conditions"));
        QCOMPARE(w->findChild<QGroupBox *>("Frame1")->title(), QString("Select Flow and Time"));
        QCOMPARE(w->findChild<QGroupBox *>("fraEmitter")->title(), QString("Select Emitter Type"));
        QCOMPARE(w->findChild<QGroupBox *>("fraSel")->title(), QString("Select Soil Type"));
        QCOMPARE(w->findChild<QGroupBox *>("fraSel")->toolTip(), QString("Click To Select Soil Type"));
        QCOMPARE(w->findChild<QComboBox *>("cmbTime")->toolTip(), QString("Select maximum time for simulation (hours)"));
        QCOMPARE(w->findChild<QComboBox *>("cmbFlow")->toolTip(), QString("Select Flow Rate in litres/hour"));
        QCOMPARE(w->findChild<QLabel *>("lblSoilDes")->toolTip(), QString("Double Click to Select Soil Type"));
        QCOMPARE(w->findChild<QLabel *>("lblTime")->text(), QString("Time (hr)"));
        QCOMPARE(w->findChild<QLabel *>("lblFlow")->text(), QString("Flow (l/hr)"));
        QCOMPARE(w->findChild<QLabel *>("lblBuried")->text(), QString("Buried Emitter"));
        QCOMPARE(w->findChild<QLabel *>("lblEmit")->text(), QString("Surface Emitter"));
        QCOMPARE(w->findChild<QLabel *>("lblWater0")->text(), QString("Wet (3m Suction)"));
        QCOMPARE(w->findChild<QLabel *>("lblWater1")->text(), QString("Moist (6m Suction)"));
        QCOMPARE(w->findChild<QLabel *>("lblWater2")->text(), QString("Dry (10m Suction)"));
        QCOMPARE(w->findChild<QComboBox *>("cmbTime")->property("DataField").toString(), QString("Time.Time"));
        QCOMPARE(w->findChild<QComboBox *>("cmbFlow")->property("DataField").toString(), QString("Flow.FlowRate"));
        QCOMPARE(w->findChild<QLabel *>("lblSoilDes")->property("DataField").toString(), QString("Soil.Name"));
        QCOMPARE(w->findChild<QLabel *>("lblFlow")->font().family(), QString("Verdana"));
        // Load: lists filled, first soil shown with its number in the tag.
        QCOMPARE(w->findChild<QComboBox *>("cmbFlow")->count(), 4);
        QCOMPARE(w->findChild<QComboBox *>("cmbTime")->count(), 24);
        QCOMPARE(w->findChild<QComboBox *>("cmbTime")->currentIndex(), 0);
        QCOMPARE(w->findChild<QLabel *>("lblSoilDes")->text(), TestDatabase::soilName(1));
        QCOMPARE(w->findChild<QLabel *>("lblSoilDes")->property("Tag").toString(), QString("1"));
        QCOMPARE(w->mouseTimer()->interval(), 100);
        QVERIFY(w->mouseTimer()->isActive());
        QVERIFY(!w->windowIcon().isNull());
        // The options of a frame exclude one another.
        auto *wet = w->findChild<QCheckBox *>("chkWet");
        auto *dry = w->findChild<QCheckBox *>("chkDry");
        QVERIFY(dry->isChecked());
        QTest::mouseClick(wet, Qt::LeftButton);
        QVERIFY(wet->isChecked());
        QVERIFY(!dry->isChecked());
        // A click on an option's label sets that option.
        QTest::mouseClick(w->findChild<QLabel *>("lblBuried"), Qt::LeftButton);
        QVERIFY(w->findChild<QCheckBox *>("chkBuried")->isChecked());
        QVERIFY(!w->findChild<QCheckBox *>("chkSurface")->isChecked());
    }

    void choicesAloneDoNotRedrawButSimulateDoes()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        GraphEllipse *g = w->graph();
        QCOMPARE(labels(g), QStringList({"1 Hour"}));
        auto *cmbTime = w->findChild<QComboBox *>("cmbTime");
        auto *cmbFlow = w->findChild<QComboBox *>("cmbFlow");
        cmbTime->setCurrentIndex(23);
        cmbFlow->setCurrentIndex(1);
        QTest::mouseClick(w->findChild<QCheckBox *>("chkWet"), Qt::LeftButton);
        QCOMPARE(labels(g), QStringList({"1 Hour"})); // nothing redrawn yet
        app.frame->button("simulate")->trigger();
        QCOMPARE(labels(g), QStringList({"2 Hour", "3 Hour", "5 Hour", "8 Hour", "14 Hour", "24 Hour"}));
        const clsData last = g->front(5);
        QCOMPARE(last.Radius1(), float(TestDatabase::frontValue("SurfaceData-c3", "r", 1, 2, 24)));
        QCOMPARE(last.zplus(), float(TestDatabase::frontValue("SurfaceData-c3", "z", 1, 2, 24)));
        QCOMPARE(g->WaterContent(), QString("Wet"));
        QCOMPARE(g->FlowRate(), cmbFlow->currentText());
        QCOMPARE(g->SoilType(), TestDatabase::soilName(1));
        // Window 2 was not touched.
        QCOMPARE(labels(app.window(2)->graph()), QStringList({"1 Hour"}));
    }

    void clickOnGraphRedraws()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(2);
        w->findChild<QComboBox *>("cmbTime")->setCurrentIndex(2);
        QTest::mouseClick(w->graph()->hWnd(), Qt::LeftButton);
        QCOMPARE(labels(w->graph()), QStringList({"1 Hour", "2 Hour", "3 Hour"}));
    }

    void buriedEmitterTakesZplusAndZminus()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        QTest::mouseClick(w->findChild<QCheckBox *>("chkBuried"), Qt::LeftButton);
        QTest::mouseClick(w->findChild<QCheckBox *>("chkMoist"), Qt::LeftButton);
        w->findChild<QComboBox *>("cmbTime")->setCurrentIndex(4);
        w->UpdateGraph();
        const clsData d = w->graph()->front(int(w->graph()->EllipseCount()) - 1);
        QCOMPARE(d.zplus(), float(TestDatabase::frontValue("BuriedData-c6", "zplus", 1, 1, 5)));
        QCOMPARE(d.zminus(), float(TestDatabase::frontValue("BuriedData-c6", "zminus", 1, 1, 5)));
        QCOMPARE(w->graph()->EmitterDepth(), 0.25f);
    }

    void statusBarShowsCoordinatesAndClearsWhenMouseLeaves()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        QWidget *picture = w->graph()->hWnd();
        const QPoint inside(picture->width() / 2 + 20, int(picture->height() * 0.5));
        QTest::mouseMove(picture, inside);
        QTRY_VERIFY(w->isHooked());
        const QString text = w->statusBar()->currentMessage();
        QVERIFY2(text.startsWith("Ulvex Simulation 1   Z = "), qPrintable(text));
        QRegularExpression format("^Ulvex Simulation 1   Z = -?\\d+\\.\\d\\d  X = \\d+\\.\\d\\d$");
        QVERIFY2(format.match(text).hasMatch(), qPrintable(text));
        // Over a list: the coordinates go within the timer's 100 ms.
        QWidget *list = w->findChild<QComboBox *>("cmbFlow");
        QTest::mouseMove(list, QPoint(5, 5));
        QTRY_VERIFY_WITH_TIMEOUT(w->statusBar()->currentMessage().isEmpty(), 300);
        QVERIFY(!w->isHooked());
        QVERIFY(!basGlobals::blnMouseLeft);
    }

    void emptyGraphShowsNoCoordinates()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        w->graph()->RemoveAllEllipses();
        QTest::mouseMove(w->graph()->hWnd(), QPoint(30, 40));
        QTRY_VERIFY(w->isHooked());
        QVERIFY(w->statusBar()->currentMessage().isEmpty());
    }

    void windowMinimumSizeSnapsBack()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        AppFixture::sub(w)->resize(120, 90);
        QCoreApplication::processEvents();
        const QSize min = Twips::sizeToPixels(6345, 5745);
        QVERIFY(w->width() >= min.width());
        QVERIFY(w->height() >= min.height());
    }

    void controlsRescaleFromTheirLoadGeometry()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        auto *frame = w->findChild<QGroupBox *>("Frame1");
        auto *combo = w->findChild<QComboBox *>("cmbFlow");
        const QRect frameAtLoad = frame->geometry();
        const int comboHeight = combo->height();
        const QSize base = w->size();
        w->resize(base.width() * 2, base.height() * 2);
        QVERIFY(qAbs(frame->width() - frameAtLoad.width() * 2) <= 2);
        QVERIFY(qAbs(frame->y() - frameAtLoad.y() * 2) <= 2);
        // Fonts follow the size against the designed one, by the smaller ratio.
        const QSize design = Twips::sizeToPixels(6345, 5745);
        const double xr = double(w->width()) / design.width();
        const double yr = double(w->height()) / design.height();
        const double fontRatio = double(w->height()) / w->width() >= 5745.0 / 6345.0 ? xr : yr;
        QCOMPARE(frame->font().pointSizeF(), 8.0 * fontRatio);
        QVERIFY(fontRatio <= xr + 1e-9 && fontRatio <= yr + 1e-9);
        QVERIFY(combo->height() < comboHeight * 2); // a list keeps its own height
        // Back and forth: no creeping.
        w->resize(base.width() * 3 / 2, base.height() * 3 / 2);
        w->resize(base);
        QCOMPARE(frame->geometry(), frameAtLoad);
        // The graph and its picture grow with the window.
        w->resize(base.width() * 2, base.height() * 2);
        QWidget *picture = w->graph()->hWnd();
        QVERIFY2(w->graph()->width() > base.width() / 2, qPrintable(QString::number(w->graph()->width())));
        QCOMPARE(picture->size(), w->graph()->size());
        QCOMPARE(w->graph()->Image().size(), picture->size());
        w->resize(base);
        // The status bar stays docked at the bottom.
        QCOMPARE(w->statusBar()->geometry().bottom(), w->height() - 1);
    }

    void soilChoiceSetsCaptionAndTag()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(2);
        onNextModal([](QWidget *dialog) {
            QCOMPARE(dialog->windowTitle(), QString("Select Soil Type For Ulvex Simulation 2"));
            auto *list = dialog->findChild<QTreeWidget *>("lvSoil");
            QCOMPARE(list->topLevelItemCount(), 5);
            QCOMPARE(list->indexOfTopLevelItem(list->currentItem()), 0);
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                              list->visualItemRect(list->topLevelItem(3)).center());
        });
        app.frame->mdiArea()->setActiveSubWindow(AppFixture::sub(w));
        app.frame->button("soiltype")->trigger();
        auto *label = w->findChild<QLabel *>("lblSoilDes");
        QCOMPARE(label->text(), TestDatabase::soilName(4));
        QCOMPARE(label->property("Tag").toString(), QString("4"));
        // The next update reads the new soil.
        w->UpdateGraph();
        QCOMPARE(w->graph()->SoilType(), TestDatabase::soilName(4));
        QCOMPARE(w->graph()->front(0).Radius1(), float(TestDatabase::frontValue("SurfaceData-c", "r", 4, 1, 1)));
        // Opening again highlights the current soil.
        onNextModal([](QWidget *dialog) {
            auto *list = dialog->findChild<QTreeWidget *>("lvSoil");
            QCOMPARE(list->indexOfTopLevelItem(list->currentItem()), 3);
            QTest::keyClick(dialog->findChild<QPushButton *>("cmdReturn"), Qt::Key_Space);
        });
        QTest::mouseDClick(label, Qt::LeftButton);
        QCOMPARE(label->property("Tag").toString(), QString("4"));
    }

    void doubleClickOnGraphOpensGraphOptions()
    {
        AppFixture app;
        app.start();
        QString title;
        onNextModal([&title](QWidget *dialog) {
            title = dialog->windowTitle();
            qobject_cast<QDialog *>(dialog)->reject();
        });
        QTest::mouseDClick(app.window(1)->graph()->hWnd(), Qt::LeftButton);
        QCOMPARE(title, QString("Graph Options"));
    }

    void everyControlHasAnAccessibleName()
    {
        AppFixture app;
        app.start();
        QStringList missing;
        for (QWidget *w : app.window(1)->findChildren<QWidget *>()) {
            if (!w->isVisible() || w->focusPolicy() == Qt::NoFocus)
                continue;
            if (w->accessibleName().isEmpty())
                missing << w->objectName();
        }
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(", ")));
    }
};

QTEST_MAIN(TestSimWindow)
#include "tst_simwindow.moc"
