// A counted reference to a COM object.
#pragma once

#include <utility>

#include "unknwn.h"

namespace platform
{

template <typename Interface>
class ComPtr
{
public:
    ComPtr() = default;
    ComPtr(std::nullptr_t) {}
    // Takes a reference of its own.
    explicit ComPtr(Interface* p) : m_p(p)
    {
        if (m_p)
        {
            m_p->AddRef();
        }
    }
    // Takes over the caller's reference.
    static ComPtr Attach(Interface* p)
    {
        ComPtr ptr;
        ptr.m_p = p;
        return ptr;
    }

    ComPtr(const ComPtr& other) : ComPtr(other.m_p) {}
    ComPtr(ComPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    template <typename Derived>
    requires std::is_convertible_v<Derived*, Interface*> ComPtr(const ComPtr<Derived>& other) : ComPtr(other.Get()) {}
    ComPtr& operator=(ComPtr other) noexcept
    {
        std::swap(m_p, other.m_p);
        return *this;
    }
    ~ComPtr()
    {
        if (m_p)
        {
            m_p->Release();
        }
    }

    Interface* Get() const { return m_p; }
    Interface* operator->() const { return m_p; }
    Interface& operator*() const { return *m_p; }
    explicit operator bool() const { return m_p != nullptr; }

    // Gives the reference up to the caller.
    Interface* Detach() { return std::exchange(m_p, nullptr); }
    // Hands a reference to a caller that asked for one through an out pointer.
    HRESULT CopyTo(Interface** pp) const
    {
        if (m_p)
        {
            m_p->AddRef();
        }
        *pp = m_p;
        return S_OK;
    }
    // Where a creating function puts a new reference; what was held is released.
    Interface** Put()
    {
        *this = nullptr;
        return &m_p;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }

    // Null if the object hasn't that interface.
    template <typename Other>
    ComPtr<Other> As() const
    {
        ComPtr<Other> pOther;
        if (m_p)
        {
            m_p->QueryInterface(IID_PPV_ARGS(pOther.Put()));
        }
        return pOther;
    }

private:
    Interface* m_p = nullptr;
};

}  // namespace platform
