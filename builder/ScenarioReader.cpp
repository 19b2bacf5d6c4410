#include "builder/ScenarioReader.h"

#include "base/SoilRanges.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

#include <cmath>
#include <optional>

using scenario::Scenario;

namespace {

constexpr double kSecondsPerDay = 86400;

QString typeName(const QJsonValue &v)
{
    switch (v.type()) {
    case QJsonValue::Null: return QStringLiteral("null");
    case QJsonValue::Bool: return QStringLiteral("true or false");
    case QJsonValue::Double: return QStringLiteral("a number");
    case QJsonValue::String: return QStringLiteral("a text");
    case QJsonValue::Array: return QStringLiteral("a list");
    case QJsonValue::Object: return QStringLiteral("an object");
    default: return QStringLiteral("nothing");
    }
}

QString join(const QString &at, const QString &key)
{
    return at.isEmpty() ? key : at + QLatin1Char('.') + key;
}

} // namespace

// The scenario being read, the problems found so far and the small checks
// every field goes through.
class ScenarioReader::Context
{
public:
    explicit Context(QString fileName) : m_fileName(std::move(fileName)) {}

    Scenario scenario;

    void problem(const QString &at, const QString &what)
    {
        m_problems << QStringLiteral("%1: %2: %3").arg(m_fileName, at, what);
        m_fields << at;
    }
    // A field that could not be read, though its own problem is told under
    // another name: the rules about it are not told.
    void unread(const QString &field) { m_fields << field; }
    // Whether a problem was told of this field, of a field within it or of
    // one that holds it ("emitter" for "emitter.flow_l_per_h").
    bool reported(const QString &field) const
    {
        for (const QString &f : m_fields) {
            const auto within = [](const QString &inner, const QString &outer) {
                return inner == outer || inner.startsWith(outer + QLatin1Char('.')) || inner.startsWith(outer + QLatin1Char('['));
            };
            if (within(field, f) || within(f, field))
                return true;
        }
        return false;
    }
    const QStringList &problems() const { return m_problems; }

    bool isObject(const QJsonValue &v, const QString &at)
    {
        if (v.isObject())
            return true;
        problem(at, QStringLiteral("must be an object ({...}), not %1").arg(typeName(v)));
        return false;
    }

    // The object of a section of the file, its keys checked; empty when it
    // is missing (a problem, told with `missing`, when that is not empty) or
    // not an object.
    std::optional<QJsonObject> section(const QJsonValue &v, const QString &at, const QStringList &keys, const QString &missing)
    {
        if (v.isUndefined()) {
            if (!missing.isEmpty())
                problem(at, missing);
            return std::nullopt;
        }
        if (!isObject(v, at))
            return std::nullopt;
        onlyKeys(v.toObject(), at, keys);
        return v.toObject();
    }

    // Keys the object may hold; any other is most likely a misspelling.
    void onlyKeys(const QJsonObject &o, const QString &at, const QStringList &allowed)
    {
        for (const QString &key : o.keys())
            if (!allowed.contains(key))
                problem(join(at, key), QStringLiteral("unknown field; %1 may hold %2").arg(at.isEmpty() ? QStringLiteral("the scenario") : at,
                                                                                          allowed.join(QStringLiteral(", "))));
    }

    // The number at o[key]; empty when it is absent (a problem when required)
    // or not a number.
    std::optional<double> number(const QJsonObject &o, const QString &at, const QString &key, bool required)
    {
        const QJsonValue v = o.value(key);
        if (v.isUndefined()) {
            if (required)
                problem(join(at, key), QStringLiteral("missing"));
            return std::nullopt;
        }
        if (!v.isDouble()) {
            problem(join(at, key), QStringLiteral("must be a number, not %1").arg(typeName(v)));
            return std::nullopt;
        }
        return v.toDouble();
    }

private:
    QString m_fileName;
    QStringList m_problems;
    QStringList m_fields;
};

