// Feeds thousands of malformed settings files to the INI reader and to the
// record loaders. Nothing may crash or hang; a load either succeeds or throws
// UlvexError. Files built from known values must load as exactly those values.
// The seed is printed; set ULVEX_SETTINGS_SEED to repeat a run.

#include "settings/IniFile.h"
#include "settings/basIndProfile.h"
#include "base/ProgramFolder.h"
#include "base/UlvexError.h"
#include "tests/common/TestFiles.h"
#include "tests/settings/SettingsDump.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <exception>
#include <memory>

using namespace basIndProfile;

namespace {

const char *const GraphKeys[] = {"AutoScaleX", "AutoScaleY", "MaxX",   "MaxY",   "XDecPlaces",
                                 "YDecPlaces", "BackOn",     "EmitterDepth",     "MaxSim",
                                 "Color1",     "Color2",     "Color3", "Color4", "Color5",
                                 "Color6",     "Color7",     "Color8", "Width",  "TimeScale"};
const char *const LVKeys[] = {"C1", "C2", "C3", "C4", "C5", "Width", "Height"};
const char *const Sections[] = {"Graph Settings", "LVSoil Settings", "Other", "", "Graph",
                                "LVSoil  Settings"};

class Gen
{
public:
    explicit Gen(quint32 seed) : m_rng(seed) {}

    int below(int n) { return int(m_rng.bounded(quint32(n))); }
    bool chance(int percent) { return below(100) < percent; }

    QByteArray randomBytes(int maxLength)
    {
        QByteArray b(below(maxLength + 1), '\0');
        for (char &c : b)
            c = char(below(256));
        return b;
    }

    QByteArray mixCase(const QByteArray &text)
    {
        QByteArray out = text;
        for (char &c : out)
            if (chance(30))
                c = chance(50) ? char(toupper(c)) : char(tolower(c));
        return out;
    }

    QByteArray blanks() { return QByteArray(below(3), chance(50) ? ' ' : '\t'); }

    QByteArray value()
    {
        switch (below(12)) {
        case 0: return QByteArray::number(qint64(below(200000)) - 100000);
        case 1: return QByteArray::number(qint64(m_rng.generate64()));
        case 2: return QByteArray::number(double(below(100000)) / 1000.0);
        case 3: return QByteArray::number(m_rng.generateDouble() * 1e6, 'g', 12);
        case 4: return QByteArray(below(5000), char('0' + below(10)));
        case 5: return randomBytes(40);
        case 6: return QByteArray();
        case 7: return "LOG";
        case 8: return mixCase("lin");
        case 9: return "1e" + QByteArray::number(below(80) - 40);
        case 10: return "-" + QByteArray::number(below(70000));
        default: return "abc" + randomBytes(3);
        }
    }

    QByteArray line()
    {
        switch (below(10)) {
        case 0:
        case 1: {
            QByteArray name = below(4) ? mixCase(Sections[below(6)]) : randomBytes(10);
            return blanks() + "[" + name + (chance(85) ? "]" : "") + blanks();
        }
        case 2: return chance(50) ? ";" + randomBytes(20) : "# comment";
        case 3: return QByteArray();
        case 4: return "line without equals " + randomBytes(5);
        case 5: return randomBytes(60);
        default: {
            const QByteArray key = chance(60) ? QByteArray(GraphKeys[below(19)])
                                              : QByteArray(LVKeys[below(7)]);
            return blanks() + mixCase(key) + blanks() + "=" + blanks() + value() + blanks();
        }
        }
    }

    QByteArray structured()
    {
        QByteArray text = chance(10) ? QByteArray("\xEF\xBB\xBF") : QByteArray();
        const bool crlf = chance(30);
        const int lines = below(60);
        for (int i = 0; i < lines; ++i) {
            text += line();
            text += crlf ? "\r\n" : "\n";
        }
        if (chance(30))
            text.truncate(below(int(text.size()) + 1)); // a cut-off file
        return text;
    }

