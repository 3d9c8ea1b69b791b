#include "api/results.h"

namespace api {

namespace {

struct Texts
{
    unsigned int result;
    const char *text;
    const char *advice;
};

constexpr Texts ownTexts[] = {
    {BTSDK_OK, "Done.", ""},
    {BTSDK_ER_INVALID_PARAMETER, "The name or value cannot be used.",
     "Choose another one: it may not be empty, \".\" or \"..\", nor hold a slash."},
    {BTSDK_ER_INVALID_HANDLE, "The device or service is not known any more.", "Refresh the list and choose it again."},
    {BTSDK_ER_NAME_TOO_LONG, "The name is too long.", "Choose a shorter one: 255 bytes are the limit."},
    {BTSDK_ER_BUFFER_TOO_SMALL, "The text is too long for the program that asked for it.",
     "Shorten the name or the path that is to be shown."},
    {BTSDK_ER_NOT_CONNECTED, "The connection has ended.", "Connect to the device again."},
    {BTSDK_ER_BUSY, "The connection is in use.", "Wait until the running transfer has ended, or cancel it."},
    {BTSDK_ER_CANCELLED, "The operation was cancelled.",
     "Start it again whenever you like; nothing was left half done."},
    {BTSDK_ER_TIMED_OUT, "The device did not answer.", "Is it in range and is its file transfer service on?"},
    {BTSDK_ER_CONNECT_FAILED, "The device cannot be reached.",
     "Is it switched on and in range, and are its address and port right?"},
    {BTSDK_ER_LINK_LOST, "The connection to the device broke.", "Bring the device closer and connect again."},
    {BTSDK_ER_PROTOCOL, "The device sent an answer that makes no sense.",
     "Connect again; if it comes back, the device's file transfer service is at fault."},
    {BTSDK_ER_LOCAL_FILE, "A file or folder on this computer cannot be read, written or replaced.",
     "Look at its permissions, and whether a folder stands where a file should go."},
    {BTSDK_ER_DISK_FULL, "There is no room for it on this computer.",
     "Make room on the disk, or choose another one: some take no file of 4 GiB or more."},
    {BTSDK_ER_NO_TRANSPORT, "There is nothing to connect through.",
     "Switch Bluetooth on, or look at the network's address and port in the settings."},
    {BTSDK_ER_NOT_SUPPORTED, "The device does not offer file transfer.",
     "Look whether its file transfer service can be switched on."},
    {BTSDK_ER_SETTINGS, "The settings file cannot be read or written.",
     "Look at its permissions and at those of its folder."},
    {BTSDK_ER_AUTHENTICATION, "The device did not get the right passkey.",
     "Connect again and type the passkey that the device shows."},
    {BTSDK_ER_CALLBACK, "That cannot be done from within a notification.", "Try again when it has ended."},
    {BTSDK_ER_LOCAL_FULL, "There is more of it than can be handled.",
     "End other connections, or work on fewer files at a time."},
    {BTSDK_ER_INTERNAL, "Something went wrong on this computer.",
     "Try again; if it comes back, start the program anew."},
};

// Responses of IrOBEX 1.5, 3.2.1, with the final bit.
constexpr Texts peerTexts[] = {
    {0xB0, "The device answered with several choices.", "Nothing can be done from here: the device must decide."},
    {0xB1, "The device has moved it elsewhere.", "Refresh the list and look for it in another folder."},
    {0xB2, "The device has moved it elsewhere for now.", "Try again later, or look for it in another folder."},
    {0xB3, "The device has it elsewhere.", "Look for it in another folder of the device."},
    {0xB4, "The device says that nothing has changed.", "Refresh the list; you may have it already."},
    {0xB5, "The device wants to be reached by another way.", "Nothing can be done from here."},
    {0xC0, "The device did not understand the request.", "The name may hold characters that the device does not know."},
    {0xC1, "The device does not allow it.", "Its files may be read-only: look at the device's sharing settings."},
    {0xC2, "The device wants to be paid for it.", "Nothing can be done from here."},
    {0xC3, "The device does not allow it.", "Its files may be read-only: look at the device's sharing settings."},
    {0xC4, "The device has no file or folder of that name.", "Refresh the list: it may have been moved or deleted."},
    {0xC5, "The device does not know this operation.", "Its file transfer service cannot do it."},
    {0xC6, "The device refused the request.", "The name or the place may not suit it: try another one."},
    {0xC7, "The device wants a passkey for its own network.", "Sign in on the device first."},
    {0xC8, "The device gave up waiting.", "Try again."},
    {0xC9, "The device has something else there.", "A file or folder of that name may exist already."},
    {0xCA, "The device does not have it any more.", "Refresh the list: it was deleted."},
    {0xCB, "The device wants to know the size beforehand.", "Nothing can be done from here: the size is sent already."},
    {0xCC, "The device refused the request.", "It may have changed meanwhile: refresh the list and try again."},
    {0xCD, "The file is too large for the device.", "Make room on the device, or send smaller files."},
    {0xCE, "The name is too long for the device.", "Choose a shorter one."},
    {0xCF, "The device does not accept files of this kind.",
     "Send it another kind of file, or pack it into an archive."},
    {0xD0, "The device failed.", "Try again; if it comes back, restart the device's file transfer service."},
    {0xD1, "The device cannot do this.", "Its file transfer service does not know the operation."},
    {0xD2, "The device has lost its own connection.", "Try again later."},
    {0xD3, "The device's file transfer service is not available.", "Wait a little, or switch it off and on again."},
    {0xD4, "The device gave up waiting.", "Try again."},
    {0xD5, "The device knows only another version of the protocol.", "Nothing can be done from here."},
    {0xE0, "The device has no room for it.", "Make room on the device and try again."},
    {0xE1, "The file is in use on the device.", "Close it there and try again."},
};

constexpr Texts unknownText = {0, "The operation failed.", "Try again."};
constexpr Texts unknownRefusal = {0, "The device refused the request.", "Try again, or look at the device itself."};

const Texts &find(unsigned int result)
{
    for (const Texts &texts : ownTexts) {
        if (texts.result == result)
            return texts;
    }
    for (const Texts &texts : peerTexts) {
        if (BTSDK_OBEX_BASE + texts.result == result)
            return texts;
    }
    return result >= BTSDK_OBEX_BASE && result <= BTSDK_OBEX_BASE + 0xFF ? unknownRefusal : unknownText;
}

} // namespace

unsigned int resultOf(const obex::Outcome &outcome)
{
    switch (outcome.error) {
    case obex::Error::None:
        return BTSDK_OK;
    case obex::Error::Refused:
        return BTSDK_OBEX_BASE + (static_cast<unsigned int>(outcome.response) | 0x80u);
    case obex::Error::InvalidParameter:
        return BTSDK_ER_INVALID_PARAMETER;
    case obex::Error::NameTooLong:
        return BTSDK_ER_NAME_TOO_LONG;
    case obex::Error::NotConnected:
        return BTSDK_ER_NOT_CONNECTED;
    case obex::Error::Busy:
        return BTSDK_ER_BUSY;
    case obex::Error::Cancelled:
        return BTSDK_ER_CANCELLED;
    case obex::Error::TimedOut:
        return BTSDK_ER_TIMED_OUT;
    case obex::Error::LinkLost:
        return BTSDK_ER_LINK_LOST;
    case obex::Error::Protocol:
        return BTSDK_ER_PROTOCOL;
    case obex::Error::LocalFile:
        return BTSDK_ER_LOCAL_FILE;
    case obex::Error::DiskFull:
        return BTSDK_ER_DISK_FULL;
    case obex::Error::NotSupported:
        return BTSDK_ER_NOT_SUPPORTED;
    case obex::Error::Authentication:
        return BTSDK_ER_AUTHENTICATION;
    case obex::Error::TooMuch:
        return BTSDK_ER_LOCAL_FULL;
    case obex::Error::Internal:
        break;
    }
    return BTSDK_ER_INTERNAL;
}

unsigned int resultOfDial(transport::IoStatus status)
{
    switch (status) {
    case transport::IoStatus::TimedOut:
        return BTSDK_ER_TIMED_OUT;
    case transport::IoStatus::Woken:
        return BTSDK_ER_CANCELLED;
    default:
        return BTSDK_ER_CONNECT_FAILED;
    }
}

unsigned int resultOf(settings::Outcome outcome)
{
    switch (outcome) {
    case settings::Outcome::Done:
        return BTSDK_OK;
    case settings::Outcome::Refused:
        return BTSDK_ER_INVALID_PARAMETER;
    case settings::Outcome::Full:
        return BTSDK_ER_DISK_FULL;
    case settings::Outcome::Failed:
        break;
    }
    return BTSDK_ER_SETTINGS;
}

const char *resultText(unsigned int result)
{
    return find(result).text;
}

const char *resultAdvice(unsigned int result)
{
    return find(result).advice;
}

} // namespace api
