// The root of all AMF interfaces, and the properties that most of them have.
//
// The order of the operations, with no destructor among them, is the binary interface. Where the published declarations
// give one name to several operations of a class, each has a name of its own here: compilers disagree about the order
// of overloads in the table. Text is wide and ends with a nul.
#pragma once

#include "abi/amf/amfresult.h"
#include "abi/amf/amftypes.h"
#include "abi/amf/amfvariant.h"

// Counted. What an operation hands out through a pointer to a pointer carries a reference for the caller.
struct AMFInterface
{
    static constexpr AMFGuid IID()
    {
        return {0x9D872F34, 0x90DC, 0x4B93, 0xB6, 0xB2, 0x6C, 0xA3, 0x7C, 0x85, 0x25, 0xDB};
    }

    // Both return the new count.
    virtual amf_long Acquire() = 0;
    virtual amf_long Release() = 0;
    virtual AMF_RESULT QueryInterface(const AMFGuid& interfaceID, void** ppInterface) = 0;
};

struct AMFPropertyStorageObserver
{
    virtual void OnPropertyChanged(const wchar_t* name) = 0;
};

struct AMFPropertyStorage : public AMFInterface
{
    static constexpr AMFGuid IID()
    {
        return {0xC7CEC05B, 0xCFB9, 0x48AF, 0xAC, 0xE3, 0xF6, 0x8D, 0xF8, 0x39, 0x5F, 0xE3};
    }

    virtual AMF_RESULT SetProperty(const wchar_t* name, AMFVariantStruct value) = 0;
    virtual AMF_RESULT GetProperty(const wchar_t* name, AMFVariantStruct* pValue) const = 0;
    virtual amf_bool HasProperty(const wchar_t* name) const = 0;
    virtual amf_size GetPropertyCount() const = 0;
    virtual AMF_RESULT GetPropertyAt(amf_size index, wchar_t* name, amf_size nameSize,
                                     AMFVariantStruct* pValue) const = 0;
    virtual AMF_RESULT Clear() = 0;
    virtual AMF_RESULT AddTo(AMFPropertyStorage* pDest, amf_bool overwrite, amf_bool deep) const = 0;
    virtual AMF_RESULT CopyTo(AMFPropertyStorage* pDest, amf_bool deep) const = 0;
    virtual void AddObserver(AMFPropertyStorageObserver* pObserver) = 0;
    virtual void RemoveObserver(AMFPropertyStorageObserver* pObserver) = 0;
};

struct AMFPropertyStorageEx : public AMFPropertyStorage
{
    static constexpr AMFGuid IID()
    {
        return {0x16B8958D, 0xE943, 0x4A33, 0xA3, 0x5A, 0x88, 0x5A, 0xD8, 0x28, 0xF2, 0x67};
    }

    virtual amf_size GetPropertiesInfoCount() const = 0;
    // The description of a property, by its index and by its name. Which is the first depends on the runtime's
    // compiler. Not to be called.
    virtual AMF_RESULT ReservedGetPropertyInfo14() const = 0;
    virtual AMF_RESULT ReservedGetPropertyInfo15() const = 0;
    virtual AMF_RESULT ValidateProperty(const wchar_t* name, AMFVariantStruct value,
                                        AMFVariantStruct* pOutValidated) const = 0;
};