    QByteArray mutated()
    {
        QByteArray text = structured();
        const int flips = below(10);
        for (int i = 0; i < flips && !text.isEmpty(); ++i) {
            const int at = below(int(text.size()));
            switch (below(3)) {
            case 0: text[at] = char(below(256)); break;
            case 1: text.insert(at, '\0'); break;
            default: text.remove(at, below(20)); break;
            }
        }
        return text;
    }

    // A well-formed file with known values, dressed up with noise the reader
    // must look past. Floats have at most 8 characters (the graph buffer).
    QByteArray known(GraphSettings &g, LVSoilSettings &lv, bool &withLV)
    {
        g = GraphSettings();
        lv = LVSoilSettings();
        QList<QPair<QByteArray, QByteArray>> graph, soil;
        // Hand-edited forms read as the same values: a value in quotes, an
        // integer in hexadecimal.
        auto quoted = [this](const QByteArray &t) {
            if (!chance(20))
                return t;
            const char q = chance(50) ? '"' : '\'';
            return q + t + q;
        };
        auto integer = [this, &quoted](qint64 v) {
            if (!chance(20))
                return quoted(QByteArray::number(v));
            const QByteArray hex = (chance(50) ? "0x" : "0X") + QByteArray::number(qAbs(v), 16);
            return quoted(v < 0 ? "-" + hex : hex);
        };
        auto f8 = [this, &quoted](float &target) {
            const QByteArray t = QByteArray::number(below(100000) / 1000.0, 'f', 3);
            target = t.toFloat();
            return quoted(t);
        };
        auto i16 = [this, &integer](qint16 &target) {
            target = qint16(below(65536) - 32768);
            return integer(target);
        };
        if (chance(80)) graph.append({"AutoScaleX", i16(g.AutoScaleX)});
        if (chance(80)) graph.append({"AutoScaleY", i16(g.AutoScaleY)});
        if (chance(80)) graph.append({"MaxX", f8(g.MaxX)});
        if (chance(80)) graph.append({"MaxY", f8(g.MaxY)});
        if (chance(80)) graph.append({"XDecPlaces", i16(g.XDecPlaces)});
        if (chance(80)) graph.append({"YDecPlaces", i16(g.YDecPlaces)});
        if (chance(80)) graph.append({"BackOn", i16(g.BackOn)});
        if (chance(80)) graph.append({"EmitterDepth", f8(g.EmitterDepth)});
        if (chance(80)) graph.append({"MaxSim", i16(g.MaxSim)});
        for (int i = 1; i <= 8; ++i) {
            if (chance(80)) {
                g.Color[size_t(i)] = qint32(m_rng.generate());
                graph.append({"Color" + QByteArray::number(i), integer(g.Color[size_t(i)])});
            }
        }
        if (chance(80)) graph.append({"Width", f8(g.Width)});
        if (chance(80)) {
            static const char *const scales[] = {"LOG", "LIN", "Log", "x", "12345678"};
            g.TimeScale = scales[below(5)];
            graph.append({"TimeScale", quoted(g.TimeScale.toLatin1())});
        }
        withLV = chance(70);
        if (withLV) {
            // A present section that lacks a size key takes 6495 x 2535.
            lv.Width = 6495;
            lv.Height = 2535;
            float *cs[] = {&lv.C1, &lv.C2, &lv.C3, &lv.C4, &lv.C5};
            for (int i = 0; i < 5; ++i)
                if (chance(70))
                    soil.append({"C" + QByteArray::number(i + 1), f8(*cs[i])});
            if (chance(70)) soil.append({"Width", i16(lv.Width)});
            if (chance(70)) soil.append({"Height", i16(lv.Height)});
            if (soil.isEmpty())
                soil.append({"C1", f8(lv.C1)});
        }
        auto shuffle = [this](QList<QPair<QByteArray, QByteArray>> &list) {
            for (int i = int(list.size()) - 1; i > 0; --i)
                list.swapItemsAt(i, below(i + 1));
        };
        shuffle(graph);
        shuffle(soil);
        const QByteArray nl = chance(30) ? "\r\n" : "\n";
        QByteArray text = chance(10) ? QByteArray("\xEF\xBB\xBF") : QByteArray();
        auto noise = [&]() {
            if (chance(20)) text += "; " + randomBytes(10).replace('\n', ' ') + nl;
            if (chance(10)) text += nl;
            if (chance(10)) text += "no equals here" + nl;
        };
        auto section = [&](const QByteArray &name, const QList<QPair<QByteArray, QByteArray>> &keys) {
            text += blanks() + "[" + mixCase(name) + "]" + nl;
            for (const auto &kv : keys) {
                noise();
                text += blanks() + mixCase(kv.first) + blanks() + "=" + blanks() + kv.second
                    + blanks() + nl;
            }
        };
        if (chance(30)) {
            text += "[Other]" + nl + "MaxX=garbage" + nl + "C1=x" + nl;
        }
        if (withLV && chance(50)) {
            section("LVSoil Settings", soil);
            section("Graph Settings", graph);
        } else {
            section("Graph Settings", graph);
            if (withLV)
                section("LVSoil Settings", soil);
        }
        // A later section of the same name never counts.
        if (chance(20))
            text += "[graph settings]" + nl + "MaxX=garbage" + nl + "MaxSim=99999" + nl;
        return text;
    }

private:
    QRandomGenerator m_rng;
};

} // namespace

