#include "graph/ColorRef.h"
#include "base/ProgramFolder.h"
#include "base/Twips.h"
#include "base/UlvexError.h"

#include <QCoreApplication>
#include <QtTest>

class TestBase : public QObject
{
    Q_OBJECT
private slots:
    void programFolderIsExecutableFolder()
    {
        ProgramFolder::setOverride(QString());
        QCOMPARE(ProgramFolder::path(), QCoreApplication::applicationDirPath());
        QCOMPARE(ProgramFolder::file("trickle.db"),
                 QCoreApplication::applicationDirPath() + "/trickle.db");
    }
    void programFolderOverrideDropsTrailingSlash()
    {
        ProgramFolder::setOverride("/tmp/x/");
        QCOMPARE(ProgramFolder::file("Quillon.ini"), QString("/tmp/x/Quillon.ini"));
        ProgramFolder::setOverride(QString());
    }
    void colorRefRedInLowByte()
    {
        QCOMPARE(ColorRef::rgb(255, 0, 0), 255);
        QCOMPARE(ColorRef::rgb(0, 0, 128), 128 * 65536);
        QCOMPARE(ColorRef::toQColor(ColorRef::rgb(12, 34, 56)), QColor(12, 34, 56));
        QCOMPARE(ColorRef::fromQColor(QColor(1, 2, 3)), 1 + 2 * 256 + 3 * 65536);
        // The default curve colours 0..7 are plain values: 1 is a red of 1.
        QCOMPARE(ColorRef::toQColor(1), QColor(1, 0, 0));
    }
    void twipsAt96Dpi()
    {
        // Without a GUI application 96 DPI is assumed: 15 twips a pixel.
        QCOMPARE(Twips::perPixel(), 15.0);
        QCOMPARE(Twips::toPixels(6345), 423);
        QCOMPARE(Twips::sizeToPixels(6500, 8000), QSize(433, 533));
    }
    void errorCarriesNumberAndDescription()
    {
        try {
            throw UlvexError(3044, "Could not find file 'x/trickle.db'.");
        } catch (const UlvexError &e) {
            QCOMPARE(e.number(), 3044);
            QCOMPARE(e.description(), QString("Could not find file 'x/trickle.db'."));
            QCOMPARE(QString(e.what()), e.description());
        }
    }
};

QTEST_GUILESS_MAIN(TestBase)
#include "tst_base.moc"
