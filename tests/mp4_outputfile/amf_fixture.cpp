#include "amf_fixture.h"

#include <algorithm>

namespace
{
const Bytes g_vKeyDelimiter = {0x09, 0x10};
const Bytes g_vOtherDelimiter = {0x09, 0x30};
const Bytes g_vSps = {0x67, 0x4D, 0x40, 0x1F, 0xEC, 0xA0, 0x28, 0x02, 0xDD, 0x80};
const Bytes g_vPps = {0x68, 0xEE, 0x3C, 0x80};

std::vector<Bytes> NalsOf(int nPicture)
{
    if (nPicture == 0) return {g_vKeyDelimiter, g_vSps, g_vPps, Nal(0x65, 100)};
    return {g_vOtherDelimiter, Nal(0x41, 20 + static_cast<std::size_t>(nPicture))};
}
}  // namespace

void AmfOutputTest::SetUp()
{
    m_amf.m_funcPacket = PacketOf;
    m_runtime.m_funcCreateContext = [this](AMFContext** ppContext) { return m_amf.CreateContext(ppContext); };
    m_runtime.m_funcCreateComponent = [this](AMFContext* pContext, const wchar_t* pwszId, AMFComponent** ppComponent) {
        return m_amf.CreateComponent(pContext, pwszId, ppComponent);
    };
    RenewFormat(L"AMF1");
}

void AmfOutputTest::TearDown()
{
    EXPECT_EQ(m_amf.m_nLiving, 0);
    EXPECT_EQ(m_d3d.m_device.m_uiReferences, 0U);
    for (const auto& pSurface : m_d3d.m_vSurfaces)
        EXPECT_EQ(pSurface->m_uiReferences, 0U);
    OutputObjectTest::TearDown();
}

bool AmfOutputTest::IsUnfinished(const Bytes& vFile)
{
    return vFile.size() >= 48 && WordAt(vFile, 40) == 0x1ABECEDA;
}

std::vector<std::string> AmfOutputTest::CallsFrom(const std::string& strFirst, std::size_t uiCount) const
{
    const std::vector<std::string> vCalls = m_amf.GetCalls();
    const auto itFirst = std::find_if(vCalls.begin(), vCalls.end(), [&](const std::string& strCall) {
        return strCall.substr(0, strCall.find('(')) == strFirst;
    });
    const auto uiLeft = static_cast<std::size_t>(vCalls.end() - itFirst);
    return {itFirst, itFirst + static_cast<std::ptrdiff_t>(std::min(uiCount, uiLeft))};
}

Bytes AmfOutputTest::PacketOf(int nPicture)
{
    Bytes vPacket;
    for (const Bytes& vNal : NalsOf(nPicture))
        vPacket = Join({vPacket, g_vStart4, vNal});
    return vPacket;
}

Bytes AmfOutputTest::SampleOf(int nPicture)
{
    Bytes vSample;
    for (const Bytes& vNal : NalsOf(nPicture))
        vSample = Join({vSample, Prefixed(vNal)});
    return vSample;
}

Bytes AmfOutputTest::Samples(int nCount)
{
    Bytes vAll;
    for (int n = 0; n < nCount; ++n)
        vAll = Join({vAll, SampleOf(n)});
    return vAll;
}
