#include "support/ImportedFunctions.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

using Kind = ImportedFunction::Kind;

constexpr std::uint64_t kNull = 0;
constexpr std::uint64_t kFalse = 0;
constexpr std::uint64_t kZero = 0;
constexpr std::uint64_t kMinusOne = ~std::uint64_t{0};
constexpr std::uint64_t kInvalidHandle = kMinusOne;
constexpr std::uint64_t kInvalidDword = 0xFFFFFFFF;

constexpr ImportedFunction Fails(std::string_view name, std::string_view signature,
                                 std::uint64_t failingResult, DWORD lastError = ERROR_SUCCESS) {
  return {name, signature, Kind::kWindows, failingResult, lastError};
}

constexpr ImportedFunction Works(std::string_view name, std::string_view signature) {
  return {name, signature, Kind::kWindows, std::nullopt, ERROR_SUCCESS};
}

constexpr ImportedFunction Runtime(std::string_view name, std::string_view signature) {
  return {name, signature, Kind::kRuntime, std::nullopt, ERROR_SUCCESS};
}

constexpr ImportedFunction RuntimeFails(std::string_view name, std::string_view signature,
                                        std::uint64_t failingResult, DWORD lastError) {
  return {name, signature, Kind::kRuntime, failingResult, lastError};
}

constexpr ImportedFunction Fixed(std::string_view name) {
  return {name, "", Kind::kFixed, std::nullopt, ERROR_SUCCESS};
}

