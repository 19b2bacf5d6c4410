#include "shell/ResourceImages.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QFontInfo>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QtTest>

namespace {

// Share of pixels that are not fully transparent: a rendered picture covers a
// good part of its square, an empty or failed one none.
double coverage(const QPixmap &pm)
{
    const QImage img = pm.toImage().convertToFormat(QImage::Format_ARGB32);
    int painted = 0;
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            if (qAlpha(img.pixel(x, y)) > 0)
                ++painted;
    return double(painted) / (img.width() * img.height());
}

} // namespace

class TestResources : public QObject
{
    Q_OBJECT
private slots:
    void tableHoldsTheEightIds()
    {
        const QList<int> expected = {114, 105, 103, 111, 107, 120, 106, 112};
        QCOMPARE(ResourceImages::ids(), expected);
        QCOMPARE(ResourceImages::key(114), QString("water"));
        QCOMPARE(ResourceImages::key(105), QString("exit"));
        QCOMPARE(ResourceImages::key(103), QString("print"));
        QCOMPARE(ResourceImages::key(111), QString("graph"));
        QCOMPARE(ResourceImages::key(107), QString("printpreview"));
        QCOMPARE(ResourceImages::key(120), QString("simulate"));
        QCOMPARE(ResourceImages::key(106), QString("soiltype"));
        QCOMPARE(ResourceImages::key(112), QString("logo"));
        QVERIFY(!ResourceImages::isKnown(113));
        QVERIFY(ResourceImages::key(113).isEmpty());
    }

    void everyIdIsInTheResourceSystem()
    {
        for (int id : ResourceImages::ids()) {
            const QString path = ResourceImages::resourcePath(id);
            QVERIFY2(path.startsWith(":/ulvex/"), qPrintable(path));
            QVERIFY2(QFile::exists(path), qPrintable(path));
        }
    }

    void everyIdLoadsAt16And32Pixels()
    {
        for (int id : ResourceImages::ids()) {
            for (int side : {16, 32}) {
                const QPixmap pm = ResourceImages::pixmap(id, QSize(side, side));
                QVERIFY2(!pm.isNull(), qPrintable(QString::number(id)));
                QCOMPARE(pm.size(), QSize(side, side));
                // The logo is a wide banner and covers only a strip of a square.
                const double minimum = id == ResourceImages::Logo ? 0.1 : 0.3;
                QVERIFY2(coverage(pm) > minimum,
                         qPrintable(QString("id %1 at %2 px covers %3")
                                        .arg(id).arg(side).arg(coverage(pm))));
            }
            const QIcon icon = ResourceImages::icon(id);
            QVERIFY(!icon.isNull());
            QVERIFY(!icon.pixmap(16, 16).isNull());
            QVERIFY(!icon.pixmap(24, 24).isNull());
            QVERIFY(!icon.pixmap(32, 32).isNull());
        }
    }

    void picturesDifferFromEachOther()
    {
        QList<QImage> seen;
        for (int id : ResourceImages::ids()) {
            const QImage img = ResourceImages::pixmap(id, QSize(32, 32)).toImage();
            for (const QImage &other : seen)
                QVERIFY2(img != other, qPrintable(QString::number(id)));
            seen.append(img);
        }
    }

    void logoIsAWideBanner()
    {
        const QSize natural = ResourceImages::naturalSize(ResourceImages::Logo);
        QVERIFY(natural.isValid());
        QVERIFY(natural.width() >= 3 * natural.height());
        QCOMPARE(ResourceImages::naturalSize(ResourceImages::Water), QSize(32, 32));
        // Fitted into a wide box, the banner fills its width.
        const QPixmap pm = ResourceImages::pixmap(ResourceImages::Logo, QSize(400, 100));
        QVERIFY(coverage(pm) > 0.95);
    }

    void unknownIdGivesEmptyPictures()
    {
#ifdef QT_NO_DEBUG
        QTest::ignoreMessage(QtWarningMsg, "ResourceImages: unknown image resource id 999");
        QVERIFY(ResourceImages::icon(999).isNull());
        QTest::ignoreMessage(QtWarningMsg, "ResourceImages: unknown image resource id 0");
        QVERIFY(ResourceImages::pixmap(0, QSize(16, 16)).isNull());
#else
        QSKIP("an unknown id stops a debug build by assertion");
#endif
    }

    void verdanaFallsBackToDejaVuSans()
    {
        ResourceImages::registerFontSubstitutes();
        ResourceImages::registerFontSubstitutes(); // twice does no harm
        // Qt keeps substitute names in lower case.
        const QStringList subs = QFont::substitutes("Verdana");
        QCOMPARE(subs.filter(QRegularExpression("^dejavu sans$", QRegularExpression::CaseInsensitiveOption)).size(), 1);
        const QString family = QFontInfo(QFont("Verdana", 8)).family();
        QVERIFY2(family == "Verdana" || family == "DejaVu Sans", qPrintable(family));
    }

    // The whole set on one sheet at 16, 24, 32 and 48 px, for a person to look at.
    void renderSheet()
    {
        const QString dir = qEnvironmentVariable("ULVEX_SHOT_DIR");
        const QList<int> ids = ResourceImages::ids();
        const QList<int> sides = {16, 24, 32, 48};
        QImage sheet(20 + ids.size() * 60, 20 + sides.size() * 60 + 120, QImage::Format_ARGB32);
        sheet.fill(Qt::white);
        QPainter p(&sheet);
        for (int row = 0; row < sides.size(); ++row)
            for (int col = 0; col < ids.size(); ++col)
                p.drawPixmap(20 + col * 60, 20 + row * 60,
                             ResourceImages::icon(ids[col]).pixmap(sides[row], sides[row]));
        p.drawPixmap(20, 20 + sides.size() * 60,
                     ResourceImages::pixmap(ResourceImages::Logo, QSize(400, 100)));
        p.end();
        if (dir.isEmpty())
            QSKIP("set ULVEX_SHOT_DIR to write the icon sheet");
        QVERIFY(sheet.save(QDir(dir).filePath("icons.png")));
    }
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
