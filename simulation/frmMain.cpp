#include "simulation/frmMain.h"

#include "data/UserDatabase.h"
#include "data/clsBusinessLayer.h"
#include "graph/GraphEllipse.h"
#include "shell/ErrorMessage.h"
#include "shell/ResourceImages.h"
#include "base/Twips.h"
#include "base/UlvexError.h"
#include "shell/basGlobals.h"
#include "shell/basHook.h"
#include "shell/frmMDIMain.h"
#include "simulation/frmSoilDes.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDialog>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QLocale>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QMouseEvent>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

namespace {

QRect tw(double left, double top, double width, double height)
{
    return QRect(Twips::toPixels(left), Twips::toPixels(top), Twips::toPixels(width),
                 Twips::toPixels(height));
}

QFont verdana()
{
    QFont f(QStringLiteral("Verdana"));
    f.setPointSizeF(8);
    return f;
}

// The status bar shows graph coordinates with two decimals and "." as the
// decimal separator, like every number the program writes.
QString twoDecimals(float v)
{
    return QString::number(double(v), 'f', 2);
}

} // namespace

frmMain::frmMain(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(QStringLiteral("Quillon")); // the frame gives each window its own caption
    buildControls();
}

frmMain::~frmMain()
{
    Unload();
}

void frmMain::buildControls()
{
    // Selection column on the left, the graph on the right; positions in twips
    // as designed, scaled from these load-time positions when the window grows.
    fraSel = new QGroupBox(QStringLiteral("Select Soil Type"), this);
    fraSel->setObjectName(QStringLiteral("fraSel"));
    fraSel->setToolTip(QStringLiteral("Click To Select Soil Type"));
    fraSel->setGeometry(tw(90, 45, 3150, 900));
    lblSoilDes = new QLabel(fraSel);
    lblSoilDes->setObjectName(QStringLiteral("lblSoilDes"));
    lblSoilDes->setToolTip(QStringLiteral("Double Click to Select Soil Type"));
    lblSoilDes->setProperty("DataField", QStringLiteral("Soil.Name"));
    lblSoilDes->setGeometry(tw(150, 360, 2850, 420));
    lblSoilDes->setFrameShape(QFrame::StyledPanel);
    lblSoilDes->installEventFilter(this);

    Frame1 = new QGroupBox(QStringLiteral("Select Flow and Time"), this);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    Frame1->setGeometry(tw(90, 1035, 3150, 1320));
    lblFlow = new QLabel(QStringLiteral("Flow (l/hr)"), Frame1);
    lblFlow->setObjectName(QStringLiteral("lblFlow"));
    lblFlow->setGeometry(tw(150, 375, 1290, 330));
    cmbFlow = new QComboBox(Frame1);
    cmbFlow->setObjectName(QStringLiteral("cmbFlow"));
    cmbFlow->setToolTip(QStringLiteral("Select Flow Rate in litres/hour"));
    cmbFlow->setProperty("DataField", QStringLiteral("Flow.FlowRate"));
    cmbFlow->setGeometry(tw(1500, 330, 1500, 360));
    lblFlow->setBuddy(cmbFlow);
    lblTime = new QLabel(QStringLiteral("Time (hr)"), Frame1);
    lblTime->setObjectName(QStringLiteral("lblTime"));
    lblTime->setGeometry(tw(150, 840, 1290, 330));
    cmbTime = new QComboBox(Frame1);
    cmbTime->setObjectName(QStringLiteral("cmbTime"));
    cmbTime->setToolTip(QStringLiteral("Select maximum time for simulation (hours)"));
    cmbTime->setProperty("DataField", QStringLiteral("Time.Time"));
    cmbTime->setGeometry(tw(1500, 795, 1500, 360));
    lblTime->setBuddy(cmbTime);

    fraWaterContents = new QGroupBox(QStringLiteral("Initial Water Conditions"), this);
    fraWaterContents->setObjectName(QStringLiteral("fraWaterContents"));
    fraWaterContents->setGeometry(tw(90, 2445, 3150, 1560));
    const char *waterNames[3] = {"chkWet", "chkMoist", "chkDry"};
    const char *waterTexts[3] = {"Wet (3m Suction)", "Moist (6m Suction)", "Dry (10m Suction)"};
    QCheckBox **waterBoxes[3] = {&chkWet, &chkMoist, &chkDry};
    grpWater = new QButtonGroup(this);
    grpWater->setExclusive(true);
    for (int i = 0; i < 3; ++i) {
        auto *box = new QCheckBox(fraWaterContents);
        box->setObjectName(QString::fromLatin1(waterNames[i]));
        box->setGeometry(tw(150, 375 + 390 * i, 300, 330));
        *waterBoxes[i] = box;
        grpWater->addButton(box, i);
        auto *label = new QLabel(QString::fromLatin1(waterTexts[i]), fraWaterContents);
        label->setObjectName(QStringLiteral("lblWater%1").arg(i));
        label->setGeometry(tw(510, 375 + 390 * i, 2550, 330));
        label->setBuddy(box);
        label->installEventFilter(this);
        lblWater[i] = label;
    }
    chkDry->setChecked(true);

    fraEmitter = new QGroupBox(QStringLiteral("Select Emitter Type"), this);
    fraEmitter->setObjectName(QStringLiteral("fraEmitter"));
    fraEmitter->setGeometry(tw(90, 4095, 3150, 1170));
    grpEmitter = new QButtonGroup(this);
    grpEmitter->setExclusive(true);
    chkBuried = new QCheckBox(fraEmitter);
    chkBuried->setObjectName(QStringLiteral("chkBuried"));
    chkBuried->setGeometry(tw(150, 375, 300, 330));
    lblBuried = new QLabel(QStringLiteral("Buried Emitter"), fraEmitter);
    lblBuried->setObjectName(QStringLiteral("lblBuried"));
    lblBuried->setGeometry(tw(510, 375, 2550, 330));
    lblBuried->setBuddy(chkBuried);
    lblBuried->installEventFilter(this);
    chkSurface = new QCheckBox(fraEmitter);
    chkSurface->setObjectName(QStringLiteral("chkSurface"));
    chkSurface->setGeometry(tw(150, 765, 300, 330));
    lblEmit = new QLabel(QStringLiteral("Surface Emitter"), fraEmitter);
    lblEmit->setObjectName(QStringLiteral("lblEmit"));
    lblEmit->setGeometry(tw(510, 765, 2550, 330));
    lblEmit->setBuddy(chkSurface);
    lblEmit->installEventFilter(this);
    grpEmitter->addButton(chkBuried, 0);
    grpEmitter->addButton(chkSurface, 1);
    chkSurface->setChecked(true);

    fraLeft = new QGroupBox(this);
    fraLeft->setObjectName(QStringLiteral("fraLeft"));
    fraLeft->setGeometry(tw(3330, 45, 2925, 5220));
    GraphEllipse1 = new GraphEllipse(fraLeft);
    GraphEllipse1->setObjectName(QStringLiteral("GraphEllipse1"));
    GraphEllipse1->setGeometry(tw(15, 45, 2895, 5130));
    GraphEllipse1->setToolTip(QString());
    connect(GraphEllipse1, &GraphEllipse::MouseMove, this, &frmMain::GraphEllipse1_MouseMove);
    connect(GraphEllipse1, &GraphEllipse::Click, this, &frmMain::GraphEllipse1_Click);
    connect(GraphEllipse1, &GraphEllipse::DblClick, this, &frmMain::GraphEllipse1_DblClick);

    sbrMain = new QStatusBar(this);
    sbrMain->setObjectName(QStringLiteral("sbrMain"));
    sbrMain->setSizeGripEnabled(false);

    tmrMain = new QTimer(this);
    tmrMain->setObjectName(QStringLiteral("tmrMain"));
    connect(tmrMain, &QTimer::timeout, this, &frmMain::tmrMain_Timer);

    // Frames, labels and lists use Verdana.
    for (QWidget *w : std::initializer_list<QWidget *>{fraSel, Frame1, fraWaterContents, fraEmitter,
                                                       fraLeft, lblSoilDes, lblFlow, lblTime, cmbFlow,
                                                       cmbTime, lblBuried, lblEmit, lblWater[0],
                                                       lblWater[1], lblWater[2]})
        w->setFont(verdana());

    // Screen readers name each control by its caption or label and describe it
    // by its tooltip.
    const auto describe = [](QWidget *w, const QString &name) {
        w->setAccessibleName(name);
        w->setAccessibleDescription(w->toolTip());
    };
    describe(fraSel, fraSel->title());
    describe(lblSoilDes, QStringLiteral("Soil type"));
    showSoilToScreenReaders();
    describe(cmbFlow, lblFlow->text());
    describe(cmbTime, lblTime->text());
    describe(chkWet, lblWater[0]->text());
    describe(chkMoist, lblWater[1]->text());
    describe(chkDry, lblWater[2]->text());
    describe(chkBuried, lblBuried->text());
    describe(chkSurface, lblEmit->text());
    describe(GraphEllipse1, QStringLiteral("Wetting pattern graph"));
    GraphEllipse1->hWnd()->setToolTip(QString());
    describe(GraphEllipse1->hWnd(), QStringLiteral("Wetting pattern graph"));
    GraphEllipse1->hWnd()->setAccessibleDescription(
        QStringLiteral("Click to update the graph, double click for the graph options"));
    describe(fraLeft, QStringLiteral("Graph"));

    setFocusPolicy(Qt::NoFocus);
}

