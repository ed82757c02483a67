// A file of the name that the module looks for as the AMF runtime. The module loads the runtime and asks nothing of it.
#if defined(_WIN32)
#define FAKE_EXPORT extern "C" __declspec(dllexport)
#else
#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

FAKE_EXPORT int FakeAmfRuntime()
{
    return 1;
}
