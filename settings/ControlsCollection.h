#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>

class ControlObject;

// Field-level validation for any window: watches which of the window's
// controls has the focus and, before the focus may settle on another control,
// asks the window (signal Validate) whether the control being left holds an
// acceptable value. When the window refuses, the focus goes back to that
// control. The window also hears of every focus move (GotFocus, LostFocus).
//
// The focus is tracked through each control's own focus-in event, so the
// framework works on whatever window it is given; nothing in it knows any
// particular dialog.
//
// A control whose dynamic property "CausesValidation" is false (see
// setCausesValidation) may take the focus without the control being left
// having to validate, as a "Cancel" or "Help" button usually should.
class ControlsCollection : public QObject
{
    Q_OBJECT
public:
    explicit ControlsCollection(QObject *parent = nullptr);
    ~ControlsCollection() override;

    // Watches every control of `window` that can take the focus (see
    // ControlObject::Attach), in the order of the window's controls.
    // ReverseEventsOrder false: the new control's GotFocus comes before the old
    // control's LostFocus; true: the other way round.
    void Init(QWidget *window, bool ReverseEventsOrder);
    // Stops watching; the current control is forgotten.
    void Destroy();

    // Asks the window to validate the current control; false when it refuses.
    // True when there is no current control.
    bool ValidateControls();
    // Asks the window to validate every watched control in order; the first one
    // refused gets the focus and false is returned.
    bool ValidateAllControls();

    // The focus logic, called by a ControlObject whose control has just
    // received the focus. Returns false when the move was refused and the focus
    // sent back to the current control.
    bool ControlGotFocus(QWidget *control);

    bool reverseEventsOrder() const { return m_reverseEventsOrder; }
    QWidget *currentControl() const { return m_current; }
    // The watched controls, in collection order.
    QList<QWidget *> controls() const;

    // The "CausesValidation" setting of a control (true unless set false).
    static bool causesValidation(const QWidget *control);
    static void setCausesValidation(QWidget *control, bool value);

signals:
    // Set `Cancel` true to refuse the control's value: the focus then stays on
    // it. Connect directly (the flag is passed by reference).
    void Validate(QWidget *Control, bool &Cancel);
    void LostFocus(QWidget *Control);
    void GotFocus(QWidget *Control);

private:
    bool m_reverseEventsOrder = false;
    QPointer<QWidget> m_current;
    QList<ControlObject *> m_controls;
    bool m_reentry = false;
};
