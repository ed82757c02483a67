// The part of IUnknown that every COM class of the platform has: an atomic count and a list of interfaces.
//
//     class Source : public ComObject<Implements<IMFMediaSource, IMFGetService>, Answers<IMFMediaEventGenerator>>
//
// A class implements the interfaces of the first list, each a base of its own, and answers besides for the ones of the
// second, which are bases of those. IUnknown is always answered for, through the first interface, so that it is
// always the same pointer: COM identifies an object by it.
#pragma once

#include <atomic>

#include "unknwn.h"

namespace platform
{

template <typename... Interfaces>
struct Implements
{
};

template <typename... Interfaces>
struct Answers
{
};

template <typename ImplementsList, typename AnswersList = Answers<>>
class ComObject;

template <typename First, typename... Others, typename... Bases>
class ComObject<Implements<First, Others...>, Answers<Bases...>> : public First, public Others...
{
public:
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override
    {
        if (!ppv)
        {
            return E_POINTER;
        }
        *ppv = Find(riid);
        if (!*ppv)
        {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return m_uiCount.fetch_add(1, std::memory_order_relaxed) + 1; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG uiLeft = m_uiCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (uiLeft == 0)
        {
            delete this;
        }
        return uiLeft;
    }

protected:
    // The count is 1: the reference of the caller that made the object.
    ComObject() = default;
    virtual ~ComObject() = default;

    // The pointer for that interface, not counted, or null. A class that has an interface only at times, or by
    // containing an object, replaces this and asks the base for the rest.
    virtual void* Find(REFIID riid)
    {
        void* pFound = nullptr;
        static_cast<void>((Is<First>(riid, &pFound) || ... || Is<Others>(riid, &pFound)) ||
                          (... || Is<Bases>(riid, &pFound)));
        if (!pFound && riid == IID_IUnknown)
        {
            pFound = static_cast<IUnknown*>(static_cast<First*>(this));
        }
        return pFound;
    }

private:
    template <typename Interface>
    bool Is(REFIID riid, void** ppv)
    {
        if (riid != PlatformInterfaceIid<Interface>::Get())
        {
            return false;
        }
        *ppv = static_cast<Interface*>(this);
        return true;
    }

    std::atomic<ULONG> m_uiCount{1};
};

}  // namespace platform
