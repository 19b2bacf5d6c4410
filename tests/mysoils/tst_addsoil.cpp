// The "Add a Soil" dialog through its real widgets: starting from a class
// average, the validation framework's filter and focus checks, the messages of
// "Compute" naming their field, the units and their ranges.
#include "mysoils/frmAddSoil.h"
#include "mysoils/frmTextureEstimate.h"
#include "shell/ResourceImages.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QTreeWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QtTest>

#include <functional>

namespace {

QList<SoilEntry> classAverages()
{
    using A = SoilEntry::AlphaUnit;
    using K = SoilEntry::KsUnit;
    return {SoilEntry::fromSi("Sand", "coarse", 3, "USDA texture class sand", 0.045, 0.43, 14.5, 2.68,
                              712.8 / 100 / 86400, A::PerCentimetre, K::CentimetrePerDay),
            SoilEntry::fromSi("Loam", "medium", 20, "USDA texture class loam", 0.078, 0.43, 3.6, 1.56,
                              24.96 / 100 / 86400, A::PerCentimetre, K::CentimetrePerDay)};
}

// Answers the next modal box and returns its text through `text`.
void answerNextMessage(QString *text, QString *title = nullptr)
{
    QTimer::singleShot(50, [text, title] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        *text = box->text();
        if (title)
            *title = box->windowTitle();
        box->accept();
    });
}

void retype(QLineEdit *field, const QString &text)
{
    QTest::mouseClick(field, Qt::LeftButton);
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

bool showActive(QDialog &d)
{
    d.show();
    d.activateWindow();
    return QTest::qWaitForWindowActive(&d);
}

} // namespace

