#include "parts/picturesource.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>

#include <gmock/gmock.h>

#include "image_builder.h"
#include "parts/bytesource.h"
#include "parts/imagefile.h"
#include "parts/text.h"
#include "unicode_folder.h"

namespace qmhost
{
namespace
{

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class PictureSources : public testing::Test
{
protected:
    fs::path File(const char* pszName, const std::string& bytes)
    {
        const fs::path path = m_folder / pszName;
        WriteText(path, bytes);
        return path;
    }
    std::string Name(const char* pszName) const { return Quoted(Utf8FromPath((m_folder / pszName).make_preferred())); }

    static std::string ReadNext(PictureSource& source)
    {
        const auto [uiWidth, uiHeight] = source.Size();
        std::string pixels(std::size_t{3} * uiWidth * uiHeight, '\0');
        if (!source.ReadNext(reinterpret_cast<unsigned char*>(pixels.data()), std::size_t{3} * uiWidth)) return "end";
        return pixels;
    }

    template <class TCall>
    static std::string Problem(TCall call)
    {
        try
        {
            call();
            return "none";
        }
        catch (const std::runtime_error& e)
        {
            return e.what();
        }
    }

    UnicodeFolder m_folder;
};

// One pixel of red, green and blue, written as red, green, blue.
std::string Png(const std::string& rgb)
{
    return MakePng(1, 1, 2, 8, rgb);
}

TiffPage Page(const std::string& rgb)
{
    return {1, 1, TIFF_RGB, 8, 3, rgb};
}

TEST_F(PictureSources, ImageFilesAndTheirPagesInOrder)
{
    const auto pSource = OpenImageFiles(
        {File("b.png", Png("abc")), File("a.tif", MakeTiff({Page("def"), Page("ghi")})), File("c.png", Png("jkl"))});
    EXPECT_EQ(pSource->Count(), 4u);
    EXPECT_EQ(pSource->Size().m_uiWidth, 1u);
    EXPECT_THAT(pSource->Warnings(), IsEmpty());
    EXPECT_EQ(ReadNext(*pSource), "cba");
    EXPECT_EQ(ReadNext(*pSource), "fed");
    EXPECT_EQ(ReadNext(*pSource), "ihg");
    EXPECT_EQ(ReadNext(*pSource), "lkj");
    EXPECT_EQ(ReadNext(*pSource), "end");
    EXPECT_EQ(ReadNext(*pSource), "end");
    EXPECT_EQ(pSource->Rest(), "");
}

TEST_F(PictureSources, FolderStandsForItsImages)
{
    fs::create_directory(m_folder / "d");
    File("d/10.png", Png("abc"));
    File("d/02.TIF", MakeTiff({Page("def"), Page("ghi")}));
    File("d/times.csv", "no image");
    const auto pSource = OpenImageFiles({File("z.png", Png("jkl")), m_folder / "d"});
    EXPECT_EQ(pSource->Count(), 4u);
    EXPECT_EQ(ReadNext(*pSource), "lkj");
    EXPECT_EQ(ReadNext(*pSource), "fed");
    EXPECT_EQ(ReadNext(*pSource), "ihg");
    EXPECT_EQ(ReadNext(*pSource), "cba");
}

TEST_F(PictureSources, PicturesOfAFolderAreInNaturalOrder)
{
    for (const char* pszFolder : {"run10", "run9"})
        fs::create_directory(m_folder / pszFolder);
    for (const char* pszName : {"run10/img10.png", "run10/img2.png", "run10/IMG1.PNG", "run10/img11.png",
                                "run10/img02.png", "run10/img1.png.1"})
        File(pszName, Png("abc"));
    File("run10/img3.tif", MakeTiff({Page("def"), Page("ghi")}));
    File("run9/img1.png", Png("jkl"));
    const auto pSource = OpenImageFiles({m_folder / "run10", m_folder / "run9"});
    EXPECT_THAT(pSource->Order(),
                ElementsAre("frame 0: " + Name("run10/IMG1.PNG"), "frame 1: " + Name("run10/img2.png"),
                            "frame 2: " + Name("run10/img02.png"), "frames 3 to 4: " + Name("run10/img3.tif"),
                            "frame 5: " + Name("run10/img10.png"), "frame 6: " + Name("run10/img11.png"),
                            "frame 7: " + Name("run9/img1.png")));
    // Folders are as they are named.
    EXPECT_THAT(pSource->Warnings(), ElementsAre(Name("run10") + " is written before " + Name("run9") +
                                                 ", as the command line has them; only a folder's pictures are put in "
                                                 "the order of their numbers"));
    for (const char* pszPixels : {"cba", "cba", "cba", "fed", "ihg", "cba", "cba", "lkj", "end"})
        EXPECT_EQ(ReadNext(*pSource), pszPixels);
}

TEST_F(PictureSources, OneFileNeedsNoOrder)
{
    EXPECT_THAT(OpenImageFiles({File("a.tif", MakeTiff({Page("abc"), Page("def")}))})->Order(), IsEmpty());
}

TEST_F(PictureSources, FilesThatAreNamedKeepTheirOrder)
{
    const fs::path path1 = File("img1.png", Png("abc"));
    const fs::path path2 = File("img2.png", Png("def"));
    const fs::path path10 = File("img10.png", Png("ghi"));
    const auto pSource = OpenImageFiles({path10, path1, path2});
    EXPECT_THAT(pSource->Warnings(), IsEmpty());
    EXPECT_EQ(ReadNext(*pSource), "ihg");
    EXPECT_EQ(ReadNext(*pSource), "cba");
    EXPECT_THAT(OpenImageFiles({path1, path2, path10})->Warnings(), IsEmpty());
}

TEST_F(PictureSources, OrderOfAShellIsWarnedOf)
{
    const fs::path path1 = File("img1.png", Png("abc"));
    const fs::path path2 = File("img2.png", Png("def"));
    const fs::path path10 = File("img10.png", Png("ghi"));
    const auto pSource = OpenImageFiles({path1, path10, path2});
    EXPECT_THAT(pSource->Warnings(), ElementsAre(Name("img10.png") + " is written before " + Name("img2.png") +
                                                 ", as the command line has them; only a folder's pictures are put in "
                                                 "the order of their numbers"));
    EXPECT_EQ(ReadNext(*pSource), "cba");
    EXPECT_EQ(ReadNext(*pSource), "ihg");
}

TEST_F(PictureSources, FolderWithoutImages)
{
    fs::create_directory(m_folder / "d");
    File("d/times.csv", "no image");
    EXPECT_EQ(Problem([&] { OpenImageFiles({m_folder / "d"}); }),
              Name("d") + " has no files named *.png, *.tif or *.tiff");
}

TEST_F(PictureSources, OneFileMayComeTwice)
{
    const fs::path path = File("a.png", Png("abc"));
    const auto pSource = OpenImageFiles({path, path});
    EXPECT_EQ(pSource->Count(), 2u);
    EXPECT_EQ(ReadNext(*pSource), "cba");
    EXPECT_EQ(ReadNext(*pSource), "cba");
}

TEST_F(PictureSources, SizesThatDiffer)
{
    const fs::path pathFirst = File("a.png", Png("abc"));
    EXPECT_EQ(Problem([&] {
                  OpenImageFiles({pathFirst, File("b.png", MakePng(2, 1, 0, 8, "xy"))});
              }),
              Name("b.png") + " is 2 x 1, unlike " + Name("a.png") + ", which is 1 x 1");
    EXPECT_EQ(Problem([&] {
                  OpenImageFiles({pathFirst, File("c.tif", MakeTiff({Page("abc"), {1, 2, TIFF_RGB, 8, 3, "abcdef"}}))});
              }),
              "page 2 of " + Name("c.tif") + " is 1 x 2, unlike " + Name("a.png") + ", which is 1 x 1");
}

TEST_F(PictureSources, EveryKindOfConversionIsWarnedOfOnce)
{
    const std::string deep = MakePng(1, 1, 2, 16, "aabbcc");
    const std::string grey = MakePng(1, 1, 0, 8, "a");
    const auto pSource = OpenImageFiles({File("colour.png", Png("abc")), File("deep1.png", deep),
                                         File("grey.png", grey), File("deep2.png", deep), File("deep3.png", deep)});
    EXPECT_THAT(pSource->Warnings(),
                ElementsAre(Name("deep1.png") + " is converted: 16-bit reduced to 8-bit (and so are 2 more)",
                            Name("grey.png") + " is converted: grey widened to colour"));
}

TEST_F(PictureSources, AllFilesAreLookedAtBeforeTheFirstIsRead)
{
    const fs::path pathFirst = File("a.png", Png("abc"));
    EXPECT_EQ(Problem([&] { OpenImageFiles({pathFirst, m_folder / "b.png"}); }), Name("b.png") + " doesn't exist");
    EXPECT_EQ(Problem([&] {
                  OpenImageFiles({pathFirst, File("c.png", "text")});
              }),
              Name("c.png") + " is neither PNG nor TIFF");
}

TEST_F(PictureSources, FilesThatChangeMeanwhile)
{
    const fs::path pathFirst = File("a.png", Png("abc"));
    const fs::path pathSecond = File("b.tif", MakeTiff({Page("def"), Page("ghi")}));
    {
        const auto pSource = OpenImageFiles({pathFirst, pathSecond});
        File("a.png", MakePng(2, 1, 0, 8, "xy"));
        EXPECT_EQ(Problem([&] { ReadNext(*pSource); }),
                  Name("a.png") + " is 2 x 1, unlike " + Name("a.png") + ", which is 1 x 1");
    }
}

// With any other number of pages the pictures of the later files would get the times of others. The files have red
// first, and what is read has blue first.
TEST_F(PictureSources, PagesThatComeOrGoMeanwhile)
{
    const fs::path pathFirst = m_folder / "a.tif";
    const fs::path pathLast = File("b.tif", MakeTiff({Page("xyz"), Page("uvw")}));
    const auto after = [&](const char* pszName, const std::vector<TiffPage>& vPages) {
        File("a.tif", MakeTiff({Page("abc"), Page("def")}));
        File("b.tif", MakeTiff({Page("xyz"), Page("uvw")}));
        const auto pSource = OpenImageFiles({pathFirst, pathLast});
        File(pszName, MakeTiff(vPages));
        std::string strRead;
        const std::string strProblem = Problem([&] {
            for (std::string strNext; (strNext = ReadNext(*pSource)) != "end";)
                strRead += strNext;
        });
        return strRead + ": " + strProblem;
    };
    EXPECT_EQ(after("a.tif", {Page("abc")}), "cba: " + Name("a.tif") + " had 2 pages at first, and has fewer now");
    EXPECT_EQ(after("a.tif", {Page("abc"), Page("def"), Page("ghi")}),
              "cbafed: " + Name("a.tif") + " had 2 pages at first, and has more now");
    EXPECT_EQ(after("b.tif", {Page("xyz")}),
              "cbafedzyx: " + Name("b.tif") + " had 2 pages at first, and has fewer now");
    EXPECT_EQ(after("b.tif", {Page("xyz"), Page("uvw"), Page("ghi")}),
              "cbafedzyxwvu: " + Name("b.tif") + " had 2 pages at first, and has more now");
}

TEST_F(PictureSources, RawFrames)
{
    const auto pSource = OpenRawPictures(File("r.bgr", "abcdefghijkl"), {2, 1});
    EXPECT_EQ(pSource->Count(), 2u);
    EXPECT_EQ(pSource->Size().m_uiWidth, 2u);
    EXPECT_EQ(pSource->Size().m_uiHeight, 1u);
    EXPECT_THAT(pSource->Order(), IsEmpty());
    EXPECT_EQ(ReadNext(*pSource), "abcdef");
    EXPECT_EQ(ReadNext(*pSource), "ghijkl");
    EXPECT_EQ(ReadNext(*pSource), "end");
    EXPECT_EQ(pSource->Rest(), "");
}

TEST_F(PictureSources, RawRowsGoToTheirPlaces)
{
    const auto pSource = OpenRawPictures(File("r.bgr", "abcdef"), {1, 2});
    std::string pixels = "--------";
    pSource->ReadNext(reinterpret_cast<unsigned char*>(pixels.data()), 4);
    EXPECT_EQ(pixels, "abc-def-");
}

TEST_F(PictureSources, RawFileThatIsNoWholeNumberOfFrames)
{
    EXPECT_EQ(Problem([&] {
                  OpenRawPictures(File("r.bgr", "abcdefg"), {1, 2});
              }),
              Name("r.bgr") + " has 7 bytes, which is no whole number of frames of 1 x 2 pixels, 6 bytes each");
    EXPECT_EQ(Problem([&] {
                  OpenRawPictures(File("r.bgr", "abcde"), {1, 2});
              }),
              Name("r.bgr") + " has 5 bytes, which is no whole number of frames of 1 x 2 pixels, 6 bytes each");
}

TEST_F(PictureSources, RawFileThatIsEmptyOrNone)
{
    EXPECT_EQ(Problem([&] { OpenRawPictures(File("r.bgr", ""), {1, 2}); }), Name("r.bgr") + " is empty");
    EXPECT_EQ(Problem([&] { OpenRawPictures(m_folder / "missing", {1, 2}); }), Name("missing") + " doesn't exist");
    EXPECT_EQ(Problem([&] {
                  OpenRawPictures(m_folder.Path(), {1, 2});
              }),
              Quoted(Utf8FromPath(m_folder.Path())) + " is a directory");
}

TEST_F(PictureSources, RawFileThatShrinksMeanwhile)
{
    const fs::path path = File("r.bgr", "abcdef");
    const auto pSource = OpenRawPictures(path, {1, 1});
    ReadNext(*pSource);
    fs::resize_file(path, 4);
    EXPECT_EQ(Problem([&] { ReadNext(*pSource); }), "frame 1 can't be read from " + Name("r.bgr"));
}

TEST_F(PictureSources, RawFileWithMoreFramesThanAFileCanHave)
{
    const fs::path path = File("r.bgr", "");
    fs::resize_file(path, 3 * std::uintmax_t{0xFFFFFFFF});  // sparse
    EXPECT_EQ(Problem([&] {
                  OpenRawPictures(path, {1, 1});
              }),
              Name("r.bgr") + " has too many frames of 1 x 1 pixels, 3 bytes each");
    fs::resize_file(path, 3 * std::uintmax_t{0xFFFFFFFE});
    EXPECT_EQ(OpenRawPictures(path, {1, 1})->Count(), 0xFFFFFFFEu);
}

class RawStream : public PictureSources
{
protected:
    std::unique_ptr<PictureSource> Open(const std::string& bytes, PictureSize size)
    {
        m_pStream.reset(std::tmpfile());
        EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), m_pStream.get()), bytes.size());
        std::rewind(m_pStream.get());
        return OpenRawStream(m_pStream.get(), "the stream", size);
    }

