// Image files as pictures.
#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <stdexcept>
#include <system_error>

#include "parts/imagefile.h"
#include "parts/imagereader.h"
#include "parts/naturalorder.h"
#include "parts/picturesource.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

std::string SizeText(PictureSize size)
{
    return std::to_string(size.m_uiWidth) + " x " + std::to_string(size.m_uiHeight);
}

std::string PageName(const std::filesystem::path& path, std::uint32_t uiPage)
{
    return (uiPage > 0 ? "page " + std::to_string(uiPage + 1) + " of " : std::string()) + Quoted(Utf8FromPath(path));
}

bool ComesBefore(const std::filesystem::path& first, const std::filesystem::path& second)
{
    return NaturallyBefore(Utf8FromPath(first), Utf8FromPath(second));
}

// The image files in a folder, by their names' endings, in natural order.
std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder)
{
    std::error_code error;
    std::vector<std::filesystem::path> vFiles;
    for (std::filesystem::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
        if (ImageFormatOf(Utf8FromPath(i->path().filename()))) vFiles.push_back(i->path());
    if (error) throw std::runtime_error(Quoted(Utf8FromPath(folder)) + " can't be read: " + error.message());
    if (vFiles.empty())
        throw std::runtime_error(Quoted(Utf8FromPath(folder)) + " has no files named *.png, *.tif or *.tiff");
    std::sort(vFiles.begin(), vFiles.end(),
              [](const auto& a, const auto& b) { return ComesBefore(a.filename(), b.filename()); });
    return vFiles;
}

// What is wrong with the order of names on the command line; "" for nothing. A shell puts img10.png before
// img2.png when it makes names out of img*.png. Any other order is the user's own.
std::string OrderProblem(const std::vector<std::filesystem::path>& vPaths)
{
    if (!std::is_sorted(vPaths.begin(), vPaths.end())) return {};
    const auto found = std::is_sorted_until(vPaths.begin(), vPaths.end(), ComesBefore);
    if (found == vPaths.end()) return {};
    return Quoted(Utf8FromPath(*std::prev(found))) + " is written before " + Quoted(Utf8FromPath(*found)) +
           ", as the command line has them; only a folder's pictures are put in the order of their numbers";
}

class ImageFiles : public PictureSource
{
public:
    explicit ImageFiles(const std::vector<std::filesystem::path>& vPaths)
    {
        if (std::string problem = OrderProblem(vPaths); !problem.empty()) m_vWarnings.push_back(std::move(problem));
        for (const auto& path : vPaths)
        {
            std::error_code ignored;
            const bool bFolder = std::filesystem::is_directory(path, ignored);
            const auto vFiles = bFolder ? FilesIn(path) : std::vector{path};
            m_vPaths.insert(m_vPaths.end(), vFiles.begin(), vFiles.end());
        }
        for (const auto& path : m_vPaths)
            LookAtFile(path);
        for (const auto& [uiConversions, pictures] : m_converted)
        {
            std::string text = pictures.m_strFirst + " is converted: " + ConversionText(uiConversions);
            if (pictures.m_uiCount > 1) text += " (and so are " + std::to_string(pictures.m_uiCount - 1) + " more)";
            m_vWarnings.push_back(std::move(text));
        }
    }

    PictureSize Size() const override { return m_size; }
    std::optional<std::uint32_t> Count() const override { return m_uiCount; }
    const std::vector<std::string>& Warnings() const override { return m_vWarnings; }

    std::vector<std::string> Order() const override
    {
        std::vector<std::string> vLines;
        if (m_vPaths.size() == 1) return vLines;
        std::uint32_t uiFrame = 0;
        for (std::size_t i = 0; i < m_vPaths.size(); ++i)
        {
            const std::uint32_t uiEnd = uiFrame + m_vPages[i];
            const std::string strFirst = std::to_string(uiFrame);
            vLines.push_back(
                (m_vPages[i] == 1 ? "frame " + strFirst : "frames " + strFirst + " to " + std::to_string(uiEnd - 1)) +
                ": " + Quoted(Utf8FromPath(m_vPaths[i])));
            uiFrame = uiEnd;
        }
        return vLines;
    }

    bool ReadNext(unsigned char* pPixels, std::size_t uiWidthBytes) override
    {
        if (m_pFile && m_pFile->NextPage())
        {
            ++m_uiPage;
            RequirePages(m_uiPage < m_vPages[m_uiNextFile - 1]);
        }
        else
        {
            RequirePages(!m_pFile || m_uiPage + 1 == m_vPages[m_uiNextFile - 1]);
            if (m_uiNextFile == m_vPaths.size()) return false;
            m_pFile = OpenImage(m_vPaths[m_uiNextFile++]);
            m_uiPage = 0;
        }
        RequireSize(m_vPaths[m_uiNextFile - 1], m_uiPage, m_pFile->Page().m_size);  // it may have changed meanwhile
        m_pFile->Read(pPixels, uiWidthBytes);
        return true;
    }

private:
    struct Pictures
    {
        std::string m_strFirst;
        std::uint64_t m_uiCount = 0;
    };

    void LookAtFile(const std::filesystem::path& path)
    {
        const auto pFile = OpenImage(path);
        std::uint32_t uiPage = 0;
        do
        {
            const ImagePage& page = pFile->Page();
            if (m_uiCount == 0)
            {
                m_size = page.m_size;
                m_strFirst = PageName(path, uiPage);
            }
            RequireSize(path, uiPage, page.m_size);
            if (page.m_uiConversions != CONVERT_NOTHING)
            {
                Pictures& pictures = m_converted[page.m_uiConversions];
                if (pictures.m_uiCount++ == 0) pictures.m_strFirst = PageName(path, uiPage);
            }
            if (++m_uiCount == std::numeric_limits<std::uint32_t>::max())  // that number would mean an unknown length
                throw std::runtime_error("there are too many pictures");
            ++uiPage;
        } while (pFile->NextPage());
        m_vPages.push_back(uiPage);
    }

    void RequireSize(const std::filesystem::path& path, std::uint32_t uiPage, PictureSize size) const
    {
        if (size.m_uiWidth == m_size.m_uiWidth && size.m_uiHeight == m_size.m_uiHeight) return;
        throw std::runtime_error(PageName(path, uiPage) + " is " + SizeText(size) + ", unlike " + m_strFirst +
                                 ", which is " + SizeText(m_size));
    }

    // The file may have changed since it was looked at. Pictures after it would get the times of others then.
    void RequirePages(bool bAsBefore) const
    {
        if (bAsBefore) return;
        const std::uint32_t uiPages = m_vPages[m_uiNextFile - 1];
        throw std::runtime_error(Quoted(Utf8FromPath(m_vPaths[m_uiNextFile - 1])) + " had " + std::to_string(uiPages) +
                                 (uiPages == 1 ? " page" : " pages") + " at first, and has " +
                                 (m_uiPage < uiPages ? "fewer" : "more") + " now");
    }

    std::vector<std::filesystem::path> m_vPaths;
    std::vector<std::uint32_t> m_vPages;  // of each file
    PictureSize m_size{};
    std::string m_strFirst;  // name of the picture whose size all others have
    std::uint32_t m_uiCount = 0;
    std::map<unsigned, Pictures> m_converted;  // by EConversion
    std::vector<std::string> m_vWarnings;

    std::unique_ptr<ImageReader> m_pFile;  // at the picture that was read last
    std::size_t m_uiNextFile = 0;
    std::uint32_t m_uiPage = 0;
};

}  // namespace

std::unique_ptr<PictureSource> OpenImageFiles(const std::vector<std::filesystem::path>& vPaths)
{
    return std::make_unique<ImageFiles>(vPaths);
}

}  // namespace qmhost
