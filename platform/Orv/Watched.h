// Who watches a keyed collection: reactors, and observers for indices over it.
#pragma once

#include "platform/Orv/Notifier.h"

#include <memory>
#include <vector>

namespace Orv {

// Told of each member that comes or goes, before any reactor is. For indices over a collection.
template<class K>
class Observer {
 public:
   virtual ~Observer() = default;
   virtual void inserted(K const& key) = 0;
   virtual void erased(K const& key) = 0;
};

// A collection's reactors and observers; made when the first one comes.
template<class K>
struct Watchers {
   Notifier<K> notifier;
   std::vector<Observer<K>*> observers;
};

// What both kinds of collection do for those who watch them.
template<class K>
class Watched {
 public:
   // Reactors watch const entities too: watching changes nothing of the content.
   void watch(Reactor<K>& reactor) const { watchers().notifier.add(reactor); }
   void observe(Observer<K>& observer) const { watchers().observers.push_back(&observer); }
   void unobserve(Observer<K>& observer) const { std::erase(watchers().observers, &observer); }

 protected:
   void notify(K const& key) {
      if (watchers_ != nullptr) {
         watchers_->notifier.deliver(key);
      }
   }
   // Before the members go: who hears of the end may still look at them.
   void endWatch() { watchers_.reset(); }
   void noteInserted(K const& key) {
      if (watchers_ != nullptr) {
         for (auto* observer : watchers_->observers) {
            observer->inserted(key);
         }
      }
   }
   void noteErased(K const& key) {
      if (watchers_ != nullptr) {
         for (auto* observer : watchers_->observers) {
            observer->erased(key);
         }
      }
   }

 private:
   Watchers<K>& watchers() const {
      if (watchers_ == nullptr) {
         watchers_ = std::make_unique<Watchers<K>>();
      }
      return *watchers_;
   }
   mutable std::unique_ptr<Watchers<K>> watchers_;
};

} // namespace Orv
