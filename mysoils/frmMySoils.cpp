#include "mysoils/frmMySoils.h"

#include "data/UserDatabase.h"
#include "mysoils/ComputationProgress.h"
#include "mysoils/MySoils.h"
#include "shell/ResourceImages.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QString ksText(double metresPerSecond)
{
    return QString::number(metresPerSecond * 100.0 * 86400.0, 'g', 4);
}

// "2026-11-22T15:40:00Z" as the user's short date and time.
QString addedText(const QString &iso)
{
    const QDateTime when = QDateTime::fromString(iso, Qt::ISODate);
    if (!when.isValid())
        return iso;
    return QLocale().toString(when.toLocalTime(), QLocale::ShortFormat);
}

void tell(QWidget *parent, QMessageBox::Icon icon, const QString &text, const QString &details = QString())
{
    QMessageBox box(icon, QStringLiteral("My Soils"), text, QMessageBox::Ok, parent);
    box.setObjectName(QStringLiteral("MySoilsMessage"));
    if (!details.isEmpty())
        box.setDetailedText(details);
    box.exec();
}

// "Ulvex Simulation 2" or "Ulvex Simulation 1 and Ulvex Simulation 3".
QString listed(const QStringList &captions)
{
    if (captions.size() <= 1)
        return captions.join(QString());
    return QStringList(captions.mid(0, captions.size() - 1)).join(QStringLiteral(", "))
           + QStringLiteral(" and ") + captions.last();
}

} // namespace

