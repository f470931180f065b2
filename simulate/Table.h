// A table of the model: a map that tells which rows it writes.
#pragma once

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace Simulate {

// Keys of rows that were written.
template<class K>
class Touched {
 public:
   void add(K const& key) {
      if (keys_.empty() || keys_.back() != key) {
         keys_.push_back(key);
      }
   }
   bool empty() const { return keys_.empty(); }
   // Each key once, in the order of the first write; forgets them.
   std::vector<K> take() {
      std::vector<K> once;
      if (keys_.size() <= fewKeys) {
         for (K const& key : keys_) {
            if (std::find(once.begin(), once.end(), key) == once.end()) {
               once.push_back(key);
            }
         }
      } else {
         std::set<K> taken;
         std::copy_if(keys_.begin(), keys_.end(), std::back_inserter(once),
                      [&taken](K const& key) { return taken.insert(key).second; });
      }
      keys_.clear();
      return once;
   }
   // In the order of the writes.
   std::vector<K> const& all() const { return keys_; }
   void forget() { keys_.clear(); }

 private:
   // So many are found by a search in less time than a set takes.
   static constexpr std::size_t fewKeys = 16;

   std::vector<K> keys_;
};

// Reads as a std::map. A row changes only through the operations that tell of it.
template<class K, class V>
class Table {
 public:
   using Rows = std::map<K, V>;
   using Row = typename Rows::const_iterator;

   Table() = default;
   Table(Table const&) = delete;
   Table& operator=(Table const&) = delete;

   Rows const& rows() const { return rows_; }
   Row begin() const { return rows_.begin(); }
   Row end() const { return rows_.end(); }
   Row find(K const& key) const { return rows_.find(key); }
   bool contains(K const& key) const { return rows_.contains(key); }
   V const& at(K const& key) const { return rows_.at(key); }
   bool empty() const { return rows_.empty(); }

   // The row, to be written; made if it is absent.
   V& operator[](K const& key) {
      tell(key);
      return rows_[key];
   }
   std::size_t erase(K const& key) {
      tell(key);
      return rows_.erase(key);
   }
   void erase(Row row) {
      tell(row->first);
      rows_.erase(row);
   }
   template<class Suits>
   std::size_t eraseIf(Suits suits) {
      return std::erase_if(rows_, [&](auto const& row) {
         if (!suits(row)) {
            return false;
         }
         tell(row.first);
         return true;
      });
   }
   void clear() {
      eraseIf([](auto const&) { return true; });
   }

   // Tells the list of each key that is written from now on; it lives as long as the table does.
   // const, since listening does not change the content.
   void tells(Touched<K>& list) const { lists_.push_back(&list); }

 private:
   void tell(K const& key) const {
      for (Touched<K>* list : lists_) {
         list->add(key);
      }
   }

   Rows rows_;
   mutable std::vector<Touched<K>*> lists_;
};

} // namespace Simulate
