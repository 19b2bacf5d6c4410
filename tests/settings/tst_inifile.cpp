#include "settings/IniFile.h"
#include "tests/common/FullDisk.h"
#include "tests/common/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class TestIniFile : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_path;

private slots:
    void init()
    {
        QVERIFY(m_dir.isValid());
        m_path = m_dir.filePath("test.ini");
        QFile::remove(m_path);
    }

    void missingFileReadsEmpty()
    {
        IniFile ini(m_path);
        QVERIFY(!ini.existed());
        QVERIFY(!ini.value("A", "b").has_value());
        QString out;
        QCOMPARE(ini.getString("A", "b", "dflt", out, 20), 4);
        QCOMPARE(out, QString("dflt"));
        QCOMPARE(ini.getInt("A", "b", 77), 77);
        QCOMPARE(ini.getSection("A", out, 100), 0);
        QCOMPARE(out, QString());
    }

    void lookUpIgnoresCase()
    {
        const IniFile ini = IniFile::fromBytes("[Graph Settings]\nMaxX=2.5\n");
        QCOMPARE(ini.value("graph settings", "maxx"), std::optional<QString>("2.5"));
        QCOMPARE(ini.value("GRAPH SETTINGS", "MAXX"), std::optional<QString>("2.5"));
        QVERIFY(!ini.value("Graph  Settings", "MaxX").has_value());
        // Case folding is not limited to ASCII.
        const IniFile u = IniFile::fromBytes("[Böden]\nÄrger=1\n");
        QCOMPARE(u.value("BÖDEN", "ärger"), std::optional<QString>("1"));
    }

    void blanksAroundNamesAndValuesIgnored()
    {
        const IniFile ini = IniFile::fromBytes("  [  Sec  ]  \n   key   =   some value  \t\n");
        QCOMPARE(ini.value("Sec", "key"), std::optional<QString>("some value"));
        QCOMPARE(ini.value(" Sec ", " KEY "), std::optional<QString>("some value"));
    }

    void toleratesCrLfBomCommentsAndOddLines()
    {
        const QByteArray text = "\xEF\xBB\xBF[S]\r\n"
                                "; a comment=1\r\n"
                                "# another=2\r\n"
                                "\r\n"
                                "no equals sign here\r\n"
                                "=value without key\r\n"
                                "a=1\r\n"
                                "b = x=y \r\n";
        const IniFile ini = IniFile::fromBytes(text);
        QCOMPARE(ini.value("S", "a"), std::optional<QString>("1"));
        QCOMPARE(ini.value("S", "b"), std::optional<QString>("x=y"));
        QVERIFY(!ini.value("S", "; a comment").has_value());
        // Only ";" starts a comment: "#" is part of the key.
        QCOMPARE(ini.value("S", "# another"), std::optional<QString>("2"));
        QVERIFY(!ini.value("S", "no equals sign here").has_value());
        QCOMPARE(ini.sectionNames(), QStringList{"S"});
    }

    void keysBeforeFirstSectionBelongToNone()
    {
        const IniFile ini = IniFile::fromBytes("a=1\n[S]\nb=2\n");
        QVERIFY(!ini.value("", "a").has_value());
        QVERIFY(!ini.value("S", "a").has_value());
        QCOMPARE(ini.value("S", "b"), std::optional<QString>("2"));
    }

    void duplicatesFirstWins()
    {
        const IniFile ini = IniFile::fromBytes("[S]\nk=first\nK=second\n[s]\nk=third\nz=4\n");
        QCOMPARE(ini.value("S", "k"), std::optional<QString>("first"));
        // Only the first of two equally named sections counts.
        QVERIFY(!ini.value("S", "z").has_value());
    }

    void binaryBytesAndLongLines()
    {
        QByteArray text("[S]\nbin=a");
        text.append('\0');
        text.append("b\x01\xFF\xFE");
        text.append("\nlong=");
        text.append(QByteArray(1 << 20, 'x'));
        text.append("\nafter=ok\n");
        const IniFile ini = IniFile::fromBytes(text);
        const std::optional<QString> bin = ini.value("S", "bin");
        QVERIFY(bin.has_value());
        QCOMPARE(bin->left(3), QString("a") + QChar(0) + "b");
        QCOMPARE(ini.value("S", "long")->size(), 1 << 20);
        QCOMPARE(ini.value("S", "after"), std::optional<QString>("ok"));
        QString out;
        QCOMPARE(ini.getString("S", "long", "", out, 10), 9);
        QCOMPARE(out, QString(9, 'x'));
    }

    void getStringBufferRules()
    {
        const IniFile ini = IniFile::fromBytes(
            "[S]\neight=12345678\nnine=123456789\nempty=\nq8=\"12345678\"\nq9='123456789'\n");
        QString out;
        // The rules apply to a value without its quotes, so "q8" and "q9"
        // read like "eight" and "nine".
        for (const QString prefix : {"", "q"}) {
            QCOMPARE(ini.getString("S", prefix.isEmpty() ? "eight" : "q8", "", out, 10), 8);
            QCOMPARE(out, QString("12345678"));
            // Nine characters fill a buffer of 10 (9 + NUL): length == size - 1.
            QCOMPARE(ini.getString("S", prefix.isEmpty() ? "nine" : "q9", "", out, 10), 9);
            QCOMPARE(out, QString("123456789"));
            QCOMPARE(ini.getString("S", prefix.isEmpty() ? "nine" : "q9", "", out, 5), 4);
            QCOMPARE(out, QString("1234"));
        }
        // A default is taken as given, quotes and all.
        QCOMPARE(ini.getString("S", "missing", "\"d\"", out, 10), 3);
        QCOMPARE(out, QString("\"d\""));
        QCOMPARE(ini.getString("S", "empty", "dflt", out, 10), 0);
        QCOMPARE(out, QString());
        // The default: trailing blanks removed, cut like a value.
        QCOMPARE(ini.getString("S", "missing", "abc   ", out, 10), 3);
        QCOMPARE(out, QString("abc"));
        QCOMPARE(ini.getString("Other", "x", "0123456789", out, 10), 9);
        QCOMPARE(out, QString("012345678"));
        QCOMPARE(ini.getString("S", "eight", "", out, 0), 0);
        QCOMPARE(out, QString());
        QCOMPARE(ini.getString("S", "eight", "", out, 1), 0);
        // Lengths count bytes of the UTF-8 text.
        const IniFile u = IniFile::fromBytes("[S]\nk=\xC3\xA4\xC3\xB6\n");
        QCOMPARE(u.getString("S", "k", "", out, 10), 4);
        QCOMPARE(out, QString("äö"));
    }

    void getSectionBufferRules()
    {
        const IniFile ini = IniFile::fromBytes(
            "[A]\n; comment\nx = 1\n\nbare line\ny=22\n[B]\nz=3\n[Empty]\n; only a comment\n");
        QString out;
        const QString expected = QString("x=1") + QChar(0) + "bare line" + QChar(0) + "y=22"
            + QChar(0);
        QCOMPARE(ini.getSection("a", out, 1000), int(expected.size()));
        QCOMPARE(out, expected);
        // Exactly filling: the length reaches size - 2 and the text is cut there.
        QCOMPARE(ini.getSection("A", out, int(expected.size()) + 2), int(expected.size()));
        QCOMPARE(ini.getSection("A", out, 7), 5);
        QCOMPARE(out, QString("x=1") + QChar(0) + "b");
        QCOMPARE(ini.getSection("A", out, int(expected.size()) + 3), int(expected.size()));
        QCOMPARE(ini.getSection("Empty", out, 1000), 0);
        QCOMPARE(ini.getSection("Nowhere", out, 1000), 0);
        QCOMPARE(ini.getSection("A", out, 2), 0);
        QCOMPARE(ini.getSection("A", out, 0), 0);
    }

    void getIntLeadingDigits_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("expected");
        QTest::newRow("plain") << QByteArray("42") << 42;
        QTest::newRow("negative") << QByteArray("-17") << -17;
        QTest::newRow("plus") << QByteArray("+5") << 5;
        QTest::newRow("trailing text") << QByteArray("12abc") << 12;
        QTest::newRow("decimal") << QByteArray("3.9") << 3;
        QTest::newRow("not a number") << QByteArray("abc") << 0;
        QTest::newRow("sign only") << QByteArray("-") << 0;
        QTest::newRow("inner blank") << QByteArray("1 2") << 1;
        QTest::newRow("colour") << QByteArray("16777215") << 16777215;
        QTest::newRow("int max") << QByteArray("2147483647") << 2147483647;
        QTest::newRow("int min") << QByteArray("-2147483648") << int(-2147483647 - 1);
        QTest::newRow("above range held") << QByteArray("2147483648") << 2147483647;
        QTest::newRow("far above held")
            << QByteArray("99999999999999999999999999999") << 2147483647;
        QTest::newRow("far below held")
            << QByteArray("-99999999999999999999999999999") << int(-2147483647 - 1);
        QTest::newRow("leading zeros") << QByteArray("000000000000000000007") << 7;
        // Hexadecimal after the sign: colours are often written so (red is 0xFF).
        QTest::newRow("hex: red") << QByteArray("0xFF") << 255;
        QTest::newRow("hex: upper prefix, mixed digits") << QByteArray("0XfF") << 255;
        QTest::newRow("hex: blue") << QByteArray("0xFF0000") << 16711680;
        QTest::newRow("hex: negative") << QByteArray("-0x10") << -16;
        QTest::newRow("hex: plus") << QByteArray("+0x7fffffff") << 2147483647;
        QTest::newRow("hex: trailing text") << QByteArray("0x1g") << 1;
        QTest::newRow("hex: prefix only") << QByteArray("0x") << 0;
        QTest::newRow("hex: no hex digit") << QByteArray("0xg1") << 0;
        QTest::newRow("hex: blank after prefix") << QByteArray("0x 1") << 0;
        QTest::newRow("hex: sign after prefix") << QByteArray("0x-1") << 0;
        QTest::newRow("hex: prefix after digits") << QByteArray("00x10") << 0;
        QTest::newRow("hex: x without 0") << QByteArray("x10") << 0;
        QTest::newRow("hex: above range held") << QByteArray("0x80000000") << 2147483647;
        QTest::newRow("hex: all ones held") << QByteArray("0xFFFFFFFF") << 2147483647;
        QTest::newRow("hex: far above held") << QByteArray("0xFFFFFFFFFFFFFFFFFFFFFFFF") << 2147483647;
        QTest::newRow("hex: int min") << QByteArray("-0x80000000") << int(-2147483647 - 1);
        QTest::newRow("hex: below range held") << QByteArray("-0x80000001") << int(-2147483647 - 1);
        QTest::newRow("hex: leading zeros") << QByteArray("0x0000000000000000000000A") << 10;
        // The value between a matching pair of quotes is read.
        QTest::newRow("quoted: double quotes") << QByteArray("\"42\"") << 42;
        QTest::newRow("quoted: single quotes") << QByteArray("'-7'") << -7;
        QTest::newRow("quoted: hex") << QByteArray("\"0xFF\"") << 255;
        QTest::newRow("quoted: blank inside") << QByteArray("\" 12\"") << 12;
        QTest::newRow("quoted: empty pair gives default") << QByteArray("\"\"") << -999;
        QTest::newRow("quoted: opening only") << QByteArray("\"12") << 0;
        QTest::newRow("quoted: mixed pair") << QByteArray("\"12'") << 0;
    }

    void getIntLeadingDigits()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, expected);
        const IniFile ini = IniFile::fromBytes("[S]\nk=" + text + "\n");
        QCOMPARE(ini.getInt("S", "k", -999), expected);
    }

    void quotedValues_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("double quotes") << QByteArray("\"1.75\"") << QString("1.75");
        QTest::newRow("single quotes") << QByteArray("'1.75'") << QString("1.75");
        QTest::newRow("blanks outside") << QByteArray("  \"1.75\"  ") << QString("1.75");
        QTest::newRow("blanks inside kept") << QByteArray("\" a b \"") << QString(" a b ");
        QTest::newRow("empty pair") << QByteArray("\"\"") << QString();
        QTest::newRow("empty single pair") << QByteArray("''") << QString();
        QTest::newRow("outer pair only") << QByteArray("\"a\"b\"") << QString("a\"b");
        QTest::newRow("other quotes inside") << QByteArray("'say \"hi\"'") << QString("say \"hi\"");
        QTest::newRow("mixed pair kept") << QByteArray("\"1.75'") << QString("\"1.75'");
        QTest::newRow("mixed pair kept 2") << QByteArray("'1.75\"") << QString("'1.75\"");
        QTest::newRow("lone quote kept") << QByteArray("\"") << QString("\"");
        QTest::newRow("opening only kept") << QByteArray("\"1.75") << QString("\"1.75");
        QTest::newRow("closing only kept") << QByteArray("1.75\"") << QString("1.75\"");
        QTest::newRow("quotes inside kept") << QByteArray("a\"1\"b") << QString("a\"1\"b");
        QTest::newRow("one pair removed") << QByteArray("\"\"x\"\"") << QString("\"x\"");
    }

    void quotedValues()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, expected);
        const IniFile ini = IniFile::fromBytes("[S]\nk=" + text + "\n");
        QString out;
        QCOMPARE(ini.getString("S", "k", "dflt", out, 100), int(expected.toUtf8().size()));
        QCOMPARE(out, expected);
        // value() and the whole-section read give the text as it stands.
        QCOMPARE(ini.value("S", "k"), std::optional<QString>(QString::fromUtf8(text.trimmed())));
        QCOMPARE(ini.getSection("S", out, 100), int(text.trimmed().size()) + 3);
        QCOMPARE(out, "k=" + QString::fromUtf8(text.trimmed()) + QChar(0));
    }

    void hashStartsNoComment()
    {
        const IniFile ini = IniFile::fromBytes("[S]\n#Key=1\n# note\n;k=2\nk=3\n");
        QCOMPARE(ini.value("S", "#Key"), std::optional<QString>("1"));
        QCOMPARE(ini.value("s", "#KEY"), std::optional<QString>("1"));
        QCOMPARE(ini.getInt("S", "#key", -1), 1);
        QVERIFY(!ini.value("S", "Key").has_value());
        QVERIFY(!ini.value("S", ";k").has_value());
        QCOMPARE(ini.value("S", "k"), std::optional<QString>("3"));
        // "# note" holds no "=": a bare line, listed like one by the section read.
        QString out;
        const QString expected = QString("#Key=1") + QChar(0) + "# note" + QChar(0) + "k=3" + QChar(0);
        QCOMPARE(ini.getSection("S", out, 100), int(expected.size()));
        QCOMPARE(out, expected);
    }

    void hashKeysAreWrittenAndReadBack()
    {
        QVERIFY(writeAll(m_path, "[S]\n#Key=1\n# note\n"));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("S", "#key", "2"));
        QVERIFY(ini.writeString("S", "#New", "3"));
        QVERIFY(ini.writeString("#Section", "#k", "4"));
        QCOMPARE(readAll(m_path), QByteArray("[S]\n#Key=2\n# note\n#New=3\n\n[#Section]\n#k=4\n"));
        const IniFile back(m_path);
        QCOMPARE(back.value("S", "#KEY"), std::optional<QString>("2"));
        QCOMPARE(back.value("S", "#new"), std::optional<QString>("3"));
        QCOMPARE(back.getInt("#section", "#K", 0), 4);
        QCOMPARE(back.sectionNames(), QStringList({"S", "#Section"}));
    }

    void getIntDefaults()
    {
        const IniFile ini = IniFile::fromBytes("[S]\nempty=\n");
        QCOMPARE(ini.getInt("S", "empty", 9), 9);
        QCOMPARE(ini.getInt("S", "missing", -3), -3);
        QCOMPARE(ini.getInt("T", "missing", 11), 11);
    }

    void writeCreatesFile()
    {
        IniFile ini(m_path);
        QVERIFY(ini.writeString("Graph Settings", "MaxX", "1.5"));
        QVERIFY(ini.existed());
        QCOMPARE(readAll(m_path), QByteArray("[Graph Settings]\nMaxX=1.5\n"));
    }

    void writeInPlaceKeepsEverythingElse()
    {
        const QByteArray before = "; settings\n"
                                  "[graph settings]\n"
                                  "maxx = 3 \n"
                                  "  # keep me\n"
                                  "MaxY=4\n"
                                  "\n"
                                  "[Other]\n"
                                  "MaxX=9\n";
        QVERIFY(writeAll(m_path, before));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("Graph Settings", "MAXX", "1.25"));
        // The key keeps the spelling it has in the file; only its line changes.
        QByteArray expected = before;
        expected.replace("maxx = 3 \n", "maxx=1.25\n");
        QCOMPARE(readAll(m_path), expected);
        QCOMPARE(IniFile(m_path).value("Other", "MaxX"), std::optional<QString>("9"));
    }

    void writeInPlaceChangesOnlyFirstDuplicate()
    {
        QVERIFY(writeAll(m_path, "[S]\nk=1\nk=2\n"));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("s", "K", "x"));
        QCOMPARE(readAll(m_path), QByteArray("[S]\nk=x\nk=2\n"));
    }

    void writeAppendsKeyToItsSection()
    {
        QVERIFY(writeAll(m_path, "[A]\na1=1\n; trailing comment\n\n[B]\nb1=2\n"));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("a", "a2", "two"));
        QCOMPARE(readAll(m_path),
                 QByteArray("[A]\na1=1\na2=two\n; trailing comment\n\n[B]\nb1=2\n"));
        QVERIFY(ini.writeString("B", "b2", "three"));
        QCOMPARE(readAll(m_path),
                 QByteArray("[A]\na1=1\na2=two\n; trailing comment\n\n[B]\nb1=2\nb2=three\n"));
    }

    void writeAppendsKeyToEmptySection()
    {
        QVERIFY(writeAll(m_path, "[A]\n\n[B]\nb=1\n"));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("A", "k", "v"));
        QCOMPARE(readAll(m_path), QByteArray("[A]\nk=v\n\n[B]\nb=1\n"));
    }

    void writeAppendsMissingSectionAtEnd()
    {
        QVERIFY(writeAll(m_path, "[A]\na=1"));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("New One", "k", "v"));
        QCOMPARE(readAll(m_path), QByteArray("[A]\na=1\n\n[New One]\nk=v\n"));
        QVERIFY(ini.writeString("New One", "k2", "v2"));
        QCOMPARE(readAll(m_path), QByteArray("[A]\na=1\n\n[New One]\nk=v\nk2=v2\n"));
    }

    void writeTurnsCrLfIntoLf()
    {
        QVERIFY(writeAll(m_path, "\xEF\xBB\xBF[A]\r\na=1\r\nb=2\r\n"));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("A", "a", "3"));
        QCOMPARE(readAll(m_path), QByteArray("\xEF\xBB\xBF[A]\na=3\nb=2\n"));
    }

    void writeKeepsBinaryBytesOfOtherLines()
    {
        QByteArray before("[A]\nx=\xFF\xFE");
        before.append('\0');
        before.append("z\n[B]\n\x80\x81 junk\n");
        QVERIFY(writeAll(m_path, before));
        IniFile ini(m_path);
        QVERIFY(ini.writeString("B", "k", "1"));
        QCOMPARE(readAll(m_path), before + "k=1\n");
    }

    void writeKeepsKeyBytesThatAreNoUtf8()
    {
        QVERIFY(writeAll(m_path, "[A]\nk\xFF=1\n"));
        IniFile ini(m_path);
        QString out;
        QCOMPARE(ini.getSection("A", out, 100), 5);
        QVERIFY(ini.writeString("A", QString("k") + QChar(0xFFFD), "2"));
        QCOMPARE(readAll(m_path), QByteArray("[A]\nk\xFF=2\n"));
    }

    void writeValueIsOneLine()
    {
        IniFile ini(m_path);
        QVERIFY(ini.writeString("A", "k", "one\r\n[B]\ntwo"));
        QCOMPARE(readAll(m_path), QByteArray("[A]\nk=one  [B] two\n"));
        QCOMPARE(IniFile(m_path).sectionNames(), QStringList{"A"});
    }

    void writeRefusesUnreadableNames()
    {
        IniFile ini(m_path);
        QVERIFY(!ini.writeString("A", "", "v"));
        QVERIFY(!ini.writeString("A", "a=b", "v"));
        QVERIFY(!ini.writeString("A", ";c", "v"));
        QVERIFY(!ini.writeString("A", " ;c", "v"));
        QVERIFY(!ini.writeString("A", "[c", "v"));
        QVERIFY(!ini.writeString("A]", "k", "v"));
        QVERIFY(!QFile::exists(m_path));
        QVERIFY(!IniFile::fromBytes("[A]\n").writeString("A", "k", "v")); // no path
    }

    void writeLeavesNoTemporaryFiles()
    {
        IniFile ini(m_path);
        for (int i = 0; i < 20; ++i)
            QVERIFY(ini.writeString("A", QString("k%1").arg(i), QString::number(i)));
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{"test.ini"});
        const IniFile back(m_path);
        for (int i = 0; i < 20; ++i)
            QCOMPARE(back.value("A", QString("K%1").arg(i)), std::optional<QString>(QString::number(i)));
    }

    void setStringWaitsForCommit()
    {
        QVERIFY(writeAll(m_path, "[A]\na=1\n"));
        IniFile ini(m_path);
        QVERIFY(ini.setString("A", "a", "2"));
        QVERIFY(ini.setString("B", "b", "3"));
        QVERIFY(ini.setString("A", "c", "4"));
        QCOMPARE(readAll(m_path), QByteArray("[A]\na=1\n"));
        QCOMPARE(ini.value("a", "A"), std::optional<QString>("2"));
        QVERIFY(ini.commit());
        QCOMPARE(readAll(m_path), QByteArray("[A]\na=2\nc=4\n\n[B]\nb=3\n"));
    }

    void writeIntoMissingFolderFailsQuietly()
    {
        const QString path = m_dir.filePath("no/such/folder/test.ini");
        IniFile ini(path);
        QVERIFY(!ini.writeString("A", "k", "v"));
        QVERIFY(!QFile::exists(path));
        QVERIFY(!ini.value("A", "k").has_value()); // the object is unchanged too
    }

    // A disk that is full (or a file that may grow no more) makes every write
    // fail: the settings file keeps its old bytes, no temporary file is left
    // behind, and the object still holds what the file holds.
    void fullDiskKeepsTheOldFile_data() { FullDisk::addRows(); }
    void fullDiskKeepsTheOldFile()
    {
        QFETCH(int, kind);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        static const QByteArray old = "; my settings\n[Graph Settings]\nMaxX=1.5\nMaxY=2\n";
        const auto prepare = [](const QString &folder) {
            return writeAll(folder + "/test.ini", old) ? QString() : QString("cannot write test.ini");
        };
        const auto check = [](const QString &folder) -> QString {
            const QString path = folder + "/test.ini";
            IniFile ini(path);
            const bool written = ini.writeString("Graph Settings", "MaxX", "2.5");
            QString failure = FullDisk::keptBytes(path, old, "writeString");
            if (written || !failure.isEmpty())
                return "writeString reported success or changed the file; " + failure;
            if (ini.value("Graph Settings", "MaxX") != std::optional<QString>("1.5"))
                return "writeString changed the object";
            if (ini.writeString("New", "k", QString(10000, 'x')))
                return "a long writeString reported success";
            if (!ini.setString("Graph Settings", "MaxY", "3") || ini.commit())
                return "commit reported success";
            failure = FullDisk::keptBytes(path, old, "commit");
            if (!failure.isEmpty())
                return failure;
            if (FullDisk::files(folder) != QStringList{"test.ini"})
                return "files left behind: " + FullDisk::files(folder).join(", ");
            return QString();
        };
        FullDisk::verify(FullDisk::Kind(kind), dir.path(), prepare, check);
    }

    void writeOverDirectoryFails()
    {
        QVERIFY(QDir(m_dir.path()).mkpath("adir"));
        IniFile ini(m_dir.filePath("adir"));
        QVERIFY(!ini.writeString("A", "k", "v"));
        QVERIFY(QFileInfo(m_dir.filePath("adir")).isDir());
    }
};

QTEST_GUILESS_MAIN(TestIniFile)
#include "tst_inifile.moc"