ScenarioReader::ScenarioReader(std::vector<solver::SoilParams> known, QString knownSource)
    : m_known(std::move(known)), m_knownSource(std::move(knownSource))
{
}

ScenarioReader::Result ScenarioReader::readFile(const QString &path) const
{
    QFile f(path);
    const QString name = QFileInfo(path).fileName();
    if (!f.open(QIODevice::ReadOnly))
        return {Scenario(), {QStringLiteral("%1: cannot be read: %2").arg(path, f.errorString())}};
    // A scenario is a page of text; a huge file is not one.
    if (f.size() > 1024 * 1024)
        return {Scenario(), {QStringLiteral("%1: %2 bytes is too large for a scenario file").arg(path).arg(f.size())}};
    return read(f.readAll(), name);
}

ScenarioReader::Result ScenarioReader::read(const QByteArray &json, const QString &fileName) const
{
    QJsonParseError error{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError)
        return {Scenario(), {QStringLiteral("%1: not a JSON document: %2 at character %3").arg(fileName, error.errorString())
                                 .arg(error.offset)}};
    if (!doc.isObject())
        return {Scenario(), {QStringLiteral("%1: the scenario must be a JSON object ({...})").arg(fileName)}};
    Context c(fileName);
    const QJsonObject root = doc.object();
    c.onlyKeys(root, QString(), {"name", "layers", "initial", "emitter", "schedule", "outputs"});
    const QJsonValue name = root.value(QStringLiteral("name"));
    if (name.isString())
        c.scenario.name = name.toString().toStdString();
    else if (!name.isUndefined())
        c.problem(QStringLiteral("name"), QStringLiteral("must be a text, not %1").arg(typeName(name)));
    else
        c.scenario.name = QFileInfo(fileName).completeBaseName().toStdString();
    readLayers(c, root.value(QStringLiteral("layers")));
    readInitial(c, root.value(QStringLiteral("initial")));
    readEmitter(c, root.value(QStringLiteral("emitter")));
    readSchedule(c, root.value(QStringLiteral("schedule")));
    readOutputs(c, root.value(QStringLiteral("outputs")));
    // The scenario's own rules, but not about a field (or a part of one)
    // that could not be read: that would say the same thing twice.
    for (const std::string &p : c.scenario.problems()) {
        const QString text = QString::fromStdString(p);
        const int colon = text.indexOf(QLatin1String(": "));
        if (!c.reported(text.left(colon)))
            c.problem(text.left(colon), text.mid(colon + 2));
    }
    return {c.scenario, c.problems()};
}

void ScenarioReader::readLayers(Context &c, const QJsonValue &v) const
{
    if (v.isUndefined()) {
        c.problem(QStringLiteral("layers"), QStringLiteral("missing"));
        return;
    }
    if (!v.isArray()) {
        c.problem(QStringLiteral("layers"), QStringLiteral("must be a list of layers ([...]), not %1").arg(typeName(v)));
        return;
    }
    const QJsonArray layers = v.toArray();
    for (int i = 0; i < layers.size(); ++i) {
        const QString at = QStringLiteral("layers[%1]").arg(i);
        if (!c.isObject(layers.at(i), at))
            continue;
        const QJsonObject o = layers.at(i).toObject();
        c.onlyKeys(o, at, {"thickness_m", "soil"});
        Scenario::Layer layer;
        const bool last = i == layers.size() - 1;
        if (last && o.contains(QStringLiteral("thickness_m")))
            c.problem(at + QStringLiteral(".thickness_m"), QStringLiteral("the last layer reaches down without end; leave its thickness out"));
        else if (const auto t = c.number(o, at, QStringLiteral("thickness_m"), !last))
            layer.thickness = *t;
        if (!o.contains(QStringLiteral("soil")))
            c.problem(at + QStringLiteral(".soil"), QStringLiteral("missing"));
        else
            layer.soil = readSoil(c, o.value(QStringLiteral("soil")), at + QStringLiteral(".soil"));
        c.scenario.layers.push_back(layer);
    }
}

