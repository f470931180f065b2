// Interned values: each distinct value is stored once, and a 32-bit index, its handle, stands for
// it.
//
// A handle is copied and compared as an integer, and indexes PagedStorage directly: one hash
// look-up, when the value is made, serves every collection that has the handle as its key. Index 0
// is the default value. An interned value stays for the life of the process, so a type of which
// ever new values appear must not be interned.
#pragma once

#include "platform/Orv/SlotIndex.h"
#include "platform/Orv/Value.h"

#include <memory>
#include <vector>

namespace Orv {

// Distinct values of `Fields` in order of first appearance. Addresses are stable.
template<class Fields>
class Interner {
 public:
   constexpr Interner() = default;

   uint32_t intern(Fields const& fields) {
      if (fields == defaultFields()) {
         return 0;
      }
      return intern(
          hashOf(fields), [&](Fields const& other) { return other == fields; },
          [&] { return fields; });
   }

   // For values that are identified by a part of their fields, such as a name.
   template<class Equals, class Make>
   uint32_t intern(uint64_t hash, Equals&& equals, Make&& make) {
      uint32_t found = index_.find(hash, [&](uint32_t at) { return equals((*this)[at]); });
      if (found != kNil) {
         return found;
      }
      // Made before it gets an index: making a value may intern others of its type.
      Fields made = make();
      uint32_t at = ++last_;
      if ((at >> kPageBits) >= pages_.size()) {
         pages_.push_back(std::make_unique<Fields[]>(kPageSize));
      }
      pages_[at >> kPageBits][at & (kPageSize - 1)] = std::move(made);
      index_.insert(hash, at);
      return at;
   }

   template<class Equals>
   uint32_t find(uint64_t hash, Equals&& equals) const {
      return index_.find(hash, [&](uint32_t at) { return equals((*this)[at]); });
   }

   // A hint that these fields are read soon.
   void prefetch(uint32_t at) const { __builtin_prefetch(&(*this)[at]); }

   Fields const& operator[](uint32_t at) const {
      if (at == 0) [[unlikely]] {
         return defaultFields();
      }
      return pages_[at >> kPageBits][at & (kPageSize - 1)];
   }

 private:
   static Fields const& defaultFields() {
      static Fields const fields{};
      return fields;
   }
   static constexpr uint32_t kPageBits = 8;
   static constexpr uint32_t kPageSize = 1U << kPageBits;

   std::vector<std::unique_ptr<Fields[]>> pages_;
   SlotIndex index_;
   uint32_t last_ = 0;
};

// The handle of a value in `interner`, an Interner<Fields> or an object with its intern(fields) and
// operator[]. `Self` is the type of the handle, which derives from this one.
template<class Self, class Fields, auto& interner>
class Interned {
 public:
   constexpr Interned() = default;
   explicit Interned(Fields const& fields) : index_(interner.intern(fields)) {}
   // `guess` spares the look-up when it has these fields.
   Interned(Fields const& fields, Self guess)
       : index_(guess.fields() == fields ? guess.index() : interner.intern(fields)) {}

   // The handle that has this index().
   static Self fromIndex(uint32_t index) {
      Self self;
      self.index_ = index;
      return self;
   }

   Fields const& fields() const { return interner[index_]; }
   // A hint that fields() is called soon.
   void prefetch() const { interner.prefetch(index_); }
   uint32_t index() const { return index_; }
   uint64_t hash() const { return mixHash(index_); }

   friend bool operator==(Interned a, Interned b) { return a.index_ == b.index_; }
   // By fields. A derived type may have another order.
   friend auto operator<=>(Interned a, Interned b) { return a.fields() <=> b.fields(); }
   friend std::ostream& operator<<(std::ostream& out, Interned value) {
      return out << value.fields();
   }

 protected:
   uint32_t index_ = 0;
};

// What PagedStorage needs of a key: it converts to a small, densely used integer and back.
template<class K>
concept Indexed = requires(K key, uint32_t index) {
   { key.index() } -> std::convertible_to<uint32_t>;
   { K::fromIndex(index) } -> std::same_as<K>;
};

} // namespace Orv
