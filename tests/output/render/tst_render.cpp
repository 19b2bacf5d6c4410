#include "tests/common/TestDatabase.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct Run
{
    int status = -1;
    QString err;
};

Run render(const QStringList &arguments, const QString &program = QStringLiteral(ULVEX_RENDER_EXE))
{
    QProcess p;
    p.start(program, arguments);
    if (!p.waitForFinished(60000))
        return {};
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
            QString::fromLocal8Bit(p.readAllStandardError())};
}

QByteArray bytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

class TestRender : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir dir;
    QString db;

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        db = TestDatabase::create(dir.path());
    }

    void drawsPngOfTheSelection()
    {
        const QString out = dir.filePath("graph.png");
        const Run r = render({"--database", db, "--soil", "3", "--flow", "2", "--time", "24", "--water",
                              "wet", "--emitter", "surface", "--size", "400x600", "--output", out});
        QCOMPARE(r.status, 0);
        QVERIFY(r.err.isEmpty());
        QImage image(out);
        QCOMPARE(image.size(), QSize(400, 600));
        // Kept beside the test for a look by eye.
        QFile::remove(QCoreApplication::applicationDirPath() + "/render-graph.png");
        QFile::copy(out, QCoreApplication::applicationDirPath() + "/render-graph.png");
        // The soil surface is a black line at 0.3 of the height (the side strips
        // paint over its ends); the emitter a
        // black disc at the centre of it.
        QCOMPARE(QColor(image.pixel(120, 180)), QColor(Qt::black));
        QCOMPARE(QColor(image.pixel(200, 180)), QColor(Qt::black));
        // Ground below it is white without background (the default settings).
        QCOMPARE(QColor(image.pixel(330, 400)), QColor(Qt::white));
        // The picture is not blank: fronts and texts put dark pixels in the ground.
        int dark = 0;
        for (int y = 185; y < 520; ++y)
            for (int x = 60; x < 360; ++x)
                if (qGray(image.pixel(x, y)) < 128)
                    ++dark;
        QVERIFY2(dark > 200, qPrintable(QString::number(dark)));
    }

    void textGivesTheFrontsAndTheWetSpotHourByHour()
    {
        QProcess p;
        p.start(ULVEX_RENDER_EXE, {"--database", db, "--soil", "3", "--flow", "2", "--time", "4", "--water", "wet",
                                   "--text"});
        QVERIFY(p.waitForFinished(60000));
        QCOMPARE(p.exitCode(), 0);
        const QStringList lines = QString::fromUtf8(p.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 6);
        QVERIFY2(lines.at(0).startsWith("# Ulvex fronts: " + TestDatabase::soilName(3) + ", 1 L/h, wet"),
                 qPrintable(lines.at(0)));
        QCOMPARE(lines.at(1), QString("Time (h),r (m),z (m),Pond radius (m)"));
        for (int hour = 1; hour <= 4; ++hour) {
            const QStringList v = lines.at(1 + hour).split(',');
            QCOMPARE(v.size(), 4);
            QCOMPARE(v.at(0).toInt(), hour);
            QCOMPARE(v.at(1).toDouble(), TestDatabase::frontValue("SurfaceData-c3", "r", 3, 2, hour));
            QCOMPARE(v.at(2).toDouble(), TestDatabase::frontValue("SurfaceData-c3", "z", 3, 2, hour));
            QVERIFY(qAbs(v.at(3).toDouble() - TestDatabase::pondRadius(3, 2, -3, hour)) < 1e-12);
        }

        // Buried: r, zplus and zminus, to a file.
        const QString file = dir.filePath("fronts.csv");
        QCOMPARE(render({"-d", db, "-s", "2", "-f", "1", "-t", "2", "-w", "dry", "-e", "buried", "--text",
                         "-o", file}).status, 0);
        const QStringList buried = QString::fromUtf8(bytes(file)).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(buried.size(), 4);
        QCOMPARE(buried.at(1), QString("Time (h),r (m),zplus (m),zminus (m)"));
        QCOMPARE(buried.at(3).split(',').at(3).toDouble(), TestDatabase::frontValue("BuriedData-c", "zminus", 2, 1, 2));
    }

    void textSaysWhenTheDatabaseHoldsNoWetSpot()
    {
        QTemporaryDir old;
        TestDatabase::Options o;
        o.omitTables = QStringList{"PondData"};
        const QString olderDb = TestDatabase::create(old.path(), o);
        QProcess p;
        p.start(ULVEX_RENDER_EXE, {"--database", olderDb, "--time", "2", "--text"});
        QVERIFY(p.waitForFinished(60000));
        QCOMPARE(p.exitCode(), 0);
        const QString out = QString::fromUtf8(p.readAllStandardOutput());
        QVERIFY2(out.contains("holds no pond radii"), qPrintable(out));
        QVERIFY(out.contains("Time (h),r (m),z (m)\n1,"));
    }

    void drawsSvgAndPdf()
    {
        const QString svg = dir.filePath("graph.svg");
        QCOMPARE(render({"-d", db, "-e", "buried", "-w", "moist", "-o", svg}).status, 0);
        const QByteArray s = bytes(svg);
        QVERIFY(s.contains("<svg"));
        QVERIFY(s.contains("Hour"));
        const QString pdf = dir.filePath("graph.pdf");
        QCOMPARE(render({"-d", db, "-o", pdf, "--size", "800x1200"}).status, 0);
        QVERIFY(bytes(pdf).startsWith("%PDF"));
    }

    void badOptionsExitTwoWithOneLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("no output") << QStringList({"--soil", "1"});
        QTest::newRow("soil zero") << QStringList({"--soil", "0", "-o", "x.png"});
        QTest::newRow("soil text") << QStringList({"--soil", "sand", "-o", "x.png"});
        QTest::newRow("water") << QStringList({"--water", "damp", "-o", "x.png"});
        QTest::newRow("emitter") << QStringList({"--emitter", "deep", "-o", "x.png"});
        QTest::newRow("size") << QStringList({"--size", "10x10", "-o", "x.png"});
        QTest::newRow("format") << QStringList({"-o", "x.bmp"});
        QTest::newRow("unknown option") << QStringList({"--colour", "red", "-o", "x.png"});
        QTest::newRow("soil not in database") << QStringList({"--soil", "9", "-o", "x.png"});
        QTest::newRow("flow not in database") << QStringList({"--flow", "5", "-o", "x.png"});
        QTest::newRow("time not in database") << QStringList({"--time", "25", "-o", "x.png"});
    }
    void badOptionsExitTwoWithOneLine()
    {
        QFETCH(QStringList, arguments);
        const Run r = render(QStringList({"--database", db}) + arguments);
        QCOMPARE(r.status, 2);
        QCOMPARE(r.err.count('\n'), 1);
        QVERIFY(r.err.startsWith("ulvex-render: "));
        QVERIFY(!QFile::exists("x.png"));
    }

    void unreadableDatabaseExitsThree()
    {
        const QString missing = dir.filePath("none/trickle.db");
        Run r = render({"--database", missing, "-o", dir.filePath("a.png")});
        QCOMPARE(r.status, 3);
        QCOMPARE(r.err.count('\n'), 1);
        QVERIFY(r.err.contains("trickle.db"));
        QVERIFY(!QFile::exists(missing)); // never created
        QTemporaryDir other;
        const QString junk = TestDatabase::createNotADatabase(other.path());
        const QByteArray before = bytes(junk);
        r = render({"--database", junk, "-o", dir.filePath("b.png")});
        QCOMPARE(r.status, 3);
        QCOMPARE(bytes(junk), before);
        QVERIFY(!QFile::exists(dir.filePath("b.png")));
    }

    // The renderer reads the settings file of its own folder: a copy of it in
    // a folder of the test's own gets a settings file written by the test.
    void unusableSettingsExitFiveNamingTheFile_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QString>("key");
        QTest::newRow("float no number") << QByteArray("[Graph Settings]\nMaxX=abc\n") << "MaxX";
        QTest::newRow("float cut") << QByteArray("[Graph Settings]\nMaxY=1.2345678\n") << "MaxY";
        QTest::newRow("integer beyond 16 bits") << QByteArray("[Graph Settings]\nMaxSim=70000\n")
                                                << "MaxSim";
    }
    void unusableSettingsExitFiveNamingTheFile()
    {
        QFETCH(QByteArray, settings);
        QFETCH(QString, key);
        QTemporaryDir folder;
        QVERIFY(folder.isValid());
        const QString program = folder.filePath("ulvex-render");
        QVERIFY(QFile::copy(ULVEX_RENDER_EXE, program));
        const QString ini = folder.filePath("Quillon.ini");
        QFile file(ini);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(settings) == settings.size());
        file.close();
        const QString out = folder.filePath("graph.png");
        const Run r = render({"--database", db, "-o", out}, program);
        QCOMPARE(r.status, 5);
        QCOMPARE(r.err.count('\n'), 1);
        QVERIFY2(r.err.startsWith("ulvex-render: cannot use the settings file " + ini + " "), qPrintable(r.err));
        QVERIFY2(r.err.contains("\"" + key + "\""), qPrintable(r.err));
        QVERIFY2(!r.err.contains("database"), qPrintable(r.err));
        QVERIFY(!QFile::exists(out));
        QCOMPARE(bytes(ini), settings); // a failed load writes nothing

        // Mended, the same folder draws.
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("[Graph Settings]\nMaxX=\"1.75\"\n");
        file.close();
        QCOMPARE(render({"--database", db, "-o", out}, program).status, 0);
        QVERIFY(QImage(out).width() > 0);
    }

    void missingTableExitsThree()
    {
        QTemporaryDir other;
        TestDatabase::Options options;
        options.omitTables << "BuriedData-c3";
        const QString path = TestDatabase::create(other.path(), options);
        const Run r = render({"-d", path, "-e", "buried", "-w", "wet", "-o", other.filePath("c.png")});
        QCOMPARE(r.status, 3);
        QVERIFY(r.err.contains("BuriedData-c3"));
    }
};

QTEST_GUILESS_MAIN(TestRender)
#include "tst_render.moc"
