// The graph options dialog, driven through its real widgets: captions and
// tooltips, loading, the field rules, the colour selector, Accept and Cancel,
// the settings file written, and a graph drawn with the new settings.
#include "tests/simulation/AppFixture.h"

#include "graph/ColorRef.h"
#include "graph/GraphEllipse.h"
#include "graph/PictureBox.h"
#include "settings/ControlObject.h"
#include "settings/basIndProfile.h"
#include "settings/frmGraphOptions.h"
#include "base/ProgramFolder.h"
#include "tests/common/TestFiles.h"
#include "shell/ResourceImages.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTimer>
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

template <typename T> T *child(QWidget *w, const char *name)
{
    T *c = w->findChild<T *>(QString::fromLatin1(name));
    if (c == nullptr)
        qFatal("no control %s", name);
    return c;
}

QColor pixelAtMiddle(PictureBox *p)
{
    const QImage &img = p->Image();
    return img.pixelColor(img.width() / 2, img.height() / 2);
}

// Controls whose text does not fit, or that stick out of their parent.
QStringList clippedControls(QWidget *root)
{
    QStringList bad;
    for (QWidget *w : root->findChildren<QWidget *>()) {
        if (!w->isVisibleTo(root) || w->window() != root)
            continue;
        const QString name = w->objectName().isEmpty() ? QString(w->metaObject()->className())
                                                        : w->objectName();
        if (auto *label = qobject_cast<QLabel *>(w)) {
            const QFontMetrics fm(label->font());
            const QRect r = label->contentsRect();
            if (fm.horizontalAdvance(label->text()) > r.width() || fm.height() > r.height())
                bad << name + " (text)";
        } else if (auto *button = qobject_cast<QAbstractButton *>(w)) {
            if (!button->text().isEmpty() && (button->sizeHint().width() > button->width()
                                              || button->sizeHint().height() > button->height() + 2))
                bad << name + " (text)";
        } else if (auto *frame = qobject_cast<QGroupBox *>(w)) {
            if (!frame->title().isEmpty()
                && QFontMetrics(frame->font()).horizontalAdvance(frame->title()) + 8 > frame->width())
                bad << name + " (title)";
        } else if (qobject_cast<QLineEdit *>(w) || qobject_cast<QComboBox *>(w)) {
            if (w->height() < w->minimumSizeHint().height())
                bad << name + " (height)";
        }
        QWidget *parent = w->parentWidget();
        if (parent && !parent->rect().contains(w->geometry()) && !ControlObject::isInnerPart(w))
            bad << name + " (outside " + parent->objectName() + ")";
    }
    return bad;
}

// Loads the dialog and shows it as the active window, as the frame does.
bool openActive(frmGraphOptions &d)
{
    d.Form_Load();
    d.show();
    d.activateWindow();
    return QTest::qWaitForWindowActive(&d);
}

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString iniPath() const { return basIndProfile::IniPath(); }

