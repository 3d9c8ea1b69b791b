#ifndef SKINIMAGE_H
#define SKINIMAGE_H

#include "CVmSkin.h"

#include <QString>

/** The images of the client window, by their numbers in the host's skin. */
enum SkinImage {
    SKIN_WINDOW = 100,
    SKIN_FOLDER = 105,
    SKIN_NEW_FOLDER = 106,
    SKIN_COPY = 107,
    SKIN_PASTE = 108,
    SKIN_UP = 109,
    SKIN_FILE = 110,
    SKIN_UPLOAD = 111,
    SKIN_DOWNLOAD = 112,
    SKIN_LIST = 113,
    SKIN_DETAILS = 114,
    SKIN_REFRESH = 115,
    SKIN_DELETE = 117,
    SKIN_HARD_DISK = 118,
    SKIN_USB = 119
};

/** The path of a skin image of the client window. */
inline QString skinImage(SkinImage id)
{
    constexpr int clientGroup = 11;
    return CVmSkin::GetImgPath(clientGroup, id, 0);
}

#endif
