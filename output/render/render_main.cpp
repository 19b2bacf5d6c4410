// ulvex-render: draws the graph of one selection to a PNG, SVG or PDF file
// through the program's own query, update and drawing code, with the settings
// file of the program folder. With --text it writes the selection's fronts,
// hour by hour, with the radius of the wet spot around a surface emitter, as
// comma-separated text instead (to standard output, or to --output).
//
// Exit status: 0 written; 2 bad options or a selection not in the database;
// 3 the database cannot be read; 4 the output cannot be written; 5 the
// settings file (Quillon.ini of the program folder) holds a value that cannot
// be used. The settings are read by the graph update, in the middle of the
// database work; their errors come as SettingsFileError, which names the file,
// so that a user who mistyped a setting is not sent looking at the database.

#include "data/UserDatabase.h"
#include "data/clsDataConLayer.h"
#include "output/render/FrontText.h"
#include "output/render/RenderWindow.h"
#include "settings/SettingsFileError.h"
#include "shell/ResourceImages.h"
#include "base/UlvexError.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QSaveFile>
#include <QRegularExpression>
#include <cstdio>

namespace {

int fail(int status, const QString &message)
{
    std::fprintf(stderr, "ulvex-render: %s\n", qPrintable(message));
    return status;
}

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
        "Draws the wetting pattern of one selection to a PNG, SVG or PDF file."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption database({QStringLiteral("d"), QStringLiteral("database")},
        QStringLiteral("Database file (default: trickle.db in the program folder)."), QStringLiteral("path"));
    const QCommandLineOption soil({QStringLiteral("s"), QStringLiteral("soil")},
        QStringLiteral("Soil number (SoilTypeNo)."), QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption flow({QStringLiteral("f"), QStringLiteral("flow")},
        QStringLiteral("Flow rate position in the flow list, from 1."), QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption time({QStringLiteral("t"), QStringLiteral("time")},
        QStringLiteral("Time position in the time list, from 1 (k means k hours)."), QStringLiteral("n"),
        QStringLiteral("24"));
    const QCommandLineOption water({QStringLiteral("w"), QStringLiteral("water")},
        QStringLiteral("Initial water content: wet, moist or dry."), QStringLiteral("content"), QStringLiteral("dry"));
    const QCommandLineOption emitter({QStringLiteral("e"), QStringLiteral("emitter")},
        QStringLiteral("Emitter: surface or buried."), QStringLiteral("kind"), QStringLiteral("surface"));
    const QCommandLineOption size({QStringLiteral("size")},
        QStringLiteral("Picture size in pixels, WIDTHxHEIGHT."), QStringLiteral("WxH"), QStringLiteral("400x600"));
    const QCommandLineOption output({QStringLiteral("o"), QStringLiteral("output")},
        QStringLiteral("Output file: .png, .svg or .pdf."), QStringLiteral("file"));
    const QCommandLineOption text({QStringLiteral("text")},
        QStringLiteral("Write the fronts of the selection, hour by hour up to --time, with the radius of the wet "
                       "spot around a surface emitter, as comma-separated text (to standard output, or to "
                       "--output) instead of drawing."));
    parser.addOptions({database, soil, flow, time, water, emitter, size, output, text});
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(2, parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(0);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    if (!parser.positionalArguments().isEmpty())
        return fail(2, QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().first()));

    RenderWindow::Selection selection;
    if (!parsePositive(parser.value(soil), selection.soil))
        return fail(2, QStringLiteral("--soil must be a whole number from 1"));
    if (!parsePositive(parser.value(flow), selection.flow))
        return fail(2, QStringLiteral("--flow must be a whole number from 1"));
    if (!parsePositive(parser.value(time), selection.time))
        return fail(2, QStringLiteral("--time must be a whole number from 1"));
    const QString waterText = parser.value(water).toLower();
    if (waterText == QLatin1String("wet"))
        selection.water = RenderWindow::Water::Wet;
    else if (waterText == QLatin1String("moist"))
        selection.water = RenderWindow::Water::Moist;
    else if (waterText == QLatin1String("dry"))
        selection.water = RenderWindow::Water::Dry;
    else
        return fail(2, QStringLiteral("--water must be wet, moist or dry"));
    const QString emitterText = parser.value(emitter).toLower();
    if (emitterText == QLatin1String("surface"))
        selection.emitter = RenderWindow::Emitter::Surface;
    else if (emitterText == QLatin1String("buried"))
        selection.emitter = RenderWindow::Emitter::Buried;
    else
        return fail(2, QStringLiteral("--emitter must be surface or buried"));
    const QRegularExpressionMatch m =
        QRegularExpression(QStringLiteral("^(\\d{1,5})x(\\d{1,5})$")).match(parser.value(size));
    const QSize pictureSize = m.hasMatch() ? QSize(m.captured(1).toInt(), m.captured(2).toInt()) : QSize();
    if (pictureSize.width() < 50 || pictureSize.height() < 50 || pictureSize.width() > 10000
        || pictureSize.height() > 10000)
        return fail(2, QStringLiteral("--size must be WIDTHxHEIGHT, each from 50 to 10000 pixels"));
    const bool asText = parser.isSet(text);
    const QString outputFile = parser.value(output);
    if (outputFile.isEmpty() && !asText)
        return fail(2, QStringLiteral("--output is required"));
    const QString suffix = QFileInfo(outputFile).suffix().toLower();
    if (!asText && suffix != QLatin1String("png") && suffix != QLatin1String("svg") && suffix != QLatin1String("pdf"))
        return fail(2, QStringLiteral("--output must end in .png, .svg or .pdf"));
    if (parser.isSet(database)) {
        clsDataConLayer::setDatabaseOverride(QFileInfo(parser.value(database)).absoluteFilePath());
    } else {
        // As the program does: the user's own database (the shipped soils and
        // the user's) when there is a usable one. One that cannot be read is
        // named, and the shipped one drawn from instead.
        const QString trouble = UserDatabase::choose();
        if (!trouble.isEmpty())
            std::fprintf(stderr, "ulvex-render: note: %s; reading %s instead\n", qPrintable(trouble),
                         qPrintable(UserDatabase::shippedPath()));
    }

    RenderWindow window;
    try {
        window.loadChoices();
        if (!window.hasSoil(selection.soil))
            return fail(2, QStringLiteral("soil %1 is not in the database").arg(selection.soil));
        if (selection.flow > window.flowCount())
            return fail(2, QStringLiteral("flow position %1 is not in the database (it lists %2)")
                               .arg(selection.flow).arg(window.flowCount()));
        if (selection.time > window.timeCount())
            return fail(2, QStringLiteral("time position %1 is not in the database (it lists %2)")
                               .arg(selection.time).arg(window.timeCount()));
        if (asText) {
            FrontText::Selection s;
            s.soil = selection.soil;
            s.flow = selection.flow;
            s.hours = selection.time;
            s.initialHead = selection.water == RenderWindow::Water::Wet     ? -3
                            : selection.water == RenderWindow::Water::Moist ? -6
                                                                            : -10;
            s.buried = selection.emitter == RenderWindow::Emitter::Buried;
            const QByteArray bytes = FrontText::text(clsDataConLayer::databasePath(), s).toUtf8();
            if (outputFile.isEmpty()) {
                std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
                return std::fflush(stdout) == 0 ? 0 : fail(4, QStringLiteral("cannot write to standard output"));
            }
            QSaveFile file(outputFile);
            if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
                return fail(4, QStringLiteral("cannot write %1: %2").arg(outputFile, file.errorString()));
            return 0;
        }
        window.select(selection);
        const QString status = window.showGraph(pictureSize);
        if (!status.isEmpty())
            return fail(2, QStringLiteral("the selection has no fronts to draw: %1").arg(status.simplified()));
    } catch (const SettingsFileError &e) {
        return fail(5, QStringLiteral("cannot use the settings file %1 (error %2): %3")
                           .arg(e.file()).arg(e.number()).arg(e.description()));
    } catch (const UlvexError &e) {
        return fail(3, QStringLiteral("cannot read the database (error %1): %2").arg(e.number()).arg(e.description()));
    }
    const QString written = window.save(outputFile, pictureSize);
    if (!written.isEmpty())
        return fail(4, written);
    return 0;
}
