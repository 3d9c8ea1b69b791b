#ifndef REMOTEPATH_H
#define REMOTEPATH_H

#include <QString>

/** Paths on the remote device: "/" separated, the root being "/". Pure functions. */
namespace remotepath {

/** The folder above; the root is its own parent. */
QString parent(const QString &path);

/** An entry of a folder. */
QString child(const QString &folder, const QString &name);

/** What a listing of the folder is called: its last name, "/" for the root. */
QString lastName(const QString &path);

} // namespace remotepath

#endif
