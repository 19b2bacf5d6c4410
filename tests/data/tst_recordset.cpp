#include "data/DataErrors.h"
#include "data/clsRecordset.h"
#include "base/UlvexError.h"

#include <QtTest>

// The in-memory record set on its own, without a database.
class TestRecordset : public QObject
{
    Q_OBJECT

private:
    // Three columns, rows (1,'a',0.5) (2,'it''s',1.5) (2,'b',2.5) (3,'c',3.5).
    static clsRecordset sample()
    {
        clsRecordset rs;
        rs.appendField("Time", QMetaType::Int, 4);
        rs.appendField("Name", QMetaType::QString, 50);
        rs.appendField("r", QMetaType::Double);
        rs.setSource("Select * from Sample");
        rs.Open();
        const QList<QVariantList> rows{{1, "a", 0.5}, {2, "it's", 1.5}, {2, "b", 2.5}, {3, "c", 3.5}};
        for (const QVariantList &row : rows) {
            rs.AddNew();
            for (int i = 0; i < row.size(); ++i)
                rs.setValue(i, row[i]);
        }
        rs.Update();
        rs.MoveFirst();
        return rs;
    }

    template <typename F>
    static int errorNumber(F f)
    {
        try {
            f();
        } catch (const UlvexError &e) {
            return e.number();
        }
        return 0;
    }

private slots:
    void fieldsKeepNameTypeAndSize()
    {
        const clsRecordset rs = sample();
        QCOMPARE(rs.fieldCount(), 3);
        QCOMPARE(rs.field(0).Name, QString("Time"));
        QCOMPARE(rs.field(0).Type, int(QMetaType::Int));
        QCOMPARE(rs.field(0).DefinedSize, 4);
        QCOMPARE(rs.field(1).DefinedSize, 50);
        QCOMPARE(rs.fieldIndex("NAME"), 1);
        QCOMPARE(rs.fieldIndex("missing"), -1);
        QCOMPARE(rs.Source(), QString("Select * from Sample"));
    }

    void newRecordsetIsClosedAndEmpty()
    {
        clsRecordset rs;
        QVERIFY(!rs.isOpen());
        QCOMPARE(rs.RecordCount(), 0);
        rs.appendField("a", QMetaType::Int);
        rs.Open();
        QVERIFY(rs.isOpen());
        QVERIFY(rs.isBOF());
        QVERIFY(rs.isEOF());
        QCOMPARE(errorNumber([&] { rs.value("a"); }), int(DataErrors::NoCurrentRow));
        QCOMPARE(errorNumber([&] { rs.MoveFirst(); }), int(DataErrors::NoCurrentRow));
    }

    void appendingAFieldToAnOpenRecordsetIsRefused()
    {
        clsRecordset rs;
        rs.Open();
        QCOMPARE(errorNumber([&] { rs.appendField("x", QMetaType::Int); }),
                 int(DataErrors::RecordsetOpen));
    }

    void rowsStayInInsertOrderAndCursorWalksThem()
    {
        clsRecordset rs = sample();
        QCOMPARE(rs.RecordCount(), 4);
        QVERIFY(!rs.isBOF());
        QStringList names;
        while (!rs.isEOF()) {
            names << rs.value("Name").toString();
            rs.MoveNext();
        }
        QCOMPARE(names, QStringList({"a", "it's", "b", "c"}));
        QVERIFY(rs.isEOF());
        QVERIFY(!rs.isBOF());
        QCOMPARE(errorNumber([&] { rs.MoveNext(); }), int(DataErrors::NoCurrentRow));
        rs.MoveLast();
        QCOMPARE(rs.value(0).toInt(), 3);
        rs.MovePrevious();
        rs.MovePrevious();
        rs.MovePrevious();
        QCOMPARE(rs.value(1).toString(), QString("a"));
        rs.MovePrevious();
        QVERIFY(rs.isBOF());
        QCOMPARE(errorNumber([&] { rs.value(0); }), int(DataErrors::NoCurrentRow));
        rs.MoveNext(); // from BOF onto the first row
        QCOMPARE(rs.value("time").toInt(), 1);
    }

    void valueAccessThrowsWithoutCurrentRowOrField()
    {
        clsRecordset rs = sample();
        QCOMPARE(errorNumber([&] { rs.value("zplus"); }), int(DataErrors::UnknownField));
        QCOMPARE(errorNumber([&] { rs.value(7); }), int(DataErrors::UnknownField));
        QCOMPARE(errorNumber([&] { rs.setValue("zplus", 1); }), int(DataErrors::UnknownField));
        rs.MoveLast();
        rs.MoveNext();
        QCOMPARE(errorNumber([&] { rs.value("r"); }), int(DataErrors::NoCurrentRow));
        QCOMPARE(errorNumber([&] { rs.setValue("r", 1.0); }), int(DataErrors::NoCurrentRow));
        try {
            rs.value("r");
        } catch (const UlvexError &e) {
            QVERIFY2(e.description().contains("Sample"), qPrintable(e.description()));
            QVERIFY(e.description().contains("EOF"));
        }
    }