Scenario::Soil ScenarioReader::readSoil(Context &c, const QJsonValue &v, const QString &at) const
{
    if (v.isString())
        return soilByName(c, v.toString(), at);
    if (v.isObject())
        return soilByValues(c, v.toObject(), at);
    c.problem(at, QStringLiteral("must be a soil's name or its values ({\"theta_r\": ...}), not %1").arg(typeName(v)));
    return {};
}

Scenario::Soil ScenarioReader::soilByValues(Context &c, const QJsonObject &o, const QString &at) const
{
    c.onlyKeys(o, at, {"theta_r", "theta_s", "alpha_per_m", "n", "ks_m_per_day", "l"});
    Scenario::Soil s;
    const auto tr = c.number(o, at, QStringLiteral("theta_r"), true);
    const auto ts = c.number(o, at, QStringLiteral("theta_s"), true);
    const auto alpha = c.number(o, at, QStringLiteral("alpha_per_m"), true);
    const auto n = c.number(o, at, QStringLiteral("n"), true);
    const auto ks = c.number(o, at, QStringLiteral("ks_m_per_day"), true);
    if (const auto l = c.number(o, at, QStringLiteral("l"), false)) {
        s.l = *l;
        // Mualem's l is 0.5 for most soils; fitted values stray, but far
        // outside this the conductivity curve no longer falls as the soil
        // dries.
        if (!(s.l >= -1 && s.l <= 2))
            c.problem(at + QStringLiteral(".l"), QStringLiteral("l %1 lies outside -1 to 2").arg(SoilRanges::numberText(s.l)));
    }
    if (!(tr && ts && alpha && n && ks))
        return s;
    s.thetaR = *tr;
    s.thetaS = *ts;
    s.alpha = *alpha;
    s.n = *n;
    s.ks = *ks / kSecondsPerDay;
    // The accepted soils are the program's one table; its field names are
    // those of the catalogue, the file's keys carry their units.
    const std::pair<const char *, const char *> keys[] = {
        {"theta_r", "theta_r"}, {"theta_s", "theta_s"}, {"alpha", "alpha_per_m"}, {"n", "n"}, {"Ks", "ks_m_per_day"}};
    for (const SoilRanges::Problem &p : SoilRanges::problems(s.thetaR, s.thetaS, s.alpha, s.n, s.ks)) {
        QString key = p.field;
        for (const auto &k : keys)
            if (p.field == QLatin1String(k.first))
                key = QLatin1String(k.second);
        const QString units = p.field == QLatin1String("Ks")
                                  ? QStringLiteral(" (%1 m/day is %2 m/s)").arg(SoilRanges::numberText(*ks), SoilRanges::numberText(s.ks))
                                  : QString();
        c.problem(at + QLatin1Char('.') + key, p.message + units);
    }
    return s;
}

Scenario::Soil ScenarioReader::soilByName(Context &c, const QString &name, const QString &at) const
{
    for (const solver::SoilParams &p : m_known)
        if (QString::fromStdString(p.name).compare(name.trimmed(), Qt::CaseInsensitive) == 0)
            return {p.name, p.thetaR, p.thetaS, p.alpha, p.n, p.ks, 0.5};
    QStringList names;
    for (const solver::SoilParams &p : m_known)
        names << QString::fromStdString(p.name);
    c.problem(at, QStringLiteral("no soil named \"%1\" in %2; it holds %3").arg(name, m_knownSource, names.join(QStringLiteral(", "))));
    return {};
}

void ScenarioReader::readInitial(Context &c, const QJsonValue &v) const
{
    const QString at = QStringLiteral("initial");
    const auto section = c.section(v, at, {"suction_m", "water_table_m"}, QStringLiteral("missing: give {\"suction_m\": S} or {\"water_table_m\": D}"));
    if (!section)
        return;
    const QJsonObject o = *section;
    const bool suction = o.contains(QStringLiteral("suction_m")), table = o.contains(QStringLiteral("water_table_m"));
    if (suction == table) {
        c.problem(at, QStringLiteral("give either suction_m or water_table_m"));
        return;
    }
    const QString key = suction ? QStringLiteral("suction_m") : QStringLiteral("water_table_m");
    if (const auto m = c.number(o, at, key, true))
        c.scenario.initial = {suction ? Scenario::Initial::Kind::Suction : Scenario::Initial::Kind::WaterTable, *m};
}

