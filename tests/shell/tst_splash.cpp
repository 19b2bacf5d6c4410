#include "base/ProgramFolder.h"
#include "shell/frmSplash.h"
#include "tests/shell/FormChecks.h"

#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

class TestSplash : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_folder;

    void writeFile(const QString &name, const QByteArray &bytes)
    {
        QFile f(QDir(m_folder.path()).filePath(name));
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
    }

    // Runs the splash modally, clicks one button once the loop runs, and returns
    // what exec() gave back.
    int execAndClick(const char *buttonName)
    {
        frmSplash splash;
        auto *button = splash.findChild<QPushButton *>(buttonName);
        if (!button)
            return -1;
        QTimer::singleShot(0, button, [button] { QTest::mouseClick(button, Qt::LeftButton); });
        return splash.exec();
    }

private slots:
    void init()
    {
        QVERIFY(m_folder.isValid());
        QFile::remove(QDir(m_folder.path()).filePath("Splash.txt"));
        ProgramFolder::setOverride(m_folder.path());
    }
    void cleanupTestCase() { ProgramFolder::setOverride(QString()); }

    void controlsAsDesigned()
    {
        frmSplash splash;
        auto *agree = splash.findChild<QPushButton *>("cmdAgree");
        auto *disagree = splash.findChild<QPushButton *>("cmdDisagree");
        auto *text = splash.findChild<QPlainTextEdit *>("txtDisclaimer");
        auto *picture = splash.findChild<QLabel *>("picSplash");
        QVERIFY(agree && disagree && text && picture);
        QCOMPARE(agree->text(), QString("&OK"));
        QCOMPARE(disagree->text(), QString("Cancel"));
        QVERIFY(text->isReadOnly());
        QVERIFY(picture->pixmap().width() > 100);
        QVERIFY(!splash.windowIcon().isNull());
        QVERIFY(splash.isModal());
    }

    void builtInTextWithoutFile()
    {
        frmSplash splash;
        QVERIFY(!splash.disclaimerFromFile());
        const QString text = splash.findChild<QPlainTextEdit *>("txtDisclaimer")->toPlainText();
        QCOMPARE(text, frmSplash::builtInDisclaimer());
        // The substance the disclaimer has to carry.
        QVERIFY(text.contains("under development"));
        QVERIFY(text.contains("\"As Is\""));
        QVERIFY(text.contains("without warranty of any kind, express or implied"));
        QVERIFY(text.contains("liable for any damages"));
        QVERIFY(text.contains("not been fully tested"));
        QVERIFY(text.contains("caution"));
        QVERIFY(text.contains("report errors and problems"));
    }

    void fileTextReplacesBuiltIn()
    {
        writeFile("Splash.txt", "Field trial build.\r\nUse at your own risk.\r\n\r\nLine three");
        frmSplash splash;
        QVERIFY(splash.disclaimerFromFile());
        QCOMPARE(splash.findChild<QPlainTextEdit *>("txtDisclaimer")->toPlainText(),
                 QString("Field trial build.\nUse at your own risk.\n\nLine three"));
    }

    void fileInOlderEncodingStillReads()
    {
        writeFile("Splash.txt", "Caf\xe9 r\xe9sum\xe9"); // Latin-1, not valid UTF-8
        frmSplash splash;
        QCOMPARE(splash.disclaimerText(), QString::fromUtf8("Café résumé"));
        writeFile("Splash.txt", "\xEF\xBB\xBF" "Caf\xC3\xA9"); // UTF-8 with a byte-order mark
        frmSplash again;
        QCOMPARE(again.disclaimerText(), QString::fromUtf8("Café"));
    }

    void emptyFileGivesEmptyText()
    {
        writeFile("Splash.txt", "");
        frmSplash splash;
        QVERIFY(splash.disclaimerFromFile());
        QVERIFY(splash.disclaimerText().isEmpty());
    }

    void agreeAccepts() { QCOMPARE(execAndClick("cmdAgree"), int(QDialog::Accepted)); }

    void disagreeRejects() { QCOMPARE(execAndClick("cmdDisagree"), int(QDialog::Rejected)); }

    void escapeRejects()
    {
        frmSplash splash;
        QTimer::singleShot(0, &splash, [&splash] { QTest::keyClick(&splash, Qt::Key_Escape); });
        QCOMPARE(splash.exec(), int(QDialog::Rejected));
    }

    void enterAccepts()
    {
        frmSplash splash;
        QTimer::singleShot(0, &splash, [&splash] {
            QTest::keyClick(splash.findChild<QPushButton *>("cmdAgree"), Qt::Key_Return);
        });
        QCOMPARE(splash.exec(), int(QDialog::Accepted));
    }

    void accessibleNamesAndDescriptions()
    {
        frmSplash splash;
        splash.show();
        const QStringList controls = {"cmdAgree", "cmdDisagree", "txtDisclaimer", "picSplash"};
        for (const QString &name : controls) {
            auto *w = splash.findChild<QWidget *>(name);
            QVERIFY2(w, qPrintable(name));
            QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(w);
            QVERIFY2(iface, qPrintable(name));
            QVERIFY2(!iface->text(QAccessible::Name).isEmpty(), qPrintable(name));
            QCOMPARE(w->accessibleDescription(), w->toolTip());
            QVERIFY2(!w->toolTip().isEmpty(), qPrintable(name));
        }
        QCOMPARE(splash.findChild<QWidget *>("cmdAgree")->accessibleName(), QString("OK"));
        QCOMPARE(splash.findChild<QWidget *>("cmdDisagree")->accessibleName(), QString("Cancel"));
    }

    void everyNamedControlIsDescribed()
    {
        frmSplash splash;
        int controls = 0;
        checkNamedControlsDescribed(splash, controls);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(controls >= 4);
    }

    void renderPicture()
    {
        frmSplash splash;
        saveFormPicture(splash, "splash.png");
    }
};

QTEST_MAIN(TestSplash)
#include "tst_splash.moc"
