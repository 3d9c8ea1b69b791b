#ifndef DEMO_SCRATCH_H
#define DEMO_SCRATCH_H

#include <QString>

#include <memory>

/**
 * A temporary folder that is removed with all that it holds when the object goes. Those of demo devices that were
 * killed, and so could not remove theirs, are removed when the next one is made.
 */
class Scratch
{
public:
    /** @param error  says why, when null is returned */
    static std::unique_ptr<Scratch> create(QString *error);
    ~Scratch();
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    QString path() const { return m_path; }

private:
    Scratch(QString path, int lock) : m_path(std::move(path)), m_lock(lock) {}

    QString m_path;
    int m_lock; ///< held open and locked while the folder is in use
};

#endif
