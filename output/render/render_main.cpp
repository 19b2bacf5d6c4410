// ulvex-render: draws the graph of one selection to a PNG, SVG or PDF file
// through the program's own query, update and drawing code, with the settings
// file of the program folder. With --text it writes the selection's fronts,
// hour by hour, with the radius of the wet spot around a surface emitter, as
// comma-separated text instead (to standard output, or to --output).
//
// The flow rate and the time are given as users read them, in litres per
// hour and hours, and matched against the database's lists; --flow-no and
// --time-no take their positions in those lists instead.
//
// Exit status: 0 written; 2 bad options or a selection not in the database;
// 3 the database cannot be read; 4 the output cannot be written; 5 the
// settings file (Quillon.ini of the program folder) holds a value that cannot
// be used; 6 the graph cannot be drawn with these settings. The settings are
// read by the graph update, in the middle of the database work; their errors
// come as SettingsFileError, which names the file, so that a user who
// mistyped a setting is not sent looking at the database.

#include "data/UserDatabase.h"
#include "data/clsDataConLayer.h"
#include "output/render/FrontText.h"
#include "output/render/RenderWindow.h"
#include "settings/SettingsFileError.h"
#include "shell/ResourceImages.h"
#include "base/UlvexError.h"
#include "base/WholeFile.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QSaveFile>
#include <QRegularExpression>
#include <cmath>
#include <cstdio>

namespace {

int fail(int status, const QString &message)
{
    std::fprintf(stderr, "ulvex-render: %s\n", qPrintable(message));
    return status;
}

// A failure already told in the tool's terms, with its exit status.
struct Refusal
{
    int status;
    QString message;
};

bool parsePositive(const QString &text, int &value)
{
    bool ok = false;
    value = text.toInt(&ok);
    return ok && value >= 1;
}

// The tool's contract is one line on stderr for a failure; the toolkit's own
// notices (no runtime folder, font fallbacks) would break it, so only its
// serious messages get through.
void quietToolkit(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "ulvex-render: %s\n", qPrintable(message));
}

struct Options
{
    QCommandLineOption database{{QStringLiteral("d"), QStringLiteral("database")},
        QStringLiteral("Database file. Default: the user's own database (%1) when there is a usable one, "
                       "as the program reads it, else trickle.db in the program folder.")
            .arg(UserDatabase::userPath()),
        QStringLiteral("path")};
    QCommandLineOption soil{{QStringLiteral("s"), QStringLiteral("soil")},
        QStringLiteral("Soil number (SoilTypeNo)."), QStringLiteral("n"), QStringLiteral("1")};
    QCommandLineOption flow{{QStringLiteral("f"), QStringLiteral("flow")},
        QStringLiteral("Flow rate in litres per hour, one of the database's (default: the first)."),
        QStringLiteral("L/h")};
    QCommandLineOption flowNo{{QStringLiteral("flow-no")},
        QStringLiteral("The flow rate by its position in the database's list, from 1."), QStringLiteral("n")};
    QCommandLineOption time{{QStringLiteral("t"), QStringLiteral("time")},
        QStringLiteral("Time in hours, one of the database's (default: 24)."), QStringLiteral("hours")};
    QCommandLineOption timeNo{{QStringLiteral("time-no")},
        QStringLiteral("The time by its position in the database's list, from 1."), QStringLiteral("n")};
    QCommandLineOption water{{QStringLiteral("w"), QStringLiteral("water")},
        QStringLiteral("Initial water content: wet, moist or dry."), QStringLiteral("content"), QStringLiteral("dry")};
    QCommandLineOption emitter{{QStringLiteral("e"), QStringLiteral("emitter")},
        QStringLiteral("Emitter: surface or buried."), QStringLiteral("kind"), QStringLiteral("surface")};
    QCommandLineOption size{{QStringLiteral("size")},
        QStringLiteral("Picture size in pixels, WIDTHxHEIGHT."), QStringLiteral("WxH"), QStringLiteral("400x600")};
    QCommandLineOption output{{QStringLiteral("o"), QStringLiteral("output")},
        QStringLiteral("Output file: .png, .svg or .pdf."), QStringLiteral("file")};
    QCommandLineOption text{{QStringLiteral("text")},
        QStringLiteral("Write the fronts of the selection, hour by hour up to --time, with the radius of the wet "
                       "spot around a surface emitter, as comma-separated text (to standard output, or to "
                       "--output) instead of drawing.")};
};

// What was asked, read from the options; the flow rate and time are matched
// against the database later.
struct Request
{
    RenderWindow::Selection selection;
    QString flow, flowNo, time, timeNo;
    QSize pictureSize;
    bool asText = false;
    QString outputFile;
};

