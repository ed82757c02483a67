#include "parts/outputfile.h"

#include <gmock/gmock.h>

#include "unicode_folder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr unsigned char BYTES[] = {'n', 'e', 'w'};

std::string ProblemOfWriting(const fs::path& path)
{
    try
    {
        WriteWholeFile(path, std::string_view("text"));
    }
    catch (const std::exception& e)
    {
        return e.what();
    }
    return "no problem";
}

TEST(OutputFile, CommittedFileIsThere)
{
    const UnicodeFolder folder;
    WriteWholeFile(folder / u8"\u00FC.txt", std::string_view("a\nb\n"));
    EXPECT_EQ(ReadText(folder / u8"\u00FC.txt"), "a\nb\n");
    EXPECT_EQ(folder.Names().size(), 1u);
}

TEST(OutputFile, WithoutACommitNothingIsLeft)
{
    const UnicodeFolder folder;
    {
        OutputFile file(folder / "x");
        file.Write(BYTES);
    }
    EXPECT_EQ(folder.Names().size(), 0u);
}

TEST(OutputFile, KeepsThePermissionsOfTheFileThatItReplaces)
{
    const UnicodeFolder folder;
    WriteWholeFile(folder / "x", std::string_view("old"));
    fs::permissions(folder / "x", fs::perms::owner_write, fs::perm_options::remove);
    const fs::perms before = fs::status(folder / "x").permissions();
    OutputFile file(folder / "x");
    file.Write(BYTES);
    file.CommitToDisk();
    EXPECT_EQ(ReadText(folder / "x"), "new");
    EXPECT_EQ(fs::status(folder / "x").permissions(), before);
    fs::permissions(folder / "x", fs::perms::owner_write, fs::perm_options::add);
}

TEST(OutputFile, OldFileStaysUntilTheCommit)
{
    const UnicodeFolder folder;
    WriteWholeFile(folder / "x", std::string_view("old"));
    {
        OutputFile file(folder / "x");
        file.Write(BYTES);
        EXPECT_EQ(ReadText(folder / "x"), "old");
    }
    EXPECT_EQ(ReadText(folder / "x"), "old");
    {
        OutputFile file(folder / "x");
        file.Write(BYTES);
        file.Commit();
    }
    EXPECT_EQ(ReadText(folder / "x"), "new");
    EXPECT_EQ(folder.Names().size(), 1u);
}

TEST(OutputFile, MissingFolderIsNamed)
{
    const UnicodeFolder folder;
    EXPECT_THAT(ProblemOfWriting(folder / "missing" / "x.txt"), HasSubstr("x.txt' can't be written: "));
}

TEST(OutputFile, FolderIsNoTarget)
{
    const UnicodeFolder folder;
    EXPECT_THAT(ProblemOfWriting(folder.Path()), HasSubstr("can't be written: "));
    EXPECT_TRUE(fs::is_directory(folder.Path()));
}

#ifndef _WIN32
TEST(OutputFile, LinkKeepsLeadingToItsTarget)
{
    const UnicodeFolder folder;
    WriteWholeFile(folder / "target", std::string_view("old"));
    fs::create_symlink(folder / "target", folder / "link");
    WriteWholeFile(folder / "link", std::string_view("new"));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(ReadText(folder / "target"), "new");
}

TEST(OutputFile, DeviceIsWrittenAndNotReplaced)
{
    WriteWholeFile("/dev/null", std::string_view("text"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(OutputFile, FullDeviceIsReported)
{
    EXPECT_THAT(ProblemOfWriting("/dev/full"), HasSubstr("'/dev/full' can't be written: No space left on device"));
}
#endif

}  // namespace
}  // namespace qmhost
