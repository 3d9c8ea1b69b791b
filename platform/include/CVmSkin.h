#ifndef CVMSKIN_H
#define CVMSKIN_H

#include <QString>

/** The images of the desktop's theme, by the numbers that profiles know them by. */
class Q_DECL_EXPORT CVmSkin
{
public:
    /**
     * @param group    2: service icons (id: service class, variant: size step); 11: file transfer client images
     * @param id       image id of the group
     * @param variant  0 normal
     * @return path of an image that QIcon and QPixmap can load; a neutral one for an unknown id, never empty
     */
    static QString GetImgPath(int group, int id, int variant);
};

#endif
