#include "parts/repair.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "parts/boxreader.h"
#include "parts/boxwriter.h"
#include "parts/failure.h"
#include "parts/inputpath.h"
#include "parts/movieindex.h"
#include "parts/nalwalk.h"
#include "parts/newindex.h"
#include "parts/outputfile.h"
#include "parts/picturesplit.h"
#include "parts/sampletables.h"
#include "parts/text.h"

namespace qmhost
{
namespace
{

constexpr std::string_view FILE_TYPE("\0\0\0\x20"
                                     "ftyp"
                                     "isom"
                                     "\0\0\2\0"
                                     "isomiso2avc1mp41",
                                     32);
constexpr std::string_view EMPTY_BOX("\0\0\0\x08"
                                     "free",
                                     8);
constexpr std::uint64_t LARGEST_WORD = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t BOX_HEADER = 8;
constexpr double TICKS_PER_MS = TICKS_PER_SECOND / 1000.0;
constexpr std::uint32_t SHORTEST_TICKS = 10;  // of the only picture of a file, as the muxer has it

constexpr std::uint64_t LONGEST_TICKS = std::numeric_limits<std::int32_t>::max();  // as readers with a sign see it

std::string Count(std::uint64_t uiCount, std::string_view what)
{
    return std::to_string(uiCount) + " " + std::string(what) + (uiCount == 1 ? "" : "s");
}

std::string_view NameOf(EMuxer eMuxer)
{
    return eMuxer == EMuxer::Nvenc ? "NVENC1" : "AMF1";
}

// --- what a file is ---

// Where the pictures lie between the file's other boxes.
struct Layout
{
    std::uint64_t m_uiMediaEnd = 0;  // they begin at MEDIA_BEGIN
    std::optional<Box> m_movie;      // the index
    bool m_bSizeRight = false;       // of `mdat`: a reader of boxes gets from it to the index
};

// A whole `moov` at a position.
std::optional<Box> IndexAt(ByteSource& source, std::uint64_t uiPosition)
{
    BoxReader reader(source);
    auto box = reader.ReadBox(uiPosition, source.Size());
    return box && box->m_strType == "moov" ? box : std::nullopt;
}

// The layout of a finished file of the muxer, or of a repaired one. Nothing when no index is found.
//
// The muxer writes a size of 32 bits for `mdat`, of which a larger one keeps the low bits. So there may be an index
// at each 4 GiB from there on.
std::optional<Layout> FindLayout(ByteSource& source)
{
    std::array<unsigned char, 16> bytes{};
    if (!source.ReadAt(FILE_TYPE.size(), bytes.data(), bytes.size())) return std::nullopt;
    const std::uint64_t uiLongSize = BigEndian(std::span(bytes).last(8));
    const std::uint64_t uiSize = BigEndian(std::span(bytes).subspan(8, 4));
    if (BigEndian(std::span(bytes).first(4)) == 1)
    {
        if (uiLongSize > source.Size() || FILE_TYPE.size() + uiLongSize < MEDIA_BEGIN) return std::nullopt;
        const std::uint64_t uiEnd = FILE_TYPE.size() + uiLongSize;
        const auto movie = IndexAt(source, uiEnd);
        return movie ? std::optional(Layout{uiEnd, movie, true}) : std::nullopt;
    }
    for (std::uint64_t uiEnd = MEDIA_BEGIN - BOX_HEADER + uiSize; uiEnd < source.Size(); uiEnd += LARGEST_WORD + 1)
    {
        if (uiEnd < MEDIA_BEGIN) continue;
        if (const auto movie = IndexAt(source, uiEnd))
            return Layout{uiEnd, movie, uiEnd - MEDIA_BEGIN + BOX_HEADER <= LARGEST_WORD};
    }
    return std::nullopt;
}

// Whether the file begins as those of the muxer do, or as one that was made of them.
bool IsOfMuxer(ByteSource& source)
{
    std::array<char, MEDIA_BEGIN> head{};
    if (!source.ReadAt(0, head.data(), head.size())) return false;
    const std::string_view text(head.data(), head.size());
    if (!text.starts_with(FILE_TYPE)) return false;
    const std::string_view rest = text.substr(FILE_TYPE.size());
    return (rest.starts_with(EMPTY_BOX) && rest.substr(12) == "mdat") ||
           (rest.starts_with(std::string_view("\0\0\0\1mdat", 8)));
}

// Whether `mdat` has the size 0, for "up to the end". The muxer never writes that; other programs begin with the same
// bytes and leave it there until they close the file.
bool HasOpenSize(ByteSource& source)
{
    std::array<unsigned char, 4> size{};
    return source.ReadAt(MEDIA_BEGIN - BOX_HEADER, size.data(), size.size()) && BigEndian(size) == 0;
}

// --- what is written ---

// The boxes up to the first picture, always as many bytes: the empty box gives its own to a size of 64 bits.
void WriteStart(OutputFile& out, std::uint64_t uiMediaBytes)
{
    BoxWriter box;
    box.Text(FILE_TYPE);
    const std::uint64_t uiSize = uiMediaBytes + BOX_HEADER;
    if (uiSize <= LARGEST_WORD)
    {
        box.Text(EMPTY_BOX);
        box.Word(static_cast<std::uint32_t>(uiSize));
        box.Text("mdat");
    }
    else
    {
        box.Word(1);
        box.Text("mdat");
        box.Long(uiSize + BOX_HEADER);
    }
    out.Write(box.Written());
}

void CopyBytes(BufferedBytes& source, std::uint64_t uiBegin, std::uint64_t uiEnd, OutputFile& out)
{
    while (uiBegin < uiEnd)
    {
        auto block = source.View(uiBegin, 1);
        block = block.first(static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), uiEnd - uiBegin)));
        const bool bZeros = block[0] == 0 && std::memcmp(block.data(), block.data() + 1, block.size() - 1) == 0;
        if (bZeros && block.size() == BufferedBytes::BLOCK)
            out.WriteZeros(block.size());
        else
            out.Write(block);
        uiBegin += block.size();
    }
}

