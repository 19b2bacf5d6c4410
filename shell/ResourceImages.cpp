#include "shell/ResourceImages.h"

#include <QFile>
#include <QFont>
#include <QHash>
#include <QPainter>
#include <QSvgRenderer>
#include <QtGlobal>

// The resource file is compiled into a static library; nothing else refers to
// its registration code, so it is pulled in and run explicitly here. The macro
// has to be used outside any namespace.
static void initUlvexImages()
{
    static bool done = false;
    if (!done) {
        Q_INIT_RESOURCE(ulvex_images);
        done = true;
    }
}

namespace {

struct Entry
{
    int id;
    const char *key;
    const char *file;
};

// The first entry is the program icon (image list 1), the others follow the
// order of the toolbar's image list.
const Entry kEntries[] = {
    {ResourceImages::Water, "water", ":/ulvex/icons/water.svg"},
    {ResourceImages::Exit, "exit", ":/ulvex/icons/exit.svg"},
    {ResourceImages::Print, "print", ":/ulvex/icons/print.svg"},
    {ResourceImages::Graph, "graph", ":/ulvex/icons/graph.svg"},
    {ResourceImages::PrintPreview, "printpreview", ":/ulvex/icons/printpreview.svg"},
    {ResourceImages::Simulate, "simulate", ":/ulvex/icons/simulate.svg"},
    {ResourceImages::SoilType, "soiltype", ":/ulvex/icons/soiltype.svg"},
    {ResourceImages::Logo, "logo", ":/ulvex/icons/logo.svg"},
};

const Entry *find(int id)
{
    for (const Entry &e : kEntries) {
        if (e.id == id)
            return &e;
    }
    return nullptr;
}

const Entry *findChecked(int id)
{
    const Entry *e = find(id);
    Q_ASSERT_X(e, "ResourceImages", "unknown image resource id");
    if (!e)
        qWarning("ResourceImages: unknown image resource id %d", id);
    return e;
}

QPixmap render(const Entry &e, const QSize &size)
{
    initUlvexImages();
    if (size.isEmpty())
        return QPixmap();
    QSvgRenderer renderer(QString::fromLatin1(e.file));
    if (!renderer.isValid())
        return QPixmap();
    QPixmap pm(size);
    pm.fill(Qt::transparent);
    QSizeF natural = renderer.defaultSize();
    QSizeF fitted = natural.scaled(QSizeF(size), Qt::KeepAspectRatio);
    QRectF target(QPointF((size.width() - fitted.width()) / 2.0,
                          (size.height() - fitted.height()) / 2.0),
                  fitted);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    renderer.render(&p, target);
    p.end();
    return pm;
}

} // namespace

namespace ResourceImages {

QList<int> ids()
{
    QList<int> list;
    for (const Entry &e : kEntries)
        list.append(e.id);
    return list;
}

bool isKnown(int id)
{
    return find(id) != nullptr;
}

QString key(int id)
{
    const Entry *e = find(id);
    return e ? QString::fromLatin1(e->key) : QString();
}

QString resourcePath(int id)
{
    initUlvexImages();
    const Entry *e = find(id);
    return e ? QString::fromLatin1(e->file) : QString();
}

QSize naturalSize(int id)
{
    initUlvexImages();
    const Entry *e = find(id);
    if (!e)
        return QSize();
    QSvgRenderer renderer(QString::fromLatin1(e->file));
    return renderer.isValid() ? renderer.defaultSize() : QSize();
}

QIcon icon(int id)
{
    const Entry *e = findChecked(id);
    if (!e)
        return QIcon();
    // Icons are asked for by every window; render each once.
    static QHash<int, QIcon> cache;
    auto it = cache.constFind(id);
    if (it != cache.constEnd())
        return *it;
    QIcon result;
    for (int side : {16, 20, 22, 24, 32, 48, 64, 128, 256}) {
        QPixmap pm = render(*e, QSize(side, side));
        if (!pm.isNull())
            result.addPixmap(pm);
    }
    cache.insert(id, result);
    return result;
}

QPixmap pixmap(int id, const QSize &size)
{
    const Entry *e = findChecked(id);
    if (!e)
        return QPixmap();
    return render(*e, size);
}

void registerFontSubstitutes()
{
    const QString verdana = QStringLiteral("Verdana");
    const QString dejavu = QStringLiteral("DejaVu Sans");
    if (!QFont::substitutes(verdana).contains(dejavu, Qt::CaseInsensitive))
        QFont::insertSubstitution(verdana, dejavu);
}

} // namespace ResourceImages