std::optional<Refusal> readWaterAndEmitter(const QCommandLineParser &parser, const Options &o, Request &r)
{
    const QString water = parser.value(o.water).toLower();
    if (water == QLatin1String("wet"))
        r.selection.water = RenderWindow::Water::Wet;
    else if (water == QLatin1String("moist"))
        r.selection.water = RenderWindow::Water::Moist;
    else if (water == QLatin1String("dry"))
        r.selection.water = RenderWindow::Water::Dry;
    else
        return Refusal{2, QStringLiteral("--water must be wet, moist or dry")};
    const QString emitter = parser.value(o.emitter).toLower();
    if (emitter == QLatin1String("surface"))
        r.selection.emitter = RenderWindow::Emitter::Surface;
    else if (emitter == QLatin1String("buried"))
        r.selection.emitter = RenderWindow::Emitter::Buried;
    else
        return Refusal{2, QStringLiteral("--emitter must be surface or buried")};
    return std::nullopt;
}

std::optional<Refusal> readRequest(const QCommandLineParser &parser, const Options &o, Request &r)
{
    if (!parsePositive(parser.value(o.soil), r.selection.soil))
        return Refusal{2, QStringLiteral("--soil must be a whole number from 1")};
    if (parser.isSet(o.flow) && parser.isSet(o.flowNo))
        return Refusal{2, QStringLiteral("--flow and --flow-no both choose the flow rate: give one")};
    if (parser.isSet(o.time) && parser.isSet(o.timeNo))
        return Refusal{2, QStringLiteral("--time and --time-no both choose the time: give one")};
    r.flow = parser.value(o.flow);
    r.flowNo = parser.isSet(o.flow) || parser.isSet(o.flowNo) ? parser.value(o.flowNo) : QStringLiteral("1");
    r.time = parser.isSet(o.time) || parser.isSet(o.timeNo) ? parser.value(o.time) : QStringLiteral("24");
    r.timeNo = parser.value(o.timeNo);
    if (auto refused = readWaterAndEmitter(parser, o, r))
        return refused;
    const QRegularExpressionMatch m =
        QRegularExpression(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$")).match(parser.value(o.size));
    r.pictureSize = m.hasMatch() ? QSize(m.captured(1).toInt(), m.captured(2).toInt()) : QSize();
    if (r.pictureSize.width() < 50 || r.pictureSize.height() < 50 || r.pictureSize.width() > 10000
        || r.pictureSize.height() > 10000)
        return Refusal{2, QStringLiteral("--size must be WIDTHxHEIGHT, each from 50 to 10000 pixels")};
    r.asText = parser.isSet(o.text);
    r.outputFile = parser.value(o.output);
    if (r.outputFile.isEmpty() && !r.asText)
        return Refusal{2, QStringLiteral("--output is required")};
    const QString suffix = QFileInfo(r.outputFile).suffix().toLower();
    if (!r.asText && suffix != QLatin1String("png") && suffix != QLatin1String("svg")
        && suffix != QLatin1String("pdf"))
        return Refusal{2, QStringLiteral("--output must end in .png, .svg or .pdf")};
    return std::nullopt;
}

// The position (from 1) of a value in one of the database's lists: given as
// the value itself (`value`, in the list's unit) or as its position
// (`position`). `what` names the option, `unit` the unit.
std::optional<Refusal> place(const QString &value, const QString &position, const QStringList &list,
                             const QString &what, const QString &unit, int &out)
{
    const QString listed = list.join(QStringLiteral(", "));
    if (value.isEmpty()) {
        if (!parsePositive(position, out))
            return Refusal{2, QStringLiteral("--%1-no must be a whole number from 1").arg(what)};
        if (out > list.size())
            return Refusal{2, QStringLiteral("--%1-no %2 is beyond the database's list (it holds %3 %4: %5)")
                                  .arg(what, position).arg(list.size()).arg(what == QLatin1String("flow")
                                  ? QStringLiteral("flow rates") : QStringLiteral("times"), listed)};
        return std::nullopt;
    }
    bool ok = false;
    const double wanted = value.toDouble(&ok);
    if (!ok || !std::isfinite(wanted) || wanted <= 0)
        return Refusal{2, QStringLiteral("--%1 must be a number of %2, one of %3").arg(what, unit, listed)};
    for (int i = 0; i < list.size(); ++i) {
        if (std::fabs(list.at(i).toDouble() - wanted) <= 1e-9 * std::max(1.0, wanted)) {
            out = i + 1;
            return std::nullopt;
        }
    }
    return Refusal{2, QStringLiteral("--%1 %2 %3 is not in the database; it holds %4 %3")
                          .arg(what, value, unit, listed)};
}

// Reads the database the user reads (or the one given), as the program does.
void chooseDatabase(const QCommandLineParser &parser, const Options &o)
{
    if (parser.isSet(o.database)) {
        clsDataConLayer::setDatabaseOverride(QFileInfo(parser.value(o.database)).absoluteFilePath());
        return;
    }
    // The user's own database (the shipped soils and the user's) when there is
    // a usable one. One that cannot be read is named, and the shipped one
    // drawn from instead.
    const QString trouble = UserDatabase::choose();
    if (!trouble.isEmpty())
        std::fprintf(stderr, "ulvex-render: note: %s; reading %s instead\n", qPrintable(trouble),
                     qPrintable(UserDatabase::shippedPath()));
}

FrontText::Selection textSelection(const RenderWindow::Selection &s)
{
    FrontText::Selection t;
    t.soil = s.soil;
    t.flow = s.flow;
    t.hours = s.time;
    t.initialHead = s.water == RenderWindow::Water::Wet     ? -3
                    : s.water == RenderWindow::Water::Moist ? -6
                                                            : -10;
    t.buried = s.emitter == RenderWindow::Emitter::Buried;
    return t;
}

int writeText(const QByteArray &bytes, const QString &outputFile)
{
    if (outputFile.isEmpty()) {
        const bool written = std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout) == size_t(bytes.size());
        return written && std::fflush(stdout) == 0 && !std::ferror(stdout)
                   ? 0
                   : fail(4, QStringLiteral("cannot write to standard output"));
    }
    // Written in full beside the file and renamed: a full disk leaves the
    // file as it was (or no file), never a part of it.
    QSaveFile file(outputFile);
    QString why;
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        why = file.errorString();
    else if (WholeFile::commit(file, &why))
        return 0;
    return fail(4, QStringLiteral("cannot write %1: %2").arg(outputFile, why));
}

