// One table of the library beside the model's: what each row should be and is, and which rows
// either side wrote.
#pragma once

#include "simulate/Findings.h"
#include "simulate/Table.h"
#include "simulate/Tables.h"
#include "simulate/Watcher.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Simulate {

// How much a comparison looks at: the rows that were written since the last one, also all rows of
// small tables, or all rows.
enum class Extent { touched, small, whole };

class Compared {
 public:
   virtual ~Compared() = default;
   // Adds what differs.
   virtual void compare(Findings& findings, Extent extent) = 0;
};

template<class K, class V>
class ComparedTable : public Compared {
 public:
   using Value = V;
   using Read = std::function<std::optional<V>(K const&)>;
   using Visit = std::function<void(K const&)>;
   using List = std::function<void(Visit const&)>; // visits the key of every row

   explicit ComparedTable(char const* check) : check_(check) {}

   void compare(Findings& findings, Extent extent) override {
      auto compareRow = [&](K const& key) {
         findings.compareRow(check_, key, expected_(key), actual_(key));
      };
      for (auto const& convert : converts_) {
         convert();
      }
      if (extent == Extent::whole || always_ || (extent == Extent::small && !large_)) {
         touched_.forget();
         compareAll(compareRow);
      } else if (!touched_.empty()) {
         std::vector<K> keys = touched_.take();
         std::for_each(keys.begin(), keys.end(), compareRow);
      }
   }

   // The model's rows; `expect` makes of one what the library should hold.
   template<class M, class Expect>
   ComparedTable& expect(Table<K, M> const& table, Expect expect) {
      expected_ = [&table, expect](K const& key) -> std::optional<V> {
         auto row = table.find(key);
         return row == table.end() ? std::nullopt : std::optional<V>(expect(key, row->second));
      };
      return listen(table);
   }
   ComparedTable& expect(Table<K, V> const& table) {
      return expect(table, [](K const&, V const& value) { return value; });
   }
   ComparedTable& expectFrom(Read expected) {
      expected_ = std::move(expected);
      return *this;
   }
   // The model writes rows of the table through that one.
   template<class M>
   ComparedTable& listen(Table<K, M> const& table) {
      table.tells(touched_);
      expectedLists_.push_back([&table](Visit const& visit) {
         for (auto const& [key, value] : table) {
            visit(key);
         }
      });
      return *this;
   }

   // The same, of a table with other keys: `keyOf` makes one of this table's of them.
   template<class Other, class M, class KeyOf>
   ComparedTable& listenAs(Table<Other, M> const& table, KeyOf keyOf) {
      auto touched = std::make_shared<Touched<Other>>();
      table.tells(*touched);
      converts_.push_back([this, touched, keyOf] {
         for (Other const& key : touched->take()) {
            touched_.add(keyOf(key));
         }
      });
      expectedLists_.push_back([&table, keyOf](Visit const& visit) {
         for (auto const& [key, value] : table) {
            visit(keyOf(key));
         }
      });
      return *this;
   }

   // The library's; `value` makes the model's type of a member.
   template<class Collection, class Value>
   ComparedTable& read(Collection const& collection, Value value) {
      readFrom([&collection]() -> Collection const& { return collection; }, value);
      follow(collection);
      return *this;
   }
   template<class Collection>
   ComparedTable& read(Collection const& collection) {
      return read(collection, asIs);
   }
   // The same, of a collection that may be another one each time; see follow().
   template<class Present, class Value>
   ComparedTable& readFrom(Present present, Value value) {
      actual_ = [present, value](K const& key) -> std::optional<V> {
         auto member = present().find(key);
         return member ? std::optional<V>(value(*member)) : std::nullopt;
      };
      lists_.push_back([present](Visit const& visit) {
         for (auto const& [key, member] : present().walk()) {
            visit(key);
         }
      });
      return *this;
   }
   // The same; `row` says what is at a key, also where the collection has no member.
   template<class Collection>
   ComparedTable& readRows(Collection const& collection, Read row) {
      read(collection, [](auto const&) { return V(); });
      actual_ = std::move(row);
      return *this;
   }
   template<class Collection>
   void follow(Collection const& collection) {
      watchers_.watch<K>(collection, [this](K const& key) { touched_.add(key); });
   }
   // The members of the collection are entities, which change by themselves: `watch` makes the
   // reactor on one of them.
   template<class Collection, class Watch>
   ComparedTable& followMembers(Collection const& collection, Watch watch) {
      watchers_.watch<K>(collection, [this, &collection, watch](K const& key) {
         auto member = collection.find(key);
         if (member) {
            members_[key] = watch(**member, [this, key] { touched_.add(key); });
         } else {
            members_.erase(key);
         }
      });
      return *this;
   }
   // A change of the collection may change any row.
   template<class Collection>
   ComparedTable& touchAllAt(Collection const& collection) {
      using Key = typename Collection::Key;
      watchers_.watch<Key>(collection, [this](Key const&) { touchAll(); });
      return *this;
   }
   // Nothing tells of its changes: every row is compared each time.
   ComparedTable& always(Read actual, List list) {
      always_ = true;
      actual_ = std::move(actual);
      lists_.push_back(std::move(list));
      return *this;
   }
   // It has a row for each of many things that a history does not use.
   ComparedTable& large() {
      large_ = true;
      return *this;
   }
   void touchAll() {
      Visit add = [this](K const& key) { touched_.add(key); };
      forEachKey(expectedLists_, add);
      forEachKey(lists_, add);
   }

 private:
   static void forEachKey(std::vector<List> const& lists, Visit const& visit) {
      for (List const& list : lists) {
         list(visit);
      }
   }
   // Where each row of the library is as expected, and the model has as many, it has no others.
   void compareAll(Visit const& compareRow) const {
      std::ptrdiff_t missing = 0;
      forEachKey(lists_, [&](K const& key) {
         --missing;
         compareRow(key);
      });
      forEachKey(expectedLists_, [&](K const&) { ++missing; });
      if (missing != 0) {
         forEachKey(expectedLists_, compareRow);
      }
   }

   char const* check_;
   Read expected_;
   Read actual_;
   std::vector<List> lists_;         // the library's
   std::vector<List> expectedLists_; // the model's
   std::vector<std::function<void()>> converts_;
   bool always_ = false;
   bool large_ = false;
   Touched<K> touched_;
   std::map<K, std::unique_ptr<Orv::ReactorBase>> members_;
   Watchers watchers_;
};

} // namespace Simulate
