#ifndef DEMO_SAMPLETREE_H
#define DEMO_SAMPLETREE_H

#include <QString>

/** What the sample is to hold besides its small files. */
struct SampleSizes
{
    qint64 largeFile; ///< bytes
    int entries;      ///< of the folder "Many entries"; 0 leaves it out
};

/** Fills an empty folder with files and folders of all kinds that file transfer has to cope with.
 *  @return false with a reason when the disk does not take it */
bool makeSample(const QString &folder, const QString &deviceName, const SampleSizes &sizes, QString *error);

#endif
