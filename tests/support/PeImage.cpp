#include "support/PeImage.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

std::string NameOf(std::uint64_t number) {
  std::string name = "#";
  name += std::to_string(number);
  return name;
}

}  // namespace

PeImage::PeImage(HMODULE module) : start(reinterpret_cast<const char*>(module)) {
  FindHeaders();
}

PeImage::PeImage(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  file.assign(std::istreambuf_iterator<char>(stream), {});
  if (file.size() < sizeof(IMAGE_DOS_HEADER)) throw std::runtime_error("no program file");
  start = file.data();
  FindHeaders();
}

void PeImage::FindHeaders() {
  const auto* dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(start);
  headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(start + dosHeader->e_lfanew);
  if (dosHeader->e_magic != IMAGE_DOS_SIGNATURE || headers->Signature != IMAGE_NT_SIGNATURE) {
    throw std::runtime_error("no program file");
  }
}

const IMAGE_FILE_HEADER& PeImage::FileHeader() const noexcept {
  return headers->FileHeader;
}

const IMAGE_OPTIONAL_HEADER64& PeImage::OptionalHeader() const noexcept {
  return headers->OptionalHeader;
}

std::vector<std::string> PeImage::SectionNames() const {
  std::vector<std::string> names;
  std::for_each_n(Sections(), FileHeader().NumberOfSections, [&](const auto& section) {
    const auto* name = reinterpret_cast<const char*>(section.Name);
    names.emplace_back(name, ::strnlen(name, sizeof(section.Name)));
  });
  return names;
}

std::vector<PeImage::Import> PeImage::Imports() const {
  std::vector<Import> imports;
  const IMAGE_DATA_DIRECTORY& directory =
      OptionalHeader().DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (directory.VirtualAddress == 0) return imports;

  for (const auto* module = TableAt<IMAGE_IMPORT_DESCRIPTOR>(directory.VirtualAddress);
       module->Name != 0; ++module) {
    std::uint32_t slot = module->FirstThunk;
    for (const auto* name = TableAt<IMAGE_THUNK_DATA64>(module->OriginalFirstThunk);
         name->u1.AddressOfData != 0; ++name, slot += sizeof(std::uint64_t)) {
      const bool isNumber = IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal);
      imports.push_back({.module = At(module->Name),
                         .function = isNumber
                                         ? NameOf(IMAGE_ORDINAL64(name->u1.Ordinal))
                                         : At(static_cast<std::uint32_t>(name->u1.AddressOfData)) +
                                               offsetof(IMAGE_IMPORT_BY_NAME, Name),
                         .slot = slot});
    }
  }
  return imports;
}

std::vector<PeImage::Export> PeImage::Exports() const {
  std::vector<Export> exports;
  const IMAGE_DATA_DIRECTORY& directory =
      OptionalHeader().DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  if (directory.VirtualAddress == 0) return exports;

  const auto* table = TableAt<IMAGE_EXPORT_DIRECTORY>(directory.VirtualAddress);
  const auto* addresses = TableAt<std::uint32_t>(table->AddressOfFunctions);
  for (std::uint32_t i = 0; i < table->NumberOfFunctions; ++i) {
    exports.push_back({.function = NameOf(table->Base + i), .address = addresses[i]});
  }
  const auto* names = TableAt<std::uint32_t>(table->AddressOfNames);
  const auto* indices = TableAt<std::uint16_t>(table->AddressOfNameOrdinals);
  for (std::uint32_t i = 0; i < table->NumberOfNames; ++i) {
    exports[indices[i]].function = At(names[i]);
  }
  return exports;
}

const IMAGE_SECTION_HEADER* PeImage::Sections() const noexcept {
  return IMAGE_FIRST_SECTION(headers);
}

const char* PeImage::At(std::uint32_t address) const {
  if (file.empty()) return start + address;
  const auto* sections = Sections();
  const auto* end = sections + FileHeader().NumberOfSections;
  const auto* section = std::find_if(sections, end, [address](const auto& candidate) {
    return address - candidate.VirtualAddress < candidate.SizeOfRawData;
  });
  if (section == end) throw std::runtime_error("an address outside of all sections");
  return start + section->PointerToRawData + (address - section->VirtualAddress);
}
