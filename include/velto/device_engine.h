/**
 * @file
 * The contract of a device engine: a DLL that carries out one setting item of the machine for
 * ModeChange.dll, which loads it by the path that the configuration gives ("EnginePath"). The DLLs
 * that it imports are not looked for beside it: import Windows' own only.
 *
 * An engine offers a list of values, numbered from 0. The library asks for the present value,
 * which of the values this machine has and what they are called, and has one of them set.
 *
 * @par What the library asks, in this order
 *   - Is the item of use here? CreateHandle, GetDeviceCount, SelectDevice(0), number SUPPORTED,
 *     number VALUE_COUNT, number VALUE_AVAILABLE for each value. At least two available values
 *     make an item usable.
 *   - What is it called? String ITEM_KEY, string VALUE_KEY of the value.
 *   - A mode is switched: the questions of the first line; number CURRENT_VALUE when the mode goes
 *     ON; the questions of the first line again; numbers SUPPORTED, VALUE_COUNT, VALUE_AVAILABLE of
 *     the new value and BUSY; then RequestToSetINT32Information.
 *   - Done with the item: DeleteHandle, and the DLL is unloaded, also while a request is still
 * under way when the change was ended by something else.
 *
 * The library asks anew each time and keeps nothing, so answers may change between two questions.
 *
 * @par Threading
 *   Every call comes from the host's UI thread and should answer at once: the user waits. An engine
 *   that needs time for setting a value returns from the request, works on a thread of its own and
 *   posts the completion when done. It keeps its own module loaded until that thread has ended
 *   (GetModuleHandleEx, FreeLibraryAndExitThread).
 *
 * @par Results and ownership
 *   Every function returns non-zero for success. A failure leaves the outputs untouched. Buffers
 *   and pointers belong to the caller and are valid during the call only. Exceptions must not leave
 *   an engine.
 *
 * @par What the library makes of other answers
 *   - A text without terminator: its first 255 characters. The length told: ignored.
 *   - A number other than 1 where 1 is a yes: a no.
 *   - VALUE_COUNT below 2, negative included: the item is not usable, and left out everywhere.
 *   - VALUE_COUNT large: each value is asked for, on the UI thread, at least twice in a change.
 *     The library sets no limit: keep it as small as a list that a user can choose from.
 *   - CURRENT_VALUE negative: nothing is brought back. A value that is not available when it is to
 *     be brought back: the change to OFF fails.
 *   - A completion too many, or late: the message does not say which request it answers. DONE
 *     counts for the item that is waited for, if there is one, else it does nothing. Any other
 *     result ends the change that is under way, whichever that is. To a window that is gone:
 *     nothing happens.
 *   - No completion: the change stays under way until the host ends it or asks for another one.
 *   - A call may handle messages and call the library. The change may end meanwhile, another take
 *     its place, or the host delete its handle: the rest of the old change is dropped, and the DLL
 *     stays loaded until the call has returned.
 *   - Files may change meanwhile: modes and items are those of the handle's creation, which mode
 *     was ON is decided by the request, everything else is read when it is the item's turn. What
 *     can't be read then ends the change.
 *   - Nothing protects the host from an engine that writes past a buffer or crashes.
 *
 * Export the functions undecorated. The header compiles as C11 and as C++.
 */
#ifndef VELTO_DEVICE_ENGINE_H
#define VELTO_DEVICE_ENGINE_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/** An open engine; null counts as a failure of CreateHandle. */
typedef void* VELTO_DEVICE_ENGINE_HANDLE; /* NOLINT(modernize-use-using): C has no using */

/**
 * @name Identifiers of VeltoDeviceEngine_GetStringInformation
 * Keys of section [SettingItem] of "ModeChange.Resource.ini", where the texts are.
 * @{
 */
#define VELTO_ENGINE_STRING_ITEM_KEY 0  /**< key of the item's name; sub-index 0 */
#define VELTO_ENGINE_STRING_VALUE_KEY 1 /**< key of a value's name; sub-index: the value */
/** @} */

/** Characters of the buffer for a string, with the terminator; longer texts are cut. */
#define VELTO_ENGINE_STRING_LENGTH 256

/**
 * @name Identifiers of VeltoDeviceEngine_GetINT32Information
 * CURRENT_VALUE answers one of the values, also where the device stands between two of them: the
 * nearest one, which is what switching the mode OFF brings back.
 * @{
 */
#define VELTO_ENGINE_INT32_SUPPORTED 0       /**< 1 when the item is supported; sub-index 0 */
#define VELTO_ENGINE_INT32_VALUE_COUNT 1     /**< all values, available or not; sub-index 0 */
#define VELTO_ENGINE_INT32_VALUE_AVAILABLE 2 /**< 1 when it can be had; sub-index: the value */
#define VELTO_ENGINE_INT32_CURRENT_VALUE 3   /**< the value that the device has; sub-index 0 */
#define VELTO_ENGINE_INT32_BUSY 4            /**< 1 when none can be set now; sub-index 0 */
/** @} */

/**
 * @name Identifier of VeltoDeviceEngine_RequestToSetINT32Information
 * @{
 */
#define VELTO_ENGINE_REQUEST_VALUE 0 /**< value: the one to set */
/** @} */

/**
 * The completion message (WM_APP + 2). It is posted exactly once for each accepted request, with
 * a result in wParam and 0 in lParam. The library passes the number with the request; use that.
 */
#define WM_CHANGEMODE_COMPLETIONNOTICE 0x8002

/**
 * @name Results in wParam of the completion message
 * The meaning of the last two is the engine's own.
 * @{
 */
#define VELTO_ENGINE_RESULT_FAILED 0 /**< the change ends and is reported as failed */
#define VELTO_ENGINE_RESULT_DONE 1   /**< the next item follows */
#define VELTO_ENGINE_RESULT_2 2      /**< the change ends, and the host is told 2 */
#define VELTO_ENGINE_RESULT_3 3      /**< the change ends, and the host is told 3 */
/** @} */

/** Opens the engine: writes a handle that is not null. Called once for each load of the DLL. */
BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle);

/** Closes the engine; the result is ignored. The completion of a request may still be posted. */
BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE handle);

/** The number of devices of this kind. 0 is a good answer: the item is not usable here. */
BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE handle, UINT* count);

/** Chooses the device that the other calls mean; the library works with device 0 only. */
BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE handle, UINT index);

/**
 * Copies a text with its terminator. `length` is the buffer's size in WCHARs (256) on entry and
 * the size used on return; the library reads up to the first terminator and ignores the size.
 */
BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                   UINT identifier, UINT subIndex, UINT* length,
                                                   WCHAR* buffer);

/** Writes a number. */
BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                  UINT identifier, UINT subIndex, INT32* value);

/**
 * Starts setting the device to a value; identifier and sub-index are 0. Success means that the
 * completion message will be posted to `notificationWindow`; after a failure it must not be.
 */
BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                           UINT identifier, UINT subIndex,
                                                           INT32 value, HWND notificationWindow,
                                                           UINT notificationMessage);

/** Optional, and not called by this version of the library; a newer one may ask for a message
   whenever the device's value changes. */
BOOL WINAPI VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                                HWND notificationWindow,
                                                                UINT notificationMessage);

#ifdef __cplusplus
}
#endif

#endif
