#pragma once

#include "scenario/Scenario.h"
#include "solver/CaseSpec.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>
#include <vector>

// Reads a design scenario file (JSON) into a scenario::Scenario. Every
// problem is collected, each one line naming the file and the field as the
// file spells it ("scenario.json: layers[1].n: n 12 lies outside 1.09 to
// 2.8"), so that a user can correct them all at once; nothing is computed
// from a file with a problem. Soils are either given by their van
// Genuchten-Mualem values or named: a name is looked up, without regard to
// case, in the soils the builder was given (a catalogue or a database).
//
// The file's keys, units and defaults are documented in builder/README.md,
// "Design scenarios".
class ScenarioReader
{
public:
    struct Result
    {
        scenario::Scenario scenario;
        QStringList problems; // empty when the scenario may be computed
    };

    // `known`: the soils a layer may name; `knownSource` says where they come
    // from in a message about an unknown name.
    ScenarioReader(std::vector<solver::SoilParams> known, QString knownSource);

    Result readFile(const QString &path) const;
    Result read(const QByteArray &json, const QString &fileName) const;

private:
    class Context;
    void readLayers(Context &c, const QJsonValue &v) const;
    scenario::Scenario::Soil readSoil(Context &c, const QJsonValue &v, const QString &at) const;
    scenario::Scenario::Soil soilByValues(Context &c, const QJsonObject &o, const QString &at) const;
    scenario::Scenario::Soil soilByName(Context &c, const QString &name, const QString &at) const;
    void readInitial(Context &c, const QJsonValue &v) const;
    void readEmitter(Context &c, const QJsonValue &v) const;
    void readSchedule(Context &c, const QJsonValue &v) const;
    void readOutputs(Context &c, const QJsonValue &v) const;

    std::vector<solver::SoilParams> m_known;
    QString m_knownSource;
};
