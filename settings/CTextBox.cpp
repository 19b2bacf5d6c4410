#include "settings/CTextBox.h"

#include "base/UlvexError.h"

#include <QComboBox>
#include <QDateTime>
#include <QEvent>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QRegularExpression>

#include <cfloat>
#include <cmath>
#include <limits>

namespace {

bool isEmptyBound(const QVariant &v)
{
    return !v.isValid() || v.isNull();
}

double roundHalfEven(double value)
{
    const double below = std::floor(value);
    const double diff = value - below;
    if (diff > 0.5)
        return below + 1.0;
    if (diff < 0.5)
        return below;
    return std::fmod(below, 2.0) == 0.0 ? below : below + 1.0;
}

// A decimal number with "." as the point ("12", "-1.5", "1.", ".5", "2e3").
// Returns false for anything else, NaN and infinity included.
bool parseNumber(const QString &text, double &out)
{
    static const QRegularExpression pattern(
        QStringLiteral("^\\s*([+-]?)(\\d*)(?:\\.(\\d*))?(?:[eE]([+-]?\\d+))?\\s*$"));
    const QRegularExpressionMatch m = pattern.match(text);
    if (!m.hasMatch())
        return false;
    const QString whole = m.captured(2);
    const QString fraction = m.captured(3);
    if (whole.isEmpty() && fraction.isEmpty())
        return false;
    QString normal = m.captured(1) + (whole.isEmpty() ? QStringLiteral("0") : whole)
                     + QStringLiteral(".") + (fraction.isEmpty() ? QStringLiteral("0") : fraction);
    if (m.capturedLength(4) > 0)
        normal += QStringLiteral("e") + m.captured(4);
    bool ok = false;
    const double value = QLocale::c().toDouble(normal, &ok);
    if (!ok || !std::isfinite(value))
        return false;
    out = value;
    return true;
}

// Currency: the decimal text rounded to four places, a half to the even
// neighbour, on the digits themselves so that no binary fraction gets in the way.
bool parseCurrency(const QString &text, double &out)
{
    static const QRegularExpression pattern(QStringLiteral("^\\s*([+-]?)(\\d*)(?:\\.(\\d*))?\\s*$"));
    const QRegularExpressionMatch m = pattern.match(text);
    if (!m.hasMatch()) {
        // With an exponent: through a double.
        double value = 0;
        if (!parseNumber(text, value))
            return false;
        out = roundHalfEven(value * 10000.0) / 10000.0;
        return std::fabs(out) <= 922337203685477.5807;
    }
    const QString whole = m.captured(2);
    const QString fraction = m.captured(3);
    if (whole.isEmpty() && fraction.isEmpty())
        return false;
    const QString digits = (whole.isEmpty() ? QStringLiteral("0") : whole)
                           + fraction.left(4).leftJustified(4, QLatin1Char('0'));
    bool ok = false;
    qulonglong units = digits.toULongLong(&ok);
    if (!ok || units > 9223372036854775807ULL)
        return false;
    const QString rest = fraction.mid(4);
    if (!rest.isEmpty()) {
        const int first = rest.at(0).digitValue();
        const bool moreAfter = rest.mid(1).contains(QRegularExpression(QStringLiteral("[1-9]")));
        if (first > 5 || (first == 5 && (moreAfter || units % 2 == 1)))
            ++units;
    }
    if (units > 9223372036854775807ULL)
        return false;
    const double value = double(units) / 10000.0;
    out = m.captured(1) == QLatin1String("-") ? -value : value;
    return true;
}

// Day, month and year order of the user's short date format.
QString dateOrder()
{
    const QString format = QLocale().dateFormat(QLocale::ShortFormat).toLower();
    const int d = int(format.indexOf(QLatin1Char('d')));
    const int m = int(format.indexOf(QLatin1Char('m')));
    const int y = int(format.indexOf(QLatin1Char('y')));
    if (y >= 0 && y < d && y < m)
        return QStringLiteral("ymd");
    if (d >= 0 && m >= 0 && d < m)
        return QStringLiteral("dmy");
    return QStringLiteral("mdy");
}

QVariant parseDate(const QString &input)
{
    const QString text = input.trimmed();
    if (text.isEmpty())
        return QVariant();
    static const QRegularExpression timeOnly(QStringLiteral("^(\\d{1,2}):(\\d{1,2})(?::(\\d{1,2}))?$"));
    QRegularExpressionMatch m = timeOnly.match(text);
    if (m.hasMatch()) {
        const QTime t(m.captured(1).toInt(), m.captured(2).toInt(),
                      m.capturedLength(3) > 0 ? m.captured(3).toInt() : 0);
        if (!t.isValid())
            return QVariant();
        // A bare time stands on the day the date scale starts, as a time of day.
        return QDateTime(QDate(1899, 12, 30), t);
    }
    static const QRegularExpression dateParts(QStringLiteral(
        "^(\\d{1,4})[/-](\\d{1,2})(?:[/-](\\d{1,4}))?(?:[ T](\\d{1,2}):(\\d{1,2})(?::(\\d{1,2}))?)?$"));
    m = dateParts.match(text);
    if (!m.hasMatch())
        return QVariant();
    int a = m.captured(1).toInt(), b = m.captured(2).toInt();
    const bool hasThird = m.capturedLength(3) > 0;
    int c = hasThird ? m.captured(3).toInt() : 0;
    int year = 0, month = 0, day = 0;
    const QString order = dateOrder();
    if (m.capturedLength(1) == 4 || (order == QLatin1String("ymd") && hasThird)) {
        year = a;
        month = b;
        day = c;
        if (!hasThird)
            return QVariant();
    } else {
        if (order == QLatin1String("dmy")) {
            day = a;
            month = b;
        } else {
            month = a;
            day = b;
        }
        year = hasThird ? c : QDate::currentDate().year();
        if (hasThird && m.capturedLength(3) <= 2)
            year += year < 30 ? 2000 : 1900; // two-digit years: 1930 to 2029
    }
    const QDate date(year, month, day);
    if (!date.isValid())
        return QVariant();
    QTime time(0, 0);
    if (m.capturedLength(4) > 0) {
        time = QTime(m.captured(4).toInt(), m.captured(5).toInt(),
                     m.capturedLength(6) > 0 ? m.captured(6).toInt() : 0);
        if (!time.isValid())
            return QVariant();
    }
    return QDateTime(date, time);
}

bool containsIgnoringCase(const QString &set, QChar c)
{
    return set.contains(c, Qt::CaseInsensitive);
}

QString formatNumber(double value, const QString &mask)
{
    // Named formats first.
    const QString named = mask.trimmed().toLower();
    if (named == QLatin1String("fixed"))
        return formatNumber(value, QStringLiteral("0.00"));
    if (named == QLatin1String("standard"))
        return formatNumber(value, QStringLiteral("#,##0.00"));
    if (named == QLatin1String("percent"))
        return formatNumber(value, QStringLiteral("0.00%"));
    if (named == QLatin1String("general number"))
        return QString::number(value, 'g', 15);

    // Split the mask into literal text before, the digit pattern and literal text after.
    int first = -1, last = -1;
    for (int i = 0; i < mask.size(); ++i) {
        const QChar c = mask.at(i);
        if (c == QLatin1Char('0') || c == QLatin1Char('#') || c == QLatin1Char('.')
            || c == QLatin1Char(',')) {
            if (first < 0)
                first = i;
            last = i;
        }
    }
    if (first < 0)
        return mask;
    const QString prefix = mask.left(first);
    const QString pattern = mask.mid(first, last - first + 1);
    const QString suffix = mask.mid(last + 1);
    if (mask.contains(QLatin1Char('%')))
        value *= 100.0;

    const int point = int(pattern.indexOf(QLatin1Char('.')));
    const QString intPart = point < 0 ? pattern : pattern.left(point);
    const QString fracPart = point < 0 ? QString() : pattern.mid(point + 1);
    const int maxDecimals = int(fracPart.count(QLatin1Char('0')) + fracPart.count(QLatin1Char('#')));
    const int minDecimals = int(fracPart.count(QLatin1Char('0')));
    const int minIntDigits = int(intPart.count(QLatin1Char('0')));
    const bool grouping = intPart.contains(QLatin1Char(','));

    // Half away from zero, as a display format rounds.
    const double scale = std::pow(10.0, maxDecimals);
    const double rounded = std::round(std::fabs(value) * scale) / scale;
    QString digits = QString::number(rounded, 'f', maxDecimals);
    QString whole = digits, fraction;
    const int dot = int(digits.indexOf(QLatin1Char('.')));
    if (dot >= 0) {
        whole = digits.left(dot);
        fraction = digits.mid(dot + 1);
    }
    while (fraction.size() > minDecimals && fraction.endsWith(QLatin1Char('0')))
        fraction.chop(1);
    if (whole == QLatin1String("0") && minIntDigits == 0)
        whole.clear();
    while (whole.size() < minIntDigits)
        whole.prepend(QLatin1Char('0'));
    if (grouping)
        for (int i = int(whole.size()) - 3; i > 0; i -= 3)
            whole.insert(i, QLatin1Char(','));
    QString result = whole;
    if (point >= 0 && (!fraction.isEmpty() || maxDecimals == 0))
        result += QLatin1Char('.') + fraction;
    const bool negative = value < 0 && (rounded != 0.0);
    return (negative ? QStringLiteral("-") : QString()) + prefix + result + suffix;
}

QString formatDate(const QDateTime &value, const QString &mask)
{
    const QLocale locale;
    const QString named = mask.trimmed().toLower();
    if (named == QLatin1String("short date"))
        return locale.toString(value.date(), QLocale::ShortFormat);
    if (named == QLatin1String("long date"))
        return locale.toString(value.date(), QLocale::LongFormat);
    if (named == QLatin1String("short time"))
        return value.time().toString(QStringLiteral("HH:mm"));
    if (named == QLatin1String("long time"))
        return locale.toString(value.time(), QLocale::LongFormat);
    if (named == QLatin1String("general date"))
        return locale.toString(value, QLocale::ShortFormat);

    // Translate the date tokens; "m" after an hour is minutes, like "n".
    QString out;
    bool afterHour = false;
    for (int i = 0; i < mask.size();) {
        const QChar c = mask.at(i).toLower();
        int run = 1;
        while (i + run < mask.size() && mask.at(i + run).toLower() == c)
            ++run;
        const QString piece = mask.mid(i, run);
        if (c == QLatin1Char('d')) {
            out += value.toString(QString(std::min(run, 4), QLatin1Char('d')));
            afterHour = false;
        } else if (c == QLatin1Char('y')) {
            out += value.toString(run >= 3 ? QStringLiteral("yyyy") : QStringLiteral("yy"));
            afterHour = false;
        } else if (c == QLatin1Char('h')) {
            out += value.toString(run >= 2 ? QStringLiteral("HH") : QStringLiteral("H"));
            afterHour = true;
        } else if (c == QLatin1Char('n') || (c == QLatin1Char('m') && afterHour)) {
            out += value.toString(run >= 2 ? QStringLiteral("mm") : QStringLiteral("m"));
            afterHour = false;
        } else if (c == QLatin1Char('m')) {
            out += value.toString(QString(std::min(run, 4), QLatin1Char('M')));
        } else if (c == QLatin1Char('s')) {
            out += value.toString(run >= 2 ? QStringLiteral("ss") : QStringLiteral("s"));
            afterHour = false;
        } else {
            out += piece;
            if (c != QLatin1Char(':'))
                afterHour = false;
        }
        i += run;
    }
    return out;
}

} // namespace

