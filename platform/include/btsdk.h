/**
 * @file
 * The Bluetooth SDK client library, libVmrlClient.so.1: connections, OBEX file transfer client and server.
 *
 * This header is a binary contract: plug-ins are built against it and find the functions in whichever library of that
 * soname the host has loaded.
 *
 * Conventions. Handles are unsigned 32-bit numbers, 0 means none; one that was given stays good for the life of the
 * process or names nothing, and never anything else. Results are 0 for success; a refusal by the peer is 0x0600 plus
 * the OBEX response code with its final bit; everything else is a BtsdkResult. Each function names the results of its
 * own; besides, every one may say BTSDK_ER_INTERNAL, when the system has run out of memory, say. Strings are
 * NUL-terminated UTF-8. Records are little-endian. Nothing throws, and outputs are untouched on failure.
 *
 * Threads. Every function may be called from any thread, on a stack of 64 KiB; which thread a callback runs on is said
 * where its type stands. A callback may call the library but for what would wait for the callback itself: that answers
 * BTSDK_ER_CALLBACK.
 */
#ifndef BTSDK_H
#define BTSDK_H

#include <stddef.h>
#include <stdint.h>

#define BTSDK_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** The OBEX File Transfer service class of the Bluetooth assigned numbers. */
enum { BTSDK_CLS_OBEX_FILE_TRANS = 0x1106 };

/** Results of the library itself. Those of the peer are BTSDK_OBEX_BASE + the OBEX response code (0xA0 and above). */
enum BtsdkResult {
    BTSDK_OK = 0,
    BTSDK_ER_INVALID_PARAMETER = 0x0001, /**< a null or empty argument, or a value out of range */
    BTSDK_ER_INVALID_HANDLE = 0x0002,    /**< no such device, shortcut, connection or server */
    BTSDK_ER_NAME_TOO_LONG = 0x0003,     /**< a name or path over the protocol's or the record's limit */
    BTSDK_ER_BUFFER_TOO_SMALL = 0x0004,  /**< the value does not fit in the caller's buffer */
    BTSDK_ER_NOT_CONNECTED = 0x0005,     /**< the link of this handle is gone */
    BTSDK_ER_BUSY = 0x0006,              /**< another call is using this connection */
    BTSDK_ER_CANCELLED = 0x0007,         /**< ended by Btsdk_FTPCancelTransfer */
    BTSDK_ER_TIMED_OUT = 0x0008,         /**< the peer did not answer within the time of the settings */
    BTSDK_ER_CONNECT_FAILED = 0x0009,    /**< nothing answers at the device's address */
    BTSDK_ER_LINK_LOST = 0x000A,         /**< the link broke during the call */
    BTSDK_ER_PROTOCOL = 0x000B,          /**< the peer broke the OBEX protocol */
    BTSDK_ER_LOCAL_FILE = 0x000C,        /**< a local file or folder cannot be read, written or replaced */
    BTSDK_ER_DISK_FULL = 0x000D,         /**< no space left for a local file, or its file system takes none so large */
    BTSDK_ER_NO_TRANSPORT = 0x000E,      /**< no adapter is powered and the network transport is off */
    BTSDK_ER_NOT_SUPPORTED = 0x000F,     /**< the service class is not file transfer, or the device lacks it */
    BTSDK_ER_SETTINGS = 0x0010,          /**< the settings file cannot be read or written */
    BTSDK_ER_AUTHENTICATION = 0x0011,    /**< the passkey was refused, or none was given */
    BTSDK_ER_CALLBACK = 0x0012,          /**< called from within a callback that must return first */
    BTSDK_ER_LOCAL_FULL = 0x0013,        /**< too many handles, entries or clients */
    BTSDK_ER_INTERNAL = 0x00FF           /**< a failure that none of the above describes */
};

/** Added to an OBEX response code (final bit set) to give a result: Unauthorized, 0xC1, becomes 0x06C1. */
enum { BTSDK_OBEX_BASE = 0x0600 };

/** A put that the peer refuses because its share is read-only (Unauthorized or Forbidden): 1729. */
enum { BTSDK_ER_READ_ONLY = BTSDK_OBEX_BASE + 0xC1 };

