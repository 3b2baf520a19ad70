/// Owned references.
#pragma once

#include <type_traits>
#include <utility>

namespace zta::host {

/// Owns one reference of an object that follows `IUnknown`, or nothing.
///
/// The object has the reference count; a `Ref` itself is not thread-safe. `T` needs AddRef and Release.
template <class T>
class Ref {
public:
    Ref() noexcept = default;

    /// Acquires a reference.
    Ref(const Ref& other) noexcept : object_(other.object_) { AddRef(); }

    /// Moves the reference.
    Ref(Ref&& other) noexcept : object_(other.Detach()) {}

    /// Copies or moves the reference of an object of a derived class.
    template <class Derived>
    requires std::is_convertible_v<Derived*, T*> Ref(Ref<Derived> other)
    noexcept : object_(other.Detach()) {}

    ~Ref() { Reset(); }

    /// Copies or moves. Releases the old reference after the new one is acquired.
    Ref& operator=(Ref other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }

    /// Assumes ownership of a reference of the caller.
    [[nodiscard]] static Ref Adopt(T* object) noexcept { return Ref(object); }

    /// Acquires a reference; the caller keeps its own.
    [[nodiscard]] static Ref Retain(T* object) noexcept
    {
        Ref ref(object);
        ref.AddRef();
        return ref;
    }

    /// Returns the object, or null. The reference stays with this object.
    [[nodiscard]] T* Get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }                     ///< the object, which must not be null
    T& operator*() const noexcept { return *object_; }                     ///< the object, which must not be null
    explicit operator bool() const noexcept { return object_ != nullptr; } ///< true if not null

    /// Returns the object and transfers the reference to the caller.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }

    /// Releases the reference.
    void Reset() noexcept
    {
        if (T* object = Detach()) {
            object->Release();
        }
    }

    /// Releases the reference, and returns the address for an output parameter that transfers a reference.
    [[nodiscard]] T** Put() noexcept
    {
        Reset();
        return &object_;
    }

private:
    explicit Ref(T* object) noexcept : object_(object) {}

    void AddRef() const noexcept
    {
        if (object_ != nullptr) {
            object_->AddRef();
        }
    }

    T* object_ = nullptr;
};

} // namespace zta::host
