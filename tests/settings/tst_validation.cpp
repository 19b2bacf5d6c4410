// The field validation framework on an ordinary window: focus tracking with
// validation before the focus may move on, and the rules and keystroke filter
// of validated fields, driven through real widgets with key clicks and focus
// changes.
#include "settings/CTextBox.h"
#include "settings/ControlObject.h"
#include "settings/ControlsCollection.h"
#include "base/UlvexError.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QtTest>

#include <functional>

namespace {

// A window of the usual kinds of control, none of them special to the
// framework.
struct Form : QWidget
{
    QLabel *lbl = nullptr;
    QGroupBox *fra = nullptr;
    QLineEdit *txtA = nullptr;
    QLineEdit *txtB = nullptr;
    QComboBox *cmbC = nullptr;
    QCheckBox *chk = nullptr;
    QTreeWidget *lv = nullptr;
    QSpinBox *spn = nullptr;
    QPushButton *cmdOK = nullptr;
    QPushButton *cmdCancel = nullptr;

    Form()
    {
        auto *layout = new QVBoxLayout(this);
        lbl = new QLabel("A label", this);
        lbl->setObjectName("lbl");
        layout->addWidget(lbl);
        fra = new QGroupBox("A frame", this);
        fra->setObjectName("fra");
        auto *inner = new QVBoxLayout(fra);
        txtA = new QLineEdit(fra);
        txtA->setObjectName("txtA");
        inner->addWidget(txtA);
        txtB = new QLineEdit(fra);
        txtB->setObjectName("txtB");
        inner->addWidget(txtB);
        layout->addWidget(fra);
        cmbC = new QComboBox(this);
        cmbC->setObjectName("cmbC");
        cmbC->setEditable(true);
        layout->addWidget(cmbC);
        chk = new QCheckBox("Check", this);
        chk->setObjectName("chk");
        layout->addWidget(chk);
        lv = new QTreeWidget(this);
        lv->setObjectName("lv");
        layout->addWidget(lv);
        spn = new QSpinBox(this);
        spn->setObjectName("spn");
        layout->addWidget(spn);
        cmdOK = new QPushButton("OK", this);
        cmdOK->setObjectName("cmdOK");
        layout->addWidget(cmdOK);
        cmdCancel = new QPushButton("Cancel", this);
        cmdCancel->setObjectName("cmdCancel");
        layout->addWidget(cmdCancel);
    }
};

// Records the collection's events as "V:name", "G:name", "L:name"; refuses
// the controls named in `refuse`.
struct Recorder
{
    QStringList log;
    QStringList refuse;

    void watch(ControlsCollection &cc)
    {
        QObject::connect(&cc, &ControlsCollection::Validate, &cc,
                         [this](QWidget *c, bool &cancel) {
                             log << "V:" + c->objectName();
                             if (refuse.contains(c->objectName()))
                                 cancel = true;
                         },
                         Qt::DirectConnection);
        QObject::connect(&cc, &ControlsCollection::GotFocus, &cc,
                         [this](QWidget *c) { log << "G:" + c->objectName(); });
        QObject::connect(&cc, &ControlsCollection::LostFocus, &cc,
                         [this](QWidget *c) { log << "L:" + c->objectName(); });
    }
};

void showActive(QWidget &w)
{
    w.show();
    w.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&w));
}

// Runs `act` on the next modal window once it is up.
void onNextModal(std::function<void(QWidget *)> act)
{
    QTimer::singleShot(50, [act] {
        if (QWidget *w = QApplication::activeModalWidget())
            act(w);
    });
}

} // namespace

class TestValidation : public QObject
{
    Q_OBJECT
private slots:
    void attachesFocusableControlsInWindowOrder()
    {
        Form f;
        ControlsCollection cc;
        cc.Init(&f, false);
        QStringList names;
        for (QWidget *w : cc.controls())
            names << w->objectName();
        // Labels and frames take no focus; the inner parts of the combo box,
        // the list and the spin box are watched through their control.
        QCOMPARE(names, QStringList({"txtA", "txtB", "cmbC", "chk", "lv", "spn", "cmdOK", "cmdCancel"}));
        QVERIFY(ControlObject::isInnerPart(f.cmbC->lineEdit()));
        QVERIFY(ControlObject::isInnerPart(f.lv->viewport()));
        QVERIFY(!ControlObject::isInnerPart(f.txtA));
        cc.Destroy();
        QVERIFY(cc.controls().isEmpty());
        QCOMPARE(cc.currentControl(), nullptr);
    }