void ScenarioReader::readEmitter(Context &c, const QJsonValue &v) const
{
    const QString at = QStringLiteral("emitter");
    const auto section = c.section(v, at, {"flow_l_per_h", "depth_m"}, QStringLiteral("missing"));
    if (!section)
        return;
    const QJsonObject o = *section;
    if (const auto q = c.number(o, at, QStringLiteral("flow_l_per_h"), true))
        c.scenario.emitter.flowLitresPerHour = *q;
    if (const auto d = c.number(o, at, QStringLiteral("depth_m"), false))
        c.scenario.emitter.depth = *d;
}

void ScenarioReader::readSchedule(Context &c, const QJsonValue &v) const
{
    const QString at = QStringLiteral("schedule");
    const auto section = c.section(v, at, {"watering_h", "total_h", "pulses"}, QStringLiteral("missing"));
    if (!section)
        return;
    const QJsonObject o = *section;
    const bool pulses = o.contains(QStringLiteral("pulses")), watering = o.contains(QStringLiteral("watering_h"));
    if (pulses == watering) {
        c.problem(at, QStringLiteral("give either watering_h (with total_h) or pulses"));
        return;
    }
    const auto total = c.number(o, at, QStringLiteral("total_h"), watering);
    if (watering) {
        const auto w = c.number(o, at, QStringLiteral("watering_h"), true);
        if (!w || !total)
            return c.unread(at);
        if (*w > *total)
            c.problem(at + QStringLiteral(".watering_h"),
                      QStringLiteral("%1 h of watering do not fit into total_h (%2 h)").arg(SoilRanges::numberText(*w), SoilRanges::numberText(*total)));
        else
            c.scenario.schedule = scenario::Schedule::wateringThenRest(*w, *total);
        return;
    }
    const QJsonValue list = o.value(QStringLiteral("pulses"));
    if (!list.isArray()) {
        c.problem(at + QStringLiteral(".pulses"), QStringLiteral("must be a list of [on_h, off_h] pairs, not %1").arg(typeName(list)));
        return c.unread(at);
    }
    std::vector<scenario::Schedule::Pulse> out;
    const QJsonArray pairs = list.toArray();
    for (int i = 0; i < pairs.size(); ++i) {
        const QJsonArray pair = pairs.at(i).toArray();
        if (!pairs.at(i).isArray() || pair.size() != 2 || !pair.at(0).isDouble() || !pair.at(1).isDouble()) {
            c.problem(QStringLiteral("%1.pulses[%2]").arg(at).arg(i), QStringLiteral("must be a pair of numbers [on_h, off_h]"));
            continue;
        }
        out.push_back({pair.at(0).toDouble(), pair.at(1).toDouble()});
    }
    if (o.contains(QStringLiteral("total_h")) && !total)
        return c.unread(at);
    const double length = scenario::Schedule(out, 0).pulsesHours();
    c.scenario.schedule = scenario::Schedule(out, total ? *total : length);
}

void ScenarioReader::readOutputs(Context &c, const QJsonValue &v) const
{
    const QString at = QStringLiteral("outputs");
    const auto section = c.section(v, at, {"every_h", "threshold", "root_zone_m"}, QString());
    if (!section)
        return;
    const QJsonObject o = *section;
    if (const auto e = c.number(o, at, QStringLiteral("every_h"), false))
        c.scenario.outputs.everyHours = *e;
    if (const auto t = c.number(o, at, QStringLiteral("threshold"), false))
        c.scenario.outputs.threshold = *t;
    if (const auto r = c.number(o, at, QStringLiteral("root_zone_m"), false))
        c.scenario.outputs.rootZone = *r;
}
