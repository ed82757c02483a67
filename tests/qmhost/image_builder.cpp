#include "image_builder.h"

#include <array>

namespace
{

std::string Big16(std::uint32_t uiValue)
{
    return {static_cast<char>(uiValue >> 8), static_cast<char>(uiValue)};
}

std::string Big32(std::uint32_t uiValue)
{
    return Big16(uiValue >> 16) + Big16(uiValue & 0xFFFF);
}

std::string Little16(std::uint32_t uiValue)
{
    return {static_cast<char>(uiValue), static_cast<char>(uiValue >> 8)};
}

std::string Little32(std::uint32_t uiValue)
{
    return Little16(uiValue) + Little16(uiValue >> 16);
}

std::uint32_t Crc32(const std::string& bytes)
{
    std::uint32_t uiCrc = 0xFFFFFFFF;
    for (const char c : bytes)
    {
        uiCrc ^= static_cast<unsigned char>(c);
        for (int i = 0; i < 8; ++i)
            uiCrc = (uiCrc >> 1) ^ (uiCrc & 1 ? 0xEDB88320 : 0);
    }
    return ~uiCrc;
}

std::uint32_t Adler32(const std::string& bytes)
{
    std::uint32_t uiA = 1;
    std::uint32_t uiB = 0;
    for (const char c : bytes)
    {
        uiA = (uiA + static_cast<unsigned char>(c)) % 65521;
        uiB = (uiB + uiA) % 65521;
    }
    return uiB << 16 | uiA;
}

std::string Chunk(const std::string& strTypeAndData)
{
    return Big32(static_cast<std::uint32_t>(strTypeAndData.size() - 4)) + strTypeAndData + Big32(Crc32(strTypeAndData));
}

// A zlib stream that compresses nothing.
std::string Stored(const std::string& bytes)
{
    std::string stream = "\x78\x01";
    for (std::size_t i = 0; i < bytes.size() || i == 0; i += 65535)
    {
        const std::string part = bytes.substr(i, 65535);
        const auto uiSize = static_cast<std::uint32_t>(part.size());
        stream += static_cast<char>(i + part.size() == bytes.size() ? 1 : 0);
        stream += Little16(uiSize) + Little16(~uiSize) + part;
    }
    return stream + Big32(Adler32(bytes));
}

// A page's directory. Values of an entry are in the entry itself or follow the directory.
class TiffDirectory
{
public:
    explicit TiffDirectory(bool bBigEndian) : m_bBigEndian(bBigEndian) {}

    void Short(std::uint32_t uiTag, const std::vector<std::uint16_t>& vValues)
    {
        std::string data;
        for (const std::uint16_t uiValue : vValues)
            data += Two(uiValue);
        Add(uiTag, 3, vValues.size(), data);
    }
    void Long(std::uint32_t uiTag, const std::vector<std::uint32_t>& vValues)
    {
        std::string data;
        for (const std::uint32_t uiValue : vValues)
            data += Four(uiValue);
        Add(uiTag, 4, vValues.size(), data);
    }

    // The directory, and after it the values that are longer than 4 bytes. uiPosition: where it stands in the file.
    std::string Bytes(std::size_t uiPosition, bool bLast) const
    {
        const std::size_t uiValues = uiPosition + 2 + 12 * m_vEntries.size() + 4;
        std::string directory = Two(m_vEntries.size());
        std::string values;
        for (const auto& [head, data] : m_vEntries)
        {
            directory += head;
            if (data.size() <= 4)
            {
                directory += data + std::string(4 - data.size(), '\0');
                continue;
            }
            directory += Four(uiValues + values.size());
            values += data + std::string(data.size() % 2, '\0');
        }
        return directory + Four(bLast ? 0 : uiValues + values.size()) + values;
    }

private:
    std::string Two(std::size_t uiValue) const
    {
        const auto uiShort = static_cast<std::uint16_t>(uiValue);
        return m_bBigEndian ? Big16(uiShort) : Little16(uiShort);
    }
    std::string Four(std::size_t uiValue) const
    {
        const auto uiLong = static_cast<std::uint32_t>(uiValue);
        return m_bBigEndian ? Big32(uiLong) : Little32(uiLong);
    }
    void Add(std::uint32_t uiTag, std::uint32_t uiType, std::size_t uiCount, const std::string& data)
    {
        m_vEntries.emplace_back(Two(uiTag) + Two(uiType) + Four(uiCount), data);
    }

