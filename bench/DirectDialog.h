#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "BareCalls.h"
#include "DialogRecording.h"

/// A dialog that the library showed, made without the library: from the same templates, with the
/// same fonts, texts and places, after the same reads of files, and with the same engines.
///
/// Its windows' procedure does nothing but to colour the controls.
class DirectDialog {
 public:
  enum class Extent {
    kNeeded,    // what it takes when one knows beforehand what the dialog will look like
    kAllCalls,  // whatever else the library asks of files, and each time it shows or enables
  };

  /// `templates`: the module that has the templates.
  DirectDialog(const DialogRecording& recording, HMODULE templates, HWND owner, Extent extent);
  DirectDialog(const DirectDialog&) = delete;
  DirectDialog& operator=(const DirectDialog&) = delete;

  /// Makes and shows the dialog, and returns when it is painted.
  HWND Show();
  void Close();

 private:
  using Step = std::function<void()>;
  /// A window of the recording.
  using Recorded = std::uint64_t;

  [[nodiscard]] static std::vector<Call> SelectFileCalls(const std::vector<Call>& calls,
                                                         Extent extent);
  void AddSteps(const DialogRecording& recording);
  // Each knows some functions and makes nothing of another one.
  [[nodiscard]] Step MakeCreationStep(const Call& call, const DialogRecording& recording);
  [[nodiscard]] Step MakeMessageStep(const Call& call, const DialogRecording& recording);
  [[nodiscard]] Step MakeTextStep(const Call& call, const DialogRecording& recording);
  [[nodiscard]] Step MakePlaceStep(const Call& call, const DialogRecording& recording);
  [[nodiscard]] bool IsKnown(Recorded window) const;
  [[nodiscard]] HWND Find(Recorded window) const;

  HMODULE templates;
  HWND owner;
  Extent extent;
  BareCalls fileCalls;
  std::vector<Step> steps;

  // What is known of the recording so far, while steps are made.
  Recorded frame;
  std::set<Recorded> made;                                // dialogs
  std::map<Recorded, std::pair<Recorded, int>> controls;  // the dialogs and ids that they have
  std::map<Recorded, std::pair<Recorded, int>> innerCombos;
  std::map<std::uint64_t, std::size_t> fontIndices;
  std::size_t fontCount = 0;
  std::size_t comboItemCount = 0;
  std::size_t scrollBarCount = 0;
  std::size_t sentTextCount = 0;
  std::size_t defaultTextCount = 0;

  // What there is while the dialog stands.
  std::map<Recorded, HWND> dialogs;
  std::vector<HFONT> fonts;
  std::vector<HMODULE> engines;
};
