#pragma once

// Checks shared by the tests of the shell's dialogs.

#include <QDir>
#include <QPixmap>
#include <QRegularExpression>
#include <QWidget>
#include <QtTest>

// Every control named with a cmd, txt, lbl or pic prefix must carry an
// accessible name, and one with a tooltip must give that tooltip as its
// accessible description. Counts those controls into `controls`; a failed
// check is recorded by QtTest and stops the count, so the caller checks
// QTest::currentTestFailed() before using it.
inline void checkNamedControlsDescribed(QWidget &form, int &controls)
{
    controls = 0;
    for (QWidget *w : form.findChildren<QWidget *>()) {
        if (!QRegularExpression("^(cmd|txt|lbl|pic)").match(w->objectName()).hasMatch())
            continue;
        ++controls;
        QVERIFY2(!w->accessibleName().isEmpty(), qPrintable(w->objectName()));
        if (!w->toolTip().isEmpty())
            QCOMPARE(w->accessibleDescription(), w->toolTip());
    }
}

// Shows the form, grabs it and, when ULVEX_SHOT_DIR names a folder, saves the
// picture there as `fileName` to be looked at; skips the test otherwise. Call it
// as the last step of a test.
inline void saveFormPicture(QWidget &form, const QString &fileName)
{
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));
    const QPixmap shot = form.grab();
    QVERIFY(!shot.isNull());
    const QString dir = qEnvironmentVariable("ULVEX_SHOT_DIR");
    if (dir.isEmpty())
        QSKIP("set ULVEX_SHOT_DIR to write the picture");
    QVERIFY(shot.save(QDir(dir).filePath(fileName)));
}
