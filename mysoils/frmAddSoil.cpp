#include "mysoils/frmAddSoil.h"

#include "shell/ResourceImages.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QVBoxLayout>

namespace {

struct FieldDesign
{
    const char *name;    // object name
    const char *caption; // label
    const char *what;    // how messages name the field
};

const FieldDesign Fields[frmAddSoil::FieldCount] = {
    {"txtName", "Name", "Name"},
    {"txtClay", "Clay (%)", "Clay (%)"},
    {"txtClassification", "Classification", "Classification"},
    {"txtThetaR", "theta_r (m3/m3)", "theta_r"},
    {"txtThetaS", "theta_s (m3/m3)", "theta_s"},
    {"txtAlpha", "alpha", "alpha"},
    {"txtN", "n (-)", "n"},
    {"txtKs", "Ks", "Ks"},
};

QString rangeTip(const char *what, const SoilEntry::Range &r, const QString &unit)
{
    return QStringLiteral("%1, from %2 to %3%4")
        .arg(QLatin1String(what), SoilEntry::numberText(r.low), SoilEntry::numberText(r.high),
             unit.isEmpty() ? QString() : QLatin1Char(' ') + unit);
}

} // namespace

frmAddSoil::frmAddSoil(const QList<SoilEntry> &startingPoints, const QStringList &takenNames,
                       QWidget *parent)
    : QDialog(parent), m_startingPoints(startingPoints), m_takenNames(takenNames)
{
    setObjectName(QStringLiteral("frmAddSoil"));
    setWindowTitle(QStringLiteral("Add a Soil"));
    setWindowIcon(ResourceImages::icon(114));
    buildControls();

    connect(&m_controls, &ControlsCollection::Validate, this,
            &frmAddSoil::ControlsCollection_Validate, Qt::DirectConnection);
    connect(&m_controls, &ControlsCollection::GotFocus, this, &frmAddSoil::ControlsCollection_GotFocus);
    connect(&m_controls, &ControlsCollection::LostFocus, this, &frmAddSoil::ControlsCollection_LostFocus);
    // The status bar is cleared by the field left before the next one fills it.
    m_controls.Init(this, true);
    m_boxes[Name].Init(field(Name), CTextBox::vbString);
    m_boxes[Name].MaxLength = SoilEntry::MaxNameLength;
    m_boxes[Clay].Init(field(Clay), CTextBox::vbDouble, SoilEntry::clayRange().low,
                       SoilEntry::clayRange().high, true);
    m_boxes[Classification].Init(field(Classification), CTextBox::vbString, QVariant(), QVariant(), true);
    m_boxes[Classification].MaxLength = SoilEntry::MaxClassificationLength;
    m_boxes[ThetaR].Init(field(ThetaR), CTextBox::vbDouble, SoilEntry::thetaRRange().low,
                         SoilEntry::thetaRRange().high);
    m_boxes[ThetaS].Init(field(ThetaS), CTextBox::vbDouble, SoilEntry::thetaSRange().low,
                         SoilEntry::thetaSRange().high);
    m_boxes[Alpha].Init(field(Alpha), CTextBox::vbDouble);
    m_boxes[N].Init(field(N), CTextBox::vbDouble, SoilEntry::nRange().low, SoilEntry::nRange().high);
    m_boxes[Ks].Init(field(Ks), CTextBox::vbDouble);
    applyUnitRanges();
    // Cancel may be pressed whatever a field holds.
    ControlsCollection::setCausesValidation(cmdCancel, false);
}

frmAddSoil::~frmAddSoil()
{
    m_controls.Destroy();
}

