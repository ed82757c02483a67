// Samples and the buffers in them.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "mfapi.h"
#include "mferror.h"
#include "platform/com/com_ptr.h"
#include "support/short_memory.h"

namespace
{

using platform::ComPtr;

ComPtr<IMFMediaBuffer> NewBuffer(DWORD cbMaxLength)
{
    ComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(MFCreateMemoryBuffer(cbMaxLength, buffer.Put()), S_OK);
    return buffer;
}

ComPtr<IMFMediaBuffer> NewBuffer(const std::string& bytes)
{
    const auto cbBytes = static_cast<DWORD>(bytes.size());
    ComPtr<IMFMediaBuffer> buffer = NewBuffer(cbBytes);
    BYTE* pbMemory = nullptr;
    EXPECT_EQ(buffer->Lock(&pbMemory, nullptr, nullptr), S_OK);
    std::memcpy(pbMemory, bytes.data(), bytes.size());
    EXPECT_EQ(buffer->Unlock(), S_OK);
    EXPECT_EQ(buffer->SetCurrentLength(cbBytes), S_OK);
    return buffer;
}

std::string BytesOf(IMFMediaBuffer* pBuffer)
{
    BYTE* pbMemory = nullptr;
    DWORD cbLength = 0;
    EXPECT_EQ(pBuffer->Lock(&pbMemory, nullptr, &cbLength), S_OK);
    std::string bytes(reinterpret_cast<const char*>(pbMemory), cbLength);
    EXPECT_EQ(pBuffer->Unlock(), S_OK);
    return bytes;
}

ComPtr<IMFSample> NewSample()
{
    ComPtr<IMFSample> sample;
    EXPECT_EQ(MFCreateSample(sample.Put()), S_OK);
    return sample;
}

TEST(MemoryBuffer, HoldsItsBytesAndHasNoneInUseAtFirst)
{
    const auto buffer = NewBuffer(7);
    DWORD cbMax = 0;
    DWORD cbCurrent = 1;
    BYTE* pbMemory = nullptr;
    EXPECT_EQ(buffer->Lock(&pbMemory, &cbMax, &cbCurrent), S_OK);
    EXPECT_EQ(cbMax, 7U);
    EXPECT_EQ(cbCurrent, 0U);
    std::memset(pbMemory, 0x5a, 7);
    EXPECT_EQ(buffer->Unlock(), S_OK);
    cbMax = 0;
    EXPECT_EQ(buffer->GetMaxLength(&cbMax), S_OK);
    EXPECT_EQ(cbMax, 7U);
    EXPECT_EQ(buffer->SetCurrentLength(7), S_OK);
    EXPECT_EQ(buffer->GetCurrentLength(&cbCurrent), S_OK);
    EXPECT_EQ(cbCurrent, 7U);
    EXPECT_EQ(BytesOf(buffer.Get()), std::string(7, 'Z'));
}

TEST(MemoryBuffer, RefusesMoreThanItHolds)
{
    const auto buffer = NewBuffer("abc");
    EXPECT_EQ(buffer->SetCurrentLength(4), E_INVALIDARG);
    EXPECT_EQ(BytesOf(buffer.Get()), "abc");
}

TEST(MemoryBuffer, CanBeEmpty)
{
    const auto buffer = NewBuffer(0);
    EXPECT_EQ(BytesOf(buffer.Get()), "");
}

TEST(MemoryBuffer, RefusesNullPointers)
{
    const auto buffer = NewBuffer(1);
    EXPECT_EQ(MFCreateMemoryBuffer(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(buffer->Lock(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(buffer->GetCurrentLength(nullptr), E_INVALIDARG);
    EXPECT_EQ(buffer->GetMaxLength(nullptr), E_INVALIDARG);
}

TEST(MemoryBuffer, IsNotMadeWithoutMemory)
{
    ComPtr<IMFMediaBuffer> buffer;
    const CShortMemory shortMemory(1 << 20, 1 << 20);
    EXPECT_EQ(MFCreateMemoryBuffer(1 << 20, buffer.Put()), E_OUTOFMEMORY);
    EXPECT_EQ(shortMemory.GetRefused(), 1U);
    EXPECT_FALSE(buffer);
}

TEST(Sample, HasNeitherTimeNorDurationNorBuffersAtFirst)
{
    const auto sample = NewSample();
    LONGLONG hns = 0;
    DWORD dwNumber = 1;
    EXPECT_EQ(sample->GetSampleTime(&hns), MF_E_NO_SAMPLE_TIMESTAMP);
    EXPECT_EQ(sample->GetSampleDuration(&hns), MF_E_NO_SAMPLE_DURATION);
    EXPECT_EQ(sample->GetBufferCount(&dwNumber), S_OK);
    EXPECT_EQ(dwNumber, 0U);
    dwNumber = 1;
    EXPECT_EQ(sample->GetSampleFlags(&dwNumber), S_OK);
    EXPECT_EQ(dwNumber, 0U);
    dwNumber = 1;
    EXPECT_EQ(sample->GetTotalLength(&dwNumber), S_OK);
    EXPECT_EQ(dwNumber, 0U);
    ComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->GetBufferByIndex(0, buffer.Put()), E_INVALIDARG);
    EXPECT_EQ(sample->ConvertToContiguousBuffer(buffer.Put()), E_UNEXPECTED);
}

TEST(Sample, KeepsTimesFlagsAndAttributes)
{
    const auto sample = NewSample();
    LONGLONG hnsTime = 0;
    LONGLONG hnsDuration = 1;
    DWORD dwFlags = 0;
    UINT32 unDiscontinuity = 0;
    EXPECT_EQ(sample->SetSampleTime(-5), S_OK);
    EXPECT_EQ(sample->SetSampleDuration(0), S_OK);
    EXPECT_EQ(sample->SetSampleFlags(3), S_OK);
    EXPECT_EQ(sample->SetUINT32(MFSampleExtension_Discontinuity, 1), S_OK);
    EXPECT_EQ(sample->GetSampleTime(&hnsTime), S_OK);
    EXPECT_EQ(sample->GetSampleDuration(&hnsDuration), S_OK);
    EXPECT_EQ(sample->GetSampleFlags(&dwFlags), S_OK);
    EXPECT_EQ(sample->GetUINT32(MFSampleExtension_Discontinuity, &unDiscontinuity), S_OK);
    EXPECT_EQ(hnsTime, -5);
    EXPECT_EQ(hnsDuration, 0);
    EXPECT_EQ(dwFlags, 3U);
    EXPECT_EQ(unDiscontinuity, 1U);
}

TEST(Sample, KeepsBuffersInTheirOrder)
{
    const auto sample = NewSample();
    const auto first = NewBuffer("ab");
    const auto second = NewBuffer("cde");
    EXPECT_EQ(sample->AddBuffer(first.Get()), S_OK);
    EXPECT_EQ(sample->AddBuffer(second.Get()), S_OK);
    DWORD dwNumber = 0;
    EXPECT_EQ(sample->GetBufferCount(&dwNumber), S_OK);
    EXPECT_EQ(dwNumber, 2U);
    EXPECT_EQ(sample->GetTotalLength(&dwNumber), S_OK);
    EXPECT_EQ(dwNumber, 5U);
    ComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->GetBufferByIndex(1, buffer.Put()), S_OK);
    EXPECT_EQ(buffer.Get(), second.Get());
    EXPECT_EQ(sample->RemoveBufferByIndex(0), S_OK);
    EXPECT_EQ(sample->GetBufferByIndex(0, buffer.Put()), S_OK);
    EXPECT_EQ(buffer.Get(), second.Get());
    EXPECT_EQ(sample->RemoveBufferByIndex(1), E_INVALIDARG);
    EXPECT_EQ(sample->RemoveAllBuffers(), S_OK);
    EXPECT_EQ(sample->GetBufferByIndex(0, buffer.Put()), E_INVALIDARG);
}

TEST(Sample, OneBufferIsContiguousAlready)
{
    const auto sample = NewSample();
    const auto only = NewBuffer("ab");
    ASSERT_EQ(sample->AddBuffer(only.Get()), S_OK);
    ComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->ConvertToContiguousBuffer(buffer.Put()), S_OK);
    EXPECT_EQ(buffer.Get(), only.Get());
}

TEST(Sample, MoreBuffersBecomeOne)
{
    const auto sample = NewSample();
    for (const char* pszBytes : {"ab", "", "cde"})
    {
        ASSERT_EQ(sample->AddBuffer(NewBuffer(std::string(pszBytes)).Get()), S_OK);
    }
    ComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(sample->ConvertToContiguousBuffer(buffer.Put()), S_OK);
    EXPECT_EQ(BytesOf(buffer.Get()), "abcde");
    DWORD dwCount = 0;
    EXPECT_EQ(sample->GetBufferCount(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 1U);
    EXPECT_EQ(sample->ConvertToContiguousBuffer(nullptr), S_OK);
}

TEST(Sample, CopiesItsBytesIntoABufferThatHoldsThem)
{
    const auto sample = NewSample();
    ASSERT_EQ(sample->AddBuffer(NewBuffer("ab").Get()), S_OK);
    ASSERT_EQ(sample->AddBuffer(NewBuffer("cde").Get()), S_OK);
    const auto large = NewBuffer(6);
    EXPECT_EQ(sample->CopyToBuffer(large.Get()), S_OK);
    EXPECT_EQ(BytesOf(large.Get()), "abcde");
    EXPECT_EQ(sample->CopyToBuffer(NewBuffer(4).Get()), MF_E_BUFFERTOOSMALL);
}

TEST(Sample, RefusesNullPointers)
{
    const auto sample = NewSample();
    EXPECT_EQ(MFCreateSample(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->GetSampleFlags(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->GetSampleTime(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->GetSampleDuration(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->GetBufferCount(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->GetBufferByIndex(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->AddBuffer(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->GetTotalLength(nullptr), E_INVALIDARG);
    EXPECT_EQ(sample->CopyToBuffer(nullptr), E_INVALIDARG);
}

TEST(Sample, StaysAsItIsWithoutMemoryForOneBuffer)
{
    const auto sample = NewSample();
    ASSERT_EQ(sample->AddBuffer(NewBuffer(std::string(5000, 'a')).Get()), S_OK);
    ASSERT_EQ(sample->AddBuffer(NewBuffer(std::string(5000, 'b')).Get()), S_OK);
    {
        const CShortMemory shortMemory(10000, 10000);
        EXPECT_EQ(sample->ConvertToContiguousBuffer(nullptr), E_OUTOFMEMORY);
    }
    DWORD dwCount = 0;
    EXPECT_EQ(sample->GetBufferCount(&dwCount), S_OK);
    EXPECT_EQ(dwCount, 2U);
}

}  // namespace