/** Server states of Btsdk_GetServerStatus. */
enum BtsdkServerStatus {
    BTSDK_SERVER_STARTED = 1,  /**< listening, no client */
    BTSDK_SERVER_STOPPED = 2,  /**< registered, not listening */
    BTSDK_SERVER_CONNECTED = 3 /**< listening, at least one client connected */
};

/** Access modes of the shared folder. */
enum BtsdkAccess { BTSDK_ACCESS_WRITABLE = 1, BTSDK_ACCESS_READ_ONLY = 2 };

/** Masks of BtSdkServerAttributes: the fields that a get or an update concerns. */
enum BtsdkServerAttributeMask { BTSDK_ATTRIBUTE_SECURITY = 2, BTSDK_ATTRIBUTE_APPLICATION = 8 };

/** Security bits of BtSdkServerAttributes: authorisation, authentication and encryption together. */
enum { BTSDK_SECURE_CONNECTION = 7 };

/** Event code of a received file in _BtSdkFileTransferReqStru. */
enum { BTSDK_EVENT_FILE_RECEIVED = 0x06A00300 };

/** Attribute bit of FTP_FIND_DATA: the entry is a folder. */
enum { BTSDK_FTP_FOLDER = 1 };

#pragma pack(push, 1)

/** One entry of a remote folder, 324 bytes. */
typedef struct FTP_FIND_DATA
{
    uint32_t size;       /**< bytes, 0 for a folder mostly; sizes over 32 bits saturate */
    char name[296];      /**< UTF-8, NUL-terminated, at most 295 bytes */
    char modified[20];   /**< "yyyyMMdd'T'hhmmss'Z'" in UTC, or empty */
    uint32_t attributes; /**< BTSDK_FTP_FOLDER or 0 */
} FTP_FIND_DATA;

/** What the receive-file callback is given. */
struct _BtSdkFileTransferReqStru
{
    uint32_t device;     /**< handle of the device that sent the file; this library does not tell and gives 0 */
    uint32_t connection; /**< the server's own number of the client, 1 and up; no handle */
    uint32_t event;      /**< BTSDK_EVENT_FILE_RECEIVED */
    /** Path below the shared folder, "pictures/a.jpg", or the name alone when that is over 259 bytes; UTF-8. Another
     *  library's field may be longer. */
    char fileName[260];
};

/** Application parameters of the file transfer server, 264 bytes. */
struct BtSdkFtpServerParameters
{
    uint32_t size;    /**< 264 */
    uint16_t mask;    /**< 3: access and folder are given */
    uint16_t access;  /**< BtsdkAccess */
    char folder[256]; /**< absolute path, UTF-8, at most 255 bytes */
};

/** Attributes of a server, 96 bytes. */
struct BtSdkServerAttributes
{
    uint16_t mask;         /**< BtsdkServerAttributeMask, any of them; set by the caller */
    uint16_t serviceClass; /**< BTSDK_CLS_OBEX_FILE_TRANS; always filled by a get, never looked at by an update */
    uint8_t reserved1[80];
    uint16_t security; /**< BTSDK_SECURE_CONNECTION or 0 */
    uint16_t reserved2;
    struct BtSdkFtpServerParameters *application; /**< the caller's; a get with null leaves it out */
#if UINTPTR_MAX == UINT32_MAX
    uint32_t reserved3;
#endif
};

/** Properties of a connection, 28 bytes, written only. */
struct BtSdkConnectionProperty
{
    uint32_t role;         /**< 0: this side dialled */
    uint32_t device;       /**< handle */
    uint32_t shortcut;     /**< handle */
    uint16_t serviceClass; /**< BTSDK_CLS_OBEX_FILE_TRANS */
    uint16_t reserved1;
    uint64_t received; /**< file bytes since the connection was made */
    uint32_t reserved2;
};

/** Properties of a shortcut, 284 bytes. */
struct BtSdkShortCutProperty
{
    uint32_t shortcut;     /**< handle; set by the caller */
    uint16_t serviceClass; /**< BTSDK_CLS_OBEX_FILE_TRANS */
    uint16_t reserved1;
    uint32_t device; /**< handle */
    char name[256];  /**< the shortcut's display name, UTF-8, cut at a character boundary */
    uint8_t reserved2[16];
};