private slots:
    void initTestCase()
    {
        ResourceImages::registerFontSubstitutes();
        QVERIFY(m_dir.isValid());
    }

    void init()
    {
        ProgramFolder::setOverride(m_dir.path());
        QFile::remove(iniPath());
    }

    void cleanup() { ProgramFolder::setOverride(QString()); }

    void captionsAndTooltipsAsDesigned()
    {
        frmGraphOptions d;
        d.Form_Load();
        QCOMPARE(d.windowTitle(), QString("Graph Options"));
        QVERIFY(!d.windowIcon().isNull());
        QVERIFY(!child<QPushButton>(&d, "cmdBack")->icon().isNull());
        QVERIFY(!child<QPushButton>(&d, "cmdForward")->icon().isNull());
        auto *tabs = child<QTabBar>(&d, "tabOptions");
        QCOMPARE(tabs->count(), 2);
        QCOMPARE(tabs->tabText(0), QString("General Options"));
        QCOMPARE(tabs->tabToolTip(0), QString("Graphing General Options"));
        QCOMPARE(tabs->tabText(1), QString("Axis Options"));

        const auto text = [&d](const char *name) -> QString {
            QWidget *w = d.findChild<QWidget *>(name);
            if (auto *l = qobject_cast<QLabel *>(w))
                return l->text();
            if (auto *b = qobject_cast<QAbstractButton *>(w))
                return b->text();
            if (auto *g = qobject_cast<QGroupBox *>(w))
                return g->title();
            return QString("?");
        };
        const auto tip = [&d](const char *name) { return d.findChild<QWidget *>(name)->toolTip(); };
        QCOMPARE(text("lblMaxSim"), QString("No. Time Steps"));
        QCOMPARE(tip("cmbMaxSim"), QString("Insert No. of Time Steps 1 - 6"));
        QCOMPARE(text("radLog"), QString("Logarithimic Time Scale"));
        QCOMPARE(tip("radLog"), QString("Check for Logarithmic Timescale simulation"));
        QCOMPARE(text("chkBackGround"), QString("Color Background"));
        QCOMPARE(tip("chkBackGround"), QString("Check if you want the Graph Background to be colored"));
        QCOMPARE(text("lblWidth"), QString("Line Width"));
        QCOMPARE(tip("txtWidth"), QString("Select Line Width in Points between 1 and 5"));
        QCOMPARE(text("lblEDepth"), QString("Emitter Depth"));
        QCOMPARE(tip("txtEDepth"), QString("Select Emitter Depth between 0.1 - 1.5 m"));
        QCOMPARE(text("lblSelectColor"), QString("Select Time Step Color"));
        QCOMPARE(text("lblGraph"), QString("Time Step 1"));
        QCOMPARE(tip("picColorSelect"), QString("Double Click to Select Color"));
        QCOMPARE(tip("cmdBack"), QString("Click to Go to Previouse Time Step"));
        QCOMPARE(tip("cmdForward"), QString("Click to Go to Next Time Step color"));
        QCOMPARE(text("fraXAxis"), QString("X Axis"));
        QCOMPARE(text("fraYAxis"), QString("Y Axis"));
        QCOMPARE(text("chkAutoScaleX"), QString("Auto Scale X Axis"));
        QCOMPARE(tip("chkAutoScaleX"), QString("Check to Autoscale the X Axis"));
        QCOMPARE(text("lblMaxX"), QString("Max. X Axis"));
        QCOMPARE(tip("txtMaxX"), QString("Enter the Maximum X value between .2 - 2"));
        QCOMPARE(text("lblXDecPlaces"), QString("No. Dec Places"));
        QCOMPARE(tip("txtXDecPlaces"), QString("Enter the X axis no of Decimal Places betwee 0-2"));
        QCOMPARE(text("ChkAutoScaleY"), QString("Auto Scale Y Axis"));
        QCOMPARE(tip("ChkAutoScaleY"), QString("Check to Autoscale the Y Axis"));
        QCOMPARE(text("lblMaxY"), QString("Max. Y Axis"));
        QCOMPARE(tip("txtMaxY"), QString("Enter the Maximum Y value between .2 - 2"));
        QCOMPARE(text("lblYDecPlaces"), QString("No. Dec Places"));
        QCOMPARE(tip("txtYDecPlaces"), QString("Enter the Y axis no of Decimal Places betwee 0-2"));
        QCOMPARE(text("cmdOK"), QString("Accept"));
        QCOMPARE(text("cmdCancel"), QString("Cancel"));
        QVERIFY(d.findChild<QStatusBar *>("StatusBar1"));
    }

    void everyControlHasAnAccessibleNameAndDescription()
    {
        frmGraphOptions d;
        d.Form_Load();
        QStringList missing;
        for (QWidget *w : d.findChildren<QWidget *>()) {
            if (w->window() != &d || w->objectName().isEmpty() || w->objectName().startsWith("qt_"))
                continue;
            // What a screen reader reads: a label its own text, the rest the
            // name given to them.
            QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(w);
            if (spoken == nullptr || spoken->text(QAccessible::Name).isEmpty())
                missing << w->objectName();
            if (!w->toolTip().isEmpty() && !w->accessibleDescription().contains(w->toolTip()))
                missing << w->objectName() + " (description)";
        }
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(", ")));
        QCOMPARE(child<QLineEdit>(&d, "txtWidth")->accessibleName(), QString("Line Width"));
        QCOMPARE(child<QLineEdit>(&d, "txtYDecPlaces")->accessibleName(), QString("Y Axis No. Dec Places"));
    }

    void firstTabShownAtLoadAndTabsSwitchPages()
    {
        frmGraphOptions d;
        d.Form_Load();
        d.show();
        QVERIFY(QTest::qWaitForWindowExposed(&d));
        auto *general = child<QGroupBox>(&d, "fraTab0");
        auto *axis = child<QGroupBox>(&d, "fraTab1");
        QVERIFY(general->isVisible());
        QVERIFY(!axis->isVisible());
        const QSize before = d.size();
        auto *tabs = child<QTabBar>(&d, "tabOptions");
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
        QVERIFY(!general->isVisible());
        QVERIFY(axis->isVisible());
        QCOMPARE(d.size(), before);
    }

    void loadsDefaultsAndCreatesTheFile()
    {
        frmGraphOptions d;
        d.Form_Load();
        QVERIFY(QFile::exists(iniPath()));
        QCOMPARE(child<QLineEdit>(&d, "txtEDepth")->text(), QString("0.25"));
        // The default width of 1.5 shows as the nearest whole number, 2 (a
        // half goes to the even neighbour).
        QCOMPARE(child<QLineEdit>(&d, "txtWidth")->text(), QString("2"));
        QCOMPARE(child<QLineEdit>(&d, "txtMaxX")->text(), QString("1.5"));
        QCOMPARE(child<QLineEdit>(&d, "txtMaxY")->text(), QString("1.5"));
        QCOMPARE(child<QLineEdit>(&d, "txtXDecPlaces")->text(), QString("1"));
        QCOMPARE(child<QLineEdit>(&d, "txtYDecPlaces")->text(), QString("1"));
        auto *cmb = child<QComboBox>(&d, "cmbMaxSim");
        QCOMPARE(cmb->count(), 6);
        QCOMPARE(cmb->itemText(0), QString("1"));
        QCOMPARE(cmb->itemText(5), QString("6"));
        QCOMPARE(cmb->currentIndex(), 5);
        QVERIFY(child<QCheckBox>(&d, "radLog")->isChecked());
        QVERIFY(!child<QCheckBox>(&d, "chkBackGround")->isChecked());
        QVERIFY(!child<QCheckBox>(&d, "chkAutoScaleX")->isChecked());
        QVERIFY(!child<QCheckBox>(&d, "ChkAutoScaleY")->isChecked());
        QCOMPARE(d.colorIndex(), 0);
    }

    void loadsAStoredFile()
    {
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nAutoScaleX=1\nAutoScaleY=0\nMaxX=0.8\nMaxY=1.2\n"
                                    "XDecPlaces=2\nYDecPlaces=0\nBackOn=1\nEmitterDepth=0.5\nMaxSim=4\n"
                                    "Color1=255\nColor2=65280\nColor3=16711680\nColor4=0\nColor5=0\n"
                                    "Color6=0\nColor7=0\nColor8=0\nWidth=3\nTimeScale=LIN\n"));
        frmGraphOptions d;
        d.Form_Load();
        QCOMPARE(child<QLineEdit>(&d, "txtEDepth")->text(), QString("0.5"));
        QCOMPARE(child<QLineEdit>(&d, "txtWidth")->text(), QString("3"));
        QCOMPARE(child<QLineEdit>(&d, "txtMaxX")->text(), QString("0.8"));
        QCOMPARE(child<QLineEdit>(&d, "txtMaxY")->text(), QString("1.2"));
        QCOMPARE(child<QLineEdit>(&d, "txtXDecPlaces")->text(), QString("2"));
        QCOMPARE(child<QLineEdit>(&d, "txtYDecPlaces")->text(), QString("0"));
        QCOMPARE(child<QComboBox>(&d, "cmbMaxSim")->currentIndex(), 3);
        QVERIFY(!child<QCheckBox>(&d, "radLog")->isChecked());
        QVERIFY(child<QCheckBox>(&d, "chkBackGround")->isChecked());
        QVERIFY(child<QCheckBox>(&d, "chkAutoScaleX")->isChecked());
        QVERIFY(!child<QCheckBox>(&d, "ChkAutoScaleY")->isChecked());
        // The sample: white, a line of the first colour across the middle,
        // as thick as the width.
        auto *pic = child<PictureBox>(&d, "picColorSelect");
        QCOMPARE(pixelAtMiddle(pic), QColor(255, 0, 0));
        QCOMPARE(pic->Image().pixelColor(2, 1), QColor(Qt::white));
        int thick = 0;
        for (int y = 0; y < pic->Image().height(); ++y)
            if (pic->Image().pixelColor(pic->Image().width() / 2, y) == QColor(255, 0, 0))
                ++thick;
        QCOMPARE(thick, 3);
    }

    void statusBarShowsTheFocusedControlsTooltip()
    {
        frmGraphOptions d;
        QVERIFY(openActive(d));
        auto *status = child<QStatusBar>(&d, "StatusBar1");
        auto *depth = child<QLineEdit>(&d, "txtEDepth");
        QTest::mouseClick(depth, Qt::LeftButton);
        QCOMPARE(status->currentMessage(), QString("Select Emitter Depth between 0.1 - 1.5 m"));
        // Tall enough to read, and inside the dialog.
        QVERIFY(status->height() >= status->fontMetrics().height());
        QVERIFY(d.rect().contains(status->geometry()));
        QTest::mouseClick(child<QCheckBox>(&d, "chkBackGround"), Qt::LeftButton);
        QCOMPARE(status->currentMessage(), QString("Check if you want the Graph Background to be colored"));
        QTest::mouseClick(child<PictureBox>(&d, "picColorSelect"), Qt::LeftButton);
        QCOMPARE(status->currentMessage(), QString("Double Click to Select Color"));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), child<QWidget>(&d, "cmdForward"));
        QCOMPARE(status->currentMessage(), QString("Click to Go to Next Time Step color"));
        // A control without a tooltip clears the text.
        child<QPushButton>(&d, "cmdOK")->setFocus();
        QCOMPARE(status->currentMessage(), QString());
    }

    void emitterDepthRefusesMinusAndSecondPoint()
    {
        frmGraphOptions d;
        QVERIFY(openActive(d));
        auto *depth = child<QLineEdit>(&d, "txtEDepth");
        QTest::mouseClick(depth, Qt::LeftButton);
        depth->selectAll();
        QTest::keyClick(depth, Qt::Key_Minus);
        QCOMPARE(depth->text(), QString("0.25"));
        QTest::keyClick(depth, Qt::Key_End);
        QTest::keyClick(depth, Qt::Key_Period);
        QCOMPARE(depth->text(), QString("0.25"));
        QTest::keyClick(depth, Qt::Key_Home);
        QTest::keyClick(depth, Qt::Key_Minus);
        QCOMPARE(depth->text(), QString("0.25"));
        QCOMPARE(depth->cursorPosition(), 0);
        // Below the minimum: may be typed, may not be left.
        depth->selectAll();
        QTest::keyClicks(depth, "0.05");
        QCOMPARE(depth->text(), QString("0.05"));
        QTest::keyClick(depth, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), depth);
    }

    void lineWidthSixCanBeTypedButNotLeftNorAccepted()
    {
        frmGraphOptions d;
        d.Form_Load();
        const QByteArray before = readAll(iniPath());
        d.show();
        d.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&d));
        auto *width = child<QLineEdit>(&d, "txtWidth");
        QTest::mouseClick(width, Qt::LeftButton);
        width->selectAll();
        QTest::keyClick(width, Qt::Key_6);
        QCOMPARE(width->text(), QString("6"));
        QTest::keyClick(width, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), width);
        QTest::mouseClick(child<QCheckBox>(&d, "radLog"), Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), width);
        bool messageShown = false;
        onNextModal([&messageShown](QWidget *w) {
            messageShown = true;
            w->close();
        });
        QTest::mouseClick(child<QPushButton>(&d, "cmdOK"), Qt::LeftButton);
        QTest::qWait(120);
        QVERIFY(d.isVisible());
        QCOMPARE(d.result(), int(QDialog::Rejected));
        QCOMPARE(QApplication::focusWidget(), width);
        QVERIFY(!messageShown); // refused quietly, the focus stays in the field
        QCOMPARE(readAll(iniPath()), before);
        // 5 is fine.
        QTest::keyClick(width, Qt::Key_Backspace);
        QTest::keyClick(width, Qt::Key_5);
        QTest::mouseClick(child<QPushButton>(&d, "cmdOK"), Qt::LeftButton);
        QVERIFY(!d.isVisible());
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QVERIFY(sectionLines(readAll(iniPath()), "Graph Settings").contains("Width=5"));
    }

    void firstOpeningAcceptsWithoutAMessage()
    {
        // No settings file yet: the program writes its defaults, and the
        // dialog takes them back untouched.
        frmGraphOptions d;
        d.Form_Load();
        QVERIFY(d.loadProblems().isEmpty());
        d.show();
        d.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&d));
        QCOMPARE(child<QLineEdit>(&d, "txtWidth")->text(), QString("2"));
        QStringList shown;
        onNextModal([&shown](QWidget *w) {
            shown << w->windowTitle();
            w->close();
        });
        QTest::mouseClick(child<QPushButton>(&d, "cmdOK"), Qt::LeftButton);
        QTest::qWait(120);
        QVERIFY2(shown.isEmpty(), qPrintable(shown.join(", ")));
        QVERIFY(!d.isVisible());
        QCOMPARE(d.result(), int(QDialog::Accepted));
        const QStringList lines = sectionLines(readAll(iniPath()), "Graph Settings");
        QVERIFY(lines.contains("Width=2"));
        QVERIFY(lines.contains("EmitterDepth=0.25"));
        QCOMPARE(lines.size(), 19);
    }

    void storedWidthShowsAsTheNearestWholeNumberInRange_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("shown");
        QTest::newRow("1.5") << QByteArray("1.5") << "2";
        QTest::newRow("2.5") << QByteArray("2.5") << "2";
        QTest::newRow("3.5") << QByteArray("3.5") << "4";
        QTest::newRow("2.51") << QByteArray("2.51") << "3";
        QTest::newRow("4.4") << QByteArray("4.4") << "4";
        QTest::newRow("0.2") << QByteArray("0.2") << "1";
        QTest::newRow("0") << QByteArray("0") << "1";
        QTest::newRow("7") << QByteArray("7") << "5";
        QTest::newRow("-3") << QByteArray("-3") << "1";
    }
    void storedWidthShowsAsTheNearestWholeNumberInRange()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, shown);
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nWidth=" + stored + "\n"));
        frmGraphOptions d;
        d.Form_Load();
        QCOMPARE(child<QLineEdit>(&d, "txtWidth")->text(), shown);
        // Accept takes it as shown.
        d.cmdOK_Click();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QVERIFY(sectionLines(readAll(iniPath()), "Graph Settings").contains("Width=" + shown));
    }

    void acceptShowsTheFieldMessages()
    {
        // An emptied width, never visited: the second message.
        {
            frmGraphOptions d;
            QVERIFY(openActive(d));
            child<QLineEdit>(&d, "txtWidth")->clear();
            QString title, text;
            onNextModal([&](QWidget *w) {
                auto *m = qobject_cast<QMessageBox *>(w);
                QVERIFY(m);
                title = m->windowTitle();
                text = m->text();
                m->accept();
            });
            d.cmdOK_Click();
            QCOMPARE(title, QString("Invalid Value"));
            QCOMPARE(text, QString("Second Field must be Entered"));
            QVERIFY(d.isVisible());
            QCOMPARE(d.focusWidget(), child<QWidget>(&d, "txtWidth"));
        }
        // An emitter depth out of range in the file: the first message.
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nEmitterDepth=5\nWidth=2\n"));
        {
            frmGraphOptions d;
            d.Form_Load();
            QCOMPARE(child<QLineEdit>(&d, "txtEDepth")->text(), QString("5"));
            d.show();
            d.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&d));
            child<QPushButton>(&d, "cmdOK")->setFocus();
            QString text;
            onNextModal([&](QWidget *w) {
                text = qobject_cast<QMessageBox *>(w)->text();
                qobject_cast<QMessageBox *>(w)->accept();
            });
            d.cmdOK_Click();
            QCOMPARE(text, QString("First Field must be Entered"));
            QCOMPARE(d.focusWidget(), child<QWidget>(&d, "txtEDepth"));
            QVERIFY(d.isVisible());
        }
    }

    void stepButtonsStopAtTimeStepsOneAndSix()
    {
        QByteArray file = "[Graph Settings]\nWidth=2\n";
        for (int i = 1; i <= 8; ++i)
            file += "Color" + QByteArray::number(i) + "=" + QByteArray::number(ColorRef::rgb(30 * i, 0, 255 - 30 * i)) + "\n";
        QVERIFY(writeAll(iniPath(), file));
        frmGraphOptions d;
        d.Form_Load();
        d.show();
        QVERIFY(QTest::qWaitForWindowExposed(&d));
        auto *back = child<QPushButton>(&d, "cmdBack");
        auto *forward = child<QPushButton>(&d, "cmdForward");
        auto *label = child<QLabel>(&d, "lblGraph");
        auto *pic = child<PictureBox>(&d, "picColorSelect");
        QTest::mouseClick(back, Qt::LeftButton);
        QCOMPARE(d.colorIndex(), 0);
        QCOMPARE(label->text(), QString("Time Step 1"));
        QCOMPARE(pixelAtMiddle(pic), QColor(30, 0, 225));
        for (int step = 2; step <= 6; ++step) {
            QTest::mouseClick(forward, Qt::LeftButton);
            QCOMPARE(label->text(), QString("Time Step %1").arg(step));
            QCOMPARE(pixelAtMiddle(pic), QColor(30 * step, 0, 255 - 30 * step));
        }
        QTest::mouseClick(forward, Qt::LeftButton);
        QCOMPARE(d.colorIndex(), 5);
        QCOMPARE(label->text(), QString("Time Step 6"));
        QCOMPARE(pixelAtMiddle(pic), QColor(180, 0, 75));
        QTest::mouseClick(back, Qt::LeftButton);
        QCOMPARE(label->text(), QString("Time Step 5"));
        QCOMPARE(pixelAtMiddle(pic), QColor(150, 0, 105));
    }

    void colourDialogSetsTheTimeStepsColour()
    {
        frmGraphOptions d;
        d.Form_Load();
        d.show();
        QVERIFY(QTest::qWaitForWindowExposed(&d));
        auto *pic = child<PictureBox>(&d, "picColorSelect");
        d.cmdForward_Click(); // time step 2
        QColor initial;
        onNextModal([&initial](QWidget *w) {
            auto *dialog = qobject_cast<QColorDialog *>(w);
            QVERIFY(dialog);
            initial = dialog->currentColor();
            dialog->setCurrentColor(QColor(10, 200, 30));
            dialog->accept();
        });
        QTest::mouseDClick(pic, Qt::LeftButton);
        QCOMPARE(initial, ColorRef::toQColor(1)); // the default colour of time step 2
        QCOMPARE(d.settings().Color[2], ColorRef::rgb(10, 200, 30));
        QCOMPARE(pixelAtMiddle(pic), QColor(10, 200, 30));
        // Cancelled: nothing changes.
        onNextModal([](QWidget *w) {
            auto *dialog = qobject_cast<QColorDialog *>(w);
            dialog->setCurrentColor(QColor(1, 2, 3));
            dialog->reject();
        });
        QTest::mouseDClick(pic, Qt::LeftButton);
        QCOMPARE(d.settings().Color[2], ColorRef::rgb(10, 200, 30));
        QCOMPARE(pixelAtMiddle(pic), QColor(10, 200, 30));
        // From the keyboard too.
        onNextModal([](QWidget *w) {
            auto *dialog = qobject_cast<QColorDialog *>(w);
            dialog->setCurrentColor(QColor(200, 100, 0));
            dialog->accept();
        });
        pic->setFocus();
        QTest::keyClick(pic, Qt::Key_Return);
        QCOMPARE(d.settings().Color[2], ColorRef::rgb(200, 100, 0));
    }

    void timeScaleOtherThanLogIsSavedAsLin_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("lower case") << QByteArray("log");
        QTest::newRow("LIN") << QByteArray("LIN");
        QTest::newRow("other") << QByteArray("abc");
    }

    void timeScaleOtherThanLogIsSavedAsLin()
    {
        QFETCH(QByteArray, stored);
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nWidth=2\nTimeScale=" + stored + "\n"));
        frmGraphOptions d;
        d.Form_Load();
        QVERIFY(!child<QCheckBox>(&d, "radLog")->isChecked());
        d.cmdOK_Click();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QVERIFY(sectionLines(readAll(iniPath()), "Graph Settings").contains("TimeScale=LIN"));
    }

    void unusableStoredValuesAreKeptAsTheyWere()
    {
        // Nine time steps cannot be shown in the list; a negative number of
        // decimal places cannot be typed into its field. Neither is touched.
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nWidth=2\nMaxSim=9\nXDecPlaces=-1\n"));
        frmGraphOptions d;
        d.Form_Load();
        QCOMPARE(child<QComboBox>(&d, "cmbMaxSim")->currentIndex(), -1);
        QCOMPARE(child<QLineEdit>(&d, "txtXDecPlaces")->text(), QString());
        d.cmdOK_Click();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        const QStringList lines = sectionLines(readAll(iniPath()), "Graph Settings");
        QVERIFY(lines.contains("MaxSim=9"));
        QVERIFY(lines.contains("XDecPlaces=-1"));
        QVERIFY(lines.contains("Width=2"));
    }

    void acceptWritesTheNineteenKeysInOrder()
    {
        // A file without the section: nothing is written on loading, and
        // Accept appends the whole section in the record's order.
        QVERIFY(writeAll(iniPath(), "[Other]\nA=1\n"));
        frmGraphOptions d;
        QVERIFY(openActive(d));
        const auto retype = [](QLineEdit *field, const char *text) {
            QTest::mouseClick(field, Qt::LeftButton);
            field->selectAll();
            QTest::keyClick(field, Qt::Key_Delete);
            QTest::keyClicks(field, text);
            QCOMPARE(field->text(), QString(text));
        };
        retype(child<QLineEdit>(&d, "txtEDepth"), "0.4");
        retype(child<QLineEdit>(&d, "txtWidth"), "4");
        QTest::mouseClick(child<QCheckBox>(&d, "chkBackGround"), Qt::LeftButton);
        child<QComboBox>(&d, "cmbMaxSim")->setCurrentIndex(2);
        d.cmdForward_Click();
        onNextModal([](QWidget *w) {
            auto *dialog = qobject_cast<QColorDialog *>(w);
            dialog->setCurrentColor(QColor(0, 0, 255));
            dialog->accept();
        });
        d.picColorSelect_DblClick();
        auto *tabs = child<QTabBar>(&d, "tabOptions");
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
        QTest::mouseClick(child<QCheckBox>(&d, "ChkAutoScaleY"), Qt::LeftButton);
        retype(child<QLineEdit>(&d, "txtMaxX"), "0.6");
        retype(child<QLineEdit>(&d, "txtMaxY"), "1.8");
        retype(child<QLineEdit>(&d, "txtXDecPlaces"), "2");
        retype(child<QLineEdit>(&d, "txtYDecPlaces"), "0");
        QTest::mouseClick(child<QPushButton>(&d, "cmdOK"), Qt::LeftButton);
        QCOMPARE(d.result(), int(QDialog::Accepted));

        const QByteArray file = readAll(iniPath());
        QCOMPARE(sectionLines(file, "Graph Settings"),
                 QStringList({"AutoScaleX=0", "AutoScaleY=1", "MaxX=0.6", "MaxY=1.8", "XDecPlaces=2",
                              "YDecPlaces=0", "BackOn=1", "EmitterDepth=0.4", "MaxSim=3", "Color1=0",
                              "Color2=16711680", "Color3=2", "Color4=3", "Color5=4", "Color6=5",
                              "Color7=6", "Color8=7", "Width=4", "TimeScale=LOG"}));
        QCOMPARE(sectionLines(file, "Other"), QStringList({"A=1"}));
        GraphSettings read;
        basIndProfile::LoadGraphSettings(read);
        QCOMPARE(read.EmitterDepth, 0.4f);
        QCOMPARE(read.Color[2], ColorRef::rgb(0, 0, 255));
    }

    void cancelDiscardsEverything()
    {
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nWidth=2\nColor1=255\n"));
        const QByteArray before = readAll(iniPath());
        frmGraphOptions d;
        QVERIFY(openActive(d));
        onNextModal([](QWidget *w) {
            auto *dialog = qobject_cast<QColorDialog *>(w);
            dialog->setCurrentColor(QColor(0, 255, 0));
            dialog->accept();
        });
        d.picColorSelect_DblClick();
        QCOMPARE(d.settings().Color[1], ColorRef::rgb(0, 255, 0));
        auto *width = child<QLineEdit>(&d, "txtWidth");
        QTest::mouseClick(width, Qt::LeftButton);
        width->selectAll();
        QTest::keyClick(width, Qt::Key_4);
        QTest::mouseClick(child<QCheckBox>(&d, "chkBackGround"), Qt::LeftButton);
        QTest::mouseClick(child<QPushButton>(&d, "cmdCancel"), Qt::LeftButton);
        QVERIFY(!d.isVisible());
        QCOMPARE(d.result(), int(QDialog::Rejected));
        QCOMPARE(readAll(iniPath()), before);
        // A fresh dialog shows the file's values again.
        frmGraphOptions again;
        again.Form_Load();
        QCOMPARE(again.settings().Color[1], 255);
        QCOMPARE(child<QLineEdit>(&again, "txtWidth")->text(), QString("2"));
    }

    void acceptRefusingAFieldOnTheOtherPageShowsThatPage()
    {
        // An emitter depth out of range in the file, and the user on the
        // "Axis Options" page: Accept brings "General Options" back with the
        // focus in the refused field, where typed keys then go.
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nEmitterDepth=5\nWidth=2\n"));
        frmGraphOptions d;
        QVERIFY(openActive(d));
        auto *tabs = child<QTabBar>(&d, "tabOptions");
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
        QCOMPARE(tabs->currentIndex(), 1);
        QVERIFY(child<QGroupBox>(&d, "fraTab1")->isVisible());
        QString text;
        onNextModal([&text](QWidget *w) {
            text = qobject_cast<QMessageBox *>(w)->text();
            qobject_cast<QMessageBox *>(w)->accept();
        });
        QTest::mouseClick(child<QPushButton>(&d, "cmdOK"), Qt::LeftButton);
        QTest::qWait(120);
        QCOMPARE(text, QString("First Field must be Entered"));
        QVERIFY(d.isVisible());
        QCOMPARE(tabs->currentIndex(), 0);
        QVERIFY(child<QGroupBox>(&d, "fraTab0")->isVisible());
        QVERIFY(!child<QGroupBox>(&d, "fraTab1")->isVisible());
        auto *depth = child<QLineEdit>(&d, "txtEDepth");
        QCOMPARE(QApplication::focusWidget(), depth);
        QVERIFY(depth->isVisible());
        depth->selectAll();
        QTest::keyClicks(QApplication::focusWidget(), "0.5");
        QCOMPARE(depth->text(), QString("0.5"));
        QTest::mouseClick(child<QPushButton>(&d, "cmdOK"), Qt::LeftButton);
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QVERIFY(sectionLines(readAll(iniPath()), "Graph Settings").contains("EmitterDepth=0.5"));
    }

    void switchingPagesValidatesTheFocusedField()
    {
        frmGraphOptions d;
        QVERIFY(openActive(d));
        auto *tabs = child<QTabBar>(&d, "tabOptions");
        // An empty width may be typed but not left: not for the other page either.
        auto *width = child<QLineEdit>(&d, "txtWidth");
        QTest::mouseClick(width, Qt::LeftButton);
        width->selectAll();
        QTest::keyClick(width, Qt::Key_Delete);
        QCOMPARE(width->text(), QString());
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
        QCOMPARE(tabs->currentIndex(), 0);
        QVERIFY(child<QGroupBox>(&d, "fraTab0")->isVisible());
        QVERIFY(!child<QGroupBox>(&d, "fraTab1")->isVisible());
        QCOMPARE(QApplication::focusWidget(), width);
        // A valid value lets the page go.
        QTest::keyClick(width, Qt::Key_3);
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
        QCOMPARE(tabs->currentIndex(), 1);
        QVERIFY(child<QGroupBox>(&d, "fraTab1")->isVisible());

        // The same from the second page back to the first, with a maximum
        // out of range typed into its field.
        auto *maxX = child<QLineEdit>(&d, "txtMaxX");
        QTest::mouseClick(maxX, Qt::LeftButton);
        maxX->selectAll();
        QTest::keyClicks(maxX, "9");
        QCOMPARE(maxX->text(), QString("9"));
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(0).center());
        QCOMPARE(tabs->currentIndex(), 1);
        QVERIFY(maxX->isVisible());
        QCOMPARE(QApplication::focusWidget(), maxX);
        QTest::keyClick(maxX, Qt::Key_Backspace);
        QTest::keyClicks(maxX, "1.2");
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(0).center());
        QCOMPARE(tabs->currentIndex(), 0);
        QVERIFY(!maxX->isVisible());
    }

    void unusableSettingsOpenWithTheirDefaults()
    {
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nMaxX=abc\nMaxY=0.8\nWidth=3\nAutoScaleX=99999\n"));
        frmGraphOptions d;
        d.Form_Load();
        // The dialog opens: the unusable values at their defaults, the rest as stored.
        QCOMPARE(child<QLineEdit>(&d, "txtMaxX")->text(), QString("1.5"));
        QCOMPARE(child<QLineEdit>(&d, "txtMaxY")->text(), QString("0.8"));
        QCOMPARE(child<QLineEdit>(&d, "txtWidth")->text(), QString("3"));
        QVERIFY(!child<QCheckBox>(&d, "chkAutoScaleX")->isChecked());
        QCOMPARE(d.loadProblems().size(), 2);
        // In the record's order, each naming its key and the file.
        QVERIFY(d.loadProblems().at(0).contains("\"AutoScaleX\""));
        QVERIFY(d.loadProblems().at(1).contains("\"MaxX\""));
        QVERIFY(d.loadProblems().at(1).contains(iniPath()));
        // Accept repairs the file.
        d.cmdOK_Click();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        GraphSettings repaired;
        basIndProfile::LoadGraphSettings(repaired);
        QCOMPARE(repaired.MaxX, 1.5f);
        QCOMPARE(repaired.MaxY, 0.8f);
        QCOMPARE(repaired.Width, 3.0f);
        QCOMPARE(repaired.AutoScaleX, qint16(0));
    }

    void frameTellsWhichSettingsCannotBeUsedAndOpensTheDialog()
    {
        AppFixture app;
        app.start();
        QVERIFY(writeAll(basIndProfile::IniPath(), "[Graph Settings]\nMaxX=\"1.5\"x\nWidth=2\n"));
        bool opened = false;
        onNextModal([&opened](QWidget *w) {
            auto *d = qobject_cast<frmGraphOptions *>(w);
            opened = d != nullptr;
            if (d) {
                QCOMPARE(d->findChild<QLineEdit *>("txtMaxX")->text(), QString("1.5"));
                d->reject();
            }
        });
        app.frame->menuItem("mnuGraph")->trigger();
        QVERIFY(opened);
        QCOMPARE(app.errors.size(), 1);
        QVERIFY(app.errors.first().contains("\"MaxX\""));
        QVERIFY(app.errors.first().contains(basIndProfile::IniPath()));
    }

    void nothingClippedAndScreenshots()
    {
        QVERIFY(writeAll(iniPath(), "[Graph Settings]\nWidth=2\nColor1=255\n"));
        frmGraphOptions d;
        d.Form_Load();
        d.show();
        QVERIFY(QTest::qWaitForWindowExposed(&d));
        QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR");
        if (folder.isEmpty())
            folder = QDir::temp().filePath("ulvex-screenshots");
        QVERIFY(QDir().mkpath(folder));
        auto *tabs = child<QTabBar>(&d, "tabOptions");
        const QSize sizes[2] = {d.size(), d.minimumSizeHint()};
        QVERIFY(d.minimumSize().isEmpty() || d.minimumSize() == sizes[1]);
        for (int s = 0; s < 2; ++s) {
            const QSize size = sizes[s];
            d.resize(size);
            QCOMPARE(d.size(), size);
            QTest::qWait(20);
            for (int tab = 0; tab < 2; ++tab) {
                tabs->setCurrentIndex(tab);
                // A field with the focus, so that the status bar shows its tooltip.
                d.findChild<QLineEdit *>(tab == 0 ? "txtEDepth" : "txtMaxY")->setFocus();
                d.findChild<QStatusBar *>("StatusBar1")->showMessage(
                    d.findChild<QLineEdit *>(tab == 0 ? "txtEDepth" : "txtMaxY")->toolTip());
                QApplication::processEvents();
                const QStringList bad = clippedControls(&d);
                QVERIFY2(bad.isEmpty(), qPrintable(QString("%1x%2 tab %3: %4")
                                                        .arg(size.width()).arg(size.height()).arg(tab)
                                                        .arg(bad.join(", "))));
                const QString file = QDir(folder).filePath(
                    QString("options-tab%1-%2.png").arg(tab).arg(s == 1 ? "minimum" : "default"));
                QVERIFY(d.grab().save(file));
            }
        }
    }

    void graphTakesTheNewSettingsAtItsNextUpdate()
    {
        AppFixture app;
        app.start();
        frmMain *w = app.window(1);
        QVERIFY(w);
        const QColor magenta(255, 0, 255);
        const auto countInCentreColumn = [&w]() {
            const QImage img = w->graph()->Image();
            int n = 0;
            for (int y = 0; y < img.height(); ++y) {
                // Magenta or a blend of it with the white ground.
                const QColor c = img.pixelColor(img.width() / 2, y);
                if (c.red() > c.green() + 60 && c.blue() > c.green() + 60)
                    ++n;
            }
            return n;
        };
        const auto countAll = [&w, &magenta]() {
            const QImage img = w->graph()->Image();
            int n = 0;
            for (int y = 0; y < img.height(); ++y)
                for (int x = 0; x < img.width(); ++x)
                    if (img.pixelColor(x, y) == magenta)
                        ++n;
            return n;
        };
        // The longest time, so that all six time steps are drawn.
        auto *time = w->findChild<QComboBox *>("cmbTime");
        time->setCurrentIndex(time->count() - 1);
        w->UpdateGraph();
        QCOMPARE(w->graph()->EllipseCount(), qint16(6));
        QCOMPARE(countAll(), 0);

        // Through the frame's "Graph" menu item: one time step, magenta, width 5.
        const auto setOptions = [](const char *width) {
            return [width](QWidget *dialogWidget) {
                auto *d = qobject_cast<frmGraphOptions *>(dialogWidget);
                QVERIFY(d);
                QTimer::singleShot(50, [] {
                    auto *colours = qobject_cast<QColorDialog *>(QApplication::activeModalWidget());
                    QVERIFY(colours);
                    colours->setCurrentColor(QColor(255, 0, 255));
                    colours->accept();
                });
                QTest::mouseDClick(d->findChild<PictureBox *>("picColorSelect"), Qt::LeftButton);
                d->findChild<QComboBox *>("cmbMaxSim")->setCurrentIndex(0);
                auto *field = d->findChild<QLineEdit *>("txtWidth");
                QTest::mouseClick(field, Qt::LeftButton);
                field->selectAll();
                QTest::keyClicks(field, width);
                QTest::mouseClick(d->findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
            };
        };
        onNextModal(setOptions("5"));
        app.frame->menuItem("mnuGraph")->trigger();
        QVERIFY(sectionLines(readAll(basIndProfile::IniPath()), "Graph Settings").contains("Width=5"));
        // The open graph keeps its drawing until its next update.
        QCOMPARE(w->graph()->EllipseCount(), qint16(6));
        QCOMPARE(countAll(), 0);
        w->UpdateGraph();
        QCOMPARE(w->graph()->EllipseCount(), qint16(1));
        QCOMPARE(w->graph()->LineWidth(), 5.0f);
        // The curve crosses the centre column once, at its lowest point.
        const int thick = countInCentreColumn();
        const int thickAll = countAll();
        QVERIFY2(thick >= 4, qPrintable(QString::number(thick)));

        // Width 1: the same curve, thinner.
        onNextModal(setOptions("1"));
        app.frame->menuItem("mnuGraph")->trigger();
        w->UpdateGraph();
        const int thin = countInCentreColumn();
        const int thinAll = countAll();
        QVERIFY2(thin >= 1 && thin <= 2, qPrintable(QString("%1 %2").arg(thin).arg(thick)));
        QVERIFY2(thinAll > 0 && thinAll * 2 < thickAll, qPrintable(QString("%1 %2").arg(thinAll).arg(thickAll)));
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
