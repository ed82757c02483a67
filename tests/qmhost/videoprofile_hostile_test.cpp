// Files that may hold anything: the search for the profile ends soon and reads nothing outside the file.
#include <random>

#include <gtest/gtest.h>

#include "memory_bytes.h"
#include "parts/videoprofile.h"
#include "support/box_builder.h"
#include "support/repetitions.h"

namespace qmhost
{
namespace
{

using namespace test_support;

// More would mean that a walk runs in circles.
constexpr unsigned MOST_READS = 300'000;

std::string GoodFile()
{
    return FileType() + Movie(TrackOf("soun", Box("mp4a", std::string(28, '\0'))) +
                              TrackOf("vide", VideoEntry("avc1", AvcConfiguration(100, 100))));
}

VideoProfile ProfileWithinBounds(const std::string& file)
{
    MemoryBytes source(file);
    const VideoProfile profile = ReadVideoProfile(source);
    EXPECT_LE(source.Reads(), MOST_READS);
    return profile;
}

TEST(HostileProfile, GoodFileAsAControl)
{
    EXPECT_EQ(ProfileWithinBounds(GoodFile()).m_nProfile, 100);
}

TEST(HostileProfile, EmptyFile)
{
    EXPECT_EQ(ProfileWithinBounds("").Delivery(), EDelivery::Unknown);
}

TEST(HostileProfile, EveryTruncation)
{
    const std::string file = GoodFile();
    for (std::size_t uiSize = 0; uiSize < file.size(); ++uiSize)
        EXPECT_NE(ProfileWithinBounds(file.substr(0, uiSize)).Delivery(), EDelivery::Pictures) << uiSize;
}

TEST(HostileProfile, EveryWordReplaced)
{
    const std::string file = GoodFile();
    for (std::size_t uiPosition = 0; uiPosition + 4 <= file.size(); ++uiPosition)
    {
        for (const std::uint32_t uiWord : {0u, 1u, 7u, 8u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        {
            std::string hostile = file;
            hostile.replace(uiPosition, 4, Word(uiWord));
            ProfileWithinBounds(hostile);
        }
    }
}

TEST(HostileProfile, RandomBytes)
{
    std::mt19937 random(4711);
    const int nFiles = test_support::Repetitions(2000);
    for (int i = 0; i < nFiles; ++i)
    {
        std::string file(random() % 300, '\0');
        for (char& c : file)
            c = static_cast<char>(random() % 4 == 0 ? random() : 0);
        ProfileWithinBounds(file);
    }
}

TEST(HostileProfile, MillionsOfTinyBoxesEndTheSearch)
{
    std::string file;
    for (int i = 0; i < 500'000; ++i)
        file += Box("free", "");
    EXPECT_EQ(ProfileWithinBounds(file + GoodFile()).Delivery(), EDelivery::Unknown);
}

TEST(HostileProfile, SizeOf64BitsBeyondTheFile)
{
    EXPECT_EQ(ProfileWithinBounds(Word(1) + "mdat" + Word(0xFFFFFFFF) + Word(0xFFFFFFFF) + GoodFile()).Delivery(),
              EDelivery::Unknown);
}

TEST(HostileProfile, SizeOf64BitsBelowItsHeader)
{
    EXPECT_EQ(ProfileWithinBounds(Word(1) + "mdat" + Word(0) + Word(15) + GoodFile()).Delivery(), EDelivery::Unknown);
}

TEST(HostileProfile, ChildThatReachesOutOfItsParent)
{
    std::string entry = VideoEntry("avc1", AvcConfiguration(100, 100));
    entry.replace(8 + 78, 4, Word(1000));  // the configuration claims more than its entry holds
    const std::string file = Movie(TrackOf("vide", entry)) + std::string(2000, '\0');
    EXPECT_EQ(ProfileWithinBounds(file).Delivery(), EDelivery::Unknown);
}

}  // namespace
}  // namespace qmhost
