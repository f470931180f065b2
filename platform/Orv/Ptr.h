// Reference-counted pointers, for one thread: the count is not atomic.
#pragma once

#include "platform/Orv/Export.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Orv {

class ORV_EXPORT RefCounted {
 public:
   RefCounted() = default;
   RefCounted(RefCounted const&) = delete;
   RefCounted& operator=(RefCounted const&) = delete;
   virtual ~RefCounted();

 private:
   template<class T>
   friend class Ptr;
   void acquire() const { ++references_; }
   void release() const {
      if (--references_ == 0) {
         delete this;
      }
   }
   mutable uint32_t references_ = 0;
};

template<class T>
class Ptr {
 public:
   constexpr Ptr() = default;
   constexpr Ptr(std::nullptr_t) {}
   Ptr(T* target) : target_(target) { acquire(); }
   Ptr(Ptr const& other) : target_(other.target_) { acquire(); }
   Ptr(Ptr&& other) noexcept : target_(std::exchange(other.target_, nullptr)) {}
   template<class U>
   requires std::is_convertible_v<U*, T*> Ptr(Ptr<U> const& other) : target_(other.get()) {
      acquire();
   }
   ~Ptr() { release(); }

   // By value, so that the old target is released last: its destructor may read this pointer, which
   // has the new target then.
   Ptr& operator=(Ptr other) noexcept {
      std::swap(target_, other.target_);
      return *this;
   }

   T* get() const { return target_; }
   T* operator->() const { return target_; }
   T& operator*() const { return *target_; }
   explicit operator bool() const { return target_ != nullptr; }

   friend bool operator==(Ptr const& a, Ptr const& b) { return a.target_ == b.target_; }
   friend bool operator==(Ptr const& a, std::nullptr_t) { return a.target_ == nullptr; }

 private:
   void acquire() const {
      if (target_ != nullptr) {
         static_cast<RefCounted const*>(target_)->acquire();
      }
   }
   void release() {
      if (target_ != nullptr) {
         static_cast<RefCounted const*>(std::exchange(target_, nullptr))->release();
      }
   }
   T* target_ = nullptr;
};

template<class T, class... Args>
Ptr<T> make(Args&&... args) {
   return Ptr<T>(new T(std::forward<Args>(args)...));
}

} // namespace Orv
