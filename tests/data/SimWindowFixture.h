#pragma once

#include "graph/GraphEllipse.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QStringList>
#include <QWidget>

#include <memory>

// A bare window with the controls a simulation window offers the data layers,
// under their names and with their bindings: the emitter and water-content
// options, the time and flow lists, the soil label and the graph.
struct SimWindowFixture
{
    std::unique_ptr<QWidget> window;
    QCheckBox *chkBuried, *chkSurface, *chkWet, *chkMoist, *chkDry;
    QComboBox *cmbTime, *cmbFlow;
    QLabel *lblSoilDes;
    GraphEllipse *graph;

    SimWindowFixture() : window(std::make_unique<QWidget>())
    {
        window->setObjectName("frmMain");
        auto check = [&](const char *name) {
            auto *c = new QCheckBox(window.get());
            c->setObjectName(name);
            return c;
        };
        chkBuried = check("chkBuried");
        chkSurface = check("chkSurface");
        chkWet = check("chkWet");
        chkMoist = check("chkMoist");
        chkDry = check("chkDry");
        cmbTime = new QComboBox(window.get());
        cmbTime->setObjectName("cmbTime");
        cmbTime->setProperty("DataField", "Time.Time");
        cmbFlow = new QComboBox(window.get());
        cmbFlow->setObjectName("cmbFlow");
        cmbFlow->setProperty("DataField", "Flow.FlowRate");
        lblSoilDes = new QLabel(window.get());
        lblSoilDes->setObjectName("lblSoilDes");
        lblSoilDes->setProperty("DataField", "Soil.Name");
        graph = new GraphEllipse(window.get());
        graph->setObjectName("GraphEllipse1");
        window->resize(graph->size());
    }

    // Fills the lists by hand: times "1".."hours", flows as given.
    void fillLists(int hours = 24, const QStringList &flows = {"0.5", "1", "2", "4"})
    {
        cmbTime->clear();
        for (int h = 1; h <= hours; ++h)
            cmbTime->addItem(QString::number(h));
        cmbFlow->clear();
        cmbFlow->addItems(flows);
    }

    // water: 'w' wet, 'm' moist, 'd' dry, anything else none.
    void choose(bool buried, char water, int soil, int flowIndex, int timeIndex,
                const QString &soilName = QString())
    {
        chkBuried->setChecked(buried);
        chkSurface->setChecked(!buried);
        chkWet->setChecked(water == 'w');
        chkMoist->setChecked(water == 'm');
        chkDry->setChecked(water == 'd');
        lblSoilDes->setProperty("Tag", QString::number(soil));
        lblSoilDes->setText(soilName.isEmpty() ? QStringLiteral("Soil %1").arg(soil) : soilName);
        cmbFlow->setCurrentIndex(flowIndex);
        cmbTime->setCurrentIndex(timeIndex);
    }
};