// The pictures with a length in front of each NAL, whatever stood there.
void CopyPictures(ByteSource& source, std::uint64_t uiBegin, std::uint64_t uiEnd, OutputFile& out)
{
    BufferedBytes bytes(source);
    NalWalk walk(source, uiBegin);
    while (const auto nal = walk.Next())
    {
        if (nal->m_uiEnd > uiEnd) break;
        BoxWriter length;
        length.Word(static_cast<std::uint32_t>(nal->Length()));
        out.Write(length.Written());
        CopyBytes(bytes, nal->Begin(), nal->m_uiEnd, out);
    }
}

// A source with a function that is called before each of its reads.
class WatchedBytes : public ByteSource
{
public:
    WatchedBytes(std::unique_ptr<ByteSource> pSource, std::function<void()> onRead)
        : m_pSource(std::move(pSource)), m_onRead(std::move(onRead))
    {}

    std::uint64_t Size() const override { return m_pSource->Size(); }
    bool ReadAt(std::uint64_t uiPosition, void* pBuffer, std::size_t uiBytes) override
    {
        if (m_onRead) m_onRead();
        return m_pSource->ReadAt(uiPosition, pBuffer, uiBytes);
    }

private:
    const std::unique_ptr<ByteSource> m_pSource;
    const std::function<void()> m_onRead;
};

// --- the two kinds of files ---

class Repair
{
public:
    Repair(ByteSource& source, std::string strIn, const std::filesystem::path& pathOut, const RepairTimes& times)
        : m_source(source),
          m_strIn(std::move(strIn)),
          m_strOut(Quoted(Utf8FromPath(pathOut))),
          m_out(pathOut),
          m_times(times)
    {}

    void Run()
    {
        Choose();
        if (const auto uiUnreadable = m_source.FirstUnreadable())
            Warn(m_strIn + " can't be read at byte " + std::to_string(*uiUnreadable) +
                 " and maybe further ones; zeros stand in their place in " + m_strOut);
    }

    // When nothing is read any more.
    RepairReport Complete()
    {
        m_out.CommitToDisk();
        return std::move(m_report);
    }

private:
    [[noreturn]] void Refuse(QmStatus nStatus, const std::string& strWhat) const
    {
        const auto uiUnreadable = m_source.FirstUnreadable();
        throw Failure(
            "repair", nStatus,
            strWhat + (uiUnreadable ? "; it can't be read at byte " + std::to_string(*uiUnreadable) : std::string()));
    }
    void Warn(std::string strWarning) { m_report.m_vWarnings.push_back(std::move(strWarning)); }