void frmMain::ensureLoaded()
{
    if (!m_loaded)
        Form_Load();
}

void frmMain::Form_Load()
{
    m_loaded = true;
    // 1. Design size; the proportions decide the font ratio when resizing.
    resize(Twips::sizeToPixels(sngOrigWidth, sngOrigHeight));
    setMinimumSize(Twips::sizeToPixels(sngOrigWidth, sngOrigHeight));
    placeStatusBar();
    m_scaler.capture(this, [this](QWidget *w) {
        // Only the window's own controls; the graph rescales its own picture.
        if (w == GraphEllipse1)
            return ControlScaler::Rule::GeometryOnly;
        if (w == sbrMain || w->parentWidget() == sbrMain || GraphEllipse1->isAncestorOf(w))
            return ControlScaler::Rule::Untouched;
        if (qobject_cast<QComboBox *>(w) && (w == cmbFlow || w == cmbTime))
            return ControlScaler::Rule::ComboBox;
        if (w->parentWidget() == this || w->parentWidget() == fraSel || w->parentWidget() == Frame1
            || w->parentWidget() == fraWaterContents || w->parentWidget() == fraEmitter
            || w->parentWidget() == fraLeft)
            return ControlScaler::Rule::GeometryAndFont;
        return ControlScaler::Rule::Untouched;
    });

    // 2.-4. Lists, icon, first graph. A database failure stops the data steps
    // and is shown once; the window itself goes on working.
    guarded([this] {
        QString result = business().ShowComboSoil(this);
        result = business().ShowComboFlow(this);
        result = business().ShowComboTime(this);
        return result;
    });
    showSoilToScreenReaders();
    setWindowIcon(ResourceImages::icon(114));
    if (cmbFlow->count() > 0 && cmbTime->count() > 0)
        basGlobals::strLastResult = guarded([this] { return business().ShowGraph(this); });
    showGraphToScreenReaders();

    // 5.-8. The order is kept as designed: the first graph is drawn before the
    // tag is set to the first soil.
    blnNoResize = false;
    lblSoilDes->setProperty("Tag", QStringLiteral("1"));
    m_databaseSeen = UserDatabase::activeVersion();
    tmrMain->setInterval(100);
    tmrMain->start();
    blnHooked = false;
}

