#pragma once

#include <QApplication>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

// Drives a modal window the code under test opens: polls for a visible window
// of type T and hands it to `act`. When none appears within the time limit the
// active modal window is closed, so a failing test ends instead of hanging,
// and `missed` (when given) is set.
template <typename T>
void whenShown(std::function<void(T *)> act, bool *missed = nullptr, int limitMs = 5000)
{
    auto *timer = new QTimer;
    timer->setInterval(20);
    auto elapsed = std::make_shared<int>(0);
    QObject::connect(timer, &QTimer::timeout, [timer, elapsed, act, missed, limitMs] {
        for (QWidget *w : QApplication::topLevelWidgets()) {
            T *t = qobject_cast<T *>(w);
            if (t && t->isVisible()) {
                timer->stop();
                timer->deleteLater();
                act(t);
                return;
            }
        }
        *elapsed += timer->interval();
        if (*elapsed > limitMs) {
            timer->stop();
            timer->deleteLater();
            if (missed)
                *missed = true;
            if (QWidget *modal = QApplication::activeModalWidget())
                modal->close();
        }
    });
    timer->start();
}
