/**
 * @file
 * The Bluetooth SDK client library, libVmrlClient.so.1: connections, OBEX file transfer client and server.
 *
 * This header is a binary contract: plug-ins are built against it and find the functions in whichever library of that
 * soname the host has loaded.
 *
 * Conventions. Handles are unsigned 32-bit numbers, 0 means none. Results are 0 for success; a refusal by the peer is
 * 0x0600 plus the OBEX response code with its final bit; everything else is a BtsdkResult. Strings are NUL-terminated
 * UTF-8. Nothing throws, and outputs are untouched on failure. Everything but the callbacks may be called from any
 * thread, on a stack of 64 KiB.
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
    uint32_t size;       /**< bytes; sizes over 32 bits saturate */
    char name[296];      /**< UTF-8, NUL-terminated, at most 295 bytes */
    char modified[20];   /**< "yyyyMMdd'T'hhmmss'Z'" in UTC, or empty */
    uint32_t attributes; /**< BTSDK_FTP_FOLDER */
} FTP_FIND_DATA;

/** What the receive-file callback is given. */
struct _BtSdkFileTransferReqStru
{
    uint32_t device;     /**< handle of the device that sent the file, 0 when it is not a known one */
    uint32_t connection; /**< the server's own number of the client session */
    uint32_t event;      /**< BTSDK_EVENT_FILE_RECEIVED */
    char fileName[260];  /**< name as stored in the shared folder, UTF-8; another library's may be longer */
};

/** Application parameters of the file transfer server, 264 bytes. */
struct BtSdkFtpServerParameters
{
    uint32_t size;    /**< 264 */
    uint16_t mask;    /**< 3: access and folder are given */
    uint16_t access;  /**< BtsdkAccess */
    char folder[256]; /**< UTF-8, at most 255 bytes */
};

/** Attributes of a server, 96 bytes. */
struct BtSdkServerAttributes
{
    uint16_t mask;         /**< BtsdkServerAttributeMask */
    uint16_t serviceClass; /**< always filled by a get */
    uint8_t reserved1[80];
    uint16_t security; /**< BTSDK_SECURE_CONNECTION or 0 */
    uint16_t reserved2;
    struct BtSdkFtpServerParameters *application; /**< owned by the caller; null is not touched by a get */
#if UINTPTR_MAX == UINT32_MAX
    uint32_t reserved3;
#endif
};

/** Properties of a connection, 28 bytes, written only. */
struct BtSdkConnectionProperty
{
    uint32_t role; /**< 0: this side dialled */
    uint32_t device;
    uint32_t shortcut;
    uint16_t serviceClass;
    uint16_t reserved1;
    uint64_t received; /**< file bytes since the connection was made */
    uint32_t reserved2;
};

/** Properties of a shortcut, 284 bytes. The caller sets shortcut. */
struct BtSdkShortCutProperty
{
    uint32_t shortcut;
    uint16_t serviceClass;
    uint16_t reserved1;
    uint32_t device;
    char name[256]; /**< the shortcut's display name, UTF-8 */
    uint8_t reserved2[16];
};

#pragma pack(pop)

/** One call per entry of a listing, on the thread that called Btsdk_FTPBrowseFolder; points at an FTP_FIND_DATA. */
typedef void (*BtsdkBrowseCallback)(unsigned char *findData);

/**
 * Progress of a get or put, on a thread of the library's. first and last are non-zero on the first and last report of
 * a file; the name is never null and is valid during the call only; sizes are below 2^32: a file of 4 GiB
 * or more has the size 2^32 - 1 and cursize in proportion, so that the fraction stays right. No report is made after
 * the transfer call has returned.
 */
typedef void (*BtsdkStatusCallback)(unsigned char first, unsigned char last, unsigned char *filename,
                                    unsigned long filesize, unsigned long cursize);

/** A file has arrived in the shared folder; on a thread of the library's, never twice at the same time. */
typedef unsigned int (*BtsdkReceiveFileCallback)(struct _BtSdkFileTransferReqStru *request);

/** Stops a running device search, so that it does not slow a connect; success when none is running. */
BTSDK_EXPORT unsigned int Btsdk_StopDeviceDiscovery(void);

/**
 * Connects to a service of a device; blocks for 10 s at the most (settings, section OBEX).
 * @param device        device handle
 * @param serviceClass  BTSDK_CLS_OBEX_FILE_TRANS
 * @param param         reserved, 0
 * @param connection    receives the handle, on success only
 */
BTSDK_EXPORT unsigned int Btsdk_ConnectEx(unsigned int device, unsigned short serviceClass, unsigned int param,
                                          unsigned int *connection);

/** Ends a connection; a transfer on it is cancelled first. */
BTSDK_EXPORT unsigned int Btsdk_Disconnect(unsigned int connection);

/** Ends the connections of a shortcut. 0 is accepted and does nothing. */
BTSDK_EXPORT unsigned int Btsdk_DisconnectShortCut(unsigned int shortcut);

/** Changes the remote current folder. @param path absolute, "/" separated; "/" is the root. */
BTSDK_EXPORT unsigned int Btsdk_FTPSetRmtDir(unsigned int connection, const char *path);

