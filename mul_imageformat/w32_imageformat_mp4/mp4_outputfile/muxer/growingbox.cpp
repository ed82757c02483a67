#include "mp4_outputfile/muxer/growingbox.h"

#include "common/bigendian.h"

void CGrowingBox::Append(const void* pBytes, std::size_t uiSize)
{
    if (uiSize == 0 || m_bFailed) return;
    m_bFailed = m_baBytes.SetData(pBytes, uiSize, EQmByteArrayModeOp::Append, EQmByteArrayModeAlloc::Default) != QM_OK;
}

void CGrowingBox::Append(const CGrowingBox& contents)
{
    m_bFailed = m_bFailed || contents.m_bFailed;
    Append(contents.Data(), contents.Size());
}

void CGrowingBox::Append8(std::uint8_t uiValue)
{
    Append(&uiValue, 1);
}

void CGrowingBox::Append16(std::uint16_t uiValue)
{
    std::uint8_t abBytes[2];
    StoreBigEndian16(abBytes, uiValue);
    Append(abBytes, sizeof abBytes);
}

void CGrowingBox::Append32(std::uint32_t uiValue)
{
    std::uint8_t abBytes[4];
    StoreBigEndian32(abBytes, uiValue);
    Append(abBytes, sizeof abBytes);
}

void CGrowingBox::AppendZeros(std::size_t uiSize)
{
    static constexpr std::uint8_t s_abZeros[64] = {};
    for (; uiSize > sizeof s_abZeros; uiSize -= sizeof s_abZeros)
    {
        Append(s_abZeros, sizeof s_abZeros);
    }
    Append(s_abZeros, uiSize);
}

void CGrowingBox::AppendHead(std::uint32_t uiSize, const char* pszType)
{
    Append32(uiSize);
    Append(pszType, 4);
}

std::size_t CGrowingBox::Open(const char* pszType)
{
    const std::size_t uiBox = Size();
    AppendHead(0, pszType);
    return uiBox;
}

void CGrowingBox::Close(std::size_t uiBox)
{
    if (m_bFailed) return;
    StoreBigEndian32(m_baBytes.GetData(uiBox), static_cast<std::uint32_t>(Size() - uiBox));
}
