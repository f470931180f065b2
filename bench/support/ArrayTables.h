// Tables and keys of the baselines in variant (c): each key is interned once, and every table is a
// plain array over the index. No order, no members to walk but by looking at each place: the least
// that the table operations cost on this machine.
#pragma once

#include "bench/support/BaselineTables.h"

#include <algorithm>
#include <vector>

namespace Bench {

struct Arrays : Platform {
   using Place = uint32_t; // unit and port, as an index

   static std::size_t indexOf(uint32_t place) { return place; }
   template<Orv::Indexed K>
   static std::size_t indexOf(K const& key) {
      return key.index();
   }

   template<class K, class V>
   class Map {
    public:
      V get(K const& key) const { return has(key) ? places_[indexOf(key)].value : V{}; }
      std::optional<V> find(K const& key) const {
         return has(key) ? std::optional<V>(places_[indexOf(key)].value) : std::nullopt;
      }
      bool has(K const& key) const {
         std::size_t at = indexOf(key);
         return at < places_.size() && places_[at].present;
      }
      bool set(K const& key, V value) {
         std::size_t at = indexOf(key);
         if (at >= places_.size()) {
            if (at >= places_.capacity()) {
               places_.reserve(at + 1 + at / 8); // little more than there is
            }
            places_.resize(at + 1);
         }
         bool fresh = !places_[at].present;
         places_[at] = {std::move(value), true};
         size_ += fresh ? 1 : 0;
         first_ = std::min(first_, at);
         return fresh;
      }
      bool del(K const& key) {
         if (!has(key)) {
            return false;
         }
         places_[indexOf(key)] = {};
         --size_;
         return true;
      }
      bool empty() const { return size_ == 0; }
      std::size_t size() const { return size_; }
      K first() const {
         while (!places_[first_].present) {
            ++first_;
         }
         return K::fromIndex(static_cast<uint32_t>(first_));
      }

    private:
      struct Member {
         V value{};
         bool present = false;
      };
      std::vector<Member> places_;
      std::size_t size_ = 0;
      mutable std::size_t first_ = 0; // none is ahead of it
   };
   // Retries: there are none, and an entry has no index.
   template<class V>
   class Map<Entry, V> : public Platform::Map<Entry, V> {};
   template<class V>
   using ByIntfInOrder = Map<Intf, V>;

   template<class K>
   class Few {
    public:
      void add(K const& key) {
         if (std::find(keys_.begin(), keys_.end(), key) == keys_.end()) {
            keys_.push_back(key);
         }
      }
      bool removeLast(K const& key) {
         std::erase(keys_, key);
         return keys_.empty();
      }

    private:
      std::vector<K> keys_;
   };
   // Interface -> its requests, as lists through an array.
   class Groups {
    public:
      void add(Request const& request) {
         uint32_t& first = at(first_, request.intfId().index());
         Links& links = at(links_, request.index());
         links = {0, first};
         if (first != 0) {
            links_[first].previous = request.index();
         }
         first = request.index();
      }
      void remove(Request const& request) {
         Links& links = links_[request.index()];
         (links.previous != 0 ? links_[links.previous].next : first_[request.intfId().index()]) =
             links.next;
         if (links.next != 0) {
            links_[links.next].previous = links.previous;
         }
         links = {};
      }

    private:
      struct Links {
         uint32_t previous = 0;
         uint32_t next = 0;
      };
      template<class T>
      static T& at(std::vector<T>& array, std::size_t place) {
         if (place >= array.size()) {
            if (place >= array.capacity()) {
               array.reserve(place + 1 + place / 8);
            }
            array.resize(place + 1);
         }
         return array[place];
      }

      std::vector<uint32_t> first_;
      std::vector<Links> links_;
   };

   static Place place(uint16_t unit, uint16_t port) { return Standard::place(unit, port); }
};

} // namespace Bench
