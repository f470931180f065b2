// The whole content of a file.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

namespace Agent {

// None when it cannot be read: absent, not allowed, a directory. `reason` then says why, in the
// words of the operating system.
inline std::optional<std::string> fileContent(std::string const& path,
                                              std::string* reason = nullptr) {
   std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
       std::fopen(path.c_str(), "rb"), [](std::FILE* each) { return std::fclose(each); });
   std::string content;
   char block[65536];
   std::size_t got = 0;
   while (file && (got = std::fread(block, 1, sizeof block, file.get())) > 0) {
      content.append(block, got);
   }
   if (file && std::ferror(file.get()) == 0) {
      return content;
   }
   if (reason != nullptr) {
      *reason = std::strerror(errno);
   }
   return std::nullopt;
}

} // namespace Agent
