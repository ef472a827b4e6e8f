#pragma once

#include <string>
#include <vector>

#include "Findings.h"
#include "FolderCheck.h"

/// "FILE:LINE: error: message [rule]" for each finding, and a line that sums up.
[[nodiscard]] std::wstring FormatFindings(const Findings& findings, std::size_t fileCount);

/// A line for each text and a column for each language: "x" where the language has it, "-" where
/// it lacks it.
[[nodiscard]] std::wstring FormatTexts(const std::vector<Language>& languages,
                                       const std::vector<TextRule>& texts);

/// All of that as one JSON object; the texts only where `withTexts`.
[[nodiscard]] std::wstring FormatAsJson(const Findings& findings, const FolderCheck& check,
                                        const std::wstring& folder, bool withTexts);
