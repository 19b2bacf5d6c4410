#include "settings/ControlsCollection.h"

#include "settings/ControlObject.h"

#include <QVariant>

namespace {
const char *const CausesValidationProperty = "CausesValidation";
}

ControlsCollection::ControlsCollection(QObject *parent) : QObject(parent) {}

ControlsCollection::~ControlsCollection()
{
    Destroy();
}

void ControlsCollection::Init(QWidget *window, bool ReverseEventsOrder)
{
    Destroy();
    m_reverseEventsOrder = ReverseEventsOrder;
    if (window == nullptr)
        return;
    // findChildren walks the window's controls depth first in creation order,
    // which is the order the window lists them in.
    for (QWidget *control : window->findChildren<QWidget *>()) {
        // Pop-ups (a combo box's list) are windows of their own.
        if (control->window() != window)
            continue;
        auto *object = new ControlObject(this);
        if (object->Attach(control, this))
            m_controls << object;
        else
            delete object;
    }
}

void ControlsCollection::Destroy()
{
    qDeleteAll(m_controls);
    m_controls.clear();
    m_current = nullptr;
    m_reentry = false;
}

QList<QWidget *> ControlsCollection::controls() const
{
    QList<QWidget *> list;
    for (const ControlObject *object : m_controls)
        if (object->control() != nullptr)
            list << object->control();
    return list;
}

bool ControlsCollection::causesValidation(const QWidget *control)
{
    const QVariant value = control->property(CausesValidationProperty);
    return !value.isValid() || value.toBool();
}

void ControlsCollection::setCausesValidation(QWidget *control, bool value)
{
    control->setProperty(CausesValidationProperty, value);
}

bool ControlsCollection::ValidateControls()
{
    if (!m_current)
        return true;
    bool cancel = false;
    emit Validate(m_current, cancel);
    return !cancel;
}

bool ControlsCollection::ValidateAllControls()
{
    for (const ControlObject *object : std::as_const(m_controls)) {
        QWidget *control = object->control();
        if (control == nullptr)
            continue;
        bool cancel = false;
        emit Validate(control, cancel);
        if (cancel) {
            control->setFocus(Qt::OtherFocusReason);
            return false;
        }
    }
    return true;
}

bool ControlsCollection::ControlGotFocus(QWidget *control)
{
    if (m_reentry || control == m_current)
        return true;

    if (m_current && causesValidation(control)) {
        bool cancel = false;
        emit Validate(m_current, cancel);
        if (cancel) {
            // The refused control keeps the focus and stays current.
            m_reentry = true;
            if (m_current)
                m_current->setFocus(Qt::OtherFocusReason);
            m_reentry = false;
            return false;
        }
    }

    QPointer<QWidget> previous = m_current;
    if (m_reverseEventsOrder) {
        if (previous)
            emit LostFocus(previous);
        emit GotFocus(control);
    } else {
        emit GotFocus(control);
        if (previous)
            emit LostFocus(previous);
    }
    m_current = control;
    return true;
}