clsBusinessLayer &frmMain::business()
{
    if (!m_business)
        m_business = std::make_unique<clsBusinessLayer>();
    return *m_business;
}

QVector<QVector<QVariant>> frmMain::exportRows()
{
    followSoil();
    if (m_soilGone)
        return {};
    return business().ReturnDataForPrint(this);
}

void frmMain::followSoil()
{
    const QString version = UserDatabase::activeVersion();
    if (!m_loaded || version == m_databaseSeen)
        return;
    m_databaseSeen = version;
    if (m_soilGone)
        return;
    const QList<UserDatabase::Soil> soils = UserDatabase::soils(UserDatabase::activePath());
    if (soils.isEmpty())
        return; // unreadable now: the update itself will say so
    const QString name = lblSoilDes->text();
    for (const UserDatabase::Soil &soil : soils) {
        if (soil.name.compare(name, Qt::CaseInsensitive) == 0) {
            lblSoilDes->setProperty("Tag", QString::number(soil.number));
            return;
        }
    }
    showSoilGone(name);
}

QString frmMain::shownSoil() const
{
    return m_soilGone ? QString() : lblSoilDes->text();
}

QString frmMain::soilGoneText() const
{
    return QStringLiteral("The soil \"%1\" was removed: double-click the soil's name to choose another.")
        .arg(m_goneSoil);
}

