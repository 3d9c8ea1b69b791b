#ifndef TRANSFERREQUEST_H
#define TRANSFERREQUEST_H

#include "WorkingThread.h"

#include <QByteArray>
#include <QString>

#include <memory>

/** The names of a get, put or delete before they are put into the worker's fixed record. */
struct TransferNames
{
    QString remoteName; // of the remote current folder, no path
    QString localPath;
};

/** The longest text of a record's field, in bytes of UTF-8. */
constexpr int maxTransferText = sizeof(TransferRequest::remoteName) - 1;

/** Whether a name or path fits in a record's field whole. */
bool fitsTransferText(const QString &text);

/** A record for the worker; a text that does not fit is cut at the byte count. */
std::unique_ptr<TransferRequest> makeTransferRequest(quint32 connection, const TransferNames &names, bool folder);

#endif
