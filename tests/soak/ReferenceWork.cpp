#include "soak/ReferenceWork.h"

#include <windows.h>

#include <stdexcept>

ReferenceWork::ReferenceWork(Sandbox& sandbox, const SoakMachine& machine)
    : machine(machine), file(sandbox.DataFile(L"Reference.ini")) {}

void ReferenceWork::Run() const {
  LoadEngines();
  WriteAndReadValues();
  MakeWindows();
}

void ReferenceWork::LoadEngines() const {
  for (int item = 0; item < SoakMachine::kItemCount; ++item) {
    const HMODULE engine = ::LoadLibraryW(machine.Engine(item).c_str());
    if (engine == nullptr) throw std::runtime_error("an engine can't be loaded");
    ::FreeLibrary(engine);
  }
}

void ReferenceWork::WriteAndReadValues() const {
  for (int item = 0; item < SoakMachine::kItemCount; ++item) {
    const std::wstring key = SoakMachine::Item(item);
    ::WritePrivateProfileStringW(L"Reference", key.c_str(), L"1", file.c_str());
    if (::GetPrivateProfileIntW(L"Reference", key.c_str(), 0, file.c_str()) != 1) {
      throw std::runtime_error("a value can't be written");
    }
  }
}

void ReferenceWork::MakeWindows() {
  constexpr int kChildCount = 30;
  const HWND parent = ::CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100,
                                        nullptr, nullptr, nullptr, nullptr);
  for (int i = 0; i < kChildCount; ++i) {
    ::CreateWindowExW(0, L"BUTTON", L"", WS_CHILD, 0, 0, 10, 10, parent, nullptr, nullptr, nullptr);
  }
  ::DestroyWindow(parent);
}
