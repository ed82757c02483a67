// A sanitizer's allocator ends the program where there is no memory; these tests want to see what the libraries do
// then.
#include "hostapi/qmexport.h"

#if defined(__SANITIZE_ADDRESS__)
extern "C" QM_SYMBOL_EXPORT const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
#elif defined(__SANITIZE_THREAD__)
extern "C" QM_SYMBOL_EXPORT const char* __tsan_default_options()
{
    return "allocator_may_return_null=1";
}
#endif
