// What loading any DLL takes that is built as the library is: nothing is in it but the runtime.

extern "C" __declspec(dllexport) void EmptyDll() {}