CTextBox::CTextBox(QObject *parent) : QObject(parent) {}

CTextBox::~CTextBox()
{
    release();
}

void CTextBox::release()
{
    if (m_control) {
        m_control->removeEventFilter(this);
        disconnect(m_control, nullptr, this, nullptr);
        if (QLineEdit *e = edit()) {
            e->removeEventFilter(this);
            disconnect(e, nullptr, this, nullptr);
        }
    }
    if (m_window)
        disconnect(m_window, nullptr, this, nullptr);
    m_control = nullptr;
    m_window = nullptr;
}

QLineEdit *CTextBox::edit() const
{
    if (auto *line = qobject_cast<QLineEdit *>(m_control.data()))
        return line;
    if (auto *combo = qobject_cast<QComboBox *>(m_control.data()))
        return combo->lineEdit();
    return nullptr;
}

QString CTextBox::text() const
{
    if (auto *line = qobject_cast<QLineEdit *>(m_control.data()))
        return line->text();
    if (auto *combo = qobject_cast<QComboBox *>(m_control.data()))
        return combo->currentText();
    return QString();
}

void CTextBox::Init(QWidget *control, qint16 valueType, const QVariant &minValue,
                    const QVariant &maxValue, bool isOptional)
{
    release();
    if (!qobject_cast<QLineEdit *>(control) && !qobject_cast<QComboBox *>(control))
        throw UlvexError(InvalidControlTypeError, QStringLiteral("Invalid Control Type"));
    ValueType = valueType;
    MinValue = minValue;
    MaxValue = maxValue;
    IsOptional = isOptional;
    m_control = control;
    m_window = control->window();

    if (auto *line = qobject_cast<QLineEdit *>(control)) {
        connect(line, &QLineEdit::textChanged, this, &CTextBox::textChanged);
    } else if (auto *combo = qobject_cast<QComboBox *>(control)) {
        connect(combo, &QComboBox::editTextChanged, this, &CTextBox::textChanged);
    }
    control->installEventFilter(this);
    if (QLineEdit *e = edit(); e != nullptr && e != control)
        e->installEventFilter(this);
    // The wrapper lets go of the control when its window goes away.
    connect(m_window, &QObject::destroyed, this, &CTextBox::release);
    connect(control, &QObject::destroyed, this, &CTextBox::release);
    remember();
}

