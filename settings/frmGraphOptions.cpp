#include "settings/frmGraphOptions.h"

#include "graph/ColorRef.h"
#include "graph/PictureBox.h"
#include "settings/basIndProfile.h"
#include "shell/ResourceImages.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QStyle>
#include <QTabBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {

// The six validated fields, in the order of the wrappers.
enum Field { EDepth, Width, MaxX, MaxY, XDecPlaces, YDecPlaces };

QLineEdit *newField(const char *name, const char *tip, QWidget *parent)
{
    auto *field = new QLineEdit(parent);
    field->setObjectName(QString::fromLatin1(name));
    field->setToolTip(QString::fromLatin1(tip));
    return field;
}

QLabel *newLabel(const char *name, const char *text, QWidget *buddy, QWidget *parent)
{
    auto *label = new QLabel(QString::fromLatin1(text), parent);
    label->setObjectName(QString::fromLatin1(name));
    label->setBuddy(buddy);
    return label;
}

QCheckBox *newCheck(const char *name, const char *text, const char *tip, QWidget *parent)
{
    auto *box = new QCheckBox(QString::fromLatin1(text), parent);
    box->setObjectName(QString::fromLatin1(name));
    box->setToolTip(QString::fromLatin1(tip));
    return box;
}

// A whole number the way the record's single-precision width is rounded for
// the sample's pen: a half goes to the even neighbour.
int roundHalfEven(float value)
{
    const double v = double(value);
    const double below = std::floor(v);
    const double diff = v - below;
    if (diff > 0.5)
        return int(below) + 1;
    if (diff < 0.5)
        return int(below);
    return std::fmod(below, 2.0) == 0.0 ? int(below) : int(below) + 1;
}

} // namespace

frmGraphOptions::frmGraphOptions(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmGraphOptions"));
    setWindowTitle(QStringLiteral("Graph Options"));
    setWindowIcon(ResourceImages::icon(114));
    buildControls();
    connect(&m_controls, &ControlsCollection::Validate, this,
            &frmGraphOptions::ControlsCollection_Validate, Qt::DirectConnection);
    connect(&m_controls, &ControlsCollection::LostFocus, this,
            &frmGraphOptions::ControlsCollection_LostFocus);
    connect(&m_controls, &ControlsCollection::GotFocus, this,
            &frmGraphOptions::ControlsCollection_GotFocus);
}

frmGraphOptions::~frmGraphOptions()
{
    m_controls.Destroy();
}

