// Tables and keys of the baselines in variant (c): each key is interned once, and every table is a
// plain array over the index. No allocation per request, no order of the members, no members to
// walk: the least that the table operations cost on this machine.
#pragma once

#include "bench/support/BaselineTables.h"

#include <deque>

namespace Bench {

struct Arrays : Platform {
   using Place = uint32_t; // unit and port, as an index

   static std::size_t indexOf(uint32_t place) { return place; }
   template<Orv::Indexed K>
   static std::size_t indexOf(K const& key) {
      return key.index();
   }

   // An array in pieces, so that it grows without copying. Default values until written.
   template<class V>
   class Array {
    public:
      // For a place that was not written, a default value that must not be changed.
      V const& operator[](std::size_t at) const {
         static V const none{};
         return at / kPiece < pieces_.size() ? pieces_[at / kPiece][at % kPiece] : none;
      }
      V& at(std::size_t at) {
         while (at / kPiece >= pieces_.size()) {
            pieces_.push_back(std::make_unique<V[]>(kPiece));
         }
         return pieces_[at / kPiece][at % kPiece];
      }

    private:
      static constexpr std::size_t kPiece = 1024;
      std::vector<std::unique_ptr<V[]>> pieces_;
   };

   // A member with a default value counts as absent.
   template<class K, class V>
   class Map {
    public:
      V get(K const& key) const { return values_[indexOf(key)]; }
      std::optional<V> find(K const& key) const {
         V const& value = values_[indexOf(key)];
         return value == V{} ? std::nullopt : std::optional<V>(value);
      }
      bool has(K const& key) const { return values_[indexOf(key)] != V{}; }
      bool set(K const& key, V value) {
         V& present = values_.at(indexOf(key));
         bool fresh = present == V{};
         present = std::move(value);
         size_ += fresh ? 1 : 0;
         return fresh;
      }
      bool del(K const& key) {
         if (!has(key)) {
            return false;
         }
         values_.at(indexOf(key)) = V{};
         --size_;
         return true;
      }
      std::size_t size() const { return size_; }

    private:
      Array<V> values_;
      std::size_t size_ = 0;
   };
   // An entry has no index.
   template<class V>
   class Map<Entry, V> : public Platform::Map<Entry, V> {};
   template<class V>
   using ByIntfInOrder = Map<Intf, V>;

   // Key -> its members, as lists through an array: a member is in one set at a time.
   template<class K, class M>
   class Sets {
    public:
      bool add(K const& key, M const& member) {
         uint32_t& first = first_.at(indexOf(key));
         bool fresh = first == 0;
         for (uint32_t at = first; at != 0; at = next_[at]) {
            if (at == member.index()) {
               return false;
            }
         }
         next_.at(member.index()) = first;
         first = member.index();
         size_ += fresh ? 1 : 0;
         return fresh;
      }
      void remove(K const& key, M const& member) {
         if (first_[indexOf(key)] == 0) {
            return;
         }
         uint32_t* link = &first_.at(indexOf(key));
         while (*link != 0 && *link != member.index()) {
            link = &next_.at(*link);
         }
         *link = *link != 0 ? next_[*link] : 0;
         size_ -= first_[indexOf(key)] == 0 ? 1 : 0;
      }
      bool drop(K const& key) {
         if (first_[indexOf(key)] == 0) {
            return false;
         }
         first_.at(indexOf(key)) = 0;
         --size_;
         return true;
      }
      std::size_t size() const { return size_; }

    private:
      Array<uint32_t> first_;
      Array<uint32_t> next_;
      std::size_t size_ = 0;
   };

   // Key -> its queue, as lists through an array of places that are used again.
   template<class K, class V>
   class Queues {
    public:
      void push(K const& key, V const& value) {
         uint32_t place = free_;
         if (place != 0) {
            free_ = waiting_[place].next;
         } else {
            place = ++used_;
         }
         waiting_.at(place) = {value, 0};
         Ends& ends = ends_.at(indexOf(key));
         size_ += ends.first == 0 ? 1 : 0;
         (ends.first == 0 ? ends.first : waiting_.at(ends.last).next) = place;
         ends.last = place;
      }
      std::optional<V> pop(K const& key) {
         uint32_t place = ends_[indexOf(key)].first;
         if (place == 0) {
            return std::nullopt;
         }
         Waiting& taken = waiting_.at(place);
         uint32_t& first = ends_.at(indexOf(key)).first;
         first = std::exchange(taken.next, free_);
         free_ = place;
         size_ -= first == 0 ? 1 : 0;
         return taken.value;
      }
      std::size_t size() const { return size_; }

    private:
      struct Ends {
         uint32_t first = 0;
         uint32_t last = 0;
      };
      struct Waiting {
         V value{};
         uint32_t next = 0;
      };
      Array<Ends> ends_;
      Array<Waiting> waiting_;
      uint32_t used_ = 0;
      uint32_t free_ = 0;
      std::size_t size_ = 0;
   };

   // In order of asking.
   class Backlog {
    public:
      bool has(Request const& request) const { return waits_[request.index()]; }
      void add(Request const& request) {
         waits_.at(request.index()) = true;
         queue_.push_back(request);
      }
      Request take() {
         Request request = queue_.front();
         queue_.pop_front();
         waits_.at(request.index()) = false;
         return request;
      }
      bool empty() const { return queue_.empty(); }
      std::size_t size() const { return queue_.size(); }

    private:
      Array<bool> waits_;
      std::deque<Request> queue_;
   };

   // Interface -> its requests, as lists through an array.
   class Groups {
    public:
      void add(Request const& request) {
         uint32_t& first = first_.at(request.intfId().index());
         links_.at(request.index()) = {0, first};
         if (first != 0) {
            links_.at(first).previous = request.index();
         }
         first = request.index();
      }
      void remove(Request const& request) {
         Links& links = links_.at(request.index());
         (links.previous != 0 ? links_.at(links.previous).next
                              : first_.at(request.intfId().index())) = links.next;
         if (links.next != 0) {
            links_.at(links.next).previous = links.previous;
         }
         links = {};
      }

    private:
      struct Links {
         uint32_t previous = 0;
         uint32_t next = 0;
      };
      Array<uint32_t> first_;
      Array<Links> links_;
   };

   static Place place(uint16_t unit, uint16_t port) { return Standard::place(unit, port); }
};

} // namespace Bench