    void Choose()
    {
        if (!IsOfMuxer(m_source)) return RepairOther();
        if (const auto layout = FindLayout(m_source)) return RepairFinished(*layout);
        if (HasOpenSize(m_source)) return RepairOther();
        SplitPictures pictures = FindPictures(m_source, MEDIA_BEGIN);
        // Everything is there except the size of `mdat`, which is written before the index.
        if (pictures.m_uiIndex && pictures.m_uiEnd == *pictures.m_uiIndex)
            if (const auto movie = IndexAt(m_source, *pictures.m_uiIndex))
                return RepairFinished({*pictures.m_uiIndex, movie, false});
        RepairUnfinished(MEDIA_BEGIN, pictures,
                         m_strIn + " is an unfinished file of " + std::string(NameOf(pictures.m_eMuxer)),
                         pictures.m_uiIndex);
    }

    void RepairFinished(const Layout& layout)
    {
        const auto facts = ReadIndexFacts(m_source, *layout.m_movie);
        const std::uint64_t uiMediaBytes = layout.m_uiMediaEnd - MEDIA_BEGIN;
        if (!facts || facts->m_uiMediaBytes != uiMediaBytes) return RepairBroken(layout);
        WarnOfUnusedTimes();
        if (facts->m_uiTimes != facts->m_uiPictures)
        {
            Warn(m_strIn + " has " + Count(facts->m_uiTimes, "time") + " for " + Count(facts->m_uiPictures, "picture") +
                 "; after one that is missing, pictures have the times of others");
        }
        if (facts->m_bTimesFall) Warn("times of " + m_strIn + " run backwards, or are more than 59 hours apart; other programs take either for another time");
        if (layout.m_movie->m_uiEnd < m_source.Size())
        {
            Warn(Count(m_source.Size() - layout.m_movie->m_uiEnd, "byte") + " after the index of " + m_strIn +
                 " aren't part of the video and are left out");
        }
        WriteStart(m_out, uiMediaBytes);
        BufferedBytes bytes(m_source);
        CopyBytes(bytes, MEDIA_BEGIN, layout.m_uiMediaEnd, m_out);
        m_out.Write(PutIndexRight(m_source, *layout.m_movie, *facts));

        std::string strDone;
        if (!layout.m_bSizeRight) Append(strDone, "the size of its media data");
        if (!facts->m_bCountsRight) Append(strDone, "the number of its times");
        if (!facts->m_bDurationsRight) Append(strDone, "the durations of its track");
        if (!facts->m_bKeysRight) Append(strDone, "the numbers of its key pictures");
        m_report.m_strDone = m_strIn + " is a finished file with " + Count(facts->m_uiPictures, "picture") + "; " +
                             (strDone.empty() ? m_strOut + " is a copy, since nothing in it is wrong"
                                              : strDone + " put right in " + m_strOut);
    }

    // The pictures are there, and an index that doesn't fit them.
    void RepairBroken(const Layout& layout)
    {
        if (IsIndexOfOthers(m_source, *layout.m_movie))
            Refuse(QM_ERR_NOTSUPPORTED, m_strIn + " has an index that NVENC1 and AMF1 don't write");
        SplitPictures pictures = FindPictures(m_source, MEDIA_BEGIN);
        RepairUnfinished(MEDIA_BEGIN, pictures,
                         m_strIn + " is a file of " + std::string(NameOf(pictures.m_eMuxer)) + " with a broken index",
                         layout.m_uiMediaEnd);
    }

