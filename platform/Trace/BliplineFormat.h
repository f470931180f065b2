// The Blipline file, version 1. Numbers in the byte order of the machine that wrote it (see
// `byteOrder`), no padding but the `unused` fields.
//
//    FileHeader | dictionary: dictionarySize bytes | ring: capacity x FileRecord
//
// The dictionary is a run of DictionaryEntry, each followed by `fileLength` bytes of a source
// file's name and `textLength` bytes of text: the words of a trace point with %d, %u, %f, %s for
// its fields (%% is a percent sign), or a name that %s fields refer to.
#pragma once

#include <cstdint>

namespace Trace {

inline constexpr uint32_t kBlipFields = 12;
inline constexpr char kBliplineMagic[8] = {'B', 'L', 'I', 'P', 'L', 'I', 'N', 'E'};
inline constexpr uint32_t kBliplineVersion = 1;
// Limits of a file, by which a reader detects damage.
inline constexpr uint64_t kMostBliplineRecords = 1U << 24;
inline constexpr uint64_t kMostBliplineDictionary = 1U << 20;
inline constexpr uint32_t kBliplineByteOrder = 0x01020304;

struct FileHeader {
   char magic[8];
   uint32_t version;
   uint32_t byteOrder;
   uint32_t headerSize;
   uint32_t recordSize;
   uint64_t capacity;       // records in the ring
   uint64_t written;        // records ever written; the next goes to written % capacity
   uint64_t dictionarySize; // bytes reserved
   uint64_t dictionaryUsed; // bytes in use
   uint64_t dictionaryLost; // entries that found no room
};

struct DictionaryEntry {
   enum Kind : uint8_t { point = 1, name = 2 };
   uint32_t id;
   uint32_t line;
   uint16_t fileLength;
   uint16_t textLength;
   uint8_t kind;
   uint8_t level;
   uint16_t unused;
};

struct FileRecord {
   double time; // seconds
   uint32_t point;
   uint8_t level;
   uint8_t count; // fields in use
   uint16_t unused;
   uint64_t fields[kBlipFields];
};

static_assert(sizeof(FileHeader) == 64 && sizeof(DictionaryEntry) == 16 &&
              sizeof(FileRecord) == 112);

} // namespace Trace
