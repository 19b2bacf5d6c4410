#include "data/basSafeRoutines.h"

#include "data/clsRecordset.h"
#include "base/UlvexError.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLocale>
#include <QThread>
#include <QTimer>

#include <cmath>
#include <exception>
#include <limits>

namespace basSafeRoutines {

namespace {

const int kMoveErrorNumber = -46;

// The general date form: the short date, the long time, or both, leaving out a
// part that is not there (a midnight time, a time without a date).
QString generalDate(const QVariant &value)
{
    const QLocale locale;
    switch (value.typeId()) {
    case QMetaType::QDate:
        return locale.toString(value.toDate(), QLocale::ShortFormat);
    case QMetaType::QTime:
        return locale.toString(value.toTime(), QLocale::LongFormat);
    default: {
        const QDateTime dt = value.toDateTime();
        if (dt.time() == QTime(0, 0))
            return locale.toString(dt.date(), QLocale::ShortFormat);
        return locale.toString(dt.date(), QLocale::ShortFormat) + QLatin1Char(' ')
               + locale.toString(dt.time(), QLocale::LongFormat);
    }
    }
}

QString move(clsRecordset *rs, bool first)
{
    const char *routine = first ? "sfMoveFirstAdd" : "sfMoveNextAdd";
    if (rs == nullptr || !rs->isOpen())
        return SafeErrorMessage(routine, kMoveErrorNumber, "Closed RS ");
    if (rs->isBOF() && rs->isEOF())
        return SafeErrorMessage(routine, kMoveErrorNumber, "Empty RS ");
    try {
        if (first)
            rs->MoveFirst();
        else
            rs->MoveNext();
    } catch (const UlvexError &e) {
        return SafeErrorMessage(routine, kMoveErrorNumber,
                                QString(first ? "Unable to MoveFirst " : "Unable to MoveNext ")
                                    + e.description());
    } catch (const std::exception &e) {
        return SafeErrorMessage(routine, kMoveErrorNumber,
                                QString(first ? "Unable to MoveFirst " : "Unable to MoveNext ")
                                    + QString::fromLocal8Bit(e.what()));
    }
    return QString();
}

} // namespace

QString FormatSqlValue(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return QStringLiteral("NULL");
    switch (value.typeId()) {
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QDateTime:
        return QLatin1Char('#') + generalDate(value) + QLatin1Char('#');
    case QMetaType::QString:
    case QMetaType::QChar: {
        QString text = value.toString();
        text.replace(QLatin1Char('\''), QStringLiteral("''"));
        return QLatin1Char('\'') + text + QLatin1Char('\'');
    }
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    default:
        return value.toString();
    }
}

QString sfMoveFirstAdd(clsRecordset *rs)
{
    return move(rs, true);
}

QString sfMoveNextAdd(clsRecordset *rs)
{
    return move(rs, false);
}

QString sfPause(qint16 delayMs)
{
    if (delayMs < 0)
        return QStringLiteral("Error sfPause, delay negative");
    if (delayMs > 10000)
        return QStringLiteral("Error sfPause, Maximum delay exceeded");
    if (delayMs == 0)
        return QString();

    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < delayMs) {
        const int remaining = int(delayMs - clock.elapsed());
        if (QCoreApplication::instance() == nullptr) {
            QThread::msleep(ulong(remaining));
            continue;
        }
        // Sleep in the event loop until the mark instead of spinning: events
        // that arrive meanwhile are handled at once.
        QEventLoop loop;
        QTimer timer;
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
        timer.start(remaining);
        loop.exec(QEventLoop::AllEvents);
    }
    return QString();
}

QString SafeErrorMessage(const QVariant &routine, const QVariant &number,
                         const QVariant &message, const QString &detail)
{
    const QString failed = QStringLiteral("Could not create Safe Error Message.");
    auto toText = [](const QVariant &v, bool *ok) {
        *ok = v.isValid() && (v.isNull() || v.canConvert<QString>());
        return *ok ? v.toString() : QString();
    };
    bool ok = false;
    const QString routineText = toText(routine, &ok);
    if (!ok)
        return failed;
    const QString messageText = toText(message, &ok);
    if (!ok)
        return failed;

    // The number as a 32-bit integer: whole numbers in range, fractions
    // rounded half to even, anything else refused.
    if (!number.isValid() || number.isNull())
        return failed;
    double value = 0;
    if (number.typeId() == QMetaType::QString) {
        value = number.toString().trimmed().toDouble(&ok);
    } else if (number.canConvert<double>()) {
        value = number.toDouble(&ok);
    } else {
        ok = false;
    }
    if (!ok || !std::isfinite(value))
        return failed;
    value = std::nearbyint(value);
    if (value < double(std::numeric_limits<qint32>::min())
        || value > double(std::numeric_limits<qint32>::max()))
        return failed;
    const qint32 numberValue = qint32(value);

    return detail + routineText + QLatin1Char('\t') + QString::number(numberValue)
           + QLatin1Char('\t') + messageText + QLatin1Char('\n');
}

} // namespace basSafeRoutines
