// Copies and conversions of the AMF runtime's tagged values. A variant is used by one thread at a time.
#pragma once

#include "abi/amf/amf.h"

// Frees what the variant owns and makes it empty. AMF_INVALID_POINTER for null.
AMF_RESULT AMFVariantClear(AMFVariantStruct* pVariant);

// Gives pDest a copy of its own, in place of what it held: a text is copied, an interface gets a reference. Nothing
// happens when both are the same. AMF_INVALID_POINTER for a null pointer; AMF_INVALID_ARG, and an empty pDest, for a
// type above AMF_VARIANT_INTERFACE. Without memory a text is null.
AMF_RESULT AMFVariantCopy(AMFVariantStruct* pDest, const AMFVariantStruct* pSource);

// Gives pDest the value of pSource as the new type, in place of what it held. A null pSource means pDest. Converting a
// variant into itself loses its value: the result is what an empty one gives.
//
// AMF_INVALID_ARG, and an empty pDest, for types that have no conversion. AMF_INVALID_ARG, and the new type with the
// value zero (a colour: black and opaque), for a text that can't be read and a number beyond the new type's range.
// AMF_INVALID_POINTER for a null pDest.
//
// Reading a text stops at the first character that doesn't fit. It fails only if no value was read; missing members are
// zero, and a missing alpha is 255. Numbers are read and written as the C library's current locale has them.
AMF_RESULT AMFVariantChangeType(AMFVariantStruct* pDest, const AMFVariantStruct* pSource, AMF_VARIANT_TYPE eNewType);
