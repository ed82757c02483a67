// The loader keeps no table of sections: the file says where each of them lies from the start of the image.
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <stdexcept>

#include "loaded_image.h"
#include "support/bytes.h"
#include "support/file_contents.h"

namespace
{

template <typename T>
T RecordAt(const Bytes& vFile, std::size_t uiOffset)
{
    T record;
    if (uiOffset + sizeof record > vFile.size()) throw std::runtime_error("the file ends early");
    std::memcpy(&record, vFile.data() + uiOffset, sizeof record);
    return record;
}

}  // namespace

std::span<const unsigned char> SLoadedImage::Section(const char* pszName) const
{
    Dl_info info{};
    const link_map* pMap = nullptr;
    if (!dladdr1(m_pFunction, &info, reinterpret_cast<void**>(const_cast<link_map**>(&pMap)), RTLD_DL_LINKMAP))
    {
        return {};
    }
    const auto vFile = test_support::ReadBytes(Path());
    const auto file = RecordAt<Elf64_Ehdr>(vFile, 0);
    const auto headerAt = [&](std::size_t i) {
        return RecordAt<Elf64_Shdr>(vFile, file.e_shoff + i * file.e_shentsize);
    };
    const Elf64_Shdr names = headerAt(file.e_shstrndx);
    for (std::size_t i = 0; i < file.e_shnum; ++i)
    {
        const Elf64_Shdr header = headerAt(i);
        const auto* const pszSection = reinterpret_cast<const char*>(vFile.data() + names.sh_offset + header.sh_name);
        if (std::strcmp(pszSection, pszName) == 0)
            return {reinterpret_cast<const unsigned char*>(pMap->l_addr + header.sh_addr), header.sh_size};
    }
    return {};
}
