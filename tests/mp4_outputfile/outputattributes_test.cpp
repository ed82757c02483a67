// What the host says of its pictures, and what becomes of it.
#include "output_fixture.h"

namespace
{
class OutputAttributesTest : public OutputTest
{
protected:
    // Announces a picture, and holds the bytes of the source's rows against the number.
    void ExpectSourceRow(std::uint8_t uiBits, std::uint32_t uiWidth, std::uint32_t uiComponents, std::uint32_t uiBytes)
    {
        SQmImageAttributes attributes = test_support::PictureAttributes(uiWidth, 4);
        attributes.m_uiBitsInMemory = uiBits;
        attributes.m_uiComponents = uiComponents;
        attributes.m_uiWidthBytes = 77777;
        const OutputPtr pFile = MakeFile();
        Announce(*pFile, &attributes);
        EXPECT_EQ(pFile->m_attrSource.m_uiWidthBytes, uiBytes)
            << unsigned{uiBits} << " x " << uiWidth << " x " << uiComponents;
    }
};
}  // namespace

TEST_F(OutputAttributesTest, ThePictureIsEmptyBeforeItIsAnnouncedButForItsCompression)
{
    const OutputPtr pFile = MakeFile();
    const SQmImageAttributes& source = pFile->m_attrSource;
    EXPECT_EQ(source.m_uiWidth, 0U);
    EXPECT_EQ(source.m_uiWidthBytes, 0U);
    EXPECT_EQ(source.m_uiHeight, 0U);
    EXPECT_EQ(source.m_uiComponents, 0U);
    EXPECT_EQ(source.m_uiBitsInMemory, 0U);
    EXPECT_EQ(source.m_uiBitsSignificant, 0U);
    EXPECT_EQ(source.m_uiSequenceCount, 0U);
    EXPECT_EQ(source.m_uiTileWidth, 0U);
    EXPECT_EQ(source.m_uiTileHeight, 0U);
    EXPECT_EQ(source.m_uiCompression, 2);
    EXPECT_EQ(source.m_dCompressionParam, 0.0);
}

TEST_F(OutputAttributesTest, RowsOfTheSourceAreRoundedUpToFourBytes)
{
    ExpectSourceRow(8, 4, 3, 12);
    ExpectSourceRow(8, 5, 3, 16);
    ExpectSourceRow(8, 6, 3, 20);
    ExpectSourceRow(8, 7, 3, 24);
    ExpectSourceRow(8, 1, 3, 4);
    ExpectSourceRow(8, 1920, 3, 5760);
    ExpectSourceRow(8, 0, 3, 0);
}

TEST_F(OutputAttributesTest, RowsOfRefusedPicturesAreRoundedUpTheSameWay)
{
    ExpectSourceRow(16, 5, 3, 32);  // 30
    ExpectSourceRow(8, 5, 1, 8);    // 5
    ExpectSourceRow(8, 5, 4, 20);
    ExpectSourceRow(1, 33, 1, 8);  // 4.1 bytes, so 5
    ExpectSourceRow(1, 32, 1, 4);
    ExpectSourceRow(12, 3, 1, 8);  // 4.5 bytes, so 5
}

TEST_F(OutputAttributesTest, AnOddPictureIsEncodedAtTheNextEvenSize)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(5, 3);
    attributes.m_uiTileWidth = 7;
    attributes.m_uiTileHeight = 9;
    const OutputPtr pFile = MakeFile();
    ASSERT_EQ(Announce(*pFile, &attributes), QM_OK);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiWidth, 6U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiHeight, 4U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiTileWidth, 8U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiTileHeight, 10U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiWidthBytes, 20U);  // 18 of the even width
    // The source stays what the host says.
    EXPECT_EQ(pFile->m_attrSource.m_uiWidth, 5U);
    EXPECT_EQ(pFile->m_attrSource.m_uiHeight, 3U);
    EXPECT_EQ(pFile->m_attrSource.m_uiTileWidth, 7U);
    EXPECT_EQ(pFile->m_attrSource.m_uiTileHeight, 9U);
    EXPECT_EQ(pFile->m_attrSource.m_uiWidthBytes, 16U);
}

TEST_F(OutputAttributesTest, AnEvenPictureIsEncodedAtItsOwnSize)
{
    const OutputPtr pFile = MakeFile(64, 48);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiWidth, 64U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiHeight, 48U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiWidthBytes, 192U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiTileWidth, 0U);  // no tiling stays none
    EXPECT_EQ(pFile->m_attrEncoded.m_uiTileHeight, 0U);
}

TEST_F(OutputAttributesTest, OneOddSideIsRoundedAlone)
{
    EXPECT_EQ(MakeFile(63, 48)->m_attrEncoded.m_uiWidth, 64U);
    EXPECT_EQ(MakeFile(63, 48)->m_attrEncoded.m_uiHeight, 48U);
    EXPECT_EQ(MakeFile(64, 47)->m_attrEncoded.m_uiWidth, 64U);
    EXPECT_EQ(MakeFile(64, 47)->m_attrEncoded.m_uiHeight, 48U);
    EXPECT_EQ(MakeFile(1, 1)->m_attrEncoded.m_uiWidth, 2U);
    EXPECT_EQ(MakeFile(1, 1)->m_attrEncoded.m_uiHeight, 2U);
}

