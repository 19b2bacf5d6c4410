#include "data/clsBusinessLayer.h"

#include "data/DataErrors.h"
#include "data/WindowControl.h"
#include "data/basSafeRoutines.h"
#include "base/UlvexError.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QWidget>

#include <cmath>
#include <limits>

namespace {

const QString kSimulation = QStringLiteral("Simulation");

bool checked(QWidget *window, const char *name)
{
    return windowControl<QCheckBox>(window, name)->isChecked();
}

// A 16-bit integer as the soil label's tag holds it: a number, a half rounded
// to the even neighbour, within -32768..32767.
qint16 toInt16(const QVariant &value, const QString &what)
{
    bool ok = false;
    const double number = value.toString().trimmed().toDouble(&ok);
    if (!ok)
        throw UlvexError(DataErrors::TypeMismatch,
                         QStringLiteral("%1 \"%2\" is not a number").arg(what, value.toString()));
    const double rounded = std::nearbyint(number);
    if (rounded < std::numeric_limits<qint16>::min() || rounded > std::numeric_limits<qint16>::max())
        throw UlvexError(DataErrors::Overflow,
                         QStringLiteral("%1 %2 does not fit a 16-bit integer")
                             .arg(what, value.toString()));
    return qint16(rounded);
}

// A list position plus 1, as a 16-bit integer.
qint16 positionNumber(QComboBox *list)
{
    const int number = list->currentIndex() + 1;
    if (number > std::numeric_limits<qint16>::max())
        throw UlvexError(DataErrors::Overflow,
                         QStringLiteral("Position %1 of %2 does not fit a 16-bit integer")
                             .arg(number)
                             .arg(list->objectName()));
    return qint16(number);
}

} // namespace

clsDataLayer &clsBusinessLayer::dataLayer()
{
    if (!m_dataLayer)
        m_dataLayer = std::make_unique<clsDataLayer>();
    return *m_dataLayer;
}

clsUserConLayer &clsBusinessLayer::userConLayer()
{
    if (!m_userConLayer)
        m_userConLayer = std::make_unique<clsUserConLayer>();
    return *m_userConLayer;
}

QString clsBusinessLayer::showFixed(
    const QString &dataset, const QString &sql, QWidget *window,
    QString (clsUserConLayer::*show)(const QString &, const DatasetCollection &, QWidget *))
{
    QString result = dataLayer().sfDatasetLoad(dataset, sql);
    if (result.isEmpty())
        result = (userConLayer().*show)(dataset, dataLayer().Datasets(), window);
    return result;
}

QString clsBusinessLayer::ShowComboSoil(QWidget *window)
{
    return showFixed(QStringLiteral("Soil"),
                     QStringLiteral("Select * from SoilTypeData Order by SoilTypeNo"), window,
                     &clsUserConLayer::sfRowDataSetShow);
}

QString clsBusinessLayer::ShowComboFlow(QWidget *window)
{
    return showFixed(QStringLiteral("Flow"),
                     QStringLiteral("Select * from FlowRateData Order by FlowRateNo"), window,
                     &clsUserConLayer::sfColDataSetShow);
}

QString clsBusinessLayer::ShowComboTime(QWidget *window)
{
    return showFixed(QStringLiteral("Time"), QStringLiteral("Select * from TimeData Order by ID"),
                     window, &clsUserConLayer::sfColDataSetShow);
}

QString clsBusinessLayer::ShowSoilLV(QWidget *window)
{
    return showFixed(QStringLiteral("Soil"),
                     QStringLiteral("Select Name,Texture,[Clay (%)],[Soil Classification] ")
                         + QStringLiteral("from SoilTypeData Order by SoilTypeNo"),
                     window, &clsUserConLayer::sfLVDataSetShow);
}

QString clsBusinessLayer::SimulationTable(QWidget *window)
{
    const QString family = checked(window, "chkBuried") ? QStringLiteral("BuriedData")
                                                        : QStringLiteral("SurfaceData");
    // Tested dry, moist, wet; each one set overwrites the choice. The bare
    // "-c" is the dry (10 m) table.
    QString table;
    if (checked(window, "chkDry"))
        table = QStringLiteral("[") + family + QStringLiteral("-c]");
    if (checked(window, "chkMoist"))
        table = QStringLiteral("[") + family + QStringLiteral("-c6]");
    if (checked(window, "chkWet"))
        table = QStringLiteral("[") + family + QStringLiteral("-c3]");
    return table;
}

QString clsBusinessLayer::ShowGraph(QWidget *window)
{
    using basSafeRoutines::FormatSqlValue;
    const QString table = SimulationTable(window);
    const qint16 soil = toInt16(windowControl<QLabel>(window, "lblSoilDes")->property("Tag"),
                                QStringLiteral("The soil number"));
    const qint16 flow = positionNumber(windowControl<QComboBox>(window, "cmbFlow"));
    const qint16 time = positionNumber(windowControl<QComboBox>(window, "cmbTime"));

    const QString sql = QStringLiteral("Select * from ") + table
                        + QStringLiteral(" Where SoilType = ") + FormatSqlValue(soil)
                        + QStringLiteral(" and FlowRate = ") + FormatSqlValue(flow)
                        + QStringLiteral(" and Time <= ") + FormatSqlValue(time)
                        + QStringLiteral(" Order by Time");

    dataLayer().sfDatasetDelete(kSimulation);
    QString result = dataLayer().sfDatasetLoad(kSimulation, sql);
    if (result.isEmpty())
        result = userConLayer().UpdateGraph(kSimulation, dataLayer().Datasets(), window);
    return result;
}

QVector<QVector<QVariant>> clsBusinessLayer::ReturnDataForPrint(QWidget *window)
{
    using basSafeRoutines::FormatSqlValue;
    // The export reads its own tables, whatever the water content.
    const QString table = checked(window, "chkBuried") ? QStringLiteral("BuriedData")
                                                       : QStringLiteral("SurfaceData");
    const qint16 soil = toInt16(windowControl<QLabel>(window, "lblSoilDes")->property("Tag"),
                                QStringLiteral("The soil number"));
    const qint16 flow = positionNumber(windowControl<QComboBox>(window, "cmbFlow"));

    const QString sql = QStringLiteral("Select * from ") + table
                        + QStringLiteral(" Where SoilType = ") + FormatSqlValue(soil)
                        + QStringLiteral(" and FlowRate = ") + FormatSqlValue(flow)
                        + QStringLiteral(" Order by Time");

    dataLayer().sfDatasetDelete(kSimulation);
    if (!dataLayer().sfDatasetLoad(kSimulation, sql).isEmpty())
        return {};
    const auto rs = dataLayer().Datasets().value(kSimulation);
    if (!rs || !rs->isOpen() || rs->RecordCount() == 0)
        return {};
    return rs->GetRows();
}