    // uiIndex: where there is an index that can't be used as a whole.
    void RepairUnfinished(std::uint64_t uiBegin, SplitPictures& pictures, const std::string& strFile,
                          std::optional<std::uint64_t> uiIndex)
    {
        const std::size_t uiAfter = pictures.m_vSizes.size() - pictures.m_uiSure;
        const std::string strFound =
            strFile + (pictures.m_uiDamage ? ", damaged at byte " + std::to_string(*pictures.m_uiDamage) : "");
        if (!m_times.m_bPastDamage) pictures.KeepSure();
        const std::size_t uiPictures = pictures.m_vSizes.size();
        if (uiPictures == 0)
        {
            Refuse(QM_ERR_FAIL, strFound + " and has no whole picture" +
                                    (uiAfter > 0 ? " before that; " + Count(uiAfter, "picture") +
                                                       " from there on can be written with --past-damage"
                                                 : "; nothing can be repaired"));
        }
        if (pictures.m_vSequenceSets.empty() || pictures.m_vPictureSets.empty())
            Refuse(QM_ERR_FAIL, strFound + " without parameter sets; no picture of it can be decoded");
        if (pictures.m_bReordered)
        {
            Refuse(QM_ERR_NOTSUPPORTED, strFound + " or of another encoder; it has B pictures, and the order in which "
                                                   "they are shown stood in the index");
        }

        std::string strTimes = m_times.m_vTimesMs ? "at the given times" : "at the given period";
        std::optional<std::vector<std::uint32_t>> vDeltas;
        if (uiIndex && !pictures.m_uiDamage) vDeltas = ReadTimesOfBrokenIndex(m_source, *uiIndex, uiPictures);
        if (vDeltas)
        {
            WarnOfUnusedTimes();
            strTimes = "at the times of its index";
        }
        else
        {
            if (!m_times.m_vTimesMs && !m_times.m_dPeriodMs)
            {
                Refuse(QM_ERR_FAIL, strFound + " and has no times for its " + Count(uiPictures, "picture") +
                                        "; give them with --times FILE.csv or --period MS");
            }
            vDeltas = DistancesInTicks(m_times, uiPictures);
            if (m_times.m_vTimesMs && m_times.m_vTimesMs->size() > uiPictures)
            {
                Warn(m_times.m_strList + " has " + Count(m_times.m_vTimesMs->size(), "time") + " for the " +
                     Count(uiPictures, "picture") + " in " + m_strOut + "; the last ones aren't used");
            }
        }
        const std::vector<unsigned char> vIndex = MakeIndex(pictures, *vDeltas);
        WriteStart(m_out, pictures.m_uiEnd - uiBegin);
        CopyPictures(m_source, uiBegin, pictures.m_uiEnd, m_out);
        m_out.Write(vIndex);
        DescribeUnfinished(pictures, uiAfter, strFound, strTimes);
    }

    void DescribeUnfinished(const SplitPictures& pictures, std::size_t uiAfter, const std::string& strFound,
                            const std::string& strTimes)
    {
        std::string& strDone = m_report.m_strDone;
        strDone = strFound + "; " + m_strOut + " has the " + Count(pictures.m_vSizes.size(), "picture") +
                  (!pictures.m_uiDamage     ? " of it "
                   : uiAfter == 0           ? " before that "
                   : !m_times.m_bPastDamage ? " before that "
                                            : " that can be found ") +
                  strTimes;
        if (!pictures.m_uiDamage && pictures.m_uiCut > 0)
            strDone += "; the last " + Count(pictures.m_uiCut, "byte") + ", which are no whole picture, are left out";
        if (pictures.m_bLastUnproven) strDone += "; if the last one is cut short, that can't be seen";
        if (!pictures.m_uiDamage) return;
        if (uiAfter == 0)
        {
            strDone += "; no whole picture is found after it";
        }
        else if (!m_times.m_bPastDamage)
        {
            strDone += "; " + Count(uiAfter, "picture") +
                       " from there on are left out, since how many are lost there isn't known (--past-damage)";
        }
        else
        {
            Warn("the times of the last " + Count(uiAfter, "picture") + " in " + m_strOut +
                 " are uncertain: each picture that was lost in the damage makes them too early by one");
        }
    }

    void WarnOfUnusedTimes()
    {
        if (m_times.m_vTimesMs || m_times.m_dPeriodMs)
            Warn(m_strIn + " has an index with its times, so the given ones aren't used");
    }

