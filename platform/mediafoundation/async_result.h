// What an asynchronous operation hands to its callback.
#pragma once

#include "mfobjects.h"
#include "platform/com/com_ptr.h"

namespace mediafoundation
{

// A result with the caller's state object, which may be null, and the status S_OK. Throws std::bad_alloc.
platform::ComPtr<IMFAsyncResult> MakeAsyncResult(IUnknown* pState);

}  // namespace mediafoundation
