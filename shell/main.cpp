#include "shell/ResourceImages.h"
#include "shell/basMain.h"
#include "shell/frmMDIMain.h"

#include <QApplication>
#include <memory>

int main(int argc, char *argv[])
{
    basMain::markProcessStart();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Ulvex"));
    QApplication::setApplicationVersion(QStringLiteral(ULVEX_VERSION));
    QApplication::setWindowIcon(ResourceImages::icon(114));
    ResourceImages::registerFontSubstitutes();

    std::unique_ptr<frmMDIMain> frame(basMain::Main());
    if (!frame)
        return 0; // disclaimer refused: no window is left behind
    return app.exec();
}
