#pragma once

#include <cassert>
#include <cstdint>
#include <utility>

namespace qpr
{

/// Base of objects that delete themselves when their last reference is dropped. The count is plain, not atomic: whoever
/// shares an object between threads takes and drops references under one lock.
class ReferenceCounted
{
public:
    ReferenceCounted() = default;
    ReferenceCounted(const ReferenceCounted&) = delete;
    ReferenceCounted& operator=(const ReferenceCounted&) = delete;
    virtual ~ReferenceCounted() { assert(m_referenceCount == 0 && "destroyed while somebody holds it"); }

    void AddReference() const noexcept { ++m_referenceCount; }

    /// Destroys the object when the count reaches 0.
    void DropReference() const
    {
        if (DropReferenceOnly())
            delete this;
    }

    /// Lowers the count and answers whether it reached 0; the caller then destroys the object, outside its lock.
    bool DropReferenceOnly() const noexcept
    {
        assert(m_referenceCount != 0 && "dropped more references than were taken");
        return --m_referenceCount == 0;
    }

private:
    mutable std::uint32_t m_referenceCount = 0;
};

/// A counted reference to a ReferenceCounted object, or none.
template <class T>
class CountedPtr
{
public:
    CountedPtr() noexcept = default;
    CountedPtr(std::nullptr_t) noexcept { }
    CountedPtr(T* object) noexcept
        : m_object(object)
    {
        if (m_object)
            m_object->AddReference();
    }
    CountedPtr(const CountedPtr& other) noexcept
        : CountedPtr(other.m_object)
    {
    }
    CountedPtr(CountedPtr&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    template <class U>
    CountedPtr(const CountedPtr<U>& other) noexcept
        : CountedPtr(other.get())
    {
    }
    CountedPtr& operator=(CountedPtr other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~CountedPtr()
    {
        if (m_object)
            m_object->DropReference();
    }

    T* get() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    T* operator->() const noexcept { return m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    friend bool operator==(const CountedPtr&, const CountedPtr&) = default;

private:
    T* m_object = nullptr;
};

template <class T, class... Args>
CountedPtr<T> MakeCounted(Args&&... args)
{
    return CountedPtr<T>(new T(std::forward<Args>(args)...));
}

} // namespace qpr