// Matches the request against the database, checks that the selection has
// fronts, then writes them or draws them.
int render(Request &r)
{
    RenderWindow window;
    window.loadChoices();
    RenderWindow::Selection &s = r.selection;
    if (!window.hasSoil(s.soil))
        return fail(2, QStringLiteral("soil %1 is not in the database").arg(s.soil));
    if (auto refused = place(r.flow, r.flowNo, window.flowTexts(), QStringLiteral("flow"),
                             QStringLiteral("L/h"), s.flow))
        return fail(refused->status, refused->message);
    if (auto refused = place(r.time, r.timeNo, window.timeTexts(), QStringLiteral("time"),
                             QStringLiteral("h"), s.time))
        return fail(refused->status, refused->message);
    FrontText::Found found;
    const QByteArray text = FrontText::text(clsDataConLayer::databasePath(), textSelection(s), &found).toUtf8();
    if (found.rows == 0)
        return fail(2, QStringLiteral("no fronts for %1 in %2").arg(found.selection, clsDataConLayer::databasePath()));
    if (r.asText)
        return writeText(text, r.outputFile);
    window.select(s);
    const QString status = window.showGraph(r.pictureSize);
    if (!status.isEmpty())
        return fail(6, QStringLiteral("the graph cannot be drawn: %1").arg(status.simplified()));
    const QString written = window.save(r.outputFile, r.pictureSize);
    return written.isEmpty() ? 0 : fail(4, written);
}

} // namespace

int main(int argc, char *argv[])
{
    // A command-line tool draws without a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(quietToolkit);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("ulvex-render"));
    QApplication::setApplicationVersion(QStringLiteral(ULVEX_VERSION));
    ResourceImages::registerFontSubstitutes();

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Draws the wetting pattern of one selection to a PNG, SVG or PDF file, or writes its fronts as text."));
    parser.addHelpOption();
    parser.addVersionOption();
    const Options o;
    parser.addOptions({o.database, o.soil, o.flow, o.flowNo, o.time, o.timeNo, o.water, o.emitter, o.size,
                       o.output, o.text});
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(2, parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    if (!parser.positionalArguments().isEmpty())
        return fail(2, QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    Request request;
    if (auto refused = readRequest(parser, o, request))
        return fail(refused->status, refused->message);
    chooseDatabase(parser, o);
    try {
        return render(request);
    } catch (const SettingsFileError &e) {
        return fail(5, QStringLiteral("cannot use the settings file %1 (error %2): %3")
                           .arg(e.file()).arg(e.number()).arg(e.description()));
    } catch (const UlvexError &e) {
        return fail(3, QStringLiteral("cannot read the database (error %1): %2").arg(e.number()).arg(e.description()));
    }
}
