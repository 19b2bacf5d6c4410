#include "mysoils/frmTextureEstimate.h"

#include "mysoils/SoilEntry.h"
#include "shell/ResourceImages.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

namespace {

struct FieldDesign
{
    const char *name;
    const char *caption;
    const char *tip;
    double low, high;
    bool optional;
};

const FieldDesign Fields[frmTextureEstimate::FieldCount] = {
    {"txtSand", "Sand (%)", "Sand, 0.05 to 2 mm, in % of the fine earth", 0, 100, false},
    {"txtSilt", "Silt (%)", "Silt, 0.002 to 0.05 mm, in % of the fine earth", 0, 100, false},
    {"txtClay", "Clay (%)", "Clay, below 0.002 mm, in % of the fine earth", 0, 100, false},
    {"txtBulkDensity", "Bulk density (g/cm3)", "Dry bulk density, if known: it improves the estimate",
     TexturePedotransfer::LeastBulkDensity, TexturePedotransfer::MostBulkDensity, true},
    {"txtTheta33", "Water at 33 kPa (m3/m3)",
     "Water content at field capacity (33 kPa suction), if measured; needs the bulk density", 0, 1, true},
    {"txtTheta1500", "Water at 1500 kPa (m3/m3)",
     "Water content at the wilting point (1500 kPa suction), if measured; needs the water at 33 kPa", 0, 1,
     true},
};

// Four significant digits: the estimate is not better than that.
QString shown(double v)
{
    return SoilEntry::numberText(QString::number(v, 'g', 4).toDouble());
}

// A parameter estimated on a log scale: the central value and the range of
// one standard deviation either side.
QString logRange(double value, double log10Sd)
{
    return QStringLiteral("%1 to %2").arg(shown(value / std::pow(10.0, log10Sd)),
                                          shown(value * std::pow(10.0, log10Sd)));
}

QString linearRange(double value, double sd)
{
    return QStringLiteral("%1 to %2").arg(shown(std::max(0.0, value - sd)), shown(value + sd));
}

QString modelWords(int code)
{
    switch (code) {
    case 3:
        return QStringLiteral("sand, silt, clay and bulk density");
    case 4:
        return QStringLiteral("sand, silt, clay, bulk density and the water at 33 kPa");
    case 5:
        return QStringLiteral("sand, silt, clay, bulk density and the water at 33 and 1500 kPa");
    default:
        return QStringLiteral("sand, silt and clay");
    }
}

} // namespace

frmTextureEstimate::frmTextureEstimate(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmTextureEstimate"));
    setWindowTitle(QStringLiteral("Estimate from Texture"));
    setWindowIcon(ResourceImages::icon(114));
    buildControls();
    for (int f = 0; f < FieldCount; ++f) {
        const FieldDesign &d = Fields[f];
        m_boxes[std::size_t(f)].Init(field(Field(f)), CTextBox::vbDouble, d.low, d.high, d.optional);
        connect(field(Field(f)), &QLineEdit::textChanged, this, &frmTextureEstimate::update);
    }
    update();
}

void frmTextureEstimate::buildControls()
{
    auto *form = new QFormLayout;
    for (int f = 0; f < FieldCount; ++f) {
        auto *edit = new QLineEdit(this);
        edit->setObjectName(QLatin1String(Fields[f].name));
        edit->setToolTip(QLatin1String(Fields[f].tip));
        edit->setAccessibleName(QLatin1String(Fields[f].caption));
        edit->setAccessibleDescription(edit->toolTip());
        m_fields[std::size_t(f)] = edit;
        form->addRow(QLatin1String(Fields[f].caption), edit);
    }

    lvEstimate = new QTreeWidget(this);
    lvEstimate->setObjectName(QStringLiteral("lvEstimate"));
    lvEstimate->setHeaderLabels({QStringLiteral("Parameter"), QStringLiteral("Estimate"),
                                 QStringLiteral("Likely range")});
    lvEstimate->setRootIsDecorated(false);
    lvEstimate->setAccessibleName(QStringLiteral("Estimated parameters"));
    lvEstimate->setMinimumSize(420, 150);
    lvEstimate->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    lblModel = new QLabel(this);
    lblModel->setObjectName(QStringLiteral("lblModel"));
    lblModel->setWordWrap(true);

    cmdUse = new QPushButton(QStringLiteral("Use These Values"), this);
    cmdUse->setObjectName(QStringLiteral("cmdUse"));
    cmdUse->setDefault(true);
    cmdUse->setToolTip(QStringLiteral("Fill the soil's fields with the estimate; you can still change them"));
    auto *cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdUse);
    buttons->addWidget(cmdCancel);

    auto *main = new QVBoxLayout(this);
    main->addLayout(form);
    main->addWidget(lvEstimate, 1);
    main->addWidget(lblModel);
    main->addLayout(buttons);
    connect(cmdUse, &QPushButton::clicked, this, &QDialog::accept);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

std::optional<double> frmTextureEstimate::number(Field f) const
{
    const QVariant v = CTextBox::convert(field(f)->text(), CTextBox::vbDouble);
    return v.isValid() ? std::optional<double>(v.toDouble()) : std::nullopt;
}

void frmTextureEstimate::update()
{
    lvEstimate->clear();
    m_estimate.reset();
    TexturePedotransfer::Input in;
    const auto sand = number(Sand), silt = number(Silt), clay = number(Clay);
    if (!sand || !silt || !clay) {
        lblModel->setText(QStringLiteral("Enter the sand, silt and clay content of your soil."));
        cmdUse->setEnabled(false);
        return;
    }
    in.sand = *sand;
    in.silt = *silt;
    in.clay = *clay;
    in.bulkDensity = number(BulkDensity);
    in.theta33 = number(Theta33);
    in.theta1500 = number(Theta1500);
    QStringList problems;
    m_estimate = TexturePedotransfer::estimate(in, &problems);
    cmdUse->setEnabled(m_estimate.has_value());
    if (!m_estimate) {
        lblModel->setText(problems.join(QLatin1Char('\n')));
        return;
    }
    m_input = in;
    showEstimate(*m_estimate);
}

void frmTextureEstimate::showEstimate(const SoilEstimate &e)
{
    const auto row = [this](const QString &name, double value, const QString &unit, const QString &range) {
        new QTreeWidgetItem(lvEstimate, {name, shown(value) + (unit.isEmpty() ? QString() : QLatin1Char(' ') + unit),
                                         range + (unit.isEmpty() ? QString() : QLatin1Char(' ') + unit)});
    };
    row(QStringLiteral("theta_r"), e.thetaR, QStringLiteral("m3/m3"), linearRange(e.thetaR, e.thetaRSd));
    row(QStringLiteral("theta_s"), e.thetaS, QStringLiteral("m3/m3"), linearRange(e.thetaS, e.thetaSSd));
    row(QStringLiteral("alpha"), e.alpha, QStringLiteral("1/m"), logRange(e.alpha, e.log10AlphaSd));
    row(QStringLiteral("n"), e.n, QString(), logRange(e.n, e.log10NSd));
    row(QStringLiteral("Ks"), e.ks, QStringLiteral("m/day"), logRange(e.ks, e.log10KsSd));
    lblModel->setText(QStringLiteral("Estimated by the Rosetta 3 pedotransfer model from %1. The likely "
                                     "range is one standard deviation of its 1000 networks either side. A "
                                     "measured soil beats an estimate.")
                          .arg(modelWords(e.modelCode)));
}
