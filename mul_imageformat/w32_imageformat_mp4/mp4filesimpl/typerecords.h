// The records in which the host moves what it knows of a module's classes. The module file exports their operations;
// nothing in the module uses them.
#pragma once

#include <cstdint>

#include "hostapi/hostcore.h"
#include "moduleexport.h"

// A class and its parents by their names. A parent that isn't there is the empty string.
//
// Moving copies: the source stays as it was, whatever the host's strings make of a move. The same holds for
// SQmRTTICacheEntry.
struct QM_MODULE_EXPORT SQmRTTIClass
{
    SQmRTTIClass();
    SQmRTTIClass(const SQmRTTIClass& other);
    SQmRTTIClass(SQmRTTIClass&& other);
    ~SQmRTTIClass();
    SQmRTTIClass& operator=(const SQmRTTIClass& other);
    SQmRTTIClass& operator=(SQmRTTIClass&& other);

    CQmStringW m_class;
    CQmStringW m_parent1;
    CQmStringW m_parent2;
    CQmStringW m_parent3;
    CQmStringW m_parent4;
    CQmStringW m_parent5;
    CQmStringW m_parent6;
    CQmStringW m_parent7;
    CQmStringW m_parent8;
    CQmStringW m_parent9;
};

// One entry of the host's store of classes. What the fields beside m_Class mean is the host's.
struct QM_MODULE_EXPORT SQmRTTICacheEntry
{
    SQmRTTICacheEntry();
    SQmRTTICacheEntry(const SQmRTTICacheEntry& other);
    SQmRTTICacheEntry(SQmRTTICacheEntry&& other);
    ~SQmRTTICacheEntry();
    SQmRTTICacheEntry& operator=(const SQmRTTICacheEntry& other);
    SQmRTTICacheEntry& operator=(SQmRTTICacheEntry&& other);

    CQmStringW m_strKey;
    std::uint64_t m_uiValue = 0;
    SQmRTTIClass m_Class;
    CQmStringW m_strText1;
    CQmStringW m_strText2;
    CQmVariant m_Data;
};
