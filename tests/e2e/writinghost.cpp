#include "writinghost.h"

#include <stdexcept>

namespace test_support
{

HostPicture::HostPicture(std::uint32_t uiWidth, std::uint32_t uiHeight)
    : m_uiPitch(((uiWidth + 1) / 2 * 2 * 3 + 3) / 4 * 4), m_vBytes(m_uiPitch * ((uiHeight + 1) / 2 * 2))
{}

void ChooseCodec(const ModuleHost& host, const std::wstring& strCode)
{
    const std::uint32_t uiCodecs = host.Format()->BuildCodecTable();
    for (std::uint32_t ui = 0; ui < uiCodecs; ++ui)
    {
        SQmCodecInfo codec{};
        host.Format()->GetCodecInfo(ui, &codec);
        if (codec.m_wszCode != strCode) continue;
        if (host.Format()->SetActiveCodec(ui) != QM_OK) throw std::runtime_error("the codec can't be chosen");
        return;
    }
    throw std::runtime_error("no such codec");
}

SQmImageAttributes PictureAttributes(std::uint32_t uiWidth, std::uint32_t uiHeight)
{
    SQmImageAttributes attributes{};
    attributes.m_uiWidth = uiWidth;
    attributes.m_uiHeight = uiHeight;
    attributes.m_uiComponents = 3;
    attributes.m_uiBitsInMemory = 8;
    attributes.m_uiBitsSignificant = 8;
    return attributes;
}

OutputFile OpenForPictures(const ModuleHost& host, const std::filesystem::path& path, std::uint32_t uiWidth,
                           std::uint32_t uiHeight)
{
    OutputFile file = host.OpenOutput(path);
    if (!file) throw std::runtime_error("no output object");
    const SQmImageAttributes attributes = PictureAttributes(uiWidth, uiHeight);
    if (file->SetImageAttributes(&attributes) != QM_OK) throw std::runtime_error("the pictures are refused");
    // Telling the size leaves a reference on the format object that the file never gives back. Without it here, any
    // other that is left over shows as a leak.
    host.Format()->GetQmClass()->Release();
    return file;
}

QmStatus WriteAt(const OutputFile& file, double dTimeMs, const HostPicture& picture)
{
    file->SetFrameTime(dTimeMs);
    return file->WriteNextFrame(picture.m_vBytes.data());
}

}  // namespace test_support
