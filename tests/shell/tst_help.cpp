#include "shell/HelpViewer.h"
#include "base/ProgramFolder.h"

#include <QAccessible>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTextDocument>
#include <QtTest>

// The help pages as they are kept in the source tree, and the program folder the
// build lays out (which must hold a copy of them).
static const QString kAssets = QStringLiteral(ULVEX_TEST_ASSETS_DIR);
static const QString kProgramDir = QStringLiteral(ULVEX_TEST_PROGRAM_DIR);

namespace {

QString readAll(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(f.readAll());
}

QStringList helpPages(const QString &helpDir)
{
    return QDir(helpDir).entryList({"*.html"}, QDir::Files, QDir::Name);
}

// Every href and src of a page, in order.
QStringList linksOf(const QString &html)
{
    QStringList links;
    static const QRegularExpression re("(?:href|src)\\s*=\\s*\"([^\"]*)\"",
                                       QRegularExpression::CaseInsensitiveOption);
    auto it = re.globalMatch(html);
    while (it.hasNext())
        links << it.next().captured(1);
    return links;
}

QString pageText(const QString &helpDir, const QStringList &pages)
{
    QString all;
    for (const QString &p : pages)
        all += readAll(helpDir + "/" + p);
    // Drop the tags so phrases split by markup still match.
    all.remove(QRegularExpression("<[^>]*>"));
    all.replace(QRegularExpression("\\s+"), " ");
    return all;
}

} // namespace

