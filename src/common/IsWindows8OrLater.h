#pragma once

/// True from Windows 8 (version 6.2) on. Default settings and the wireless lamp depend on it.
[[nodiscard]] bool IsWindows8OrLater() noexcept;
