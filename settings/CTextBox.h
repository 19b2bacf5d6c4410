#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <QWidget>

class QLineEdit;

// The rules of one validated field (a line edit or a combo box with an edit
// field) and its keystroke filter.
//
// The filter runs on every change of the text, typed or set by the program:
// a change that breaks a rule a half-typed value could already break (a
// character outside the allowed set, a misplaced "-", a second decimal point,
// a date with a third "/", a text over MaxLength) is undone at once, the last
// valid text and caret coming back; nothing is shown. The full check (bounds,
// lengths, an empty field) is Validate(false), which the window runs when the
// field is left (see ControlsCollection) and before it accepts its values.
class CTextBox : public QObject
{
    Q_OBJECT
public:
    // Kinds of value (ValueType). Any other code is free text.
    enum : qint16 {
        vbInteger = 2,  // 16-bit integer
        vbLong = 3,     // 32-bit integer
        vbSingle = 4,   // single-precision float
        vbDouble = 5,   // double-precision float
        vbCurrency = 6, // fixed point with four decimal places
        vbDate = 7,     // date and time, read by the user's locale
        vbString = 8
    };
    // Error number and text of Init with a control that is neither a line edit
    // nor a combo box.
    static constexpr int InvalidControlTypeError = 5;

    explicit CTextBox(QObject *parent = nullptr);
    ~CTextBox() override;

    // Binds the wrapper to `control` and remembers its current text and caret.
    // Throws UlvexError 5 "Invalid Control Type" for any control other than a
    // QLineEdit or a QComboBox. Empty bounds mean no bound.
    void Init(QWidget *control, qint16 valueType, const QVariant &minValue = QVariant(),
              const QVariant &maxValue = QVariant(), bool isOptional = false);

    // The control's text against the rules; with `typing` true only the rules
    // a half-typed value can already break.
    bool Validate(bool typing) const;
    // The same rules on any text; needs no control.
    bool ValidateText(const QString &text, bool typing) const;
    // Runs the full check; when the value is invalid, shows `message` in a
    // message box titled "Invalid Value" with the exclamation icon, puts the
    // focus back in the field and returns false.
    bool ValidateMsg(const QString &message);

    QWidget *control() const { return m_control; }
    QString text() const;
    // The remembered state the filter puts back.
    QString lastValidText() const { return m_lastText; }
    int lastSelStart() const { return m_selStart; }
    int lastSelLength() const { return m_selLength; }

    // The characters a value type allows by default ("" for free text),
    // with "-" in front for numbers when MinValue is below 0.
    QString allowedChars() const;

    // Converts text to the kind of value; an invalid QVariant when it does not
    // convert (malformed, or outside the type's range). Integers and currency
    // round a half to the even neighbour; numbers use "." as the decimal point;
    // dates are read by the user's locale (day, month and year order) with "/"
    // or "-" between the parts, or as a time with ":".
    static QVariant convert(const QString &text, qint16 valueType);
    // The value formatted with a display mask: numeric masks of "0", "#", ".",
    // "," and "%" with literal text around them, date masks of d, m, y, h, n
    // (minutes) and s, and the named formats "Fixed", "Standard", "Percent",
    // "General Number", "Short Date", "Long Date", "Short Time", "Long Time"
    // and "General Date". An empty mask gives the value's plain text.
    static QString Format(const QVariant &value, const QString &mask);

    // Plain properties.
    qint16 ValueType = vbString;
    QVariant MinValue;
    QVariant MaxValue;
    qint32 MaxLength = 0; // 0: no limit
    qint32 MinLength = 0;
    QString FormatMask;
    bool IsOptional = false;
    QString ValidChars;
    QString InvalidChars;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QLineEdit *edit() const;
    void textChanged();
    void remember();
    void release();
    void applyFormatMask();
    bool outOfBounds(const QVariant &value) const;

    QPointer<QWidget> m_control;
    QPointer<QWidget> m_window;
    QString m_lastText;
    int m_selStart = 0;
    int m_selLength = 0;
    bool m_busy = false;
};