class TestSettingsFuzz : public QObject
{
    Q_OBJECT

private slots:
    void malformedFiles()
    {
        quint32 seed = 0x5EED2026u;
        const QByteArray env = qgetenv("ULVEX_SETTINGS_SEED");
        if (!env.isEmpty())
            seed = env.toUInt(nullptr, 0);
        const int files = 6000;
        qInfo("seed %u (set ULVEX_SETTINGS_SEED=%u to repeat), %d files", seed, seed, files);

        // Written files are synced to disk on every replace; a memory file
        // system keeps this long run short. The sync is not what is tested.
        std::unique_ptr<QTemporaryDir> dir;
        if (QFileInfo(QStringLiteral("/dev/shm")).isWritable())
            dir = std::make_unique<QTemporaryDir>(QStringLiteral("/dev/shm/ulvex-fuzz-XXXXXX"));
        if (!dir || !dir->isValid())
            dir = std::make_unique<QTemporaryDir>();
        QVERIFY(dir->isValid());
        ProgramFolder::setOverride(dir->path());
        const QString path = IniPath();

        Gen gen(seed);
        int graphOk = 0, graphErr = 0, lvOk = 0, lvErr = 0, knownFiles = 0;
        QElapsedTimer clock;
        clock.start();
        qint64 slowest = 0;

        for (int n = 0; n < files; ++n) {
            QElapsedTimer one;
            one.start();
            const int kind = gen.below(5);
            GraphSettings knownGraph;
            LVSoilSettings knownLV;
            bool withLV = false;
            QByteArray text;
            switch (kind) {
            case 0: text = gen.randomBytes(gen.chance(5) ? 100000 : 3000); break;
            case 1: text = gen.structured(); break;
            case 2: text = gen.mutated(); break;
            case 3: text = gen.known(knownGraph, knownLV, withLV); break;
            default: text = gen.chance(50) ? QByteArray() : QByteArray("[Other]\nk=v\n"); break;
            }
            const QString where = QStringLiteral("seed %1, file %2, kind %3").arg(seed).arg(n).arg(kind);
            const bool noFile = kind == 4 && gen.chance(30);
            if (noFile)
                QFile::remove(path);
            else
                QVERIFY2(writeAll(path, text), qPrintable(where));

            // The graph load: success or UlvexError, and an existing file is
            // never written by it.
            GraphSettings g;
            bool graphLoaded = false;
            try {
                LoadGraphSettings(g);
                graphLoaded = true;
                ++graphOk;
            } catch (const UlvexError &e) {
                ++graphErr;
                QVERIFY2(!e.description().isEmpty() && e.description().contains(path),
                         qPrintable(where + ": " + e.description()));
            } catch (const std::exception &e) {
                QFAIL(qPrintable(where + ": unexpected exception " + e.what()));
            } catch (...) {
                QFAIL(qPrintable(where + ": unexpected exception"));
            }
            if (!noFile)
                QVERIFY2(readAll(path) == text, qPrintable(where + ": the graph load wrote"));
            if (kind == 3) {
                ++knownFiles;
                QVERIFY2(graphLoaded, qPrintable(where));
                QCOMPARE(dump(g), dump(knownGraph));
            }
            if (noFile) {
                QVERIFY2(graphLoaded, qPrintable(where));
                QCOMPARE(dump(g), dump(GraphSettings()));
            }

            // The soil-list load: success or UlvexError; afterwards the section
            // exists (it was there, or it has just been written).
            const std::optional<QString> before = GetIniSection("LVSoil Settings", 1000, path);
            const bool hadSection = !before || !before->isEmpty();
            const QByteArray bytesBefore = readAll(path);
            LVSoilSettings lv;
            bool lvLoaded = false;
            try {
                LoadLVSoilSettings(lv);
                lvLoaded = true;
                ++lvOk;
            } catch (const UlvexError &e) {
                ++lvErr;
                QVERIFY2(e.description().contains(path), qPrintable(where + ": " + e.description()));
            } catch (...) {
                QFAIL(qPrintable(where + ": unexpected exception"));
            }
            if (!hadSection) {
                QVERIFY2(lvLoaded, qPrintable(where));
                QCOMPARE(dump(lv), dump(LVSoilSettings()));
                const std::optional<QString> after = GetIniSection("LVSoil Settings", 1000, path);
                QVERIFY2(!after || !after->isEmpty(), qPrintable(where + ": section not written"));
            } else {
                QVERIFY2(readAll(path) == bytesBefore, qPrintable(where + ": the soil load wrote"));
            }
            if (kind == 3 && withLV) {
                QVERIFY2(lvLoaded, qPrintable(where));
                QCOMPARE(dump(lv), dump(knownLV));
            }

            // The reader's buffer rules and a write, on the file as it is now.
            const QByteArray current = readAll(path);
            IniFile ini = IniFile::fromBytes(current, path);
            const QString sec = QString::fromLatin1(Sections[gen.below(6)]);
            const QString key = QString::fromLatin1(gen.chance(50) ? GraphKeys[gen.below(19)]
                                                                   : LVKeys[gen.below(7)]);
            const int size = gen.below(30);
            QString out;
            const int len = ini.getString(sec, key, "default", out, size);
            QVERIFY2(len >= 0 && len <= qMax(0, size - 1), qPrintable(where));
            const int slen = ini.getSection(sec, out, size * 40);
            QVERIFY2(slen >= 0 && slen <= qMax(0, size * 40 - 2), qPrintable(where));

            if (gen.chance(25)) {
                // Every look-up except the written one must read as before.
                QList<std::optional<QString>> probes;
                for (const char *s : Sections)
                    for (const char *k : GraphKeys)
                        probes << ini.value(s, k);
                const QString value = QString::number(gen.below(1000000));
                QVERIFY2(ini.writeString(sec, key, value), qPrintable(where));
                const IniFile back(path);
                QCOMPARE(back.value(sec, key), std::optional<QString>(value));
                int i = 0;
                for (const char *s : Sections) {
                    for (const char *k : GraphKeys) {
                        const bool written = QString::fromLatin1(s).trimmed().compare(sec.trimmed(), Qt::CaseInsensitive) == 0
                            && key.compare(QLatin1String(k), Qt::CaseInsensitive) == 0;
                        if (!written)
                            QVERIFY2(back.value(s, k) == probes.at(i),
                                     qPrintable(where + ": write changed " + s + "/" + k));
                        ++i;
                    }
                }
            }
            slowest = qMax(slowest, one.elapsed());
        }
        qInfo("graph loads: %d ok, %d UlvexError; soil-list loads: %d ok, %d UlvexError; "
              "%d files of known values; %lld ms in all, slowest file %lld ms",
              graphOk, graphErr, lvOk, lvErr, knownFiles, clock.elapsed(), slowest);
        // The generator must reach both outcomes, or the run proves little.
        QVERIFY(graphOk > 0 && graphErr > 0 && lvOk > 0 && lvErr > 0 && knownFiles > 500);
        ProgramFolder::setOverride(QString());
    }
};

QTEST_GUILESS_MAIN(TestSettingsFuzz)
#include "tst_settings_fuzz.moc"
