#include "builder/SoilCatalogue.h"

#include "builder/TrickleBuildErrors.h"
#include "base/SoilRanges.h"
#include "base/UlvexError.h"

#include <QFile>
#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

namespace {

// The longest texture and classification, in characters: they are shown in
// the soil list beside the name.
constexpr int kMaxTextLength = 200;

enum Column { ColNo, ColName, ColTexture, ColClay, ColClass, ColThetaR, ColThetaS, ColAlpha, ColN, ColKs, ColCount };

const char *const kColumnNames[ColCount] = {
    "SoilTypeNo", "Name", "Texture", "Clay", "Soil Classification",
    "theta_r", "theta_s", "alpha", "n", "Ks",
};

UlvexError catalogueError(const QString &source, int line, const QString &what)
{
    if (line > 0)
        return UlvexError(TrickleBuildErrors::Catalogue, QStringLiteral("%1 line %2: %3").arg(source).arg(line).arg(what));
    return UlvexError(TrickleBuildErrors::Catalogue, QStringLiteral("%1: %2").arg(source, what));
}

[[noreturn]] void fail(const QString &source, int line, const QString &what)
{
    throw catalogueError(source, line, what);
}

// Splits one CSV line. Fields may be wrapped in double quotes (a doubled quote
// inside stands for one quote) so that descriptions can hold commas.
QStringList splitCsv(const QString &line, const QString &source, int lineNo)
{
    QStringList fields;
    QString cur;
    bool quoted = false;
    bool wasQuoted = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (quoted) {
            if (c == QLatin1Char('"')) {
                if (i + 1 < line.size() && line.at(i + 1) == QLatin1Char('"')) {
                    cur += c;
                    ++i;
                } else {
                    quoted = false;
                }
            } else {
                cur += c;
            }
        } else if (c == QLatin1Char('"') && cur.trimmed().isEmpty() && !wasQuoted) {
            cur.clear();
            quoted = true;
            wasQuoted = true;
        } else if (c == QLatin1Char(',')) {
            fields << (wasQuoted ? cur : cur.trimmed());
            cur.clear();
            wasQuoted = false;
        } else if (wasQuoted) {
            if (!c.isSpace())
                fail(source, lineNo, QStringLiteral("text after a closing quote in field %1").arg(fields.size() + 1));
        } else {
            cur += c;
        }
    }
    if (quoted)
        fail(source, lineNo, QStringLiteral("a quote in field %1 is not closed").arg(fields.size() + 1));
    fields << (wasQuoted ? cur : cur.trimmed());
    return fields;
}

// Header cell "alpha (1/cm)" -> name "alpha", unit "1/cm".
void splitHeader(const QString &cell, QString &name, QString &unit)
{
    const int open = cell.indexOf(QLatin1Char('('));
    if (open >= 0 && cell.endsWith(QLatin1Char(')'))) {
        name = cell.left(open).trimmed();
        unit = cell.mid(open + 1, cell.size() - open - 2).trimmed();
    } else {
        name = cell.trimmed();
        unit.clear();
    }
}

// Factor from the stated unit to SI, or 0 when the unit is not known for that column.
double unitFactor(int column, const QString &unit)
{
    const QString u = unit.toLower().remove(QLatin1Char(' '));
    switch (column) {
    case ColClay:
        return u == QLatin1String("%") ? 1.0 : 0.0;
    case ColThetaR:
    case ColThetaS:
        return (u.isEmpty() || u == QLatin1String("-") || u == QLatin1String("m3/m3") || u == QLatin1String("cm3/cm3")) ? 1.0 : 0.0;
    case ColN:
        return (u.isEmpty() || u == QLatin1String("-")) ? 1.0 : 0.0;
    case ColAlpha:
        if (u == QLatin1String("1/cm")) return 100.0;
        if (u == QLatin1String("1/m")) return 1.0;
        return 0.0;
    case ColKs:
        if (u == QLatin1String("cm/day") || u == QLatin1String("cm/d")) return 0.01 / 86400.0;
        if (u == QLatin1String("cm/h")) return 0.01 / 3600.0;
        if (u == QLatin1String("cm/s")) return 0.01;
        if (u == QLatin1String("m/day") || u == QLatin1String("m/d")) return 1.0 / 86400.0;
        if (u == QLatin1String("m/h")) return 1.0 / 3600.0;
        if (u == QLatin1String("m/s")) return 1.0;
        return 0.0;
    default:
        return u.isEmpty() ? 1.0 : 0.0;
    }
}