void frmGraphOptions::buildControls()
{
    auto *main = new QVBoxLayout(this);

    tabOptions = new QTabBar(this);
    tabOptions->setObjectName(QStringLiteral("tabOptions"));
    tabOptions->addTab(QStringLiteral("General Options"));
    tabOptions->setTabToolTip(0, QStringLiteral("Graphing General Options"));
    tabOptions->addTab(QStringLiteral("Axis Options"));
    tabOptions->setExpanding(false);
    tabOptions->setDrawBase(true);
    main->addWidget(tabOptions);

    // The two tab pages share one place; the tab strip shows one and hides
    // the other.
    auto *pages = new QGridLayout;
    main->addLayout(pages, 1);
    for (int i = 0; i < 2; ++i) {
        fraTab[i] = new QGroupBox(this);
        fraTab[i]->setObjectName(QStringLiteral("fraTab%1").arg(i));
        pages->addWidget(fraTab[i], 0, 0);
    }

    // General Options.
    QWidget *general = fraTab[0];
    cmbMaxSim = new QComboBox(general);
    cmbMaxSim->setObjectName(QStringLiteral("cmbMaxSim"));
    cmbMaxSim->setToolTip(QStringLiteral("Insert No. of Time Steps 1 - 6"));
    lblMaxSim = newLabel("lblMaxSim", "No. Time Steps", cmbMaxSim, general);
    radLog = newCheck("radLog", "Logarithimic Time Scale",
                      "Check for Logarithmic Timescale simulation", general);
    chkBackGround = newCheck("chkBackGround", "Color Background",
                             "Check if you want the Graph Background to be colored", general);
    txtWidth = newField("txtWidth", "Select Line Width in Points between 1 and 5", general);
    lblWidth = newLabel("lblWidth", "Line Width", txtWidth, general);
    txtEDepth = newField("txtEDepth", "Select Emitter Depth between 0.1 - 1.5 m", general);
    lblEDepth = newLabel("lblEDepth", "Emitter Depth", txtEDepth, general);

    picColorSelect = new PictureBox(general);
    picColorSelect->setObjectName(QStringLiteral("picColorSelect"));
    picColorSelect->setToolTip(QStringLiteral("Double Click to Select Color"));
    picColorSelect->setMinimumSize(96, 28);
    picColorSelect->setMouseTracking(false);
    lblSelectColor = newLabel("lblSelectColor", "Select Time Step Color", picColorSelect, general);
    lblGraph = newLabel("lblGraph", "Time Step 1", picColorSelect, general);
    cmdBack = new QPushButton(general);
    cmdBack->setObjectName(QStringLiteral("cmdBack"));
    cmdBack->setToolTip(QStringLiteral("Click to Go to Previouse Time Step"));
    cmdForward = new QPushButton(general);
    cmdForward->setObjectName(QStringLiteral("cmdForward"));
    cmdForward->setToolTip(QStringLiteral("Click to Go to Next Time Step color"));
    for (QPushButton *b : {cmdBack, cmdForward}) {
        b->setAutoDefault(false);
        b->setFixedSize(32, 28);
    }

    // Keyboard order as the controls stand: the fields, then the colour
    // selector from left to right.
    QWidget::setTabOrder(txtEDepth, cmdBack);
    QWidget::setTabOrder(cmdBack, picColorSelect);
    QWidget::setTabOrder(picColorSelect, cmdForward);

    auto *generalGrid = new QGridLayout(general);
    generalGrid->addWidget(lblMaxSim, 0, 0);
    generalGrid->addWidget(cmbMaxSim, 0, 1);
    generalGrid->addWidget(radLog, 1, 0, 1, 2);
    generalGrid->addWidget(chkBackGround, 2, 0, 1, 2);
    generalGrid->addWidget(lblWidth, 3, 0);
    generalGrid->addWidget(txtWidth, 3, 1);
    generalGrid->addWidget(lblEDepth, 4, 0);
    generalGrid->addWidget(txtEDepth, 4, 1);
    auto *colour = new QVBoxLayout;
    colour->addWidget(lblSelectColor, 0, Qt::AlignHCenter);
    colour->addWidget(lblGraph, 0, Qt::AlignHCenter);
    auto *stepper = new QHBoxLayout;
    stepper->addWidget(cmdBack);
    stepper->addWidget(picColorSelect, 1);
    stepper->addWidget(cmdForward);
    colour->addLayout(stepper);
    colour->addStretch(1);
    generalGrid->addLayout(colour, 0, 2, 5, 1);
    generalGrid->setColumnMinimumWidth(1, 72);
    generalGrid->setColumnStretch(2, 1);
    generalGrid->setHorizontalSpacing(16);
    generalGrid->setRowStretch(5, 1);

    // Axis Options.
    QWidget *axis = fraTab[1];
    fraXAxis = new QGroupBox(QStringLiteral("X Axis"), axis);
    fraXAxis->setObjectName(QStringLiteral("fraXAxis"));
    chkAutoScaleX = newCheck("chkAutoScaleX", "Auto Scale X Axis", "Check to Autoscale the X Axis", fraXAxis);
    txtMaxX = newField("txtMaxX", "Enter the Maximum X value between .2 - 2", fraXAxis);
    lblMaxX = newLabel("lblMaxX", "Max. X Axis", txtMaxX, fraXAxis);
    txtXDecPlaces = newField("txtXDecPlaces", "Enter the X axis no of Decimal Places betwee 0-2", fraXAxis);
    lblXDecPlaces = newLabel("lblXDecPlaces", "No. Dec Places", txtXDecPlaces, fraXAxis);
    fraYAxis = new QGroupBox(QStringLiteral("Y Axis"), axis);
    fraYAxis->setObjectName(QStringLiteral("fraYAxis"));
    ChkAutoScaleY = newCheck("ChkAutoScaleY", "Auto Scale Y Axis", "Check to Autoscale the Y Axis", fraYAxis);
    txtMaxY = newField("txtMaxY", "Enter the Maximum Y value between .2 - 2", fraYAxis);
    lblMaxY = newLabel("lblMaxY", "Max. Y Axis", txtMaxY, fraYAxis);
    txtYDecPlaces = newField("txtYDecPlaces", "Enter the Y axis no of Decimal Places betwee 0-2", fraYAxis);
    lblYDecPlaces = newLabel("lblYDecPlaces", "No. Dec Places", txtYDecPlaces, fraYAxis);
    const auto axisGrid = [](QGroupBox *frame, QCheckBox *autoScale, QLabel *maxLabel, QLineEdit *max,
                             QLabel *decLabel, QLineEdit *dec) {
        auto *grid = new QGridLayout(frame);
        grid->addWidget(autoScale, 0, 0, 1, 2);
        grid->addWidget(maxLabel, 1, 0);
        grid->addWidget(max, 1, 1);
        grid->addWidget(decLabel, 2, 0);
        grid->addWidget(dec, 2, 1);
        grid->setColumnMinimumWidth(1, 72);
        grid->setRowStretch(3, 1);
    };
    axisGrid(fraXAxis, chkAutoScaleX, lblMaxX, txtMaxX, lblXDecPlaces, txtXDecPlaces);
    axisGrid(fraYAxis, ChkAutoScaleY, lblMaxY, txtMaxY, lblYDecPlaces, txtYDecPlaces);
    auto *axisRow = new QHBoxLayout(axis);
    axisRow->addWidget(fraXAxis);
    axisRow->addWidget(fraYAxis);

    // Buttons and status bar.
    cmdOK = new QPushButton(QStringLiteral("Accept"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdOK->setDefault(true);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    main->addLayout(buttons);
    StatusBar1 = new QStatusBar(this);
    StatusBar1->setObjectName(QStringLiteral("StatusBar1"));
    StatusBar1->setSizeGripEnabled(false);
    main->addWidget(StatusBar1);
    main->setContentsMargins(9, 9, 9, 0);

    // Both pages take the size of the larger one, so that switching tabs
    // never changes the dialog's size.
    const QSize page = fraTab[0]->sizeHint().expandedTo(fraTab[1]->sizeHint());
    for (QGroupBox *frame : fraTab)
        frame->setMinimumSize(page);
    tabOptions_Click(0);

    // Screen readers name each control by its caption or label and describe
    // it by its tooltip.
    const auto describe = [](QWidget *w, const QString &name) {
        w->setAccessibleName(name);
        w->setAccessibleDescription(w->toolTip());
    };
    describe(tabOptions, QStringLiteral("Option pages"));
    describe(fraTab[0], tabOptions->tabText(0));
    describe(fraTab[1], tabOptions->tabText(1));
    describe(cmbMaxSim, lblMaxSim->text());
    describe(radLog, radLog->text());
    describe(chkBackGround, chkBackGround->text());
    describe(txtWidth, lblWidth->text());
    describe(txtEDepth, lblEDepth->text());
    describe(picColorSelect, lblSelectColor->text());
    describe(cmdBack, QStringLiteral("Previous Time Step"));
    describe(cmdForward, QStringLiteral("Next Time Step"));
    describe(fraXAxis, fraXAxis->title());
    describe(chkAutoScaleX, chkAutoScaleX->text());
    describe(txtMaxX, lblMaxX->text());
    describe(txtXDecPlaces, fraXAxis->title() + QStringLiteral(" ") + lblXDecPlaces->text());
    describe(fraYAxis, fraYAxis->title());
    describe(ChkAutoScaleY, ChkAutoScaleY->text());
    describe(txtMaxY, lblMaxY->text());
    describe(txtYDecPlaces, fraYAxis->title() + QStringLiteral(" ") + lblYDecPlaces->text());
    describe(cmdOK, cmdOK->text());
    describe(cmdCancel, cmdCancel->text());
    describe(StatusBar1, QStringLiteral("Status"));
    // Labels read their own text; lblGraph changes with the time step, so it
    // must not be pinned to the text it had at first.

    connect(tabOptions, &QTabBar::currentChanged, this, &frmGraphOptions::tabOptions_Changed);
    connect(cmdBack, &QPushButton::clicked, this, &frmGraphOptions::cmdBack_Click);
    connect(cmdForward, &QPushButton::clicked, this, &frmGraphOptions::cmdForward_Click);
    connect(picColorSelect, &PictureBox::doubleClicked, this, &frmGraphOptions::picColorSelect_DblClick);
    connect(cmdOK, &QPushButton::clicked, this, &frmGraphOptions::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmGraphOptions::cmdCancel_Click);
    // Return or Space on the focused sample opens the colour dialog too, so the
    // colours can be chosen without a mouse.
    picColorSelect->installEventFilter(this);
}

void frmGraphOptions::Form_Load()
{
    // 1. First tab shown, arrows on the step buttons.
    tabOptions->setCurrentIndex(0);
    tabOptions_Click(0);
    cmdBack->setIcon(style()->standardIcon(QStyle::SP_ArrowLeft));
    cmdForward->setIcon(style()->standardIcon(QStyle::SP_ArrowRight));

    // 2. The dialog's own copy of the settings. It opens whatever the file
    // holds: a value that cannot be used shows its default, so that the user
    // can repair the file here.
    m_loadProblems = basIndProfile::LoadGraphSettingsOrDefaults(m_settings);

    // 3. The watched controls and the six validated fields. The status bar
    // needs the old control's LostFocus (which clears it) before the new
    // control's GotFocus (which fills it), hence the reversed order.
    m_controls.Init(this, true);
    m_boxes[EDepth].Init(txtEDepth, CTextBox::vbSingle, 0.1, 1.5, false);
    m_boxes[Width].Init(txtWidth, CTextBox::vbInteger, 1, 5, false);
    m_boxes[MaxX].Init(txtMaxX, CTextBox::vbSingle, 0.2, 2, false);
    m_boxes[MaxY].Init(txtMaxY, CTextBox::vbSingle, 0.2, 2, false);
    m_boxes[XDecPlaces].Init(txtXDecPlaces, CTextBox::vbInteger, 0, 2, false);
    m_boxes[YDecPlaces].Init(txtYDecPlaces, CTextBox::vbInteger, 0, 2, false);

    // 4. The controls from the record. The fields are filled through their
    // filters: a value a field could not be typed with leaves it empty, to be
    // entered. The line width is a whole number of points here but a decimal
    // number in the file, where the program itself writes 1.5 as the default:
    // the field shows the nearest whole number in range, rounded as the
    // sample's pen is, so that Accept takes it without a word.
    chkBackGround->setChecked(m_settings.BackOn != 0);
    radLog->setChecked(m_settings.TimeScale == QLatin1String("LOG"));
    cmbMaxSim->clear();
    for (int i = 1; i <= 6; ++i)
        cmbMaxSim->addItem(QString::number(i));
    cmbMaxSim->setCurrentIndex(m_settings.MaxSim - 1);
    txtEDepth->setText(basIndProfile::SingleText(m_settings.EmitterDepth));
    txtWidth->setText(QString::number(std::clamp(roundHalfEven(m_settings.Width), 1, 5)));
    txtMaxX->setText(basIndProfile::SingleText(m_settings.MaxX));
    txtMaxY->setText(basIndProfile::SingleText(m_settings.MaxY));
    txtXDecPlaces->setText(QString::number(m_settings.XDecPlaces));
    txtYDecPlaces->setText(QString::number(m_settings.YDecPlaces));
    chkAutoScaleX->setChecked(m_settings.AutoScaleX != 0);
    ChkAutoScaleY->setChecked(m_settings.AutoScaleY != 0);

    // 5. The colour selector at the first time step.
    m_colorIndex = 0;
    lblGraph->setText(QStringLiteral("Time Step 1"));
    drawColorSample();
}

int frmGraphOptions::pageOf(const QWidget *control) const
{
    for (int page = 0; page < 2; ++page)
        if (control != nullptr && fraTab[page]->isAncestorOf(control))
            return page;
    return -1;
}

void frmGraphOptions::showPageOf(const QWidget *control)
{
    const int page = pageOf(control);
    if (page < 0 || page == tabOptions->currentIndex())
        return;
    const QSignalBlocker quiet(tabOptions);
    tabOptions->setCurrentIndex(page);
    tabOptions_Click(page);
}

void frmGraphOptions::tabOptions_Changed(int index)
{
    // Leaving a page is a focus change like any other: the field that has the
    // focus on it must hold a valid value first, or the page stays and the
    // focus with it. Otherwise a value could be hidden behind the other page.
    QWidget *current = m_controls.currentControl();
    const int shown = fraTab[0]->isHidden() ? 1 : 0;
    if (index != shown && pageOf(current) == shown && !m_controls.ValidateControls()) {
        const QSignalBlocker quiet(tabOptions);
        tabOptions->setCurrentIndex(shown);
        current->setFocus(Qt::OtherFocusReason);
        return;
    }
    tabOptions_Click(index);
}

void frmGraphOptions::tabOptions_Click(int index)
{
    fraTab[0]->setVisible(index == 0);
    fraTab[1]->setVisible(index == 1);
}

void frmGraphOptions::drawColorSample()
{
    // A line across the middle of a white sample, in the time step's colour
    // and the record's line width rounded to whole pixels.
    picColorSelect->setBackColor(Qt::white);
    picColorSelect->Cls();
    QImage &image = picColorSelect->image();
    QPainter painter(&image);
    QPen pen(ColorRef::toQColor(m_settings.Color[std::size_t(m_colorIndex + 1)]));
    pen.setWidth(std::max(1, roundHalfEven(m_settings.Width)));
    pen.setCapStyle(Qt::FlatCap);
    painter.setPen(pen);
    const int middle = image.height() / 2;
    painter.drawLine(0, middle, image.width(), middle);
    painter.end();
    picColorSelect->Refresh();
    // A screen reader hears which time step and which colour the sample shows.
    const QColor colour = ColorRef::toQColor(m_settings.Color[std::size_t(m_colorIndex + 1)]);
    picColorSelect->setAccessibleName(QStringLiteral("Time Step %1 Color").arg(m_colorIndex + 1));
    picColorSelect->setAccessibleDescription(
        QStringLiteral("%1, red %2, green %3, blue %4. %5")
            .arg(colour.name())
            .arg(colour.red())
            .arg(colour.green())
            .arg(colour.blue())
            .arg(picColorSelect->toolTip()));
}

void frmGraphOptions::cmdBack_Click()
{
    if (m_colorIndex <= 0)
        return;
    --m_colorIndex;
    drawColorSample();
    lblGraph->setText(QStringLiteral("Time Step ") + QString::number(m_colorIndex + 1));
}

void frmGraphOptions::cmdForward_Click()
{
    if (m_colorIndex >= 5)
        return;
    ++m_colorIndex;
    drawColorSample();
    lblGraph->setText(QStringLiteral("Time Step ") + QString::number(m_colorIndex + 1));
}

void frmGraphOptions::picColorSelect_DblClick()
{
    const std::size_t slot = std::size_t(m_colorIndex + 1);
    QColorDialog dialog(ColorRef::toQColor(m_settings.Color[slot]), this);
    dialog.setObjectName(QStringLiteral("CommonDialog1"));
    dialog.setWindowTitle(lblGraph->text() + QStringLiteral(" Color"));
    if (dialog.exec() != QDialog::Accepted)
        return; // cancelled: the colour stays as it was
    m_settings.Color[slot] = ColorRef::fromQColor(dialog.selectedColor());
    drawColorSample();
}

void frmGraphOptions::cmdOK_Click()
{
    // A refused field is always shown: its page comes to the front before the
    // message, and the focus goes into it.
    if (!m_controls.ValidateControls()) {
        if (QWidget *current = m_controls.currentControl()) {
            showPageOf(current);
            current->setFocus(Qt::OtherFocusReason);
        }
        return;
    }
    const auto validateMsg = [this](Field f, const QString &message) {
        if (!m_boxes[f].Validate(false))
            showPageOf(m_boxes[f].control());
        return m_boxes[f].ValidateMsg(message);
    };
    if (!validateMsg(EDepth, QStringLiteral("First Field must be Entered")))
        return;
    if (!validateMsg(Width, QStringLiteral("Second Field must be Entered")))
        return;

    // The colours already stand in the record. A field that does not hold a
    // number (one of the last four, never visited and filled from an unusable
    // setting) leaves its setting as it was.
    const auto single = [this](Field f, float &target) {
        const QVariant v = CTextBox::convert(m_boxes[f].text(), CTextBox::vbSingle);
        if (v.isValid())
            target = v.toFloat();
    };
    const auto whole = [this](Field f, qint16 &target) {
        const QVariant v = CTextBox::convert(m_boxes[f].text(), CTextBox::vbInteger);
        if (v.isValid())
            target = qint16(v.toInt());
    };
    single(EDepth, m_settings.EmitterDepth);
    single(Width, m_settings.Width);
    m_settings.BackOn = chkBackGround->isChecked() ? 1 : 0;
    m_settings.TimeScale = radLog->isChecked() ? QStringLiteral("LOG") : QStringLiteral("LIN");
    // No entry chosen (a number of time steps outside 1 to 6 in the file):
    // the setting stays as it was.
    if (cmbMaxSim->currentIndex() >= 0)
        m_settings.MaxSim = qint16(cmbMaxSim->currentIndex() + 1);
    m_settings.AutoScaleX = chkAutoScaleX->isChecked() ? 1 : 0;
    m_settings.AutoScaleY = ChkAutoScaleY->isChecked() ? 1 : 0;
    single(MaxX, m_settings.MaxX);
    single(MaxY, m_settings.MaxY);
    whole(XDecPlaces, m_settings.XDecPlaces);
    whole(YDecPlaces, m_settings.YDecPlaces);

    basIndProfile::SaveGraphSettings(m_settings);
    accept();
}

void frmGraphOptions::cmdCancel_Click()
{
    reject();
}

void frmGraphOptions::ControlsCollection_Validate(QWidget *Control, bool &Cancel)
{
    for (CTextBox &box : m_boxes) {
        if (box.control() != nullptr && box.control()->objectName() == Control->objectName()) {
            if (!box.Validate(false))
                Cancel = true;
            return;
        }
    }
}

void frmGraphOptions::ControlsCollection_LostFocus(QWidget *)
{
    StatusBar1->showMessage(QString());
}

void frmGraphOptions::ControlsCollection_GotFocus(QWidget *Control)
{
    StatusBar1->showMessage(Control->toolTip());
}

bool frmGraphOptions::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == picColorSelect && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) {
            picColorSelect_DblClick();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}