constexpr ImportedFunction kFunctions[] = {
    // Tracing
    Fails("EventRegister", "pppp", ERROR_NOT_ENOUGH_MEMORY),
    Works("EventUnregister", "u"),
    Fails("EventWrite", "upup", ERROR_ARITHMETIC_OVERFLOW),

    // Files
    Works("CloseHandle", "p"),
    Fails("CopyFileW", "wwu", kFalse, ERROR_ACCESS_DENIED),
    Fails("CreateDirectoryW", "wp", kFalse, ERROR_ACCESS_DENIED),
    Fails("CreateFileW", "wuupuup", kInvalidHandle, ERROR_ACCESS_DENIED),
    Fails("DeleteFileW", "w", kFalse, ERROR_ACCESS_DENIED),
    Works("FindClose", "p"),
    Fails("FindFirstFileW", "wp", kInvalidHandle, ERROR_FILE_NOT_FOUND),
    Fails("FindNextFileW", "pp", kFalse, ERROR_NO_MORE_FILES),
    Works("FlushFileBuffers", "p"),
    Fails("GetFileAttributesW", "w", kInvalidDword, ERROR_FILE_NOT_FOUND),
    Fails("GetFileSizeEx", "pp", kFalse, ERROR_INVALID_HANDLE),
    Fails("MoveFileExW", "wwu", kFalse, ERROR_ACCESS_DENIED),
    Fails("ReadFile", "ppupp", kFalse, ERROR_READ_FAULT),
    Fails("ReplaceFileW", "wwwupp", kFalse, ERROR_ACCESS_DENIED),
    Fails("WriteFile", "ppupp", kFalse, ERROR_DISK_FULL),

    // INI files
    Works("GetPrivateProfileIntW", "wwuw"),
    Fails("GetPrivateProfileSectionW", "wpuw", kZero, ERROR_FILE_NOT_FOUND),
    Fails("GetPrivateProfileStringW", "wwwpuw", kZero, ERROR_FILE_NOT_FOUND),
    Fails("WritePrivateProfileStringW", "wwww", kFalse, ERROR_ACCESS_DENIED),

    // Shell and paths
    Fails("PathAppendW", "ww", kFalse),
    Fails("PathCombineW", "pww", kNull),
    Fails("PathRemoveFileSpecW", "w", kFalse),
    Fails("SHGetSpecialFolderPathW", "ppuu", kFalse, ERROR_FILE_NOT_FOUND),
    Fails("StrToIntExW", "wup", kFalse),

    // System and locale
    Works("MulDiv", "uuu"),
    Fails("ReadProcessMemory", "pppup", kFalse, ERROR_PARTIAL_COPY),
    Fails("GetUserDefaultLocaleName", "pu", kZero, ERROR_INSUFFICIENT_BUFFER),
    Works("VerSetConditionMask", "uuu"),
    Fails("VerifyVersionInfoW", "puu", kFalse, ERROR_OLD_WIN_VERSION),

    // Modules
    Fails("DisableThreadLibraryCalls", "p", kFalse, ERROR_INVALID_HANDLE),
    Works("FreeLibrary", "p"),
    Fails("GetModuleFileNameW", "ppu", kZero, ERROR_INVALID_HANDLE),
    Fails("GetModuleHandleA", "a", kNull, ERROR_MOD_NOT_FOUND),
    // By address, in this library: the second argument is no text.
    Fails("GetModuleHandleExW", "upp", kFalse, ERROR_MOD_NOT_FOUND),
    Fails("GetModuleHandleW", "w", kNull, ERROR_MOD_NOT_FOUND),
    Fails("GetProcAddress", "pa", kNull, ERROR_PROC_NOT_FOUND),
    Fails("LoadLibraryA", "a", kNull, ERROR_MOD_NOT_FOUND),
    Fails("LoadLibraryExW", "wpu", kNull, ERROR_MOD_NOT_FOUND),
    Fails("LoadLibraryW", "w", kNull, ERROR_MOD_NOT_FOUND),

    // Access lists
    Fails("ConvertStringSecurityDescriptorToSecurityDescriptorW", "wupp", kFalse,
          ERROR_INVALID_ACL),
    Works("LocalFree", "p"),

    // Registry
    Works("RegCloseKey", "p"),
    Fails("RegDeleteValueW", "pw", ERROR_ACCESS_DENIED),
    Fails("RegOpenKeyExW", "pwuup", ERROR_FILE_NOT_FOUND),
    Fails("RegQueryValueExW", "pwpppp", ERROR_FILE_NOT_FOUND),

    // GDI
    Fails("CreateFontIndirectW", "p", kNull, ERROR_NOT_ENOUGH_MEMORY),
    Fails("CreateSolidBrush", "u", kNull, ERROR_NOT_ENOUGH_MEMORY),
    Works("DeleteObject", "p"),
    Fails("DrawTextW", "pwupu", kZero, ERROR_INVALID_HANDLE),
    Fails("GetDC", "p", kNull, ERROR_INVALID_WINDOW_HANDLE),
    Works("GetDeviceCaps", "pu"),
    Fails("GetStockObject", "u", kNull),
    Fails("GetTextExtentPoint32W", "pwup", kFalse, ERROR_INVALID_HANDLE),
    Works("ReleaseDC", "pp"),
    Fails("SelectObject", "pp", kNull, ERROR_INVALID_HANDLE),
    Works("SetBkColor", "pu"),
    Works("SetBkMode", "pu"),
    Works("SetTextColor", "pu"),

    // Windows, classes and messages
    Works("CallNextHookEx", "pupp"),
    Works("CallWindowProcW", "ppupp"),
    Fails("ChangeWindowMessageFilterEx", "puup", kFalse, ERROR_ACCESS_DENIED),
    Fails("ClientToScreen", "pp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Fails("CreateWindowExW", "uwwuuuuupppp", kNull, ERROR_NOT_ENOUGH_MEMORY),
    Works("DefWindowProcW", "pupp"),
    Works("DestroyIcon", "p"),
    Works("DestroyWindow", "p"),
    Works("DispatchMessageW", "p"),
    Works("EnableWindow", "pu"),
    Fails("EnumChildWindows", "ppp", kFalse),
    Fails("FindWindowExW", "ppww", kNull, ERROR_FILE_NOT_FOUND),
    Fails("FindWindowW", "ww", kNull, ERROR_FILE_NOT_FOUND),
    Works("GetActiveWindow", ""),
    Works("GetAncestor", "pu"),
    Fails("GetClassInfoExW", "pwp", kFalse, ERROR_CLASS_DOES_NOT_EXIST),
    Fails("GetClassNameW", "ppu", kZero, ERROR_INVALID_WINDOW_HANDLE),
    Fails("GetClientRect", "pp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Fails("GetCursorPos", "p", kFalse, ERROR_ACCESS_DENIED),
    Works("GetDesktopWindow", ""),
    Works("GetFocus", ""),
    Works("GetForegroundWindow", ""),
    Works("GetKeyState", "u"),
    Fails("GetMessageW", "ppuu", kMinusOne, ERROR_INVALID_WINDOW_HANDLE),
    Fails("GetMonitorInfoW", "pp", kFalse, ERROR_INVALID_HANDLE),
    Works("GetParent", "p"),
    Works("GetPropW", "pw"),
    Works("GetSysColor", "u"),
    Works("GetSysColorBrush", "u"),
    Works("GetSystemMetrics", "u"),
    Fails("GetWindow", "pu", kNull, ERROR_INVALID_WINDOW_HANDLE),
    Works("GetWindowLongPtrW", "pu"),
    Works("GetWindowLongW", "pu"),
    Fails("GetWindowRect", "pp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Works("GetWindowTextLengthW", "p"),
    Works("GetWindowTextW", "ppu"),
    Works("GetWindowThreadProcessId", "pp"),
    Works("InflateRect", "puu"),
    Works("InSendMessageEx", "p"),
    Works("InvalidateRect", "ppu"),
    Works("IsChild", "pp"),
    Works("IsDialogMessageW", "pp"),
    Works("IsWindow", "p"),
    Works("IsWindowEnabled", "p"),
    Works("IsWindowVisible", "p"),
    Works("KillTimer", "pu"),
    Fails("LoadCursorW", "pw", kNull, ERROR_RESOURCE_NAME_NOT_FOUND),
    Fails("LoadIconW", "pw", kNull, ERROR_RESOURCE_NAME_NOT_FOUND),
    Fails("LoadImageW", "pwuuuu", kNull, ERROR_RESOURCE_NAME_NOT_FOUND),
    Fails("LoadStringW", "pupu", kZero, ERROR_RESOURCE_NAME_NOT_FOUND),
    Works("MapWindowPoints", "pppu"),
    Fails("MessageBoxW", "pwwu", kZero, ERROR_NOT_ENOUGH_MEMORY),
    Works("MonitorFromPoint", "uu"),
    Works("MonitorFromWindow", "pu"),
    Fails("MoveWindow", "puuuuu", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Works("PeekMessageW", "ppuuu"),
    Fails("PostMessageW", "pupp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Works("PostQuitMessage", "u"),
    Works("RedrawWindow", "pppu"),
    Fails("RegisterClassExW", "p", kZero, ERROR_NOT_ENOUGH_MEMORY),
    Fails("RegisterClassW", "p", kZero, ERROR_NOT_ENOUGH_MEMORY),
    Fails("RegisterWindowMessageW", "w", kZero, ERROR_NOT_ENOUGH_MEMORY),
    Works("RemovePropW", "pw"),
    Fails("ScreenToClient", "pp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Works("ScrollWindow", "puupp"),
    Works("ScrollWindowEx", "puuppppu"),
    Works("SendMessageTimeoutW", "puppuup"),
    Works("SendMessageW", "pupp"),
    Fails("SendNotifyMessageW", "pupp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Works("SetActiveWindow", "p"),
    Works("SetFocus", "p"),
    Works("SetForegroundWindow", "p"),
    Fails("SetPropW", "pwp", kFalse, ERROR_NOT_ENOUGH_MEMORY),
    Works("SetScrollInfo", "pupu"),
    Fails("GetScrollInfo", "pup", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Fails("SetTimer", "puup", kZero, ERROR_NOT_ENOUGH_MEMORY),
    Works("SetWindowLongPtrW", "pup"),
    Works("SetWindowLongW", "puu"),
    Fails("SetWindowPos", "ppuuuuu", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Fails("SetWindowTextW", "pw", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Fails("SetWindowsHookExW", "uppu", kNull, ERROR_NOT_ENOUGH_MEMORY),
    Works("ShowWindow", "pu"),
    Fails("SystemParametersInfoW", "uupu", kFalse, ERROR_INVALID_PARAMETER),
    Works("TranslateMessage", "p"),
    Works("UnhookWindowsHookEx", "p"),
    Fails("UnregisterClassW", "wp", kFalse, ERROR_CLASS_DOES_NOT_EXIST),
    Works("UpdateWindow", "p"),

    // Dialogs and controls
    Works("CheckDlgButton", "puu"),
    Works("CheckRadioButton", "puuu"),
    Fails("CreateDialogParamW", "pwppp", kNull, ERROR_RESOURCE_NAME_NOT_FOUND),
    Fails("DialogBoxParamW", "pwppp", kMinusOne, ERROR_RESOURCE_NAME_NOT_FOUND),
    Fails("EndDialog", "pp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Works("GetDlgCtrlID", "p"),
    Fails("GetDlgItem", "pu", kNull, ERROR_CONTROL_ID_NOT_FOUND),
    Works("GetDlgItemTextW", "pupu"),
    Fails("GetNextDlgTabItem", "ppu", kNull),
    Fails("InitCommonControlsEx", "p", kFalse),
    Works("IsDlgButtonChecked", "pu"),
    Fails("MapDialogRect", "pp", kFalse, ERROR_INVALID_WINDOW_HANDLE),
    Works("SendDlgItemMessageW", "puupp"),
    Fails("SetDlgItemTextW", "puw", kFalse, ERROR_CONTROL_ID_NOT_FOUND),

    // Memory of the runtime
    RuntimeFails("calloc", "uu", kNull, ERROR_NOT_ENOUGH_MEMORY),
    Runtime("free", "p"),
    RuntimeFails("malloc", "u", kNull, ERROR_NOT_ENOUGH_MEMORY),
    RuntimeFails("realloc", "pu", kNull, ERROR_NOT_ENOUGH_MEMORY),

    // What the runtime asks of Windows, and what can be asked without a system call
    Runtime("CloseThreadpoolWork", "p"),
    Runtime("CreateEventA", "puua"),
    Runtime("CreateSemaphoreA", "puua"),
    Runtime("CreateSemaphoreW", "puuw"),
    Runtime("DeleteCriticalSection", "p"),
    Runtime("EnterCriticalSection", "p"),
    Runtime("FormatMessageA", "upuupup"),
    Runtime("GetCurrentProcess", ""),
    Runtime("GetCurrentProcessId", ""),
    Runtime("GetCurrentThread", ""),
    Runtime("GetCurrentThreadId", ""),
    Runtime("GetLastError", ""),
    Runtime("GetStartupInfoA", "p"),
    Runtime("GetStartupInfoW", "p"),
    Runtime("GetSystemTimeAsFileTime", "p"),
    Runtime("GetTickCount", ""),
    Runtime("InitializeCriticalSection", "p"),
    Runtime("IsDBCSLeadByteEx", "uu"),
    Runtime("LeaveCriticalSection", "p"),
    Runtime("MultiByteToWideChar", "uuaupu"),
    Runtime("QueryPerformanceCounter", "p"),
    Runtime("ReleaseSemaphore", "pup"),
    Runtime("SetLastError", "u"),
    Runtime("SetUnhandledExceptionFilter", "p"),
    Runtime("Sleep", "u"),
    Runtime("TerminateProcess", "pu"),
    Runtime("TlsAlloc", ""),
    Runtime("TlsFree", "u"),
    Runtime("TlsGetValue", "u"),
    Runtime("TlsSetValue", "up"),
    Runtime("TryEnterCriticalSection", "p"),
    Runtime("UnhandledExceptionFilter", "p"),
    Runtime("VirtualProtect", "puup"),
    Runtime("VirtualQuery", "ppu"),
    Runtime("WaitForSingleObject", "pu"),
    Runtime("WideCharToMultiByte", "uuwupupp"),

    // Exceptions
    Fixed("RaiseException"),
    Fixed("RtlAddFunctionTable"),
    Fixed("RtlCaptureContext"),
    Fixed("RtlLookupFunctionEntry"),
    Fixed("RtlRestoreContext"),
    Fixed("RtlUnwindEx"),
    Fixed("RtlVirtualUnwind"),
    Fixed("__C_specific_handler"),
    Fixed("_setjmp"),
    Fixed("longjmp"),
};

}  // namespace

const ImportedFunction* FindImportedFunction(std::string_view name) noexcept {
  const auto* found =
      std::find_if(std::begin(kFunctions), std::end(kFunctions),
                   [name](const ImportedFunction& function) { return function.name == name; });
  return found != std::end(kFunctions) ? found : nullptr;
}

bool IsRuntimeModule(std::string_view module) noexcept {
  constexpr std::string_view kRuntime = "msvcrt.dll";
  return module.size() == kRuntime.size() &&
         ::_strnicmp(module.data(), kRuntime.data(), kRuntime.size()) == 0;
}
