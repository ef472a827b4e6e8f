#pragma once

#include "Balloon.h"
#include "Change.h"
#include "Texts.h"

/// Whether all went as the user wished, which includes that they changed their mind.
[[nodiscard]] bool WentWell(const Change& change);

/// What the user is told when a change is over.
[[nodiscard]] Balloon DescribeOutcome(const Change& change, const Texts& texts);

/// What the icon says while a change runs.
[[nodiscard]] std::wstring DescribeProgress(const Change& change, const Texts& texts);
