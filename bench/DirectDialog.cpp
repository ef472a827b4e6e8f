#include "DirectDialog.h"

// windows.h comes with the header above, before the others, which need it.
#include <commctrl.h>
#include <velto/device_engine.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace {

/// The answers of files; a program that knows its files needs no more of them.
constexpr std::string_view kProfileFunctions[] = {
    "GetPrivateProfileIntW",
    "GetPrivateProfileStringW",
    "GetPrivateProfileSectionW",
};
/// What the library asks around those.
constexpr std::string_view kOtherFunctions[] = {
    "GetFileAttributesW",
    "CreateFileW",
    "GetFileSizeEx",
    "CloseHandle",
    "FindFirstFileW",
    "FindNextFileW",
    "FindClose",
    "PathAppendW",
    "PathRemoveFileSpecW",
    "SHGetSpecialFolderPathW",
    "GetModuleFileNameW",
    "GetModuleHandleExW",
    "GetUserDefaultLocaleName",
    "StrToIntExW",
    "VerSetConditionMask",
    "VerifyVersionInfoW",
    "EventRegister",
    "EventUnregister",
};

constexpr UINT kSettingMessages[] = {
    WM_SETFONT,   WM_SETTEXT, BM_SETCHECK,     CBEM_INSERTITEMW, CB_SETCURSEL,
    TBM_SETRANGE, TBM_SETPOS, TBM_SETLINESIZE, TBM_SETPAGESIZE,
};

template <class List, class Value>
bool IsOneOf(const List& list, const Value& value) {
  return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

int ToInt(std::uint64_t argument) {
  return static_cast<int>(static_cast<std::uint32_t>(argument));
}

INT_PTR CALLBACK OnMessage(HWND /*window*/, UINT message, WPARAM wParam, LPARAM /*lParam*/) {
  switch (message) {
    case WM_INITDIALOG:
      return TRUE;
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORSTATIC:
      ::SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
      return reinterpret_cast<INT_PTR>(::GetStockObject(WHITE_BRUSH));
    default:
      return FALSE;
  }
}

template <class Function>
Function GetFunction(HMODULE engine, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(engine, name)));
}

/// All that a row asks of its engine.
void AskEngine(HMODULE engine) {
  const auto create = GetFunction<decltype(&VeltoDeviceEngine_CreateHandle)>(
      engine, "VeltoDeviceEngine_CreateHandle");
  const auto getDeviceCount = GetFunction<decltype(&VeltoDeviceEngine_GetDeviceCount)>(
      engine, "VeltoDeviceEngine_GetDeviceCount");
  const auto selectDevice = GetFunction<decltype(&VeltoDeviceEngine_SelectDevice)>(
      engine, "VeltoDeviceEngine_SelectDevice");
  const auto getString = GetFunction<decltype(&VeltoDeviceEngine_GetStringInformation)>(
      engine, "VeltoDeviceEngine_GetStringInformation");
  const auto getNumber = GetFunction<decltype(&VeltoDeviceEngine_GetINT32Information)>(
      engine, "VeltoDeviceEngine_GetINT32Information");
  const auto destroy = GetFunction<decltype(&VeltoDeviceEngine_DeleteHandle)>(
      engine, "VeltoDeviceEngine_DeleteHandle");
  GetFunction<decltype(&VeltoDeviceEngine_RequestToSetINT32Information)>(
      engine, "VeltoDeviceEngine_RequestToSetINT32Information");

  VELTO_DEVICE_ENGINE_HANDLE handle = nullptr;
  create(&handle);
  UINT devices = 0;
  getDeviceCount(handle, &devices);
  selectDevice(handle, 0);
  INT32 number = 0;
  getNumber(handle, VELTO_ENGINE_INT32_SUPPORTED, 0, &number);
  INT32 values = 0;
  getNumber(handle, VELTO_ENGINE_INT32_VALUE_COUNT, 0, &values);
  WCHAR text[VELTO_ENGINE_STRING_LENGTH];
  UINT length = VELTO_ENGINE_STRING_LENGTH;
  for (INT32 value = 0; value < values; ++value) {
    const auto index = static_cast<UINT>(value);
    getNumber(handle, VELTO_ENGINE_INT32_VALUE_AVAILABLE, index, &number);
    getString(handle, VELTO_ENGINE_STRING_VALUE_KEY, index, &length, text);
  }
  getString(handle, VELTO_ENGINE_STRING_ITEM_KEY, 0, &length, text);
  destroy(handle);
}

}  // namespace