QString CTextBox::allowedChars() const
{
    QString chars;
    switch (ValueType) {
    case vbInteger:
    case vbLong:
        chars = QStringLiteral("0123456789");
        break;
    case vbSingle:
    case vbDouble:
    case vbCurrency:
        chars = QStringLiteral("0123456789.");
        break;
    case vbDate:
        return QStringLiteral("0123456789-/:");
    default:
        return QString();
    }
    if (!isEmptyBound(MinValue)) {
        bool ok = false;
        const double minimum = MinValue.toDouble(&ok);
        if (ok && minimum < 0)
            chars.prepend(QLatin1Char('-'));
    }
    return chars;
}

bool CTextBox::Validate(bool typing) const
{
    return ValidateText(text(), typing);
}

bool CTextBox::ValidateText(const QString &t, bool typing) const
{
    // 1.-2. Every character from the allowed set, none from the refused one.
    const QString allowed = ValidChars.isEmpty() ? allowedChars() : ValidChars;
    for (const QChar c : t) {
        if (!InvalidChars.isEmpty() && containsIgnoringCase(InvalidChars, c))
            return false;
        if (!allowed.isEmpty() && !containsIgnoringCase(allowed, c))
            return false;
    }
    // 3. Numbers: a minus only in front, one decimal point at most.
    const bool numeric = ValueType >= vbInteger && ValueType <= vbCurrency;
    if (numeric) {
        if (t.indexOf(QLatin1Char('-'), 1) >= 0 || t.count(QLatin1Char('.')) >= 2)
            return false;
    }
    // 4. Dates: at most two "/" or "-", never two in a row, none in front.
    if (ValueType == vbDate) {
        if (t.count(QLatin1Char('/')) >= 3 || t.count(QLatin1Char('-')) >= 3
            || t.contains(QLatin1String("//")) || t.contains(QLatin1String("--"))
            || t.startsWith(QLatin1Char('/')) || t.startsWith(QLatin1Char('-')))
            return false;
    }
    // 5. Length.
    if (MaxLength > 0 && t.size() > MaxLength)
        return false;
    // 6. The full check of a finished value.
    if (!typing) {
        if (t.isEmpty())
            return IsOptional;
        if (t.size() < MinLength)
            return false;
        const QVariant value = convert(t, ValueType);
        if (!value.isValid() || outOfBounds(value))
            return false;
    }
    return true;
}

