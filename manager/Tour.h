#ifndef MANAGER_TOUR_H
#define MANAGER_TOUR_H

#include "Manager.h"

#include <QElapsedTimer>
#include <QFile>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <stdexcept>
#include <vector>

namespace manager {

/** Why a step of the tour failed. */
class TourError : public std::runtime_error
{
public:
    explicit TourError(const QString &what) : std::runtime_error(what.toStdString()) {}
};

/** What the steps share: the program, the folders that they work in, and ways to wait with the GUI alive. */
class TourContext
{
public:
    TourContext(Manager &manager, const QString &place) : host(manager), folder(place) {}

    Manager &host;
    const QString folder;
    unsigned int connection = 0;
    unsigned int localDevice = 0; ///< this computer's own service, as a device
    QString remoteFile;           ///< a file that the demo device offers
    QPointer<QWidget> client;     ///< the client window, once it is open

    QString shared() const { return folder + QStringLiteral("/shared"); } ///< the shared folder
    QString local() const { return folder + QStringLiteral("/local"); }   ///< the client window's folder
    QString served() const;                                               ///< what the demo device serves, on disk

    /** Takes a screenshot in mid-step. */
    std::function<void(const QString &name)> snap;

    static void require(bool condition, const QString &otherwise);
    /** Turns the event loop until the condition holds. Throws TourError after the time-out. */
    static void waitUntil(const std::function<bool()> &condition, const QString &otherwise, int milliseconds = 15000);
    static void pause(int milliseconds);
    /** Runs a blocking call on a thread of its own, and requires that the GUI thread kept turning. */
    static unsigned int aside(const std::function<unsigned int()> &call);
    /** As above; throws with the SDK's words unless the result is 0. */
    static void succeed(const QString &what, const std::function<unsigned int()> &call);
};

struct TourStep
{
    QString name;
    std::function<void(TourContext &)> run;
};

/** Through the SDK's functions: load, list, connect, browse, get, put, delete. */
std::vector<TourStep> sdkSteps();
/** Through the client window: open, browse, download, upload, new folder, rename, delete, cancel, close. */
std::vector<TourStep> windowSteps();

/** Makes the folder and settings that the tour uses in place of the user's. Before anything else is started. */
bool prepareTour(const QString &folder, QString *error);

/** Shows the main job by itself and writes down what happened. */
class Tour
{
public:
    Tour(Manager &host, const QString &folder);

    /** Stops at the first step that fails. Every step leaves a screenshot and a line in tour.log. */
    bool run();

private:
    bool runStep(const TourStep &step);
    void takeScreenshot(const QString &name);
    void closeBoxes();
    void log(const QString &line);

    TourContext m_context;
    QFile m_log;
    QTimer m_watchdog; ///< closes boxes that nobody expected, which would hold the tour for ever
    int m_pictures = 0;
};

} // namespace manager

#endif
