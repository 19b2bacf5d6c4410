#include "data/DataErrors.h"
#include "data/clsUserConLayer.h"
#include "base/UlvexError.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

// The control binding layer on hand-made datasets and plain widgets.
class TestUserConLayer : public QObject
{
    Q_OBJECT

    static std::shared_ptr<clsRecordset> soils(int rows)
    {
        auto rs = std::make_shared<clsRecordset>();
        rs->appendField("SoilTypeNo", QMetaType::Int);
        rs->appendField("Name", QMetaType::QString);
        rs->appendField("FlowRate", QMetaType::Double);
        rs->Open();
        for (int i = 1; i <= rows; ++i) {
            rs->AddNew();
            rs->setValue(0, i);
            rs->setValue(1, QString("Soil %1").arg(i));
            rs->setValue(2, 0.5 * i);
        }
        rs->Update();
        if (rows > 0)
            rs->MoveFirst();
        return rs;
    }

    template <typename T>
    static T *make(QWidget *parent, const char *name, const QString &binding)
    {
        auto *w = new T(parent);
        w->setObjectName(name);
        if (!binding.isNull())
            w->setProperty("DataField", binding);
        return w;
    }

private slots:
    void kindsFollowTheQtClass()
    {
        QWidget window;
        auto *edit = new QLineEdit(&window);
        auto *masked = new QLineEdit(&window);
        masked->setInputMask("99.99");
        QCOMPARE(clsUserConLayer::kindOf(edit), clsUserConLayer::ControlKind::TextBox);
        QCOMPARE(clsUserConLayer::kindOf(masked), clsUserConLayer::ControlKind::MaskEdBox);
        QCOMPARE(clsUserConLayer::kindOf(new QLabel(&window)), clsUserConLayer::ControlKind::Label);
        QCOMPARE(clsUserConLayer::kindOf(new QComboBox(&window)),
                 clsUserConLayer::ControlKind::ComboBox);
        QCOMPARE(clsUserConLayer::kindOf(new QListWidget(&window)),
                 clsUserConLayer::ControlKind::ListBox);
        QCOMPARE(clsUserConLayer::kindOf(new QTreeWidget(&window)),
                 clsUserConLayer::ControlKind::ListView);
        QCOMPARE(clsUserConLayer::kindOf(new QPushButton(&window)),
                 clsUserConLayer::ControlKind::Other);
        QCOMPARE(clsUserConLayer::kindOf(nullptr), clsUserConLayer::ControlKind::Other);
    }

    void bindingTextsAreSplitAtTheFirstDot()
    {
        QWidget window;
        clsUserConLayer b;
        auto *combo = make<QComboBox>(&window, "cmbTime", "Time.Time");
        QCOMPARE(b.sfGetDatasetForControl(combo), QString("Time"));
        QCOMPARE(b.sfGetFieldForControl(combo), QString("Time"));
        auto *label = make<QLabel>(&window, "lbl", "  Soil.Name  ");
        QCOMPARE(b.sfGetDatasetForControl(label), QString("Soil"));
        QCOMPARE(b.sfGetFieldForControl(label), QString("Name"));
        auto *edit = make<QLineEdit>(&window, "txt", "a.b.c");
        QCOMPARE(b.sfGetDatasetForControl(edit), QString("a"));
        QCOMPARE(b.sfGetFieldForControl(edit), QString("b.c"));
        auto *noDot = make<QListWidget>(&window, "lst", "Soil");
        QCOMPARE(b.sfGetDatasetForControl(noDot), QString());
        QCOMPARE(b.sfGetFieldForControl(noDot), QString());
        // Other kinds never take part.
        auto *button = make<QPushButton>(&window, "cmd", "Soil.Name");
        QCOMPARE(b.sfGetFieldForControl(button), QString());
        QCOMPARE(b.sfGetDatasetForControl(button), QString());
        // The tag routines read "Tag".
        label->setProperty("Tag", "Flow.FlowRate");
        QCOMPARE(b.sfGetTagDatasetForControl(label), QString("Flow"));
        QCOMPARE(b.sfGetTagFieldForControl(label), QString("FlowRate"));
        button->setProperty("Tag", "Flow.FlowRate");
        QCOMPARE(b.sfGetTagFieldForControl(button), QString());
        QCOMPARE(b.sfGetTagFieldForControl(combo), QString());
    }

    void columnShowFillsCombosAndListBoxes()
    {
        QWidget window;
        auto *combo = make<QComboBox>(&window, "cmbFlow", "Flow.FlowRate");
        auto *list = make<QListWidget>(&window, "lstFlow", "Flow.Name");
        list->addItem("old entry");
        auto *other = make<QComboBox>(&window, "cmbTime", "Time.Time");
        DatasetCollection ds;
        ds.insert("Flow", soils(3));
        clsUserConLayer b;
        QCOMPARE(b.sfColDataSetShow("Flow", ds, &window), QString());
        QCOMPARE(combo->count(), 3);
        QCOMPARE(combo->itemText(0), QString("0.5"));
        QCOMPARE(combo->itemText(1), QString("1"));
        QCOMPARE(combo->itemText(2), QString("1.5"));
        QCOMPARE(combo->currentIndex(), 0);
        // The list box was emptied first.
        QCOMPARE(list->count(), 3);
        QCOMPARE(list->item(0)->text(), QString("Soil 1"));
        QCOMPARE(list->item(2)->text(), QString("Soil 3"));
        QCOMPARE(other->count(), 0);
    }

