#include "platform/Trace/BliplineReader.h"

#include "platform/Trace/BliplineFormat.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
#include <system_error>

namespace Trace {

BliplineError::~BliplineError() = default;

namespace {

[[noreturn]] void damaged(std::size_t offset, std::string const& reason) {
   throw BliplineError("offset " + std::to_string(offset) + ": " + reason);
}

class Reader {
 public:
   Reader(std::istream& in, uint64_t size) : in_(in), size_(size) {}

   void print(std::ostream& out) {
      readHeader();
      readDictionary();
      printRecords(out);
   }

 private:
   // Reads at the present position of the stream; `offset` is that position, for the error.
   template<class T>
   T next(uint64_t offset) {
      T value;
      if (!in_.read(reinterpret_cast<char*>(&value), sizeof(T))) {
         damaged(offset,
                 "the file ends inside a record of " + std::to_string(sizeof(T)) + " bytes");
      }
      return value;
   }

   void readHeader() {
      header_ = next<FileHeader>(0);
      if (!std::equal(std::begin(kBliplineMagic), std::end(kBliplineMagic), header_.magic)) {
         damaged(0, "not a Blipline file");
      }
      if (header_.byteOrder != kBliplineByteOrder) {
         damaged(offsetof(FileHeader, byteOrder), "written in another byte order");
      }
      if (header_.version != kBliplineVersion) {
         damaged(offsetof(FileHeader, version),
                 "version " + std::to_string(header_.version) + " is not known");
      }
      if (header_.headerSize != sizeof(FileHeader) || header_.recordSize != sizeof(FileRecord)) {
         damaged(offsetof(FileHeader, headerSize), "sizes do not fit the version");
      }
      uint64_t rest = std::max<uint64_t>(size_, sizeof(FileHeader)) - sizeof(FileHeader);
      if (header_.dictionarySize > rest || header_.dictionaryUsed > header_.dictionarySize) {
         damaged(offsetof(FileHeader, dictionarySize), "the dictionary is larger than the file");
      }
      if (header_.dictionarySize > kMostBliplineDictionary) {
         damaged(offsetof(FileHeader, dictionarySize), "the dictionary is larger than " +
                                                           std::to_string(kMostBliplineDictionary) +
                                                           " bytes");
      }
      if (header_.capacity == 0 ||
          header_.capacity > (rest - header_.dictionarySize) / sizeof(FileRecord)) {
         damaged(offsetof(FileHeader, capacity), "the ring is larger than the file, or empty");
      }
      if (header_.capacity > kMostBliplineRecords) {
         damaged(offsetof(FileHeader, capacity),
                 "the ring is larger than " + std::to_string(kMostBliplineRecords) + " records");
      }
   }

   void readDictionary() {
      uint64_t end = sizeof(FileHeader) + header_.dictionaryUsed;
      for (uint64_t offset = sizeof(FileHeader); offset < end;) {
         auto entry = next<DictionaryEntry>(offset);
         uint64_t text = offset + sizeof entry + entry.fileLength;
         if (text + entry.textLength > end) {
            damaged(offset, "a dictionary entry passes the dictionary's end");
         }
         std::string words(entry.fileLength + std::size_t{entry.textLength}, '\0');
         in_.read(words.data(), static_cast<std::streamsize>(words.size()));
         auto& entries = entry.kind == DictionaryEntry::name ? names_ : forms_;
         entries[entry.id] = words.substr(entry.fileLength);
         offset = text + entry.textLength;
      }
   }

   void printRecords(std::ostream& out) {
      uint64_t ring = sizeof(FileHeader) + header_.dictionarySize;
      uint64_t kept = std::min(header_.written, header_.capacity);
      for (uint64_t number = header_.written - kept; number < header_.written; ++number) {
         uint64_t place = number % header_.capacity;
         uint64_t offset = ring + place * sizeof(FileRecord);
         // Seeking discards the buffer of the stream, so only to the oldest record and at the wrap.
         if (number == header_.written - kept || place == 0) {
            in_.seekg(static_cast<std::streamoff>(offset));
         }
         auto record = next<FileRecord>(offset);
         char prefix[400];
         std::snprintf(prefix, sizeof prefix, "%.6f %u ", record.time, unsigned{record.level});
         out << prefix << words(record) << '\n';
      }
      if (header_.written > kept) {
         out << "lost: " << header_.written - kept << '\n';
      }
      if (header_.dictionaryLost > 0) {
         out << "dictionary lost: " << header_.dictionaryLost << '\n';
      }
   }

   std::string words(FileRecord const& record) const {
      auto form = forms_.find(record.point);
      if (form == forms_.end()) {
         return "<trace point " + std::to_string(record.point) + " is not in the dictionary>";
      }
      std::string text;
      unsigned next = 0;
      for (std::size_t i = 0; i < form->second.size(); ++i) {
         char c = form->second[i];
         char kind = c == '%' && i + 1 < form->second.size() ? form->second[i + 1] : '\0';
         if (kind == '\0') {
            text += c;
            continue;
         }
         ++i;
         if (kind == '%') {
            text += '%';
         } else if (next < std::min<unsigned>(record.count, kBlipFields)) {
            text += fieldText(kind, record.fields[next++]);
         } else {
            text += '?';
         }
      }
      return text;
   }

   std::string fieldText(char kind, uint64_t field) const {
      if (kind == 's') {
         auto name = names_.find(field);
         return name != names_.end() ? name->second : "<name " + std::to_string(field) + ">";
      }
      if (kind == 'f') {
         char number[400];
         std::snprintf(number, sizeof number, "%g", std::bit_cast<double>(field));
         return number;
      }
      return kind == 'u' ? std::to_string(field) : std::to_string(static_cast<int64_t>(field));
   }

   std::istream& in_;
   uint64_t size_;
   FileHeader header_{};
   std::map<uint64_t, std::string> forms_;
   std::map<uint64_t, std::string> names_;
};

} // namespace

void printBlipline(std::string const& path, std::ostream& out) {
   // Before opening it: opening a pipe waits for a writer.
   auto status = std::filesystem::status(path); // throws a std::system_error
   if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
      throw BliplineError("is not a regular file");
   }
   std::ifstream in(path, std::ios::binary);
   if (!in) {
      throw std::system_error(errno, std::generic_category());
   }
   Reader(in, std::filesystem::file_size(path)).print(out);
}

} // namespace Trace