bool CTextBox::outOfBounds(const QVariant &value) const
{
    const auto compare = [this, &value](const QVariant &bound) -> int {
        // <0: value below the bound, >0: above, 0: equal or no comparison.
        if (ValueType == vbDate) {
            QVariant b = bound;
            if (b.typeId() == QMetaType::QString)
                b = parseDate(b.toString());
            QDateTime limit = b.toDateTime();
            if (!limit.isValid() && b.canConvert<QDate>())
                limit = QDateTime(b.toDate(), QTime(0, 0));
            if (!limit.isValid())
                return 0;
            const QDateTime v = value.toDateTime();
            return v < limit ? -1 : (v > limit ? 1 : 0);
        }
        if (ValueType >= vbInteger && ValueType <= vbCurrency) {
            bool ok = false;
            double limit = bound.toDouble(&ok);
            if (!ok && bound.typeId() == QMetaType::QString)
                ok = parseNumber(bound.toString(), limit);
            if (!ok)
                return 0;
            const double v = value.toDouble();
            return v < limit ? -1 : (v > limit ? 1 : 0);
        }
        return value.toString().compare(bound.toString(), Qt::CaseSensitive);
    };
    if (!isEmptyBound(MinValue) && compare(MinValue) < 0)
        return true;
    if (!isEmptyBound(MaxValue) && compare(MaxValue) > 0)
        return true;
    return false;
}

