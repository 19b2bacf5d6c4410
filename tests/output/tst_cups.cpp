#include "tests/output/ModalDriver.h"
#include "tests/simulation/AppFixture.h"

#include "output/PrintControl.h"
#include "output/basPrint.h"
#include "shell/ResourceImages.h"

#include <QAction>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <unistd.h>

// Printing through CUPS to a real print queue. The test runs its own CUPS
// server (cupsd from Debian's cups-daemon, in a temporary folder, on its own
// socket) with one queue whose backend keeps every job as a file, so the
// document Qt hands to CUPS can be read back. Skipped where cupsd is not
// installed or the test does not run as root (cupsd insists on it).
class TestCups : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    QProcess m_cupsd;
    QString m_out;
    static constexpr const char *Queue = "UlvexTest";

    static bool writeFile(const QString &path, const QByteArray &text, QFile::Permissions perms = {})
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly) || f.write(text) != text.size())
            return false;
        f.close();
        return perms ? f.setPermissions(perms) : true;
    }

    static QString run(const QString &program, const QStringList &args)
    {
        QProcess p;
        p.start(program, args);
        if (!p.waitForFinished(30000) || p.exitCode() != 0)
            return QStringLiteral("<%1 failed: %2>").arg(program, QString::fromLocal8Bit(p.readAllStandardError()));
        return QString::fromLocal8Bit(p.readAllStandardOutput());
    }

    // The jobs the queue has written out so far.
    QStringList jobs() const { return QDir(m_out).entryList({"job-*.out"}, QDir::Files, QDir::Name); }

    // Waits for the job count to reach n; returns the newest job's file.
    QString waitForJob(int n) const
    {
        for (int i = 0; i < 300 && jobs().size() < n; ++i)
            QTest::qWait(100);
        const QStringList list = jobs();
        return list.size() >= n ? m_out + "/" + list.last() : QString();
    }

    static int pdfPages(const QString &file)
    {
        const QString info = run("pdfinfo", {file});
        const QRegularExpressionMatch m = QRegularExpression("Pages:\\s+(\\d+)").match(info);
        return m.hasMatch() ? m.captured(1).toInt() : -1;
    }

    static void openWindows(AppFixture &app, int n)
    {
        QVERIFY(app.startWithWindows(n));
        QCOMPARE(basGlobals::colSimWindows().Count(), n);
    }

