#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>

class ControlsCollection;

// One watched control of a ControlsCollection: it reports the control's focus
// gain to its owner. The focus may land on the control itself or, for a
// composite control (an editable combo box, a spin box, a list with its
// viewport), on one of its inner parts; both count as the control's own.
class ControlObject : public QObject
{
    Q_OBJECT
public:
    // The kind of control, as far as the focus reporting cares. Directory,
    // drive and file lists have a kind of their own but are never bound, so
    // they never report the focus.
    enum class Kind {
        None,
        TextBox,
        ListBox,
        ComboBox,
        CheckBox,
        OptionButton,
        CommandButton,
        PictureBox,
        VScrollBar,
        HScrollBar,
        ExtControl,
        DirListBox,
        DriveListBox,
        FileListBox
    };

    explicit ControlObject(QObject *parent = nullptr);
    ~ControlObject() override;

    // Watches `control` for `owner`; false (and nothing watched) when the
    // control cannot take the focus (labels, frames, status bars), or is an
    // inner part of another control.
    bool Attach(QWidget *control, ControlsCollection *owner);
    // Tells the owner that the control has received the focus; false when the
    // owner sent the focus back.
    bool NotifyGotFocus();

    QWidget *control() const { return m_control; }
    Kind kind() const { return m_kind; }

    // Whether `w` is an inner part of a composite control (the line edit of a
    // combo or spin box, the viewport, header or scroll bars of a list), which
    // is watched through the control it belongs to.
    static bool isInnerPart(const QWidget *w);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    static Kind kindOf(const QWidget *control);

    QPointer<QWidget> m_control;
    QPointer<ControlsCollection> m_owner;
    QList<QPointer<QWidget>> m_watched;
    Kind m_kind = Kind::None;
};
