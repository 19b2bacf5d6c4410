#include "settings/GraphSettings.h"
#include "settings/LVSoilSettings.h"
#include "settings/SettingsFileError.h"
#include "settings/basIndProfile.h"
#include "base/ProgramFolder.h"
#include "base/UlvexError.h"
#include "tests/common/FullDisk.h"
#include "tests/common/TestFiles.h"
#include "tests/settings/SettingsDump.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <clocale>
#include <cstring>
#include <functional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace basIndProfile;

namespace {

// A record with every field away from its default, to see which fields a load sets.
GraphSettings oddGraph()
{
    GraphSettings s;
    s.AutoScaleX = 11;
    s.AutoScaleY = 12;
    s.MaxX = 13.5f;
    s.MaxY = 14.5f;
    s.XDecPlaces = 15;
    s.YDecPlaces = 16;
    s.BackOn = 17;
    s.EmitterDepth = 18.5f;
    s.MaxSim = 19;
    for (int i = 0; i <= 8; ++i)
        s.Color[size_t(i)] = 1000 + i;
    s.Width = 20.5f;
    s.TimeScale = "odd";
    return s;
}

LVSoilSettings oddLVSoil()
{
    LVSoilSettings s;
    s.C1 = 9.5f;
    s.C2 = 9.25f;
    s.C3 = 9.125f;
    s.C4 = 9.75f;
    s.C5 = 9.0f;
    s.Width = 1234;
    s.Height = 4321;
    return s;
}

const QByteArray DefaultGraphFile = "[Graph Settings]\n"
                                    "AutoScaleX=0\n"
                                    "AutoScaleY=0\n"
                                    "MaxX=1.5\n"
                                    "MaxY=1.5\n"
                                    "XDecPlaces=1\n"
                                    "YDecPlaces=1\n"
                                    "BackOn=0\n"
                                    "EmitterDepth=0.25\n"
                                    "MaxSim=6\n"
                                    "Color1=0\n"
                                    "Color2=1\n"
                                    "Color3=2\n"
                                    "Color4=3\n"
                                    "Color5=4\n"
                                    "Color6=5\n"
                                    "Color7=6\n"
                                    "Color8=7\n"
                                    "Width=1.5\n"
                                    "TimeScale=LOG\n";

const QByteArray DefaultLVSoilSection = "[LVSoil Settings]\n"
                                        "C1=0.25\n"
                                        "C2=0.3\n"
                                        "C3=0.2\n"
                                        "C4=0.12\n"
                                        "C5=0.13\n"
                                        "Height=4200\n"
                                        "Width=6825\n";

// The read-only checks, run with the rights of an ordinary user. Returns 0 when
// all hold, else the number of the first that failed.
int readOnlyChecks(const QString &roWithFile, const QString &roEmpty, const QString &fileRo,
                   const QByteArray &before)
{
    // 1-3: a folder that cannot be written, holding a settings file.
    ProgramFolder::setOverride(roWithFile);
    GraphSettings g = oddGraph();
    SaveGraphSettings(g);
    if (readAll(IniPath()) != before)
        return 1;
    LVSoilSettings lv = oddLVSoil();
    LoadLVSoilSettings(lv); // section missing: tries to write it
    if (dump(lv) != dump(LVSoilSettings()))
        return 2;
    if (readAll(IniPath()) != before || QDir(roWithFile).entryList(QDir::Files | QDir::Hidden)
                                            != QStringList{"Quillon.ini"})
        return 3;
    // 4-5: a read-only folder without a file: the load still gives the defaults.
    ProgramFolder::setOverride(roEmpty);
    g = oddGraph();
    LoadGraphSettings(g);
    if (dump(g) != dump(GraphSettings()))
        return 4;
    if (!QDir(roEmpty).entryList(QDir::Files | QDir::Hidden).isEmpty())
        return 5;
    // 6: a writable folder but a read-only file.
    ProgramFolder::setOverride(fileRo);
    SaveGraphSettings(oddGraph());
    SaveLVSoilSettings(oddLVSoil());
    if (readAll(IniPath()) != before)
        return 6;
    if (WriteIniString("Graph Settings", "MaxX", "3", IniPath()) != 0)
        return 7;
    return 0;
}

// Runs checks with the rights of an ordinary user and returns their result (0
// when all hold). As root the permission bits do not stop writes, so the checks
// then run in a child process with the rights of the "nobody" user; 100 means
// the child could not become that user, 101 that it crashed.
int asOrdinaryUser(const std::function<int()> &checks)
{
    if (::geteuid() != 0)
        return checks();
    const pid_t pid = ::fork();
    if (pid < 0)
        return 102;
    if (pid == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0)
            ::_exit(100);
        ::_exit(checks());
    }
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return 101;
    return WEXITSTATUS(status);
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

    QTemporaryDir *m_dir = nullptr;
    QString m_ini;

    void put(const QByteArray &bytes) { QVERIFY(writeAll(m_ini, bytes)); }

