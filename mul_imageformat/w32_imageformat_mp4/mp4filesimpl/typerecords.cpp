#include "mp4filesimpl/typerecords.h"

#include <utility>

// Defined here, and not in the class, so that this object file has each operation as a function to export.
SQmRTTIClass::SQmRTTIClass() = default;
SQmRTTIClass::SQmRTTIClass(const SQmRTTIClass& other) = default;
SQmRTTIClass::SQmRTTIClass(SQmRTTIClass&& other) : SQmRTTIClass(std::as_const(other)) {}
SQmRTTIClass::~SQmRTTIClass() = default;
SQmRTTIClass& SQmRTTIClass::operator=(const SQmRTTIClass& other) = default;

SQmRTTIClass& SQmRTTIClass::operator=(SQmRTTIClass&& other)
{
    return *this = std::as_const(other);
}

SQmRTTICacheEntry::SQmRTTICacheEntry() = default;
SQmRTTICacheEntry::SQmRTTICacheEntry(const SQmRTTICacheEntry& other) = default;
SQmRTTICacheEntry::SQmRTTICacheEntry(SQmRTTICacheEntry&& other) : SQmRTTICacheEntry(std::as_const(other)) {}
SQmRTTICacheEntry::~SQmRTTICacheEntry() = default;
SQmRTTICacheEntry& SQmRTTICacheEntry::operator=(const SQmRTTICacheEntry& other) = default;

SQmRTTICacheEntry& SQmRTTICacheEntry::operator=(SQmRTTICacheEntry&& other)
{
    return *this = std::as_const(other);
}
