#include "base/ProgramFolder.h"
#include "shell/frmAbout.h"
#include "tests/shell/FormChecks.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {

// Watches for the next message box, notes its text and buttons and presses its
// OK button, so a modal message does not block the test.
class MessageCatcher : public QObject
{
public:
    QString text;
    QString title;
    int buttonCount = -1;
    bool hadOk = false;
    int seen = 0;

    MessageCatcher()
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { poll(); });
        m_timer.start(10);
    }

private:
    void poll()
    {
        for (QWidget *w : QApplication::topLevelWidgets()) {
            auto *box = qobject_cast<QMessageBox *>(w);
            if (!box || !box->isVisible())
                continue;
            ++seen;
            text = box->text();
            title = box->windowTitle();
            buttonCount = box->buttons().size();
            QAbstractButton *ok = box->button(QMessageBox::Ok);
            hadOk = ok != nullptr;
            if (ok)
                ok->click();
            else
                box->reject();
        }
    }
    QTimer m_timer;
};

bool writeFile(const QString &path, const QByteArray &bytes, bool executable = false)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    f.write(bytes);
    f.close();
    if (executable)
        f.setPermissions(f.permissions() | QFileDevice::ExeOwner | QFileDevice::ExeUser);
    return true;
}

} // namespace

class TestAbout : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_folder;

    QString inFolder(const QString &name) const { return QDir(m_folder.path()).filePath(name); }

