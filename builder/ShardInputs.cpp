#include "builder/ShardInputs.h"

#include "builder/TrickleBuildErrors.h"
#include "base/UlvexError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QStringList>
#include <QtEndian>

#include <algorithm>

namespace ShardInputs {

namespace {

QByteArray utf8(const QString &text)
{
    return text.toUtf8();
}

QJsonArray numbers(const std::vector<double> &values)
{
    QJsonArray a;
    for (double v : values)
        a.append(TrickleBuild::exactNumber(v));
    return a;
}

} // namespace

Rows collect(const TrickleBuildOptions &options, const QByteArray &catalogue, const QByteArray &base)
{
    Rows rows;
    rows[QStringLiteral("builder_version")] = QByteArrayLiteral(ULVEX_VERSION);
    if (!options.soilsPath.isEmpty()) {
        rows[QStringLiteral("catalogue_name")] = utf8(QFileInfo(options.soilsPath).fileName());
        rows[QStringLiteral("catalogue")] = catalogue;
    }
    if (!options.basePath.isEmpty()) {
        rows[QStringLiteral("base_name")] = utf8(QFileInfo(options.basePath).fileName());
        rows[QStringLiteral("base")] = base;
    }
    // The sweep as it is computed: a default given explicitly and the same
    // default left out are the same build. On a base the sweep is the base's.
    QJsonObject o;
    if (options.basePath.isEmpty()) {
        o[QStringLiteral("flows")] = numbers(options.flowRates.value_or(TrickleBuild::defaultFlowRates()));
        o[QStringLiteral("hours")] = options.hours.value_or(TrickleBuild::kDefaultHours);
        o[QStringLiteral("front_threshold")] = TrickleBuild::exactNumber(options.frontThreshold.value_or(0.1));
    }
    // --only and --drop-soil in a fixed order: the order given does not change the build.
    QStringList only;
    for (const auto &c : options.only)
        only << TrickleBuild::caseText(c);
    only.sort();
    o[QStringLiteral("only")] = QJsonArray::fromStringList(only);
    std::vector<int> drops = options.dropSoils;
    std::sort(drops.begin(), drops.end());
    QJsonArray dropArray;
    for (int n : drops)
        dropArray.append(n);
    o[QStringLiteral("drop_soils")] = dropArray;
    o[QStringLiteral("solver_settings")] = options.solverSettings;
    o[QStringLiteral("surface_source")] = TrickleBuild::surfaceSourceText(options.surfaceFluxRadius);
    o[QStringLiteral("check_mesh")] = options.checkMesh;
    rows[QStringLiteral("options")] = QJsonDocument(o).toJson(QJsonDocument::Compact);
    return rows;
}

QByteArray readFile(const QString &path)
{
    if (path.isEmpty())
        return QByteArray();
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw UlvexError(TrickleBuildErrors::FileSystem, QStringLiteral("cannot read %1: %2").arg(path, f.errorString()));
    QByteArray bytes = f.readAll();
    if (f.error() != QFileDevice::NoError)
        throw UlvexError(TrickleBuildErrors::FileSystem, QStringLiteral("cannot read %1: %2").arg(path, f.errorString()));
    return bytes;
}

QString fingerprint(const Rows &rows)
{
    // Each row as its name, a zero byte, its length and its bytes, so that no
    // two different sets of rows hash the same text.
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const auto &row : rows) {
        hash.addData(row.first.toUtf8());
        hash.addData(QByteArrayView("\0", 1));
        const quint64 length = qToBigEndian(quint64(row.second.size()));
        hash.addData(QByteArrayView(reinterpret_cast<const char *>(&length), sizeof length));
        hash.addData(row.second);
    }
    return QString::fromLatin1(hash.result().toHex());
}

QString partialNote(int shard, int shards)
{
    return QStringLiteral("shard %1 of %2 of a build; merge the parts with trickle-build --merge").arg(shard).arg(shards);
}

bool parseShard(const QString &text, int &shard, int &shards)
{
    const QStringList parts = text.split(QLatin1Char('/'));
    if (parts.size() != 2)
        return false;
    bool okK = false, okN = false;
    shard = parts[0].trimmed().toInt(&okK);
    shards = parts[1].trimmed().toInt(&okN);
    return okK && okN && shard >= 1 && shard <= shards;
}

