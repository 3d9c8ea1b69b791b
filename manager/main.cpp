#include "Manager.h"
#include "SignalWatch.h"
#include "Tour.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QIcon>

#include <cstdio>

namespace {

void setUp(QApplication &application)
{
    QApplication::setApplicationName(QStringLiteral("velmaro-manager"));
    QApplication::setApplicationVersion(QStringLiteral(VELMARO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("velmaro-manager"));
    // A desktop without a theme of its own still shows pictures.
    if (QIcon::themeName().isEmpty() || QIcon::themeName() == QLatin1String("hicolor"))
        QIcon::setThemeName(QStringLiteral("breeze"));
    QIcon::setFallbackThemeName(QStringLiteral("breeze"));
    application.setQuitOnLastWindowClosed(false);
}

int runTour(const QString &folder)
{
    QString error;
    if (!manager::prepareTour(folder, &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 2;
    }
    manager::Manager host(manager::Places::ofProgram());
    host.start();
    return manager::Tour(host, folder).run() ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    setUp(application);

    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate("main", "Devices, their services, and your own."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption tour(
        QStringLiteral("tour"),
        QCoreApplication::translate("main", "Show the main job by itself; leave screenshots and tour.log in <folder>."),
        QStringLiteral("folder"));
    parser.addOption(tour);
    parser.process(application);

    const manager::SignalWatch signalWatch;
    if (parser.isSet(tour))
        return runTour(QDir(parser.value(tour)).absolutePath());
    manager::Manager host(manager::Places::ofProgram());
    host.start();
    return QApplication::exec();
}
