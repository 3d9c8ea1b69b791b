#ifndef TESTS_DIALOGS_FAKESDK_H
#define TESTS_DIALOGS_FAKESDK_H

#include "btsdk_host.h"

#include <QByteArray>

/** The functions of the SDK and the common library that the dialogs call, answered from these records. */
struct FakeSdk
{
    BtSdkDeviceInfo device = {};
    BtSdkShortcutInfo shortcut = {};
    BtSdkServerInfo server = {};
    QByteArray passkey = "271828";
    int shortcutReads = 0;
    int serverReads = 0;

    /** A network device 1 with shortcut 2, not connected, and a stopped server 3. */
    void reset();
};

extern FakeSdk fakeSdk;

/** Fills a text field of a record, cut to fit. */
template <size_t N>
void setText(char (&field)[N], const QByteArray &text)
{
    qstrncpy(field, text.constData(), N);
}

#endif
