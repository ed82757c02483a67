#include "support/writing_host.h"

#include <cstring>
#include <stdexcept>

#include "support/ffmpeg_judge.h"

namespace test_support
{

HostPicture::HostPicture(std::uint32_t uiWidth, std::uint32_t uiHeight)
    : m_uiWidth(uiWidth),
      m_uiHeight(uiHeight),
      m_uiPitch(((uiWidth + 1) / 2 * 2 * 3 + 3) / 4 * 4),
      m_vBytes(m_uiPitch * ((uiHeight + 1) / 2 * 2))
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

void SetSize(const ModuleHost& host, const OutputFile& file, std::uint32_t uiWidth, std::uint32_t uiHeight,
             std::uint32_t uiCount)
{
    SQmImageAttributes attributes = PictureAttributes(uiWidth, uiHeight);
    attributes.m_uiSequenceCount = uiCount;
    if (file->SetImageAttributes(&attributes) != QM_OK) throw std::runtime_error("the pictures are refused");
    // Setting the size leaves a reference on the format object that the file never gives back. Without it here, any
    // other that is left over shows as a leak.
    host.Format()->GetQmClass()->Release();
}

OutputFile OpenForPictures(const ModuleHost& host, const std::filesystem::path& path, std::uint32_t uiWidth,
                           std::uint32_t uiHeight, std::uint32_t uiCount)
{
    OutputFile file = host.OpenOutput(path);
    if (!file) throw std::runtime_error("no output object");
    SetSize(host, file, uiWidth, uiHeight, uiCount);
    return file;
}

QmStatus WriteAt(const OutputFile& file, double dTimeMs, const HostPicture& picture)
{
    file->SetFrameTime(dTimeMs);
    return file->WriteNextFrame(picture.m_vBytes.data());
}

void WriteFile(const ModuleHost& host, const std::filesystem::path& path, const std::vector<double>& vTimesMs,
               const PictureOfFrame& pictureOfFrame)
{
    OutputFile file;
    for (std::uint32_t ui = 0; ui < vTimesMs.size(); ++ui)
    {
        const HostPicture picture = pictureOfFrame(ui);
        if (!file) file = OpenForPictures(host, path, picture.m_uiWidth, picture.m_uiHeight);
        if (WriteAt(file, vTimesMs[ui], picture) != QM_OK)
        {
            throw std::runtime_error("frame " + std::to_string(ui) + " is refused");
        }
    }
    if (file && file->CloseOutput() != QM_OK) throw std::runtime_error("the file can't be closed");
}

ReadBack::ReadBack(const ModuleHost& host, const std::filesystem::path& path) : m_file(host.OpenInput(path))
{
    if (!m_file || m_file->GetImageAttributes(&m_attributes) != QM_OK)
    {
        throw std::runtime_error("can't be read: " + path.string());
    }
}

HostPicture ReadBack::Frame(std::uint32_t uiFrame) const
{
    HostPicture picture(m_attributes.m_uiWidth, m_attributes.m_uiHeight);
    if (picture.m_uiPitch != m_attributes.m_uiWidthBytes) throw std::runtime_error("an unknown pitch");
    if (m_file->ReadFrame(uiFrame, picture.m_vBytes.data(), nullptr, nullptr) != QM_OK)
    {
        throw std::runtime_error("no frame " + std::to_string(uiFrame));
    }
    return picture;
}

std::vector<double> TimesAsRead(const std::vector<double>& vTimesMs)
{
    std::vector<double> vRead;
    for (const std::int64_t nTicks : SumsOfDistances(vTimesMs))
        vRead.push_back(static_cast<double>(nTicks / 10));
    return vRead;
}

std::vector<double> EvenTimes(std::uint32_t uiCount, double dMs)
{
    std::vector<double> vTimes;
    for (std::uint32_t ui = 0; ui < uiCount; ++ui)
        vTimes.push_back(ui * dMs);
    return vTimes;
}

}  // namespace test_support