    bool m_bBigEndian;
    std::vector<std::pair<std::string, std::string>> m_vEntries;
};

// Where the parts of a page's data begin, and how long each is.
struct Parts
{
    std::vector<std::uint32_t> m_vOffsets;
    std::vector<std::uint32_t> m_vSizes;
};

Parts PartsOf(const TiffPage& page, std::size_t uiPosition)
{
    std::size_t uiCount = page.m_bPlanes ? static_cast<std::size_t>(page.m_nSamples) : 1;
    if (page.m_uiTileSide > 0)
    {
        const auto across = [&](std::uint32_t uiSide) { return (uiSide + page.m_uiTileSide - 1) / page.m_uiTileSide; };
        uiCount = std::size_t{across(page.m_uiWidth)} * across(page.m_uiHeight);
    }
    Parts parts;
    const std::size_t uiSize = page.m_strData.size() / uiCount;
    for (std::size_t i = 0; i < uiCount; ++i)
    {
        parts.m_vOffsets.push_back(static_cast<std::uint32_t>(uiPosition + i * uiSize));
        parts.m_vSizes.push_back(static_cast<std::uint32_t>(uiSize));
    }
    return parts;
}

TiffDirectory DirectoryOf(const TiffPage& page, std::size_t uiPosition, bool bBigEndian)
{
    const Parts parts = PartsOf(page, uiPosition);
    const auto s = [](auto value) { return std::vector<std::uint16_t>{static_cast<std::uint16_t>(value)}; };
    const bool bTiles = page.m_uiTileSide > 0;
    TiffDirectory directory(bBigEndian);  // tags in rising order
    directory.Long(256, {page.m_uiWidth});
    directory.Long(257, {page.m_uiHeight});
    directory.Short(258, std::vector<std::uint16_t>(static_cast<std::size_t>(page.m_nSamples),
                                                    static_cast<std::uint16_t>(page.m_nBits)));
    directory.Short(259, s(1));
    directory.Short(262, s(page.m_nPhotometric));
    if (!bTiles) directory.Long(273, parts.m_vOffsets);
    directory.Short(274, s(page.m_nOrientation));
    directory.Short(277, s(page.m_nSamples));
    if (!bTiles) directory.Long(278, {page.m_uiHeight});
    if (!bTiles) directory.Long(279, parts.m_vSizes);
    directory.Short(284, s(page.m_bPlanes ? 2 : 1));
    if (!page.m_vColourMap.empty()) directory.Short(320, page.m_vColourMap);
    if (bTiles)
    {
        directory.Long(322, {page.m_uiTileSide});
        directory.Long(323, {page.m_uiTileSide});
        directory.Long(324, parts.m_vOffsets);
        directory.Long(325, parts.m_vSizes);
    }
    if (page.m_nExtraSample >= 0) directory.Short(338, s(page.m_nExtraSample));
    directory.Short(339, std::vector<std::uint16_t>(static_cast<std::size_t>(page.m_nSamples),
                                                    static_cast<std::uint16_t>(page.m_nSampleFormat)));
    return directory;
}

}  // namespace

std::string BigEndian(const std::vector<std::uint16_t>& vSamples)
{
    std::string bytes;
    for (const std::uint16_t uiSample : vSamples)
        bytes += Big16(uiSample);
    return bytes;
}

std::string LittleEndian(const std::vector<std::uint16_t>& vSamples)
{
    std::string bytes;
    for (const std::uint16_t uiSample : vSamples)
        bytes += Little16(uiSample);
    return bytes;
}

std::string MakePng(std::uint32_t uiWidth, std::uint32_t uiHeight, int nColourType, int nBits,
                    const std::string& strRows, const std::string& strPalette, const std::string& strTransparency)
{
    const std::size_t uiRowBytes = strRows.size() / uiHeight;
    std::string filtered;
    for (std::uint32_t uiRow = 0; uiRow < uiHeight; ++uiRow)
        filtered += '\0' + strRows.substr(uiRow * uiRowBytes, uiRowBytes);

    std::string header = "IHDR" + Big32(uiWidth) + Big32(uiHeight);
    header += {static_cast<char>(nBits), static_cast<char>(nColourType), 0, 0, 0};
    std::string file = "\x89PNG\r\n\x1A\n" + Chunk(header);
    if (!strPalette.empty()) file += Chunk("PLTE" + strPalette);
    if (!strTransparency.empty()) file += Chunk("tRNS" + strTransparency);
    return file + Chunk("IDAT" + Stored(filtered)) + Chunk("IEND");
}

std::string MakeTiff(const std::vector<TiffPage>& vPages, bool bBigEndian)
{
    // The data of all pages first, then their directories.
    std::size_t uiFirst = 8;
    for (const TiffPage& page : vPages)
        uiFirst += page.m_strData.size() + page.m_strData.size() % 2;
    std::string file = bBigEndian ? std::string("MM\0*", 4) + Big32(static_cast<std::uint32_t>(uiFirst))
                                  : std::string("II*\0", 4) + Little32(static_cast<std::uint32_t>(uiFirst));
    std::vector<TiffDirectory> vDirectories;
    for (const TiffPage& page : vPages)
    {
        vDirectories.push_back(DirectoryOf(page, file.size(), bBigEndian));
        file += page.m_strData + std::string(page.m_strData.size() % 2, '\0');
    }
    for (std::size_t i = 0; i < vPages.size(); ++i)
        file += vDirectories[i].Bytes(file.size(), i + 1 == vPages.size());
    return file;
}
