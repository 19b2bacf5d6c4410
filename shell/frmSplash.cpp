#include "shell/frmSplash.h"

#include "shell/Accessibility.h"
#include "shell/ProgramTextFile.h"
#include "shell/ResourceImages.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

using Accessibility::describe;

frmSplash::frmSplash(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("frmSplash"));
    setWindowTitle(QStringLiteral("Ulvex"));
    setWindowIcon(ResourceImages::icon(ResourceImages::Water));
    setModal(true);

    m_picture = new QLabel(this);
    m_picture->setObjectName(QStringLiteral("picSplash"));
    m_picture->setPixmap(ResourceImages::pixmap(ResourceImages::Logo, QSize(440, 110)));
    m_picture->setAlignment(Qt::AlignCenter);
    describe(m_picture, tr("Ulvex logo"), tr("Ulvex: wetting patterns under drip emitters"));

    auto *heading = new QLabel(tr("Please read the following before you use Ulvex:"), this);
    heading->setObjectName(QStringLiteral("lblHeading"));
    heading->setWordWrap(true);

    m_txtDisclaimer = new QPlainTextEdit(this);
    m_txtDisclaimer->setObjectName(QStringLiteral("txtDisclaimer"));
    m_txtDisclaimer->setReadOnly(true);
    m_txtDisclaimer->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_txtDisclaimer->setMinimumHeight(170);
    heading->setBuddy(m_txtDisclaimer);
    describe(m_txtDisclaimer, tr("Disclaimer"),
             tr("The terms under which Ulvex may be used"));
    describe(heading, heading->text(), QString());

    QString fileText;
    m_fromFile = ProgramTextFile::read(QStringLiteral("Splash.txt"), &fileText);
    m_txtDisclaimer->setPlainText(m_fromFile ? fileText : builtInDisclaimer());

    m_cmdAgree = new QPushButton(QStringLiteral("&OK"), this);
    m_cmdAgree->setObjectName(QStringLiteral("cmdAgree"));
    m_cmdAgree->setDefault(true);
    describe(m_cmdAgree, m_cmdAgree->text(), tr("Accept the disclaimer and start Ulvex"));

    m_cmdDisagree = new QPushButton(QStringLiteral("Cancel"), this);
    m_cmdDisagree->setObjectName(QStringLiteral("cmdDisagree"));
    m_cmdDisagree->setAutoDefault(false);
    describe(m_cmdDisagree, m_cmdDisagree->text(),
             tr("Refuse the disclaimer and leave Ulvex"));

    connect(m_cmdAgree, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_cmdDisagree, &QPushButton::clicked, this, &QDialog::reject);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_cmdAgree);
    buttons->addWidget(m_cmdDisagree);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_picture);
    layout->addWidget(heading);
    layout->addWidget(m_txtDisclaimer, 1);
    layout->addLayout(buttons);

    resize(500, 420);
    m_cmdAgree->setFocus();
}

QString frmSplash::builtInDisclaimer()
{
    return tr(
        "Ulvex is still under development. It is provided \"As Is\", without "
        "warranty of any kind, express or implied, including but not limited to "
        "the implied warranties of merchantability and fitness for a particular "
        "purpose.\n"
        "\n"
        "In no event shall the makers of Ulvex be liable for any damages "
        "whatsoever, direct or indirect, resulting from the use of the program "
        "or of its results.\n"
        "\n"
        "The program has not been fully tested. All results are approximate and "
        "should be treated with caution: check them against what you see in the "
        "field before you base a design on them.\n"
        "\n"
        "Please report errors and problems to the makers of Ulvex.\n"
        "\n"
        "Press OK to accept these terms and start Ulvex, or Cancel to leave.");
}

QString frmSplash::disclaimerText() const
{
    return m_txtDisclaimer->toPlainText();
}
