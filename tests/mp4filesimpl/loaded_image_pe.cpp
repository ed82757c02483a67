#include <cstring>

#include "loaded_image.h"

std::span<const unsigned char> SLoadedImage::Section(const char* pszName) const
{
    const auto* const pBase = reinterpret_cast<const unsigned char*>(m_hModule);
    IMAGE_DOS_HEADER dos;
    std::memcpy(&dos, pBase, sizeof dos);
    IMAGE_NT_HEADERS64 nt;
    std::memcpy(&nt, pBase + dos.e_lfanew, sizeof nt);
    const unsigned char* pHeader =
        pBase + dos.e_lfanew + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + nt.FileHeader.SizeOfOptionalHeader;
    for (int i = 0; i < nt.FileHeader.NumberOfSections; ++i, pHeader += sizeof(IMAGE_SECTION_HEADER))
    {
        IMAGE_SECTION_HEADER header;
        std::memcpy(&header, pHeader, sizeof header);
        char szName[IMAGE_SIZEOF_SHORT_NAME + 1] = {};
        std::memcpy(szName, header.Name, IMAGE_SIZEOF_SHORT_NAME);
        if (std::strcmp(szName, pszName) == 0) return {pBase + header.VirtualAddress, header.Misc.VirtualSize};
    }
    return {};
}