    // A file of the system's encoder, or of any other program.
    void RepairOther()
    {
        BoxReader reader(m_source);
        std::uint64_t uiPosition = 0;
        bool bFileType = false;
        std::optional<std::uint64_t> uiMedia;
        while (const auto box = reader.ReadBox(uiPosition, m_source.Size()))
        {
            if (box->m_strType == "moov" || box->m_strType == "moof")
            {
                Refuse(QM_ERR_NOTSUPPORTED,
                       m_strIn +
                           " has an index and isn't a file of NVENC1 or AMF1; those of other encoders need no repair");
            }
            if (box->m_strType == "ftyp") bFileType = true;
            if (box->m_strType == "mdat" && !uiMedia) uiMedia = box->m_uiBegin;
            uiPosition = box->m_uiEnd;
        }
        std::array<char, BOX_HEADER> header{};
        if (!uiMedia && m_source.ReadAt(uiPosition, header.data(), header.size()) &&
            std::string_view(header.data() + 4, 4) == "mdat")
        {
            uiMedia = uiPosition + BOX_HEADER;  // of a size that goes past the end
        }
        if (!bFileType || !uiMedia) Refuse(QM_ERR_NOTSUPPORTED, m_strIn + " isn't an MP4 file that was begun");

        SplitPictures pictures = FindPictures(m_source, *uiMedia);
        const std::string strOther = m_strIn + " was never finished and isn't a file of NVENC1 or AMF1; ";
        if (pictures.m_vSequenceSets.empty() || pictures.m_vPictureSets.empty())
        {
            Refuse(QM_ERR_NOTSUPPORTED,
                   strOther + "its " + Count(pictures.m_vSizes.size(), "picture") +
                       " can't be decoded, since the system's encoder writes the parameter sets only "
                       "with the index, at the close");
        }
        // Sound between the pictures looks like damage.
        if (pictures.m_uiDamage || pictures.m_bReordered)
        {
            Refuse(QM_ERR_NOTSUPPORTED,
                   strOther + "which of its data are pictures, and in which order they are shown, stood in the index, "
                              "which is missing");
        }
        RepairUnfinished(*uiMedia, pictures, m_strIn + " is an unfinished file of another encoder", {});
    }

    static void Append(std::string& strList, std::string_view item)
    {
        strList += (strList.empty() ? "" : ", ") + std::string(item);
    }

    ReadableBytes m_source;
    std::string m_strIn;
    std::string m_strOut;
    OutputFile m_out;
    const RepairTimes& m_times;
    RepairReport m_report;
};

}  // namespace

std::vector<std::uint32_t> DistancesInTicks(const RepairTimes& times, std::size_t uiPictures)
{
    if (times.m_vTimesMs && times.m_vTimesMs->size() < uiPictures)
    {
        throw std::runtime_error(times.m_strList + " has " + Count(times.m_vTimesMs->size(), "time") + " for " +
                                 Count(uiPictures, "picture") +
                                 "; add lines for the others, or give --period MS in its place");
    }
    const auto ticksAt = [&](std::size_t uiPicture) {
        const double dMs = times.m_vTimesMs ? (*times.m_vTimesMs)[uiPicture] - times.m_vTimesMs->front()
                                            : static_cast<double>(uiPicture) * times.m_dPeriodMs.value_or(0);
        return std::round(dMs * TICKS_PER_MS);
    };
    const auto distanceTo = [&](std::size_t uiPicture) {
        const double dTicks = ticksAt(uiPicture) - ticksAt(uiPicture - 1);
        const std::string strWhere = times.m_vTimesMs ? "in " + times.m_strList + " at entry " : "at picture ";
        if (dTicks < 0) throw std::runtime_error("times run backwards " + strWhere + std::to_string(uiPicture));
        if (!(dTicks <= static_cast<double>(LONGEST_TICKS)))
        {
            throw std::runtime_error("the distance " + strWhere + std::to_string(uiPicture) +
                                     " is above the 59.6 hours that other programs can read");
        }
        return static_cast<std::uint32_t>(dTicks);
    };
    std::vector<std::uint32_t> vDeltas;
    vDeltas.reserve(uiPictures);
    for (std::size_t i = 1; i < uiPictures; ++i)
        vDeltas.push_back(distanceTo(i));
    if (uiPictures > 1) vDeltas.push_back(vDeltas.back());
    if (uiPictures == 1) vDeltas.push_back(times.m_dPeriodMs ? distanceTo(1) : SHORTEST_TICKS);
    return vDeltas;
}

RepairReport RepairBytes(std::unique_ptr<ByteSource> pSource, const std::string& strIn,
                         const std::filesystem::path& pathOut, const RepairTimes& times)
{
    Repair repair(*pSource, strIn, pathOut, times);
    repair.Run();
    pSource.reset();
    return repair.Complete();
}

RepairReport RepairFile(const std::filesystem::path& pathIn, const std::filesystem::path& pathOut,
                        const RepairTimes& times, const std::function<void()>& onRead)
{
    RequireReadableFile(pathIn);
    auto pSource = std::make_unique<WatchedBytes>(std::make_unique<FileBytes>(pathIn), onRead);
    return RepairBytes(std::move(pSource), Quoted(Utf8FromPath(pathIn)), pathOut, times);
}

}  // namespace qmhost
