#include "platform/Trace/BliplineReader.h"

#include "platform/Trace/BliplineFormat.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <map>
#include <ostream>

namespace Trace {

BliplineError::~BliplineError() = default;

namespace {

[[noreturn]] void damaged(std::size_t offset, std::string const& reason) {
   throw BliplineError("offset " + std::to_string(offset) + ": " + reason);
}

class Reader {
 public:
   explicit Reader(std::string const& content) : content_(content) {}

   void print(std::ostream& out) {
      readHeader();
      readDictionary();
      printRecords(out);
   }

 private:
   template<class T>
   T at(std::size_t offset) const {
      if (offset > content_.size() || content_.size() - offset < sizeof(T)) {
         damaged(offset,
                 "the file ends inside a record of " + std::to_string(sizeof(T)) + " bytes");
      }
      T value;
      std::memcpy(&value, content_.data() + offset, sizeof(T));
      return value;
   }

   void readHeader() {
      header_ = at<FileHeader>(0);
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
      std::size_t rest = content_.size() - sizeof(FileHeader);
      if (header_.dictionarySize > rest || header_.dictionaryUsed > header_.dictionarySize) {
         damaged(offsetof(FileHeader, dictionarySize), "the dictionary is larger than the file");
      }
      if (header_.capacity == 0 ||
          header_.capacity > (rest - header_.dictionarySize) / sizeof(FileRecord)) {
         damaged(offsetof(FileHeader, capacity), "the ring is larger than the file, or empty");
      }
   }

   void readDictionary() {
      std::size_t end = sizeof(FileHeader) + header_.dictionaryUsed;
      for (std::size_t offset = sizeof(FileHeader); offset < end;) {
         auto entry = at<DictionaryEntry>(offset);
         std::size_t text = offset + sizeof entry + entry.fileLength;
         if (text + entry.textLength > end) {
            damaged(offset, "a dictionary entry passes the dictionary's end");
         }
         auto& entries = entry.kind == DictionaryEntry::name ? names_ : forms_;
         entries[entry.id] = content_.substr(text, entry.textLength);
         offset = text + entry.textLength;
      }
   }

   void printRecords(std::ostream& out) const {
      std::size_t ring = sizeof(FileHeader) + header_.dictionarySize;
      uint64_t kept = std::min(header_.written, header_.capacity);
      for (uint64_t number = header_.written - kept; number < header_.written; ++number) {
         std::size_t offset = ring + number % header_.capacity * sizeof(FileRecord);
         auto record = at<FileRecord>(offset);
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

   std::string const& content_;
   FileHeader header_{};
   std::map<uint64_t, std::string> forms_;
   std::map<uint64_t, std::string> names_;
};

} // namespace

void printBlipline(std::string const& content, std::ostream& out) {
   Reader(content).print(out);
}

} // namespace Trace
