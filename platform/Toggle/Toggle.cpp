#include "platform/Toggle/Toggle.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace Toggle {

namespace {

constexpr std::uintmax_t largestFile = 1U << 20;

// Reads one JSON object. Skips values that are not toggles, at any depth.
class Parser {
 public:
   explicit Parser(std::string_view content) : content_(content) {}

   // Adds the names in the object to `names`.
   std::optional<bool> find(std::string_view name, std::set<std::string>& names) {
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
            names.insert(std::move(key));
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
   // Leaves escapes as they are: names of toggles have none.
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
   // Counts the nesting instead of recursing, so that deep input does not exhaust the stack.
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

// Empty for the working directory, where a missing file is normal.
std::string directory() {
   char const* named = std::getenv("SHOAL_TOGGLE_DIR");
   return named != nullptr ? named : "";
}

std::string pathOf(std::string const& file) {
   return directory().empty() ? file : directory() + "/" + file;
}

struct Remembered {
   Reading reading;
   std::set<std::string> names; // all in the file
};

std::vector<Remembered>& remembered() {
   static std::vector<Remembered> all;
   return all;
}

// Why the file cannot be read; empty when it can.
std::string objection(std::filesystem::path const& path) {
   std::error_code error;
   auto status = std::filesystem::status(path, error);
   if (!std::filesystem::exists(status)) {
      auto folder = path.parent_path();
      return !folder.empty() && !std::filesystem::is_directory(folder, error)
                 ? "there is no directory " + folder.string()
                 : "there is no such file";
   }
   // Opening a pipe would wait for a writer.
   if (!std::filesystem::is_regular_file(status)) {
      return "is not a regular file";
   }
   if (std::filesystem::file_size(path, error) > largestFile) {
      return "is larger than " + std::to_string(largestFile) + " bytes";
   }
   return std::ifstream(path) ? "" : std::string("cannot be read: ") + std::strerror(errno);
}

Remembered read(std::string const& name, std::string const& file, bool defaultValue) {
   Remembered found;
   Reading& reading = found.reading;
   reading.name = name;
   reading.path = pathOf(file);
   reading.value = defaultValue;
   reading.note = objection(reading.path);
   if (!reading.note.empty()) {
      std::error_code error;
      reading.odd = !directory().empty() || std::filesystem::exists(reading.path, error);
      return found;
   }
   std::ifstream in(reading.path, std::ios::binary);
   std::string content{std::istreambuf_iterator<char>(in), {}};
   try {
      auto value = Parser(content).find(name, found.names);
      reading.fromFile = value.has_value();
      reading.value = value.value_or(defaultValue);
      reading.note = value ? "" : "the file does not have it";
   } catch (std::runtime_error const& error) {
      std::string text = error.what();
      auto end = text.find(": ");
      reading.place = text.substr(0, end);
      reading.note = text.substr(end + 2);
      reading.odd = true;
      found.names.clear(); // incomplete
   }
   return found;
}

bool isAskedFor(std::string const& path, std::string const& name) {
   auto const& all = remembered();
   return std::any_of(all.begin(), all.end(), [&](Remembered const& each) {
      return each.reading.path == path && each.reading.name == name;
   });
}

} // namespace

bool getToggleState(std::string const& name, std::string const& file, bool defaultValue) {
   Remembered found = read(name, file, defaultValue);
   bool value = found.reading.value;
   auto& all = remembered();
   auto old = std::find_if(all.begin(), all.end(), [&](Remembered const& each) {
      return each.reading.name == name && each.reading.path == found.reading.path;
   });
   if (old == all.end()) {
      all.push_back(std::move(found));
   } else {
      *old = std::move(found);
   }
   return value;
}

std::vector<Reading> readings() {
   std::vector<Reading> result;
   std::set<std::string> files;
   for (auto const& [reading, names] : remembered()) {
      Reading told = reading;
      std::string unknown;
      for (std::string const& name : names) {
         if (!isAskedFor(reading.path, name)) {
            unknown += (unknown.empty() ? "'" : ", '") + name + "'";
         }
      }
      if (!unknown.empty() && files.insert(reading.path).second) {
         told.note += (told.note.empty() ? "" : "; ") + ("there is no toggle " + unknown);
         told.odd = true;
      }
      result.push_back(std::move(told));
   }
   return result;
}

std::vector<std::string> warnings() {
   std::vector<std::string> lines;
   for (Reading const& reading : readings()) {
      if (reading.odd) {
         lines.push_back(reading.path + (reading.place.empty() ? "" : ":" + reading.place) +
                         ": warning: " + reading.note + "; " + reading.name +
                         (reading.fromFile ? " is " : " is taken as ") +
                         (reading.value ? "true" : "false"));
      }
   }
   return lines;
}

} // namespace Toggle
