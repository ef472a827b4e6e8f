#pragma once

#include <cstdint>

#include "common/CWideString.h"
#include "trace/TraceLog.h"

/// The files that the library writes. They are shared by all users of the machine, so they lie in
/// a folder of the per-machine application data, and plain users may write folder and files.
namespace DataFile {

/// Full path of a data file; nothing is made. False, with the last error set and `path` untouched,
/// when the system names no folder or the path would be too long.
[[nodiscard]] bool GetPath(const wchar_t* fileName, CWideString* path);

/// Where the ways in which Create can fail are traced.
struct CreateTracePoints {
  TracePoint noSecurityDescriptor;
  TracePoint noFolder;
  TracePoint noFile;
};

/// Makes the file, empty, and the last level of its folder where they are not there, both open to
/// Local System, Administrators and Users for reading, writing and executing.
[[nodiscard]] bool Create(const CWideString& path, const TraceLog& trace,
                          const CreateTracePoints& points);

/// Where a failed write is traced: the path with the error first, then the value.
struct WriteTracePoints {
  TracePoint pathAndError;
  TracePoint value;
};

/// Writes a decimal integer into a file; a failed write leaves the file as Windows left it.
[[nodiscard]] bool WriteInt(const CWideString& path, const wchar_t* section, const wchar_t* key,
                            std::int32_t value, const TraceLog& trace,
                            const WriteTracePoints& points);

}  // namespace DataFile
