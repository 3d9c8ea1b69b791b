#ifndef SKINIMAGES_H
#define SKINIMAGES_H

#include <QString>

/** Path of a 16 by 16 image whose colour tells group and id; made on first use in a folder that goes with the process.
 */
Q_DECL_EXPORT QString skinImagePath(int group, int id, int variant);

#endif
