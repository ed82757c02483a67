#include "parts/picturesplit.h"

#include <algorithm>
#include <limits>

#include "parts/nalwalk.h"

namespace qmhost
{
namespace
{

constexpr std::size_t MOST_SETS = 31;          // of sequence sets, that a decoder's configuration can hold
constexpr std::uint64_t LARGEST_SET = 0xFFFF;  // bytes
constexpr std::uint64_t LARGEST_PICTURE = std::numeric_limits<std::uint32_t>::max();

// What comes before the slices of a picture, if it comes at all.
bool IsBeforeSlices(unsigned uiType)
{
    return (uiType >= 6 && uiType <= 9) || (uiType >= 14 && uiType <= 18);
}

// Whether a slice is of a B picture. Its header begins with two numbers: the first macroblock, and the type, of which 1
// and 6 are B. Both are found within the first bytes when the first macroblock is 0.
bool IsBSlice(const Nal& nal)
{
    if (!nal.IsFirstSlice()) return false;
    const unsigned uiBits = nal.m_abFirst[1] & 0x7FU;               // after the 1 bit
    return (uiBits & 0x70U) == 0x20U || (uiBits & 0x7CU) == 0x1CU;  // 010 and 00111
}

class Splitter
{
public:
    Splitter(ByteSource& source, std::uint64_t uiBegin) : m_source(source, 4096), m_walk(source, uiBegin)
    {
        m_found.m_uiEnd = uiBegin;
    }

    SplitPictures Run()
    {
        bool bFirst = true;
        while (const auto nal = m_walk.Next())
        {
            if (bFirst && nal->Type() == NAL_DELIMITER) m_found.m_eMuxer = EMuxer::Amf;
            bFirst = false;
            if (BeginsPicture(*nal)) EndPicture();
            if (nal->m_uiEnd - m_found.m_uiEnd > LARGEST_PICTURE || m_found.m_vSizes.size() == MOST_PICTURES)
            {
                NoteDamage(m_found.m_uiEnd);
                return std::move(m_found);
            }
            if (m_walk.Damage()) NoteDamage(*m_walk.Damage());
            Add(*nal);
        }
        EndLastPicture();
        return std::move(m_found);
    }

private:
    // A slice that ends before it says of which macroblock it is. Only the end of the data does that.
    static bool IsTooShort(const Nal& nal) { return nal.IsSlice() && nal.Length() < 2; }

    bool HasAllSlices() const { return m_uiSlices >= m_uiFewestSlices; }

    bool BeginsPicture(const Nal& nal) const
    {
        if (m_uiSlices == 0) return false;
        if (nal.Type() == 0) return HasAllSlices();
        if (!nal.IsSlice()) return IsBeforeSlices(nal.Type());
        // Such a slice belongs to the picture before it only if that one lacks slices.
        if (IsTooShort(nal)) return m_found.m_vSizes.empty() || HasAllSlices();
        return nal.IsFirstSlice();
    }

    void Add(const Nal& nal)
    {
        m_uiPictureEnd = nal.m_uiEnd;
        m_bCut = nal.m_bCut || IsTooShort(nal);
        m_bUnproven = nal.m_bUnproven;
        if (m_bCut) return;
        if (nal.IsSlice()) ++m_uiSlices;
        if (nal.Type() == NAL_IDR_SLICE) m_bKey = true;
        if (nal.IsSlice() && IsBSlice(nal)) m_found.m_bReordered = true;
        if (nal.m_bDamaged) return;
        if (nal.Type() == NAL_SEQUENCE_SET) AddSet(nal, m_found.m_vSequenceSets);
        if (nal.Type() == NAL_PICTURE_SET) AddSet(nal, m_found.m_vPictureSets);
    }

    void AddSet(const Nal& nal, std::vector<std::string>& vSets)
    {
        if (nal.Length() > LARGEST_SET || vSets.size() == MOST_SETS) return;
        std::string strSet(static_cast<std::size_t>(nal.Length()), '\0');
        m_source.ReadAt(nal.Begin(), strSet.data(), strSet.size());
        // A zero after it isn't part of it.
        while (strSet.ends_with('\0'))
            strSet.pop_back();
        if (std::find(vSets.begin(), vSets.end(), strSet) == vSets.end()) vSets.push_back(std::move(strSet));
    }

    void EndPicture()
    {
        m_found.m_vSizes.push_back(static_cast<std::uint32_t>(m_uiPictureEnd - m_found.m_uiEnd));
        if (m_bKey) m_found.m_vKeys.push_back(static_cast<std::uint32_t>(m_found.m_vSizes.size()));
        m_uiFewestSlices = std::min(m_uiFewestSlices, m_uiSlices);
        m_found.m_uiEnd = m_uiPictureEnd;
        m_uiSlices = 0;
        m_bKey = false;
    }

    void EndLastPicture()
    {
        // Where lengths are, all slices had been written. A missing one shows in the length that reaches past the end.
        const bool bCount = !m_walk.HasLengths() || m_walk.End() == NalWalk::EEnd::Damaged;
        const bool bOther = !m_found.m_vSizes.empty();
        const bool bWhole = m_uiSlices > 0 && !m_bCut && (!bCount || !bOther || HasAllSlices());
        m_found.m_bLastUnproven = bWhole && m_bUnproven;
        if (bWhole)
            EndPicture();
        else if (m_uiPictureEnd > m_found.m_uiEnd)
            m_found.m_uiCut = m_uiPictureEnd - m_found.m_uiEnd;
        if (m_walk.End() == NalWalk::EEnd::Index) m_found.m_uiIndex = m_walk.Position();
        if (m_walk.Damage()) NoteDamage(*m_walk.Damage());
        if (!m_found.m_uiDamage) MarkSure();
    }

    void NoteDamage(std::uint64_t uiPosition)
    {
        if (m_found.m_uiDamage) return;
        m_found.m_uiDamage = uiPosition;
        MarkSure();
    }
    void MarkSure()
    {
        m_found.m_uiSure = m_found.m_vSizes.size();
        m_found.m_uiSureEnd = m_found.m_uiEnd;
    }

    BufferedBytes m_source;  // for parameter sets
    NalWalk m_walk;
    SplitPictures m_found;

    // Of the picture that is being put together. It begins at m_found.m_uiEnd.
    std::uint64_t m_uiPictureEnd = 0;
    unsigned m_uiSlices = 0;
    bool m_bKey = false;
    bool m_bCut = false;
    bool m_bUnproven = false;

    unsigned m_uiFewestSlices = std::numeric_limits<unsigned>::max();  // of the pictures before it
};

}  // namespace

void SplitPictures::KeepSure()
{
    m_vSizes.resize(m_uiSure);
    while (!m_vKeys.empty() && m_vKeys.back() > m_uiSure)
        m_vKeys.pop_back();
    if (m_uiEnd != m_uiSureEnd) m_bLastUnproven = false;
    m_uiEnd = m_uiSureEnd;
}

SplitPictures FindPictures(ByteSource& source, std::uint64_t uiBegin)
{
    return Splitter(source, uiBegin).Run();
}

}  // namespace qmhost
