// A DLL with nothing that an engine exports.
extern "C" __declspec(dllexport) int ThisIsNoEngine() {
  return 0;
}
