#include "shell/HelpViewer.h"

#include "base/ProgramFolder.h"
#include "shell/ResourceImages.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace {

void describe(QWidget *w, const QString &caption, const QString &tip)
{
    QString name = caption;
    name.remove(QLatin1Char('&'));
    w->setAccessibleName(name);
    if (!tip.isEmpty()) {
        w->setToolTip(tip);
        w->setAccessibleDescription(tip);
    }
}

} // namespace

HelpViewer::HelpViewer(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("HelpViewer"));
    setWindowTitle(tr("Ulvex Help"));
    setWindowIcon(ResourceImages::icon(ResourceImages::Water));
    setWindowFlags(windowFlags() | Qt::WindowMinMaxButtonsHint);
    setModal(false);

    m_txtHelp = new QTextBrowser(this);
    m_txtHelp->setObjectName(QStringLiteral("txtHelp"));
    // Help pages link only to each other; anything else is handed to the desktop.
    m_txtHelp->setOpenLinks(true);
    m_txtHelp->setOpenExternalLinks(true);
    describe(m_txtHelp, tr("Help page"), tr("The text of the help page; links open other pages"));

    m_cmdBack = new QPushButton(tr("&Back"), this);
    m_cmdBack->setObjectName(QStringLiteral("cmdBack"));
    describe(m_cmdBack, m_cmdBack->text(), tr("Go back to the page shown before"));
    m_cmdForward = new QPushButton(tr("&Forward"), this);
    m_cmdForward->setObjectName(QStringLiteral("cmdForward"));
    describe(m_cmdForward, m_cmdForward->text(), tr("Go forward again"));
    m_cmdHome = new QPushButton(tr("&Home"), this);
    m_cmdHome->setObjectName(QStringLiteral("cmdHome"));
    describe(m_cmdHome, m_cmdHome->text(), tr("Show the contents page"));
    m_cmdClose = new QPushButton(tr("&Close"), this);
    m_cmdClose->setObjectName(QStringLiteral("cmdClose"));
    describe(m_cmdClose, m_cmdClose->text(), tr("Close the help window"));
    for (QPushButton *b : {m_cmdBack, m_cmdForward, m_cmdHome, m_cmdClose})
        b->setAutoDefault(false);

    connect(m_cmdBack, &QPushButton::clicked, m_txtHelp, &QTextBrowser::backward);
    connect(m_cmdForward, &QPushButton::clicked, m_txtHelp, &QTextBrowser::forward);
    connect(m_cmdHome, &QPushButton::clicked, this, [this] { openContents(); });
    connect(m_cmdClose, &QPushButton::clicked, this, &QDialog::close);
    connect(m_txtHelp, &QTextBrowser::historyChanged, this, &HelpViewer::updateButtons);
    connect(m_txtHelp, &QTextBrowser::sourceChanged, this, [this](const QUrl &) {
        m_showingHelp = true;
        updateButtons();
    });

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_cmdBack);
    buttons->addWidget(m_cmdForward);
    buttons->addWidget(m_cmdHome);
    buttons->addStretch(1);
    buttons->addWidget(m_cmdClose);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(buttons);
    layout->addWidget(m_txtHelp, 1);

    resize(780, 600);
    updateButtons();
}

QString HelpViewer::contentsFile()
{
    return ProgramFolder::file(QStringLiteral("help/index.html"));
}

bool HelpViewer::openContents()
{
    return openPage(QStringLiteral("index.html"));
}

bool HelpViewer::openPage(const QString &fileName)
{
    const QString path = ProgramFolder::file(QStringLiteral("help/") + fileName);
    if (!QFileInfo(path).isFile()) {
        showMissing(path);
        return false;
    }
    m_txtHelp->setSearchPaths({ProgramFolder::file(QStringLiteral("help"))});
    const QUrl url = QUrl::fromLocalFile(path);
    if (m_txtHelp->source() == url)
        m_txtHelp->reload();
    else
        m_txtHelp->setSource(url);
    m_showingHelp = true;
    updateButtons();
    return true;
}

void HelpViewer::showMissing(const QString &path)
{
    m_txtHelp->clearHistory();
    m_txtHelp->setSource(QUrl());
    const QString html =
        tr("<h2>Help is not available</h2>"
           "<p>The help pages of Ulvex were not found. Ulvex looks for its contents "
           "page here:</p><p><b>%1</b></p>"
           "<p>The help pages belong in the folder <b>help</b> beside the program. "
           "Reinstalling Ulvex puts them back.</p>")
            .arg(path.toHtmlEscaped());
    m_txtHelp->setHtml(html);
    m_showingHelp = false;
    updateButtons();
}

void HelpViewer::updateButtons()
{
    m_cmdBack->setEnabled(m_showingHelp && m_txtHelp->isBackwardAvailable());
    m_cmdForward->setEnabled(m_showingHelp && m_txtHelp->isForwardAvailable());
}