TrickleBuildOptions restore(const Rows &rows, const QString &folder, const QString &source, Files &files)
{
    auto damaged = [&](const QString &what) {
        return UlvexError(TrickleBuildErrors::Merge,
                          QStringLiteral("%1 is not a usable partial database of trickle-build: its ShardInputs %2").arg(source, what));
    };
    auto fileName = [&](const QString &key) {
        const QString name = QString::fromUtf8(rows.at(key));
        if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..") || name.contains(QLatin1Char('/')))
            throw damaged(QStringLiteral("hold the file name \"%1\" (%2)").arg(name, key));
        return name;
    };
    TrickleBuildOptions o;
    files.clear();
    // Catalogue and base in folders of their own, so that their names never meet.
    for (const char *kind : {"catalogue", "base"}) {
        const QString nameKey = QLatin1String(kind) + QStringLiteral("_name");
        const bool hasName = rows.count(nameKey) != 0, hasBytes = rows.count(QLatin1String(kind)) != 0;
        if (hasName != hasBytes)
            throw damaged(QStringLiteral("hold %1 without %2").arg(hasName ? nameKey : QLatin1String(kind), hasName ? QLatin1String(kind) : nameKey));
        if (!hasName)
            continue;
        const QString path = QDir(folder).filePath(QLatin1String(kind) + QLatin1Char('/') + fileName(nameKey));
        files.emplace_back(path, rows.at(QLatin1String(kind)));
        (QLatin1String(kind) == QLatin1String("base") ? o.basePath : o.soilsPath) = path;
    }

    const auto optionsRow = rows.find(QStringLiteral("options"));
    if (optionsRow == rows.end())
        throw damaged(QStringLiteral("lack the options"));
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(optionsRow->second, &error);
    if (!doc.isObject())
        throw damaged(QStringLiteral("hold options that are not a JSON object (%1)").arg(error.errorString()));
    const QJsonObject json = doc.object();
    const QLocale c = QLocale::c();
    auto number = [&](const QJsonValue &v, const char *what) {
        bool ok = false;
        const double x = c.toDouble(v.toString(), &ok);
        if (!ok)
            throw damaged(QStringLiteral("hold the %1 \"%2\", not a number").arg(QLatin1String(what), v.toString()));
        return x;
    };
    if (json.contains(QStringLiteral("flows"))) {
        std::vector<double> flows;
        for (const QJsonValue &v : json.value(QStringLiteral("flows")).toArray())
            flows.push_back(number(v, "flow rate"));
        o.flowRates = flows;
    }
    if (json.contains(QStringLiteral("hours")))
        o.hours = json.value(QStringLiteral("hours")).toInt();
    if (json.contains(QStringLiteral("front_threshold")))
        o.frontThreshold = number(json.value(QStringLiteral("front_threshold")), "front threshold");
    try {
        for (const QJsonValue &v : json.value(QStringLiteral("only")).toArray())
            o.only.push_back(TrickleBuild::parseCase(v.toString()));
    } catch (const UlvexError &e) {
        throw damaged(QStringLiteral("hold a bad case: %1").arg(e.description()));
    }
    for (const QJsonValue &v : json.value(QStringLiteral("drop_soils")).toArray())
        o.dropSoils.push_back(v.toInt());
    o.solverSettings = json.value(QStringLiteral("solver_settings")).toString();
    const QString surfaceSource = json.value(QStringLiteral("surface_source")).toString();
    if (!surfaceSource.isEmpty() && surfaceSource != TrickleBuild::surfaceSourceText(0)) {
        // "flux disc R m"
        const QStringList words = surfaceSource.split(QLatin1Char(' '));
        bool ok = false;
        o.surfaceFluxRadius = words.size() == 4 ? c.toDouble(words[2], &ok) : 0.0;
        if (!ok || TrickleBuild::surfaceSourceText(o.surfaceFluxRadius) != surfaceSource)
            throw damaged(QStringLiteral("hold the surface source \"%1\"").arg(surfaceSource));
    }
    o.checkMesh = json.value(QStringLiteral("check_mesh")).toBool();
    return o;
}

} // namespace ShardInputs
