#include "share/status.h"

#include <cerrno>

namespace share {

Status readStatus(int error)
{
    switch (error) {
    case 0:
        return Status::Ok;
    case ENOENT:
        return Status::NotFound;
    case ENAMETOOLONG:
        return Status::BadName;
    case ENOTDIR:
    case EISDIR:
        return Status::WrongKind;
    case EXDEV: // the path leads out of the share
    case ELOOP:
    case EACCES:
    case EPERM:
    case ENXIO:
        return Status::Refused;
    default:
        return Status::Failed;
    }
}

Status writeStatus(int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return Status::Full;
    case EACCES:
    case EPERM:
    case EROFS:
        return Status::ReadOnly;
    case EEXIST:
    case ENOTEMPTY:
        return Status::WrongKind;
    default:
        return readStatus(error);
    }
}

} // namespace share