    void controlKinds()
    {
        Form f;
        ControlObject o;
        QVERIFY(!o.Attach(f.lbl, nullptr));
        ControlsCollection cc;
        QVERIFY(!o.Attach(f.lbl, &cc));
        QVERIFY(!o.Attach(f.fra, &cc));
        QVERIFY(o.Attach(f.txtA, &cc));
        QCOMPARE(o.kind(), ControlObject::Kind::TextBox);
        ControlObject b, c, d, e;
        QVERIFY(b.Attach(f.cmbC, &cc));
        QCOMPARE(b.kind(), ControlObject::Kind::ComboBox);
        QVERIFY(c.Attach(f.chk, &cc));
        QCOMPARE(c.kind(), ControlObject::Kind::CheckBox);
        QVERIFY(d.Attach(f.cmdOK, &cc));
        QCOMPARE(d.kind(), ControlObject::Kind::CommandButton);
        QVERIFY(e.Attach(f.spn, &cc));
        QCOMPARE(e.kind(), ControlObject::Kind::ExtControl);
    }

    void firstFocusRaisesOnlyGotFocus()
    {
        Form f;
        showActive(f);
        f.chk->setFocus(); // before the collection exists: not seen
        ControlsCollection cc;
        Recorder r;
        r.watch(cc);
        cc.Init(&f, false);
        f.txtA->setFocus();
        QCOMPARE(r.log, QStringList({"G:txtA"}));
        QCOMPARE(cc.currentControl(), f.txtA);
    }

    void eventOrderFollowsReverseEventsOrder_data()
    {
        QTest::addColumn<bool>("reverse");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("new control first") << false << QStringList({"G:txtA", "V:txtA", "G:txtB", "L:txtA"});
        QTest::newRow("old control first") << true << QStringList({"G:txtA", "V:txtA", "L:txtA", "G:txtB"});
    }