    void datasetWithoutRowsLeavesComboEmptyAndUnselected()
    {
        QWidget window;
        auto *combo = make<QComboBox>(&window, "cmbFlow", "Flow.FlowRate");
        QSignalSpy spy(combo, &QComboBox::currentIndexChanged);
        DatasetCollection ds;
        ds.insert("Flow", soils(0));
        clsUserConLayer b;
        QCOMPARE(b.sfColDataSetShow("Flow", ds, &window), QString());
        QCOMPARE(combo->count(), 0);
        QCOMPARE(combo->currentIndex(), -1);
        QCOMPARE(spy.count(), 0);
    }

    void controlWithoutDotIsIgnoredByEveryDisplayRoutine()
    {
        QWidget window;
        auto *combo = make<QComboBox>(&window, "cmbFlow", "Flow");
        combo->addItem("kept");
        auto *label = make<QLabel>(&window, "lblSoilDes", "Soil");
        label->setText("kept");
        auto *edit = make<QLineEdit>(&window, "txtSoil", "SoilName");
        edit->setText("kept");
        DatasetCollection ds;
        ds.insert("Flow", soils(2));
        ds.insert("Soil", soils(2));
        clsUserConLayer b;
        b.sfColDataSetShow("Flow", ds, &window);
        b.sfRowDataSetShow("Soil", ds, &window);
        b.sfClearDisplay("Soil", &window);
        b.sfClearDisplay("Flow", &window);
        b.sfColDataSetShow("Missing", ds, &window);
        QCOMPARE(combo->count(), 1);
        QCOMPARE(label->text(), QString("kept"));
        QCOMPARE(edit->text(), QString("kept"));
        QVERIFY(!label->property("Tag").isValid());
    }

    void rowShowSetsCaptionAndTagOfTheSoilLabel()
    {
        QWidget window;
        auto *label = make<QLabel>(&window, "lblSoilDes", "Soil.Name");
        DatasetCollection ds;
        ds.insert("Soil", soils(4));
        ds.value("Soil")->MoveNext();
        ds.value("Soil")->MoveNext();
        clsUserConLayer b;
        QCOMPARE(b.sfRowDataSetShow("Soil", ds, &window), QString());
        QCOMPARE(label->text(), QString("Soil 3"));
        QCOMPARE(label->property("Tag").toString(), QString("3"));
    }

    void rowShowKeepsTheCaretOfTextBoxes()
    {
        QWidget window;
        auto *edit = make<QLineEdit>(&window, "txtName", "Soil.Name");
        edit->setText("abcdefgh");
        edit->setCursorPosition(2);
        auto *masked = make<QLineEdit>(&window, "mskNo", "Soil.SoilTypeNo");
        masked->setInputMask("9999");
        masked->setProperty("Tag", "untouched");
        auto *combo = make<QComboBox>(&window, "cmb", "Soil.Name");
        DatasetCollection ds;
        ds.insert("Soil", soils(2));
        ds.value("Soil")->MoveLast();
        clsUserConLayer b;
        QCOMPARE(b.sfRowDataSetShow("Soil", ds, &window), QString());
        QCOMPARE(edit->text(), QString("Soil 2"));
        QCOMPARE(edit->cursorPosition(), 2);
        QCOMPARE(edit->property("Tag").toString(), QString("2"));
        QCOMPARE(masked->text(), QString("2"));
        QCOMPARE(masked->property("Tag").toString(), QString("untouched"));
        QCOMPARE(combo->count(), 0);
    }

    void rowShowWithoutCurrentRowPassesTheError()
    {
        QWidget window;
        make<QLabel>(&window, "lblSoilDes", "Soil.Name");
        DatasetCollection ds;
        ds.insert("Soil", soils(0));
        clsUserConLayer b;
        try {
            b.sfRowDataSetShow("Soil", ds, &window);
            QFAIL("no error");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), int(DataErrors::NoCurrentRow));
        }
    }

    void missingOrClosedDatasetClearsTheBoundControls()
    {
        QWidget window;
        auto *combo = make<QComboBox>(&window, "cmbFlow", "Flow.FlowRate");
        combo->addItems({"a", "b"});
        auto *list = make<QListWidget>(&window, "lst", "Flow.FlowRate");
        list->addItems({"a", "b", "c"});
        auto *edit = make<QLineEdit>(&window, "txt", "Flow.FlowRate");
        edit->setText("x");
        auto *label = make<QLabel>(&window, "lbl", "Flow.FlowRate");
        label->setText("y");
        auto *elsewhere = make<QLabel>(&window, "lbl2", "Soil.Name");
        elsewhere->setText("z");
        clsUserConLayer b;
        DatasetCollection none;
        QCOMPARE(b.sfColDataSetShow("Flow", none, &window), QString());
        QCOMPARE(combo->count(), 0);
        QCOMPARE(list->count(), 0);
        QCOMPARE(edit->text(), QString());
        QCOMPARE(label->text(), QString());
        QCOMPARE(elsewhere->text(), QString("z"));

        combo->addItem("again");
        label->setText("again");
        DatasetCollection closed;
        closed.insert("Flow", soils(2));
        closed.value("Flow")->Close();
        QCOMPARE(b.sfRowDataSetShow("Flow", closed, &window), QString());
        QCOMPARE(combo->count(), 0);
        QCOMPARE(label->text(), QString());
    }
};

QTEST_MAIN(TestUserConLayer)
#include "tst_userconlayer.moc"
