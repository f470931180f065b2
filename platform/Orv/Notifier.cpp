#include "platform/Orv/Notifier.h"

namespace Orv {

void ReactorBase::remove() {
   if (notifier_ != nullptr) {
      notifier_->removeReactor(*this);
   }
}

NotifierBase::~NotifierBase() {
   for (Delivery* delivery = deliveries_; delivery != nullptr; delivery = delivery->outer_) {
      delivery->notifier_ = nullptr;
      delivery->next_ = nullptr;
   }
   deliveries_ = nullptr;
   while (ReactorBase* reactor = first_) {
      removeReactor(*reactor);
      reactor->handleDelete();
   }
}

void NotifierBase::add(ReactorBase& reactor) {
   reactor.remove();
   static uint64_t registrations = 0;
   reactor.order_ = ++registrations;
   reactor.notifier_ = this;
   reactor.previous_ = last_;
   (last_ != nullptr ? last_->next_ : first_) = &reactor;
   last_ = &reactor;
}

void NotifierBase::removeReactor(ReactorBase& reactor) {
   for (Delivery* delivery = deliveries_; delivery != nullptr; delivery = delivery->outer_) {
      if (delivery->next_ == &reactor) {
         delivery->next_ = delivery->last_ == &reactor ? nullptr : reactor.next_;
      }
      if (delivery->last_ == &reactor) {
         delivery->last_ = reactor.previous_;
      }
   }
   (reactor.previous_ != nullptr ? reactor.previous_->next_ : first_) = reactor.next_;
   (reactor.next_ != nullptr ? reactor.next_->previous_ : last_) = reactor.previous_;
   reactor.notifier_ = nullptr;
   reactor.next_ = reactor.previous_ = nullptr;
}

void NotifierBase::endDeliveries(void const* subject) {
   for (Delivery* delivery = deliveries_; delivery != nullptr; delivery = delivery->outer_) {
      if (delivery->subject_ == subject) {
         delivery->next_ = nullptr;
      }
   }
}

NotifierBase::Delivery::Delivery(NotifierBase* notifier, void const* subject)
    : notifier_(notifier), subject_(subject) {
   if (notifier != nullptr) {
      next_ = notifier->first_;
      last_ = notifier->last_;
      outer_ = std::exchange(notifier->deliveries_, this);
   }
}

ReactorBase* NotifierBase::Delivery::takeBefore(Delivery const& other) {
   bool later = next_ != nullptr && other.next_ != nullptr && other.next_->order_ < next_->order_;
   return later ? nullptr : take();
}

} // namespace Orv
