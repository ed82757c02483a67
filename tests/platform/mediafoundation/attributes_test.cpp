// Values under GUIDs.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <type_traits>

#include "mfapi.h"
#include "mferror.h"
#include "objbase.h"
#include "platform/com/com_ptr.h"

namespace
{

using platform::ComPtr;

constexpr GUID KEY = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr GUID OTHER_KEY = {2, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

ComPtr<IMFAttributes> NewAttributes()
{
    ComPtr<IMFAttributes> attributes;
    EXPECT_EQ(MFCreateAttributes(attributes.Put(), 0), S_OK);
    return attributes;
}

// A value of one type: its setter and its getter.
template <typename Value>
struct Plain
{
    const char* m_name;
    HRESULT (IMFAttributes::*m_set)(REFGUID, Value);
    HRESULT (IMFAttributes::*m_get)(REFGUID, std::remove_cvref_t<Value>*);
    std::remove_cvref_t<Value> m_value;
    MF_ATTRIBUTE_TYPE m_type;
};

const auto PLAIN_VALUES = std::make_tuple(
    Plain<UINT32>{"UINT32", &IMFAttributes::SetUINT32, &IMFAttributes::GetUINT32, 0xfedcba98U, MF_ATTRIBUTE_UINT32},
    Plain<UINT64>{"UINT64", &IMFAttributes::SetUINT64, &IMFAttributes::GetUINT64, 0x1900000001U, MF_ATTRIBUTE_UINT64},
    Plain<double>{"double", &IMFAttributes::SetDouble, &IMFAttributes::GetDouble, 2.5, MF_ATTRIBUTE_DOUBLE},
    Plain<REFGUID>{"GUID", &IMFAttributes::SetGUID, &IMFAttributes::GetGUID, MFVideoFormat_YUY2, MF_ATTRIBUTE_GUID});

template <typename Test>
void ForEachPlainValue(Test test)
{
    std::apply([&](const auto&... values) { (test(values), ...); }, PLAIN_VALUES);
}

TEST(Attributes, KeepValuesOfEveryType)
{
    const auto attributes = NewAttributes();
    ForEachPlainValue([&](const auto& row) {
        SCOPED_TRACE(row.m_name);
        EXPECT_EQ((attributes.Get()->*row.m_set)(KEY, row.m_value), S_OK);
        auto value = decltype(row.m_value){};
        EXPECT_EQ((attributes.Get()->*row.m_get)(KEY, &value), S_OK);
        EXPECT_TRUE(value == row.m_value);
        MF_ATTRIBUTE_TYPE type{};
        EXPECT_EQ(attributes->GetItemType(KEY, &type), S_OK);
        EXPECT_EQ(type, row.m_type);
        UINT32 unCount = 0;  // one key, one value
        EXPECT_EQ(attributes->GetCount(&unCount), S_OK);
        EXPECT_EQ(unCount, 1U);
    });
}

TEST(Attributes, KeepTexts)
{
    const auto attributes = NewAttributes();
    ASSERT_EQ(attributes->SetString(KEY, L"text"), S_OK);
    UINT32 unLength = 0;
    EXPECT_EQ(attributes->GetStringLength(KEY, &unLength), S_OK);
    EXPECT_EQ(unLength, 4U);
    wchar_t awBuffer[5] = {};
    EXPECT_EQ(attributes->GetString(KEY, awBuffer, 4, nullptr), HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(attributes->GetString(KEY, awBuffer, 5, &unLength), S_OK);
    EXPECT_EQ(std::wstring(awBuffer), L"text");
    wchar_t* pwszText = nullptr;
    EXPECT_EQ(attributes->GetAllocatedString(KEY, &pwszText, &unLength), S_OK);
    EXPECT_EQ(std::wstring(pwszText), L"text");
    CoTaskMemFree(pwszText);
}

TEST(Attributes, KeepBlobs)
{
    const auto attributes = NewAttributes();
    const UINT8 aBytes[3] = {7, 8, 9};
    ASSERT_EQ(attributes->SetBlob(KEY, aBytes, 3), S_OK);
    UINT32 unSize = 0;
    EXPECT_EQ(attributes->GetBlobSize(KEY, &unSize), S_OK);
    EXPECT_EQ(unSize, 3U);
    UINT8 aRead[3] = {};
    EXPECT_EQ(attributes->GetBlob(KEY, aRead, 2, nullptr), HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(attributes->GetBlob(KEY, aRead, 3, &unSize), S_OK);
    EXPECT_EQ(aRead[2], 9);
    UINT8* pCopy = nullptr;
    EXPECT_EQ(attributes->GetAllocatedBlob(KEY, &pCopy, &unSize), S_OK);
    EXPECT_EQ(pCopy[0], 7);
    CoTaskMemFree(pCopy);
}

TEST(Attributes, KeepObjectsAlive)
{
    const auto attributes = NewAttributes();
    {
        const auto object = NewAttributes();
        ASSERT_EQ(object->SetUINT32(KEY, 5), S_OK);
        ASSERT_EQ(attributes->SetUnknown(KEY, object.Get()), S_OK);
    }
    ComPtr<IMFAttributes> object;
    ASSERT_EQ(attributes->GetUnknown(KEY, IID_IMFAttributes, object.PutVoid()), S_OK);
    UINT32 unValue = 0;
    EXPECT_EQ(object->GetUINT32(KEY, &unValue), S_OK);
    EXPECT_EQ(unValue, 5U);
    ComPtr<IUnknown> wrong;
    EXPECT_EQ(attributes->GetUnknown(KEY, IID_IMFMediaType, wrong.PutVoid()), E_NOINTERFACE);
}

TEST(Attributes, AMissingValueAndOneOfAnotherTypeHaveDifferentStatuses)
{
    ForEachPlainValue([](const auto& row) {
        SCOPED_TRACE(row.m_name);
        const auto attributes = NewAttributes();
        auto value = row.m_value;
        EXPECT_EQ((attributes.Get()->*row.m_get)(KEY, &value), MF_E_ATTRIBUTENOTFOUND);
        ASSERT_EQ(attributes->SetString(KEY, L"text"), S_OK);
        EXPECT_EQ((attributes.Get()->*row.m_get)(KEY, &value), MF_E_INVALIDTYPE);
        EXPECT_TRUE(value == row.m_value);
        EXPECT_EQ((attributes.Get()->*row.m_get)(KEY, nullptr), E_POINTER);
    });
    // Numbers of different widths are of different types.
    const auto attributes = NewAttributes();
    UINT32 unValue = 3;
    ASSERT_EQ(attributes->SetUINT64(KEY, 1), S_OK);
    EXPECT_EQ(attributes->GetUINT32(KEY, &unValue), MF_E_INVALIDTYPE);
    EXPECT_EQ(unValue, 3U);
}

TEST(Attributes, GiveAndTakeItems)
{
    const auto attributes = NewAttributes();
    ASSERT_EQ(attributes->SetString(KEY, L"text"), S_OK);
    PROPVARIANT item;
    ASSERT_EQ(attributes->GetItem(KEY, &item), S_OK);
    EXPECT_EQ(item.vt, VT_LPWSTR);
    EXPECT_EQ(attributes->SetItem(OTHER_KEY, item), S_OK);
    BOOL bEqual = FALSE;
    EXPECT_EQ(attributes->CompareItem(OTHER_KEY, item, &bEqual), S_OK);
    EXPECT_EQ(bEqual, TRUE);
    PropVariantClear(&item);
    EXPECT_EQ(attributes->GetItem(KEY, nullptr), S_OK);
    EXPECT_EQ(attributes->GetItem(GUID_NULL, nullptr), MF_E_ATTRIBUTENOTFOUND);

    PropVariantInit(&item);
    item.vt = VT_I2;
    EXPECT_EQ(attributes->SetItem(KEY, item), MF_E_INVALIDTYPE);
}

TEST(Attributes, AreListedInTheOrderOfTheirSetting)
{
    const auto attributes = NewAttributes();
    ASSERT_EQ(attributes->SetUINT32(OTHER_KEY, 1), S_OK);
    ASSERT_EQ(attributes->SetUINT32(KEY, 2), S_OK);
    GUID key = GUID_NULL;
    PROPVARIANT item;
    ASSERT_EQ(attributes->GetItemByIndex(1, &key, &item), S_OK);
    EXPECT_TRUE(key == KEY);
    EXPECT_EQ(item.ulVal, 2U);
    EXPECT_EQ(attributes->GetItemByIndex(2, &key, &item), E_INVALIDARG);
    EXPECT_EQ(attributes->DeleteItem(OTHER_KEY), S_OK);
    ASSERT_EQ(attributes->GetItemByIndex(0, &key, nullptr), S_OK);
    EXPECT_TRUE(key == KEY);
    EXPECT_EQ(attributes->DeleteAllItems(), S_OK);
    UINT32 unCount = 1;
    EXPECT_EQ(attributes->GetCount(&unCount), S_OK);
    EXPECT_EQ(unCount, 0U);
}

TEST(Attributes, CopyAndCompare)
{
    const auto ours = NewAttributes();
    const auto theirs = NewAttributes();
    ASSERT_EQ(ours->SetUINT32(KEY, 1), S_OK);
    ASSERT_EQ(theirs->SetUINT32(OTHER_KEY, 7), S_OK);
    ASSERT_EQ(ours->CopyAllItems(theirs.Get()), S_OK);
    UINT32 unValue = 0;
    EXPECT_EQ(theirs->GetUINT32(OTHER_KEY, &unValue), MF_E_ATTRIBUTENOTFOUND);

    // Ours has 1 under KEY; theirs gets one value after the other.
    struct Row
    {
        const GUID* m_key;  // null: nothing more
        UINT32 m_value;
        BOOL m_all;
        BOOL m_ours;
        BOOL m_theirs;
        BOOL m_intersection;
        BOOL m_smaller;
    };
    for (const Row& row :
         {Row{nullptr, 0, TRUE, TRUE, TRUE, TRUE, TRUE}, Row{&OTHER_KEY, 7, FALSE, TRUE, FALSE, TRUE, TRUE},
          Row{&KEY, 2, FALSE, FALSE, FALSE, FALSE, FALSE}})
    {
        SCOPED_TRACE(row.m_value);
        if (row.m_key != nullptr)
        {
            ASSERT_EQ(theirs->SetUINT32(*row.m_key, row.m_value), S_OK);
        }
        const std::pair<MF_ATTRIBUTES_MATCH_TYPE, BOOL> aResults[] = {
            {MF_ATTRIBUTES_MATCH_ALL_ITEMS, row.m_all},
            {MF_ATTRIBUTES_MATCH_OUR_ITEMS, row.m_ours},
            {MF_ATTRIBUTES_MATCH_THEIR_ITEMS, row.m_theirs},
            {MF_ATTRIBUTES_MATCH_INTERSECTION, row.m_intersection},
            {MF_ATTRIBUTES_MATCH_SMALLER, row.m_smaller}};
        for (const auto& [match, bExpected] : aResults)
        {
            BOOL bResult = !bExpected;
            EXPECT_EQ(ours->Compare(theirs.Get(), match, &bResult), S_OK);
            EXPECT_EQ(bResult, bExpected) << match;
        }
    }
}

}  // namespace
