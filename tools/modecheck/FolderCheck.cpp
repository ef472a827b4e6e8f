#include "FolderCheck.h"

#include <windows.h>

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>

#include "ConfigCheck.h"
#include "DataCheck.h"
#include "DefaultsCheck.h"
#include "Names.h"
#include "UsableModesCheck.h"

namespace fs = std::filesystem;

namespace {

constexpr const wchar_t* kResource = L"ModeChange.Resource.ini";
constexpr const wchar_t* kFallback = L"en-US";

/// Whether a user can have this locale: a language alone is none.
bool IsUserLocale(const std::wstring& name) {
  // Other systems' way to write one, which some take for their own.
  if (name.find(L'_') != std::wstring::npos) return false;
  DWORD isNeutral = 1;
  return ::IsValidLocaleName(name.c_str()) != FALSE &&
         ::GetLocaleInfoEx(name.c_str(), LOCALE_INEUTRAL | LOCALE_RETURN_NUMBER,
                           reinterpret_cast<wchar_t*>(&isNeutral),
                           sizeof(isNeutral) / sizeof(wchar_t)) != 0 &&
         isNeutral == 0;
}

/// "de-DE", "sr-Latn-RS", "es-419": what no other folder is likely to be called.
bool LooksLikeLocale(std::wstring_view name) {
  const std::size_t language = name.find(L'-');
  const std::size_t region = name.rfind(L'-');
  if (language != 2 && language != 3) return false;
  const std::wstring_view last = name.substr(region + 1);
  return last.size() == 2 ||
         (last.size() == 3 && last.find_first_not_of(L"0123456789") == std::wstring_view::npos);
}

bool Exists(const fs::path& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

FolderCheck::FolderCheck(Options options, Findings& findings)
    : options(std::move(options)), findings(findings) {}

void FolderCheck::Run() {
  const auto config = Open(L"ModeChange.Config.ini");
  const auto usableModes = Open(L"ModeChange.UsableModeList.ini");
  const auto defaults = Open(L"ModeChange.DefaultSettings.ini");
  FindLanguages();
  // What the other files say has no meaning without this one.
  if (!config || !config->IsReadable()) return;

  const Configuration configuration = ConfigCheck(*config).Run();
  const ItemEngines engines =
      options.engines == nullptr
          ? ItemEngines()
          : ItemEngines(configuration, fs::absolute(options.folder), *options.engines, *config);
  for (const Configuration::Item& item : configuration.items) {
    if (item.lockValue) {
      engines.CheckValue(*config, item.lockValueLine, item.name,
                         L"The locking value of " + item.name, *item.lockValue);
    }
    for (const Configuration::LockedItem& locked : item.lockedItems) {
      engines.CheckValue(*config, locked.valueLine, locked.name,
                         L"The value that " + item.name + L" holds " + locked.name + L" at",
                         locked.value);
    }
  }
  if (usableModes && usableModes->IsReadable()) CheckUsableModes(*usableModes, configuration);
  if (defaults && defaults->IsReadable()) DefaultsCheck(*defaults, configuration, engines).Run();
  const TextsCheck textsCheck(languages, configuration, engines);
  textsCheck.Run();
  texts = textsCheck.Rules();
  CheckData(configuration, engines);
}

std::unique_ptr<IniFileCheck> FolderCheck::Open(const wchar_t* name) {
  const fs::path path = options.folder / name;
  auto file = OpenIfThere(path);
  if (file == nullptr) {
    findings.Add(Rule::kFileMissing, path.wstring(), 0,
                 L"The file is not there, and the library needs it. Put it beside the library.");
  }
  return file;
}

std::unique_ptr<IniFileCheck> FolderCheck::OpenIfThere(const fs::path& path) {
  if (!Exists(path)) return nullptr;
  ++fileCount;
  return std::make_unique<IniFileCheck>(path, findings);
}

void FolderCheck::FindLanguages() {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(options.folder, error)) {
    if (entry.is_directory(error)) subFolders.push_back(entry.path().filename().wstring());
  }
  std::sort(subFolders.begin(), subFolders.end());
  if (options.locale.empty()) {
    CheckLanguageFolders();
    for (const std::wstring& folder : subFolders) AddLanguage(folder);
    AddLanguage(L"");
  } else {
    FindLanguageOf(options.locale);
  }
  if (languages.empty()) {
    findings.Add(
        Rule::kFileMissing, (options.folder / kFallback / kResource).wstring(), 0,
        L"There are no texts, so the dialogs are empty. Put ModeChange.Resource.ini into a "
        L"folder that is named after a locale, at least into en-US.");
  }
}

bool FolderCheck::HasTexts(const std::wstring& locale) const {
  return Exists(options.folder / locale / kResource);
}

void FolderCheck::AddLanguage(const std::wstring& locale) {
  if (HasTexts(locale)) {
    languages.push_back({locale, OpenIfThere(options.folder / locale / kResource)});
  }
}

/// The library's search: the user's locale, the language elsewhere, en-US, no folder at all.
void FolderCheck::FindLanguageOf(const std::wstring& locale) {
  std::vector<std::wstring> candidates = {locale};
  const std::size_t hyphen = locale.find(L'-');
  for (const std::wstring& folder : subFolders) {
    if (hyphen != std::wstring::npos && Names::StartsWith(folder, locale.substr(0, hyphen + 1))) {
      candidates.push_back(folder);
    }
  }
  candidates.insert(candidates.end(), {kFallback, L""});
  const auto found = std::find_if(candidates.begin(), candidates.end(),
                                  [this](const std::wstring& one) { return HasTexts(one); });
  if (found != candidates.end()) AddLanguage(*found);
}

void FolderCheck::CheckLanguageFolders() {
  for (const std::wstring& folder : subFolders) {
    const bool isLocale = IsUserLocale(folder);
    const bool hasTexts = HasTexts(folder);
    if (hasTexts ? isLocale : !(isLocale && LooksLikeLocale(folder))) continue;
    findings.Add(Rule::kLocaleFolder,
                 isLocale ? (options.folder / folder).wstring()
                          : (options.folder / folder / kResource).wstring(),
                 0,
                 isLocale ? L"The folder " + folder +
                                L" has no ModeChange.Resource.ini, so its users see another "
                                L"language. Put one there, or remove the folder."
                          : L"No user has the locale " + folder +
                                L", so nobody sees these texts. Name the folder after a language "
                                L"and a region, such as de-DE.");
  }
  const bool hasAny = std::any_of(subFolders.begin(), subFolders.end(),
                                  [this](const std::wstring& one) { return HasTexts(one); });
  if (hasAny && !HasTexts(kFallback) && !HasTexts(L"")) {
    findings.Add(Rule::kLocaleFallback, (options.folder / kFallback / kResource).wstring(), 0,
                 L"The file is not there, so users of other languages see no texts. Add it.");
  }
}

void FolderCheck::CheckData(const Configuration& configuration, const ItemEngines& itemEngines) {
  if (options.dataFolder.empty()) return;
  const DataCheck check(configuration, itemEngines);
  const auto open = [this](const wchar_t* name) -> std::unique_ptr<IniFileCheck> {
    const fs::path path = options.dataFolder / name;
    std::error_code error;
    // The library makes each of them when it first has something to write, and empty.
    return fs::is_empty(path, error) ? nullptr : OpenIfThere(path);
  };
  const auto settings = open(L"ModeChange.Settings.ini");
  if (settings && settings->IsReadable()) check.CheckSettings(*settings);
  const auto status = open(L"ModeChange.Status.ini");
  if (status && status->IsReadable()) check.CheckStatus(*status);
}
