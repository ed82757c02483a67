#include "support/muxed_file.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
// The bytes of one box after its head. All of them must be read.
class CBox
{
public:
    CBox(const Bytes& vBytes, std::size_t uiBegin, std::size_t uiEnd)
        : m_vBytes(vBytes), m_uiNext(uiBegin), m_uiEnd(uiEnd)
    {}

    Bytes Take(std::size_t uiSize)
    {
        if (uiSize > m_uiEnd - m_uiNext)
        {
            ADD_FAILURE() << "the box ends before its fields do";
            return Bytes(uiSize);
        }
        const auto first = m_vBytes.begin() + static_cast<std::ptrdiff_t>(m_uiNext);
        m_uiNext += uiSize;
        return {first, first + static_cast<std::ptrdiff_t>(uiSize)};
    }

    std::uint32_t Take32() { return WordAt(Take(4), 0); }
    std::uint32_t Take16()
    {
        const Bytes v = Take(2);
        return v[0] * 256U + v[1];
    }
    std::size_t Left() const { return m_uiEnd - m_uiNext; }

    void Expect32(std::uint32_t uiValue, const char* pszField) { EXPECT_EQ(Take32(), uiValue) << pszField; }
    void Expect16(std::uint32_t uiValue, const char* pszField) { EXPECT_EQ(Take16(), uiValue) << pszField; }
    void ExpectZeros(std::size_t uiSize, const char* pszField) { EXPECT_EQ(Take(uiSize), Bytes(uiSize)) << pszField; }
    void ExpectText(const std::string& strText)
    {
        EXPECT_EQ(Take(strText.size()), Bytes(strText.begin(), strText.end()));
    }
    void ExpectEnd(const char* pszBox) { EXPECT_EQ(Left(), 0U) << "bytes left in " << pszBox; }

    void ExpectMatrix()
    {
        for (const std::uint32_t ui : {0x00010000U, 0U, 0U, 0U, 0x00010000U, 0U, 0U, 0U, 0x40000000U})
        {
            Expect32(ui, "matrix");
        }
    }

    // The next box in this one, which must be of that type. puiSize gets its size field.
    CBox Enter(const std::string& strType, std::uint32_t* puiSize = nullptr)
    {
        const std::size_t uiBegin = m_uiNext;
        const std::uint32_t uiSize = Take32();
        if (puiSize != nullptr) *puiSize = uiSize;
        ExpectText(strType);
        if (uiSize < 8 || uiSize - 8 > Left())
        {
            ADD_FAILURE() << strType << " of " << uiSize << " bytes doesn't fit";
            return {m_vBytes, m_uiEnd, m_uiEnd};
        }
        m_uiNext = uiBegin + uiSize;
        return {m_vBytes, uiBegin + 8, m_uiNext};
    }

private:
    const Bytes& m_vBytes;
    std::size_t m_uiNext;
    std::size_t m_uiEnd;
};

void ReadMvhd(CBox box, SMuxedMoov& moov)
{
    EXPECT_EQ(box.Left(), 100U);
    box.Expect32(0, "version and flags");
    box.Expect32(0, "creation time");
    box.Expect32(0, "modification time");
    box.Expect32(10000, "timescale");
    moov.m_uiMovieDuration = box.Take32();
    box.Expect32(0x00010000, "rate");
    box.Expect16(0x0100, "volume");
    box.ExpectZeros(10, "reserved");
    box.ExpectMatrix();
    box.ExpectZeros(24, "pre-defined");
    box.Expect32(2, "next track id");
    box.ExpectEnd("mvhd");
}

void ReadTkhd(CBox box, SMuxedMoov& moov)
{
    EXPECT_EQ(box.Left(), 84U);
    box.Expect32(3, "version and flags");
    box.Expect32(0, "creation time");
    box.Expect32(0, "modification time");
    box.Expect32(1, "track id");
    box.Expect32(0, "reserved");
    moov.m_uiTrackDuration = box.Take32();
    box.ExpectZeros(16, "reserved, layer, alternate group, volume, reserved");
    box.ExpectMatrix();
    moov.m_uiTrackWidth = box.Take32();
    moov.m_uiTrackHeight = box.Take32();
    box.ExpectEnd("tkhd");
}