#pragma pack(pop)

/**
 * One call per entry of a listing, in the peer's order, on the thread that called Btsdk_FTPBrowseFolder. Other calls on
 * the connection answer BTSDK_ER_BUSY meanwhile, but for Btsdk_FTPCancelTransfer.
 * @param findData  an FTP_FIND_DATA, valid during the call only
 */
typedef void (*BtsdkBrowseCallback)(unsigned char *findData);

/**
 * Progress of a get or put, on a thread of the library's, one call at a time for each connection. No report is made
 * after the transfer call has returned. A slow callback is told less between the first and last report of a file, and
 * those wait for it.
 * @param first, last  non-zero on the first and last report of a file; there is no last one when it fails
 * @param filename     the file's own name, UTF-8, never null, valid during the call only
 * @param filesize     bytes, 0 while it is not known; below 2^32: a file of 4 GiB or more has the size 2^32 - 1 and
 *                     cursize in proportion, so that the fraction stays right
 * @param cursize      bytes moved so far
 */
typedef void (*BtsdkStatusCallback)(unsigned char first, unsigned char last, unsigned char *filename,
                                    unsigned long filesize, unsigned long cursize);

/**
 * A file has arrived in the shared folder; on a thread of the library's, never twice at the same time: reports wait
 * their turn, up to 10,000 of them.
 * @param request  valid during the call only
 * @return anything; the library does not look at it
 */
typedef unsigned int (*BtsdkReceiveFileCallback)(struct _BtSdkFileTransferReqStru *request);

/** Stops the device searches that this process has begun, so that they do not slow a connect; waits for BlueZ 1 s at
 * the most. @return BTSDK_OK, also when none is running */
BTSDK_EXPORT unsigned int Btsdk_StopDeviceDiscovery(void);

/**
 * Connects to a service of a device. Blocks for 10 s at the most (settings, section OBEX), and for as long as the user
 * takes to answer when the device wants a passkey. Several threads may connect at once, to one device as well.
 * @param device        device handle
 * @param serviceClass  BTSDK_CLS_OBEX_FILE_TRANS
 * @param param         reserved, 0
 * @param connection    receives the handle, on success only
 * @return BTSDK_ER_INVALID_PARAMETER (connection is null), BTSDK_ER_INVALID_HANDLE, BTSDK_ER_NOT_SUPPORTED,
 *         BTSDK_ER_NO_TRANSPORT, BTSDK_ER_CONNECT_FAILED, BTSDK_ER_TIMED_OUT, BTSDK_ER_AUTHENTICATION,
 *         BTSDK_ER_LINK_LOST, BTSDK_ER_PROTOCOL, BTSDK_ER_CANCELLED (its shortcut was disconnected meanwhile, or the
 *         library shut down), BTSDK_ER_LOCAL_FULL (64 connections are open), or the peer's refusal
 */
BTSDK_EXPORT unsigned int Btsdk_ConnectEx(unsigned int device, unsigned short serviceClass, unsigned int param,
                                          unsigned int *connection);

/**
 * Ends a connection; what runs on it is cancelled first. Blocks for 5 s at the most, however silent the peer is.
 * @return BTSDK_ER_INVALID_HANDLE, BTSDK_ER_NOT_CONNECTED (it has ended already), BTSDK_ER_CALLBACK (from within a
 *         callback of this connection)
 */
BTSDK_EXPORT unsigned int Btsdk_Disconnect(unsigned int connection);

/**
 * Ends the connections of a shortcut, and the connecting: that call returns BTSDK_ER_CANCELLED. Blocks as
 * Btsdk_Disconnect does. 0 is accepted and does nothing.
 * @return BTSDK_ER_INVALID_HANDLE, BTSDK_ER_CALLBACK (a connection stays, since this is within a callback of its)
 */
BTSDK_EXPORT unsigned int Btsdk_DisconnectShortCut(unsigned int shortcut);