    template <typename Record>
    UlvexError expectFailure(const std::function<void(Record &)> &load, Record &r)
    {
        try {
            load(r);
        } catch (const UlvexError &e) {
            return e;
        }
        return UlvexError(-1, "no error raised");
    }

    // The user's configuration folder, where the settings go when the program
    // folder is not the user's to write; never the real one of whoever runs
    // the tests.
    QTemporaryDir m_home;

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_home.filePath("config")));
    }
    void init()
    {
        m_dir = new QTemporaryDir;
        QVERIFY(m_dir->isValid());
        ProgramFolder::setOverride(m_dir->path());
        m_ini = m_dir->filePath("Quillon.ini");
        QCOMPARE(IniPath(), m_ini);
    }
    void cleanup()
    {
        ProgramFolder::setOverride(QString());
        delete m_dir;
        m_dir = nullptr;
    }

    void recordDefaults()
    {
        const GraphSettings g;
        QCOMPARE(g.MaxSim, qint16(6));
        QCOMPARE(g.Color[0], 0);
        for (int i = 1; i <= 8; ++i)
            QCOMPARE(g.Color[size_t(i)], i - 1);
        QCOMPARE(g.TimeScale, QString("LOG"));
    }

    // ---- graph settings -------------------------------------------------

    void noFileCreatesAllNineteenKeysInOrder()
    {
        QVERIFY(!QFile::exists(m_ini));
        GraphSettings g = oddGraph();
        LoadGraphSettings(g);
        QCOMPARE(dump(g), dump(GraphSettings()));
        QCOMPARE(readAll(m_ini), DefaultGraphFile);
        // And the file reads back as the same defaults.
        GraphSettings again = oddGraph();
        LoadGraphSettings(again);
        GraphSettings expected;
        expected.Color[0] = 1000; // element 0 is never touched when reading
        QCOMPARE(dump(again), dump(expected));
        QCOMPARE(readAll(m_ini), DefaultGraphFile);
    }

    void emptyFileGivesDefaultsAndStaysEmpty()
    {
        put(QByteArray());
        GraphSettings g = oddGraph();
        LoadGraphSettings(g);
        GraphSettings expected;
        expected.Color[0] = g.Color[0]; // element 0 is never touched
        QCOMPARE(g.Color[0], 1000);
        QCOMPARE(dump(g), dump(expected));
        QCOMPARE(QFileInfo(m_ini).size(), qint64(0));
    }

    void valuesAreRead()
    {
        put("[graph settings]\n"
            "autoscalex=1\nAUTOSCALEY = 1\nMaxX=2.75\nMaxY= 3\nXDecPlaces=2\nYDecPlaces=3\n"
            "BackOn=1\nEmitterDepth=0.5\nMaxSim=4\nColor1=255\nColor2=65280\nColor3=16711680\n"
            "Color4=16777215\nColor5=-1\nColor6=12345678\nColor7=0\nColor8=99\nWidth=2.25\n"
            "TimeScale=LIN\n");
        GraphSettings g;
        LoadGraphSettings(g);
        GraphSettings e;
        e.AutoScaleX = 1;
        e.AutoScaleY = 1;
        e.MaxX = 2.75f;
        e.MaxY = 3.0f;
        e.XDecPlaces = 2;
        e.YDecPlaces = 3;
        e.BackOn = 1;
        e.EmitterDepth = 0.5f;
        e.MaxSim = 4;
        e.Color = {0, 255, 65280, 16711680, 16777215, -1, 12345678, 0, 99};
        e.Width = 2.25f;
        e.TimeScale = "LIN";
        QCOMPARE(dump(g), dump(e));
    }

    // Files edited by hand: values in quotes, colours in hexadecimal, and "#"
    // as part of a key rather than the start of a comment.
    void quotedAndHexadecimalValuesAreRead()
    {
        put("[Graph Settings]\n#MaxX=9\nMaxX=\"1.75\"\nMaxY='2'\nMaxSim=\"3\"\nColor1=0xFF\n"
            "Color2=\"0x00FF00\"\nColor3=-0x1\nEmitterDepth=\"12345678\"\nTimeScale='LIN'\n"
            "[LVSoil Settings]\nC1=\"0.5\"\nWidth='7000'\n");
        GraphSettings g;
        LoadGraphSettings(g);
        GraphSettings e;
        e.MaxX = 1.75f;
        e.MaxY = 2.0f;
        e.MaxSim = 3;
        e.Color[1] = 255;
        e.Color[2] = 65280;
        e.Color[3] = -1;
        e.EmitterDepth = 12345678.0f; // eight characters between the quotes fit the buffer
        e.TimeScale = "LIN";
        QCOMPARE(dump(g), dump(e));
        LVSoilSettings lv;
        LoadLVSoilSettings(lv);
        LVSoilSettings f;
        f.C1 = 0.5f;
        f.Width = 7000;
        f.Height = 2535;
        QCOMPARE(dump(lv), dump(f));
    }

    void quotedMaxXOfNineCharactersIsCutAndFails()
    {
        put("[Graph Settings]\nMaxX=\"1.2345678\"\n");
        GraphSettings g;
        const UlvexError e = expectFailure<GraphSettings>(LoadGraphSettings, g);
        QCOMPARE(e.number(), 13);
        QVERIFY2(e.description().contains("\"MaxX\"") && e.description().contains(m_ini),
                 qPrintable(e.description()));
    }

    void missingKeysTakeDefaultsAndNothingIsWritten()
    {
        const QByteArray text = "[Graph Settings]\r\nMaxSim=3\r\n; nothing else\r\n";
        put(text);
        GraphSettings g = oddGraph();
        LoadGraphSettings(g);
        GraphSettings e;
        e.MaxSim = 3;
        e.Color[0] = 1000;
        QCOMPARE(dump(g), dump(e));
        QCOMPARE(readAll(m_ini), text);
    }

    void maxXOfNineCharactersIsCutAndFails()
    {
        put("[Graph Settings]\nAutoScaleX=1\nAutoScaleY=1\nMaxX=1.2345678\nMaxY=2\n");
        GraphSettings g = oddGraph();
        const UlvexError e = expectFailure<GraphSettings>(LoadGraphSettings, g);
        QCOMPARE(e.number(), 13);
        QVERIFY2(e.description().contains("\"MaxX\""), qPrintable(e.description()));
        QVERIFY2(e.description().contains("Graph Settings"), qPrintable(e.description()));
        QVERIFY2(e.description().contains(m_ini), qPrintable(e.description()));
        // The fields read before the failure keep their new values, the rest are untouched.
        QCOMPARE(g.AutoScaleX, qint16(1));
        QCOMPARE(g.AutoScaleY, qint16(1));
        QCOMPARE(g.MaxX, 13.5f);
        QCOMPARE(g.MaxY, 14.5f);
        QCOMPARE(g.TimeScale, QString("odd"));
    }

    // Every load failure is a SettingsFileError carrying the file, so that a
    // caller can tell it from a database failure and name the file.
    void loadFailuresNameTheSettingsFile_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("number");
        QTest::newRow("float no number") << QByteArray("[Graph Settings]\nMaxX=abc\n") << 13;
        QTest::newRow("float beyond single") << QByteArray("[Graph Settings]\nWidth=1e39\n") << 6;
        QTest::newRow("float cut") << QByteArray("[Graph Settings]\nMaxY=123456789\n") << 13;
        QTest::newRow("integer beyond 16 bits") << QByteArray("[Graph Settings]\nBackOn=0x10000\n") << 6;
        QTest::newRow("time scale cut") << QByteArray("[Graph Settings]\nTimeScale=LOGARITHMIC\n") << 13;
        QTest::newRow("soil-list float") << QByteArray("[LVSoil Settings]\nC3=x\n") << 13;
        QTest::newRow("soil-list size") << QByteArray("[LVSoil Settings]\nHeight=-40000\n") << 6;
    }
    void loadFailuresNameTheSettingsFile()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, number);
        put(text);
        QString file;
        int thrown = 0;
        try {
            GraphSettings g;
            LoadGraphSettings(g);
            LVSoilSettings lv;
            LoadLVSoilSettings(lv);
        } catch (const SettingsFileError &e) {
            file = e.file();
            thrown = e.number();
        }
        QCOMPARE(thrown, number);
        QCOMPARE(file, m_ini);
    }

    void maxXLongerStillFails()
    {
        put("[Graph Settings]\nMaxX=1.234567890123\n");
        GraphSettings g;
        QCOMPARE(expectFailure<GraphSettings>(LoadGraphSettings, g).number(), 13);
    }

    void maxXOfEightCharactersIsReadWhole()
    {
        put("[Graph Settings]\nMaxX=1.234567\nMaxY=12345678\n");
        GraphSettings g;
        LoadGraphSettings(g);
        QCOMPARE(g.MaxX, 1.234567f);
        QCOMPARE(g.MaxY, 12345678.0f);
    }

    void floatThatIsNoNumberFails_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("number");
        QTest::newRow("letters") << QByteArray("abc") << 13;
        QTest::newRow("trailing text") << QByteArray("1.5m") << 13;
        QTest::newRow("empty") << QByteArray("") << 13;
        QTest::newRow("comma decimal") << QByteArray("2,5") << 13;
        QTest::newRow("infinity") << QByteArray("inf") << 13;
        QTest::newRow("nan") << QByteArray("nan") << 13;
        QTest::newRow("beyond single") << QByteArray("1e39") << 6;
        QTest::newRow("beyond double") << QByteArray("1e400") << 6;
        QTest::newRow("negative beyond") << QByteArray("-4e38") << 6;
    }

    void floatThatIsNoNumberFails()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, number);
        put("[Graph Settings]\nMaxX=4.5\nMaxY=" + text + "\nXDecPlaces=3\n");
        GraphSettings g = oddGraph();
        const UlvexError e = expectFailure<GraphSettings>(LoadGraphSettings, g);
        QCOMPARE(e.number(), number);
        QVERIFY2(e.description().contains("\"MaxY\"") && e.description().contains(m_ini),
                 qPrintable(e.description()));
        QCOMPARE(g.MaxX, 4.5f);
        QCOMPARE(g.MaxY, 14.5f);
        QCOMPARE(g.XDecPlaces, qint16(15));
    }

    void floatFormsAccepted_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<float>("value");
        QTest::newRow("integer") << QByteArray("2") << 2.0f;
        QTest::newRow("negative") << QByteArray("-0.5") << -0.5f;
        QTest::newRow("exponent") << QByteArray("2.5e-1") << 0.25f;
        QTest::newRow("leading dot") << QByteArray(".75") << 0.75f;
        QTest::newRow("blanks") << QByteArray("  1.25  ") << 1.25f;
    }

    void floatFormsAccepted()
    {
        QFETCH(QByteArray, text);
        QFETCH(float, value);
        put("[Graph Settings]\nEmitterDepth=" + text + "\n");
        GraphSettings g;
        LoadGraphSettings(g);
        QCOMPARE(g.EmitterDepth, value);
    }

    void integerOutside16BitsFails()
    {
        put("[Graph Settings]\nEmitterDepth=0.75\nMaxSim=32768\nColor1=5\n");
        GraphSettings g = oddGraph();
        const UlvexError e = expectFailure<GraphSettings>(LoadGraphSettings, g);
        QCOMPARE(e.number(), 6);
        QVERIFY2(e.description().contains("\"MaxSim\"") && e.description().contains(m_ini),
                 qPrintable(e.description()));
        QCOMPARE(g.EmitterDepth, 0.75f);
        QCOMPARE(g.MaxSim, qint16(19));
        QCOMPARE(g.Color[1], 1001);

        put("[Graph Settings]\nAutoScaleX=-32769\n");
        QCOMPARE(expectFailure<GraphSettings>(LoadGraphSettings, g).number(), 6);
    }

    void integerLimitsAndNonNumbers()
    {
        put("[Graph Settings]\nAutoScaleX=-32768\nAutoScaleY=32767\nXDecPlaces=abc\n"
            "YDecPlaces=2 places\nBackOn=\nMaxSim=+3\n");
        GraphSettings g;
        LoadGraphSettings(g);
        QCOMPARE(g.AutoScaleX, qint16(-32768));
        QCOMPARE(g.AutoScaleY, qint16(32767));
        QCOMPARE(g.XDecPlaces, qint16(0)); // not a number gives 0
        QCOMPARE(g.YDecPlaces, qint16(2)); // leading digits
        QCOMPARE(g.BackOn, qint16(0));     // empty: the default
        QCOMPARE(g.MaxSim, qint16(3));
    }

    void timeScalePassedUnchanged_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("value");
        QTest::newRow("LIN") << QByteArray("LIN") << QString("LIN");
        QTest::newRow("lower case") << QByteArray("log") << QString("log");
        QTest::newRow("other") << QByteArray("Weekly") << QString("Weekly");
        QTest::newRow("eight") << QByteArray("ABCDEFGH") << QString("ABCDEFGH");
        QTest::newRow("empty") << QByteArray("") << QString("");
        QTest::newRow("digits") << QByteArray("42") << QString("42");
    }

    void timeScalePassedUnchanged()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, value);
        put("[Graph Settings]\nTimeScale=" + text + "\n");
        GraphSettings g;
        LoadGraphSettings(g);
        QCOMPARE(g.TimeScale, value);
    }

    void timeScaleTooLongFails()
    {
        put("[Graph Settings]\nWidth=3.5\nTimeScale=LOGARITHM\n");
        GraphSettings g = oddGraph();
        const UlvexError e = expectFailure<GraphSettings>(LoadGraphSettings, g);
        QCOMPARE(e.number(), 13);
        QVERIFY(e.description().contains("\"TimeScale\""));
        QCOMPARE(g.Width, 3.5f);
        QCOMPARE(g.TimeScale, QString("odd"));
    }

    void saveWritesEveryKeyInOrder()
    {
        GraphSettings g = oddGraph();
        g.MaxX = 0.3f;
        g.MaxY = 0.1f;
        g.EmitterDepth = 2.0f;
        g.Width = 1.1f;
        g.Color[0] = 555; // never written
        SaveGraphSettings(g);
        QCOMPARE(readAll(m_ini),
                 QByteArray("[Graph Settings]\nAutoScaleX=11\nAutoScaleY=12\nMaxX=0.3\nMaxY=0.1\n"
                            "XDecPlaces=15\nYDecPlaces=16\nBackOn=17\nEmitterDepth=2\nMaxSim=19\n"
                            "Color1=1001\nColor2=1002\nColor3=1003\nColor4=1004\nColor5=1005\n"
                            "Color6=1006\nColor7=1007\nColor8=1008\nWidth=1.1\nTimeScale=odd\n"));
        GraphSettings back;
        LoadGraphSettings(back);
        g.Color[0] = 0;
        QCOMPARE(dump(back), dump(g));
    }

    void saveRewritesInPlaceAndAppendsTheRest()
    {
        put("; user notes\n[LVSoil Settings]\nC1=0.5\n\n[GRAPH SETTINGS]\nTimeScale=LIN\n"
            "maxsim=2\n\n[After]\nx=1\n");
        GraphSettings g;
        g.MaxSim = 5;
        g.TimeScale = "LOG";
        SaveGraphSettings(g);
        QCOMPARE(readAll(m_ini),
                 QByteArray("; user notes\n[LVSoil Settings]\nC1=0.5\n\n[GRAPH SETTINGS]\n"
                            "TimeScale=LOG\nmaxsim=5\nAutoScaleX=0\nAutoScaleY=0\nMaxX=1.5\n"
                            "MaxY=1.5\nXDecPlaces=1\nYDecPlaces=1\nBackOn=0\nEmitterDepth=0.25\n"
                            "Color1=0\nColor2=1\nColor3=2\nColor4=3\nColor5=4\nColor6=5\n"
                            "Color7=6\nColor8=7\nWidth=1.5\n\n[After]\nx=1\n"));
    }

    void savedFloatsReadBack()
    {
        // Values whose shortest text fits the graph buffer (8 characters) come
        // back exactly; seeded so that a failure can be repeated.
        const quint32 seed = 4711;
        QRandomGenerator rng(seed);
        for (int i = 0; i < 300; ++i) {
            GraphSettings g;
            g.MaxX = float(rng.bounded(100000)) / 1000.0f;
            g.MaxY = float(rng.bounded(10000)) / 100.0f;
            g.EmitterDepth = float(rng.bounded(1000)) / 1000.0f;
            g.Width = float(rng.bounded(200)) / 8.0f;
            for (int c = 1; c <= 8; ++c)
                g.Color[size_t(c)] = qint32(rng.generate());
            g.MaxSim = qint16(rng.bounded(-32768, 32768));
            SaveGraphSettings(g);
            GraphSettings back = oddGraph();
            back.Color[0] = 0;
            LoadGraphSettings(back);
            QCOMPARE(dump(back), dump(g));
        }
    }

    void numbersIgnoreTheLocale()
    {
        const QLocale old;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const char *cOld = std::setlocale(LC_NUMERIC, nullptr);
        const std::string saved = cOld ? cOld : "C";
        std::setlocale(LC_NUMERIC, "de_DE.UTF-8"); // used when installed
        GraphSettings g;
        g.MaxX = 2.5f;
        g.Width = 0.75f;
        SaveGraphSettings(g);
        const QByteArray text = readAll(m_ini);
        GraphSettings back;
        LoadGraphSettings(back);
        std::setlocale(LC_NUMERIC, saved.c_str());
        QLocale::setDefault(old);
        QVERIFY2(text.contains("\nMaxX=2.5\n") && text.contains("\nWidth=0.75\n"), text.constData());
        QCOMPARE(back.MaxX, 2.5f);
        QCOMPARE(back.Width, 0.75f);
    }

    void singleTextIsShortest_data()
    {
        QTest::addColumn<float>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("1.5") << 1.5f << "1.5";
        QTest::newRow("0.25") << 0.25f << "0.25";
        QTest::newRow("0.3") << 0.3f << "0.3";
        QTest::newRow("0.12") << 0.12f << "0.12";
        QTest::newRow("0.13") << 0.13f << "0.13";
        QTest::newRow("whole") << 6825.0f << "6825";
        QTest::newRow("negative") << -0.1f << "-0.1";
        QTest::newRow("zero") << 0.0f << "0";
    }

    void singleTextIsShortest()
    {
        QFETCH(float, value);
        QFETCH(QString, text);
        QCOMPARE(SingleText(value), text);
    }

    // ---- soil-list settings ---------------------------------------------

    void lvSoilWithOnlyC1TakesKeyDefaults()
    {
        const QByteArray text = "[LVSoil Settings]\nC1=0.4\n";
        put(text);
        LVSoilSettings s = oddLVSoil();
        LoadLVSoilSettings(s);
        QCOMPARE(s.C1, 0.4f);
        QCOMPARE(s.C2, 0.3f);
        QCOMPARE(s.C3, 0.2f);
        QCOMPARE(s.C4, 0.12f);
        QCOMPARE(s.C5, 0.13f);
        QCOMPARE(s.Width, qint16(6495));
        QCOMPARE(s.Height, qint16(2535));
        QCOMPARE(readAll(m_ini), text); // nothing written
    }

    void lvSoilSectionAbsentIsWrittenHeightFirst()
    {
        const QByteArray text = "[Graph Settings]\nMaxSim=3\n";
        put(text);
        LVSoilSettings s = oddLVSoil();
        LoadLVSoilSettings(s);
        QCOMPARE(dump(s), QString("0.25,0.300000012,0.200000003,0.119999997,0.129999995,6825,4200"));
        QCOMPARE(readAll(m_ini), text + "\n" + DefaultLVSoilSection);
        // Taken from the file the next time, with the same result.
        LVSoilSettings again = oddLVSoil();
        LoadLVSoilSettings(again);
        QCOMPARE(dump(again), dump(s));
    }

    void lvSoilNoFileCreatesIt()
    {
        LVSoilSettings s = oddLVSoil();
        LoadLVSoilSettings(s);
        QCOMPARE(s.Width, qint16(6825));
        QCOMPARE(s.Height, qint16(4200));
        QCOMPARE(readAll(m_ini), DefaultLVSoilSection);
    }

    void lvSoilEmptySectionCountsAsAbsent()
    {
        // The test is on the section's text: a header with only a comment under
        // it gives empty text, so the defaults are written under that header.
        put("[lvsoil settings]\n; layout\n[Other]\nk=v\n");
        LVSoilSettings s = oddLVSoil();
        LoadLVSoilSettings(s);
        QCOMPARE(s.Width, qint16(6825));
        QCOMPARE(s.Height, qint16(4200));
        QCOMPARE(readAll(m_ini), QByteArray("[lvsoil settings]\nC1=0.25\nC2=0.3\nC3=0.2\nC4=0.12\n"
                                            "C5=0.13\nHeight=4200\nWidth=6825\n; layout\n"
                                            "[Other]\nk=v\n"));
    }

    void lvSoilOverlongSectionCountsAsPresent()
    {
        const QByteArray text = "[LVSoil Settings]\nnote=" + QByteArray(1200, 'n')
            + "\nWidth=7000\n";
        put(text);
        LVSoilSettings s = oddLVSoil();
        LoadLVSoilSettings(s);
        QCOMPARE(s.Width, qint16(7000));
        QCOMPARE(s.Height, qint16(2535));
        QCOMPARE(s.C1, 0.25f);
        QCOMPARE(readAll(m_ini), text);
    }

    void lvSoilFloatBufferIsTwenty()
    {
        // 18 characters are read whole, 19 fill the buffer of 20.
        put("[LVSoil Settings]\nC1=0.1250000000000000\nC2=0.12500000000000000\n");
        LVSoilSettings s = oddLVSoil();
        const UlvexError e = expectFailure<LVSoilSettings>(LoadLVSoilSettings, s);
        QCOMPARE(e.number(), 13);
        QVERIFY(e.description().contains("\"C2\"") && e.description().contains("LVSoil Settings"));
        QCOMPARE(s.C1, 0.125f);
        QCOMPARE(s.C2, 9.25f);
    }

    void lvSoilSizeOverflowFails()
    {
        put("[LVSoil Settings]\nC5=0.5\nWidth=100\nHeight=40000\n");
        LVSoilSettings s = oddLVSoil();
        const UlvexError e = expectFailure<LVSoilSettings>(LoadLVSoilSettings, s);
        QCOMPARE(e.number(), 6);
        QVERIFY(e.description().contains("\"Height\""));
        QCOMPARE(s.C5, 0.5f);
        QCOMPARE(s.Width, qint16(1234)); // read after Height: untouched
    }

    void lvSoilSaveOrder()
    {
        LVSoilSettings s;
        s.C1 = 0.1f;
        s.C2 = 0.2f;
        s.C3 = 0.3f;
        s.C4 = 0.15f;
        s.C5 = 0.25f;
        s.Width = 7000;
        s.Height = 3000;
        SaveLVSoilSettings(s);
        QCOMPARE(readAll(m_ini), QByteArray("[LVSoil Settings]\nC1=0.1\nC2=0.2\nC3=0.3\nC4=0.15\n"
                                            "C5=0.25\nHeight=3000\nWidth=7000\n"));
        LVSoilSettings back = oddLVSoil();
        LoadLVSoilSettings(back);
        QCOMPARE(dump(back), dump(s));
        // In place the second time, order of the file kept.
        s.Width = 6000;
        SaveLVSoilSettings(s);
        QCOMPARE(readAll(m_ini), QByteArray("[LVSoil Settings]\nC1=0.1\nC2=0.2\nC3=0.3\nC4=0.15\n"
                                            "C5=0.25\nHeight=3000\nWidth=6000\n"));
    }

    void lvSoilArbitraryFloatsRoundTrip()
    {
        // Every single's shortest text fits the buffer of 20, so any finite
        // value comes back bit for bit.
        const quint32 seed = 20261121;
        QRandomGenerator rng(seed);
        int done = 0;
        while (done < 500) {
            float f[5];
            for (float &x : f) {
                const quint32 bits = rng.generate();
                std::memcpy(&x, &bits, sizeof x);
            }
            if (!std::all_of(std::begin(f), std::end(f), [](float x) { return std::isfinite(x); }))
                continue;
            LVSoilSettings s;
            s.C1 = f[0];
            s.C2 = f[1];
            s.C3 = f[2];
            s.C4 = f[3];
            s.C5 = f[4];
            s.Width = qint16(rng.bounded(-32768, 32768));
            s.Height = qint16(rng.bounded(-32768, 32768));
            SaveLVSoilSettings(s);
            LVSoilSettings back = oddLVSoil();
            LoadLVSoilSettings(back);
            for (int i = 0; i < 5; ++i) {
                const float got = (&back.C1)[i];
                QVERIFY2(std::memcmp(&got, &f[i], sizeof got) == 0,
                         qPrintable(QString("seed %1, value %2 came back as %3")
                                        .arg(seed)
                                        .arg(num(f[i]), num(got))));
            }
            QCOMPARE(back.Width, s.Width);
            QCOMPARE(back.Height, s.Height);
            ++done;
        }
    }

    // ---- low-level routines ---------------------------------------------

    void lowLevelRoutines()
    {
        put("[S]\nk=123456789\nn=70000\n");
        QCOMPARE(GetIniString("s", "K", 10, "", m_ini), std::optional<QString>());
        QCOMPARE(GetIniString("s", "K", 11, "", m_ini), std::optional<QString>("123456789"));
        QCOMPARE(GetIniString("s", "none", 10, "dflt", m_ini), std::optional<QString>("dflt"));
        QCOMPARE(GetIniLong("S", "n", 0, m_ini), 70000);
        QCOMPARE(GetIniInt("S", "none", -5, m_ini), qint16(-5));
        bool thrown = false;
        try {
            GetIniInt("S", "n", 0, m_ini);
        } catch (const UlvexError &e) {
            thrown = e.number() == 6;
        }
        QVERIFY(thrown);
        QCOMPARE(GetIniSection("S", 1000, m_ini),
                 std::optional<QString>(QString("k=123456789") + QChar(0) + "n=70000" + QChar(0)));
        // The text is 20 bytes long: a buffer of 21 cuts it, one of 22 holds it
        // exactly but cannot tell it from a cut one, 23 is the first that is taken.
        QCOMPARE(GetIniSection("S", 21, m_ini), std::optional<QString>());
        QCOMPARE(GetIniSection("S", 22, m_ini), std::optional<QString>());
        QVERIFY(GetIniSection("S", 23, m_ini).has_value());
        QCOMPARE(GetIniSection("T", 1000, m_ini), std::optional<QString>(QString()));
        QCOMPARE(WriteIniString("T", "x", "1", m_ini), qint16(1));
        QVERIFY(IniFileExists(m_ini));
        QVERIFY(!IniFileExists(m_dir->path())); // a folder is no file
        QVERIFY(!IniFileExists(m_dir->filePath("nothing.ini")));
    }

    // ---- unwritable places ----------------------------------------------

    void unwritableFolderFailsQuietly()
    {
        // As root the permission bits do not stop writes, so the checks run in
        // a child process with the rights of the "nobody" user.
        QTemporaryDir base;
        QVERIFY(base.isValid());
        QVERIFY(QFile::setPermissions(base.path(), QFile::Permissions(0x7755)));
        const QString ro = base.filePath("ro"), roEmpty = base.filePath("roEmpty"),
                      fileRo = base.filePath("fileRo");
        QVERIFY(QDir().mkpath(ro) && QDir().mkpath(roEmpty) && QDir().mkpath(fileRo));
        const QByteArray before = "[Graph Settings]\nMaxX=2\n";
        QVERIFY(writeAll(ro + "/Quillon.ini", before));
        QVERIFY(writeAll(fileRo + "/Quillon.ini", before));
        QCOMPARE(::chmod(QFile::encodeName(ro + "/Quillon.ini").constData(), 0444), 0);
        QCOMPARE(::chmod(QFile::encodeName(fileRo + "/Quillon.ini").constData(), 0444), 0);
        QCOMPARE(::chmod(QFile::encodeName(ro).constData(), 0555), 0);
        QCOMPARE(::chmod(QFile::encodeName(roEmpty).constData(), 0555), 0);
        QCOMPARE(::chmod(QFile::encodeName(fileRo).constData(), 0777), 0);

        // Nor can the user's configuration folder be made (it would lie in the
        // read-only folder): the settings file of the program folder is still
        // read, and nothing can be saved anywhere.
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(ro + "/config"));
        const int result = asOrdinaryUser([&] { return readOnlyChecks(ro, roEmpty, fileRo, before); });
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_home.filePath("config")));
        ::chmod(QFile::encodeName(ro).constData(), 0755);
        ::chmod(QFile::encodeName(roEmpty).constData(), 0755);
        QVERIFY2(result == 0, qPrintable(QString("read-only check %1 failed").arg(result)));
        QCOMPARE(readAll(ro + "/Quillon.ini"), before);
        QCOMPARE(readAll(fileRo + "/Quillon.ini"), before);
        QVERIFY(!QFile::exists(roEmpty + "/Quillon.ini"));
    }

    // A full disk (or a file that may grow no more): every save reports its
    // failure and the user's settings keep their old bytes.
    void fullDiskKeepsTheSettings_data() { FullDisk::addRows(); }
    void fullDiskKeepsTheSettings()
    {
        QFETCH(int, kind);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        static const QByteArray old = "; edited by hand\n"
            + QByteArray(DefaultGraphFile).replace("MaxX=1.5", "MaxX=2.5") + "\n" + DefaultLVSoilSection;
        const auto prepare = [](const QString &folder) {
            return writeAll(folder + "/Quillon.ini", old) ? QString() : QString("cannot write Quillon.ini");
        };
        const auto check = [](const QString &folder) -> QString {
            ProgramFolder::setOverride(folder);
            const bool graphSaved = SaveGraphSettings(oddGraph());
            QString failure = FullDisk::keptBytes(IniPath(), old, "SaveGraphSettings");
            if (graphSaved || !failure.isEmpty())
                return "SaveGraphSettings reported success or changed the file; " + failure;
            const bool soilSaved = SaveLVSoilSettings(oddLVSoil());
            failure = FullDisk::keptBytes(IniPath(), old, "SaveLVSoilSettings");
            if (soilSaved || !failure.isEmpty())
                return "SaveLVSoilSettings reported success or changed the file; " + failure;
            const qint16 written = WriteIniString(GraphSection, "MaxY", "3", IniPath());
            failure = FullDisk::keptBytes(IniPath(), old, "WriteIniString");
            if (written != 0 || !failure.isEmpty())
                return "WriteIniString reported success or changed the file; " + failure;
            GraphSettings loaded;
            LoadGraphSettings(loaded);
            GraphSettings expected;
            expected.MaxX = 2.5f;
            if (dump(loaded) != dump(expected))
                return "the settings read back as " + dump(loaded);
            if (FullDisk::files(folder) != QStringList{"Quillon.ini"})
                return "files left behind: " + FullDisk::files(folder).join(", ");
            return QString();
        };
        FullDisk::verify(FullDisk::Kind(kind), dir.path(), prepare, check);
    }

    void missingProgramFolderUsesTheConfigFolder()
    {
        // A folder that is not there cannot be written: the settings go to the
        // user's configuration folder, and the missing folder is not made.
        ProgramFolder::setOverride(m_dir->filePath("gone/away"));
        const QString own = m_home.filePath("config") + "/ulvex/Quillon.ini";
        QCOMPARE(IniPath(), own);
        GraphSettings g = oddGraph();
        LoadGraphSettings(g);
        QCOMPARE(dump(g), dump(GraphSettings()));
        QCOMPARE(sectionLines(readAll(own), GraphSection).size(), 19);
        g.MaxX = 0.75f;
        SaveGraphSettings(g);
        GraphSettings back;
        LoadGraphSettings(back);
        QCOMPARE(back.MaxX, 0.75f);
        QVERIFY(!QFileInfo::exists(m_dir->filePath("gone")));
        QVERIFY(QFile::remove(own));
    }

    void readOnlyProgramFolderSavesToTheConfigFolder()
    {
        // An installed program folder, seen by a user who may not write it:
        // the settings start from its copy, are saved to and read from the
        // user's configuration folder, and the program folder keeps its bytes.
        QTemporaryDir base;
        QVERIFY(base.isValid());
        QVERIFY(QFile::setPermissions(base.path(), QFile::Permissions(0x7755)));
        const QString installed = base.filePath("lib-ulvex");
        const QString home = base.filePath("home");
        QVERIFY(QDir().mkpath(installed) && QDir().mkpath(home));
        const QByteArray shipped = "[Graph Settings]\nMaxX=0.8\nColor1=255\n";
        QVERIFY(writeAll(installed + "/Quillon.ini", shipped));
        QCOMPARE(::chmod(QFile::encodeName(installed).constData(), 0555), 0);
        QCOMPARE(::chmod(QFile::encodeName(installed + "/Quillon.ini").constData(), 0444), 0);
        const auto checks = [&]() -> int {
            qputenv("XDG_CONFIG_HOME", QFile::encodeName(home + "/.config"));
            ProgramFolder::setOverride(installed);
            const QString own = home + "/.config/ulvex/Quillon.ini";
            if (IniPath() != own)
                return 1;
            GraphSettings g;
            LoadGraphSettings(g);
            if (g.MaxX != 0.8f || g.Color[1] != 255)
                return 2;
            g.MaxY = 0.6f;
            SaveGraphSettings(g);
            LVSoilSettings lv;
            LoadLVSoilSettings(lv); // the section is written out with its defaults
            GraphSettings back;
            LoadGraphSettings(back);
            if (back.MaxY != 0.6f || back.MaxX != 0.8f)
                return 3;
            if (!sectionLines(readAll(own), LVSoilSection).contains("Width=6825"))
                return 4;
            if (readAll(installed + "/Quillon.ini") != shipped
                || QDir(installed).entryList(QDir::Files | QDir::Hidden) != QStringList{"Quillon.ini"})
                return 5;
            return 0;
        };
        if (::geteuid() == 0)
            QCOMPARE(::chown(QFile::encodeName(home).constData(), 65534, 65534), 0);
        const int result = asOrdinaryUser(checks);
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_home.filePath("config")));
        ::chmod(QFile::encodeName(installed).constData(), 0755);
        QVERIFY2(result == 0, qPrintable(QString("check %1 failed").arg(result)));
        QCOMPARE(readAll(installed + "/Quillon.ini"), shipped);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"