DirectDialog::DirectDialog(const DialogRecording& recording, HMODULE templates, HWND owner,
                           Extent extent)
    : templates(templates),
      owner(owner),
      extent(extent),
      fileCalls(SelectFileCalls(recording.calls, extent)),
      frame(reinterpret_cast<Recorded>(recording.frame)) {
  AddSteps(recording);
}

std::vector<Call> DirectDialog::SelectFileCalls(const std::vector<Call>& calls, Extent extent) {
  std::vector<Call> selected;
  std::copy_if(calls.begin(), calls.end(), std::back_inserter(selected),
               [extent](const Call& call) {
                 return IsOneOf(kProfileFunctions, call.function) ||
                        (extent == Extent::kAllCalls && IsOneOf(kOtherFunctions, call.function));
               });
  return selected;
}

void DirectDialog::AddSteps(const DialogRecording& recording) {
  // By what is called, and for which window: of several calls only the last one is needed.
  std::map<std::pair<std::string, Recorded>, std::size_t> stateSteps;
  for (const Call& call : recording.calls) {
    if (call.function == "GetDlgItem") {
      controls[call.result] = {call.arguments.at(0), ToInt(call.arguments.at(1))};
      continue;
    }
    for (const Step& step : {MakeCreationStep(call, recording), MakeMessageStep(call, recording),
                             MakeTextStep(call, recording), MakePlaceStep(call, recording)}) {
      if (!step) continue;
      const bool isState = call.function == "ShowWindow" || call.function == "EnableWindow";
      if (isState && extent == Extent::kNeeded) {
        const auto [known, isNew] =
            stateSteps.try_emplace({call.function, call.arguments.at(0)}, steps.size());
        if (!isNew) {
          steps[known->second] = nullptr;
          known->second = steps.size();
        }
      }
      steps.push_back(step);
    }
  }
  std::erase(steps, nullptr);
}

HWND DirectDialog::Show() {
  fileCalls.Run();
  for (const Step& step : steps) step();
  const HWND window = Find(frame);
  ::ShowWindow(window, SW_SHOWNORMAL);
  ::UpdateWindow(window);
  for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
    ::DispatchMessageW(&message);
  }
  return window;
}

void DirectDialog::Close() {
  ::DestroyWindow(Find(frame));
  dialogs.clear();
  for (const HFONT font : fonts) ::DeleteObject(font);
  fonts.clear();
  for (const HMODULE engine : engines) ::FreeLibrary(engine);
  engines.clear();
}

// Both go from a control to its parent: as deep as the dialog's windows lie in each other.
// NOLINTBEGIN(misc-no-recursion)
bool DirectDialog::IsKnown(Recorded window) const {
  if (made.contains(window)) return true;
  const auto control = controls.find(window);
  return control != controls.end() && IsKnown(control->second.first);
}

HWND DirectDialog::Find(Recorded window) const {
  const auto dialog = dialogs.find(window);
  if (dialog != dialogs.end()) return dialog->second;
  const auto& [parent, id] = controls.at(window);
  return ::GetDlgItem(Find(parent), id);
}
// NOLINTEND(misc-no-recursion)

DirectDialog::Step DirectDialog::MakeCreationStep(const Call& call,
                                                  const DialogRecording& recording) {
  if (call.function == "DialogBoxParamW") {
    made.insert(frame);
    return [this, name = ToInt(call.arguments.at(1))] {
      dialogs[frame] = ::CreateDialogParamW(templates, MAKEINTRESOURCEW(name), owner, OnMessage, 0);
    };
  }
  if (call.function == "CreateDialogParamW") {
    made.insert(call.result);
    return [this, window = call.result, name = ToInt(call.arguments.at(1)),
            parent = call.arguments.at(2)] {
      dialogs[window] =
          ::CreateDialogParamW(templates, MAKEINTRESOURCEW(name), Find(parent), OnMessage, 0);
    };
  }
  if (call.function == "CreateFontIndirectW") {
    fontIndices[call.result] = fontCount;
    return [this, font = recording.fonts.at(fontCount++)] {
      fonts.push_back(::CreateFontIndirectW(&font));
    };
  }
  if (call.function == "LoadLibraryW") {
    return [this, path = call.texts.at(0)] {
      engines.push_back(::LoadLibraryW(path.c_str()));
      AskEngine(engines.back());
    };
  }
  return {};
}

