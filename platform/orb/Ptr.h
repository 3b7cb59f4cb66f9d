// Reference-counted objects and the pointer that counts them. A count is atomic, so objects may be
// shared between threads; what they hold is guarded by the activity lock.
#pragma once

#include <atomic>
#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

#include "orb/Arena.h"
#include "orb/Types.h"

namespace Orb {

class TypeInfo;

// The base of every object of the model. The order of the virtual operations is part of the
// contract with code that was compiled against this class; new ones go behind the last.
class ORB_EXPORT PtrInterface {
  public:
    // The head of the list of objects that are told when this one changes; null: nobody is.
    virtual const PtrInterface* notifieeList() const;
    // Says whether changes of this object are to be announced. Objects start inactive.
    virtual void hasNotificationActiveIs(bool active);
    // Called when the last reference is gone; deletes the object.
    virtual void zeroReferencesIs();
    // The registered type of the object (its most derived one).
    virtual const TypeInfo& fwkType() const = 0;
    virtual ~PtrInterface();

    PtrInterface(const PtrInterface&) = delete;
    PtrInterface& operator=(const PtrInterface&) = delete;

    bool hasNotificationActive() const { return notificationActive_; }

    static void* operator new(std::size_t size) { return allocateBlock(size); }
    static void operator delete(void* block) noexcept { freeBlock(block); }

    void referenceAdd() const { references_.fetch_add(1, std::memory_order_relaxed); }
    void referenceDrop() const {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            const_cast<PtrInterface*>(this)->zeroReferencesIs();
        }
    }
    U32 references() const { return references_.load(std::memory_order_relaxed); }

  protected:
    PtrInterface() = default;

  private:
    mutable std::atomic<U32> references_{0};
    bool notificationActive_ = false;
};

// A counting pointer to a T; may be null. A Ptr<T> converts to a Ptr<const T> and to a Ptr of a
// base class.
template <class T>
class Ptr {
  public:
    Ptr() = default;
    Ptr(std::nullptr_t) {}
    // Takes a reference of its own; objects are born with a count of zero.
    Ptr(T* object) : object_(object) {
        if (object_ != nullptr) object_->referenceAdd();
    }
    Ptr(const Ptr& other) : Ptr(other.object_) {}
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class U>
    requires std::convertible_to<U*, T*> Ptr(const Ptr<U>& other) : Ptr(other.get()) {}
    template <class U>
    requires std::convertible_to<U*, T*> Ptr(Ptr<U>&& other)
    noexcept : object_(other.release()) {}
    ~Ptr() {
        if (object_ != nullptr) object_->referenceDrop();
    }
    Ptr& operator=(const Ptr& other) {
        if (this != &other) Ptr(other).swap(*this);
        return *this;
    }
    Ptr& operator=(Ptr&& other) noexcept {
        Ptr(std::move(other)).swap(*this);
        return *this;
    }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

    // Gives up the reference without dropping it; the caller owns it then.
    T* release() { return std::exchange(object_, nullptr); }
    void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }

    friend bool operator==(const Ptr& a, const Ptr& b) { return a.object_ == b.object_; }
    friend bool operator==(const Ptr& a, std::nullptr_t) { return a.object_ == nullptr; }
    friend auto operator<=>(const Ptr& a, const Ptr& b) {
        return std::compare_three_way()(a.object_, b.object_);
    }

  private:
    T* object_ = nullptr;
};

template <class T, class... Args>
Ptr<T> make(Args&&... args) {
    return Ptr<T>(new T(std::forward<Args>(args)...));
}

namespace Detail {

// Makes the record of a key in a map of records: from the key and the arguments, or from the
// arguments alone where the record does not keep its key.
template <class Record, class Key, class... Args>
Ptr<Record> makeRecord(const Key& key, const Args&... args) {
    using Mutable = std::remove_const_t<Record>;
    if constexpr (std::constructible_from<Mutable, const Key&, const Args&...>) {
        return new Mutable(key, args...);
    } else {
        return new Mutable(args...);
    }
}

template <class T>
struct PointeeOf {};
template <class T>
struct PointeeOf<Ptr<T>> {
    using Type = T;
};

}  // namespace Detail

// The same object as a Derived; null when it is none.
template <class Derived, class T>
Ptr<Derived> ptrCast(const Ptr<T>& object) {
    return Ptr<Derived>(dynamic_cast<Derived*>(object.get()));
}

}  // namespace Orb
