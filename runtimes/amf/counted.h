// What all objects of the runtime have in common: the count of their references, and the query for their interfaces.
#pragma once

#include <atomic>
#include <utility>

#include "abi/amf/amf.h"

namespace amfruntime
{

// An object with TInterface and those that it derives from, TParents. Made with new, with one reference; the last
// Release deletes it. Any thread.
template <typename TInterface, typename... TParents>
class Counted : public TInterface
{
public:
    Counted() = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    amf_long Acquire() override { return ++m_nReferences; }
    amf_long Release() override
    {
        const amf_long nLeft = --m_nReferences;
        if (nLeft == 0)
        {
            delete this;
        }
        return nLeft;
    }
    AMF_RESULT QueryInterface(const AMFGuid& interfaceID, void** ppInterface) override
    {
        if (!ppInterface)
        {
            return AMF_INVALID_POINTER;
        }
        *ppInterface = nullptr;
        const bool bKnown = interfaceID == AMFInterface::IID() || interfaceID == TInterface::IID() ||
                            (... || (interfaceID == TParents::IID()));
        if (!bKnown)
        {
            return AMF_NO_INTERFACE;
        }
        // Each interface derives from one other, so that all are at the same address.
        *ppInterface = static_cast<TInterface*>(this);
        Acquire();
        return AMF_OK;
    }

protected:
    virtual ~Counted() = default;

private:
    std::atomic<amf_long> m_nReferences{1};
};

// A counted reference.
template <typename TInterface>
class Reference
{
public:
    Reference() = default;
    // Takes a reference of its own.
    explicit Reference(TInterface* p) : m_p(p)
    {
        if (m_p)
        {
            m_p->Acquire();
        }
    }
    // Takes over the caller's reference.
    static Reference Attach(TInterface* p)
    {
        Reference reference;
        reference.m_p = p;
        return reference;
    }
    Reference(const Reference& other) : Reference(other.m_p) {}
    Reference(Reference&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}
    Reference& operator=(Reference other) noexcept
    {
        std::swap(m_p, other.m_p);
        return *this;
    }
    ~Reference()
    {
        if (m_p)
        {
            m_p->Release();
        }
    }

    TInterface* Get() const { return m_p; }
    TInterface* operator->() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    // Gives the reference up to the caller.
    TInterface* Detach() { return std::exchange(m_p, nullptr); }

private:
    TInterface* m_p = nullptr;
};

// The interface of an object, or nothing.
template <typename TInterface>
Reference<TInterface> Query(AMFInterface* pObject)
{
    void* p = nullptr;
    if (!pObject || pObject->QueryInterface(TInterface::IID(), &p) != AMF_OK)
    {
        return {};
    }
    return Reference<TInterface>::Attach(static_cast<TInterface*>(p));
}

}  // namespace amfruntime