/*
 * The functions on a remote folder that follow block until the peer has answered: 20 s at the most for a request, and
 * for a transfer until 30 s have passed without a byte (settings, section OBEX). One of them at a time runs on a
 * connection. All may return, besides what they name:
 *
 *   BTSDK_ER_INVALID_HANDLE, BTSDK_ER_NOT_CONNECTED, BTSDK_ER_BUSY: nothing was sent
 *   BTSDK_ER_INVALID_PARAMETER, BTSDK_ER_NAME_TOO_LONG: nothing was sent. A name is one component of 1 to 295 bytes of
 *       UTF-8, neither "." nor "..", without "/"
 *   a refusal by the peer: the connection stays. 0x06C4 is Not Found, 0x06C1 BTSDK_ER_READ_ONLY
 *   BTSDK_ER_CANCELLED, BTSDK_ER_PROTOCOL: the connection stays as long as the peer's answers can be told apart
 *   BTSDK_ER_TIMED_OUT, BTSDK_ER_LINK_LOST: the connection has ended
 */

/**
 * Changes the remote current folder; after a failure it is what it was.
 * @param path  absolute, "/" separated; the root, "/", is gone to by the next call, which tells if that fails
 */
BTSDK_EXPORT unsigned int Btsdk_FTPSetRmtDir(unsigned int connection, const char *path);

/**
 * Lists the remote current folder. The callback runs once per entry, on the calling thread, before the call returns;
 * entries may have come before a failure. Entries whose names no call could take are left out.
 * @param name      what the folder is called, for messages alone; may be null
 * @param callback  not null
 * @param reserved  0
 * @return also BTSDK_ER_LOCAL_FULL: over 1,000,000 entries or 256 MiB
 */
BTSDK_EXPORT unsigned int Btsdk_FTPBrowseFolder(unsigned int connection, const char *name, BtsdkBrowseCallback callback,
                                                unsigned int reserved);

/**
 * Fetches a file of the remote current folder. An existing local file is replaced when the last byte has come, and
 * keeps its permissions; until then, and after a failure, everything is as it was.
 * @param localPath  of the file to be, in a folder that exists; an existing folder is a BTSDK_ER_LOCAL_FILE
 * @return also BTSDK_ER_LOCAL_FILE, BTSDK_ER_DISK_FULL
 */
BTSDK_EXPORT unsigned int Btsdk_FTPGetFile(unsigned int connection, const char *remoteName, const char *localPath);

/**
 * Fetches a folder of the remote current folder with all that it holds. An entry that fails by itself is left out, the
 * rest comes, and the first such failure is returned.
 * @param localPath  of the folder to be, in a folder that exists. An existing folder is merged into; an existing file
 *                   is a BTSDK_ER_LOCAL_FILE
 * @return also BTSDK_ER_LOCAL_FILE, BTSDK_ER_DISK_FULL, BTSDK_ER_LOCAL_FULL (over 128 levels or 1,000,000 entries)
 */
BTSDK_EXPORT unsigned int Btsdk_FTPGetDir(unsigned int connection, const char *remoteName, const char *localPath);

/**
 * Sends a local file into the remote current folder under remoteName, over a file of that name if the peer lets it.
 * @param localPath  of a regular file, or of a link to one
 * @return also BTSDK_ER_LOCAL_FILE, and BTSDK_ER_READ_ONLY for Forbidden, too: read-only peers say either
 */
BTSDK_EXPORT unsigned int Btsdk_FTPPutFile(unsigned int connection, const char *localPath, const char *remoteName);

/**
 * Sends a local folder with all that it holds into the remote current folder, which stays what it was; into an existing
 * folder of that name, too. Links to files go as files; links to folders, FIFOs, sockets and devices are left out.
 * Failures of single entries are as with Btsdk_FTPGetDir.
 * @return also BTSDK_ER_LOCAL_FILE, BTSDK_ER_LOCAL_FULL, and BTSDK_ER_READ_ONLY as above
 */
BTSDK_EXPORT unsigned int Btsdk_FTPPutDir(unsigned int connection, const char *localPath, const char *remoteName);

/** Deletes a file of the remote current folder. */
BTSDK_EXPORT unsigned int Btsdk_FTPDeleteFile(unsigned int connection, const char *name);

