// Registration of reactors and observers with a keyed collection.
#pragma once

#include "platform/Orv/Notifier.h"

#include <memory>
#include <vector>

namespace Orv {

// Called for each member that is inserted or erased, before any reactor. For indices
// (GroupIndex.h).
template<class K>
class Observer {
 public:
   virtual ~Observer() = default;
   virtual void inserted(K const& key) = 0;
   virtual void erased(K const& key) = 0;
};

// A collection's reactors and observers; allocated when the first one registers.
template<class K>
struct Watchers {
   Notifier<K> notifier;
   std::vector<Observer<K>*> observers;
};

// The base of the collections.
template<class K>
class Watched {
 public:
   // const, since watching does not change the content: a reactor may watch a const entity.
   void watch(Reactor<K>& reactor) const { watchers().notifier.add(reactor); }
   void observe(Observer<K>& observer) const { watchers().observers.push_back(&observer); }
   void unobserve(Observer<K>& observer) const { std::erase(watchers().observers, &observer); }

 protected:
   void notify(K const& key) {
      if (watchers_ != nullptr) {
         watchers_->notifier.deliver(key);
      }
   }
   // To be called before the members are destroyed: handleDelete() may still read them.
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
