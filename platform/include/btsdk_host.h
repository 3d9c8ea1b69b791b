/**
 * @file
 * The host's half of libVmrlClient.so.1: what a program needs that lists devices, shortcuts and servers, follows their
 * states and speaks to its user about them. Plug-ins use btsdk.h alone.
 *
 * The conventions are those of btsdk.h. Records have fixed sizes; texts in them are NUL-terminated UTF-8, cut at a
 * character boundary. Counts of bytes are of files' contents.
 */
#ifndef BTSDK_HOST_H
#define BTSDK_HOST_H

#include "btsdk.h"

#ifdef __cplusplus
extern "C" {
#endif

/** How a device is reached. */
enum BtsdkDeviceKind { BTSDK_DEVICE_NETWORK = 1, BTSDK_DEVICE_BLUETOOTH = 2 };

/** A known device. */
struct BtSdkDeviceInfo
{
    uint32_t device;    /**< handle */
    uint32_t kind;      /**< BtsdkDeviceKind */
    uint32_t paired;    /**< 1: may be connected to without pairing first (network devices always) */
    uint32_t reachable; /**< 1: its transport can be used now */
    uint32_t port;      /**< TCP port of a network device, else 0 */
    char name[256];
    char address[256]; /**< host name or address, or "AA:BB:CC:DD:EE:FF" */
};

/** States of a shortcut. */
enum BtsdkShortcutState { BTSDK_SHORTCUT_IDLE = 0, BTSDK_SHORTCUT_CONNECTING = 1, BTSDK_SHORTCUT_CONNECTED = 2 };

/** A service of a device. */
struct BtSdkShortcutInfo
{
    uint32_t shortcut;     /**< handle */
    uint32_t device;       /**< handle */
    uint32_t connection;   /**< handle of the newest open connection, or 0 */
    uint32_t state;        /**< BtsdkShortcutState */
    uint16_t serviceClass; /**< BTSDK_CLS_OBEX_FILE_TRANS */
    uint16_t reserved;
    uint32_t lastResult;    /**< of the last connect or call on it; also why the last connection ended by itself */
    int64_t connectedSince; /**< milliseconds since 1970-01-01 UTC, 0 when not connected */
    uint64_t bytesReceived; /**< since connectedSince */
    uint64_t bytesSent;     /**< since connectedSince */
    char name[256];         /**< "File transfer on Demo device", say */
};

/** A local server. */
struct BtSdkServerInfo
{
    uint32_t server;        /**< handle */
    uint16_t serviceClass;  /**< BTSDK_CLS_OBEX_FILE_TRANS */
    uint16_t status;        /**< BtsdkServerStatus */
    uint32_t access;        /**< BtsdkAccess */
    uint32_t clients;       /**< connected now */
    uint32_t security;      /**< BTSDK_SECURE_CONNECTION or 0 */
    int64_t startedSince;   /**< milliseconds since 1970-01-01 UTC, 0 when stopped */
    uint64_t bytesReceived; /**< since the server was started last */
    uint64_t bytesSent;     /**< since the server was started last */
    char folder[256];       /**< absolute path */
    char listening[256];    /**< where it listens, for people, ", " between: "127.0.0.1:6502"; empty when stopped */
    char client[256];       /**< name or address of the newest client, or empty */
};

/** What an event is about. */
enum BtsdkEvent {
    BTSDK_EVENT_CONNECTING = 1,      /**< handle: shortcut */
    BTSDK_EVENT_CONNECTED = 2,       /**< handle: shortcut, other: connection */
    BTSDK_EVENT_DISCONNECTED = 3,    /**< handle: shortcut, other: connection; value: result that says why, 0 asked */
    BTSDK_EVENT_CONNECT_FAILED = 4,  /**< handle: shortcut; value: result */
    BTSDK_EVENT_SERVER_STATUS = 5,   /**< handle: server; value: BtsdkServerStatus */
    BTSDK_EVENT_DEVICES_CHANGED = 6, /**< devices or shortcuts were added, removed or renamed */
    BTSDK_EVENT_RECEIVED = 7,        /**< handle: server; text: name of the file, as stored */
    BTSDK_EVENT_TRANSPORT = 8        /**< value: the new answer of Btsdk_IsBluetoothReady */
};

/** One event. text is valid during the call only and is never null. */
struct BtSdkEventInfo
{
    uint32_t event;   /**< BtsdkEvent, which says what the others mean; those it does not name are 0 or "" */
    uint32_t handle;  /**< of what the event is about */
    uint32_t other;   /**< a second handle */
    uint32_t value;   /**< a result or a state */
    const char *text; /**< UTF-8 */
};

/** Events come one at a time, in order, on a thread of the library's; call back into the library freely but for
 *  Btsdk_HostSetEventCallback. */
typedef void (*BtsdkEventCallback)(const struct BtSdkEventInfo *event, void *context);

/**
 * Asks the user for the passkey of a device that wants one; on the thread that called Btsdk_ConnectEx, on several at
 * once when several connect. It may take its time: the connect's deadline stands still meanwhile, though the device may
 * lose its patience.
 * @param device  handle
 * @param buffer  receives the passkey, NUL-terminated UTF-8
 * @param size    of the buffer, in bytes: 256
 * @return non-zero when one was given, 0 when the user declined
 */
typedef int (*BtsdkPasskeyCallback)(unsigned int device, char *buffer, unsigned int size, void *context);

/** What a question on a device is answered with. */
enum BtsdkAuthorization {
    BTSDK_AUTHORIZE_REFUSE = 0, /**< not this time */
    BTSDK_AUTHORIZE_ONCE = 1,
    BTSDK_AUTHORIZE_ALWAYS = 2, /**< and do not ask again: kept in the settings */
    BTSDK_AUTHORIZE_NEVER = 3   /**< and do not ask again: kept in the settings */
};

/**
 * Asks the user whether a Bluetooth device may see the shared folder, while the server asks for a secure connection; on
 * a thread of the library's, one question at a time.
 * @param name     what the device calls itself: a stranger's words; valid during the call only, as the address is
 * @param address  "AA:BB:CC:DD:EE:FF"
 * @return BtsdkAuthorization
 */
typedef int (*BtsdkAuthorizeCallback)(const char *name, const char *address, void *context);

/** Why Bluetooth can be used, or cannot. */
enum BtsdkBluetoothState {
    BTSDK_BLUETOOTH_READY = 0,
    BTSDK_BLUETOOTH_STARTING = 1,   /**< nothing has been heard of yet; an event follows */
    BTSDK_BLUETOOTH_NO_BUS = 2,     /**< there is no system bus, or the program has no QCoreApplication */
    BTSDK_BLUETOOTH_NO_SERVICE = 3, /**< BlueZ does not run */
    BTSDK_BLUETOOTH_NO_ADAPTER = 4, /**< this computer has no adapter */
    BTSDK_BLUETOOTH_OFF = 5         /**< the adapter is switched off */
};

/** Writes up to max records; null with max 0 only counts.
 *  @return how many devices there are (may exceed max); 0 on failure */
BTSDK_EXPORT unsigned int Btsdk_HostListDevices(struct BtSdkDeviceInfo *records, unsigned int max);

/** Writes up to max records of the shortcuts of a device (0: of all); null with max 0 only counts.
 *  @return how many there are (may exceed max); 0 on failure, or for a device that is not known */
BTSDK_EXPORT unsigned int Btsdk_HostListShortcuts(unsigned int device, struct BtSdkShortcutInfo *records,
                                                  unsigned int max);

/** Writes up to max records of the registered servers; null with max 0 only counts.
 *  @return how many there are: 0 or 1 */
BTSDK_EXPORT unsigned int Btsdk_HostListServers(struct BtSdkServerInfo *records, unsigned int max);

/** One record by handle. @return BTSDK_ER_INVALID_PARAMETER (null), BTSDK_ER_INVALID_HANDLE */
BTSDK_EXPORT unsigned int Btsdk_HostGetDevice(unsigned int device, struct BtSdkDeviceInfo *record);
/** As Btsdk_HostGetDevice. */
BTSDK_EXPORT unsigned int Btsdk_HostGetShortcut(unsigned int shortcut, struct BtSdkShortcutInfo *record);
/** As Btsdk_HostGetDevice. */
BTSDK_EXPORT unsigned int Btsdk_HostGetServer(unsigned int server, struct BtSdkServerInfo *record);

/** Non-zero while the shortcut has an open connection; 0 as soon as the link is known to be gone, and for handles that
 *  name no shortcut. */
BTSDK_EXPORT int Btsdk_HostIsShortcutConnected(unsigned int shortcut);

/** Sets the event callback; null unregisters. Waits until the one before is not running any more.
 *  @param context  handed to the callback as it is
 *  @return BTSDK_ER_CALLBACK (from within it; nothing changes) */
BTSDK_EXPORT unsigned int Btsdk_HostSetEventCallback(BtsdkEventCallback callback, void *context);

/**
 * Sets who is asked for passkeys; null unregisters. Waits until every question that the one before has open has been
 * answered: a host whose user interface would answer it lets go of it first. Without one, a device that wants a passkey
 * cannot be connected to.
 * @return BTSDK_ER_CALLBACK (from within it; nothing changes)
 */
BTSDK_EXPORT unsigned int Btsdk_HostSetPasskeyCallback(BtsdkPasskeyCallback callback, void *context);

/**
 * Sets who is asked whether a Bluetooth device may see the shared folder; null unregisters. Waits as
 * Btsdk_HostSetPasskeyCallback does. Without one, only devices that BlueZ trusts, or that were always allowed, may.
 * @return BTSDK_ER_CALLBACK (from within it; nothing changes)
 */
BTSDK_EXPORT unsigned int Btsdk_HostSetAuthorizeCallback(BtsdkAuthorizeCallback callback, void *context);

/** @return the BtsdkBluetoothState of now; BTSDK_EVENT_DEVICES_CHANGED says when it may have changed */
BTSDK_EXPORT unsigned int Btsdk_HostGetBluetoothState(void);

/**
 * Remembers a network device, in the settings file, with a file transfer shortcut; or renames the one of this address
 * and port.
 * @param name     1 to 255 bytes
 * @param address  host name or address, 1 to 255 bytes
 * @param port     1 to 65535
 * @param device   receives the handle; may be null
 * @return BTSDK_ER_INVALID_PARAMETER (out of those ranges, or 1,000 devices are known), BTSDK_ER_NAME_TOO_LONG,
 *         BTSDK_ER_SETTINGS, BTSDK_ER_DISK_FULL
 */
BTSDK_EXPORT unsigned int Btsdk_HostAddNetworkDevice(const char *name, const char *address, unsigned int port,
                                                     unsigned int *device);

/** As Btsdk_HostAddNetworkDevice, but the device is forgotten when the library is shut down (the demo device).
 *  @return BTSDK_ER_INVALID_PARAMETER, BTSDK_ER_NAME_TOO_LONG, BTSDK_ER_LOCAL_FULL (1,000 devices) */
BTSDK_EXPORT unsigned int Btsdk_HostAddTransientDevice(const char *name, const char *address, unsigned int port,
                                                       unsigned int *device);

/** Forgets a network device; its connections are ended.
 *  @return BTSDK_ER_INVALID_HANDLE, BTSDK_ER_NOT_SUPPORTED (a Bluetooth device is BlueZ's to forget),
 * BTSDK_ER_SETTINGS, BTSDK_ER_DISK_FULL, BTSDK_ER_CALLBACK (from within a callback of a connection to it, which stays)
 */
BTSDK_EXPORT unsigned int Btsdk_HostRemoveDevice(unsigned int device);

/**
 * The passkey that clients of this computer's server must give while it asks for a secure connection: 6 digits, new
 * at each start of the library unless the settings hold one.
 * @param size  of the buffer, in bytes; at least 7
 * @return BTSDK_ER_INVALID_PARAMETER, BTSDK_ER_BUFFER_TOO_SMALL
 */
BTSDK_EXPORT unsigned int Btsdk_HostGetPasskey(char *buffer, unsigned int size);

/** A sentence for people on a result, in English: "The device did not answer." Never null; static. */
BTSDK_EXPORT const char *Btsdk_HostResultText(unsigned int result);

/** What to do about a result, a sentence in English; empty for a success. Never null; static. */
BTSDK_EXPORT const char *Btsdk_HostResultAdvice(unsigned int result);

/**
 * Ends all connections and servers and the library's threads; waits for callbacks that run and questions that are open.
 * Call it before the process ends; every other call then starts the library anew. Does nothing from within a callback.
 */
BTSDK_EXPORT void Btsdk_HostShutdown(void);

#ifdef __cplusplus
}
#endif

#endif
