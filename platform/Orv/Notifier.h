// Delivery of changes to reactors: synchronous and in order of registration.
//
// A handler may write the attribute again, register reactors (they see later changes only), destroy
// any reactor including its own, and destroy the entity whose change is being delivered. A reactor
// that was removed is not called again, not even for the change that is being delivered.
#pragma once

#include "platform/Orv/Export.h"

#include <cstdint>
#include <utility>

namespace Orv {

class NotifierBase;

// One registration. It ends with remove() or the destructor, either of which may run at any time.
class ORV_EXPORT ReactorBase {
 public:
   ReactorBase() = default;
   ReactorBase(ReactorBase const&) = delete;
   ReactorBase& operator=(ReactorBase const&) = delete;
   virtual ~ReactorBase() { remove(); }

   bool registered() const { return notifier_ != nullptr; }
   void remove();
   // Called when the watched attribute is destroyed while this reactor is registered.
   virtual void handleDelete() {}

 private:
   friend class NotifierBase;
   NotifierBase* notifier_ = nullptr;
   ReactorBase* next_ = nullptr;
   ReactorBase* previous_ = nullptr;
   uint64_t order_ = 0; // of registration, among all reactors
};

class ORV_EXPORT NotifierBase {
 public:
   NotifierBase() = default;
   NotifierBase(NotifierBase const&) = delete;
   NotifierBase& operator=(NotifierBase const&) = delete;
   ~NotifierBase();

   void add(ReactorBase& reactor);
   bool empty() const { return first_ == nullptr; }

 protected:
   // One delivery in progress; lives on the stack of deliver(). Deliveries nest. A null notifier
   // has no reactors. `subject` is what endDeliveries() compares.
   class ORV_EXPORT Delivery {
    public:
      explicit Delivery(NotifierBase* notifier, void const* subject = nullptr);
      Delivery(Delivery const&) = delete;
      Delivery& operator=(Delivery const&) = delete;
      ~Delivery() {
         if (notifier_ != nullptr) {
            notifier_->deliveries_ = outer_;
         }
      }
      // The next reactor to call, or null.
      ReactorBase* take() {
         ReactorBase* reactor = next_;
         if (reactor != nullptr) {
            next_ = reactor == last_ ? nullptr : reactor->next_;
         }
         return reactor;
      }
      // The same, but null if the next reactor of the other delivery registered earlier.
      ReactorBase* takeBefore(Delivery const& other);

    private:
      friend class NotifierBase;
      NotifierBase* notifier_; // null once the notifier is destroyed
      void const* subject_;
      Delivery* outer_ = nullptr;
      ReactorBase* next_ = nullptr;
      ReactorBase* last_ = nullptr; // later registrations do not see this change
   };

   // The deliveries of this subject call no more reactors.
   void endDeliveries(void const* subject);

 private:
   friend class ReactorBase;
   void removeReactor(ReactorBase& reactor);

   ReactorBase* first_ = nullptr;
   ReactorBase* last_ = nullptr;
   Delivery* deliveries_ = nullptr;
};

// A reactor on an attribute (no key) or on a keyed collection (the key that changed).
template<class... Key>
class Reactor : public ReactorBase {
 public:
   virtual void handle(Key const&... key) = 0;
};

template<class... Key>
class Notifier : public NotifierBase {
 public:
   void deliver(Key const&... key) {
      if (empty()) {
         return;
      }
      Delivery delivery(this);
      while (ReactorBase* reactor = delivery.take()) {
         static_cast<Reactor<Key...>*>(reactor)->handle(key...);
      }
   }
};

namespace Detail {
template<class Owner, auto handler, class... Key>
class MemberReactor : public Reactor<Key...> {
 public:
   explicit MemberReactor(Owner* owner) : owner_(owner) {}
   void handle(Key const&... key) override { (owner_->*handler)(key...); }

 private:
   Owner* owner_;
};

template<auto handler, class Signature = decltype(handler)>
struct BoundReactor;
template<auto handler, class Owner, class... Key>
struct BoundReactor<handler, void (Owner::*)(Key const&...)> {
   using type = MemberReactor<Owner, handler, Key...>;
};
} // namespace Detail

// A reactor that calls a member function of its owner:
//    using SpeedReactor = Orv::ReactorFor<&PortMonitor::handleSpeed>;
template<auto handler>
using ReactorFor = typename Detail::BoundReactor<handler>::type;

} // namespace Orv
