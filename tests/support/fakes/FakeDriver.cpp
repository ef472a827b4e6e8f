#include "support/fakes/DriverBehaviour.h"

namespace {

constexpr DWORD kNoBehaviour = 0xFFFF;

DriverBehaviour* attached = nullptr;

}  // namespace

extern "C" {

void WINAPI FakeDriver_Attach(DriverBehaviour* behaviour) {
  attached = behaviour;
}

DWORD WINAPI GetLEDInfo(DWORD* info) {
  return attached != nullptr ? attached->GetLEDInfo(info) : kNoBehaviour;
}

DWORD WINAPI SetLEDControl(DWORD id, DWORD value) {
  return attached != nullptr ? attached->SetLEDControl(id, value) : kNoBehaviour;
}

DWORD WINAPI GetSwitchInfo(DWORD* info) {
  return attached != nullptr ? attached->GetSwitchInfo(info) : kNoBehaviour;
}

DWORD WINAPI SetApplicationSwitch(DWORD mask, DWORD value) {
  return attached != nullptr ? attached->SetApplicationSwitch(mask, value) : kNoBehaviour;
}
}
