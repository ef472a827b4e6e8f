/**
 * @file
 * ModeChange.dll: lists the modes of a notebook, answers questions about them, switches a mode ON
 * or OFF, and opens the dialog in which the user decides what each mode does.
 *
 * A mode is a bundle of values for setting items of the machine. Switching a mode ON remembers the
 * present value of every item and sets the mode's; switching it OFF sets what was remembered.
 *
 * @par Calling order
 *   1. VeltoModeChange_CreateHandle, once.
 *   2. VeltoModeChange_GetModeCount; for each index below it VeltoModeChange_SelectMode and then
 *      the two information calls.
 *   3. VeltoModeChange_SelectMode and then VeltoModeChange_RequestToSetINT32Information to switch
 *      that mode.
 *   4. VeltoModeChange_ShowSettingsDialog at any time.
 *   5. VeltoModeChange_DeleteHandle, once.
 * The information calls and the request act on the mode that was selected last, and fail before
 * the first selection. Every answer is read from the configuration files at that moment.
 *
 * @par Threading
 *   All calls on a handle come from the thread that created it, one at a time. That thread pumps
 *   messages: a change runs inside its message loop, and dialogs are modal on it. Several handles
 *   may exist; changes must not overlap on one handle.
 *
 * @par Lifetime
 *   The library pins itself: once a handle was created it stays loaded until the process ends.
 *
 * @par Errors
 *   Every function returns 1 for success and 0 for failure. A failure leaves the outputs as they
 *   were and is written as an event of the library's ETW provider
 *   {F1AF8352-32C6-4439-9AE9-348E232DFA35}; GetLastError tells nothing. Where memory runs out the
 *   call ends with the C++ runtime's std::bad_alloc.
 *
 * The header compiles as C11 and as C++.
 */
#ifndef VELTO_MODE_CHANGE_H
#define VELTO_MODE_CHANGE_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/** An open library; only a null handle is detected as wrong. */
typedef void* VELTO_MODE_CHANGE_HANDLE; /* NOLINT(modernize-use-using): C has no using */

/**
 * @name Statuses of a mode
 * @{
 */
#define VELTO_MODE_STATUS_OFF 0 /**< the machine's own settings */
#define VELTO_MODE_STATUS_ON 1  /**< the mode's settings */
/** @} */

/**
 * @name Identifiers of VeltoModeChange_GetStringInformation
 * @{
 */
#define VELTO_MODE_STRING_NAME 0            /**< display name; the sub-index is ignored */
#define VELTO_MODE_STRING_STATUS_NAME 1     /**< display name of a status; sub-index: the status */
#define VELTO_MODE_STRING_STATUS_ICON_KEY 2 /**< icon key of a status; sub-index: the status */
/** @} */

/**
 * @name Identifiers of VeltoModeChange_GetINT32Information
 * The sub-index is ignored.
 * @{
 */
#define VELTO_MODE_INT32_TYPE 0             /**< a VELTO_MODE_TYPE_... value */
#define VELTO_MODE_INT32_STATUS_COUNT 1     /**< always 2 */
#define VELTO_MODE_INT32_CURRENT_STATUS 2   /**< a VELTO_MODE_STATUS_... value; OFF at first */
#define VELTO_MODE_INT32_SETTINGS_CHANGED 3 /**< 1 when the user changed what it does, else 0 */
#define VELTO_MODE_INT32_AUTO_ON_OFF 4      /**< 1 when it may be switched automatically, else 0 */
/** @} */

/**
 * @name Values of VELTO_MODE_INT32_TYPE
 * @{
 */
#define VELTO_MODE_TYPE_CRADLE 0       /**< for a machine in its cradle */
#define VELTO_MODE_TYPE_ORDINARY 1     /**< none of the others */
#define VELTO_MODE_TYPE_CUSTOM 2       /**< for the user's own purpose */
#define VELTO_MODE_TYPE_ECO 3          /**< saves energy; has a lamp of its own */
#define VELTO_MODE_TYPE_WIRELESS_OFF 4 /**< without radio, as in an aeroplane */
/** @} */