/**
 * Deletes a folder of the remote current folder, with all that it holds: asked of the peer in one request, entry by
 * entry when it refuses that. What such a peer shows as a folder is taken for one, a link as well. The first failure
 * ends it, with the rest left.
 * @return also BTSDK_ER_LOCAL_FULL (over 128 levels or 1,000,000 entries)
 */
BTSDK_EXPORT unsigned int Btsdk_FTPDeleteDir(unsigned int connection, const char *name);

/** Creates a folder in the remote current folder, which stays what it was. An existing folder is a success. */
BTSDK_EXPORT unsigned int Btsdk_FTPCreateDir(unsigned int connection, const char *name);

/**
 * Ends the get, put or other request that blocks on this connection, from any thread and any callback: it returns
 * within 2.5 s, mostly BTSDK_ER_CANCELLED. This call itself does not wait.
 *
 * Between the registration of a status callback and the get or put that follows it, a cancel is kept for that one: it
 * then returns BTSDK_ER_CANCELLED at once. Registering a callback or null forgets it.
 * @return BTSDK_OK, also when nothing runs; BTSDK_ER_INVALID_HANDLE, BTSDK_ER_NOT_CONNECTED
 */
BTSDK_EXPORT unsigned int Btsdk_FTPCancelTransfer(unsigned int connection);

/**
 * Sets the progress callback of a connection; null unregisters. Waits until the one before is not running any more.
 * @return BTSDK_ER_INVALID_HANDLE, BTSDK_ER_NOT_CONNECTED, BTSDK_ER_CALLBACK (from within it; nothing changes)
 */
BTSDK_EXPORT unsigned int Btsdk_FTPRegisterStatusCallback(unsigned int connection, BtsdkStatusCallback callback);

/**
 * Registers the file transfer server, stopped; or changes folder and access of the registered one, which ends the
 * sessions of its clients when it runs. There is one, with one handle, until Btsdk_HostShutdown.
 * @param access  BTSDK_ACCESS_WRITABLE; every other value is read-only
 * @param folder  absolute path of 1 to 255 bytes; it need not be there before the server is started
 * @return the server handle, 0 on failure
 */
BTSDK_EXPORT unsigned int Btsdk_RegisterFTPService(unsigned short access, const char *folder);

/** Sets the callback for received files; null unregisters. Waits until the one before is not running any more.
 *  @return BTSDK_ER_CALLBACK (from within it; nothing changes) */
BTSDK_EXPORT unsigned int Btsdk_FTPRegisterDealReceiveFileCB(BtsdkReceiveFileCallback callback);

/**
 * Starts a server: over TCP where the network transport is on, over Bluetooth where there is an adapter. Success when
 * it runs already.
 * @return BTSDK_ER_INVALID_HANDLE, BTSDK_ER_LOCAL_FILE (the folder is not there), BTSDK_ER_NO_TRANSPORT (nowhere to
 *         listen), BTSDK_ER_CANCELLED (the library is being shut down)
 */
BTSDK_EXPORT unsigned int Btsdk_StartServer(unsigned int server);

/** Stops a server; connected clients are dropped, and what they were sending leaves no trace. Success when it is
 * stopped already. @return BTSDK_ER_INVALID_HANDLE */
BTSDK_EXPORT unsigned int Btsdk_StopServer(unsigned int server);

/** @param status  receives a BtsdkServerStatus. @return BTSDK_ER_INVALID_PARAMETER (null), BTSDK_ER_INVALID_HANDLE */
BTSDK_EXPORT unsigned int Btsdk_GetServerStatus(unsigned int server, unsigned short *status);

/** Fills the fields that the record's mask names, and the service class always.
 *  @return BTSDK_ER_INVALID_PARAMETER (null), BTSDK_ER_INVALID_HANDLE */
BTSDK_EXPORT unsigned int Btsdk_GetServerAttributes(unsigned int server, struct BtSdkServerAttributes *record);

/**
 * Applies the fields that the record's mask names. A change of folder, access or security ends the sessions of clients.
 * The security is kept in the settings, for the next start of the process.
 * @return BTSDK_ER_INVALID_PARAMETER (null, or a folder that is no absolute path of at most 255 bytes),
 *         BTSDK_ER_INVALID_HANDLE, BTSDK_ER_LOCAL_FILE (the folder is not there)
 */
