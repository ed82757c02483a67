// The exported operations of the type records, reached by the names under which a host built with this compiler finds
// them.
#include "mp4filesimpl/typerecords.h"

#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "module_file.h"

namespace
{

static_assert(sizeof(CQmStringW) == 8);
static_assert(offsetof(SQmRTTIClass, m_class) == 0);
static_assert(offsetof(SQmRTTIClass, m_parent1) == 8);
static_assert(offsetof(SQmRTTIClass, m_parent9) == 72);
static_assert(sizeof(SQmRTTIClass) == 80);
static_assert(offsetof(SQmRTTICacheEntry, m_strKey) == 0);
static_assert(offsetof(SQmRTTICacheEntry, m_uiValue) == 8);
static_assert(offsetof(SQmRTTICacheEntry, m_Class) == 16);
static_assert(offsetof(SQmRTTICacheEntry, m_strText1) == 96);
static_assert(offsetof(SQmRTTICacheEntry, m_strText2) == 104);
static_assert(offsetof(SQmRTTICacheEntry, m_Data) == 112);

// The operations of one type in the module file.
template <typename TRecord>
class Operations
{
public:
    explicit Operations(const std::string& strMangled)
    {
        Find(m_pfnConstruct, "_ZN" + strMangled + "C1Ev");
        Find(m_pfnCopyConstruct, "_ZN" + strMangled + "C1ERKS_");
        Find(m_pfnMoveConstruct, "_ZN" + strMangled + "C1EOS_");
        Find(m_pfnDestroy, "_ZN" + strMangled + "D1Ev");
        Find(m_pfnCopyAssign, "_ZN" + strMangled + "aSERKS_");
        Find(m_pfnMoveAssign, "_ZN" + strMangled + "aSEOS_");
    }

    bool HasAll() const { return m_uiFound == 6; }

    void (*m_pfnConstruct)(void*) = nullptr;
    void (*m_pfnCopyConstruct)(void*, const TRecord*) = nullptr;
    void (*m_pfnMoveConstruct)(void*, TRecord*) = nullptr;
    void (*m_pfnDestroy)(void*) = nullptr;
    TRecord* (*m_pfnCopyAssign)(TRecord*, const TRecord*) = nullptr;
    TRecord* (*m_pfnMoveAssign)(TRecord*, TRecord*) = nullptr;

private:
    template <typename TFunction>
    void Find(TFunction& pfn, const std::string& strName)
    {
        static const CModuleFile module;
        pfn = reinterpret_cast<TFunction>(reinterpret_cast<void*>(GetProcAddress(module.Handle(), strName.c_str())));
        if (pfn != nullptr) ++m_uiFound;
    }

    unsigned m_uiFound = 0;
};

const Operations<SQmRTTIClass>& OperationsOf(const SQmRTTIClass*)
{
    static const Operations<SQmRTTIClass> operations("12SQmRTTIClass");
    return operations;
}
const Operations<SQmRTTICacheEntry>& OperationsOf(const SQmRTTICacheEntry*)
{
    static const Operations<SQmRTTICacheEntry> operations("17SQmRTTICacheEntry");
    return operations;
}

// A record that the module constructs and destroys.
template <typename TRecord>
class Made
{
public:
    Made() { Api().m_pfnConstruct(Place()); }
    struct SCopy
    {
    };
    struct SMove
    {
    };
    Made(SCopy, const TRecord& other) { Api().m_pfnCopyConstruct(Place(), &other); }
    Made(SMove, TRecord& other) { Api().m_pfnMoveConstruct(Place(), &other); }
    ~Made() { Api().m_pfnDestroy(m_aBytes); }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;

    static const Operations<TRecord>& Api() { return OperationsOf(static_cast<const TRecord*>(nullptr)); }
    TRecord& operator*() { return *reinterpret_cast<TRecord*>(m_aBytes); }
    TRecord* operator->() { return &**this; }

private:
    // What stood in the memory before is nothing that a record could hold.
    void* Place() { return std::memset(m_aBytes, 0xCD, sizeof m_aBytes); }