void frmMain::showSoilGone(const QString &name)
{
    m_soilGone = true;
    m_goneSoil = name;
    // No number of another soil may stay behind in the tag.
    lblSoilDes->setProperty("Tag", QStringLiteral("0"));
    lblSoilDes->setText(QStringLiteral("Removed: ") + name);
    showSoilToScreenReaders();
    GraphEllipse1->RemoveAllEllipses();
    GraphEllipse1->Cls();
    showGraphToScreenReaders();
    sbrMain->showMessage(soilGoneText());
}

template <typename F> QString frmMain::guarded(F &&operation)
{
    try {
        return operation();
    } catch (const UlvexError &e) {
        ErrorMessage::show(this, e);
        return e.description();
    }
}

QString frmMain::UpdateGraph()
{
    ensureLoaded();
    followSoil();
    if (m_soilGone) {
        sbrMain->showMessage(soilGoneText());
        basGlobals::strLastResult = soilGoneText();
        return basGlobals::strLastResult;
    }
    const QString result = guarded([this] { return business().ShowGraph(this); });
    basGlobals::strLastResult = result;
    showGraphToScreenReaders();
    return result;
}

QString frmMain::SelectSoilType()
{
    ensureLoaded();
    followSoil();
    frmSoilDes chooser(this);
    chooser.intSelectedIndex = qint16(lblSoilDes->property("Tag").toString().toInt());
    chooser.setWindowTitle(QStringLiteral("Select Soil Type For ") + caption());
    bool loaded = false;
    const QString result = guarded([&chooser, &loaded] {
        const QString status = chooser.Form_Load();
        loaded = true;
        return status;
    });
    if (!loaded)
        return result;
    // Closing the chooser without choosing keeps the soil as it was.
    if (chooser.exec() != QDialog::Accepted)
        return result;
    const QString chosen = chooser.strSelectedSoil;
    // A leftover check the program keeps: it only says so.
    if (QFontMetrics(font()).horizontalAdvance(chosen) > lblSoilDes->width())
        QMessageBox::information(this, QString(), QStringLiteral("Bigger"));
    lblSoilDes->setText(chosen);
    lblSoilDes->setProperty("Tag", QString::number(chooser.intSelectedIndex));
    // The chooser listed the database as it is now.
    m_databaseSeen = UserDatabase::activeVersion();
    m_soilGone = false;
    showSoilToScreenReaders();
    return result;
}

void frmMain::showSoilToScreenReaders()
{
    // The label's accessible name stands in for its text, so it carries the
    // soil shown: a screen reader says "Soil type: Heavy Loam".
    const QString soil = lblSoilDes->text().trimmed();
    lblSoilDes->setAccessibleName(soil.isEmpty() ? QStringLiteral("Soil type")
                                                 : QStringLiteral("Soil type: ") + soil);
}

