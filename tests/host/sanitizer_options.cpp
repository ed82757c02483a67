// A sanitizer's allocator ends the program when there is no memory. These tests check what the libraries do in that
// case, so the allocator returns null instead.
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
