#include "shell/frmAbout.h"

#include "shell/Accessibility.h"
#include "shell/ProgramTextFile.h"
#include "shell/ResourceImages.h"

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace {

using Accessibility::describe;

QLabel *picture(QWidget *parent, const char *name, int id, const QSize &size,
                const QString &caption)
{
    auto *l = new QLabel(parent);
    l->setObjectName(QLatin1String(name));
    l->setPixmap(ResourceImages::pixmap(id, size));
    l->setFixedSize(size);
    describe(l, caption, QString());
    return l;
}

} // namespace

frmAbout::frmAbout(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About ") + applicationTitle());
    setWindowIcon(ResourceImages::icon(ResourceImages::Water));

    QLabel *picLogo = picture(this, "picLogo", ResourceImages::Logo, QSize(360, 90),
                              tr("Ulvex logo"));
    QLabel *picIcon = picture(this, "picIcon", ResourceImages::Water, QSize(48, 48),
                              tr("Ulvex program icon"));
    QLabel *picGraph = picture(this, "picGraph", ResourceImages::Graph, QSize(32, 32),
                               tr("Wetting pattern graph"));
    QLabel *picSoil = picture(this, "picSoilType", ResourceImages::SoilType, QSize(32, 32),
                              tr("Soil layers"));

    m_lblVersion = new QLabel(versionText(), this);
    m_lblVersion->setObjectName(QStringLiteral("lblVersion"));
    QFont bold = m_lblVersion->font();
    bold.setBold(true);
    m_lblVersion->setFont(bold);
    describe(m_lblVersion, m_lblVersion->text(), QString());

    m_lblDescription = new QLabel(designedDescription(), this);
    m_lblDescription->setObjectName(QStringLiteral("lblDescription"));
    m_lblDescription->setWordWrap(true);
    m_lblDescription->setTextFormat(Qt::PlainText);
    m_lblDescription->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    m_lblDisclaimer = new QLabel(designedDisclaimer(), this);
    m_lblDisclaimer->setObjectName(QStringLiteral("lblDisclaimer"));
    m_lblDisclaimer->setWordWrap(true);
    m_lblDisclaimer->setTextFormat(Qt::PlainText);
    m_lblDisclaimer->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    // The optional files replace the designed texts whole.
    QString text;
    if (ProgramTextFile::read(QStringLiteral("disclaimer.txt"), &text))
        m_lblDisclaimer->setText(text);
    if (ProgramTextFile::read(QStringLiteral("About.txt"), &text))
        m_lblDescription->setText(text);
    describe(m_lblDescription, tr("Description"), QString());
    m_lblDescription->setAccessibleDescription(m_lblDescription->text());
    describe(m_lblDisclaimer, tr("Disclaimer"), QString());
    m_lblDisclaimer->setAccessibleDescription(m_lblDisclaimer->text());

    m_cmdOK = new QPushButton(QStringLiteral("OK"), this);
    m_cmdOK->setObjectName(QStringLiteral("cmdOK"));
    m_cmdOK->setDefault(true);
    describe(m_cmdOK, m_cmdOK->text(), tr("Close this window"));

    m_cmdSysInfo = new QPushButton(QStringLiteral("&System Info..."), this);
    m_cmdSysInfo->setObjectName(QStringLiteral("cmdSysInfo"));
    m_cmdSysInfo->setAutoDefault(false);
    describe(m_cmdSysInfo, m_cmdSysInfo->text(),
             tr("Start a system information program to see details of this computer"));

    connect(m_cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_cmdSysInfo, &QPushButton::clicked, this, [this] { startSystemInfo(); });

    auto *line = new QFrame(this);
    line->setObjectName(QStringLiteral("linSeparator"));
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);

    auto *pictures = new QVBoxLayout;
    pictures->addWidget(picIcon, 0, Qt::AlignHCenter);
    pictures->addSpacing(12);
    pictures->addWidget(picGraph, 0, Qt::AlignHCenter);
    pictures->addWidget(picSoil, 0, Qt::AlignHCenter);
    pictures->addStretch(1);

    auto *texts = new QVBoxLayout;
    texts->addWidget(m_lblVersion);
    texts->addWidget(m_lblDescription, 1);

    auto *middle = new QHBoxLayout;
    middle->addLayout(pictures);
    middle->addSpacing(8);
    middle->addLayout(texts, 1);

    auto *buttons = new QVBoxLayout;
    buttons->addWidget(m_cmdOK);
    buttons->addWidget(m_cmdSysInfo);
    buttons->addStretch(1);

    auto *bottom = new QHBoxLayout;
    bottom->addWidget(m_lblDisclaimer, 1);
    bottom->addSpacing(8);
    bottom->addLayout(buttons);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(picLogo, 0, Qt::AlignHCenter);
    layout->addLayout(middle, 1);
    layout->addWidget(line);
    layout->addLayout(bottom);

    resize(540, 400);
    m_cmdOK->setFocus();
}

QString frmAbout::applicationTitle()
{
    // The program's title is fixed at build time, like its version; it does not
    // depend on the name the executable happens to have.
    return QStringLiteral("Ulvex");
}

QString frmAbout::versionText()
{
    return QStringLiteral("Version %1.%2.%3")
        .arg(ULVEX_VERSION_MAJOR)
        .arg(ULVEX_VERSION_MINOR)
        .arg(ULVEX_VERSION_PATCH);
}

QString frmAbout::designedDescription()
{
    return tr(
        "Ulvex shows the approximate wetting pattern around a drip emitter: the "
        "outline of the wetted soil in a vertical section through the emitter, at "
        "several times after watering starts.\n"
        "\n"
        "Choose one of twelve soil textures, one of five flow rates, a watering time "
        "of up to 24 hours, a wet, moist or dry soil and a surface or buried emitter. "
        "Up to four patterns can be compared side by side, printed and exported.\n"
        "\n"
        "The wetting fronts were computed in advance with a soil-water flow model "
        "(Richards' equation with van Genuchten-Mualem soil properties) and are read "
        "from the program's database.");
}

QString frmAbout::designedDisclaimer()
{
    return tr(
        "Warning: Ulvex is provided \"As Is\", without warranty of any kind. Its "
        "results are approximate and should be treated with caution. The makers of "
        "Ulvex accept no liability for any damages resulting from its use.");
}

QString frmAbout::unavailableMessage()
{
    return QStringLiteral("System Information Is Unavailable At This Time");
}

QStringList frmAbout::systemInfoCandidates()
{
    return {QStringLiteral("hardinfo2"), QStringLiteral("hardinfo"),
            QStringLiteral("kinfocenter")};
}

QString frmAbout::findSystemInfoTool(const QStringList &searchPaths)
{
    for (const QString &name : systemInfoCandidates()) {
        const QString found = QStandardPaths::findExecutable(name, searchPaths);
        if (!found.isEmpty())
            return found;
    }
    return QString();
}

bool frmAbout::startSystemInfo()
{
    const QString tool = findSystemInfoTool(m_searchPaths);
    if (!tool.isEmpty() && QProcess::startDetached(tool, QStringList()))
        return true;
    // Nothing found, or it would not start: one message, OK only.
    QMessageBox box(QMessageBox::Information, applicationTitle(), unavailableMessage(),
                    QMessageBox::Ok, this);
    box.setObjectName(QStringLiteral("msgSysInfo"));
    box.exec();
    return false;
}