QVariant CTextBox::convert(const QString &text, qint16 valueType)
{
    double number = 0;
    switch (valueType) {
    case vbInteger:
    case vbLong: {
        if (!parseNumber(text, number))
            return QVariant();
        const double whole = roundHalfEven(number);
        if (valueType == vbInteger) {
            if (whole < -32768.0 || whole > 32767.0)
                return QVariant();
            return QVariant::fromValue(qint16(whole));
        }
        if (whole < -2147483648.0 || whole > 2147483647.0)
            return QVariant();
        return QVariant::fromValue(qint32(whole));
    }
    case vbSingle:
        if (!parseNumber(text, number) || std::fabs(number) > double(FLT_MAX))
            return QVariant();
        return QVariant::fromValue(float(number));
    case vbDouble:
        if (!parseNumber(text, number))
            return QVariant();
        return QVariant::fromValue(number);
    case vbCurrency: {
        // Fixed point with four decimal places, in the 64-bit range.
        if (!parseCurrency(text, number))
            return QVariant();
        return QVariant::fromValue(number);
    }
    case vbDate:
        return parseDate(text);
    default:
        return QVariant(text);
    }
}

QString CTextBox::Format(const QVariant &value, const QString &mask)
{
    if (!value.isValid())
        return QString();
    if (value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate
        || value.typeId() == QMetaType::QTime) {
        QDateTime dt = value.toDateTime();
        if (value.typeId() == QMetaType::QTime)
            dt = QDateTime(QDate(1899, 12, 30), value.toTime());
        if (mask.isEmpty())
            return QLocale().toString(dt, QLocale::ShortFormat);
        return formatDate(dt, mask);
    }
    if (value.typeId() == QMetaType::QString)
        return mask.isEmpty() ? value.toString() : mask;
    bool ok = false;
    const double number = value.toDouble(&ok);
    if (!ok)
        return value.toString();
    if (mask.isEmpty())
        return QString::number(number, 'g', 15);
    return formatNumber(number, mask);
}

bool CTextBox::ValidateMsg(const QString &message)
{
    if (Validate(false))
        return true;
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Invalid Value"), message, QMessageBox::Ok,
                    m_window);
    box.setObjectName(QStringLiteral("InvalidValueMessage"));
    box.exec();
    if (m_control) {
        m_control->window()->activateWindow();
        m_control->setFocus(Qt::OtherFocusReason);
    }
    return false;
}

void CTextBox::remember()
{
    m_lastText = text();
    QLineEdit *e = edit();
    if (e == nullptr) {
        m_selStart = 0;
        m_selLength = 0;
        return;
    }
    if (e->hasSelectedText()) {
        m_selStart = e->selectionStart();
        m_selLength = int(e->selectedText().size());
    } else {
        m_selStart = e->cursorPosition();
        m_selLength = 0;
    }
}

void CTextBox::textChanged()
{
    if (m_busy || !m_control)
        return;
    if (Validate(true)) {
        remember();
        return;
    }
    // Undo the change: the last valid text and caret come back.
    m_busy = true;
    if (auto *line = qobject_cast<QLineEdit *>(m_control.data()))
        line->setText(m_lastText);
    else if (auto *combo = qobject_cast<QComboBox *>(m_control.data()))
        combo->setEditText(m_lastText);
    if (QLineEdit *e = edit()) {
        if (m_selLength > 0)
            e->setSelection(m_selStart, m_selLength);
        else
            e->setCursorPosition(m_selStart);
    }
    m_busy = false;
}

void CTextBox::applyFormatMask()
{
    if (FormatMask.isEmpty() || !m_control)
        return;
    const QVariant value = convert(text(), ValueType);
    if (!value.isValid())
        return;
    const QString formatted = Format(value, FormatMask);
    if (auto *line = qobject_cast<QLineEdit *>(m_control.data()))
        line->setText(formatted);
    else if (auto *combo = qobject_cast<QComboBox *>(m_control.data()))
        combo->setEditText(formatted);
}

bool CTextBox::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyRelease:
        // Caret moves by key are kept.
        remember();
        break;
    case QEvent::MouseButtonRelease:
        // ... and by mouse in the edit field (a combo box keeps only key moves).
        if (watched == edit())
            remember();
        break;
    case QEvent::FocusOut:
        if (watched == m_control || watched == edit())
            applyFormatMask();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}
