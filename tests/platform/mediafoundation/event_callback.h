// A callback of BeginGetEvent.
#pragma once

#include <future>
#include <thread>

#include "mfobjects.h"
#include "platform/com/com_object.h"
#include "platform/com/com_ptr.h"

namespace mftest
{

using platform::ComPtr;

class EventCallback final : public platform::ComObject<platform::Implements<IMFAsyncCallback>>
{
public:
    HRESULT STDMETHODCALLTYPE GetParameters(DWORD*, DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(IMFAsyncResult* pResult) override
    {
        m_invoked.set_value({std::this_thread::get_id(), ComPtr<IMFAsyncResult>(pResult)});
        return S_OK;
    }

    struct Invocation
    {
        std::thread::id m_thread;
        ComPtr<IMFAsyncResult> m_result;
    };
    std::promise<Invocation> m_invoked;  // fails on a second invocation
};

}  // namespace mftest