class TestHelp : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { ProgramFolder::setOverride(QString()); }

    void programFolderHoldsACopyOfTheHelp()
    {
        QStringList source, copied;
        QDirIterator s(kAssets + "/help", QDir::Files, QDirIterator::Subdirectories);
        while (s.hasNext())
            source << QDir(kAssets + "/help").relativeFilePath(s.next());
        QDirIterator c(kProgramDir + "/help", QDir::Files, QDirIterator::Subdirectories);
        while (c.hasNext())
            copied << QDir(kProgramDir + "/help").relativeFilePath(c.next());
        source.sort();
        copied.sort();
        QVERIFY(source.contains("index.html"));
        QCOMPARE(copied, source);
        for (const QString &f : source)
            QCOMPARE(readAll(kProgramDir + "/help/" + f), readAll(kAssets + "/help/" + f));
        QVERIFY(QFileInfo(kProgramDir + "/Images/UlvexLogo.jpg").size() > 1000);
        QVERIFY(QFileInfo(kProgramDir + "/data").isDir());
    }

    void printedLogoIsARealJpeg()
    {
        QImage logo(kAssets + "/Images/UlvexLogo.jpg");
        QVERIFY(!logo.isNull());
        QVERIFY(logo.width() >= 3 * logo.height());
    }

    void viewerOpensTheContentsPage()
    {
        ProgramFolder::setOverride(kProgramDir);
        HelpViewer viewer;
        QCOMPARE(HelpViewer::contentsFile(), kProgramDir + "/help/index.html");
        QVERIFY(viewer.openContents());
        QVERIFY(viewer.showingHelp());
        QTextBrowser *b = viewer.browser();
        QCOMPARE(b->source().toLocalFile(), kProgramDir + "/help/index.html");
        QCOMPARE(b->documentTitle(), QString("Ulvex Help: Contents"));
        QVERIFY(b->toPlainText().contains("Contents"));
        QVERIFY(!viewer.findChild<QPushButton *>("cmdBack")->isEnabled());
    }

    void viewerFollowsLinksAndGoesBackAndHome()
    {
        ProgramFolder::setOverride(kProgramDir);
        HelpViewer viewer;
        viewer.show();
        QVERIFY(viewer.openContents());
        QTextBrowser *b = viewer.browser();
        // Click the contents entry of the export page.
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        const QTextCursor found = b->document()->find("Exporting the data to a file");
        QVERIFY(!found.isNull());
        QTextCursor inLink(b->document());
        inLink.setPosition(found.selectionStart() + 3);
        b->setTextCursor(inLink);
        b->ensureCursorVisible();
        const QPoint where = b->cursorRect().center() + QPoint(2, 0);
        QTest::mouseClick(b->viewport(), Qt::LeftButton, Qt::NoModifier, where);
        QCOMPARE(b->source().toLocalFile(), kProgramDir + "/help/export.html");
        QVERIFY(b->toPlainText().contains("Print Data to File"));
        auto *back = viewer.findChild<QPushButton *>("cmdBack");
        QVERIFY(back->isEnabled());
        QTest::mouseClick(back, Qt::LeftButton);
        QCOMPARE(b->source().toLocalFile(), kProgramDir + "/help/index.html");
        auto *forward = viewer.findChild<QPushButton *>("cmdForward");
        QVERIFY(forward->isEnabled());
        QTest::mouseClick(forward, Qt::LeftButton);
        QCOMPARE(b->source().toLocalFile(), kProgramDir + "/help/export.html");
        b->setSource(b->source().resolved(QUrl("limits.html")));
        QCOMPARE(b->source().toLocalFile(), kProgramDir + "/help/limits.html");
        QTest::mouseClick(viewer.findChild<QPushButton *>("cmdHome"), Qt::LeftButton);
        QCOMPARE(b->source().toLocalFile(), kProgramDir + "/help/index.html");
    }

    void missingHelpShowsAMessage()
    {
        QTemporaryDir empty;
        QVERIFY(empty.isValid());
        ProgramFolder::setOverride(empty.path());
        HelpViewer viewer;
        viewer.show();
        QVERIFY(!viewer.openContents());
        QVERIFY(!viewer.showingHelp());
        const QString text = viewer.browser()->toPlainText();
        QVERIFY2(text.contains("Help is not available"), qPrintable(text));
        QVERIFY(text.contains(empty.path() + "/help/index.html"));
        QVERIFY(!viewer.findChild<QPushButton *>("cmdBack")->isEnabled());
        // Home tries again and still does not crash.
        QTest::mouseClick(viewer.findChild<QPushButton *>("cmdHome"), Qt::LeftButton);
        QVERIFY(viewer.browser()->toPlainText().contains("Help is not available"));
    }

    void everyLinkResolves()
    {
        const QString helpDir = kAssets + "/help";
        const QStringList pages = helpPages(helpDir);
        QVERIFY(pages.size() >= 9);
        int checked = 0;
        for (const QString &page : pages) {
            const QString html = readAll(helpDir + "/" + page);
            QVERIFY2(html.contains("<title>"), qPrintable(page));
            for (const QString &link : linksOf(html)) {
                const QString where = page + ": " + link;
                QVERIFY2(!link.isEmpty(), qPrintable(where));
                // Relative links only: no scheme, no absolute path.
                QVERIFY2(!link.contains(':') && !link.startsWith('/'), qPrintable(where));
                const QString file = link.section('#', 0, 0);
                const QString anchor = link.section('#', 1);
                const QString target = file.isEmpty() ? helpDir + "/" + page
                                                      : QDir(helpDir).filePath(file);
                QVERIFY2(QFileInfo(target).isFile(), qPrintable(where));
                if (!anchor.isEmpty()) {
                    const QString t = readAll(target);
                    QVERIFY2(t.contains("id=\"" + anchor + "\"") ||
                                 t.contains("name=\"" + anchor + "\""),
                             qPrintable(where));
                }
                ++checked;
            }
        }
        QVERIFY(checked > 50);
    }

    void everyPageIsReachableFromTheContents()
    {
        const QString helpDir = kAssets + "/help";
        QSet<QString> seen{"index.html"};
        QStringList queue{"index.html"};
        while (!queue.isEmpty()) {
            const QString page = queue.takeFirst();
            for (const QString &link : linksOf(readAll(helpDir + "/" + page))) {
                const QString file = link.section('#', 0, 0);
                if (file.endsWith(".html") && !seen.contains(file)) {
                    seen.insert(file);
                    queue << file;
                }
            }
        }
        for (const QString &page : helpPages(helpDir))
            QVERIFY2(seen.contains(page), qPrintable(page));
    }

    void contentsLinksEveryTopic()
    {
        const QStringList links = linksOf(readAll(kAssets + "/help/index.html"));
        for (const char *topic : {"overview.html", "choosing.html", "front.html",
                                  "computation.html", "soils.html", "options.html",
                                  "printing.html", "export.html", "limits.html"})
            QVERIFY2(links.contains(topic), topic);
    }

    // The help has to use the captions the user sees and explain what designers
    // need; these phrases must each appear somewhere in it.
    void helpCoversWhatDesignersNeed()
    {
        const QString helpDir = kAssets + "/help";
        const QString text = pageText(helpDir, helpPages(helpDir));
        const QStringList phrases = {
            // captions of the windows, menus and toolbar
            "Print Data to File", "Print PreView", "Update Simulation", "Select Soil Type",
            "Create Graph of Simulation", "Print Simulation", "Print PreView of Simulation",
            "Exit Ulvex Simulator", "Tile", "Cascade", "Wet (3m Suction)",
            "Moist (6m Suction)", "Dry (10m Suction)", "Flow (l/hr)", "Time (hr)",
            "Surface Emitter", "Buried Emitter", "Return",
            // every field of the graph options
            "No. Time Steps", "Logarithimic Time Scale", "Color Background", "Line Width",
            "Emitter Depth", "Select Time Step Color", "Auto Scale X Axis", "Max. X Axis",
            "No. Dec Places", "Auto Scale Y Axis", "Max. Y Axis", "Accept", "Cancel",
            "General Options", "Axis Options",
            // what the data are and how they were made
            "four simulation windows", "logarithmic time scale", "Richards' equation",
            "van Genuchten", "Mualem", "Carsel and Parrish", "10 %", "ponded",
            "point source", "Philip", "Water balance", "360",
            // printing and export
            "Two graphs a page", "Simulation Data (*.dat)", "TimeStep,Radius,Zplus,Zminus",
            "TimeStep,Zplus,Radius",
            // limits
            "12 soils", "5 flow rates", "1 to 24 hours", "homogeneous", "No evaporation",
            "no water taken up by roots", "approximate"};
        for (const QString &p : phrases)
            QVERIFY2(text.contains(p, Qt::CaseInsensitive), qPrintable(p));
        // The first line of the export, its nine blanks included.
        QVERIFY(readAll(helpDir + "/export.html")
                    .contains("Ulvex Simulation Data         Generated:"));
        // The export's dry-soil rule is spelled out on the export page.
        const QString exportPage = pageText(helpDir, {"export.html"});
        QVERIFY(exportPage.contains("always the fronts for the dry soil (10 m suction)"));
    }

    void accessibleNamesAndDescriptions()
    {
        ProgramFolder::setOverride(kProgramDir);
        HelpViewer viewer;
        viewer.show();
        for (const char *name : {"txtHelp", "cmdBack", "cmdForward", "cmdHome", "cmdClose"}) {
            auto *w = viewer.findChild<QWidget *>(name);
            QVERIFY2(w, name);
            QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(w);
            QVERIFY2(iface && !iface->text(QAccessible::Name).isEmpty(), name);
            QVERIFY2(!w->toolTip().isEmpty(), name);
            QCOMPARE(w->accessibleDescription(), w->toolTip());
        }
        QCOMPARE(viewer.findChild<QWidget *>("cmdHome")->accessibleName(), QString("Home"));
    }

    void renderPicture()
    {
        ProgramFolder::setOverride(kProgramDir);
        HelpViewer viewer;
        viewer.show();
        QVERIFY(viewer.openContents());
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        const QString dir = qEnvironmentVariable("ULVEX_SHOT_DIR");
        if (dir.isEmpty())
            QSKIP("set ULVEX_SHOT_DIR to write the pictures");
        for (const char *page : {"index.html", "overview.html", "options.html", "soils.html",
                                 "export.html"}) {
            QVERIFY(viewer.openPage(page));
            QVERIFY(viewer.grab().save(QDir(dir).filePath(QString("help-%1.png")
                                                              .arg(QString(page).section('.', 0, 0)))));
        }
    }
};

QTEST_MAIN(TestHelp)
#include "tst_help.moc"
