#include "parts/timesfile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "parts/inputpath.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

constexpr std::string_view HEADER = "frame,time_ms";
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";  // some editors begin every text with it
constexpr std::size_t LONGEST_LINE = 200;                     // what is longer is another kind of file

// Lines of a text, one at a time, however large the file is and whatever it holds.
class Lines
{
public:
    explicit Lines(std::istream& in) : m_in(in) {}

    // Nothing at the end.
    std::optional<std::string_view> Next()
    {
        ++m_uiLine;
        m_in.getline(m_acLine, sizeof m_acLine);
        if (m_in.bad()) Refuse("the file can't be read");
        if (m_in.gcount() == 0) return std::nullopt;
        if (m_in.fail()) Refuse("too long for a frame and its time");
        std::string_view line(m_acLine);
        if (line.ends_with('\r')) line.remove_suffix(1);
        return line;
    }

    [[noreturn]] void Refuse(const std::string& problem) const
    {
        throw std::runtime_error("line " + std::to_string(m_uiLine) + ": " + problem);
    }

private:
    std::istream& m_in;
    std::uint64_t m_uiLine = 0;
    char m_acLine[LONGEST_LINE + 1];
};

void RequireBlankRest(Lines& lines)
{
    while (const auto line = lines.Next())
        if (!line->empty()) lines.Refuse("nothing may follow a blank line");
}

}  // namespace

std::vector<double> ReadTimesCsv(std::istream& in)
{
    Lines lines(in);
    auto header = lines.Next();
    if (header && header->starts_with(BYTE_ORDER_MARK)) header->remove_prefix(BYTE_ORDER_MARK.size());
    if (header != HEADER) lines.Refuse("not the header " + Quoted(HEADER));

    std::vector<double> vTimes;
    std::optional<std::uint32_t> uiLastFrame;
    while (const auto line = lines.Next())
    {
        if (line->empty())
        {
            RequireBlankRest(lines);
            break;
        }
        const std::size_t uiComma = std::min(line->find(','), line->size());
        const auto uiFrame = NumberFromText<std::uint32_t>(line->substr(0, uiComma));
        const auto dTimeMs = NumberFromText<double>(line->substr(std::min(uiComma + 1, line->size())));
        if (!uiFrame || !dTimeMs || !std::isfinite(*dTimeMs))
            lines.Refuse(Quoted(*line) + " is no frame and time such as 7,280.5");
        if (uiLastFrame && *uiFrame <= *uiLastFrame)
            lines.Refuse("frame " + std::to_string(*uiFrame) + " doesn't come after frame " +
                         std::to_string(*uiLastFrame));
        if (*dTimeMs < 0) lines.Refuse("frame " + std::to_string(*uiFrame) + " has a time before 0");
        uiLastFrame = uiFrame;
        vTimes.push_back(*dTimeMs);
    }
    return vTimes;
}

std::vector<double> ReadTimesFile(const std::filesystem::path& path)
{
    RequireReadableFile(path);
    std::ifstream in(path, std::ios::binary);
    try
    {
        return ReadTimesCsv(in);
    }
    catch (const std::runtime_error& e)
    {
        throw std::runtime_error(Quoted(Utf8FromPath(path)) + ", " + e.what());
    }
}

}  // namespace qmhost