TEST_F(OutputAttributesTest, AllElseOfTheAttributesIsTakenAsItIs)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    attributes.m_uiBitsSignificant = 6;
    attributes.m_uiReservedAttr = 0x12345678;
    attributes.m_uiCompression = 9;
    attributes.m_dCompressionParam = 0.25;
    const OutputPtr pFile = MakeFile();
    ASSERT_EQ(Announce(*pFile, &attributes), QM_OK);
    for (const SQmImageAttributes* pCopy : {&pFile->m_attrSource, &pFile->m_attrEncoded})
    {
        EXPECT_EQ(pCopy->m_uiBitsInMemory, 8U);
        EXPECT_EQ(pCopy->m_uiBitsSignificant, 6U);
        EXPECT_EQ(pCopy->m_uiComponents, 3U);
        EXPECT_EQ(pCopy->m_uiReservedAttr, 0x12345678U);
        EXPECT_EQ(pCopy->m_uiCompression, 9);
        EXPECT_EQ(pCopy->m_dCompressionParam, 0.25);
    }
}

TEST_F(OutputAttributesTest, ASequenceWithoutACountIsOpenEndedInBothCopies)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    attributes.m_uiSequenceCount = 0;
    const OutputPtr pFile = MakeFile();
    ASSERT_EQ(Announce(*pFile, &attributes), QM_OK);
    EXPECT_EQ(pFile->m_attrSource.m_uiSequenceCount, 0xFFFFFFFFU);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiSequenceCount, 0xFFFFFFFFU);

    attributes.m_uiSequenceCount = 7;
    ASSERT_EQ(Announce(*pFile, &attributes), QM_OK);
    EXPECT_EQ(pFile->m_attrSource.m_uiSequenceCount, 7U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiSequenceCount, 7U);
}

TEST_F(OutputAttributesTest, PicturesOfOtherFormsAreRefusedWithTheirCopiesUnrounded)
{
    struct SForm
    {
        std::uint8_t m_uiBits;
        std::uint32_t m_uiComponents;
    };
    for (const SForm form :
         {SForm{16, 3}, SForm{7, 3}, SForm{0, 3}, SForm{8, 1}, SForm{8, 2}, SForm{8, 4}, SForm{8, 0}})
    {
        SQmImageAttributes attributes = test_support::PictureAttributes(5, 3);
        attributes.m_uiBitsInMemory = form.m_uiBits;
        attributes.m_uiComponents = form.m_uiComponents;
        attributes.m_uiTileWidth = 7;
        attributes.m_uiTileHeight = 9;
        attributes.m_uiWidthBytes = 99;
        const OutputPtr pFile = MakeFile();
        EXPECT_EQ(Announce(*pFile, &attributes), -4);
        for (const SQmImageAttributes* pCopy : {&pFile->m_attrSource, &pFile->m_attrEncoded})
        {
            EXPECT_EQ(pCopy->m_uiWidth, 5U);
            EXPECT_EQ(pCopy->m_uiHeight, 3U);
            EXPECT_EQ(pCopy->m_uiTileWidth, 7U);
            EXPECT_EQ(pCopy->m_uiTileHeight, 9U);
            EXPECT_EQ(pCopy->m_uiBitsInMemory, form.m_uiBits);
            EXPECT_EQ(pCopy->m_uiComponents, form.m_uiComponents);
            EXPECT_EQ(pCopy->m_uiSequenceCount, 0xFFFFFFFFU);
        }
        EXPECT_EQ(pFile->m_attrEncoded.m_uiWidthBytes, 99U);  // only the source's rows are worked out
    }
}

TEST_F(OutputAttributesTest, TheSignificantBitsDoNotMatter)
{
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    attributes.m_uiBitsSignificant = 16;
    EXPECT_EQ(Announce(*MakeFile(), &attributes), QM_OK);
}

TEST_F(OutputAttributesTest, ALaterAnnouncementReplacesTheEarlier)
{
    const OutputPtr pFile = MakeFile(64, 48);
    const SQmImageAttributes attributes = test_support::PictureAttributes(31, 17);
    ASSERT_EQ(Announce(*pFile, &attributes), QM_OK);
    EXPECT_EQ(pFile->m_attrSource.m_uiWidth, 31U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiWidth, 32U);
    EXPECT_EQ(pFile->m_attrEncoded.m_uiHeight, 18U);
}

TEST_F(OutputAttributesTest, NoAttributesAreAFailure)
{
    EXPECT_EQ(Announce(*MakeFile(), nullptr), QM_ERR_FAIL);
}

TEST_F(OutputAttributesTest, EachAnnouncementLeavesOneReferenceOnTheFormat)
{
    const OutputPtr pFile = MakeFile();
    SQmImageAttributes attributes = test_support::PictureAttributes(64, 48);
    EXPECT_EQ(m_pFormat->CountReferences(), 2);
    EXPECT_EQ(Announce(*pFile, &attributes), QM_OK);
    EXPECT_EQ(m_pFormat->CountReferences(), 3);
    attributes.m_uiComponents = 1;
    EXPECT_EQ(Announce(*pFile, &attributes), QM_ERR_RANGE);
    EXPECT_EQ(m_pFormat->CountReferences(), 4);
}
