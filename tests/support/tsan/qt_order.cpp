// Tells ThreadSanitizer of the order that Qt's locks, posted events and threads bring about.
//
// The distribution's QtCore is not instrumented, so that the sanitizer sees neither the futex inside QMutex nor the
// event queue, and takes every queued signal for a race. This library stands before QtCore in each test program of
// the ThreadSanitizer build and adds the missing edges, each keyed by the one object that carries it (the mutex, the
// receiver, the sender, the thread), so that a race on anything else stays visible.

#include <QCoreApplication>
#include <QMutex>
#include <QSemaphore>
#include <QThread>
#include <QWaitCondition>

#include <dlfcn.h>
#include <private/qobject_p.h>
#include <sanitizer/tsan_interface.h>

namespace {

void acquire(const void *key)
{
    __tsan_acquire(const_cast<void *>(key));
}

void release(const void *key)
{
    __tsan_release(const_cast<void *>(key));
}

// The function that this library stands before, by its mangled name.
template <typename Function>
Function next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// An event reaches its receiver: what its poster did before is visible from here on.
bool eventDelivered(void **data)
{
    acquire(data[0]);
    auto *event = static_cast<QEvent *>(data[1]);
    if (event->type() == QEvent::MetaCall)
        acquire(static_cast<QAbstractMetaCallEvent *>(event)->sender());
    return false;
}

// A signal is emitted, QThread's own started() and finished() among them.
void signalEmitted(QObject *caller, int, void **)
{
    acquire(caller);
    release(caller);
}

// Its directly connected slots have run, on a thread that may be joined next.
void slotsRun(QObject *caller, int)
{
    release(caller);
}

struct Installer
{
    Installer()
    {
        static QSignalSpyCallbackSet callbacks = {signalEmitted, nullptr, slotsRun, nullptr};
        qt_register_signal_spy_callbacks(&callbacks);
        QInternal::registerCallback(QInternal::EventNotifyCallback, eventDelivered);
    }
} installer;

} // namespace

void QMutex::lock()
{
    static const auto real = next<void (*)(QMutex *)>("_ZN6QMutex4lockEv");
    real(this);
    acquire(this);
}

bool QMutex::tryLock(int timeout)
{
    static const auto real = next<bool (*)(QMutex *, int)>("_ZN6QMutex7tryLockEi");
    const bool locked = real(this, timeout);
    if (locked)
        acquire(this);
    return locked;
}

void QMutex::unlock()
{
    static const auto real = next<void (*)(QMutex *)>("_ZN6QMutex6unlockEv");
    release(this);
    real(this);
}

bool QWaitCondition::wait(QMutex *mutex, QDeadlineTimer deadline)
{
    static const auto real =
        next<bool (*)(QWaitCondition *, QMutex *, QDeadlineTimer)>("_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    release(mutex);
    const bool woken = real(this, mutex, deadline);
    acquire(mutex);
    return woken;
}

void QSemaphore::acquire(int count)
{
    static const auto real = next<void (*)(QSemaphore *, int)>("_ZN10QSemaphore7acquireEi");
    real(this, count);
    ::acquire(this);
}

void QSemaphore::release(int count)
{
    static const auto real = next<void (*)(QSemaphore *, int)>("_ZN10QSemaphore7releaseEi");
    ::release(this);
    real(this, count);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto real = next<bool (*)(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = real(this, deadline);
    if (ended)
        acquire(this);
    return ended;
}

bool QThread::wait(unsigned long milliseconds)
{
    static const auto real = next<bool (*)(QThread *, unsigned long)>("_ZN7QThread4waitEm");
    const bool ended = real(this, milliseconds);
    if (ended)
        acquire(this);
    return ended;
}

bool QThread::isRunning() const
{
    static const auto real = next<bool (*)(const QThread *)>("_ZNK7QThread9isRunningEv");
    const bool running = real(this);
    if (!running)
        acquire(this);
    return running;
}

void QCoreApplication::postEvent(QObject *receiver, QEvent *event, int priority)
{
    static const auto real =
        next<void (*)(QObject *, QEvent *, int)>("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    release(receiver);
    real(receiver, event, priority);
}

void QObject::deleteLater()
{
    static const auto real = next<void (*)(QObject *)>("_ZN7QObject11deleteLaterEv");
    release(this);
    real(this);
}

bool QMetaObject::invokeMethodImpl(QObject *object, QtPrivate::QSlotObjectBase *slot, Qt::ConnectionType type,
                                   void *result)
{
    static const auto real = next<bool (*)(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *)>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    release(object);
    return real(object, slot, type, result);
}

bool QMetaObject::invokeMethod(QObject *object, const char *member, Qt::ConnectionType type, QGenericReturnArgument ret,
                               QGenericArgument a0, QGenericArgument a1, QGenericArgument a2, QGenericArgument a3,
                               QGenericArgument a4, QGenericArgument a5, QGenericArgument a6, QGenericArgument a7,
                               QGenericArgument a8, QGenericArgument a9)
{
    using Function = bool (*)(QObject *, const char *, Qt::ConnectionType, QGenericReturnArgument, QGenericArgument,
                              QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument,
                              QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument);
    static const auto real =
        next<Function>("_ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22QGenericR"
                       "eturnArgument16QGenericArgumentS7_S7_S7_S7_S7_S7_S7_S7_S7_");
    release(object);
    return real(object, member, type, ret, a0, a1, a2, a3, a4, a5, a6, a7, a8, a9);
}
