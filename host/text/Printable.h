// Text that came from outside, made fit to print.
#pragma once

#include <string>
#include <string_view>

namespace ShoalHost {

inline bool isControl(char c) {
   return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

// Control characters but line feeds as "\x00"; words of more than 600 characters, and texts of more
// than 16384, are cut and followed by their length.
std::string printable(std::string_view text);

} // namespace ShoalHost
