// The windows the user sees (the frame's sub-windows) keep the simulation
// window whole: never smaller than its minimum by any path, and every graph
// reachable, scrolling the window area where the windows do not fit.
#include "AppFixture.h"

#include "base/Twips.h"
#include "graph/GraphEllipse.h"
#include "shell/ResourceImages.h"
#include "shell/SimSubWindow.h"

#include <QMdiArea>
#include <QMenu>
#include <QScrollBar>
#include <QtTest>

namespace {

QSize simulationMinimum()
{
    return Twips::sizeToPixels(frmMain::sngOrigWidth, frmMain::sngOrigHeight);
}

// The part of w that its ancestors up to the frame do not clip, in w's own
// coordinates: what can be seen of it where it stands now.
QRect unclipped(const QWidget *w)
{
    QRect visible = w->rect();
    const QWidget *child = w;
    for (const QWidget *p = w->parentWidget(); p != nullptr; child = p, p = p->parentWidget()) {
        const QPoint offset = w->mapTo(p, QPoint(0, 0));
        visible &= p->rect().translated(-offset);
        if (p->isWindow())
            break;
    }
    Q_UNUSED(child);
    return visible;
}

// Scrolls the window area as far as its scroll bars go towards showing the
// whole of w at the area's top left corner, as a user would to reach it.
void scrollTo(QMdiArea *area, QWidget *w)
{
    const QPoint at = w->mapTo(area->viewport(), QPoint(0, 0));
    QScrollBar *h = area->horizontalScrollBar();
    QScrollBar *v = area->verticalScrollBar();
    h->setValue(h->value() + at.x());
    v->setValue(v->value() + at.y());
    QCoreApplication::processEvents();
}

QString describe(const QMdiSubWindow *sub, const QRect &seen, const QRect &whole)
{
    return QStringLiteral("%1 at %2,%3 %4x%5: sees %6,%7 %8x%9 of %10x%11")
        .arg(sub->objectName())
        .arg(sub->x()).arg(sub->y()).arg(sub->width()).arg(sub->height())
        .arg(seen.x()).arg(seen.y()).arg(seen.width()).arg(seen.height())
        .arg(whole.width()).arg(whole.height());
}

} // namespace

