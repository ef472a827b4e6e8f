#include "support/ProgramCopy.h"

#include <windows.h>

#include <cstdio>
#include <string>

#include "support/Files.h"
#include "support/Text.h"

namespace fs = std::filesystem;

ProgramCopy::ProgramCopy(const fs::path& program) : name(program.filename()) {
  const fs::path parent = program.parent_path().parent_path().parent_path() / "sandboxes";
  fs::create_directories(parent);
  // Other systems (each Wine prefix is one) use the same process numbers at the same time.
  for (int number = 0; folder.empty(); ++number) {
    const fs::path candidate =
        parent / (std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(number));
    if (fs::create_directory(candidate)) folder = candidate;
  }
  Add(program);
  for (const fs::directory_entry& entry : fs::directory_iterator(program.parent_path())) {
    if (entry.path().extension() == L".dll") Add(entry.path());
  }
}

ProgramCopy::~ProgramCopy() {
  Files::RemoveTree(folder);
}

bool ProgramCopy::ReportStrays() const {
  const std::set<fs::path> strays = Strays();
  for (const fs::path& stray : strays) {
    std::fprintf(stderr, "left behind by the tests: %s\n", Text::ToUtf8(stray.wstring()).c_str());
  }
  return !strays.empty();
}

void ProgramCopy::RemoveStrays() const {
  for (const fs::path& stray : Strays()) Files::RemoveTree(stray);
}

void ProgramCopy::Add(const fs::path& file) {
  // No hard link: that can't be removed while any other process runs the same program.
  fs::copy_file(file, folder / file.filename());
  files.insert(file.filename());
}

std::set<fs::path> ProgramCopy::Strays() const {
  std::set<fs::path> strays;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (!files.contains(entry.path().filename())) strays.insert(entry.path());
  }
  return strays;
}