// Refuses a soil the program cannot compute or store: its name and texts must
// be one line of printable text each (a NUL or a line break would cut or
// break the stored name), and its parameters must lie in the ranges the
// program accepts everywhere (SoilRanges), every problem named.
void checkSoil(const solver::SoilParams &s, const QString &name, const QString &texture, const QString &classification,
               const QString &source, int lineNo)
{
    QStringList problems;
    for (const QString &p : {SoilRanges::nameProblem(name), SoilRanges::textProblem(QStringLiteral("Texture"), texture, kMaxTextLength),
                             SoilRanges::textProblem(QStringLiteral("Soil Classification"), classification, kMaxTextLength)}) {
        if (!p.isEmpty())
            problems << p;
    }
    if (!std::isnan(s.clayPercent) && (s.clayPercent < 0 || s.clayPercent > 100))
        problems << QStringLiteral("Clay (%) %1 is outside 0 to 100").arg(s.clayPercent);
    for (const SoilRanges::Problem &p : SoilRanges::problems(s.thetaR, s.thetaS, s.alpha, s.n, s.ks))
        problems << p.message;
    if (!problems.isEmpty())
        fail(source, lineNo, problems.join(QStringLiteral("; ")));
}

} // namespace

SoilCatalogue SoilCatalogue::fromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        fail(path, 0, QStringLiteral("cannot open the soil catalogue (%1)").arg(file.errorString()));
    const QByteArray bytes = file.readAll();
    return fromText(QString::fromUtf8(bytes), path);
}

SoilCatalogue SoilCatalogue::fromText(const QString &text, const QString &sourceName)
{
    SoilCatalogue cat;
    cat.m_sourceName = sourceName;
    const QString &src = sourceName;

    // A byte-order mark, as some spreadsheet programs write, is not part of the header.
    const QString body = text.startsWith(QChar(0xFEFF)) ? text.mid(1) : text;
    QStringList lines = body.split(QLatin1Char('\n'));
    int column[ColCount];
    double factor[ColCount];
    std::fill(std::begin(column), std::end(column), -1);
    std::fill(std::begin(factor), std::end(factor), 1.0);
    int headerCells = 0;
    bool haveHeader = false;
    std::map<int, int> numberLine;   // SoilTypeNo -> line where it was defined
    std::map<QString, int> nameLine; // lower-case name -> line

    const QLocale c = QLocale::c();
    for (int i = 0; i < lines.size(); ++i) {
        const int lineNo = i + 1;
        QString line = lines.at(i);
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        const QString trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith(QLatin1Char('#')))
            continue;

        const QStringList cells = splitCsv(line, src, lineNo);
        if (!haveHeader) {
            haveHeader = true;
            headerCells = cells.size();
            for (int k = 0; k < cells.size(); ++k) {
                QString name, unit;
                splitHeader(cells.at(k), name, unit);
                int col = -1;
                for (int j = 0; j < ColCount; ++j) {
                    if (name.compare(QLatin1String(kColumnNames[j]), Qt::CaseInsensitive) == 0)
                        col = j;
                }
                if (col < 0)
                    fail(src, lineNo, QStringLiteral("unknown column \"%1\" in the header").arg(cells.at(k)));
                if (column[col] >= 0)
                    fail(src, lineNo, QStringLiteral("column \"%1\" appears twice in the header").arg(name));
                if ((col == ColAlpha || col == ColKs) && unit.isEmpty())
                    fail(src, lineNo, QStringLiteral("the header must state the unit of %1, e.g. \"%2\"")
                                          .arg(name, col == ColAlpha ? QStringLiteral("alpha (1/cm)") : QStringLiteral("Ks (cm/day)")));
                const double f = unitFactor(col, unit);
                if (f == 0.0)
                    fail(src, lineNo, QStringLiteral("unknown unit \"%1\" for column %2").arg(unit, name));
                column[col] = k;
                factor[col] = f;
            }
            cat.m_hasSoilTypeNo = column[ColNo] >= 0;
            for (int j = 0; j < ColCount; ++j) {
                if (column[j] < 0 && j != ColNo) {
                    QString what = QString::fromLatin1(kColumnNames[j]);
                    if (j == ColClay) what = QStringLiteral("Clay (%)");
                    if (j == ColAlpha) what = QStringLiteral("alpha with its unit, e.g. \"alpha (1/cm)\"");
                    if (j == ColKs) what = QStringLiteral("Ks with its unit, e.g. \"Ks (cm/day)\"");
                    fail(src, lineNo, QStringLiteral("the header lacks the column %1").arg(what));
                }
            }
            continue;
        }

        if (cells.size() != headerCells)
            fail(src, lineNo, QStringLiteral("%1 fields, the header has %2").arg(cells.size()).arg(headerCells));

        auto cell = [&](int col) { return cells.at(column[col]); };
        auto number = [&](int col) {
            const QString t = cell(col);
            bool ok = false;
            const double v = c.toDouble(t, &ok);
            if (!ok || !std::isfinite(v))
                fail(src, lineNo, QStringLiteral("%1 \"%2\" is not a number").arg(QLatin1String(kColumnNames[col]), t));
            return v * factor[col];
        };

        solver::SoilParams s;
        if (cat.m_hasSoilTypeNo) {
            bool ok = false;
            const QString t = cell(ColNo);
            s.number = t.toInt(&ok);
            if (!ok || s.number < 1)
                fail(src, lineNo, QStringLiteral("SoilTypeNo \"%1\" is not a whole number of 1 or more").arg(t));
        } else {
            s.number = int(cat.m_soils.size()) + 1;
        }
        if (numberLine.count(s.number))
            fail(src, lineNo, QStringLiteral("SoilTypeNo %1 was already given on line %2").arg(s.number).arg(numberLine[s.number]));
        s.name = cell(ColName).toStdString();
        const QString lowerName = cell(ColName).toLower();
        if (nameLine.count(lowerName))
            fail(src, lineNo, QStringLiteral("the Name \"%1\" was already given on line %2").arg(cell(ColName)).arg(nameLine[lowerName]));
        s.texture = cell(ColTexture).toStdString();
        s.classification = cell(ColClass).toStdString();
        // The clay content is shown, never computed with: it may be left empty.
        s.clayPercent = cell(ColClay).trimmed().isEmpty() ? std::nan("") : number(ColClay);
        s.thetaR = number(ColThetaR);
        s.thetaS = number(ColThetaS);
        s.alpha = number(ColAlpha);
        s.n = number(ColN);
        s.ks = number(ColKs);
        checkSoil(s, cell(ColName), cell(ColTexture), cell(ColClass), src, lineNo);

        numberLine[s.number] = lineNo;
        nameLine[lowerName] = lineNo;
        cat.m_soils.push_back(s);
        cat.m_lines.push_back(lineNo);
    }

    if (!haveHeader)
        fail(src, 0, QStringLiteral("no header line found (the file holds only comments or is empty)"));
    if (cat.m_soils.empty())
        fail(src, 0, QStringLiteral("no soils listed after the header"));

    std::vector<size_t> order(cat.m_soils.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return cat.m_soils[a].number < cat.m_soils[b].number; });
    std::vector<solver::SoilParams> soils;
    std::vector<int> soilLines;
    for (size_t i : order) {
        soils.push_back(cat.m_soils[i]);
        soilLines.push_back(cat.m_lines[i]);
    }
    cat.m_soils = std::move(soils);
    cat.m_lines = std::move(soilLines);
    return cat;
}

