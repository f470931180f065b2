#include "platform/Toggle/Toggle.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace Toggle {

namespace {

std::optional<std::string> directory;

// One object of named values. Values of other kinds are passed over, however deep.
class Parser {
 public:
   explicit Parser(std::string_view content) : content_(content) {}

   std::optional<bool> find(std::string_view name) {
      std::optional<bool> found;
      expect('{');
      if (!take('}')) {
         do {
            space();
            std::string key = string();
            expect(':');
            space();
            std::size_t begin = at_;
            value();
            if (key == name) {
               found = toggle(content_.substr(begin, at_ - begin), begin);
            }
         } while (take(','));
         expect('}');
      }
      space();
      if (at_ < content_.size()) {
         fail(at_, "text behind the object");
      }
      return found;
   }

 private:
   [[noreturn]] void fail(std::size_t at, std::string const& reason) const {
      auto before = content_.substr(0, at);
      auto line = std::count(before.begin(), before.end(), '\n') + 1;
      auto column = at - (before.rfind('\n') + 1) + 1;
      throw std::runtime_error(std::to_string(line) + ":" + std::to_string(column) + ": " + reason);
   }
   bool toggle(std::string_view word, std::size_t at) const {
      if (word != "true" && word != "false") {
         fail(at, "a toggle is true or false");
      }
      return word == "true";
   }
   void space() {
      while (at_ < content_.size() &&
             std::string_view(" \t\r\n").find(content_[at_]) != std::string_view::npos) {
         ++at_;
      }
   }
   bool take(char c) {
      space();
      bool found = at_ < content_.size() && content_[at_] == c;
      at_ += found ? 1 : 0;
      return found;
   }
   void expect(char c) {
      if (!take(c)) {
         fail(at_, std::string("expected '") + c + "'");
      }
   }
   // Escapes are kept as written: names of toggles have none.
   std::string string() {
      std::size_t begin = at_;
      if (!take('"')) {
         fail(at_, "expected a name in quotes");
      }
      std::size_t first = at_;
      while (at_ < content_.size() && content_[at_] != '"') {
         at_ += content_[at_] == '\\' ? 2 : 1;
      }
      if (at_ >= content_.size()) {
         fail(begin, "the quotes are not closed");
      }
      return std::string(content_.substr(first, at_++ - first));
   }
   // Without recursion: the nesting is only counted.
   void value() {
      std::size_t begin = at_;
      std::size_t depth = 0;
      do {
         space();
         if (at_ >= content_.size()) {
            fail(begin, "the value does not end");
         }
         char c = content_[at_];
         if (c == '"') {
            string();
         } else if (c == '{' || c == '[') {
            ++depth;
            ++at_;
         } else if ((c == '}' || c == ']') && depth > 0) {
            --depth;
            ++at_;
         } else if ((c == ',' || c == ':') && depth > 0) {
            ++at_;
         } else {
            word();
         }
      } while (depth > 0);
   }
   void word() {
      std::size_t begin = at_;
      while (at_ < content_.size() &&
             std::string_view(" \t\r\n,:{}[]\"").find(content_[at_]) == std::string_view::npos) {
         ++at_;
      }
      if (at_ == begin) {
         fail(at_, "expected a value");
      }
   }

   std::string_view content_;
   std::size_t at_ = 0;
};

std::string pathOf(std::string const& file) {
   char const* environment = std::getenv("SHOAL_TOGGLE_DIR");
   std::string base = directory ? *directory : environment != nullptr ? environment : "";
   return base.empty() ? file : base + "/" + file;
}

} // namespace

void directoryIs(std::string const& path) {
   directory = path;
}

std::optional<bool> findToggle(std::string_view content, std::string_view name) {
   return Parser(content).find(name);
}

bool getToggleState(std::string const& name, std::string const& file, bool defaultValue) {
   auto warn = [&](std::string const& text) {
      std::cerr << pathOf(file) << ":" << text << "; " << name << " is taken as "
                << (defaultValue ? "true" : "false") << "\n";
      return defaultValue;
   };
   std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(
       std::fopen(pathOf(file).c_str(), "rb"), [](std::FILE* each) { return std::fclose(each); });
   if (!in && errno == ENOENT) {
      return defaultValue;
   }
   std::string content;
   char block[4096];
   std::size_t got = 0;
   while (in && (got = std::fread(block, 1, sizeof block, in.get())) > 0) {
      content.append(block, got);
   }
   if (!in || std::ferror(in.get()) != 0) {
      return warn(std::string(" warning: cannot be read: ") + std::strerror(errno));
   }
   try {
      return findToggle(content, name).value_or(defaultValue);
   } catch (std::runtime_error const& error) {
      std::string text = error.what();
      text.insert(text.find(": "), ": warning");
      return warn(text);
   }
}

} // namespace Toggle
