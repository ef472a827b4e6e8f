#pragma once

/// Handles messages until one says to quit. Changes are carried out inside this loop, by a window
/// of the library's own.
void RunMessageLoop();