void frmMain::showGraphToScreenReaders()
{
    // The graph is a picture: its name says what it shows now, as the legend
    // does on the screen.
    QString name = QStringLiteral("Wetting pattern graph");
    if (GraphEllipse1->EllipseCount() > 0)
        name += QStringLiteral(": %1, %2 L/Hr, %3, %4 wetting fronts")
                    .arg(GraphEllipse1->SoilType(), GraphEllipse1->FlowRate(),
                         GraphEllipse1->WaterContent())
                    .arg(GraphEllipse1->EllipseCount());
    GraphEllipse1->setAccessibleName(name);
    GraphEllipse1->hWnd()->setAccessibleName(name);
}

void frmMain::GraphEllipse1_MouseMove(qint16, qint16, float x, float y)
{
    if (!blnHooked) {
        basGlobals::lngGraphHwnd = GraphEllipse1->hWnd();
        basHook::InstallMouseHook();
        blnHooked = true;
    }
    if (GraphEllipse1->EllipseCount() >= 1)
        sbrMain->showMessage(caption() + QStringLiteral("   Z = ") + twoDecimals(y)
                             + QStringLiteral("  X = ") + twoDecimals(x));
}

void frmMain::GraphEllipse1_Click()
{
    UpdateGraph();
}

void frmMain::GraphEllipse1_DblClick()
{
    if (frmParent)
        frmParent->showGraphOptions();
}

void frmMain::tmrMain_Timer()
{
    if (blnHooked && basGlobals::blnMouseLeft) {
        basHook::RemoveMouseHook();
        sbrMain->clearMessage();
        blnHooked = false;
        basGlobals::blnMouseLeft = false;
    }
}

void frmMain::placeStatusBar()
{
    const int h = sbrMain->sizeHint().height();
    sbrMain->setGeometry(0, height() - h, width(), h);
}

void frmMain::showEvent(QShowEvent *event)
{
    ensureLoaded();
    QWidget::showEvent(event);
}

void frmMain::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    placeStatusBar(); // docked at the bottom, not rescaled
    if (blnNoResize || isMinimized())
        return;
    QWidget *frameWindow = parentWidget() ? parentWidget() : this;
    const QSize minimum = Twips::sizeToPixels(sngOrigWidth, sngOrigHeight);
    const bool wider = width() > minimum.width();
    const bool taller = height() > minimum.height();
    if (frameWindow->isMaximized() && !(wider && taller))
        return;
    // Never smaller than designed: set the size back.
    if (width() < minimum.width() || height() < minimum.height()) {
        resize(std::max(width(), minimum.width()), std::max(height(), minimum.height()));
        return;
    }
    const double xRatio = double(width()) / minimum.width();
    const double yRatio = double(height()) / minimum.height();
    const double fontRatio = double(height()) / width() >= sngAspect ? xRatio : yRatio;
    m_scaler.apply(xRatio, yRatio, fontRatio);
}

void frmMain::closeEvent(QCloseEvent *event)
{
    Unload();
    event->accept();
}

bool frmMain::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonDblClick && watched == lblSoilDes) {
        basGlobals::strLastResult = SelectSoilType();
        return true;
    }
    // A click on an option's label sets the option, as users expect of a label
    // standing beside a check box.
    if (event->type() == QEvent::MouseButtonRelease) {
        if (auto *label = qobject_cast<QLabel *>(watched)) {
            if (auto *box = qobject_cast<QCheckBox *>(label->buddy())) {
                box->setChecked(true);
                return false;
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

void frmMain::Unload()
{
    if (m_unloaded)
        return;
    m_unloaded = true;
    tmrMain->stop();
    if (blnHooked && basGlobals::lngGraphHwnd == GraphEllipse1->hWnd()) {
        basHook::RemoveMouseHook();
        blnHooked = false;
    }
    SimWindowCollection &windows = basGlobals::colSimWindows();
    windows.Remove(caption());
    if (frmParent)
        frmParent->simulationWindowUnloaded(windows.Count());
    emit unloaded(this);
}