/**
 * Lists the remote current folder. The callback runs once per entry, on the calling thread, before the call returns.
 * @param name      what the folder is called, for messages alone
 * @param reserved  0
 */
BTSDK_EXPORT unsigned int Btsdk_FTPBrowseFolder(unsigned int connection, const char *name, BtsdkBrowseCallback callback,
                                                unsigned int reserved);

/** Fetches a file of the remote current folder into the local file localPath; blocks. An existing file is replaced
 *  when the last byte has come; an existing folder is a BTSDK_ER_LOCAL_FILE. */
BTSDK_EXPORT unsigned int Btsdk_FTPGetFile(unsigned int connection, const char *remoteName, const char *localPath);

/** Fetches a folder with all that it holds; an existing local folder is merged into. Blocks. */
BTSDK_EXPORT unsigned int Btsdk_FTPGetDir(unsigned int connection, const char *remoteName, const char *localPath);

/** Sends a local file into the remote current folder under remoteName; blocks. */
BTSDK_EXPORT unsigned int Btsdk_FTPPutFile(unsigned int connection, const char *localPath, const char *remoteName);

/** Sends a local folder with all that it holds; blocks. The remote current folder stays what it was. */
BTSDK_EXPORT unsigned int Btsdk_FTPPutDir(unsigned int connection, const char *localPath, const char *remoteName);

/** Deletes a file of the remote current folder. */
BTSDK_EXPORT unsigned int Btsdk_FTPDeleteFile(unsigned int connection, const char *name);

/** Deletes a folder of the remote current folder, with all that it holds. */
BTSDK_EXPORT unsigned int Btsdk_FTPDeleteDir(unsigned int connection, const char *name);

/** Creates a folder in the remote current folder, which stays what it was. */
BTSDK_EXPORT unsigned int Btsdk_FTPCreateDir(unsigned int connection, const char *name);

/**
 * Ends the get or put that blocks on this connection with a non-zero result, within 2.5 s; success when none runs.
 * Between the registration of a status callback and the get or put that follows it, a cancel is kept for that one: it
 * then returns BTSDK_ER_CANCELLED at once. Registering a callback or null forgets it.
 */
BTSDK_EXPORT unsigned int Btsdk_FTPCancelTransfer(unsigned int connection);

/** Sets the progress callback of a connection. Null unregisters and waits until a running one has ended. */
BTSDK_EXPORT unsigned int Btsdk_FTPRegisterStatusCallback(unsigned int connection, BtsdkStatusCallback callback);

/**
 * Registers the file transfer server, stopped; or changes folder and access of the registered one.
 * @param access  BTSDK_ACCESS_WRITABLE; every other value is read-only
 * @return the server handle, 0 on failure
 */
BTSDK_EXPORT unsigned int Btsdk_RegisterFTPService(unsigned short access, const char *folder);

/** Sets the callback for received files. Null unregisters and waits until a running one has ended. */
BTSDK_EXPORT unsigned int Btsdk_FTPRegisterDealReceiveFileCB(BtsdkReceiveFileCallback callback);

BTSDK_EXPORT unsigned int Btsdk_StartServer(unsigned int server);

/** Stops a server; connected clients are dropped. */
BTSDK_EXPORT unsigned int Btsdk_StopServer(unsigned int server);

/** @param status receives a BtsdkServerStatus */
BTSDK_EXPORT unsigned int Btsdk_GetServerStatus(unsigned int server, unsigned short *status);

/** Fills the fields that the record's mask names, and the service class always. */
BTSDK_EXPORT unsigned int Btsdk_GetServerAttributes(unsigned int server, struct BtSdkServerAttributes *record);

/** Applies the fields that the record's mask names. A change of folder or access ends the sessions of clients. */
BTSDK_EXPORT unsigned int Btsdk_UpdateServerAttributes(unsigned int server, struct BtSdkServerAttributes *record);

/** 1 when a transport can be used: an adapter is powered, or the network transport is on. */
BTSDK_EXPORT unsigned char Btsdk_IsBluetoothReady(void);

/**
 * The name under which this computer is seen.
 * @param length  in: the buffer's size in bytes; out: the bytes of the name, without its NUL
 */
BTSDK_EXPORT unsigned int Btsdk_GetLocalName(unsigned char *name, unsigned short *length);

/** Writes up to max handles of the connections that this side made. @return the count written */
BTSDK_EXPORT unsigned int Btsdk_GetAllOutgoingConnections(unsigned int *handles, unsigned int max);

BTSDK_EXPORT unsigned int Btsdk_GetConnectionProperty(unsigned int connection, struct BtSdkConnectionProperty *record);

BTSDK_EXPORT unsigned int Btsdk_GetShortCutProperty(struct BtSdkShortCutProperty *record);

/** Writes a key of a settings file; the file is replaced as a whole, comments and other keys are kept. */
BTSDK_EXPORT unsigned int Btsdk_WritePrivateProfileString(const char *section, const char *key, const char *value,
                                                          const char *file);

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
