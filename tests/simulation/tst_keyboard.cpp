// Keyboard and screen readers: the keys of the frame's commands, no internal
// names in front of users, and accessible names that follow what the
// controls show.
#include "AppFixture.h"

#include "graph/GraphEllipse.h"
#include "settings/frmGraphOptions.h"
#include "shell/HelpViewer.h"
#include "shell/ResourceImages.h"
#include "tests/common/TestDatabase.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QMdiArea>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>
#include <QtTest>

#include <functional>

namespace {

void onNextModal(std::function<void(QWidget *)> act)
{
    QTimer::singleShot(50, [act] {
        if (QWidget *w = QApplication::activeModalWidget())
            act(w);
    });
}

// What a screen reader reads as the control's name.
QString spokenName(QWidget *w)
{
    QAccessibleInterface *i = QAccessible::queryAccessibleInterface(w);
    return i ? i->text(QAccessible::Name) : QString();
}

bool activate(QWidget *frame)
{
    frame->show();
    frame->activateWindow();
    return QTest::qWaitForWindowActive(frame);
}

} // namespace

class TestKeyboard : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void keysAreShownInTheMenusAndTooltipsStayAsDesigned()
    {
        AppFixture app;
        app.start();
        QCOMPARE(app.frame->menuItem("mnuNew")->shortcut(), QKeySequence(QKeySequence::New));
        QCOMPARE(app.frame->menuItem("mnuNew")->shortcut(), QKeySequence("Ctrl+N"));
        QCOMPARE(app.frame->menuItem("mnuPrint")->shortcut(), QKeySequence("Ctrl+P"));
        QCOMPARE(app.frame->menuItem("mnuContents")->shortcut(), QKeySequence("F1"));
        QCOMPARE(app.frame->button("simulate")->shortcut(), QKeySequence("F5"));
        QCOMPARE(app.frame->button("soiltype")->shortcut(), QKeySequence("F4"));
        // Captions and tooltips keep their words.
        QCOMPARE(app.frame->menuItem("mnuNew")->text(), QString("&New"));
        QCOMPARE(app.frame->button("simulate")->toolTip(), QString("Update Simulation"));
        QCOMPARE(app.frame->button("soiltype")->toolTip(), QString("Select Soil Type"));
        // The screen reader hears the key with the button's description.
        QWidget *button = app.frame->toolbar()->widgetForAction(app.frame->button("simulate"));
        QCOMPARE(button->accessibleName(), QString("Update Simulation"));
        QCOMPARE(button->accessibleDescription(), QString("Update Simulation (F5)"));
    }

    void f5UpdatesTheActiveWindow()
    {
        AppFixture app;
        app.start();
        QVERIFY(activate(app.frame.get()));
        frmMain *w = app.window(2);
        app.frame->mdiArea()->setActiveSubWindow(AppFixture::sub(w));
        auto *time = w->findChild<QComboBox *>("cmbTime");
        const qint16 before = w->graph()->EllipseCount();
        time->setCurrentIndex(time->count() - 1); // the longest time: every time step
        QCOMPARE(w->graph()->EllipseCount(), before); // choosing alone redraws nothing
        QTest::keyClick(app.frame.get(), Qt::Key_F5);
        QVERIFY(w->graph()->EllipseCount() > before);
        // The other window is untouched.
        QCOMPARE(app.window(1)->graph()->EllipseCount(), before);
    }

    void f4ChoosesTheSoilOfTheActiveWindow()
    {
        AppFixture app;
        app.start();
        QVERIFY(activate(app.frame.get()));
        frmMain *w = app.window(2);
        app.frame->mdiArea()->setActiveSubWindow(AppFixture::sub(w));
        QString title;
        onNextModal([&title](QWidget *dialog) {
            title = dialog->windowTitle();
            auto *list = dialog->findChild<QTreeWidget *>("lvSoil");
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                              list->visualItemRect(list->topLevelItem(2)).center());
        });
        QTest::keyClick(app.frame.get(), Qt::Key_F4);
        QCOMPARE(title, QString("Select Soil Type For Ulvex Simulation 2"));
        QCOMPARE(w->findChild<QLabel *>("lblSoilDes")->text(), TestDatabase::soilName(3));
    }

    void ctrlNOpensANewWindowAndCtrlPPrints()
    {
        AppFixture app;
        app.start();
        QVERIFY(activate(app.frame.get()));
        QTest::keyClick(app.frame.get(), Qt::Key_N, Qt::ControlModifier);
        QCOMPARE(basGlobals::colSimWindows().Count(), 3);
        QVERIFY(app.window(3));
        QVERIFY(app.window(3)->isVisible());

        QSignalSpy printed(app.frame->menuItem("mnuPrint"), &QAction::triggered);
        QString dialogTitle;
        onNextModal([&dialogTitle](QWidget *dialog) {
            dialogTitle = dialog->windowTitle();
            dialog->close(); // cancelled: nothing printed
        });
        QVERIFY(activate(app.frame.get()));
        QTest::keyClick(app.frame.get(), Qt::Key_P, Qt::ControlModifier);
        QCOMPARE(printed.count(), 1);
        QVERIFY2(!dialogTitle.isEmpty(), "the print dialog did not open");
    }

    void f1OpensTheHelpContents()
    {
        AppFixture app;
        app.start();
        QVERIFY(activate(app.frame.get()));
        QTest::keyClick(app.frame.get(), Qt::Key_F1);
        auto *help = app.frame->findChild<HelpViewer *>();
        QVERIFY(help);
        QVERIFY(help->isVisible());
        help->close();
    }

    void toolBarHasNoMenuWithInternalNames()
    {
        AppFixture app;
        app.start();
        QVERIFY(activate(app.frame.get()));
        QVERIFY(app.frame->createPopupMenu() == nullptr);
        // A right click on the tool bar opens nothing.
        QToolBar *bar = app.frame->findChild<QToolBar *>("clbMain");
        QVERIFY(bar);
        bool menuShown = false;
        QTimer::singleShot(50, [&menuShown] {
            if (QWidget *popup = QApplication::activePopupWidget()) {
                menuShown = true;
                popup->close();
            }
        });
        const QPoint at(bar->width() - 5, bar->height() / 2);
        QContextMenuEvent click(QContextMenuEvent::Mouse, at, bar->mapToGlobal(at));
        QApplication::sendEvent(bar, &click);
        QTest::qWait(120);
        QVERIFY(!menuShown);
        // Nothing in the frame shows its internal name as a text.
        for (QAction *a : app.frame->findChildren<QAction *>())
            QVERIFY2(!a->text().contains("clbMain") && !a->text().contains("tlbMain"),
                     qPrintable(a->text()));
        QVERIFY(!bar->windowTitle().contains("clbMain"));
    }

    void soilLabelTellsScreenReadersTheSoil()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        auto *label = w->findChild<QLabel *>("lblSoilDes");
        const QString first = TestDatabase::soilName(1);
        QCOMPARE(label->text(), first);
        QCOMPARE(spokenName(label), QString("Soil type: ") + first);
        onNextModal([](QWidget *dialog) {
            auto *list = dialog->findChild<QTreeWidget *>("lvSoil");
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                              list->visualItemRect(list->topLevelItem(3)).center());
        });
        w->SelectSoilType();
        QCOMPARE(spokenName(label), QString("Soil type: ") + TestDatabase::soilName(4));
    }

    void graphTellsScreenReadersWhatItShows()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        const QString before = spokenName(w->graph()->hWnd());
        QVERIFY2(before.startsWith("Wetting pattern graph: " + TestDatabase::soilName(1)), qPrintable(before));
        QVERIFY2(before.endsWith(QString("%1 wetting fronts").arg(w->graph()->EllipseCount())), qPrintable(before));
        w->findChild<QComboBox *>("cmbTime")->setCurrentIndex(0);
        w->UpdateGraph();
        QVERIFY2(spokenName(w->graph()->hWnd()).endsWith(" 1 wetting fronts"),
                 qPrintable(spokenName(w->graph()->hWnd())));
    }

    void optionsTimeStepLabelsFollowTheStep()
    {
        AppFixture app;
        frmGraphOptions d;
        d.Form_Load();
        auto *step = d.findChild<QLabel *>("lblGraph");
        auto *sample = d.findChild<QWidget *>("picColorSelect");
        QCOMPARE(spokenName(step), QString("Time Step 1"));
        QCOMPARE(spokenName(sample), QString("Time Step 1 Color"));
        d.cmdForward_Click();
        d.cmdForward_Click();
        QCOMPARE(step->text(), QString("Time Step 3"));
        QCOMPARE(spokenName(step), QString("Time Step 3"));
        QCOMPARE(spokenName(sample), QString("Time Step 3 Color"));
        // The default colour of time step 3 is the colour value 2.
        QVERIFY(sample->accessibleDescription().startsWith("#020000"));
    }
};

QTEST_MAIN(TestKeyboard)
#include "tst_keyboard.moc"
