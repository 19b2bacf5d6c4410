// The database builder run as a process of its own: its progress lines read
// as they come, its failure message, a builder that cannot start, and Cancel.
// A small stand-in script plays the builder here; the real one is run by
// test_mysoils_dialogs.
#include "mysoils/BuilderProcess.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestBuilderProcess : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString script(const QString &name, const QByteArray &body)
    {
        const QString path = m_dir.filePath(name);
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly))
            return QString();
        f.write("#!/bin/sh\n" + body);
        f.close();
        f.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

private slots:
    void progressLinesAreRead()
    {
        int done = 0, total = 0;
        QString elapsed, left;
        QVERIFY(BuilderProcess::parseProgress(
            "[  3/30] soil 13 (My Loam), 2 L/h, -6 m, buried: 1.2 s, mass balance 0.0012 %; "
            "elapsed 0:04, about 0:36 left",
            &done, &total, &elapsed, &left));
        QCOMPARE(done, 3);
        QCOMPARE(total, 30);
        QCOMPARE(elapsed, QString("0:04"));
        QCOMPARE(left, QString("0:36"));
        QVERIFY(BuilderProcess::parseProgress("[ 4/30] soil 13: FAILED after 2.0 s: boom", &done, &total,
                                              &elapsed, &left));
        QCOMPARE(done, 4);
        QVERIFY(elapsed.isEmpty());
        QVERIFY(!BuilderProcess::parseProgress("trickle-build: 30 case(s) on 2 thread(s)", &done, &total,
                                               &elapsed, &left));
    }

    void successReportsEveryCase()
    {
        const QString builder = script("ok.sh",
            "echo 'trickle-build: 3 case(s) on 2 thread(s)' >&2\n"
            "for k in 1 2 3; do echo \"[$k/3] case $k: 0.1 s, mass balance 0.001 %; elapsed 0:0$k, about 0:0$((3-k)) left\" >&2; done\n"
            "echo 'trickle-build: wrote x' >&2\nexit 0\n");
        BuilderProcess p;
        QSignalSpy progress(&p, &BuilderProcess::progress);
        QSignalSpy finished(&p, &BuilderProcess::finished);
        p.start({"--soils", "a.csv"}, builder);
        QVERIFY(finished.wait(10000));
        QCOMPARE(progress.count(), 3);
        QCOMPARE(progress.last().at(0).toInt(), 3);
        QCOMPARE(progress.last().at(1).toInt(), 3);
        QCOMPARE(progress.last().at(3).toString(), QString("0:00"));
        QCOMPARE(finished.first().at(0).toBool(), true);
        QCOMPARE(p.casesDone(), 3);
        QVERIFY(!p.isRunning());
    }

    void failureCarriesTheBuildersOwnMessage()
    {
        const QString builder = script("bad.sh",
            "echo 'trickle-build: 1 case(s) on 1 thread(s)' >&2\n"
            "echo 'trickle-build: added.csv line 2: n 0.9 must be greater than 1' >&2\nexit 1\n");
        BuilderProcess p;
        QSignalSpy finished(&p, &BuilderProcess::finished);
        p.start({}, builder);
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.first().at(0).toBool(), false);
        QCOMPARE(finished.first().at(1).toString(),
                 QString("trickle-build: added.csv line 2: n 0.9 must be greater than 1"));
    }

    void aKilledBuilderIsReported()
    {
        // Killed from outside (out of memory, say): said so, with its last words.
        const QString builder = script("killed.sh",
            "echo '[1/30] case 1: 0.1 s, mass balance 0 %; elapsed 0:01, about 0:29 left' >&2\n"
            "kill -KILL $$\n");
        BuilderProcess p;
        QSignalSpy finished(&p, &BuilderProcess::finished);
        p.start({}, builder);
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.first().at(0).toBool(), false);
        const QString message = finished.first().at(1).toString();
        QVERIFY2(message.contains("stopped unexpectedly") && message.contains("killed.sh"), qPrintable(message));
        QVERIFY(!p.cancelled());
    }

    void aMissingBuilderIsReported()
    {
        BuilderProcess p;
        QSignalSpy finished(&p, &BuilderProcess::finished);
        p.start({}, m_dir.filePath("no-such-builder"));
        QVERIFY(finished.count() == 1 || finished.wait(10000));
        QCOMPARE(finished.first().at(0).toBool(), false);
        QVERIFY2(finished.first().at(1).toString().contains("no-such-builder"),
                 qPrintable(finished.first().at(1).toString()));
    }

    void cancelStopsTheBuilderAndLetsItCleanUp()
    {
        // The stand-in removes its temporary file on SIGTERM, as the builder does.
        const QString marker = m_dir.filePath("part");
        const QString builder = script("slow.sh",
            "touch '" + marker.toUtf8() + "'\n"
            "trap \"rm -f '" + marker.toUtf8() + "'; exit 143\" TERM\n"
            "echo '[1/30] case 1: 0.1 s, mass balance 0 %; elapsed 0:01, about 0:29 left' >&2\n"
            "while true; do sleep 0.05; done\n");
        BuilderProcess p;
        QSignalSpy progress(&p, &BuilderProcess::progress);
        QSignalSpy finished(&p, &BuilderProcess::finished);
        p.start({}, builder);
        QVERIFY(progress.wait(10000));
        QVERIFY(QFile::exists(marker));
        p.cancel();
        QVERIFY(finished.wait(15000));
        QCOMPARE(finished.first().at(0).toBool(), false);
        QVERIFY(p.cancelled());
        QVERIFY(!p.isRunning());
        QVERIFY(!QFile::exists(marker));
    }
};

QTEST_GUILESS_MAIN(TestBuilderProcess)
#include "tst_builderprocess.moc"
