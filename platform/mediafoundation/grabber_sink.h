// The sink that hands samples to a callback, and the object that a topology's output node holds for it.
#pragma once

#include "mfidl.h"
#include "platform/com/com_ptr.h"

// What the platform's session asks of the activation object.
DEFINE_GUID(IID_IGrabberSink, 0x0e7c1b9d, 0x50c4, 0x4d87, 0xb2, 0x1f, 0x83, 0x6a, 0x9d, 0x42, 0x5e, 0x10);
struct IGrabberSink : public IUnknown
{
    virtual IMFMediaType* Type() = 0;
    virtual IMFSampleGrabberSinkCallback* Callback() = 0;
    // Calls OnShutdown of the callback, once.
    virtual void ShutdownSink() = 0;
};
PLATFORM_INTERFACE_IID(IGrabberSink);