/**
 * @name Identifier of VeltoModeChange_RequestToSetINT32Information
 * @{
 */
#define VELTO_MODE_REQUEST_STATUS 0 /**< value: the wanted VELTO_MODE_STATUS_... */
/** @} */

/**
 * @name Results of a change
 * In wParam of the notification message; its lParam is 0. What the engine's two results mean is the
 * engine's own.
 * @{
 */
#define VELTO_MODE_CHANGE_FAILED 0          /**< items that were already set keep their values */
#define VELTO_MODE_CHANGE_COMPLETED 1       /**< also when the user cancelled the confirmation */
#define VELTO_MODE_CHANGE_ENGINE_RESULT_2 2 /**< a device engine ended the change */
#define VELTO_MODE_CHANGE_ENGINE_RESULT_3 3 /**< a device engine ended the change */
/** @} */

/**
 * Opens the library on the calling thread. `handle` must not be null and is written on success
 * only. Fails where the configuration files are missing or define no mode.
 */
BOOL WINAPI VeltoModeChange_CreateHandle(VELTO_MODE_CHANGE_HANDLE* handle);

/**
 * Closes the library; always 1, also for a null handle. A change that still runs is dropped: its
 * notification may never come.
 */
BOOL WINAPI VeltoModeChange_DeleteHandle(VELTO_MODE_CHANGE_HANDLE handle);

/** The number of modes that this machine offers; it does not change while the handle is open. */
BOOL WINAPI VeltoModeChange_GetModeCount(VELTO_MODE_CHANGE_HANDLE handle, UINT* count);

/** Selects a mode by its index, 0 to count - 1. A failure keeps the earlier selection. */
BOOL WINAPI VeltoModeChange_SelectMode(VELTO_MODE_CHANGE_HANDLE handle, UINT index);

/**
 * Copies a text, in the user's language and with its terminator, into the caller's buffer.
 * `length` must not be null: in, the buffer's size in WCHARs; out, on success, the size used with
 * the terminator. A buffer that is too small fails and does not tell the size needed: 256 WCHARs
 * are enough for the names of any sensible configuration. A text that the files lack is empty.
 */
BOOL WINAPI VeltoModeChange_GetStringInformation(VELTO_MODE_CHANGE_HANDLE handle, UINT identifier,
                                                 UINT subIndex, UINT* length, WCHAR* buffer);

/** Writes a number; an unknown identifier fails. */
BOOL WINAPI VeltoModeChange_GetINT32Information(VELTO_MODE_CHANGE_HANDLE handle, UINT identifier,
                                                UINT subIndex, INT32* value);

/**
 * Switches the selected mode ON or OFF. Unless the user turned it off, a confirmation is shown
 * first, owned by `notificationWindow`; this call returns when the change was handed on or the user
 * cancelled. The result comes later: `notificationMessage` is posted to `notificationWindow` with a
 * VELTO_MODE_CHANGE_... code in wParam. A null window is allowed: the confirmation then has no
 * owner, and no result is reported.
 *
 * The confirmation is left out once when the DWORD value `NotShowAnnounceModeIsChangeDialog` of
 * `HKEY_CURRENT_USER\Software\Brivane\Kestrola\ModeChange` is not 0; the request deletes it.
 *
 * With a mode selected, an identifier other than VELTO_MODE_REQUEST_STATUS does nothing and
 * succeeds. A status other than 0 and 1 fails.
 */
BOOL WINAPI VeltoModeChange_RequestToSetINT32Information(VELTO_MODE_CHANGE_HANDLE handle,
                                                         UINT identifier, UINT subIndex,
                                                         INT32 value, HWND notificationWindow,
                                                         UINT notificationMessage);

/**
 * Runs the settings dialog, owned by `parent`, on the selected mode, or on the first one before any
 * selection. Returns when it was closed. With an empty mode list the call ends with the C++
 * exception std::out_of_range.
 */
BOOL WINAPI VeltoModeChange_ShowSettingsDialog(VELTO_MODE_CHANGE_HANDLE handle, HWND parent);

#ifdef __cplusplus
}
#endif

#endif
