// A reactor that calls a function.
#pragma once

#include "platform/Orv/Notifier.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace Simulate {

template<class... Key>
class Watcher : public Orv::Reactor<Key...> {
 public:
   explicit Watcher(std::function<void(Key const&...)> handler) : handler_(std::move(handler)) {}
   void handle(Key const&... key) override { handler_(key...); }

 private:
   std::function<void(Key const&...)> handler_;
};

// The watchers of one owner. They end with it.
class Watchers {
 public:
   template<class Key, class Collection>
   void watch(Collection const& collection, std::function<void(Key const&)> handler) {
      auto watcher = std::make_unique<Watcher<Key>>(std::move(handler));
      collection.watch(*watcher);
      add(std::move(watcher));
   }
   void add(std::unique_ptr<Orv::ReactorBase> watcher) { list_.push_back(std::move(watcher)); }

 private:
   std::vector<std::unique_ptr<Orv::ReactorBase>> list_;
};

} // namespace Simulate
