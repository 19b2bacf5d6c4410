#include "simulation/frmSoilDes.h"

#include "data/clsBusinessLayer.h"
#include "settings/basIndProfile.h"
#include "shell/ResourceImages.h"
#include "base/Twips.h"

#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QResizeEvent>
#include <QTreeWidget>

#include <algorithm>
#include <cmath>

namespace {

QRect tw(double left, double top, double width, double height)
{
    return QRect(Twips::toPixels(left), Twips::toPixels(top), Twips::toPixels(width),
                 Twips::toPixels(height));
}

// A size in twips as the settings file holds it (16 bits).
qint16 twipsValue(int pixels)
{
    const long value = std::lround(Twips::fromPixels(pixels));
    return qint16(std::clamp(value, 0L, 32767L));
}

} // namespace

frmSoilDes::frmSoilDes(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmSoilDes"));
    setWindowTitle(QStringLiteral("Select SoilType"));
    setSizeGripEnabled(true);
    buildControls();
}

frmSoilDes::~frmSoilDes() = default;

void frmSoilDes::buildControls()
{
    // Positions in twips as designed; scaled from these when the window is
    // resized.
    resize(Twips::sizeToPixels(DesignWidth, DesignHeight));
    setMinimumSize(Twips::sizeToPixels(DesignWidth, DesignHeight));

    Frame1 = new QGroupBox(this);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    Frame1->setGeometry(tw(120, 45, 6585, 615));
    Label1 = new QLabel(QStringLiteral("Select SoilType by clicking on appropriate row."), Frame1);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setGeometry(tw(120, 120, 6345, 390));
    Label1->setAlignment(Qt::AlignVCenter | Qt::AlignLeft);

    lvSoil = new QTreeWidget(this);
    lvSoil->setObjectName(QStringLiteral("lvSoil"));
    lvSoil->setToolTip(QStringLiteral("Select SoilType by clicking on the desired row."));
    lvSoil->setGeometry(tw(120, 750, 6585, 2820));
    lvSoil->setRootIsDecorated(false);
    lvSoil->setUniformRowHeights(true);
    lvSoil->setAllColumnsShowFocus(true);
    lvSoil->setSelectionMode(QAbstractItemView::SingleSelection);
    lvSoil->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Every column keeps the width it is given, so that what is saved is what
    // the user left.
    lvSoil->header()->setStretchLastSection(false);

    cmdReturn = new QPushButton(QStringLiteral("Return"), this);
    cmdReturn->setObjectName(QStringLiteral("cmdReturn"));
    cmdReturn->setToolTip(QStringLiteral("Click to Return to Simulator"));
    cmdReturn->setGeometry(tw(5385, 3660, 1320, 420));
    // Return on the list (after moving with the arrow keys) chooses as well.
    cmdReturn->setDefault(true);

    // Screen readers name each control by its caption or label and describe
    // it by its tooltip.
    Frame1->setAccessibleName(Label1->text());
    Label1->setAccessibleName(Label1->text());
    lvSoil->setAccessibleName(QStringLiteral("Soil types"));
    lvSoil->setAccessibleDescription(lvSoil->toolTip());
    cmdReturn->setAccessibleName(cmdReturn->text());
    cmdReturn->setAccessibleDescription(cmdReturn->toolTip());

    connect(lvSoil, &QTreeWidget::itemClicked, this, [this] { Choose(); });
    connect(cmdReturn, &QPushButton::clicked, this, &frmSoilDes::Choose);
}

QString frmSoilDes::Form_Load()
{
    // The controls' load-time geometry is what every resize scales from.
    m_loadSize = Twips::sizeToPixels(DesignWidth, DesignHeight);
    resize(m_loadSize);
    m_scaler.capture(this, [this](QWidget *w) {
        if (w == lvSoil || w == Frame1 || w == Label1)
            return ControlScaler::Rule::GeometryOnly;
        if (w == cmdReturn)
            return ControlScaler::Rule::PositionOnly; // a button keeps its size
        return ControlScaler::Rule::Untouched;
    });

    // 1. Icon.
    setWindowIcon(ResourceImages::icon(114));

    // 2. The list, its column widths and this window's size from the settings.
    if (!m_business)
        m_business = std::make_unique<clsBusinessLayer>();
    const QString result = m_business->ShowSoilLV(this);
    basIndProfile::LoadLVSoilSettings(m_layout);

    // 3. The current soil highlighted.
    if (QTreeWidgetItem *item = lvSoil->topLevelItem(intSelectedIndex - 1)) {
        lvSoil->setCurrentItem(item);
        lvSoil->scrollToItem(item);
    }
    lvSoil->setFocus(Qt::OtherFocusReason);
    return result;
}

void frmSoilDes::SaveLayout()
{
    LVSoilSettings layout = m_layout;
    float *shares[] = {&layout.C1, &layout.C2, &layout.C3, &layout.C4, &layout.C5};
    const double listWidth = lvSoil->width();
    for (int column = 0; column < 5 && column < lvSoil->columnCount(); ++column)
        if (listWidth > 0)
            *shares[column] = float(lvSoil->columnWidth(column) / listWidth);
    layout.Height = twipsValue(height());
    layout.Width = twipsValue(width());
    basIndProfile::SaveLVSoilSettings(layout);
    m_layout = layout;
}

void frmSoilDes::Choose()
{
    // 1. The layout, whatever is chosen.
    SaveLayout();
    // 2. The highlighted row.
    QTreeWidgetItem *item = lvSoil->currentItem();
    if (item == nullptr) {
        reject();
        return;
    }
    strSelectedSoil = item->text(0);
    intSelectedIndex = qint16(lvSoil->indexOfTopLevelItem(item) + 1);
    // 3. Hiding the window ends the modal display.
    accept();
}

void frmSoilDes::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    if (isMinimized() || m_scaler.isEmpty() || !m_loadSize.isValid())
        return;
    const QSize minimum = Twips::sizeToPixels(DesignWidth, DesignHeight);
    if (width() < minimum.width() || height() < minimum.height()) {
        resize(std::max(width(), minimum.width()), std::max(height(), minimum.height()));
        return;
    }
    const double xRatio = double(width()) / m_loadSize.width();
    const double yRatio = double(height()) / m_loadSize.height();
    // No font rule here: the chooser keeps its font size.
    m_scaler.apply(xRatio, yRatio, 0.0);
    for (QWidget *w : {static_cast<QWidget *>(Frame1), static_cast<QWidget *>(Label1),
                       static_cast<QWidget *>(lvSoil), static_cast<QWidget *>(cmdReturn)})
        w->update();
}