void SoilCatalogue::renumberFrom(qint64 first)
{
    // Without the column the soils are held in file order, so this keeps it.
    if (m_hasSoilTypeNo)
        throw UlvexError(TrickleBuildErrors::Catalogue,
                         QStringLiteral("%1: the soils have their own SoilTypeNo and cannot be renumbered").arg(m_sourceName));
    const qint64 last = first + qint64(m_soils.size()) - 1;
    if (first < 1 || last > std::numeric_limits<int>::max())
        fail(m_sourceName, 0, QStringLiteral("its soils would be numbered %1 to %2, beyond the largest SoilTypeNo %3")
                                   .arg(first).arg(last).arg(std::numeric_limits<int>::max()));
    for (size_t i = 0; i < m_soils.size(); ++i)
        m_soils[i].number = int(first + qint64(i));
}

void SoilCatalogue::requireNumbersFrom(qint64 first) const
{
    for (size_t i = 0; i < m_soils.size(); ++i) {
        const qint64 expected = first + qint64(i);
        if (m_soils[i].number != expected)
            throw lineError(m_soils[i].number,
                            QStringLiteral("SoilTypeNo %1 leaves a gap: the soils must be numbered %2, %3, ... without gaps "
                                           "(the program takes a soil's place in its list for its number)")
                                .arg(m_soils[i].number).arg(first).arg(first + 1));
    }
}

const solver::SoilParams *SoilCatalogue::find(int soilTypeNo) const
{
    for (const auto &s : m_soils) {
        if (s.number == soilTypeNo)
            return &s;
    }
    return nullptr;
}

int SoilCatalogue::lineOf(int soilTypeNo) const
{
    for (size_t i = 0; i < m_soils.size(); ++i) {
        if (m_soils[i].number == soilTypeNo)
            return m_lines[i];
    }
    return 0;
}

UlvexError SoilCatalogue::lineError(int soilTypeNo, const QString &what) const
{
    return catalogueError(m_sourceName, lineOf(soilTypeNo), what);
}
