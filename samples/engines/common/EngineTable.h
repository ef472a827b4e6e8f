#pragma once

#include <windows.h>

/// What makes one engine different from the next. An engine's source file defines `kEngine`; the
/// exports, the thread and the checks are the same for all and lie beside this file.
///
/// Values are numbered from 0 and are never out of range when a function is called.
struct EngineTable {
  /// The texts of ModeChange.Resource.ini are "<item>_Name" and "<item>_Value<number>".
  const wchar_t* item = nullptr;
  INT32 valueCount = 0;

  /// Reads the device; false when it can't be read. A setting that lies between the values, or
  /// beyond them, counts as the nearest one: a number out of range is taken as a failure.
  bool (*getCurrent)(INT32* value) = nullptr;

  /// Sets the device and returns when that is done; runs on a thread of its own. The device is read
  /// again afterwards, so the result only has to tell a failure that is known already.
  bool (*set)(INT32 value) = nullptr;

  /// Whether this machine has such a device at all.
  bool (*isSupported)() = [] { return true; };

  /// Whether the device of this machine has this value.
  bool (*isAvailable)(INT32 value) = [](INT32 /*value*/) { return true; };
};

extern const EngineTable kEngine;
