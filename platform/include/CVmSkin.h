#ifndef CVMSKIN_H
#define CVMSKIN_H

#include <QString>

/** The images of the desktop's theme, by the numbers that profiles know them by. For the GUI thread: it looks at the
 *  palette, for a light or a dark theme. */
class Q_DECL_EXPORT CVmSkin
{
public:
    /**
     * @param group    2: service icons (id: service class, variant: size step); 11: file transfer client images
     * @param id       image id of the group
     * @param variant  of a service icon: 0 to 4 for 16, 22, 32, 48 and 64 pixels, brought into that range; of a client
     *                 image: not looked at
     * @return path of an image that QIcon and QPixmap can load, of a file or of a resource of this library; a neutral
     * one for an unknown id, never empty
     */
    static QString GetImgPath(int group, int id, int variant);
};

#endif