    void closedRecordsetRefusesEverything()
    {
        clsRecordset rs = sample();
        rs.Close();
        QVERIFY(!rs.isOpen());
        QVERIFY(rs.isBOF() && rs.isEOF());
        QCOMPARE(rs.RecordCount(), 0);
        QCOMPARE(errorNumber([&] { rs.value(0); }), int(DataErrors::RecordsetClosed));
        QCOMPARE(errorNumber([&] { rs.MoveFirst(); }), int(DataErrors::RecordsetClosed));
        QCOMPARE(errorNumber([&] { rs.AddNew(); }), int(DataErrors::RecordsetClosed));
        QCOMPARE(errorNumber([&] { rs.setFilter("Time =1"); }), int(DataErrors::RecordsetClosed));
        rs.Open();
        QCOMPARE(rs.RecordCount(), 4);
        QCOMPARE(rs.value("Name").toString(), QString("a"));
    }

    void addNewAppendsAnEmptyCurrentRow()
    {
        clsRecordset rs = sample();
        rs.AddNew();
        QVERIFY(rs.isEditing());
        QCOMPARE(rs.RecordCount(), 5);
        QVERIFY(rs.value("Name").isNull());
        rs.setValue("Name", "new");
        rs.Update();
        QVERIFY(!rs.isEditing());
        rs.MoveLast();
        QCOMPARE(rs.value("Name").toString(), QString("new"));
    }

    void numericFilterPutsCursorOnFirstMatch()
    {
        clsRecordset rs = sample();
        rs.MoveLast();
        rs.setFilter("Time =2");
        QCOMPARE(rs.Filter(), QString("Time =2"));
        QCOMPARE(rs.RecordCount(), 2);
        QCOMPARE(rs.value("Name").toString(), QString("it's"));
        rs.MoveNext();
        QCOMPARE(rs.value("Name").toString(), QString("b"));
        rs.MoveNext();
        QVERIFY(rs.isEOF());
        // Numbers compare by value, whatever the text form.
        rs.setFilter("r = 3.50");
        QCOMPARE(rs.RecordCount(), 1);
        QCOMPARE(rs.value("Time").toInt(), 3);
    }

    void textFilterWithDoubledApostrophe()
    {
        clsRecordset rs = sample();
        rs.setFilter("Name ='it''s'");
        QCOMPARE(rs.RecordCount(), 1);
        QCOMPARE(rs.value("r").toDouble(), 1.5);
    }

    void filterWithoutMatchLeavesBofAndEof()
    {
        clsRecordset rs = sample();
        rs.setFilter("Time =14");
        QCOMPARE(rs.RecordCount(), 0);
        QVERIFY(rs.isBOF());
        QVERIFY(rs.isEOF());
        QCOMPARE(errorNumber([&] { rs.value("r"); }), int(DataErrors::NoCurrentRow));
    }

    void emptyFilterClearsIt()
    {
        clsRecordset rs = sample();
        rs.setFilter("Time =3");
        QCOMPARE(rs.RecordCount(), 1);
        rs.setFilter(QString());
        QCOMPARE(rs.Filter(), QString());
        QCOMPARE(rs.RecordCount(), 4);
        QCOMPARE(rs.value("Name").toString(), QString("a"));
    }

    void badFiltersAreRefused()
    {
        clsRecordset rs = sample();
        QCOMPARE(errorNumber([&] { rs.setFilter("Time"); }), int(DataErrors::BadFilter));
        QCOMPARE(errorNumber([&] { rs.setFilter("=3"); }), int(DataErrors::BadFilter));
        QCOMPARE(errorNumber([&] { rs.setFilter("Depth =3"); }), int(DataErrors::BadFilter));
        QCOMPARE(errorNumber([&] { rs.setFilter("Time =three"); }), int(DataErrors::BadFilter));
        // A refused filter leaves the previous view.
        QCOMPARE(rs.RecordCount(), 4);
    }

    void getRowsIsIndexedColumnThenRow()
    {
        clsRecordset rs = sample();
        const auto rows = rs.GetRows();
        QCOMPARE(rows.size(), 3);
        QCOMPARE(rows[0].size(), 4);
        QCOMPARE(rows[0][3].toInt(), 3);
        QCOMPARE(rows[1][1].toString(), QString("it's"));
        QCOMPARE(rows[2][2].toDouble(), 2.5);
        // Under a filter only the visible rows come out; the cursor stays.
        rs.setFilter("Time =2");
        rs.MoveNext();
        const auto filtered = rs.GetRows();
        QCOMPARE(filtered[1], QVector<QVariant>({"it's", "b"}));
        QCOMPARE(rs.value("Name").toString(), QString("b"));
    }

    void datasetCollectionSharesRecordsets()
    {
        DatasetCollection datasets;
        datasets.insert("Soil", std::make_shared<clsRecordset>(sample()));
        QCOMPARE(datasets.value("Soil")->RecordCount(), 4);
        QVERIFY(!datasets.value("Flow"));
    }
};

QTEST_GUILESS_MAIN(TestRecordset)
#include "tst_recordset.moc"
