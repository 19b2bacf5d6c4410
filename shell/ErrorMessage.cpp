#include "shell/ErrorMessage.h"

#include "base/UlvexError.h"

#include <QMessageBox>
#include <QString>

namespace {
ErrorMessage::Sink &sink()
{
    static ErrorMessage::Sink s;
    return s;
}
} // namespace

namespace ErrorMessage {

QString text(const UlvexError &error)
{
    return QStringLiteral("Error %1\n%2").arg(error.number()).arg(error.description());
}

void show(QWidget *parent, const UlvexError &error)
{
    if (sink()) {
        sink()(parent, error);
        return;
    }
    QMessageBox::critical(parent, QStringLiteral("Ulvex"), text(error));
}

void setSink(Sink s)
{
    sink() = std::move(s);
}

} // namespace ErrorMessage