void ReadEdts(CBox edts, SMuxedMoov& moov)
{
    CBox box = edts.Enter("elst");
    EXPECT_EQ(box.Left(), 20U);
    box.Expect32(0, "version and flags");
    box.Expect32(1, "entry count");
    moov.m_uiEditDuration = box.Take32();
    box.Expect32(0, "media time");
    box.Expect16(1, "media rate, integer");
    box.Expect16(0, "media rate, fraction");
    box.ExpectEnd("elst");
    edts.ExpectEnd("edts");
}

void ReadMdhd(CBox box, SMuxedMoov& moov)
{
    EXPECT_EQ(box.Left(), 24U);
    box.Expect32(0, "version and flags");
    box.Expect32(0, "creation time");
    box.Expect32(0, "modification time");
    box.Expect32(10000, "timescale");
    moov.m_uiMediaDuration = box.Take32();
    box.Expect16(0x55C4, "language");
    box.Expect16(0, "pre-defined");
    box.ExpectEnd("mdhd");
}

void ReadHdlr(CBox box)
{
    EXPECT_EQ(box.Left(), 37U);
    box.Expect32(0, "version and flags");
    box.Expect32(0, "pre-defined");
    box.ExpectText("vide");
    box.ExpectZeros(12, "reserved");
    box.ExpectText(std::string("VideoHandler", 13));
    box.ExpectEnd("hdlr");
}

void ReadVmhdAndDinf(CBox& minf)
{
    CBox vmhd = minf.Enter("vmhd");
    vmhd.Expect32(1, "version and flags");
    vmhd.ExpectZeros(8, "graphics mode and colour");
    vmhd.ExpectEnd("vmhd");
    CBox dinf = minf.Enter("dinf");
    CBox dref = dinf.Enter("dref");
    dref.Expect32(0, "version and flags");
    dref.Expect32(1, "entry count");
    CBox url = dref.Enter("url ");
    url.Expect32(1, "version and flags");
    url.ExpectEnd("url ");
    dref.ExpectEnd("dref");
    dinf.ExpectEnd("dinf");
}

void ReadAvcC(CBox box, SMuxedMoov& moov)
{
    EXPECT_EQ(box.Take(1)[0], 1) << "configuration version";
    moov.m_vProfile = box.Take(3);
    EXPECT_EQ(box.Take(1)[0], 0xFF) << "length size";
    EXPECT_EQ(box.Take(1)[0], 0xE1) << "number of SPS";
    moov.m_vSps = box.Take(box.Take16());
    EXPECT_EQ(box.Take(1)[0], 1) << "number of PPS";
    moov.m_uiPpsLength = box.Take16();
    moov.m_vPps = box.Take(box.Left());
}

void ReadStsd(CBox stsd, SMuxedMoov& moov)
{
    stsd.Expect32(0, "version and flags");
    stsd.Expect32(1, "entry count");
    CBox box = stsd.Enter("avc1");
    box.ExpectZeros(6, "reserved");
    box.Expect16(1, "data reference index");
    box.ExpectZeros(16, "pre-defined and reserved");
    moov.m_uiWidth = box.Take16();
    moov.m_uiHeight = box.Take16();
    box.Expect32(0x00480000, "horizontal resolution");
    box.Expect32(0x00480000, "vertical resolution");
    box.Expect32(0, "reserved");
    box.Expect16(1, "frame count");
    box.ExpectZeros(32, "compressor name");
    box.Expect16(0x0018, "depth");
    box.Expect16(0xFFFF, "pre-defined");
    ReadAvcC(box.Enter("avcC", &moov.m_uiAvcCSize), moov);
    CBox pasp = box.Enter("pasp");
    pasp.Expect32(1, "horizontal spacing");
    pasp.Expect32(1, "vertical spacing");
    pasp.ExpectEnd("pasp");
    box.ExpectEnd("avc1");
    stsd.ExpectEnd("stsd");
}

