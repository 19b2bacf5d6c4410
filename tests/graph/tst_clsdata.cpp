#include "graph/clsData.h"

#include <QtTest>

class TestClsData : public QObject
{
    Q_OBJECT
private slots:
    void newRecordStartsEmpty()
    {
        const clsData record;
        QCOMPARE(record.Radius1(), 0.0f);
        QCOMPARE(record.Radius2(), 0.0f);
        QCOMPARE(record.zplus(), 0.0f);
        QCOMPARE(record.zminus(), 0.0f);
        QCOMPARE(record.Color(), 0);
        QVERIFY(record.label().isEmpty());
        // The working values of a new record are empty, not 0.
        QVERIFY(!record.AspectRatio().isValid());
        QVERIFY(record.AspectRatio() != QVariant(0));
        QVERIFY(!record.Scaledr().isValid());
        QVERIFY(!record.ScaledZplus().isValid());
        QVERIFY(!record.ScaledZminus().isValid());
    }

    void propertiesStoreWhatTheyAreGiven()
    {
        clsData record;
        record.setRadius1(-0.5f); // no range checks
        record.setRadius2(0.0f);
        record.setzplus(0.75f);
        record.setzminus(-0.1f);
        record.setlabel("14 Hour");
        record.setColor(0x00FF8040);
        QCOMPARE(record.Radius1(), -0.5f);
        QCOMPARE(record.Radius2(), 0.0f);
        QCOMPARE(record.zplus(), 0.75f);
        QCOMPARE(record.zminus(), -0.1f);
        QCOMPARE(record.label(), QString("14 Hour"));
        QCOMPARE(record.Color(), 0x00FF8040);
    }

    void variantsHoldValues()
    {
        clsData record;
        record.setScaledr(12.5f);
        record.setScaledZplus(QVariant(7.25f));
        record.setScaledZminus(QString("text"));
        record.setAspectRatio(3);
        QCOMPARE(record.Scaledr().toFloat(), 12.5f);
        QCOMPARE(record.ScaledZplus().toFloat(), 7.25f);
        QCOMPARE(record.ScaledZminus().toString(), QString("text"));
        QCOMPARE(record.AspectRatio().toInt(), 3);
        // A copy of the record carries copies of the values.
        clsData copy = record;
        copy.setScaledr(1.0f);
        QCOMPARE(record.Scaledr().toFloat(), 12.5f);
    }

    void variantsHoldObjectReferences()
    {
        QObject object;
        clsData record;
        record.setAspectRatioObject(&object);
        record.setScaledrObject(&object);
        record.setScaledZplusObject(&object);
        record.setScaledZminusObject(&object);
        // A read hands back the reference itself.
        QCOMPARE(record.AspectRatio().value<QObject *>(), &object);
        QCOMPARE(record.Scaledr().value<QObject *>(), &object);
        QCOMPARE(record.ScaledZplus().value<QObject *>(), &object);
        QCOMPARE(record.ScaledZminus().value<QObject *>(), &object);
        object.setObjectName("seen through the reference");
        QCOMPARE(record.AspectRatio().value<QObject *>()->objectName(),
                 QString("seen through the reference"));
    }
};

QTEST_APPLESS_MAIN(TestClsData)
#include "tst_clsdata.moc"
