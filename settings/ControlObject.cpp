#include "settings/ControlObject.h"

#include "settings/ControlsCollection.h"

#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTextEdit>
#include <QToolButton>

namespace {

// Controls made of inner widgets that take the focus on the control's behalf.
bool isComposite(const QWidget *w)
{
    return qobject_cast<const QComboBox *>(w) || qobject_cast<const QAbstractSpinBox *>(w)
           || qobject_cast<const QAbstractItemView *>(w) || qobject_cast<const QTextEdit *>(w)
           || qobject_cast<const QPlainTextEdit *>(w) || qobject_cast<const QTabBar *>(w)
           || qobject_cast<const QAbstractSlider *>(w);
}

// The control that `w` belongs to: the outermost composite control around it,
// a tab widget for its own tab bar, or `w` itself.
QWidget *outerControl(QWidget *w)
{
    QWidget *owner = w;
    for (QWidget *a = w->parentWidget(); a != nullptr && !w->isWindow() && !a->isWindow();
         a = a->parentWidget()) {
        if (isComposite(a))
            owner = a;
        else if (auto *tabs = qobject_cast<QTabWidget *>(a)) {
            if (owner == tabs->tabBar())
                owner = a;
        } else if ((a->objectName() == QLatin1String("qt_scrollarea_hcontainer")
                    || a->objectName() == QLatin1String("qt_scrollarea_vcontainer"))
                   && a->parentWidget() != nullptr) {
            // The scroll bars of a scroll area sit in containers of their own.
            owner = a->parentWidget();
        }
    }
    return owner;
}

} // namespace

ControlObject::ControlObject(QObject *parent) : QObject(parent) {}

ControlObject::~ControlObject()
{
    for (const QPointer<QWidget> &w : std::as_const(m_watched))
        if (w)
            w->removeEventFilter(this);
}

bool ControlObject::isInnerPart(const QWidget *w)
{
    return w != nullptr && outerControl(const_cast<QWidget *>(w)) != w;
}

ControlObject::Kind ControlObject::kindOf(const QWidget *c)
{
    // Tried in the order text box, list box, combo box, check box, option
    // button, command button, picture box, vertical and horizontal scroll bar,
    // and last any other control.
    if (qobject_cast<const QLineEdit *>(c) || qobject_cast<const QTextEdit *>(c)
        || qobject_cast<const QPlainTextEdit *>(c))
        return Kind::TextBox;
    if (qobject_cast<const QListView *>(c))
        return Kind::ListBox;
    if (qobject_cast<const QComboBox *>(c))
        return Kind::ComboBox;
    if (auto *box = qobject_cast<const QCheckBox *>(c)) {
        // Check boxes of one exclusive group behave as option buttons.
        if (box->group() != nullptr && box->group()->exclusive())
            return Kind::OptionButton;
        return Kind::CheckBox;
    }
    if (qobject_cast<const QRadioButton *>(c))
        return Kind::OptionButton;
    if (qobject_cast<const QPushButton *>(c) || qobject_cast<const QToolButton *>(c))
        return Kind::CommandButton;
    if (c->inherits("PictureBox"))
        return Kind::PictureBox;
    if (auto *bar = qobject_cast<const QScrollBar *>(c))
        return bar->orientation() == Qt::Vertical ? Kind::VScrollBar : Kind::HScrollBar;
    return Kind::ExtControl;
}

bool ControlObject::Attach(QWidget *control, ControlsCollection *owner)
{
    // Only controls that can be tabbed to or clicked into take part; labels,
    // frames and status bars never hold the focus.
    if (control == nullptr || owner == nullptr || control->isWindow()
        || control->focusPolicy() == Qt::NoFocus || isInnerPart(control))
        return false;
    m_kind = kindOf(control);
    m_control = control;
    m_owner = owner;
    m_watched.clear();
    m_watched << control;
    for (QWidget *part : control->findChildren<QWidget *>())
        if (!part->isWindow() && outerControl(part) == control)
            m_watched << part;
    for (const QPointer<QWidget> &w : std::as_const(m_watched))
        w->installEventFilter(this);
    return true;
}

bool ControlObject::NotifyGotFocus()
{
    if (!m_owner || !m_control)
        return true;
    return m_owner->ControlGotFocus(m_control);
}

bool ControlObject::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn) {
        // A refused move has already sent the focus back: the control that
        // was about to get it does not see its focus-in at all.
        if (!NotifyGotFocus())
            return true;
    }
    return QObject::eventFilter(watched, event);
}
