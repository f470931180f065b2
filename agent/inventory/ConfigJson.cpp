#include "agent/inventory/ConfigJson.h"

#include "agent/errors/Errors.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <fmt/format.h>

namespace Agent {

namespace {

constexpr std::size_t longestShown = 24;

[[noreturn]] void fail(std::string const& file, std::string const& content, std::size_t offset,
                       std::string const& reason) {
   offset = std::min(offset, content.size());
   std::string_view before(content.data(), offset);
   auto line = std::count(before.begin(), before.end(), '\n') + 1;
   auto column = offset - (before.rfind('\n') + 1) + 1;
   throw InventoryError(fmt::format("{}:{}:{}: error: {}", file, line, column, reason));
}

std::string hexByte(char byte) {
   return fmt::format("0x{:02x}", static_cast<unsigned char>(byte));
}

std::string shown(std::string const& token) {
   std::string text;
   for (char c : token.substr(0, longestShown)) {
      text += c >= 0x20 && c < 0x7f ? std::string(1, c) : "<" + hexByte(c) + ">";
   }
   return "'" + text + (token.size() > longestShown ? "...'" : "'");
}

bool isWord(char c) {
   return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// The place of the quotes that close a text's leading string; npos: they are missing.
std::size_t stringEnd(std::string const& text) {
   for (std::size_t i = 1; i < text.size(); ++i) {
      if (text[i] == '"') {
         return i;
      }
      i += text[i] == '\\' ? 1 : 0;
   }
   return std::string::npos;
}

// Why a string is not valid, by the byte at which reading stopped.
std::string stringReason(std::string const& content, std::size_t at) {
   char byte = content[at];
   if (byte == '\n' || byte == '\r') {
      return "the string does not end on its line";
   }
   if (static_cast<unsigned char>(byte) < 0x20) {
      return "the string has an unescaped control character, " + hexByte(byte);
   }
   if (static_cast<unsigned char>(byte) >= 0x80 ||
       static_cast<unsigned char>(content[at - 1]) >= 0x80) {
      return "the string is not UTF-8 text at byte " + hexByte(byte);
   }
   return "the string has an escape that is not valid";
}

// Receives what the reader of the JSON library finds. The library's own builder with a callback
// searches the parent object at the end of each object, which is quadratic in the rows of a table.
class Builder {
 public:
   Builder(std::string const& content, std::string const& file, ParsedConfig& parsed)
       : content_(content), file_(file), parsed_(parsed) {}

   bool null() { return add(nullptr); }
   bool boolean(bool value) { return add(value); }
   bool number_integer(int64_t value) { return add(value); }
   bool number_unsigned(uint64_t value) { return add(value); }
   bool number_float(double value, std::string const&) { return add(value); }
   bool string(std::string& value) { return add(std::move(value)); }
   bool binary(ConfigJson::binary_t&) { return false; }
   bool start_object(std::size_t) { return open(ConfigJson::object()); }
   bool start_array(std::size_t) { return open(ConfigJson::array()); }
   bool end_object() { return close(); }
   bool end_array() { return close(); }

   bool key(std::string& key) {
      Level& object = open_.back();
      auto& members = object.container->get_ref<ConfigJson::object_t&>();
      std::size_t before = members.size();
      // Most keys come in order.
      object.member = members.emplace_hint(before == 0 ? members.end() : std::next(object.member),
                                           key, nullptr);
      if (members.size() == before) {
         parsed_.duplicates.push_back({place(), key});
      }
      return true;
   }

   bool parse_error(std::size_t read, std::string const& token,
                    ConfigJson::exception const& error) {
      constexpr int numberOverflow = 406;
      std::size_t last = read > 0 ? read - 1 : 0;
      std::size_t begin = read - std::min(read, token.size());
      if (error.id == numberOverflow) {
         fail(file_, content_, begin, "the number " + shown(token) + " is too large");
      }
      if (last >= content_.size()) {
         fail(file_, content_, content_.size(), "the file ends before its JSON does");
      }
      // The library's token begins with the last string or number, whatever came behind it.
      if (token.starts_with('"') && stringEnd(token) == std::string::npos) {
         fail(file_, content_, last, stringReason(content_, last));
      }
      if (!token.starts_with('"') || stringEnd(token) + 1 != token.size()) {
         begin = last;
         while (begin > 0 && isWord(content_[last]) && isWord(content_[begin - 1])) {
            --begin;
         }
      }
      fail(file_, content_, begin,
           shown(content_.substr(begin, last + 1 - begin)) + " is not valid JSON here");
   }

 private:
   struct Level {
      ConfigJson* container;
      ConfigJson::object_t::iterator member; // of an object: the one being read
      bool hasMember() const { return container->is_object() && !container->empty(); }
   };

   template<class Value>
   ConfigJson& put(Value&& value) {
      if (open_.empty()) {
         return parsed_.root = std::forward<Value>(value);
      }
      Level& level = open_.back();
      if (level.container->is_array()) {
         level.container->push_back(std::forward<Value>(value));
         return level.container->back();
      }
      return level.member->second = std::forward<Value>(value);
   }
   template<class Value>
   bool add(Value&& value) {
      put(ConfigJson(std::forward<Value>(value)));
      return true;
   }
   bool open(ConfigJson container) {
      open_.push_back({&put(std::move(container)), {}});
      return true;
   }
   bool close() {
      open_.pop_back();
      return true;
   }
   std::string place() const {
      std::string text;
      for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
         if (open_[i].hasMember()) {
            text += (text.empty() ? "" : "/") + open_[i].member->first;
         }
      }
      return text;
   }

   std::string const& content_;
   std::string const& file_;
   ParsedConfig& parsed_;
   std::vector<Level> open_;
};

// What the JSON library takes for a plain syntax error, or for the end of the file.
void checkText(std::string const& content, std::string const& file) {
   if (content.find_first_not_of(" \t\r\n") == std::string::npos) {
      fail(file, content, 0, "the file is empty");
   }
   if (content.starts_with("\xff\xfe") || content.starts_with("\xfe\xff")) {
      fail(file, content, 0, "the file is UTF-16; only UTF-8 is read");
   }
   auto zero = content.find('\0');
   if (zero <= 1) {
      fail(file, content, zero, "the file is UTF-16, UTF-32 or binary; only UTF-8 text is read");
   }
   if (zero != std::string::npos) {
      fail(file, content, zero, "the file has a NUL byte; only UTF-8 text is read");
   }
}

} // namespace

ParsedConfig parseConfig(std::string const& content, std::string const& file) {
   checkText(content, file);
   ParsedConfig parsed;
   Builder builder(content, file, parsed);
   ConfigJson::sax_parse(content, &builder);
   if (!parsed.root.is_object()) {
      fail(file, content, 0, "the file is not a JSON object of tables");
   }
   return parsed;
}

} // namespace Agent
