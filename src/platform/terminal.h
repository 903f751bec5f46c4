#pragma once

#include <string_view>

namespace emantle::platform {

enum class StandardStream { output = 1, error = 2 };

bool isTerminal(StandardStream stream) noexcept;

// Columns; 80 where the stream is no terminal.
int terminalWidth(StandardStream stream) noexcept;

// Stands in for a message box: one line "title: text" on standard error.
void showMessage(std::string_view title, std::string_view text) noexcept;

} // namespace emantle::platform
