#include "output/render/RenderWindow.h"

#include "data/clsBusinessLayer.h"
#include "data/clsRecordset.h"
#include "graph/GraphEllipse.h"
#include "base/WholeFile.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSvgGenerator>

namespace {

QCheckBox *option(QWidget *parent, const char *name)
{
    auto *box = new QCheckBox(parent);
    box->setObjectName(QString::fromLatin1(name));
    return box;
}

} // namespace

RenderWindow::RenderWindow() : m_business(std::make_unique<clsBusinessLayer>())
{
    setObjectName(QStringLiteral("RenderWindow"));
    lblSoilDes = new QLabel(this);
    lblSoilDes->setObjectName(QStringLiteral("lblSoilDes"));
    lblSoilDes->setProperty("DataField", QStringLiteral("Soil.Name"));
    cmbFlow = new QComboBox(this);
    cmbFlow->setObjectName(QStringLiteral("cmbFlow"));
    cmbFlow->setProperty("DataField", QStringLiteral("Flow.FlowRate"));
    cmbTime = new QComboBox(this);
    cmbTime->setObjectName(QStringLiteral("cmbTime"));
    cmbTime->setProperty("DataField", QStringLiteral("Time.Time"));
    chkWet = option(this, "chkWet");
    chkMoist = option(this, "chkMoist");
    chkDry = option(this, "chkDry");
    chkBuried = option(this, "chkBuried");
    chkSurface = option(this, "chkSurface");
    GraphEllipse1 = new GraphEllipse(this);
    GraphEllipse1->setObjectName(QStringLiteral("GraphEllipse1"));
}

RenderWindow::~RenderWindow() = default;

void RenderWindow::loadChoices()
{
    m_business->ShowComboSoil(this);
    m_business->ShowComboFlow(this);
    m_business->ShowComboTime(this);
}

int RenderWindow::flowCount() const
{
    return cmbFlow->count();
}

int RenderWindow::timeCount() const
{
    return cmbTime->count();
}

namespace {

QStringList itemTexts(const QComboBox *box)
{
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts << box->itemText(i);
    return texts;
}

} // namespace

QStringList RenderWindow::flowTexts() const
{
    return itemTexts(cmbFlow);
}

QStringList RenderWindow::timeTexts() const
{
    return itemTexts(cmbTime);
}

std::optional<QString> RenderWindow::soilName(int soilNumber) const
{
    const auto soils = m_business->dataLayer().Datasets().value(QStringLiteral("Soil"));
    if (!soils || !soils->isOpen())
        return std::nullopt;
    const int key = soils->fieldIndex(QStringLiteral("SoilTypeNo"));
    const int name = soils->fieldIndex(QStringLiteral("Name"));
    const QVector<QVector<QVariant>> rows = soils->GetRows();
    if (key < 0 || name < 0 || key >= rows.size() || name >= rows.size())
        return std::nullopt;
    for (int r = 0; r < rows.at(key).size(); ++r)
        if (rows.at(key).at(r).toInt() == soilNumber)
            return rows.at(name).at(r).toString();
    return std::nullopt;
}

bool RenderWindow::hasSoil(int soilNumber) const
{
    return soilName(soilNumber).has_value();
}

void RenderWindow::select(const Selection &selection)
{
    // The soil label carries the soil's name and, in its tag, its number, as
    // the soil chooser leaves it.
    if (const std::optional<QString> name = soilName(selection.soil))
        lblSoilDes->setText(*name);
    lblSoilDes->setProperty("Tag", QString::number(selection.soil));
    cmbFlow->setCurrentIndex(selection.flow - 1);
    cmbTime->setCurrentIndex(selection.time - 1);
    chkWet->setChecked(selection.water == Water::Wet);
    chkMoist->setChecked(selection.water == Water::Moist);
    chkDry->setChecked(selection.water == Water::Dry);
    chkBuried->setChecked(selection.emitter == Emitter::Buried);
    chkSurface->setChecked(selection.emitter == Emitter::Surface);
}

QString RenderWindow::showGraph(const QSize &graphSize)
{
    if (GraphEllipse1->size() != graphSize) {
        // A hidden widget gets its resize event only when shown; this window
        // never is, so the graph's resize rule is applied here.
        GraphEllipse1->resize(graphSize);
        GraphEllipse1->applyResize();
    }
    return m_business->ShowGraph(this);
}

QString RenderWindow::save(const QString &fileName, const QSize &size) const
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    if (suffix == QLatin1String("png")) {
        QSaveFile file(fileName);
        QString why;
        if (!file.open(QIODevice::WriteOnly) || !GraphEllipse1->Image().save(&file, "PNG")
            || !WholeFile::commit(file, &why))
            return QStringLiteral("cannot write %1%2").arg(fileName, why.isEmpty() ? QString() : ": " + why);
        return QString();
    }
    if (suffix == QLatin1String("svg")) {
        QSaveFile file(fileName);
        if (!file.open(QIODevice::WriteOnly))
            return QStringLiteral("cannot write %1").arg(fileName);
        QSvgGenerator svg;
        svg.setOutputDevice(&file);
        svg.setSize(size);
        svg.setViewBox(QRect(QPoint(0, 0), size));
        svg.setTitle(QStringLiteral("Ulvex wetting pattern"));
        const QString result = GraphEllipse1->DrawGraphOn(&svg, size);
        if (!result.isEmpty())
            return result;
        QString why;
        if (!WholeFile::commit(file, &why))
            return QStringLiteral("cannot write %1: %2").arg(fileName, why);
        return QString();
    }
    if (suffix == QLatin1String("pdf")) {
        QSaveFile file(fileName);
        if (!file.open(QIODevice::WriteOnly))
            return QStringLiteral("cannot write %1").arg(fileName);
        {
            QPdfWriter pdf(&file);
            pdf.setResolution(96);
            pdf.setPageSize(QPageSize(QSizeF(size), QPageSize::Point));
            pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
            pdf.setTitle(QStringLiteral("Ulvex wetting pattern"));
            const QString result = GraphEllipse1->DrawGraphOn(&pdf, size);
            if (!result.isEmpty())
                return result;
        }
        QString why;
        if (!WholeFile::commit(file, &why))
            return QStringLiteral("cannot write %1: %2").arg(fileName, why);
        return QString();
    }
    return QStringLiteral("unknown output format \"%1\" (use .png, .svg or .pdf)").arg(suffix);
}
