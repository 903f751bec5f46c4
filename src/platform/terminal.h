#pragma once

namespace emantle::platform {

enum class StandardStream { output = 1, error = 2 };

bool isTerminal(StandardStream stream) noexcept;

// Columns; 80 where the stream is no terminal.
int terminalWidth(StandardStream stream) noexcept;

}  // namespace emantle::platform
