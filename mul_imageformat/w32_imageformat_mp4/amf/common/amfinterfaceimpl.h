// What an object with an AMF interface has in common: the count of its references, and the query for its interface.
#pragma once

#include "amf/common/amfsystem.h"

#include "abi/amf/amf.h"

// Made with new, with one reference for the caller that made it. The last Release deletes it.
template <typename TInterface>
class AMFInterfaceImpl : public TInterface
{
public:
    AMFInterfaceImpl() = default;
    AMFInterfaceImpl(const AMFInterfaceImpl&) = delete;
    AMFInterfaceImpl& operator=(const AMFInterfaceImpl&) = delete;

    amf_long Acquire() override { return amf_atomic_inc(&m_nRefCount); }
    amf_long Release() override
    {
        const amf_long nLeft = amf_atomic_dec(&m_nRefCount);
        if (nLeft == 0) delete this;
        return nLeft;
    }
    AMF_RESULT QueryInterface(const AMFGuid& interfaceID, void** ppInterface) override
    {
        if (ppInterface == nullptr) return AMF_INVALID_POINTER;
        const bool bKnown = interfaceID == AMFInterface::IID() || interfaceID == TInterface::IID();
        *ppInterface = bKnown ? static_cast<TInterface*>(this) : nullptr;
        if (!bKnown) return AMF_NO_INTERFACE;
        Acquire();
        return AMF_OK;
    }

protected:
    virtual ~AMFInterfaceImpl() = default;

private:
    std::int32_t m_nRefCount = 1;
};