private slots:
    void init()
    {
        QVERIFY(m_folder.isValid());
        QFile::remove(inFolder("About.txt"));
        QFile::remove(inFolder("disclaimer.txt"));
        ProgramFolder::setOverride(m_folder.path());
    }
    void cleanupTestCase() { ProgramFolder::setOverride(QString()); }

    void captionAndVersion()
    {
        frmAbout about;
        QCOMPARE(about.windowTitle(), QString("About Ulvex"));
        QCOMPARE(about.findChild<QLabel *>("lblVersion")->text(), QString("Version 1.0.0"));
        // The label follows the project's version numbers, not a literal.
        QCOMPARE(frmAbout::versionText(), QString("Version ") + QString(ULVEX_VERSION));
        QVERIFY(!about.windowIcon().isNull());
    }

    void buttonsAndPictures()
    {
        frmAbout about;
        QCOMPARE(about.findChild<QPushButton *>("cmdOK")->text(), QString("OK"));
        QCOMPARE(about.findChild<QPushButton *>("cmdSysInfo")->text(), QString("&System Info..."));
        int pictures = 0;
        for (QLabel *l : about.findChildren<QLabel *>()) {
            if (l->objectName().startsWith("pic")) {
                QVERIFY2(!l->pixmap().isNull(), qPrintable(l->objectName()));
                ++pictures;
            }
        }
        QCOMPARE(pictures, 4);
    }

    void designedTextsWithoutFiles()
    {
        frmAbout about;
        QCOMPARE(about.findChild<QLabel *>("lblDescription")->text(), frmAbout::designedDescription());
        QCOMPARE(about.findChild<QLabel *>("lblDisclaimer")->text(), frmAbout::designedDisclaimer());
        QVERIFY(frmAbout::designedDescription().contains("wetting"));
        QVERIFY(frmAbout::designedDisclaimer().contains("\"As Is\""));
    }

    void fileTextsReplaceTheLabels()
    {
        QVERIFY(writeFile(inFolder("About.txt"), "Built for the 2027 field season.\r\nSecond line."));
        QVERIFY(writeFile(inFolder("disclaimer.txt"), "No warranty <b>at all</b>."));
        frmAbout about;
        QCOMPARE(about.findChild<QLabel *>("lblDescription")->text(),
                 QString("Built for the 2027 field season.\nSecond line."));
        // Shown as the plain text it is, tags and all.
        auto *disclaimer = about.findChild<QLabel *>("lblDisclaimer");
        QCOMPARE(disclaimer->text(), QString("No warranty <b>at all</b>."));
        QCOMPARE(disclaimer->textFormat(), Qt::PlainText);
    }

    void oneFileOnlyLeavesTheOtherDesigned()
    {
        QVERIFY(writeFile(inFolder("disclaimer.txt"), "Local disclaimer"));
        frmAbout about;
        QCOMPARE(about.findChild<QLabel *>("lblDisclaimer")->text(), QString("Local disclaimer"));
        QCOMPARE(about.findChild<QLabel *>("lblDescription")->text(), frmAbout::designedDescription());
    }

    void okCloses()
    {
        frmAbout about;
        auto *ok = about.findChild<QPushButton *>("cmdOK");
        QTimer::singleShot(0, ok, [ok] { QTest::mouseClick(ok, Qt::LeftButton); });
        QCOMPARE(about.exec(), int(QDialog::Accepted));
        QVERIFY(!about.isVisible());
    }

    void toolSearchFollowsPreference()
    {
        QTemporaryDir bin;
        QVERIFY(bin.isValid());
        const QString dir = bin.path();
        QVERIFY(frmAbout::findSystemInfoTool({dir}).isEmpty());
        // A file that is not executable does not count.
        QVERIFY(writeFile(dir + "/hardinfo2", "#!/bin/sh\n", false));
        QVERIFY(frmAbout::findSystemInfoTool({dir}).isEmpty());
        QVERIFY(writeFile(dir + "/kinfocenter", "#!/bin/sh\n", true));
        QCOMPARE(frmAbout::findSystemInfoTool({dir}), dir + "/kinfocenter");
        QVERIFY(writeFile(dir + "/hardinfo", "#!/bin/sh\n", true));
        QCOMPARE(frmAbout::findSystemInfoTool({dir}), dir + "/hardinfo");
        QVERIFY(writeFile(dir + "/hardinfo2", "#!/bin/sh\n", true));
        QCOMPARE(frmAbout::findSystemInfoTool({dir}), dir + "/hardinfo2");
    }

    void systemInfoUnavailableShowsMessage()
    {
        QTemporaryDir emptyBin;
        QVERIFY(emptyBin.isValid());
        frmAbout about;
        about.setSystemInfoSearchPaths({emptyBin.path()});
        about.show();
        MessageCatcher catcher;
        QTest::mouseClick(about.findChild<QPushButton *>("cmdSysInfo"), Qt::LeftButton);
        QCOMPARE(catcher.seen, 1);
        QCOMPARE(catcher.text, QString("System Information Is Unavailable At This Time"));
        QCOMPARE(catcher.buttonCount, 1);
        QVERIFY(catcher.hadOk);
        QCOMPARE(catcher.title, QString("Ulvex"));
        QVERIFY(about.isVisible()); // the About box stays open
    }

    void systemInfoStartsTheToolFound()
    {
        QTemporaryDir bin;
        QVERIFY(bin.isValid());
        const QString marker = bin.path() + "/started";
        QVERIFY(writeFile(bin.path() + "/hardinfo",
                          QString("#!/bin/sh\necho ran > '%1'\n").arg(marker).toUtf8(), true));
        frmAbout about;
        about.setSystemInfoSearchPaths({bin.path()});
        MessageCatcher catcher;
        QVERIFY(about.startSystemInfo());
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(marker), 5000);
        QCOMPARE(catcher.seen, 0);
    }

    void accessibleNamesAndDescriptions()
    {
        frmAbout about;
        about.show();
        const QStringList controls = {"lblVersion", "lblDescription", "lblDisclaimer", "cmdOK",
                                      "cmdSysInfo", "picLogo", "picIcon", "picGraph",
                                      "picSoilType"};
        for (const QString &name : controls) {
            auto *w = about.findChild<QWidget *>(name);
            QVERIFY2(w, qPrintable(name));
            QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(w);
            QVERIFY2(iface, qPrintable(name));
            QVERIFY2(!iface->text(QAccessible::Name).isEmpty(), qPrintable(name));
        }
        QCOMPARE(about.findChild<QWidget *>("cmdSysInfo")->accessibleName(), QString("System Info..."));
        for (const char *name : {"cmdOK", "cmdSysInfo"}) {
            auto *w = about.findChild<QWidget *>(name);
            QVERIFY(!w->toolTip().isEmpty());
            QCOMPARE(w->accessibleDescription(), w->toolTip());
        }
    }

    void everyNamedControlIsDescribed()
    {
        frmAbout about;
        int controls = 0;
        checkNamedControlsDescribed(about, controls);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(controls >= 9);
    }

    void renderPicture()
    {
        frmAbout about;
        saveFormPicture(about, "about.png");
    }
};

QTEST_MAIN(TestAbout)
#include "tst_about.moc"
