/// References with an owner.
#pragma once

#include <utility>

namespace zta::host {

/// Owns one reference of an object that follows `IUnknown`, or nothing.
///
/// The count lives in the object; a `Ref` itself belongs to one thread. It asks of `T` no more than AddRef and Release.
template <class T>
class Ref {
public:
    Ref() noexcept = default;

    /// Takes a reference of its own.
    Ref(const Ref& other) noexcept : object_(other.object_) { AddRef(); }

    /// Takes over the other's reference.
    Ref(Ref&& other) noexcept : object_(other.Detach()) {}
    ~Ref() { Reset(); }

    /// Serves copies and moves; the old reference goes only after the new one is held.
    Ref& operator=(Ref other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }

    /// Takes over a reference that the caller owns.
    [[nodiscard]] static Ref Adopt(T* object) noexcept { return Ref(object); }

    /// Takes a reference of its own; the caller keeps its one.
    [[nodiscard]] static Ref Retain(T* object) noexcept
    {
        Ref ref(object);
        ref.AddRef();
        return ref;
    }

    /// The object, which stays owned by this reference; null if there is none.
    [[nodiscard]] T* Get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }                     ///< the object, which must be there
    T& operator*() const noexcept { return *object_; }                     ///< the object, which must be there
    explicit operator bool() const noexcept { return object_ != nullptr; } ///< whether there is one

    /// Gives the reference to the caller, who must release it.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }

    /// Gives the reference back.
    void Reset() noexcept
    {
        if (T* object = Detach()) {
            object->Release();
        }
    }

    /// Where an operation writes a pointer whose reference the caller owns. What was held is released first.
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
