#pragma once

#include <QString>
#include <QVariant>

class clsRecordset;

// Guarded routines: none of them raises or shows anything; every failure
// becomes a non-empty error text returned to the caller (empty on success).
namespace basSafeRoutines {

// A value as SQL literal text: a null or invalid value gives "NULL"; a date,
// time or date-time "#" + the value in the general date form (short date, and
// the long time when there is one) + "#"; a string "'" + the string with every
// "'" doubled + "'"; anything else (numbers, booleans) its plain text ("3",
// "0.5", "True"). If the value has no text form the plain conversion's
// (empty) text is returned.
QString FormatSqlValue(const QVariant &value);

// Moves a record set to its first row. "Closed RS " when it is not open (or
// there is none), "Empty RS " when it holds no rows, "Unable to MoveFirst "
// followed by the error's description when the move fails; each composed by
// SafeErrorMessage with the routine name "sfMoveFirstAdd" and number -46.
QString sfMoveFirstAdd(clsRecordset *rs);

// The same for the next row ("sfMoveNextAdd", "Unable to MoveNext ").
QString sfMoveNextAdd(clsRecordset *rs);

// Waits delayMs milliseconds while the Qt event loop keeps running, so the
// windows stay responsive. Negative: "Error sfPause, delay negative"; above
// 10000: "Error sfPause, Maximum delay exceeded"; 0 returns at once.
QString sfPause(qint16 delayMs);

// Composes detail + routine + TAB + number + TAB + message + LF. The routine
// and the message are converted to text and the number to a 32-bit integer;
// if any of them cannot be converted the result is
// "Could not create Safe Error Message.".
QString SafeErrorMessage(const QVariant &routine, const QVariant &number,
                         const QVariant &message, const QString &detail = QString());

} // namespace basSafeRoutines