DirectDialog::Step DirectDialog::MakeMessageStep(const Call& call,
                                                 const DialogRecording& recording) {
  if (call.function != "SendDlgItemMessageW") return {};
  const auto message = static_cast<UINT>(call.arguments.at(2));
  if (message == CBEM_GETCOMBOCONTROL) {
    innerCombos[call.result] = {call.arguments.at(0), ToInt(call.arguments.at(1))};
  }
  if (!IsOneOf(kSettingMessages, message)) return {};
  const auto send = [this, window = call.arguments.at(0), id = ToInt(call.arguments.at(1)),
                     message](WPARAM wParam, LPARAM lParam) {
    ::SendDlgItemMessageW(Find(window), id, message, wParam, lParam);
  };
  if (message == CBEM_INSERTITEMW) {
    return [send, item = recording.comboItems.at(comboItemCount++)]() mutable {
      COMBOBOXEXITEMW inserted{};
      inserted.mask = CBEIF_TEXT | CBEIF_LPARAM;
      inserted.iItem = item.index;
      inserted.pszText = item.text.data();
      inserted.lParam = item.data;
      send(0, reinterpret_cast<LPARAM>(&inserted));
    };
  }
  if (message == WM_SETTEXT) {
    return [send, text = recording.sentTexts.at(sentTextCount++)] {
      send(0, reinterpret_cast<LPARAM>(text.c_str()));
    };
  }
  if (message == WM_SETFONT) {
    return [this, send, font = fontIndices.at(call.arguments.at(3))] {
      send(reinterpret_cast<WPARAM>(fonts[font]), TRUE);
    };
  }
  return [send, wParam = static_cast<WPARAM>(call.arguments.at(3)),
          lParam = static_cast<LPARAM>(call.arguments.at(4))] { send(wParam, lParam); };
}

DirectDialog::Step DirectDialog::MakeTextStep(const Call& call, const DialogRecording& recording) {
  if (call.function == "SetWindowTextW") {
    return [this, window = call.arguments.at(0), text = call.texts.at(1)] {
      ::SetWindowTextW(Find(window), text.c_str());
    };
  }
  if (call.function == "SetDlgItemTextW") {
    return [this, window = call.arguments.at(0), id = ToInt(call.arguments.at(1)),
            text = call.texts.at(2)] { ::SetDlgItemTextW(Find(window), id, text.c_str()); };
  }
  if (call.function != "DefWindowProcW" || call.arguments.at(1) != WM_SETTEXT) return {};
  const std::wstring& text = recording.defaultTexts.at(defaultTextCount++);
  const auto inner = innerCombos.find(call.arguments.at(0));
  if (inner == innerCombos.end()) {
    return [this, window = call.arguments.at(0), text] {
      ::DefWindowProcW(Find(window), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
    };
  }
  return [this, combo = inner->second, text] {
    const LRESULT window =
        ::SendDlgItemMessageW(Find(combo.first), combo.second, CBEM_GETCOMBOCONTROL, 0, 0);
    ::DefWindowProcW(reinterpret_cast<HWND>(window), WM_SETTEXT, 0,
                     reinterpret_cast<LPARAM>(text.c_str()));
  };
}

DirectDialog::Step DirectDialog::MakePlaceStep(const Call& call, const DialogRecording& recording) {
  if (call.function == "SetScrollInfo") {
    return [this, window = call.arguments.at(0), bar = ToInt(call.arguments.at(1)),
            info = recording.scrollBars.at(scrollBarCount++)] {
      ::SetScrollInfo(Find(window), bar, &info, TRUE);
    };
  }
  if (call.arguments.empty() || !IsKnown(call.arguments.front())) return {};
  const Recorded window = call.arguments.front();
  std::vector<int> numbers;
  std::transform(call.arguments.begin(), call.arguments.end(), std::back_inserter(numbers), ToInt);
  if (call.function == "MoveWindow") {
    return [this, window, numbers] {
      ::MoveWindow(Find(window), numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]);
    };
  }
  if (call.function == "SetWindowPos") {
    const Recorded after = call.arguments.at(1);
    return [this, window, numbers, after] {
      ::SetWindowPos(Find(window), IsKnown(after) ? Find(after) : nullptr, numbers[2], numbers[3],
                     numbers[4], numbers[5], static_cast<UINT>(numbers[6]));
    };
  }
  if (call.function == "ShowWindow") {
    return [this, window, numbers] { ::ShowWindow(Find(window), numbers[1]); };
  }
  if (call.function == "EnableWindow") {
    return [this, window, numbers] { ::EnableWindow(Find(window), numbers[1]); };
  }
  if (call.function == "SetWindowLongPtrW" && numbers[1] == GWL_STYLE) {
    return [this, window, style = static_cast<LONG_PTR>(call.arguments.at(2))] {
      ::SetWindowLongPtrW(Find(window), GWL_STYLE, style);
    };
  }
  return {};
}
