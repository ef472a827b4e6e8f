#include <windows.h>

#include <new>

#include "ErrorBox.h"
#include "MessageLoop.h"
#include "SingleInstance.h"
#include "StringIds.h"
#include "Texts.h"
#include "TrayApplication.h"
#include "TrayWindow.h"

namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;

int Run(HINSTANCE instance, const Texts& texts) {
  const SingleInstance self(L"Local\\BrivaneModetray");
  if (!self.IsFirst()) {
    if (!TrayWindow::TellFirstInstance()) {
      ShowBox(nullptr, texts.Get(IDS_ALREADY_RUNNING), MB_ICONINFORMATION, texts);
    }
    return kExitDone;
  }
  const TrayApplication application(instance, texts);
  RunMessageLoop();
  return kExitDone;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE /*previous*/, PWSTR /*commandLine*/,
                    int /*show*/) {
  const Texts texts(instance);
  try {
    return Run(instance, texts);
  } catch (const CommandError& error) {
    ShowBox(nullptr, DescribeForUser(error, texts), MB_ICONERROR, texts);
  } catch (const std::bad_alloc&) {
    ShowBox(nullptr, texts.Get(IDS_ERROR_MEMORY), MB_ICONERROR, texts);
  }
  return kExitFailed;
}