    void eventOrderFollowsReverseEventsOrder()
    {
        QFETCH(bool, reverse);
        QFETCH(QStringList, expected);
        Form f;
        ControlsCollection cc;
        Recorder r;
        r.watch(cc);
        cc.Init(&f, reverse);
        // The window comes up with the focus in its first control.
        showActive(f);
        QCOMPARE(cc.reverseEventsOrder(), reverse);
        f.txtA->setFocus();
        QTest::keyClick(f.txtA, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), f.txtB);
        QCOMPARE(r.log, expected);
        QCOMPARE(cc.currentControl(), f.txtB);
    }

    void refusedValueKeepsTheFocus()
    {
        Form f;
        ControlsCollection cc;
        Recorder r;
        r.watch(cc);
        cc.Init(&f, false);
        // The window comes up with the focus in its first control.
        showActive(f);
        f.txtA->setFocus();
        r.log.clear();
        r.refuse << "txtA";
        // By keyboard ...
        QTest::keyClick(f.txtA, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), f.txtA);
        QCOMPARE(cc.currentControl(), f.txtA);
        QCOMPARE(r.log, QStringList({"V:txtA"}));
        // ... and by mouse.
        r.log.clear();
        QTest::mouseClick(f.chk, Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), f.txtA);
        QCOMPARE(r.log, QStringList({"V:txtA"}));
        // Into the inner edit field of the combo box, which counts as the combo.
        r.log.clear();
        QTest::mouseClick(f.cmbC->lineEdit(), Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), f.txtA);
        QCOMPARE(r.log, QStringList({"V:txtA"}));
        // Once the value is accepted the focus moves on.
        r.refuse.clear();
        r.log.clear();
        QTest::keyClick(f.txtA, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), f.txtB);
        QCOMPARE(r.log, QStringList({"V:txtA", "G:txtB", "L:txtA"}));
    }

    void controlWithoutCausesValidationSkipsValidate()
    {
        Form f;
        ControlsCollection::setCausesValidation(f.cmdCancel, false);
        QVERIFY(!ControlsCollection::causesValidation(f.cmdCancel));
        QVERIFY(ControlsCollection::causesValidation(f.cmdOK));
        ControlsCollection cc;
        Recorder r;
        r.watch(cc);
        cc.Init(&f, true);
        // The window comes up with the focus in its first control.
        showActive(f);
        f.txtA->setFocus();
        r.log.clear();
        r.refuse << "txtA";
        QTest::mouseClick(f.cmdCancel, Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), f.cmdCancel);
        QCOMPARE(r.log, QStringList({"L:txtA", "G:cmdCancel"}));
        // The refusing control is no longer current: moving on from the
        // button validates the button, not the field.
        r.log.clear();
        QTest::mouseClick(f.cmdOK, Qt::LeftButton);
        QCOMPARE(r.log, QStringList({"V:cmdCancel", "L:cmdCancel", "G:cmdOK"}));
    }

    void validateControlsAndValidateAllControls()
    {
        Form f;
        ControlsCollection cc;
        Recorder r;
        r.watch(cc);
        cc.Init(&f, false);
        QVERIFY(cc.ValidateControls()); // no current control
        QVERIFY(r.log.isEmpty());
        // The window comes up with the focus in its first control.
        showActive(f);
        f.txtB->setFocus();
        r.log.clear();
        r.refuse << "txtB";
        QVERIFY(!cc.ValidateControls());
        QCOMPARE(r.log, QStringList({"V:txtB"}));
        r.refuse = QStringList({"chk"});
        QVERIFY(cc.ValidateControls());

        // Every control in order; the first refused one gets the focus.
        f.txtA->setFocus();
        r.log.clear();
        r.refuse = QStringList({"cmbC", "cmdOK"});
        QVERIFY(!cc.ValidateAllControls());
        QCOMPARE(r.log.mid(0, 3), QStringList({"V:txtA", "V:txtB", "V:cmbC"}));
        QCOMPARE(QApplication::focusWidget(), f.cmbC);
        r.refuse.clear();
        r.log.clear();
        QVERIFY(cc.ValidateAllControls());
        QCOMPARE(r.log, QStringList({"V:txtA", "V:txtB", "V:cmbC", "V:chk", "V:lv", "V:spn", "V:cmdOK",
                                     "V:cmdCancel"}));
    }

    void initRefusesOtherControls()
    {
        Form f;
        CTextBox box;
        try {
            box.Init(f.chk, CTextBox::vbInteger);
            QFAIL("a check box was accepted");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), 5);
            QCOMPARE(e.description(), QString("Invalid Control Type"));
        }
        QCOMPARE(box.control(), nullptr);
        box.Init(f.cmbC, CTextBox::vbInteger);
        QCOMPARE(box.control(), f.cmbC);
    }

    void singleWithMinimumAboveZeroRefusesMinusAndSecondPoint()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbSingle, 0.1, 1.5);
        QCOMPARE(box.allowedChars(), QString("0123456789."));
        f.txtA->setFocus();
        QTest::keyClick(f.txtA, Qt::Key_Minus);
        QCOMPARE(f.txtA->text(), QString());
        QTest::keyClicks(f.txtA, "0.5");
        QCOMPARE(f.txtA->text(), QString("0.5"));
        QTest::keyClick(f.txtA, Qt::Key_Period);
        QCOMPARE(f.txtA->text(), QString("0.5"));
        QCOMPARE(f.txtA->cursorPosition(), 3);
        // A second point elsewhere, with the caret moved back by key.
        QTest::keyClick(f.txtA, Qt::Key_Left);
        QTest::keyClick(f.txtA, Qt::Key_Left);
        QTest::keyClick(f.txtA, Qt::Key_Period);
        QCOMPARE(f.txtA->text(), QString("0.5"));
        QCOMPARE(f.txtA->cursorPosition(), 1);
        QCOMPARE(box.lastSelStart(), 1);
        // A letter is refused too, a digit at the caret is taken.
        QTest::keyClick(f.txtA, Qt::Key_A);
        QCOMPARE(f.txtA->text(), QString("0.5"));
        QTest::keyClick(f.txtA, Qt::Key_1);
        QCOMPARE(f.txtA->text(), QString("01.5"));
        QVERIFY(box.Validate(false)); // 01.5 is 1.5, the upper bound itself
        f.txtA->setText("0.05");
        QCOMPARE(f.txtA->text(), QString("0.05"));
        QVERIFY(box.Validate(true));
        QVERIFY(!box.Validate(false));
        f.txtA->setText("1.5");
        QVERIFY(box.Validate(false));
        f.txtA->setText("1.51");
        QVERIFY(!box.Validate(false));
        f.txtA->setText(".5");
        QVERIFY(box.Validate(false));
        f.txtA->setText("1.");
        QVERIFY(box.Validate(false));
        f.txtA->setText(".");
        QCOMPARE(f.txtA->text(), QString("."));
        QVERIFY(!box.Validate(false)); // does not convert
    }

    void integerWithNegativeMinimumTakesLeadingMinusOnly()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbInteger, -5, 5);
        QCOMPARE(box.allowedChars(), QString("-0123456789"));
        f.txtA->setFocus();
        QTest::keyClicks(f.txtA, "-3");
        QCOMPARE(f.txtA->text(), QString("-3"));
        QVERIFY(box.Validate(false));
        QTest::keyClick(f.txtA, Qt::Key_Minus);
        QCOMPARE(f.txtA->text(), QString("-3"));
        f.txtA->clear();
        QTest::keyClicks(f.txtA, "3-");
        QCOMPARE(f.txtA->text(), QString("3"));
        QTest::keyClick(f.txtA, Qt::Key_Period);
        QCOMPARE(f.txtA->text(), QString("3"));
        f.txtA->setText("-6");
        QVERIFY(box.Validate(true));
        QVERIFY(!box.Validate(false));
        f.txtA->setText("-");
        QVERIFY(box.Validate(true));
        QVERIFY(!box.Validate(false));
    }

    void emptyFieldPassesTypingButNotTheFullCheck()
    {
        Form f;
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbSingle, 0.1, 1.5, false);
        QVERIFY(box.Validate(true));
        QVERIFY(!box.Validate(false));
        box.IsOptional = true;
        QVERIFY(box.Validate(false));
    }

    void dateFieldRefusesThirdSlashDoubleSlashAndLeadingMinus()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbDate);
        QCOMPARE(box.allowedChars(), QString("0123456789-/:"));
        f.txtA->setFocus();
        QTest::keyClicks(f.txtA, "1/2/2024");
        QCOMPARE(f.txtA->text(), QString("1/2/2024"));
        QTest::keyClick(f.txtA, Qt::Key_Slash);
        QCOMPARE(f.txtA->text(), QString("1/2/2024"));
        QVERIFY(box.Validate(false));
        f.txtA->clear();
        QTest::keyClicks(f.txtA, "1//");
        QCOMPARE(f.txtA->text(), QString("1/"));
        f.txtA->clear();
        QTest::keyClick(f.txtA, Qt::Key_Minus);
        QCOMPARE(f.txtA->text(), QString());
        QTest::keyClick(f.txtA, Qt::Key_Slash);
        QCOMPARE(f.txtA->text(), QString());
        QTest::keyClicks(f.txtA, "2024-1-2-");
        QCOMPARE(f.txtA->text(), QString("2024-1-2"));
        QVERIFY(box.Validate(false));
        f.txtA->setText("31/31/2024");
        QVERIFY(box.Validate(true));
        QVERIFY(!box.Validate(false)); // no such date in any order
        f.txtA->setText("13:45");
        QVERIFY(box.Validate(false));
        f.txtA->setText("25:00");
        QVERIFY(!box.Validate(false));
    }

    void dateBoundsAndLocaleOrder()
    {
        const QLocale saved;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        QCOMPARE(CTextBox::convert("3/4/2024", CTextBox::vbDate).toDateTime().date(), QDate(2024, 4, 3));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(CTextBox::convert("3/4/2024", CTextBox::vbDate).toDateTime().date(), QDate(2024, 3, 4));
        QCOMPARE(CTextBox::convert("2024-3-4", CTextBox::vbDate).toDateTime().date(), QDate(2024, 3, 4));
        Form f;
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbDate, QDate(2024, 1, 1), QString("12/31/2024"));
        f.txtA->setText("6/15/2024");
        QVERIFY(box.Validate(false));
        f.txtA->setText("6/15/2025");
        QVERIFY(!box.Validate(false));
        f.txtA->setText("12/31/2023");
        QVERIFY(!box.Validate(false));
        QLocale::setDefault(saved);
    }

    void conversionsByValueType()
    {
        QCOMPARE(CTextBox::convert("32767", CTextBox::vbInteger).toInt(), 32767);
        QVERIFY(!CTextBox::convert("32768", CTextBox::vbInteger).isValid());
        QCOMPARE(CTextBox::convert("-32768", CTextBox::vbInteger).toInt(), -32768);
        QVERIFY(CTextBox::convert("40000", CTextBox::vbLong).isValid());
        QVERIFY(!CTextBox::convert("2147483648", CTextBox::vbLong).isValid());
        QCOMPARE(CTextBox::convert("2.5", CTextBox::vbInteger).toInt(), 2); // half to even
        QCOMPARE(CTextBox::convert("3.5", CTextBox::vbInteger).toInt(), 4);
        QCOMPARE(CTextBox::convert("0.1", CTextBox::vbSingle).toFloat(), 0.1f);
        QVERIFY(!CTextBox::convert(QString(40, '9'), CTextBox::vbSingle).isValid());
        QVERIFY(CTextBox::convert(QString(40, '9'), CTextBox::vbDouble).isValid());
        QCOMPARE(CTextBox::convert("1.23456", CTextBox::vbCurrency).toDouble(), 1.2346);
        QCOMPARE(CTextBox::convert("0.00005", CTextBox::vbCurrency).toDouble(), 0.0);  // half to even
        QCOMPARE(CTextBox::convert("0.00015", CTextBox::vbCurrency).toDouble(), 0.0002);
        QVERIFY(!CTextBox::convert("1000000000000000", CTextBox::vbCurrency).isValid());
        QVERIFY(!CTextBox::convert("", CTextBox::vbDouble).isValid());
        QVERIFY(!CTextBox::convert("-", CTextBox::vbDouble).isValid());
        QCOMPARE(CTextBox::convert("any text", CTextBox::vbString).toString(), QString("any text"));
    }

    void lengthsAndCharacterSets()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbString);
        box.MaxLength = 4;
        box.MinLength = 2;
        box.InvalidChars = "xq";
        f.txtA->setFocus();
        QTest::keyClicks(f.txtA, "abXcQde");
        // X and Q refused whatever their case, then the fifth character.
        QCOMPARE(f.txtA->text(), QString("abcd"));
        QVERIFY(box.Validate(false));
        f.txtA->setText("a");
        QVERIFY(box.Validate(true));
        QVERIFY(!box.Validate(false)); // shorter than MinLength
        // A custom set replaces the default one, also for numbers.
        CTextBox hex;
        hex.Init(f.txtB, CTextBox::vbString);
        hex.ValidChars = "0123456789ABCDEF";
        f.txtB->setFocus();
        QTest::keyClicks(f.txtB, "1fz9");
        QCOMPARE(f.txtB->text(), QString("1f9"));
        // Bounds of free text compare as text.
        hex.MinValue = QString("1");
        hex.MaxValue = QString("2");
        QVERIFY(hex.Validate(false));
        f.txtB->setText("3");
        QVERIFY(!hex.Validate(false));
    }

    void programChangesGoThroughTheFilterToo()
    {
        Form f;
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbInteger, 1, 5);
        f.txtA->setText("3");
        QCOMPARE(f.txtA->text(), QString("3"));
        f.txtA->setText("1.5");
        QCOMPARE(f.txtA->text(), QString("3"));
        QCOMPARE(box.lastValidText(), QString("3"));
    }

    void selectionComesBackWithTheText()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbInteger);
        f.txtA->setFocus();
        QTest::keyClicks(f.txtA, "12345");
        QTest::keyClick(f.txtA, Qt::Key_Left, Qt::ShiftModifier);
        QTest::keyClick(f.txtA, Qt::Key_Left, Qt::ShiftModifier);
        QCOMPARE(f.txtA->selectedText(), QString("45"));
        QCOMPARE(box.lastSelStart(), 3);
        QCOMPARE(box.lastSelLength(), 2);
        QTest::keyClick(f.txtA, Qt::Key_Z); // would replace the selection
        QCOMPARE(f.txtA->text(), QString("12345"));
        QCOMPARE(f.txtA->selectedText(), QString("45"));
        // A caret placed by mouse is remembered as well.
        QTest::mouseClick(f.txtA, Qt::LeftButton, {}, QPoint(2, f.txtA->height() / 2));
        QCOMPARE(f.txtA->cursorPosition(), 0);
        QCOMPARE(box.lastSelStart(), 0);
        QCOMPARE(box.lastSelLength(), 0);
        QTest::keyClick(f.txtA, Qt::Key_Period);
        QCOMPARE(f.txtA->cursorPosition(), 0);
    }

    void editableComboBoxIsFilteredLikeATextBox()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.cmbC, CTextBox::vbSingle, 0, 10);
        f.cmbC->setFocus();
        QTest::keyClicks(f.cmbC, "2.5.x");
        QCOMPARE(f.cmbC->currentText(), QString("2.5"));
        QVERIFY(box.Validate(false));
        QTest::keyClick(f.cmbC, Qt::Key_1);
        QCOMPARE(f.cmbC->currentText(), QString("2.51"));
        QTest::keyClick(f.cmbC, Qt::Key_Minus);
        QCOMPARE(f.cmbC->currentText(), QString("2.51"));
    }

    void formatMaskAppliesWhenTheFieldIsLeft()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbDouble);
        box.FormatMask = "0.00";
        f.txtA->setFocus();
        QTest::keyClicks(f.txtA, "1.5");
        QCOMPARE(f.txtA->text(), QString("1.5"));
        QTest::keyClick(f.txtA, Qt::Key_Tab);
        QCOMPARE(f.txtA->text(), QString("1.50"));
        QCOMPARE(CTextBox::Format(1234.5, "#,##0.0"), QString("1,234.5"));
        QCOMPARE(CTextBox::Format(0.256, "0%"), QString("26%"));
        QCOMPARE(CTextBox::Format(0.5, "#.##"), QString(".5"));
        QCOMPARE(CTextBox::Format(-2.345, "Fixed"), QString("-2.35"));
        QCOMPARE(CTextBox::Format(QDateTime(QDate(2024, 3, 4), QTime(13, 5)), "yyyy-mm-dd hh:nn"),
                 QString("2024-03-04 13:05"));
        QCOMPARE(CTextBox::Format(QDateTime(QDate(2024, 3, 4), QTime(9, 7)), "d/m/yy h:mm"),
                 QString("4/3/24 9:07"));
    }

    void validateMsgShowsTheMessageAndKeepsTheFocus()
    {
        Form f;
        showActive(f);
        CTextBox box;
        box.Init(f.txtA, CTextBox::vbInteger, 1, 5);
        f.txtA->setText("9");
        f.cmdOK->setFocus();
        QString title, text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        onNextModal([&](QWidget *w) {
            auto *m = qobject_cast<QMessageBox *>(w);
            QVERIFY(m);
            title = m->windowTitle();
            text = m->text();
            icon = m->icon();
            m->accept();
        });
        QVERIFY(!box.ValidateMsg("Enter 1 to 5"));
        QCOMPARE(title, QString("Invalid Value"));
        QCOMPARE(text, QString("Enter 1 to 5"));
        QCOMPARE(icon, QMessageBox::Warning);
        QCOMPARE(f.focusWidget(), f.txtA);
        QTRY_COMPARE(QApplication::focusWidget(), f.txtA);
        // A valid value shows nothing.
        f.txtA->setText("4");
        bool shown = false;
        onNextModal([&](QWidget *w) {
            shown = true;
            w->close();
        });
        QVERIFY(box.ValidateMsg("Enter 1 to 5"));
        QTest::qWait(100);
        QVERIFY(!shown);
    }

    void wrapperLetsGoWhenItsWindowCloses()
    {
        CTextBox box;
        {
            Form f;
            box.Init(f.txtA, CTextBox::vbInteger);
            QCOMPARE(box.control(), f.txtA);
        }
        QCOMPARE(box.control(), nullptr);
        QVERIFY(box.Validate(true));
    }

    void collectionWithAValidatedField()
    {
        // The pieces together, as a dialog uses them: the window refuses the
        // field's value whenever its full check fails.
        Form f;
        ControlsCollection cc;
        CTextBox width;
        cc.Init(&f, true);
        width.Init(f.txtA, CTextBox::vbInteger, 1, 5);
        showActive(f);
        QObject::connect(&cc, &ControlsCollection::Validate, &cc,
                         [&width](QWidget *c, bool &cancel) {
                             if (c == width.control() && !width.Validate(false))
                                 cancel = true;
                         },
                         Qt::DirectConnection);
        QTest::mouseClick(f.txtA, Qt::LeftButton);
        QTest::keyClick(f.txtA, Qt::Key_6);
        QCOMPARE(f.txtA->text(), QString("6"));
        QTest::keyClick(f.txtA, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), f.txtA);
        QTest::mouseClick(f.cmdOK, Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), f.txtA);
        QVERIFY(!cc.ValidateControls());
        QTest::keyClick(f.txtA, Qt::Key_Backspace);
        QTest::keyClick(f.txtA, Qt::Key_5);
        QTest::keyClick(f.txtA, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), f.txtB);
    }
};

QTEST_MAIN(TestValidation)
#include "tst_validation.moc"