BTSDK_EXPORT unsigned int Btsdk_UpdateServerAttributes(unsigned int server, struct BtSdkServerAttributes *record);

/** 1 when a transport can be used: an adapter is powered, or the network transport is on. */
BTSDK_EXPORT unsigned char Btsdk_IsBluetoothReady(void);

/**
 * The name under which this computer is seen: the adapter's, else the host name.
 * @param name    receives it, cut at a character boundary where it does not fit
 * @param length  in: the buffer's size in bytes, at least 1; out: the bytes of the name, without its NUL
 * @return BTSDK_ER_INVALID_PARAMETER
 */
BTSDK_EXPORT unsigned int Btsdk_GetLocalName(unsigned char *name, unsigned short *length);

/** Writes up to max handles of the connections that this side made and that are not known to be gone, oldest first.
 *  @return the count written; 0 on failure, null included */
BTSDK_EXPORT unsigned int Btsdk_GetAllOutgoingConnections(unsigned int *handles, unsigned int max);

/** Fills all of the record. @return BTSDK_ER_INVALID_PARAMETER (null), BTSDK_ER_INVALID_HANDLE, BTSDK_ER_NOT_CONNECTED
 */
BTSDK_EXPORT unsigned int Btsdk_GetConnectionProperty(unsigned int connection, struct BtSdkConnectionProperty *record);

/** Fills the record of the shortcut that it names. @return BTSDK_ER_INVALID_PARAMETER (null), BTSDK_ER_INVALID_HANDLE
 */
BTSDK_EXPORT unsigned int Btsdk_GetShortCutProperty(struct BtSdkShortCutProperty *record);

/**
 * Writes a key of a settings file. The file is replaced as a whole, comments and other keys are kept; a missing one is
 * made with its folders. Waits up to 5 s for another process's write.
 * @param section, key  not empty
 * @param value         not null; quoted in the file where it would not be read back alike
 * @param file          path of the settings file
 * @return BTSDK_ER_INVALID_PARAMETER (as above, or the file format has no way to hold it), BTSDK_ER_SETTINGS,
 *         BTSDK_ER_DISK_FULL
 */
BTSDK_EXPORT unsigned int Btsdk_WritePrivateProfileString(const char *section, const char *key, const char *value,
                                                          const char *file);

/** As Btsdk_WritePrivateProfileString, with the value in decimal. */
BTSDK_EXPORT unsigned int Btsdk_WritePrivateProfileInt(const char *section, const char *key, int value,
                                                       const char *file);

#ifdef __cplusplus
}

static_assert(sizeof(FTP_FIND_DATA) == 324 && offsetof(FTP_FIND_DATA, name) == 4 &&
                  offsetof(FTP_FIND_DATA, modified) == 300 && offsetof(FTP_FIND_DATA, attributes) == 320,
              "FTP_FIND_DATA crosses the library boundary");
static_assert(offsetof(_BtSdkFileTransferReqStru, event) == 8 && offsetof(_BtSdkFileTransferReqStru, fileName) == 12,
              "_BtSdkFileTransferReqStru crosses the library boundary");
static_assert(sizeof(BtSdkServerAttributes) == 96 && offsetof(BtSdkServerAttributes, security) == 84 &&
                  offsetof(BtSdkServerAttributes, application) == 88,
              "BtSdkServerAttributes crosses the library boundary");
static_assert(sizeof(BtSdkFtpServerParameters) == 264 && offsetof(BtSdkFtpServerParameters, access) == 6 &&
                  offsetof(BtSdkFtpServerParameters, folder) == 8,
              "BtSdkFtpServerParameters crosses the library boundary");
static_assert(sizeof(BtSdkConnectionProperty) == 28 && offsetof(BtSdkConnectionProperty, serviceClass) == 12,
              "BtSdkConnectionProperty crosses the library boundary");
static_assert(sizeof(BtSdkShortCutProperty) == 284 && offsetof(BtSdkShortCutProperty, device) == 8,
              "BtSdkShortCutProperty crosses the library boundary");
#endif

#endif