void frmAddSoil::buildControls()
{
    auto *grid = new QGridLayout;
    int row = 0;
    const auto addRow = [&grid, &row, this](const QString &caption, QWidget *w, QWidget *unit = nullptr) {
        auto *label = new QLabel(caption, this);
        label->setBuddy(w);
        grid->addWidget(label, row, 0);
        if (unit) {
            grid->addWidget(w, row, 1);
            grid->addWidget(unit, row, 2);
        } else {
            grid->addWidget(w, row, 1, 1, 2);
        }
        w->setAccessibleName(caption);
        ++row;
    };

    cmbStartFrom = new QComboBox(this);
    cmbStartFrom->setObjectName(QStringLiteral("cmbStartFrom"));
    cmbStartFrom->addItem(QStringLiteral("(your own values)"));
    for (const SoilEntry &s : std::as_const(m_startingPoints))
        cmbStartFrom->addItem(s.name);
    cmbStartFrom->setToolTip(QStringLiteral("Fill the fields with a class average, then change them"));
    cmdEstimate = new QPushButton(QStringLiteral("Estimate from Texture..."), this);
    cmdEstimate->setObjectName(QStringLiteral("cmdEstimate"));
    cmdEstimate->setAutoDefault(false);
    cmdEstimate->setToolTip(QStringLiteral("Estimate the values from the soil's sand, silt and clay content"));
    addRow(QStringLiteral("Start from:"), cmbStartFrom, cmdEstimate);

    for (int f = 0; f < FieldCount; ++f) {
        auto *edit = new QLineEdit(this);
        edit->setObjectName(QLatin1String(Fields[f].name));
        m_fields[std::size_t(f)] = edit;
    }
    cmbTexture = new QComboBox(this);
    cmbTexture->setObjectName(QStringLiteral("cmbTexture"));
    cmbTexture->addItems(SoilEntry::textures());
    cmbTexture->setCurrentIndex(2);
    cmbTexture->setToolTip(QStringLiteral("Texture group: coarse (sands) to fine (clays)"));
    cmbAlphaUnit = new QComboBox(this);
    cmbAlphaUnit->setObjectName(QStringLiteral("cmbAlphaUnit"));
    for (SoilEntry::AlphaUnit u : SoilEntry::alphaUnits())
        cmbAlphaUnit->addItem(SoilEntry::unitText(u), int(u));
    cmbAlphaUnit->setCurrentIndex(1);
    cmbAlphaUnit->setToolTip(QStringLiteral("Unit of alpha"));
    cmbAlphaUnit->setAccessibleName(QStringLiteral("Unit of alpha"));
    cmbKsUnit = new QComboBox(this);
    cmbKsUnit->setObjectName(QStringLiteral("cmbKsUnit"));
    for (SoilEntry::KsUnit u : SoilEntry::ksUnits())
        cmbKsUnit->addItem(SoilEntry::unitText(u), int(u));
    cmbKsUnit->setCurrentIndex(1);
    cmbKsUnit->setToolTip(QStringLiteral("Unit of Ks"));
    cmbKsUnit->setAccessibleName(QStringLiteral("Unit of Ks"));

    field(Name)->setToolTip(QStringLiteral("Name: how the soil appears in the soil list (at most %1 characters)")
                                .arg(SoilEntry::MaxNameLength));
    field(Clay)->setToolTip(QStringLiteral("Clay (%): from 0 to 100, or empty; shown in the soil list only"));
    field(Classification)->setToolTip(
        QStringLiteral("Classification: a short description, e.g. where the soil comes from (at most %1 characters)")
            .arg(SoilEntry::MaxClassificationLength));
    field(ThetaR)->setToolTip(rangeTip("theta_r, residual water content", SoilEntry::thetaRRange(), QStringLiteral("m3/m3")));
    field(ThetaS)->setToolTip(rangeTip("theta_s, water content at saturation (above theta_r)",
                                       SoilEntry::thetaSRange(), QStringLiteral("m3/m3")));
    field(N)->setToolTip(rangeTip("n, van Genuchten shape parameter, greater than 1", SoilEntry::nRange(), QString()));

    addRow(QStringLiteral("Name"), field(Name));
    addRow(QStringLiteral("Texture group"), cmbTexture);
    addRow(QStringLiteral("Clay (%)"), field(Clay));
    addRow(QStringLiteral("Classification"), field(Classification));
    addRow(QStringLiteral("theta_r (m3/m3)"), field(ThetaR));
    addRow(QStringLiteral("theta_s (m3/m3)"), field(ThetaS));
    addRow(QStringLiteral("alpha"), field(Alpha), cmbAlphaUnit);
    addRow(QStringLiteral("n (-)"), field(N));
    addRow(QStringLiteral("Ks"), field(Ks), cmbKsUnit);
    grid->setColumnStretch(1, 1);
    grid->setColumnMinimumWidth(1, 300);

    cmdOK = new QPushButton(QStringLiteral("Compute"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdOK->setToolTip(QStringLiteral("Check the values and compute the soil's wetting fronts"));
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);

    sbrAdd = new QStatusBar(this);
    sbrAdd->setObjectName(QStringLiteral("sbrAdd"));
    sbrAdd->setSizeGripEnabled(false);
    sbrAdd->setAccessibleName(QStringLiteral("Status"));

    auto *main = new QVBoxLayout(this);
    main->addLayout(grid);
    main->addLayout(buttons);
    main->addWidget(sbrAdd);
    main->setContentsMargins(9, 9, 9, 0);

    for (QWidget *w : findChildren<QWidget *>())
        if (!w->toolTip().isEmpty() && w->accessibleDescription().isEmpty())
            w->setAccessibleDescription(w->toolTip());

    connect(cmbStartFrom, &QComboBox::activated, this, [this](int index) {
        if (index > 0)
            startFrom(index - 1);
    });
    m_alphaUnitShown = cmbAlphaUnit->currentIndex();
    m_ksUnitShown = cmbKsUnit->currentIndex();
    connect(cmbAlphaUnit, &QComboBox::currentIndexChanged, this, &frmAddSoil::alphaUnitChanged);
    connect(cmbKsUnit, &QComboBox::currentIndexChanged, this, &frmAddSoil::ksUnitChanged);
    connect(cmdEstimate, &QPushButton::clicked, this, &frmAddSoil::cmdEstimate_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmAddSoil::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

namespace {

// The number a field shows, converted by `convert`; a field that does not
// hold a number is left as it is, for the user to mend.
template <typename Convert> void convertField(QLineEdit *field, Convert convert)
{
    const QVariant v = CTextBox::convert(field->text(), CTextBox::vbDouble);
    if (v.isValid())
        field->setText(SoilEntry::numberText(convert(v.toDouble())));
}

} // namespace

template <typename Unit> void frmAddSoil::unitChanged(QComboBox *units, int &shown, Field f)
{
    const auto from = Unit(units->itemData(shown).toInt());
    const auto to = Unit(units->currentData().toInt());
    shown = units->currentIndex();
    // The range first: the field takes only numbers inside it.
    applyUnitRanges();
    convertField(field(f), [from, to](double v) { return SoilEntry::converted(v, from, to); });
}

void frmAddSoil::alphaUnitChanged()
{
    unitChanged<SoilEntry::AlphaUnit>(cmbAlphaUnit, m_alphaUnitShown, Alpha);
}

void frmAddSoil::ksUnitChanged()
{
    unitChanged<SoilEntry::KsUnit>(cmbKsUnit, m_ksUnitShown, Ks);
}

void frmAddSoil::applyUnitRanges()
{
    // The accepted range of alpha and Ks follows the unit chosen.
    const auto alphaUnit = SoilEntry::AlphaUnit(cmbAlphaUnit->currentData().toInt());
    const auto ksUnit = SoilEntry::KsUnit(cmbKsUnit->currentData().toInt());
    const SoilEntry::Range a = SoilEntry::alphaRange(alphaUnit);
    const SoilEntry::Range k = SoilEntry::ksRange(ksUnit);
    m_boxes[Alpha].MinValue = a.low;
    m_boxes[Alpha].MaxValue = a.high;
    m_boxes[Ks].MinValue = k.low;
    m_boxes[Ks].MaxValue = k.high;
    field(Alpha)->setToolTip(rangeTip("alpha, van Genuchten inverse air-entry value", a, SoilEntry::unitText(alphaUnit)));
    field(Ks)->setToolTip(rangeTip("Ks, saturated hydraulic conductivity", k, SoilEntry::unitText(ksUnit)));
    field(Alpha)->setAccessibleDescription(field(Alpha)->toolTip());
    field(Ks)->setAccessibleDescription(field(Ks)->toolTip());
}

void frmAddSoil::startFrom(int index)
{
    if (index < 0 || index >= m_startingPoints.size())
        return;
    const SoilEntry &s = m_startingPoints.at(index);
    cmbStartFrom->setCurrentIndex(index + 1);
    // In the units shown now.
    const auto alphaUnit = SoilEntry::AlphaUnit(cmbAlphaUnit->currentData().toInt());
    const auto ksUnit = SoilEntry::KsUnit(cmbKsUnit->currentData().toInt());
    const SoilEntry shown = SoilEntry::fromSi(s.name, s.texture, s.clayPercent, s.classification,
                                              s.thetaR, s.thetaS, s.alphaSi(), s.n, s.ksSi(),
                                              alphaUnit, ksUnit);
    field(Name)->setText(QStringLiteral("My ") + shown.name);
    cmbTexture->setCurrentIndex(std::max(0, int(SoilEntry::textures().indexOf(shown.texture))));
    field(Clay)->setText(shown.clayPercent ? SoilEntry::numberText(*shown.clayPercent) : QString());
    field(Classification)->setText(QStringLiteral("started from the class average of ") + shown.name);
    field(ThetaR)->setText(SoilEntry::numberText(shown.thetaR));
    field(ThetaS)->setText(SoilEntry::numberText(shown.thetaS));
    field(Alpha)->setText(SoilEntry::numberText(shown.alpha));
    field(N)->setText(SoilEntry::numberText(shown.n));
    field(Ks)->setText(SoilEntry::numberText(shown.ks));
}

frmAddSoil::Typed frmAddSoil::typed() const
{
    Typed t;
    for (int f = 0; f < FieldCount; ++f)
        t.texts[std::size_t(f)] = field(Field(f))->text();
    t.texture = cmbTexture->currentIndex();
    t.alphaUnit = cmbAlphaUnit->currentIndex();
    t.ksUnit = cmbKsUnit->currentIndex();
    t.startFrom = cmbStartFrom->currentIndex();
    return t;
}

void frmAddSoil::restore(const Typed &typed)
{
    // The units first: their change would convert the numbers restored.
    const QSignalBlocker alpha(cmbAlphaUnit);
    const QSignalBlocker ks(cmbKsUnit);
    cmbAlphaUnit->setCurrentIndex(typed.alphaUnit);
    cmbKsUnit->setCurrentIndex(typed.ksUnit);
    m_alphaUnitShown = cmbAlphaUnit->currentIndex();
    m_ksUnitShown = cmbKsUnit->currentIndex();
    applyUnitRanges();
    cmbTexture->setCurrentIndex(typed.texture);
    cmbStartFrom->setCurrentIndex(typed.startFrom);
    for (int f = 0; f < FieldCount; ++f)
        field(Field(f))->setText(typed.texts[std::size_t(f)]);
}

void frmAddSoil::cmdEstimate_Click()
{
    if (m_estimateForm) {
        m_estimateForm->raise();
        return;
    }
    // Not a nested event loop: the frame may close the forms meanwhile.
    auto *form = new frmTextureEstimate(this);
    form->setWindowModality(Qt::WindowModal);
    form->setAttribute(Qt::WA_DeleteOnClose);
    connect(form, &QDialog::accepted, this, [this, form] {
        if (form->estimate())
            useEstimate(*form->estimate(), form->input());
    });
    m_estimateForm = form;
    form->show();
}

void frmAddSoil::useEstimate(const SoilEstimate &estimate, const TexturePedotransfer::Input &texture)
{
    // Four significant digits: the estimate is not better than that.
    const auto text = [](double v) { return SoilEntry::numberText(QString::number(v, 'g', 4).toDouble()); };
    const auto alphaUnit = SoilEntry::AlphaUnit(cmbAlphaUnit->currentData().toInt());
    const auto ksUnit = SoilEntry::KsUnit(cmbKsUnit->currentData().toInt());
    cmbStartFrom->setCurrentIndex(0);
    field(ThetaR)->setText(text(estimate.thetaR));
    field(ThetaS)->setText(text(estimate.thetaS));
    field(Alpha)->setText(text(SoilEntry::converted(estimate.alpha, SoilEntry::AlphaUnit::PerMetre, alphaUnit)));
    field(N)->setText(text(estimate.n));
    field(Ks)->setText(text(SoilEntry::converted(estimate.ks, SoilEntry::KsUnit::MetrePerDay, ksUnit)));
    field(Clay)->setText(text(texture.clay));
    if (field(Classification)->text().trimmed().isEmpty())
        field(Classification)->setText(QStringLiteral("estimated from sand %1 %, silt %2 %, clay %3 %")
                                           .arg(text(texture.sand), text(texture.silt), text(texture.clay)));
}

SoilEntry frmAddSoil::entry() const
{
    SoilEntry s;
    s.name = field(Name)->text().trimmed();
    s.texture = cmbTexture->currentText();
    const QVariant clay = CTextBox::convert(field(Clay)->text(), CTextBox::vbDouble);
    if (clay.isValid())
        s.clayPercent = clay.toDouble();
    s.classification = field(Classification)->text().trimmed();
    const auto number = [this](Field f) {
        const QVariant v = CTextBox::convert(field(f)->text(), CTextBox::vbDouble);
        return v.isValid() ? v.toDouble() : -1.0;
    };
    s.thetaR = number(ThetaR);
    s.thetaS = number(ThetaS);
    s.alpha = number(Alpha);
    s.alphaUnit = SoilEntry::AlphaUnit(cmbAlphaUnit->currentData().toInt());
    s.n = number(N);
    s.ks = number(Ks);
    s.ksUnit = SoilEntry::KsUnit(cmbKsUnit->currentData().toInt());
    return s;
}

void frmAddSoil::refuse(Field f, const QString &message)
{
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Invalid Value"), message, QMessageBox::Ok, this);
    box.setObjectName(QStringLiteral("InvalidValueMessage"));
    box.exec();
    activateWindow();
    field(f)->setFocus(Qt::OtherFocusReason);
    field(f)->selectAll();
}

void frmAddSoil::cmdOK_Click()
{
    if (!m_controls.ValidateControls())
        return;
    // Each field in turn, with a message that names it and says what it takes.
    for (int f = 0; f < FieldCount; ++f) {
        CTextBox &box = m_boxes[std::size_t(f)];
        QString message;
        if (f == Name)
            message = QStringLiteral("Name must be entered (at most %1 characters)").arg(SoilEntry::MaxNameLength);
        else if (f == Classification)
            message = QStringLiteral("Classification may hold at most %1 characters").arg(SoilEntry::MaxClassificationLength);
        else
            message = field(Field(f))->toolTip();
        if (!box.ValidateMsg(message))
            return;
    }
    // The values together: theta_s above theta_r, a name not taken.
    const QStringList problems = entry().problems(m_takenNames);
    if (!problems.isEmpty()) {
        const QString first = problems.first();
        Field f = Name;
        for (int i = 0; i < FieldCount; ++i)
            if (first.startsWith(QLatin1String(Fields[i].what) + QLatin1Char(':')))
                f = Field(i);
        refuse(f, first);
        return;
    }
    accept();
}

void frmAddSoil::ControlsCollection_Validate(QWidget *control, bool &cancel)
{
    for (CTextBox &box : m_boxes)
        if (box.control() == control) {
            if (!box.Validate(false))
                cancel = true;
            return;
        }
}

void frmAddSoil::ControlsCollection_GotFocus(QWidget *control)
{
    sbrAdd->showMessage(control->toolTip());
}

void frmAddSoil::ControlsCollection_LostFocus(QWidget *)
{
    sbrAdd->showMessage(QString());
}
