// Single-valued attributes and queues of entities.
#pragma once

#include "platform/Orv/Notifier.h"

#include <memory>
#include <utility>
#include <vector>

namespace Orv {

template<class T>
class Attribute {
 public:
   Attribute() = default;
   explicit Attribute(T initial) : value_(std::move(initial)) {}

   T get() const { return value_; }
   // Notifies the reactors before it returns. An equal value is no change and notifies nobody.
   void set(T value) {
      if (value_ == value) {
         return;
      }
      std::swap(value_, value);
      if (notifier_ != nullptr) {
         notifier_->deliver();
      }
   }
   void watch(Reactor<>& reactor) const {
      if (notifier_ == nullptr) {
         notifier_ = std::make_unique<Notifier<>>();
      }
      notifier_->add(reactor);
   }

 private:
   T value_{};
   mutable std::unique_ptr<Notifier<>> notifier_;
};

// Counts over the life of a queue.
struct QueueMetadata {
   uint64_t enqueued = 0;
   uint64_t dequeued = 0;
};

template<class T>
class Queue {
 public:
   T head() const { return size() == 0 ? T{} : values_[first_]; }
   void enqueue(T value) {
      values_.push_back(std::move(value));
      ++metadata_.enqueued;
   }
   // Does nothing on an empty queue.
   void dequeue() {
      if (size() == 0) {
         return;
      }
      ++first_;
      ++metadata_.dequeued;
      // Dropping the dequeued values when they are half of the vector costs a constant per value.
      if (first_ * 2 >= values_.size()) {
         values_.erase(values_.begin(), values_.begin() + static_cast<std::ptrdiff_t>(first_));
         first_ = 0;
      }
   }
   void clear() {
      metadata_.dequeued += size();
      values_.clear();
      first_ = 0;
   }
   std::size_t size() const { return values_.size() - first_; }
   // The head is at 0.
   T const& operator[](std::size_t at) const { return values_[first_ + at]; }
   QueueMetadata const& metadata() const { return metadata_; }

 private:
   std::vector<T> values_;
   std::size_t first_ = 0;
   QueueMetadata metadata_;
};

} // namespace Orv
