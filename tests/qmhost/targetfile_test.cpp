#include "parts/targetfile.h"

#include <chrono>
#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>

#include "parts/text.h"
#include "unicode_folder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using testing::HasSubstr;
namespace fs = std::filesystem;

std::string Problem(const fs::path& path)
{
    try
    {
        const TargetFile target(path);
        return "none";
    }
    catch (const std::runtime_error& e)
    {
        return e.what();
    }
}

TEST(TargetFile, FileThatCanBeMadeIsNotMade)
{
    const UnicodeFolder folder;
    const TargetFile target(folder / u8"n\u00EBw.mp4");
    EXPECT_FALSE(target.Exists());
    EXPECT_EQ(target.AfterFailure(), "no file was made");
    EXPECT_EQ(folder.Names().size(), 0u);
}

TEST(TargetFile, NameAloneIsInTheCurrentFolder)
{
    EXPECT_EQ(Problem("a-file-that-is-not-here.mp4"), "none");
}

TEST(TargetFile, ExistingFileIsLeftAlone)
{
    const UnicodeFolder folder;
    WriteText(folder / "old.mp4", "old");
    const TargetFile target(folder / "old.mp4");
    EXPECT_TRUE(target.Exists());
    EXPECT_EQ(ReadText(folder / "old.mp4"), "old");
    EXPECT_EQ(target.AfterFailure(), "the file that was there is as before");
}

TEST(TargetFile, FileThatWasBegun)
{
    const UnicodeFolder folder;
    WriteText(folder / "old.mp4", "old");
    const TargetFile targetOld(folder / "old.mp4");
    const TargetFile targetNew(folder / "new.mp4");
    WriteText(folder / "old.mp4", "something else");
    WriteText(folder / "new.mp4", "something");
    EXPECT_EQ(targetOld.AfterFailure(), "the file is left as it is, incomplete");
    EXPECT_EQ(targetNew.AfterFailure(), "the file is left as it is, incomplete");
}

TEST(TargetFile, FileThatWasWrittenAgainAtOnceInTheSameSize)
{
    const UnicodeFolder folder;
    WriteText(folder / "old.mp4", "old");
    fs::last_write_time(folder / "old.mp4", fs::file_time_type::clock::now() - std::chrono::milliseconds(50));
    const TargetFile target(folder / "old.mp4");
    WriteText(folder / "old.mp4", "new");
    EXPECT_EQ(target.AfterFailure(), "the file is left as it is, incomplete");
}

TEST(TargetFile, PlacesThatTakeNoFile)
{
    const UnicodeFolder folder;
    EXPECT_THAT(Problem(folder.Path()), HasSubstr(Quoted(Utf8FromPath(folder.Path())) + " can't be written: "));
    EXPECT_EQ(Problem(folder / "missing" / "new.mp4"),
              "there is no folder " + Quoted(Utf8FromPath(folder / "missing")) + " to write to");
    WriteText(folder / "file", "x");
    EXPECT_EQ(Problem(folder / "file" / "new.mp4"),
              "there is no folder " + Quoted(Utf8FromPath(folder / "file")) + " to write to");
}

TEST(TargetFile, FileThatMayNotBeChanged)  // a running program, which no user may change
{
    EXPECT_THAT(Problem(TEST_PROGRAM), HasSubstr(Quoted(TEST_PROGRAM) + " can't be written: "));
}

}  // namespace
}  // namespace qmhost
