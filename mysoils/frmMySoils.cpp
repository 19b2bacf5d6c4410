#include "mysoils/frmMySoils.h"

#include "data/UserDatabase.h"
#include "mysoils/MySoils.h"
#include "mysoils/frmAddSoil.h"
#include "mysoils/frmBuildProgress.h"
#include "shell/ResourceImages.h"

#include <QDateTime>
#include <QFile>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QString &builderProgram()
{
    static QString program;
    return program;
}

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

void tell(QWidget *parent, QMessageBox::Icon icon, const QString &text)
{
    QMessageBox box(icon, QStringLiteral("My Soils"), text, QMessageBox::Ok, parent);
    box.setObjectName(QStringLiteral("MySoilsMessage"));
    box.exec();
}

} // namespace

frmMySoils::frmMySoils(QWidget *parent) : QDialog(parent)
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
    main->addWidget(lblWhere);

    connect(cmdAdd, &QPushButton::clicked, this, &frmMySoils::cmdAdd_Click);
    connect(cmdRemove, &QPushButton::clicked, this, &frmMySoils::cmdRemove_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);
    connect(lvMySoils, &QTreeWidget::currentItemChanged, this,
            [this] { cmdRemove->setEnabled(lvMySoils->currentItem() != nullptr); });
    refresh();
}

void frmMySoils::setBuilderProgram(const QString &program)
{
    builderProgram() = program;
}

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

bool frmMySoils::build(QWidget *parent, const QString &title, const QStringList &arguments)
{
    frmBuildProgress progress(title, arguments, builderProgram(), parent);
    const bool ok = progress.exec() == QDialog::Accepted;
    // Whatever happened, read the databases as they are now.
    const QString trouble = UserDatabase::choose();
    if (!ok && !progress.cancelled())
        tell(parent, QMessageBox::Warning,
             QStringLiteral("The soil could not be computed.\n%1").arg(progress.message()));
    else if (ok && !trouble.isEmpty())
        tell(parent, QMessageBox::Warning, trouble);
    return ok;
}

void frmMySoils::cmdAdd_Click()
{
    frmAddSoil add(MySoils::startingPoints(), MySoils::takenNames(), this);
    if (add.exec() != QDialog::Accepted)
        return;
    const SoilEntry soil = add.entry();
    QString why;
    const QString catalogue = MySoils::writeCatalogue(SoilEntry::catalogue({soil}), &why);
    if (catalogue.isEmpty()) {
        tell(this, QMessageBox::Warning, why);
        return;
    }
    build(this, QStringLiteral("Computing %1").arg(soil.name), MySoils::addArguments(catalogue));
    QFile::remove(catalogue);
    refresh();
}

void frmMySoils::cmdRemove_Click()
{
    QTreeWidgetItem *item = lvMySoils->currentItem();
    if (item == nullptr)
        return;
    const QString name = item->text(0);
    const int number = item->data(0, Qt::UserRole).toInt();
    QMessageBox ask(QMessageBox::Question, QStringLiteral("My Soils"),
                    QStringLiteral("Remove the soil \"%1\" and its wetting fronts?").arg(name),
                    QMessageBox::Yes | QMessageBox::No, this);
    ask.setObjectName(QStringLiteral("RemoveQuestion"));
    ask.setDefaultButton(QMessageBox::No);
    if (ask.exec() != QMessageBox::Yes)
        return;
    const QStringList arguments = MySoils::removeArguments(number);
    if (arguments.isEmpty()) {
        QString why;
        if (!MySoils::removeLast(&why))
            tell(this, QMessageBox::Warning, why);
        UserDatabase::choose();
    } else {
        build(this, QStringLiteral("Removing %1").arg(name), arguments);
    }
    refresh();
}

void frmMySoils::offerRecompute(QWidget *parent)
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
                                   "them again on the new database now?")
                        .arg(addedText(shipped)),
                    QMessageBox::Yes | QMessageBox::No, parent);
    ask.setObjectName(QStringLiteral("RecomputeQuestion"));
    if (ask.exec() != QMessageBox::Yes)
        return;
    QString why;
    const QString catalogue = MySoils::writeCatalogue(MySoils::userCatalogue(), &why);
    if (catalogue.isEmpty()) {
        tell(parent, QMessageBox::Warning, why);
        return;
    }
    build(parent, QStringLiteral("Computing your soils"), MySoils::recomputeArguments(catalogue));
    QFile::remove(catalogue);
}
