#include "platform/Trace/Blipline.h"

#include "platform/Orv/System.h"
#include "platform/Trace/Trace.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace Trace {

uint32_t enabledLevels = 0;

namespace {

std::ostream* textSink = nullptr;

void setBit(uint32_t bit, bool on) {
   enabledLevels = on ? enabledLevels | bit : enabledLevels & ~bit;
}

constexpr uint64_t kDictionarySize = kMostBliplineDictionary;

// The dictionary of a new file starts with the trace points that were hit before.
struct KnownPoint {
   unsigned level;
   char const* file;
   int line;
   std::string form;
};

struct Ring {
   FileHeader* header = nullptr; // null: no file
   char* dictionary = nullptr;
   FileRecord* records = nullptr;
   std::size_t size = 0;
   // Copies of what the header has: other processes can change the file, but not our bounds.
   uint64_t capacity = 0;
   uint64_t dictionaryUsed = 0;
   dev_t device = 0;
   ino_t inode = 0;
   std::vector<KnownPoint> points;
   std::map<std::string, uint64_t, std::less<>> names;

   void addEntry(DictionaryEntry entry, std::string_view file, std::string_view text) {
      file = file.substr(0, UINT16_MAX);
      text = text.substr(0, UINT16_MAX);
      entry.fileLength = static_cast<uint16_t>(file.size());
      entry.textLength = static_cast<uint16_t>(text.size());
      std::size_t need = sizeof entry + file.size() + text.size();
      if (need > kDictionarySize - dictionaryUsed) {
         ++header->dictionaryLost;
         return;
      }
      char* at = dictionary + dictionaryUsed;
      std::memcpy(at, &entry, sizeof entry);
      std::copy(file.begin(), file.end(), at + sizeof entry);
      std::copy(text.begin(), text.end(), at + sizeof entry + file.size());
      dictionaryUsed += need;
      header->dictionaryUsed = dictionaryUsed; // last: a reader never sees half an entry
   }
   void addPoint(uint32_t id) {
      KnownPoint const& point = points[id - 1];
      DictionaryEntry entry{};
      entry.id = id;
      entry.line = static_cast<uint32_t>(point.line);
      entry.kind = DictionaryEntry::point;
      entry.level = static_cast<uint8_t>(point.level);
      addEntry(entry, point.file, point.form);
   }
};

Ring& ring() {
   static Ring one;
   return one;
}

} // namespace

void textLevelIs(unsigned level, bool on) {
   if (level < kLevels) {
      setBit(1U << level, on);
   }
}

void blipLevelIs(unsigned level, bool on) {
   if (level < kLevels) {
      setBit(0x10000U << level, on);
   }
}

void textSinkIs(std::ostream* sink) {
   textSink = sink;
}

void writeText(unsigned level, std::string const& text) {
   if (textSink != nullptr) {
      char prefix[48];
      std::snprintf(prefix, sizeof prefix, "%.6f %u ", Orv::System::peekTime(), level);
      *textSink << prefix << text << '\n';
   }
}

uint64_t blipNameNumber(std::string_view name) {
   auto& names = ring().names;
   auto found = names.find(name);
   if (found == names.end()) {
      found = names.emplace(std::string(name), names.size() + 1).first;
      if (ring().header != nullptr) {
         DictionaryEntry entry{};
         entry.id = static_cast<uint32_t>(found->second);
         entry.kind = DictionaryEntry::name;
         ring().addEntry(entry, "", name);
      }
   }
   return found->second;
}

void writeBlip(Point& point, BlipParts const& parts) {
   Ring& to = ring();
   if (point.id == 0) {
      to.points.push_back({point.level, point.file, point.line, parts.form});
      point.id = static_cast<uint32_t>(to.points.size());
      if (to.header != nullptr) {
         to.addPoint(point.id);
      }
   }
   if (to.header == nullptr) {
      return;
   }
   FileRecord& record = to.records[to.header->written % to.capacity];
   record = FileRecord{};
   record.time = Orv::System::peekTime();
   record.point = point.id;
   record.level = static_cast<uint8_t>(point.level);
   record.count = static_cast<uint8_t>(parts.count);
   std::copy_n(parts.fields.begin(), parts.count, record.fields);
   ++to.header->written;
}