class TestAddSoil : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { ResourceImages::registerFontSubstitutes(); }

    void startFromFillsEveryField()
    {
        frmAddSoil d(classAverages(), {"Sand", "Loam"});
        auto *start = d.findChild<QComboBox *>("cmbStartFrom");
        QCOMPARE(start->count(), 3);
        QCOMPARE(start->itemText(2), QString("Loam"));
        QVERIFY(showActive(d));
        start->setCurrentIndex(2);
        emit start->activated(2);
        QCOMPARE(d.field(frmAddSoil::Name)->text(), QString("My Loam"));
        QCOMPARE(d.findChild<QComboBox *>("cmbTexture")->currentText(), QString("medium"));
        QCOMPARE(d.field(frmAddSoil::ThetaR)->text(), QString("0.078"));
        QCOMPARE(d.field(frmAddSoil::ThetaS)->text(), QString("0.43"));
        QCOMPARE(d.field(frmAddSoil::Alpha)->text(), QString("0.036"));
        QCOMPARE(d.field(frmAddSoil::N)->text(), QString("1.56"));
        QCOMPARE(d.field(frmAddSoil::Ks)->text(), QString("24.96"));
        QCOMPARE(d.field(frmAddSoil::Clay)->text(), QString("20"));
        // Compute takes it as it is.
        QTest::mouseClick(d.findChild<QPushButton *>("cmdOK"), Qt::LeftButton);
        QCOMPARE(d.result(), int(QDialog::Accepted));
        const SoilEntry s = d.entry();
        QVERIFY(s.problems({"Sand", "Loam"}).isEmpty());
        QCOMPARE(s.name, QString("My Loam"));
        QVERIFY(qAbs(s.alphaSi() - 3.6) < 1e-12);
        QCOMPARE(s.ksUnit, SoilEntry::KsUnit::CentimetrePerDay);
    }

    void startingPointsFollowTheUnitsShown()
    {
        frmAddSoil d(classAverages(), {});
        d.findChild<QComboBox *>("cmbAlphaUnit")->setCurrentText("1/m");
        d.findChild<QComboBox *>("cmbKsUnit")->setCurrentText("m/day");
        d.startFrom(0);
        QCOMPARE(d.field(frmAddSoil::Alpha)->text(), QString("14.5"));
        QCOMPARE(d.field(frmAddSoil::Ks)->text(), QString("7.128"));
    }

    void filterRefusesWhatCannotBeANumber()
    {
        frmAddSoil d(classAverages(), {});
        QVERIFY(showActive(d));
        QLineEdit *n = d.field(frmAddSoil::N);
        QTest::mouseClick(n, Qt::LeftButton);
        QTest::keyClicks(n, "1.5");
        QTest::keyClicks(n, "a-.");
        QCOMPARE(n->text(), QString("1.5"));
        // A name is free text up to its length.
        QLineEdit *name = d.field(frmAddSoil::Name);
        QTest::mouseClick(name, Qt::LeftButton);
        QTest::keyClicks(name, QString(45, 'x'));
        QCOMPARE(name->text().size(), SoilEntry::MaxNameLength);
    }

    void aValueOutOfRangeCannotBeLeft()
    {
        frmAddSoil d(classAverages(), {});
        QVERIFY(showActive(d));
        d.startFrom(1);
        QLineEdit *thetaS = d.field(frmAddSoil::ThetaS);
        retype(thetaS, "0.9");
        QTest::keyClick(thetaS, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), thetaS);
        QTest::mouseClick(d.field(frmAddSoil::N), Qt::LeftButton);
        QCOMPARE(QApplication::focusWidget(), thetaS);
        // The status bar says what the field takes.
        QVERIFY(d.findChild<QStatusBar *>("sbrAdd")->currentMessage().contains("0.7"));
        retype(thetaS, "0.45");
        QTest::keyClick(thetaS, Qt::Key_Tab);
        QVERIFY(QApplication::focusWidget() != thetaS);
        // Cancel is never held up by a field.
        retype(d.field(frmAddSoil::N), "0.5");
        QTest::mouseClick(d.findChild<QPushButton *>("cmdCancel"), Qt::LeftButton);
        QCOMPARE(d.result(), int(QDialog::Rejected));
        QVERIFY(!d.isVisible());
    }

    void computeNamesTheFieldThatNeedsAttention()
    {
        frmAddSoil d(classAverages(), {"Sand", "Loam"});
        QVERIFY(showActive(d));
        d.startFrom(1);
        // Empty name, never visited: Compute says so and puts the cursor there.
        d.field(frmAddSoil::Name)->clear();
        QString text, title;
        answerNextMessage(&text, &title);
        d.cmdOK_Click();
        QCOMPARE(title, QString("Invalid Value"));
        QVERIFY2(text.startsWith("Name must be entered"), qPrintable(text));
        QTRY_COMPARE(QApplication::focusWidget(), d.field(frmAddSoil::Name));
        QVERIFY(d.isVisible());

        // A name that is taken.
        QTest::keyClicks(d.field(frmAddSoil::Name), "loam");
        answerNextMessage(&text);
        d.cmdOK_Click();
        QVERIFY2(text.startsWith("Name:") && text.contains("Loam"), qPrintable(text));
        QTRY_COMPARE(QApplication::focusWidget(), d.field(frmAddSoil::Name));

        // theta_s not far enough above theta_r for the soil to take up water.
        retype(d.field(frmAddSoil::Name), "North field");
        d.field(frmAddSoil::ThetaR)->setText("0.2");
        d.field(frmAddSoil::ThetaS)->setText(SoilEntry::numberText(0.2 + SoilEntry::leastWaterRange(d.field(frmAddSoil::N)->text().toDouble()) / 2));
        answerNextMessage(&text);
        d.cmdOK_Click();
        QVERIFY2(text.startsWith("theta_s:"), qPrintable(text));
        QTRY_COMPARE(QApplication::focusWidget(), d.field(frmAddSoil::ThetaS));
        QCOMPARE(d.result(), int(QDialog::Rejected));
        d.field(frmAddSoil::ThetaS)->setText("0.45");
        d.cmdOK_Click();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QCOMPARE(d.entry().name, QString("North field"));
    }

    void theUnitDecidesTheRange()
    {
        frmAddSoil d(classAverages(), {});
        QVERIFY(showActive(d));
        d.startFrom(1);
        auto *unit = d.findChild<QComboBox *>("cmbAlphaUnit");
        QCOMPARE(unit->currentText(), QString("1/cm"));
        QLineEdit *alpha = d.field(frmAddSoil::Alpha);
        retype(alpha, "5");
        QTest::keyClick(alpha, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), alpha); // 5 1/cm is beyond 1 1/cm
        // The number follows the unit: still the same, too large, alpha.
        unit->setCurrentText("1/m");
        QCOMPARE(alpha->text(), QString("500"));
        QVERIFY(alpha->toolTip().contains(
            SoilEntry::numberText(SoilEntry::alphaRange(SoilEntry::AlphaUnit::PerMetre).high) + " 1/m"));
        QTest::keyClick(alpha, Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget(), alpha);
        retype(alpha, "5");
        QTest::keyClick(alpha, Qt::Key_Tab);
        QVERIFY(QApplication::focusWidget() != alpha);
        d.cmdOK_Click();
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QCOMPARE(d.entry().alphaSi(), 5.0);

        // Ks in m/s takes the small numbers of that unit.
        frmAddSoil e(classAverages(), {});
        QVERIFY(showActive(e));
        e.startFrom(1);
        e.findChild<QComboBox *>("cmbKsUnit")->setCurrentText("m/s");
        retype(e.field(frmAddSoil::Ks), "0.0000029");
        e.cmdOK_Click();
        QCOMPARE(e.result(), int(QDialog::Accepted));
        QVERIFY(qAbs(e.entry().ksSi() - 2.9e-6) < 1e-18);
    }

    // Changing a unit converts the number shown, so the soil stays the same
    // soil, through every unit and back.
    void changingAUnitKeepsTheSameSoil()
    {
        frmAddSoil d(classAverages(), {});
        QVERIFY(showActive(d));
        d.startFrom(1); // Loam: alpha 0.036 1/cm, Ks 24.96 cm/day
        const SoilEntry before = d.entry();
        auto *alphaUnit = d.findChild<QComboBox *>("cmbAlphaUnit");
        auto *ksUnit = d.findChild<QComboBox *>("cmbKsUnit");
        alphaUnit->setCurrentText("1/m");
        QCOMPARE(d.field(frmAddSoil::Alpha)->text(), QString("3.6"));
        const QStringList ksShown = {"m/day", "cm/h", "m/s", "cm/day"};
        const QStringList ksExpected = {"0.2496", "1.04", "0.00000288888888889", "24.96"};
        for (int i = 0; i < ksShown.size(); ++i) {
            ksUnit->setCurrentText(ksShown.at(i));
            QCOMPARE(d.field(frmAddSoil::Ks)->text(), ksExpected.at(i));
            QVERIFY(qAbs(d.entry().ksSi() / before.ksSi() - 1) < 1e-11);
            QVERIFY(d.field(frmAddSoil::Ks)->toolTip().contains(ksShown.at(i)));
        }
        alphaUnit->setCurrentText("1/cm");
        QCOMPARE(d.field(frmAddSoil::Alpha)->text(), QString("0.036"));
        QCOMPARE(d.entry().alphaSi(), before.alphaSi());
        // A field that holds no number is left for the user to mend.
        d.field(frmAddSoil::Alpha)->clear();
        alphaUnit->setCurrentText("1/m");
        QCOMPARE(d.field(frmAddSoil::Alpha)->text(), QString());
    }

    // Estimate from texture: the estimate follows the values as they are
    // typed, with the richest model they allow; its values fill the form in
    // the units shown, to be changed still.
    void estimateFromTextureFillsTheForm()
    {
        frmAddSoil d(classAverages(), {});
        QVERIFY(showActive(d));
        QTest::mouseClick(d.findChild<QPushButton *>("cmdEstimate"), Qt::LeftButton);
        frmTextureEstimate *e = d.estimateForm();
        QVERIFY(e && e->isVisible());
        auto *use = e->findChild<QPushButton *>("cmdUse");
        auto *list = e->findChild<QTreeWidget *>("lvEstimate");
        QVERIFY(!use->isEnabled());
        QTest::keyClicks(e->field(frmTextureEstimate::Sand), "40");
        QTest::keyClicks(e->field(frmTextureEstimate::Silt), "40");
        QVERIFY(!use->isEnabled());
        QTest::keyClicks(e->field(frmTextureEstimate::Clay), "20");
        QVERIFY(use->isEnabled());
        QCOMPARE(list->topLevelItemCount(), 5);
        TexturePedotransfer::Input loam;
        loam.sand = 40;
        loam.silt = 40;
        loam.clay = 20;
        const SoilEstimate expected = *TexturePedotransfer::estimate(loam);
        QCOMPARE(e->estimate()->modelCode, 2);
        QCOMPARE(e->estimate()->alpha, expected.alpha);
        QVERIFY(list->topLevelItem(2)->text(1).endsWith(" 1/m"));
        QVERIFY(e->findChild<QLabel *>("lblModel")->text().contains("from sand, silt and clay."));
        // A bulk density makes it model 3; one out of range is named.
        QTest::keyClicks(e->field(frmTextureEstimate::BulkDensity), "2.5");
        QVERIFY(!use->isEnabled());
        QVERIFY2(e->findChild<QLabel *>("lblModel")->text().startsWith("Bulk density"),
                 qPrintable(e->findChild<QLabel *>("lblModel")->text()));
        e->field(frmTextureEstimate::BulkDensity)->setText("1.4");
        QVERIFY(use->isEnabled());
        QCOMPARE(e->estimate()->modelCode, 3);
        loam.bulkDensity = 1.4;
        const SoilEstimate withDensity = *TexturePedotransfer::estimate(loam);

        // Taken: the form shows it in its units (alpha 1/cm, Ks cm/day), to
        // four digits.
        QTest::mouseClick(use, Qt::LeftButton);
        QCoreApplication::processEvents();
        const auto close = [](double shown, double exact) { return qAbs(shown / exact - 1) < 5e-4; };
        QVERIFY(close(d.field(frmAddSoil::ThetaS)->text().toDouble(), withDensity.thetaS));
        QVERIFY(close(d.field(frmAddSoil::Alpha)->text().toDouble(), withDensity.alpha / 100));
        QVERIFY(close(d.field(frmAddSoil::N)->text().toDouble(), withDensity.n));
        QVERIFY(close(d.field(frmAddSoil::Ks)->text().toDouble(), withDensity.ks * 100));
        QCOMPARE(d.field(frmAddSoil::Clay)->text(), QString("20"));
        QCOMPARE(d.field(frmAddSoil::Classification)->text(), QString("estimated from sand 40 %, silt 40 %, clay 20 %"));
        // Still the user's to change, and computed as any soil.
        d.field(frmAddSoil::Name)->setText("Estimated loam");
        QString refused;
        answerNextMessage(&refused);
        d.cmdOK_Click();
        QVERIFY2(refused.isEmpty(), qPrintable(refused));
        QCOMPARE(d.result(), int(QDialog::Accepted));
        QVERIFY(close(d.entry().alphaSi(), withDensity.alpha));
    }

    void screenshot()
    {
        frmAddSoil d(classAverages(), {});
        QVERIFY(showActive(d));
        d.startFrom(1);
        d.field(frmAddSoil::ThetaS)->setFocus();
        QApplication::processEvents();
        const QString folder = qEnvironmentVariable("ULVEX_SCREENSHOT_DIR", QDir::temp().filePath("ulvex-screenshots"));
        QDir().mkpath(folder);
        QVERIFY(d.grab().save(QDir(folder).filePath("mysoils-add.png")));
        // Nothing sticks out of the dialog.
        for (QWidget *w : d.findChildren<QWidget *>())
            if (w->isVisible() && w->parentWidget() == &d)
                QVERIFY2(d.rect().contains(w->geometry()), qPrintable(w->objectName()));
    }
};

QTEST_MAIN(TestAddSoil)
#include "tst_addsoil.moc"