    alignas(TRecord) unsigned char m_aBytes[sizeof(TRecord)];
};

void Fill(SQmRTTIClass& record, const std::wstring& strMark)
{
    CQmStringW* const pStrings = &record.m_class;
    for (int i = 0; i < 10; ++i)
        pStrings[i] = (strMark + std::to_wstring(i)).c_str();
}
void ExpectFilled(const SQmRTTIClass& record, const std::wstring& strMark)
{
    const CQmStringW* const pStrings = &record.m_class;
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(pStrings[i].GetString(), strMark.empty() ? strMark : strMark + std::to_wstring(i)) << i;
}

void Fill(SQmRTTICacheEntry& record, const std::wstring& strMark)
{
    record.m_strKey = (strMark + L"key").c_str();
    record.m_uiValue = 0x8000000000000000U + strMark.size();
    Fill(record.m_Class, strMark + L"class");
    record.m_strText1 = (strMark + L"text 1").c_str();
    record.m_strText2 = (strMark + L"text 2").c_str();
    record.m_Data = CQmVariant(CQmStringW((strMark + L"data").c_str()));
}
void ExpectFilled(const SQmRTTICacheEntry& record, const std::wstring& strMark)
{
    EXPECT_EQ(record.m_strKey.GetString(), strMark + L"key");
    EXPECT_EQ(record.m_uiValue, 0x8000000000000000U + strMark.size());
    ExpectFilled(record.m_Class, strMark + L"class");
    EXPECT_EQ(record.m_strText1.GetString(), strMark + L"text 1");
    EXPECT_EQ(record.m_strText2.GetString(), strMark + L"text 2");
    EXPECT_EQ(record.m_Data.GetString().GetString(), strMark + L"data");
}

template <typename TRecord>
class TypeRecord : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(Made<TRecord>::Api().HasAll()); }
};
using Records = testing::Types<SQmRTTIClass, SQmRTTICacheEntry>;
TYPED_TEST_SUITE(TypeRecord, Records);

TYPED_TEST(TypeRecord, CopyConstructionCopiesEveryField)
{
    Made<TypeParam> source;
    Fill(*source, L"a ");
    Made<TypeParam> copy(typename Made<TypeParam>::SCopy(), *source);
    ExpectFilled(*copy, L"a ");
    Fill(*copy, L"other ");
    ExpectFilled(*source, L"a ");
}

TYPED_TEST(TypeRecord, MoveConstructionCopiesAndLeavesTheSource)
{
    Made<TypeParam> source;
    Fill(*source, L"a ");
    Made<TypeParam> moved(typename Made<TypeParam>::SMove(), *source);
    ExpectFilled(*moved, L"a ");
    ExpectFilled(*source, L"a ");
    Fill(*moved, L"other ");
    ExpectFilled(*source, L"a ");
}

TYPED_TEST(TypeRecord, CopyAssignmentCopiesEveryFieldAndReturnsTheTarget)
{
    Made<TypeParam> source;
    Made<TypeParam> target;
    Fill(*source, L"a ");
    Fill(*target, L"longer ");
    EXPECT_EQ(Made<TypeParam>::Api().m_pfnCopyAssign(&*target, &*source), &*target);
    ExpectFilled(*target, L"a ");
    ExpectFilled(*source, L"a ");
}

TYPED_TEST(TypeRecord, MoveAssignmentCopiesAndLeavesTheSource)
{
    Made<TypeParam> source;
    Made<TypeParam> target;
    Fill(*source, L"a ");
    Fill(*target, L"longer ");
    EXPECT_EQ(Made<TypeParam>::Api().m_pfnMoveAssign(&*target, &*source), &*target);
    ExpectFilled(*target, L"a ");
    ExpectFilled(*source, L"a ");
}

TYPED_TEST(TypeRecord, AssignmentToItselfChangesNothing)
{
    Made<TypeParam> record;
    Fill(*record, L"a ");
    Made<TypeParam>::Api().m_pfnCopyAssign(&*record, &*record);
    Made<TypeParam>::Api().m_pfnMoveAssign(&*record, &*record);
    ExpectFilled(*record, L"a ");
}

TEST(TypeRecords, ANewClassHasTenEmptyStrings)
{
    Made<SQmRTTIClass> record;
    ExpectFilled(*record, L"");
}

TEST(TypeRecords, ANewEntryHasEmptyFields)
{
    Made<SQmRTTICacheEntry> record;
    EXPECT_STREQ(record->m_strKey.GetString(), L"");
    ExpectFilled(record->m_Class, L"");
    EXPECT_STREQ(record->m_strText1.GetString(), L"");
    EXPECT_STREQ(record->m_strText2.GetString(), L"");
    EXPECT_EQ(record->m_Data.GetType(), CQmVariant::EType::Empty);
}

}  // namespace