namespace Blipline {

namespace {

[[noreturn]] void fail(std::string const& path, int error) {
   throw std::runtime_error(path + ": " + std::strerror(error));
}

// The path with links resolved: the file is replaced, not the link to it. Throws for anything but a
// regular file.
std::string fileOf(std::string const& path) {
   std::error_code error;
   if (!std::filesystem::exists(path, error)) {
      return path;
   }
   if (!std::filesystem::is_regular_file(path, error)) {
      throw std::runtime_error(path + ": is no file, and a Blipline file does not replace it");
   }
   auto file = std::filesystem::canonical(path, error);
   return error ? path : file.string();
}

} // namespace

void open(std::string const& path, uint64_t records) {
   if (records < 1 || records > kMostBliplineRecords) {
      throw std::runtime_error(path + ": a Blipline file holds 1 to " +
                               std::to_string(kMostBliplineRecords) + " records");
   }
   std::size_t size = sizeof(FileHeader) + kDictionarySize + records * sizeof(FileRecord);
   // The file is made under another name and renamed when it is complete, so that a file which a
   // process has mapped is never truncated. Its blocks are allocated now: otherwise a trace point
   // would meet a full disk as a signal.
   std::string target = fileOf(path);
   std::string temporary = target + "." + std::to_string(::getpid()) + ".new";
   ::unlink(temporary.c_str()); // left by a killed process that had our process id
   int file = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
   if (file < 0) {
      fail(path, errno);
   }
   int error = ::posix_fallocate(file, 0, static_cast<off_t>(size));
   void* memory = MAP_FAILED;
   struct stat status {};
   if (error == 0) {
      memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
      if (memory == MAP_FAILED || ::fstat(file, &status) != 0) {
         error = errno;
      }
   }
   ::close(file);
   if (error == 0 && std::rename(temporary.c_str(), target.c_str()) != 0) {
      error = errno;
   }
   if (error != 0) {
      ::unlink(temporary.c_str());
      if (memory != MAP_FAILED) {
         ::munmap(memory, size);
      }
      fail(path, error);
   }
   close();
   Ring& to = ring();
   to.size = size;
   to.capacity = records;
   to.dictionaryUsed = 0;
   to.device = status.st_dev;
   to.inode = status.st_ino;
   to.header = static_cast<FileHeader*>(memory);
   to.dictionary = static_cast<char*>(memory) + sizeof(FileHeader);
   to.records = reinterpret_cast<FileRecord*>(to.dictionary + kDictionarySize);
   *to.header = FileHeader{};
   std::copy_n(kBliplineMagic, sizeof kBliplineMagic, to.header->magic);
   to.header->version = kBliplineVersion;
   to.header->byteOrder = kBliplineByteOrder;
   to.header->headerSize = sizeof(FileHeader);
   to.header->recordSize = sizeof(FileRecord);
   to.header->capacity = records;
   to.header->dictionarySize = kDictionarySize;
   for (uint32_t id = 1; id <= to.points.size(); ++id) {
      to.addPoint(id);
   }
}

void close() {
   Ring& to = ring();
   if (to.header != nullptr) {
      ::munmap(to.header, to.size);
      to.header = nullptr;
   }
   to.names.clear();
}

bool writes(std::string const& path) {
   Ring const& to = ring();
   struct stat status {};
   return to.header != nullptr && ::stat(path.c_str(), &status) == 0 &&
          status.st_dev == to.device && status.st_ino == to.inode;
}

} // namespace Blipline

} // namespace Trace
