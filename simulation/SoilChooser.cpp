#include "simulation/SoilChooser.h"

#include "data/clsBusinessLayer.h"

#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

SoilChooser::SoilChooser(clsBusinessLayer &business, QWidget *parent)
    : QDialog(parent), m_business(business)
{
    setObjectName(QStringLiteral("frmSoilDes"));
    setWindowTitle(QStringLiteral("Select SoilType"));
    auto *layout = new QVBoxLayout(this);
    lvSoil = new QListWidget(this);
    lvSoil->setObjectName(QStringLiteral("lvSoil"));
    lvSoil->setToolTip(QStringLiteral("Select SoilType by clicking on the desired row."));
    lvSoil->setAccessibleName(QStringLiteral("Soil types"));
    lvSoil->setAccessibleDescription(lvSoil->toolTip());
    layout->addWidget(lvSoil);
    auto *cmdReturn = new QPushButton(QStringLiteral("Return"), this);
    cmdReturn->setObjectName(QStringLiteral("cmdReturn"));
    cmdReturn->setToolTip(QStringLiteral("Click to Return to Simulator"));
    cmdReturn->setAccessibleDescription(cmdReturn->toolTip());
    layout->addWidget(cmdReturn);
    connect(lvSoil, &QListWidget::itemClicked, this, &SoilChooser::choose);
    connect(cmdReturn, &QPushButton::clicked, this, &SoilChooser::choose);
}

bool SoilChooser::load()
{
    lvSoil->clear();
    // The soil label's dataset, loaded when the window filled its choices.
    QStringList names;
    const std::shared_ptr<clsRecordset> soils = m_business.dataLayer().Datasets().value(QStringLiteral("Soil"));
    if (soils && soils->isOpen()) {
        const int column = soils->fieldIndex(QStringLiteral("Name"));
        const QVector<QVector<QVariant>> rows = soils->GetRows();
        if (column >= 0 && column < rows.size())
            for (const QVariant &v : rows.at(column))
                names << v.toString();
    }
    lvSoil->addItems(names);
    if (names.isEmpty())
        return false;
    const int row = qBound(1, int(intSelectedIndex), int(names.size())) - 1;
    lvSoil->setCurrentRow(row);
    return true;
}

void SoilChooser::choose()
{
    QListWidgetItem *item = lvSoil->currentItem();
    if (item) {
        strSelectedSoil = item->text();
        intSelectedIndex = qint16(lvSoil->row(item) + 1);
    }
    accept();
}
