// The whole content of a file.
#pragma once

#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace Agent {

// None when it cannot be read: absent, not allowed, a directory.
inline std::optional<std::string> fileContent(std::string const& path) {
   std::ifstream in(path, std::ios::binary);
   std::ostringstream content;
   // Peeking tells a directory, which opens but does not read, from an empty file.
   if (!in || (in.peek() == std::ifstream::traits_type::eof() && in.bad())) {
      return std::nullopt;
   }
   in.clear();
   content << in.rdbuf();
   if (in.bad()) {
      return std::nullopt;
   }
   return content.str();
}

} // namespace Agent
