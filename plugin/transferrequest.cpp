#include "transferrequest.h"

namespace {

template <size_t size>
void fill(char (&field)[size], const QString &text)
{
    qstrncpy(field, text.toUtf8().constData(), size);
}

} // namespace

bool fitsTransferText(const QString &text)
{
    return text.toUtf8().size() <= maxTransferText;
}

std::unique_ptr<TransferRequest> makeTransferRequest(quint32 connection, const TransferNames &names, bool folder)
{
    auto request = std::make_unique<TransferRequest>();
    request->connection = connection;
    fill(request->remoteName, names.remoteName);
    fill(request->localPath, names.localPath);
    request->folder = folder ? 1 : 0;
    return request;
}
