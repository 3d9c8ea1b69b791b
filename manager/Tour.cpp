#include "Tour.h"

#include "Catalogue.h"
#include "HostSettings.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QPainter>
#include <QPixmap>
#include <QScreen>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <thread>

namespace manager {

namespace {

constexpr int pollPause = 20;
constexpr int longestStep = 90000;      // milliseconds
constexpr int longestStandstill = 1000; // milliseconds that the GUI may stand still during a call on another thread

/** The screen where there is one, else the window's own picture of itself. */
QPixmap picture(const QWidget &window)
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return QGuiApplication::primaryScreen()->grabWindow(0);
    QPixmap pixmap = const_cast<QWidget &>(window).grab();
    const QWidgetList all = QApplication::topLevelWidgets();
    QPainter painter(&pixmap);
    for (QWidget *other : all) {
        if (other != &window && other->isVisible())
            painter.drawPixmap(QPoint(40, 40), other->grab());
    }
    return pixmap;
}

QString fileName(int number, const QString &name)
{
    QString plain = name.toLower();
    plain.replace(u' ', u'-').remove(u',').remove(u'\'');
    return QStringLiteral("%1-%2.png").arg(number, 2, 10, QLatin1Char('0')).arg(plain);
}

} // namespace

void TourContext::require(bool condition, const QString &otherwise)
{
    if (!condition)
        throw TourError(otherwise);
}

QString TourContext::served() const
{
    const QDir device(folder + QStringLiteral("/device"));
    const QStringList scratch = device.entryList({QStringLiteral("velmaro-demo-*")}, QDir::Dirs);
    require(scratch.size() == 1, QStringLiteral("the demo device's folder is not found"));
    return device.filePath(scratch.first() + QStringLiteral("/Shared"));
}

void TourContext::pause(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void TourContext::waitUntil(const std::function<bool()> &condition, const QString &otherwise, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        require(timer.elapsed() < milliseconds, otherwise);
        pause(pollPause);
    }
}

unsigned int TourContext::aside(const std::function<unsigned int()> &call)
{
    std::atomic<bool> done{false};
    unsigned int result = 0;
    std::thread thread([&] {
        result = call();
        done = true;
    });
    qint64 longest = 0;
    QElapsedTimer beat;
    beat.start();
    while (!done) {
        pause(pollPause);
        longest = qMax(longest, beat.restart());
    }
    thread.join();
    require(longest < longestStandstill, QStringLiteral("the window stood still for %1 ms").arg(longest));
    return result;
}

void TourContext::succeed(const QString &what, const std::function<unsigned int()> &call)
{
    const unsigned int result = aside(call);
    require(result == BTSDK_OK, QStringLiteral("%1: %2").arg(what, resultSentence(result)));
}

bool prepareTour(const QString &folder, QString *error)
{
    const QDir dir(folder);
    // A rerun starts afresh, and removes nothing but what a tour has made.
    for (const char *made : {"shared", "local", "data", "config", "device"})
        QDir(dir.filePath(QString::fromLatin1(made))).removeRecursively();
    for (const QString &old :
         dir.entryList({QStringLiteral("[0-9][0-9]-*.png"), QStringLiteral("tour.log")}, QDir::Files))
        QFile::remove(dir.filePath(old));
    for (const char *wanted : {"shared", "local", "data", "config", "device"}) {
        if (!dir.mkpath(QString::fromLatin1(wanted))) {
            *error = QCoreApplication::translate("Tour", "%1 cannot be made.")
                         .arg(dir.filePath(QString::fromLatin1(wanted)));
            return false;
        }
    }
    qputenv("VELMARO_SETTINGS", dir.filePath(QStringLiteral("config/settings.ini")).toUtf8());
    qputenv("TMPDIR", dir.filePath(QStringLiteral("device")).toUtf8()); // where the demo device keeps its files
    qputenv("XDG_DATA_HOME", dir.filePath(QStringLiteral("data")).toUtf8());
    const bool written =
        settings::write("FTPSERVER", "SHAREFOLDER", dir.filePath(QStringLiteral("shared"))) == BTSDK_OK &&
        settings::write("FTPSERVER", "status", QStringLiteral("enable")) == BTSDK_OK &&
        settings::write("FtpClient", "DefaultLocalFolder", dir.filePath(QStringLiteral("local"))) == BTSDK_OK;
    if (!written)
        *error = QCoreApplication::translate("Tour", "The settings of the tour cannot be written.");
    return written;
}

Tour::Tour(Manager &host, const QString &folder) : m_context(host, folder), m_log(folder + QStringLiteral("/tour.log"))
{
    m_context.snap = [this](const QString &name) { takeScreenshot(name); };
    m_watchdog.setInterval(longestStep);
    QObject::connect(&m_watchdog, &QTimer::timeout, [this] { closeBoxes(); });
}

bool Tour::run()
{
    if (!m_log.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    std::vector<TourStep> steps = sdkSteps();
    for (TourStep &step : windowSteps())
        steps.push_back(std::move(step));
    for (const TourStep &step : steps) {
        if (!runStep(step))
            return false;
    }
    log(QStringLiteral("%1 steps, all of them went well.").arg(steps.size()));
    return true;
}

void Tour::closeBoxes()
{
    while (QWidget *box = QApplication::activeModalWidget()) {
        takeScreenshot(QStringLiteral("an unexpected box"));
        log(QStringLiteral("A box was closed that nobody expected: %1").arg(box->windowTitle()));
        box->close();
        if (box == QApplication::activeModalWidget())
            break; // it refuses; the next beat tries again
    }
}

bool Tour::runStep(const TourStep &step)
{
    m_watchdog.start();
    QElapsedTimer timer;
    timer.start();
    QString failure;
    try {
        step.run(m_context);
    } catch (const std::exception &error) {
        failure = QString::fromUtf8(error.what());
    }
    const qint64 took = timer.elapsed();
    TourContext::pause(150); // what changed is drawn
    takeScreenshot(step.name);
    if (failure.isEmpty())
        log(QStringLiteral("PASS   : %1 (%2 ms)").arg(step.name).arg(took));
    else
        log(QStringLiteral("FAIL!  : %1: %2").arg(step.name, failure));
    return failure.isEmpty();
}

void Tour::takeScreenshot(const QString &name)
{
    const QString path = m_context.folder + u'/' + fileName(++m_pictures, name);
    if (!picture(m_context.host.window()).save(path))
        log(QStringLiteral("The screenshot %1 could not be saved.").arg(path));
}

void Tour::log(const QString &line)
{
    m_log.write(line.toUtf8() + '\n');
    m_log.flush();
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

} // namespace manager
