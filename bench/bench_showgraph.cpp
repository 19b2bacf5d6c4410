// ShowGraph end to end - open the database, query, copy the rows, update the
// graph, draw - for a 24-hour selection, at three graph sizes. Uses the
// shipped trickle.db of the program folder when there is one, else a small
// test database of the same layout.
#include "BenchStats.h"

#include "data/clsDataConLayer.h"
#include "output/render/RenderWindow.h"
#include "base/ProgramFolder.h"
#include "shell/ResourceImages.h"
#include "tests/common/TestDatabase.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    ResourceImages::registerFontSubstitutes();
    QTemporaryDir dir;
    ProgramFolder::setOverride(dir.path()); // the settings file goes here
    QString database = QStringLiteral(ULVEX_SHIPPED_DB);
    if (!QFile::exists(database))
        database = TestDatabase::create(dir.path());
    clsDataConLayer::setDatabaseOverride(database);
    std::printf("ShowGraph end to end, 24-hour selection, database %s\n", qPrintable(database));

    const int runs = 300;
    for (const QSize size : {QSize(400, 600), QSize(1200, 1800), QSize(2400, 3600)}) {
        RenderWindow window;
        window.loadChoices();
        RenderWindow::Selection s;
        s.soil = 4;
        s.flow = 3;
        s.time = 24;
        s.water = RenderWindow::Water::Moist;
        window.select(s);
        window.showGraph(size);
        const BenchStats stats = BenchStats::measure(runs, [&] {
            const QString status = window.showGraph(size);
            if (!status.isEmpty())
                std::printf("ShowGraph failed: %s\n", qPrintable(status));
        });
        const QByteArray label = QStringLiteral("ShowGraph %1 x %2 (%3 runs)").arg(size.width()).arg(size.height()).arg(runs).toUtf8();
        stats.print(label.constData());
    }
    return 0;
}