private:
    struct CloseStream
    {
        void operator()(std::FILE* pStream) const { std::fclose(pStream); }
    };
    std::unique_ptr<std::FILE, CloseStream> m_pStream;
};

TEST_F(RawStream, FramesUpToItsEnd)
{
    const auto pSource = Open(std::string("ab\0\r\n\x1A", 6) + "ghijkl", {2, 1});
    EXPECT_EQ(pSource->Count(), std::nullopt);
    EXPECT_THAT(pSource->Order(), IsEmpty());
    EXPECT_EQ(ReadNext(*pSource), std::string("ab\0\r\n\x1A", 6));
    EXPECT_EQ(ReadNext(*pSource), "ghijkl");
    EXPECT_EQ(ReadNext(*pSource), "end");
    EXPECT_EQ(ReadNext(*pSource), "end");
    EXPECT_EQ(pSource->Rest(), "");
}

TEST_F(RawStream, PartOfAFrameAtTheEndIsARest)
{
    const auto pSource = Open("abcdefgh", {2, 1});
    EXPECT_EQ(ReadNext(*pSource), "abcdef");
    EXPECT_EQ(ReadNext(*pSource), "end");
    EXPECT_EQ(pSource->Rest(), "the stream ended within a frame, after 2 of its 6 bytes");
}

TEST_F(RawStream, NothingAtAll)
{
    const auto pSource = Open("", {2, 1});
    EXPECT_EQ(ReadNext(*pSource), "end");
    EXPECT_EQ(pSource->Rest(), "");
}

TEST_F(PictureSources, BytesBeyondFourGigabytesAreRead)
{
    const fs::path path = File("r.bgr", "start");
    constexpr std::uint64_t END = (std::uint64_t{5} << 30) + 3;
    fs::resize_file(path, END - 3);  // sparse
    std::ofstream(path, std::ios::binary | std::ios::app) << "end";
    FileBytes bytes(path);
    EXPECT_EQ(bytes.Size(), END);
    char acText[4] = "";
    EXPECT_TRUE(bytes.ReadAt(END - 3, acText, 3));
    EXPECT_STREQ(acText, "end");
    EXPECT_TRUE(bytes.ReadAt(0, acText, 3));
    EXPECT_STREQ(acText, "sta");
    EXPECT_FALSE(bytes.ReadAt(END - 2, acText, 3));
}

}  // namespace
}  // namespace qmhost