frmMySoils::frmMySoils(SoilComputation *computation, QWidget *parent)
    : QDialog(parent), m_computation(computation)
{
    setObjectName(QStringLiteral("frmMySoils"));
    setWindowTitle(QStringLiteral("My Soils"));
    setWindowIcon(ResourceImages::icon(114));

    lvMySoils = new QTreeWidget(this);
    lvMySoils->setObjectName(QStringLiteral("lvMySoils"));
    lvMySoils->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Texture"),
                                QStringLiteral("Ks (cm/day)"), QStringLiteral("Added")});
    lvMySoils->setRootIsDecorated(false);
    lvMySoils->setAlternatingRowColors(true);
    lvMySoils->setAccessibleName(QStringLiteral("My soils"));
    lvMySoils->setMinimumSize(520, 180);
    lvMySoils->header()->setSectionResizeMode(0, QHeaderView::Stretch);

    lblWhere = new QLabel(this);
    lblWhere->setObjectName(QStringLiteral("lblWhere"));
    lblWhere->setWordWrap(true);
    lblWhere->setTextInteractionFlags(Qt::TextSelectableByMouse);
    prgComputation = new ComputationProgress(computation, this);

    cmdAdd = new QPushButton(QStringLiteral("Add..."), this);
    cmdAdd->setObjectName(QStringLiteral("cmdAdd"));
    cmdAdd->setToolTip(QStringLiteral("Describe a soil and compute its wetting fronts"));
    cmdRemove = new QPushButton(QStringLiteral("Remove"), this);
    cmdRemove->setObjectName(QStringLiteral("cmdRemove"));
    cmdRemove->setToolTip(QStringLiteral("Remove the chosen soil"));
    cmdClose = new QPushButton(QStringLiteral("Close"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    cmdClose->setDefault(true);
    for (QPushButton *b : {cmdAdd, cmdRemove, cmdClose})
        b->setAccessibleDescription(b->toolTip());

    auto *buttons = new QVBoxLayout;
    buttons->addWidget(cmdAdd);
    buttons->addWidget(cmdRemove);
    buttons->addStretch(1);
    buttons->addWidget(cmdClose);
    auto *row = new QHBoxLayout;
    row->addWidget(lvMySoils, 1);
    row->addLayout(buttons);
    auto *main = new QVBoxLayout(this);
    main->addLayout(row, 1);
    main->addWidget(prgComputation);
    main->addWidget(lblWhere);

    connect(cmdAdd, &QPushButton::clicked, this, &frmMySoils::cmdAdd_Click);
    connect(cmdRemove, &QPushButton::clicked, this, &frmMySoils::cmdRemove_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);
    connect(lvMySoils, &QTreeWidget::currentItemChanged, this,
            [this] { cmdRemove->setEnabled(lvMySoils->currentItem() != nullptr); });
    connect(computation, &SoilComputation::finished, this, &frmMySoils::computationFinished);
    refresh();
}

frmMySoils::~frmMySoils() = default;

void frmMySoils::refresh()
{
    lvMySoils->clear();
    for (const UserDatabase::Soil &s : MySoils::userSoils()) {
        auto *item = new QTreeWidgetItem(lvMySoils, {s.name, s.texture, ksText(s.ks), addedText(s.added)});
        item->setData(0, Qt::UserRole, s.number);
    }
    if (lvMySoils->topLevelItemCount() > 0)
        lvMySoils->setCurrentItem(lvMySoils->topLevelItem(0));
    cmdRemove->setEnabled(lvMySoils->currentItem() != nullptr);
    lblWhere->setText(lvMySoils->topLevelItemCount() == 0
                          ? QStringLiteral("You have not added a soil yet. Your soils will be kept in %1.")
                                .arg(UserDatabase::userPath())
                          : QStringLiteral("Your soils are kept in %1.").arg(UserDatabase::userPath()));
}

QWidget *frmMySoils::messageParent()
{
    return isVisible() ? static_cast<QWidget *>(this) : parentWidget();
}

bool frmMySoils::refuseWhileComputing()
{
    if (!m_computation->isRunning())
        return false;
    tell(messageParent(), QMessageBox::Information,
         QStringLiteral("Ulvex is busy: %1. Your soils can be changed again when it is done, or "
                        "after you stop it with Cancel.")
             .arg(m_computation->job().title));
    return true;
}

bool frmMySoils::startJob(const SoilComputation::Job &job)
{
    if (m_computation->start(job))
        return true;
    refuseWhileComputing();
    return false;
}

void frmMySoils::cmdAdd_Click()
{
    if (m_addForm) {
        m_addForm->raise();
        m_addForm->activateWindow();
        return;
    }
    if (refuseWhileComputing())
        return;
    openAddForm(std::nullopt);
}

void frmMySoils::openAddForm(const std::optional<frmAddSoil::Typed> &typed)
{
    // Modal to My Soils only: the frame and its windows stay usable.
    auto *form = new frmAddSoil(MySoils::startingPoints(), MySoils::takenNames(), this);
    if (typed)
        form->restore(*typed);
    form->setWindowModality(Qt::WindowModal);
    form->setAttribute(Qt::WA_DeleteOnClose);
    connect(form, &QDialog::finished, this, &frmMySoils::addFormClosed);
    m_addForm = form;
    form->show();
}

void frmMySoils::addFormClosed(int result)
{
    frmAddSoil *form = m_addForm;
    m_addForm = nullptr;
    if (!form || result != QDialog::Accepted)
        return;
    const SoilEntry soil = form->entry();
    m_typed = form->typed();
    QString why;
    const QString catalogue = MySoils::writeCatalogue(SoilEntry::catalogue({soil}), &why);
    if (catalogue.isEmpty()) {
        tell(messageParent(), QMessageBox::Warning, why);
        openAddForm(m_typed);
        return;
    }
    SoilComputation::Job job;
    job.kind = SoilComputation::Kind::Add;
    job.title = QStringLiteral("Computing %1").arg(soil.name);
    job.arguments = MySoils::addArguments(catalogue);
    job.soil = soil;
    job.catalogue = catalogue;
    if (!startJob(job))
        openAddForm(m_typed);
}

void frmMySoils::cmdRemove_Click()
{
    QTreeWidgetItem *item = lvMySoils->currentItem();
    if (item == nullptr || refuseWhileComputing())
        return;
    const QString name = item->text(0);
    const QStringList showing = m_windowsShowing ? m_windowsShowing(name) : QStringList();
    QString question = QStringLiteral("Remove the soil \"%1\" and its wetting fronts?").arg(name);
    if (!showing.isEmpty())
        question += QStringLiteral("\n\n%1 %2 it; %3 will show no graph until you choose another soil.")
                        .arg(listed(showing), showing.size() == 1 ? QStringLiteral("shows") : QStringLiteral("show"),
                             showing.size() == 1 ? QStringLiteral("that window") : QStringLiteral("those windows"));
    QMessageBox ask(QMessageBox::Question, QStringLiteral("My Soils"), question,
                    QMessageBox::Yes | QMessageBox::No, this);
    ask.setObjectName(QStringLiteral("RemoveQuestion"));
    ask.setDefaultButton(QMessageBox::No);
    if (ask.exec() != QMessageBox::Yes)
        return;
    const QStringList arguments = MySoils::removeArguments(name);
    if (arguments.isEmpty()) {
        QString why;
        if (!MySoils::removeLast(&why))
            tell(this, QMessageBox::Warning, why);
        readDatabasesAgain(false);
        return;
    }
    SoilComputation::Job job;
    job.kind = SoilComputation::Kind::Remove;
    job.title = QStringLiteral("Removing %1").arg(name);
    job.arguments = arguments;
    startJob(job);
}

void frmMySoils::readDatabasesAgain(bool tellTrouble)
{
    const QString trouble = UserDatabase::choose();
    refresh();
    emit databaseChanged();
    if (tellTrouble && !trouble.isEmpty())
        tell(messageParent(), QMessageBox::Warning, trouble);
}

void frmMySoils::computationFinished(bool ok, bool cancelled, const QString &message)
{
    const SoilComputation::Job job = m_computation->job();
    // Whatever happened, read the databases as they are now.
    readDatabasesAgain(ok);
    if (!ok && !cancelled) {
        const SoilComputation::Failure failure = m_computation->failure(message);
        tell(messageParent(), QMessageBox::Warning, failure.summary, failure.details);
    }
    // An addition that did not come through goes back to its form, as typed.
    if (!ok && job.kind == SoilComputation::Kind::Add && m_typed && !m_addForm) {
        show();
        raise();
        openAddForm(m_typed);
    }
}

void frmMySoils::offerRecompute()
{
    if (!UserDatabase::shippedIsNewer() || MySoils::userSoils().isEmpty())
        return;
    const QString shipped = UserDatabase::buildInfo(UserDatabase::shippedPath()).value(QStringLiteral("build_date"));
    if (MySoils::toldAboutShipped(shipped))
        return;
    MySoils::rememberToldAboutShipped(shipped);
    QMessageBox ask(QMessageBox::Question, QStringLiteral("My Soils"),
                    QStringLiteral("Ulvex comes with a newer database (%1) than the one your soils were "
                                   "computed on. Your soils still show as they were computed. Compute "
                                   "them again on the new database now? Ulvex stays usable meanwhile.")
                        .arg(addedText(shipped)),
                    QMessageBox::Yes | QMessageBox::No, parentWidget());
    ask.setObjectName(QStringLiteral("RecomputeQuestion"));
    if (ask.exec() != QMessageBox::Yes)
        return;
    QString why;
    const QString catalogue = MySoils::writeCatalogue(MySoils::userCatalogue(), &why);
    if (catalogue.isEmpty()) {
        tell(parentWidget(), QMessageBox::Warning, why);
        return;
    }
    SoilComputation::Job job;
    job.kind = SoilComputation::Kind::Recompute;
    job.title = QStringLiteral("Computing your soils");
    job.arguments = MySoils::recomputeArguments(catalogue);
    job.catalogue = catalogue;
    startJob(job);
}