void ReadSampleTables(CBox& stbl, SMuxedMoov& moov)
{
    CBox stts = stbl.Enter("stts");
    stts.Expect32(0, "version and flags");
    for (std::uint32_t uiCount = stts.Take32(); uiCount != 0; --uiCount)
    {
        stts.Expect32(1, "sample count of an entry");
        moov.m_vDeltas.push_back(stts.Take32());
    }
    stts.ExpectEnd("stts");

    CBox stss = stbl.Enter("stss");
    stss.Expect32(0, "version and flags");
    for (std::uint32_t uiCount = stss.Take32(); uiCount != 0; --uiCount)
    {
        moov.m_vKeySamples.push_back(stss.Take32());
    }
    stss.ExpectEnd("stss");

    CBox stsc = stbl.Enter("stsc");
    stsc.Expect32(0, "version and flags");
    stsc.Expect32(1, "entry count");
    stsc.Expect32(1, "first chunk");
    moov.m_uiSamplesInChunk = stsc.Take32();
    stsc.Expect32(1, "sample description");
    stsc.ExpectEnd("stsc");

    CBox stsz = stbl.Enter("stsz");
    stsz.Expect32(0, "version and flags");
    stsz.Expect32(0, "sample size");
    for (std::uint32_t uiCount = stsz.Take32(); uiCount != 0; --uiCount)
    {
        moov.m_vSizes.push_back(stsz.Take32());
    }
    stsz.ExpectEnd("stsz");

    CBox stco = stbl.Enter("stco");
    stco.Expect32(0, "version and flags");
    stco.Expect32(1, "entry count");
    stco.Expect32(48, "chunk offset");
    stco.ExpectEnd("stco");
}

SMuxedMoov ReadMoovIn(CBox moovBox)
{
    SMuxedMoov moov;
    ReadMvhd(moovBox.Enter("mvhd"), moov);
    CBox trak = moovBox.Enter("trak");
    ReadTkhd(trak.Enter("tkhd"), moov);
    ReadEdts(trak.Enter("edts"), moov);
    CBox mdia = trak.Enter("mdia");
    ReadMdhd(mdia.Enter("mdhd"), moov);
    ReadHdlr(mdia.Enter("hdlr"));
    CBox minf = mdia.Enter("minf");
    ReadVmhdAndDinf(minf);
    CBox stbl = minf.Enter("stbl");
    ReadStsd(stbl.Enter("stsd"), moov);
    ReadSampleTables(stbl, moov);
    stbl.ExpectEnd("stbl");
    minf.ExpectEnd("minf");
    mdia.ExpectEnd("mdia");
    trak.ExpectEnd("trak");
    moovBox.ExpectEnd("moov");
    return moov;
}
}  // namespace

SMuxedMoov ReadMoov(const Bytes& vMoov)
{
    CBox all(vMoov, 0, vMoov.size());
    SMuxedMoov moov = ReadMoovIn(all.Enter("moov"));
    all.ExpectEnd("the bytes");
    return moov;
}

SMuxedFile ReadMuxedFile(const Bytes& vFile)
{
    SMuxedFile file;
    CBox all(vFile, 0, vFile.size());
    CBox ftyp = all.Enter("ftyp");
    ftyp.ExpectText("isom");
    ftyp.Expect32(512, "minor version");
    ftyp.ExpectText("isomiso2avc1mp41");
    ftyp.ExpectEnd("ftyp");
    all.Enter("free").ExpectEnd("free");
    CBox mdat = all.Enter("mdat", &file.m_uiMdatSize);
    file.m_vMdat = mdat.Take(mdat.Left());
    file.m_moov = ReadMoovIn(all.Enter("moov"));
    all.ExpectEnd("the file");
    return file;
}
