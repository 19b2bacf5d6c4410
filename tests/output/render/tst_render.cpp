#include "tests/common/FullDisk.h"
#include "tests/common/TestDatabase.h"
#include "tests/common/TestFiles.h"

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
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

// A test database in `folder` changed by one SQL statement; empty when the
// statement failed.
QString databaseWith(const QString &folder, const QString &statement)
{
    const QString path = TestDatabase::create(folder);
    bool done = false;
    {
        QSqlDatabase sql = QSqlDatabase::addDatabase("QSQLITE", "changed");
        sql.setDatabaseName(path);
        done = sql.open() && QSqlQuery(sql).exec(statement);
    }
    QSqlDatabase::removeDatabase("changed");
    return done ? path : QString();
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
        // 1 L/h, the second flow rate of the list, up to 4 hours.
        p.start(ULVEX_RENDER_EXE, {"--database", db, "--soil", "3", "--flow", "1", "--time", "4", "--water", "wet",
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
        QCOMPARE(render({"-d", db, "-s", "2", "-f", "0.5", "-t", "2", "-w", "dry", "-e", "buried", "--text",
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
        QTest::newRow("flow no number") << QStringList({"--flow", "two", "-o", "x.png"});
        QTest::newRow("flow position beyond") << QStringList({"--flow-no", "6", "-o", "x.png"});
        QTest::newRow("flow twice") << QStringList({"--flow", "2", "--flow-no", "3", "-o", "x.png"});
        QTest::newRow("time not in database") << QStringList({"--time", "25", "-o", "x.png"});
        QTest::newRow("time position zero") << QStringList({"--time-no", "0", "-o", "x.png"});
        QTest::newRow("time twice") << QStringList({"--time", "2", "--time-no", "2", "-o", "x.png"});
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

    // Users type what they see: litres per hour and hours, matched against
    // the database's lists; the positions under --flow-no and --time-no.
    void flowAndTimeAreLitresPerHourAndHours()
    {
        const auto fronts = [this](const QStringList &selection) {
            QProcess p;
            p.start(ULVEX_RENDER_EXE, QStringList({"--database", db, "--soil", "4", "--text"}) + selection);
            p.waitForFinished(60000);
            return QString::fromUtf8(p.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        };
        // 2 L/h is the third flow rate of the list.
        const QStringList byValue = fronts({"--flow", "2", "--time", "5"});
        QCOMPARE(byValue.size(), 7);
        QVERIFY2(byValue.at(0).contains(", 2 L/h, dry"), qPrintable(byValue.at(0)));
        QCOMPARE(byValue.last().split(',').at(1).toDouble(), TestDatabase::frontValue("SurfaceData-c", "r", 4, 3, 5));
        QCOMPARE(fronts({"--flow", "2.0", "--time", "5"}), byValue);
        QCOMPARE(fronts({"--flow-no", "3", "--time-no", "5"}), byValue);
        QCOMPARE(fronts({"--flow", "0.5"}).size(), 2 + 24); // the default time: 24 hours
        QVERIFY(fronts({"--flow", "0.5"}).at(0).contains(", 0.5 L/h,"));

        // A value the database does not hold names the ones it does.
        Run r = render({"--database", db, "--flow", "3", "--text"});
        QCOMPARE(r.status, 2);
        QCOMPARE(r.err, QString("ulvex-render: --flow 3 L/h is not in the database; it holds 0.5, 1, 2, 4 L/h\n"));
        r = render({"--database", db, "--time", "30", "--text"});
        QCOMPARE(r.status, 2);
        QVERIFY2(r.err.contains("--time 30 h is not in the database; it holds 1, 2, 3,"), qPrintable(r.err));
    }

    void helpSaysWhichDatabaseIsRead()
    {
        QProcess p;
        p.start(ULVEX_RENDER_EXE, {"--help"});
        QVERIFY(p.waitForFinished(60000));
        const QString help = QString::fromUtf8(p.readAllStandardOutput()).simplified();
        QVERIFY2(help.contains("the user's own database"), qPrintable(help));
        QVERIFY2(help.contains("else trickle.db in the program folder"), qPrintable(help));
        QVERIFY2(help.contains("--flow-no") && help.contains("litres per hour"), qPrintable(help));
    }

    // A soil that is in the database but has no fronts for the selection (a
    // database built for some cases only): the same message for text and
    // pictures, nothing written.
    void aSelectionWithoutFrontsExitsTwoNamingIt()
    {
        QTemporaryDir other;
        const QString path = databaseWith(other.path(), "DELETE FROM [BuriedData-c6] WHERE SoilType = 2");
        QVERIFY(!path.isEmpty());
        const QString expected = "ulvex-render: no fronts for " + TestDatabase::soilName(2)
                                 + ", 4 L/h, moist, buried emitter in " + path + "\n";
        const QStringList selection = {"-d", path, "-s", "2", "-f", "4", "-w", "moist", "-e", "buried"};
        Run r = render(selection + QStringList({"--text"}));
        QCOMPARE(r.status, 2);
        QCOMPARE(r.err, expected);
        const QString out = other.filePath("none.png");
        r = render(selection + QStringList({"-o", out}));
        QCOMPARE(r.status, 2);
        QCOMPARE(r.err, expected);
        QVERIFY(!QFile::exists(out));
        // The other water contents of the soil are there.
        QCOMPARE(render({"-d", path, "-s", "2", "-f", "4", "-w", "wet", "-e", "buried", "--text"}).status, 0);
    }

    // Fronts of no width under an automatic scale cannot be drawn (the graph
    // divides by their size): said in the drawing's own words.
    void aDrawingFailureIsToldAsSuch()
    {
        QTemporaryDir folder;
        const QString path = databaseWith(folder.path(), "UPDATE [BuriedData-c] SET r = 0 WHERE SoilType = 1");
        QVERIFY(!path.isEmpty());
        const QString program = folder.filePath("ulvex-render");
        QVERIFY(QFile::copy(ULVEX_RENDER_EXE, program));
        const QString out = folder.filePath("flat.png");
        const Run r = render({"-d", path, "-e", "buried", "-o", out}, program);
        QCOMPARE(r.status, 6);
        QCOMPARE(r.err.count('\n'), 1);
        QVERIFY2(r.err.startsWith("ulvex-render: the graph cannot be drawn: "), qPrintable(r.err));
        QVERIFY2(r.err.contains("Division by zero"), qPrintable(r.err));
        QVERIFY2(!r.err.contains("no fronts"), qPrintable(r.err));
        QVERIFY(!QFile::exists(out));
    }

    // The text on a full disk: exit 4 and the file as it was, never empty or cut.
    void textOnAFullDiskExitsFourAndKeepsTheFile_data() { FullDisk::addRows(); }
    void textOnAFullDiskExitsFourAndKeepsTheFile()
    {
        QFETCH(int, kind);
        QTemporaryDir folder;
        const QString database = db;
        const QByteArray old = "earlier fronts\n";
        FullDisk::verify(
            FullDisk::Kind(kind), folder.path(),
            [old](const QString &where) {
                return writeAll(where + "/fronts.csv", old) ? QString() : QString("cannot prepare");
            },
            [database, old](const QString &where) {
                const QString file = where + "/fronts.csv";
                Run r = render({"-d", database, "--text", "-o", file});
                if (r.status != 4)
                    return QString("exit %1 (%2) writing over a file").arg(r.status).arg(r.err);
                if (!r.err.startsWith("ulvex-render: cannot write " + file))
                    return QString("message: %1").arg(r.err);
                if (const QString kept = FullDisk::keptBytes(file, old, "a failed write"); !kept.isEmpty())
                    return kept;
                const QString fresh = where + "/new.csv";
                r = render({"-d", database, "--text", "-o", fresh});
                if (r.status != 4 || QFile::exists(fresh))
                    return QString("exit %1, a new file %2").arg(r.status).arg(QFile::exists(fresh) ? "left" : "not left");
                if (FullDisk::files(where) != QStringList{"fronts.csv"})
                    return QString("left over: %1").arg(FullDisk::files(where).join(", "));
                return QString();
            },
            16);
    }

    void textToAFullDeviceExitsFour()
    {
        QProcess p;
        p.setStandardOutputFile("/dev/full");
        p.start(ULVEX_RENDER_EXE, {"--database", db, "--text"});
        QVERIFY(p.waitForFinished(60000));
        QCOMPARE(p.exitCode(), 4);
        QCOMPARE(QString::fromLocal8Bit(p.readAllStandardError()),
                 QString("ulvex-render: cannot write to standard output\n"));
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
        QVERIFY2(r.err.contains("BuriedData-c3"), qPrintable(r.err));
    }
};

QTEST_GUILESS_MAIN(TestRender)
#include "tst_render.moc"