class TestTiling : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void tileKeepsEveryGraphWholeAndReachable_data()
    {
        QTest::addColumn<int>("windows");
        QTest::addColumn<bool>("smallestFrame");
        for (int n = 1; n <= 4; ++n) {
            QTest::addRow("%d windows, default frame", n) << n << false;
            QTest::addRow("%d windows, smallest frame", n) << n << true;
        }
    }
    void tileKeepsEveryGraphWholeAndReachable()
    {
        QFETCH(int, windows);
        QFETCH(bool, smallestFrame);
        AppFixture app;
        QVERIFY(app.startWithWindows(windows));
        if (smallestFrame)
            app.frame->resize(app.frame->minimumSize());
        QCoreApplication::processEvents();
        app.frame->menuItem("mnuTile")->trigger();
        QCoreApplication::processEvents();

        QMdiArea *area = app.frame->mdiArea();
        const QList<QMdiSubWindow *> subs = area->subWindowList(QMdiArea::CreationOrder);
        QCOMPARE(subs.size(), windows);
        const QSize minimum = simulationMinimum();
        const int fits = area->maximumViewportSize().width() / windows;
        for (int i = 0; i < windows; ++i) {
            auto *sub = qobject_cast<SimSubWindow *>(subs.at(i));
            QVERIFY(sub);
            auto *w = qobject_cast<frmMain *>(sub->widget());
            // The outer window, not only the simulation window inside it.
            QVERIFY2(sub->width() >= sub->normalMinimumSize().width(), qPrintable(sub->objectName()));
            QVERIFY2(sub->height() >= sub->normalMinimumSize().height(), qPrintable(sub->objectName()));
            QVERIFY(w->width() >= minimum.width());
            QVERIFY(w->height() >= minimum.height());
            // The inner window lies wholly inside the outer one.
            QVERIFY(sub->rect().contains(QRect(w->mapTo(sub, QPoint(0, 0)), w->size())));
            // Side by side in creation order, tops level.
            if (i > 0) {
                QCOMPARE(sub->y(), subs.at(0)->y());
                QCOMPARE(sub->x(), subs.at(i - 1)->x() + subs.at(i - 1)->width());
            }
            // Equal columns filling the area while they fit at the minimum.
            if (fits >= sub->minimumWidth() && i < windows - 1)
                QCOMPARE(sub->width(), fits);
        }
        // Every graph can be brought wholly into view with the scroll bars.
        for (QMdiSubWindow *sub : subs) {
            QWidget *picture = qobject_cast<frmMain *>(sub->widget())->graph()->hWnd();
            scrollTo(area, picture);
            const QRect seen = unclipped(picture);
            QVERIFY2(seen == picture->rect(), qPrintable(describe(sub, seen, picture->rect())));
        }
    }

    void fourWindowsInTheDefaultFrameScrollSideways()
    {
        AppFixture app;
        QVERIFY(app.startWithWindows(4));
        app.frame->menuItem("mnuTile")->trigger();
        QCoreApplication::processEvents();
        QMdiArea *area = app.frame->mdiArea();
        const QList<QMdiSubWindow *> subs = area->subWindowList(QMdiArea::CreationOrder);
        // Four columns at the minimum are wider than the area: it scrolls.
        QVERIFY(subs.last()->geometry().right() > area->viewport()->width());
        QVERIFY(area->horizontalScrollBar()->isVisible());
        QVERIFY(area->horizontalScrollBar()->maximum() > 0);
        QCOMPARE(subs.first()->width(), subs.first()->minimumWidth());
    }

    // The Windows menu lists the open windows below Tile and Cascade, the
    // active one checked; choosing one scrolled out of sight brings it into
    // view and makes it active.
    void theWindowsMenuListsAndReachesEveryWindow()
    {
        AppFixture app;
        QVERIFY(app.startWithWindows(4));
        app.frame->menuItem("mnuTile")->trigger();
        QCoreApplication::processEvents();
        QMdiArea *area = app.frame->mdiArea();
        QMenu *menu = app.frame->findChild<QMenu *>("mnuWindows");
        QVERIFY(menu);
        area->setActiveSubWindow(AppFixture::sub(app.window(2)));
        // What the user sees when the menu opens.
        menu->popup(QPoint(0, 0));
        QCoreApplication::processEvents();
        QStringList texts;
        QList<bool> checked;
        for (QAction *a : menu->actions()) {
            texts << (a->isSeparator() ? QString("-") : a->text());
            checked << a->isChecked();
        }
        QCOMPARE(texts, QStringList({"Tile", "Cascade", "-", "&1 Ulvex Simulation 1", "&2 Ulvex Simulation 2",
                                     "&3 Ulvex Simulation 3", "&4 Ulvex Simulation 4"}));
        QCOMPARE(checked, QList<bool>({false, false, false, false, true, false, false}));
        // The fourth lies beyond the right edge of the area.
        QMdiSubWindow *fourth = AppFixture::sub(app.window(4));
        QVERIFY(!area->viewport()->rect().contains(fourth->geometry()));
        menu->findChild<QAction *>("mnuWindow4")->trigger();
        menu->close();
        QCoreApplication::processEvents();
        QCOMPARE(area->activeSubWindow(), fourth);
        QVERIFY(area->viewport()->rect().contains(fourth->geometry().topLeft()));
        // Closed windows leave the list; opening again lists them afresh.
        fourth->close();
        QCoreApplication::processEvents();
        menu->popup(QPoint(0, 0));
        QCoreApplication::processEvents();
        int listed = 0;
        for (QAction *a : menu->actions())
            listed += a->objectName().startsWith("mnuWindow") ? 1 : 0;
        menu->close();
        QCOMPARE(listed, 3);
    }

    void noPathMakesTheOuterWindowSmaller()
    {
        AppFixture app;
        QVERIFY(app.startWithWindows(3));
        QMdiArea *area = app.frame->mdiArea();
        auto *sub = qobject_cast<SimSubWindow *>(area->subWindowList(QMdiArea::CreationOrder).first());
        QVERIFY(sub);
        const QSize least = sub->normalMinimumSize();
        QVERIFY(least.width() > simulationMinimum().width());
        QVERIFY(least.height() > simulationMinimum().height());

        // A resize as a drag of the border makes it, and a geometry as Tile sets it.
        sub->resize(120, 90);
        QCoreApplication::processEvents();
        QVERIFY(sub->width() >= least.width() && sub->height() >= least.height());
        sub->setGeometry(0, 0, 200, 150);
        QCoreApplication::processEvents();
        QVERIFY(sub->width() >= least.width() && sub->height() >= least.height());

        // A drag on the size grip of the bottom right corner, towards the top left.
        const QPoint corner(sub->width() - 3, sub->height() - 3);
        QTest::mousePress(sub, Qt::LeftButton, Qt::NoModifier, corner);
        QMouseEvent drag(QEvent::MouseMove, QPointF(corner - QPoint(300, 300)),
                         sub->mapToGlobal(QPointF(corner - QPoint(300, 300))), Qt::LeftButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(sub, &drag);
        QTest::mouseRelease(sub, Qt::LeftButton, Qt::NoModifier, corner - QPoint(300, 300));
        QVERIFY(sub->width() >= least.width() && sub->height() >= least.height());

        // Cascade in the smallest frame.
        app.frame->resize(app.frame->minimumSize());
        app.frame->menuItem("mnuCascade")->trigger();
        QCoreApplication::processEvents();
        for (QMdiSubWindow *s : area->subWindowList())
            QVERIFY(s->width() >= least.width() && s->height() >= least.height());

        // A frame made smaller after tiling: the windows keep their size and
        // the area scrolls to them.
        app.frame->resize(1000, 720);
        app.frame->menuItem("mnuTile")->trigger();
        app.frame->resize(app.frame->minimumSize());
        QCoreApplication::processEvents();
        for (QMdiSubWindow *s : area->subWindowList())
            QVERIFY(s->width() >= least.width() && s->height() >= least.height());
        QVERIFY(area->horizontalScrollBar()->maximum() > 0);
    }

    void maximizedInTheSmallestFrameShowsTheWholeGraph()
    {
        AppFixture app;
        QVERIFY(app.startWithWindows(2));
        app.frame->resize(app.frame->minimumSize());
        QMdiSubWindow *sub = AppFixture::sub(app.window(1));
        sub->showMaximized();
        QCoreApplication::processEvents();
        QWidget *picture = app.window(1)->graph()->hWnd();
        const QRect seen = unclipped(picture);
        QVERIFY2(seen == picture->rect(), qPrintable(describe(sub, seen, picture->rect())));
        QVERIFY(app.window(1)->width() >= simulationMinimum().width());
        QVERIFY(app.window(1)->height() >= simulationMinimum().height());
    }

    void minimizedWindowIsATitleBarAndComesBackWhole()
    {
        AppFixture app;
        QVERIFY(app.startWithWindows(2));
        auto *sub = qobject_cast<SimSubWindow *>(AppFixture::sub(app.window(1)));
        const QSize least = sub->normalMinimumSize();
        sub->showMinimized();
        QCoreApplication::processEvents();
        QVERIFY(sub->isMinimized());
        QVERIFY2(sub->height() < least.height(), qPrintable(QString::number(sub->height())));
        sub->showNormal();
        QCoreApplication::processEvents();
        QVERIFY(!sub->isMinimized());
        QVERIFY(sub->width() >= least.width() && sub->height() >= least.height());
        QVERIFY(app.window(1)->width() >= simulationMinimum().width());
        QVERIFY(app.window(1)->height() >= simulationMinimum().height());
    }
};

QTEST_MAIN(TestTiling)
#include "tst_tiling.moc"