private slots:
    void initTestCase()
    {
        ResourceImages::registerFontSubstitutes();
        const QString cupsd = QStandardPaths::findExecutable("cupsd", {"/usr/sbin", "/usr/local/sbin"});
        const QString lpadmin = QStandardPaths::findExecutable("lpadmin", {"/usr/sbin", "/usr/bin"});
        if (cupsd.isEmpty() || lpadmin.isEmpty())
            QSKIP("cupsd or lpadmin not installed (Debian packages cups-daemon, cups-client)");
        if (::geteuid() != 0)
            QSKIP("cupsd runs only as root");
        QVERIFY(m_root.isValid());
        const QString root = m_root.path();
        m_out = root + "/out";
        for (const char *sub : {"spool", "tmp", "cache", "state", "log", "out", "bin/backend"})
            QVERIFY(QDir(root).mkpath(sub));
        // The job folders must be open to CUPS' own user.
        for (const char *sub : {"", "/tmp", "/out"})
            QVERIFY(QFile::setPermissions(root + sub, QFile::Permissions(0x7777)));
        // The server's programs (filters, daemons...) are Debian's; only the
        // backend is the test's own.
        for (const QFileInfo &entry : QDir("/usr/lib/cups").entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot))
            if (entry.fileName() != "backend")
                QVERIFY(QFile::link(entry.absoluteFilePath(), root + "/bin/" + entry.fileName()));
        QVERIFY(writeFile(root + "/bin/backend/ulvexfile",
                          "#!/bin/sh\n"
                          "# Keeps each job's document as a file in the folder of the device URI.\n"
                          "if [ $# -eq 0 ]; then echo 'file ulvexfile \"Unknown\" \"Ulvex test\"'; exit 0; fi\n"
                          "dir=\"${DEVICE_URI#ulvexfile:}\"\n"
                          "if [ $# -ge 6 ]; then cat \"$6\" > \"$dir/job-$1.tmp\"; else cat > \"$dir/job-$1.tmp\"; fi\n"
                          "mv \"$dir/job-$1.tmp\" \"$dir/job-$(printf %05d $1).out\"\n",
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(writeFile(root + "/cupsd.conf",
                          ("Listen " + root + "/cups.sock\nLogLevel info\nWebInterface No\nBrowsing No\n"
                           "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n").toUtf8()));
        QVERIFY(writeFile(root + "/cups-files.conf",
                          ("ServerRoot " + root + "\nRequestRoot " + root + "/spool\nTempDir " + root
                           + "/tmp\nCacheDir " + root + "/cache\nStateDir " + root + "/state\nErrorLog "
                           + root + "/log/error_log\nAccessLog " + root + "/log/access_log\nPageLog "
                           + root + "/log/page_log\nServerBin " + root + "/bin\nDataDir /usr/share/cups\n")
                              .toUtf8()));
        // Every CUPS client of this process (Qt's included) talks to this server.
        qputenv("CUPS_SERVER", (root + "/cups.sock").toUtf8());
        m_cupsd.start(cupsd, {"-f", "-c", root + "/cupsd.conf", "-s", root + "/cups-files.conf"});
        QVERIFY(m_cupsd.waitForStarted());
        for (int i = 0; i < 100 && !QFileInfo::exists(root + "/cups.sock"); ++i)
            QTest::qWait(100);
        QVERIFY2(QFileInfo::exists(root + "/cups.sock"), "cupsd did not start");
        QProcess admin;
        admin.start(lpadmin, {"-p", Queue, "-E", "-v", "ulvexfile:" + m_out, "-m", "raw"});
        QVERIFY(admin.waitForFinished(30000));
        QCOMPARE(admin.exitCode(), 0);
    }

    void cleanupTestCase()
    {
        if (m_cupsd.state() != QProcess::NotRunning) {
            m_cupsd.terminate();
            if (!m_cupsd.waitForFinished(10000))
                m_cupsd.kill();
            m_cupsd.waitForFinished(5000);
        }
    }

    void qtSeesTheQueue()
    {
        QVERIFY2(QPrinterInfo::availablePrinterNames().contains(Queue),
                 qPrintable(QPrinterInfo::availablePrinterNames().join(", ")));
    }

    void threeWindowsPrintTwoPagesOnTheQueue()
    {
        AppFixture app;
        openWindows(app, 3);
        const int before = int(jobs().size());
        PrintControl::setPrinterSetup([](QPrinter &printer, QWidget *) {
            printer.setOutputFormat(QPrinter::NativeFormat);
            printer.setPrinterName(Queue);
            return true;
        });
        app.frame->menuItem("mnuPrint")->trigger();
        PrintControl::setPrinterSetup({});
        const QString job = waitForJob(before + 1);
        QVERIFY2(!job.isEmpty(), "no job reached the queue");
        QCOMPARE(pdfPages(job), 2);
        const QString text = run("pdftotext", {"-layout", job, "-"});
        QVERIFY(text.contains("Page Number 1"));
        QVERIFY(text.contains("Page Number 2"));
        QVERIFY(app.errors.isEmpty());
    }

    void theRealPrintDialogSendsToTheChosenQueue()
    {
        AppFixture app;
        openWindows(app, 2);
        auto *control = app.frame->findChild<PrintControl *>("PrintPRO1");
        QVERIFY(control);
        control->printer().setOutputFormat(QPrinter::NativeFormat);
        control->printer().setPrinterName(Queue);
        const int before = int(jobs().size());
        bool missed = false;
        QString shownPrinter;
        whenShown<QPrintDialog>([&](QPrintDialog *dialog) {
            shownPrinter = dialog->printer()->printerName();
            dialog->accept();
        }, &missed);
        app.frame->button("print")->trigger();
        QVERIFY(!missed);
        QCOMPARE(shownPrinter, QString(Queue));
        const QString job = waitForJob(before + 1);
        QVERIFY2(!job.isEmpty(), "no job reached the queue");
        QCOMPARE(pdfPages(job), 1);
        // The job is the document, with its title.
        QVERIFY(run("pdfinfo", {job}).contains("Ulvex Graphical Output"));
    }
};

QTEST_MAIN(TestCups)
#include "tst_cups.moc"
